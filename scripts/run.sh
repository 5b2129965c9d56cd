#!/usr/bin/env bash
# Builds the program and runs it: its windows on the desktop (the device chooser lists the
# built-in test camera first); without a display it says so and records a 3 s movie from the
# built-in test camera into build/zandrell.avi instead.
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/setup.sh
cmake --preset dev >/dev/null
cmake --build --preset dev -j "$(nproc)" --target zandrell
exec ./build/bin/zandrell --record 3 build/zandrell.avi "$@"
