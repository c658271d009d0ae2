#!/usr/bin/env bash
# Runs every fuzz target for a number of seconds, starting from its corpus; what is found on the
# way is kept out of the repository.
#   scripts/fuzz.sh [SECONDS] [TARGET...]
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-30}
shift || true

[ -f build/fuzz/build.ninja ] || cmake --preset fuzz
cmake --build --preset fuzz --target fuzzers
if [ $# -gt 0 ]; then targets=("$@"); else targets=(fuzz/*.cpp); fi
# A leak report of the toolkit's own start-up is not a finding of these parsers.
export ASAN_OPTIONS=detect_leaks=0
run_target() {
  name=$(basename "$1" .cpp)
  found=build/fuzz/found/$name
  mkdir -p "$found"
  "build/fuzz/bin/fuzz_$name" "-max_total_time=$2" -timeout=10 -rss_limit_mb=2048 \
    -print_final_stats=1 "-artifact_prefix=$found/" "$found" "fuzz/corpus/$name" \
    >"$found.log" 2>&1 || { tail -n 40 "$found.log"; echo "FAILED: $name"; return 1; }
  echo "$name: $(grep -o 'stat::number_of_executed_units: *[0-9]*' "$found.log" | grep -o '[0-9]*$') inputs, no finding"
}
export -f run_target
printf '%s\n' "${targets[@]}" | grep -v '/replay\.cpp$' \
  | xargs -P "$(nproc)" -I{} bash -c 'run_target "$1" "$2"' _ {} "$seconds"
