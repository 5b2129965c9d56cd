#!/usr/bin/env bash
# Builds the program and runs it: it records a short movie from the built-in test camera.
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/setup.sh
cmake --preset dev >/dev/null
cmake --build --preset dev -j "$(nproc)" --target zandrell
exec ./build/bin/zandrell --headless --record 3 build/zandrell.avi "$@"
