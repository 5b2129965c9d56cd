#!/usr/bin/env bash
# Builds everything and runs every test: the whole suite on the CI build (warnings are
# errors), then the logic tests again under AddressSanitizer and UndefinedBehaviorSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/setup.sh

jobs=$(nproc)
cmake --preset ci >/dev/null
cmake --build --preset ci -j "$jobs"
ctest --test-dir build --output-on-failure -j "$jobs"

cmake --preset asan >/dev/null
cmake --build --preset asan -j "$jobs" --target zr_core_tests zr_capture_tests zr_ui_tests zr_image_tests zr_platform_tests zr_apps_tests zandrell-scenario
ASAN_OPTIONS=detect_leaks=1 ctest --test-dir build/asan --output-on-failure -j "$jobs" -L '^(core|ui|capture|image|platform|apps|scenario)$'
