#!/usr/bin/env bash
# scripts/setup.sh [windows] [PACKAGE]...: installs what the build and the tests need on Debian 12, and any packages named as arguments; with "windows" also
# what builds for Windows and runs there need. Does nothing when all of it is there.
set -euo pipefail

packages=(
  g++ cmake ninja-build pkg-config dpkg-dev
  libhdf5-dev libboost-dev libcli11-dev nlohmann-json3-dev # the product
  libgtest-dev libgmock-dev libbenchmark-dev liblapack-dev # tests and benchmarks
  python3 python3-numpy python3-scipy python3-h5py python3-vtk9 cgns-convert xvfb xauth # independent readers, pictures
  chromium chromium-driver                       # the report in a browser
  clang clang-format clang-tidy                  # another compiler, checks of the sources
)
if [ "${1:-}" = windows ]; then
  shift
  packages+=(
    g++-mingw-w64-x86-64-posix gcc-mingw-w64-x86-64-posix # the compiler
    wine wine64                                           # runs what it makes
    googletest                                            # sources, to be built for Windows
  )
fi
packages+=("$@")

missing=()
for package in "${packages[@]}"; do
  status=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
  [ "$status" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

root=()
[ "$(id -u)" -eq 0 ] || root=(sudo)
echo "Installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
"${root[@]}" apt-get update -qq
"${root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" > /dev/null
