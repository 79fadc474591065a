#!/usr/bin/env bash
# Builds the library and runs the demo. The library's diagnostics go through
# the reference output library (libscrivo.so, found on LD_LIBRARY_PATH) to
# standard error.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build --target brelldemo scrivo
LD_LIBRARY_PATH="$PWD/build/scrivo${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}" build/bin/brelldemo "$@"
