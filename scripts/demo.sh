#!/usr/bin/env bash
# Builds everything and takes a range scan through the whole road: imported
# into a scene, its geometry calculated, drawn by the reference renderer into
# a PNG file, the scene saved, read back and listed. Without an argument the
# scan is one the demo makes itself (a vase with its camera shot as texture);
# with one, that PLY, OFF, OBJ or XYZ file.
#   scripts/demo.sh [SCAN]
#   scripts/demo.sh --sections   the library's demo sections, one by one
# The library's diagnostics go through the reference output library
# (libscrivo.so, found on LD_LIBRARY_PATH) to standard error.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build
export LD_LIBRARY_PATH="$PWD/build/scrivo${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}"
# The sections show the library's trace lines too (its tree listings among
# them); the main job only its warnings and errors, as every program does by
# default.
if [ "${1:-}" = --sections ]; then
  SCRIVO_LEVEL=${SCRIVO_LEVEL:-60} exec build/bin/brelldemo
fi
exec build/bin/brellroad build/road "$@"
