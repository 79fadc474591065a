#!/usr/bin/env bash
# Runs the Khronos glTF validator on every .glb and .gltf file in a folder;
# fails when one has an error or the folder holds none. The validator (npm's
# gltf-validator, at the version tests/io/gltf-validator/package-lock.json
# fixes) is installed into the given folder when it is not there yet.
# Usage: scripts/validate_gltf.sh <validator folder> <folder of files>
set -euo pipefail
source="$(cd "$(dirname "$0")/.." && pwd)/tests/io/gltf-validator"
validator="$1"
files=("$2"/*.glb "$2"/*.gltf)
if [ ! -d "$validator/node_modules/gltf-validator" ]; then
  mkdir -p "$validator"
  cp "$source/package.json" "$source/package-lock.json" "$validator/"
  (cd "$validator" && npm ci --no-audit --no-fund --loglevel=error)
fi
NODE_PATH="$validator/node_modules" node "$source/validate.js" "${files[@]}"
