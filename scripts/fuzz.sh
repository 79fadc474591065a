#!/usr/bin/env bash
# Builds the libFuzzer targets of the file readers, the scene loader and the
# camera data operators with clang in build-fuzz and runs
# each for the given number of seconds (default 30) from its seeds in
# fuzz/corpus/<format>. New inputs go to build-fuzz/corpus/<format>; a finding
# stops the script with the target's report and the crashing input's file.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds="${1:-30}"
scripts/deps.sh
cmake -S . -B build-fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=clang++ \
  -DBRELL_FUZZ=ON -DBRELL_BUILD_TESTS=OFF -DBRELL_BUILD_BENCH=OFF >/dev/null
formats=(ply off obj xyz gltf scene camera kamera)
cmake --build build-fuzz --target "${formats[@]/#/brell_fuzz_}"
for format in "${formats[@]}"; do
  mkdir -p "build-fuzz/corpus/$format" "build-fuzz/findings/$format"
  dictionary=()
  [ -f "fuzz/$format.dict" ] && dictionary=(-dict="fuzz/$format.dict")
  log="build-fuzz/fuzz-$format.log"
  status=0
  "build-fuzz/bin/brell_fuzz_$format" -max_total_time="$seconds" -print_final_stats=1 \
    -artifact_prefix="build-fuzz/findings/$format/" "${dictionary[@]}" \
    "build-fuzz/corpus/$format" "fuzz/corpus/$format" >"$log" 2>&1 || status=$?
  executions=$(grep -m1 '^stat::number_of_executed_units' "$log" | awk '{print $2}')
  echo "$format: ${executions:-?} executions in $seconds s, corpus $(ls "build-fuzz/corpus/$format" | wc -l) inputs"
  if [ "$status" -ne 0 ] || [ -n "$(ls -A "build-fuzz/findings/$format")" ]; then
    tail -n 60 "$log"
    echo "finding in $format (exit $status): $(ls "build-fuzz/findings/$format")"
    exit 1
  fi
done
echo "fuzzing done: no findings"
