#!/usr/bin/env bash
# Installs the Debian packages the build needs, when any is missing.
set -euo pipefail
# The reference renderer: EGL and OpenGL headers with the vendor-neutral
# libEGL and libOpenGL (they dispatch every GL call, so no function loader is
# needed), Mesa's EGL driver and software rasterizer for machines without a
# GPU, and libpng for pictures. clang and its runtime libraries build the fuzz
# targets (scripts/fuzz.sh); libxxhash hashes scene files.
# CLI11 parses the brell tool's arguments; GLFW opens brell view's window,
# and Xvfb gives its test a display of its own.
# tinygltf (with nlohmann JSON) reads and writes glTF files; Node.js and npm
# run the glTF validator of the tests (scripts/validate_gltf.sh).
# pybind11, Python's headers, numpy and pytest build and test the Python module.
# time and bc measure the large-scan road (scripts/large.sh).
packages=(cmake ninja-build g++ pkg-config libgtest-dev libgmock-dev libbenchmark-dev
  libegl-dev libopengl-dev libegl-mesa0 libgl1-mesa-dri libpng-dev clang libclang-rt-dev libxxhash-dev
  libcli11-dev libglfw3-dev xvfb libtinygltf-dev nlohmann-json3-dev pybind11-dev python3-dev python3-numpy
  python3-pytest time bc)
# A Node.js of another origin brings its own npm.
command -v npm >/dev/null || packages+=(nodejs npm)
missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing+=("$package")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${missing[@]}"
fi
