#!/usr/bin/env bash
# Builds the fuzzers (the fuzz preset, clang with libFuzzer) and runs each for a while, from its
# seeds in tests/fuzz/corpus/<name> and what earlier runs found in build/fuzz (never adding to
# the seeds). A fault stops the run with its report and the input that caused it.
#   scripts/fuzz.sh                 every fuzzer for 30 seconds
#   scripts/fuzz.sh 300 jpeg bmp    the JPEG and BMP fuzzers for 5 minutes each
# The test command runs them too, for a fixed number of inputs (ctest -L fuzz in build/fuzz).
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-30}
shift || true
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz -j "$(nproc)" --target zr_fuzzers
names=("$@")
[ ${#names[@]} -eq 0 ] && names=(parameter_file insertion_file bmp jpeg avi mjpeg_parts)
for name in "${names[@]}"; do
  mkdir -p "build/fuzz/tests/fuzz/found/$name"
  log=build/fuzz/fuzz_$name.log
  echo "fuzz_$name for $seconds s (log: $log)"
  if ! (cd build/fuzz && "bin/fuzz_$name" -max_total_time="$seconds" -timeout=10 -malloc_limit_mb=256 \
    -print_final_stats=1 "tests/fuzz/found/$name" "../../tests/fuzz/corpus/$name") >"$log" 2>&1; then
    tail -n 80 "$log"
    echo "fuzz_$name found a fault; the input that causes it is in build/fuzz (crash-*, oom-*, timeout-*)"
    exit 1
  fi
  grep -E "^stat::(number_of_executed_units|peak_rss_mb|new_units_added)" "$log"
done
