#!/usr/bin/env bash
# Builds everything (library, output library, demo, tests, benchmarks) and
# runs every test. With BRELL_SANITIZE=ON it does the same in build-sanitize
# with AddressSanitizer and UndefinedBehaviorSanitizer, leak checking on.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
if [ "${BRELL_SANITIZE:-OFF}" = ON ]; then
  build=build-sanitize
  cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DBRELL_SANITIZE=ON -DBRELL_BUILD_BENCH=OFF >/dev/null
  export ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=1:abort_on_error=1
  export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
else
  build=build
  cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
fi
cmake --build "$build"
ctest --test-dir "$build" --output-on-failure
