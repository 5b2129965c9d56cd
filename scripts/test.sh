#!/usr/bin/env bash
# Builds everything and runs every test: the whole suite on the CI build (warnings are errors,
# the house style and the layers are checked), the Debian package made of that build and
# checked (scripts/package.sh), then the tests of the program, the platform and
# the runner again under AddressSanitizer and UndefinedBehaviorSanitizer, and the tests of the
# threaded back ends (recorder, live source, frame and sound sources, both real event loops)
# under ThreadSanitizer. Which tests each sanitizer runs, the build writes beside itself. Last,
# where clang is present, each fuzzer of tests/fuzz for a fixed number of inputs.
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/setup.sh

jobs=$(nproc)
./scripts/check_format.sh
cmake --preset ci >/dev/null
cmake --build --preset ci -j "$jobs"
ctest --test-dir build --output-on-failure -j "$jobs"
./scripts/package.sh ci >/dev/null

cmake --preset asan >/dev/null
cmake --build --preset asan -j "$jobs" --target zr_sanitized_tests
ASAN_OPTIONS=detect_leaks=1 ctest --test-dir build/asan --output-on-failure -j "$jobs" \
  -L "$(cat build/asan/sanitized-labels)"

cmake --preset tsan >/dev/null
cmake --build --preset tsan -j "$jobs" --target zr_thread_tests
TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1 suppressions=$PWD/tests/tsan.supp" \
  ctest --test-dir build/tsan --output-on-failure -j "$jobs" -L "$(cat build/tsan/thread-labels)"

if command -v clang++ >/dev/null; then
  cmake --preset fuzz >/dev/null
  cmake --build --preset fuzz -j "$jobs" --target zr_fuzzers
  ctest --test-dir build/fuzz --output-on-failure -j "$jobs" -L fuzz
fi
