#!/usr/bin/env bash
# Builds and runs the benchmarks; each prints its figures and the target they are held to.
# Usage: scripts/bench.sh [recording_bench|av_sync_bench|picture_bench|motion_bench|interval_series_bench|
#                          picture_server_bench|avi_builder_bench|movie_seek_bench|histogram_bench|frame_extraction_bench|
#                          effects_bench|sound_trigger_bench]
#                         [SECONDS, PICTURES, REQUESTS, FILES, SEEKS, the movie's SECONDS or RUNS; motion_bench: --benchmark_* options;
#                          sound_trigger_bench: SECONDS of listening, 60 unless told]
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/setup.sh
cmake --preset dev >/dev/null
benches=(recording_bench av_sync_bench picture_bench motion_bench interval_series_bench picture_server_bench
         avi_builder_bench movie_seek_bench histogram_bench frame_extraction_bench effects_bench sound_trigger_bench)
[ $# -ge 1 ] && benches=("$1") && shift
cmake --build --preset dev -j "$(nproc)" --target "${benches[@]}"
for bench in "${benches[@]}"; do ./build/bin/"$bench" "$@"; done
