#!/usr/bin/env bash
# Builds HDF5's C library for 64-bit Windows from the source package of the HDF5 that Linux builds use, so that both systems write the same bytes.
# Static, without tools, tests and filters. Done once: the result stays in build/hdf5-windows.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
target=$root/build/hdf5-windows
version=1.10.8

[ ! -e "$target/.complete" ] || exit 0
echo "Building HDF5 $version for Windows (once)"
started=$SECONDS
rm -rf "$target"
work=$target.work
rm -rf "$work"
mkdir -p "$work/apt/lists/partial" "$work/apt/cache/archives/partial"

# The source package, by way of a source list of our own: the machine's own lists stay as they are.
sources=$work/apt/sources.list
apt-get indextargets --format 'deb-src $(REPO_URI) $(RELEASE) $(COMPONENT)' 'Identifier: Packages' 'Origin: Debian' 'Component: main' | sort -u > "$sources"
own_lists=(-qq -o "Dir::Etc::SourceList=$sources" -o "Dir::Etc::SourceParts=/dev/null" -o "Dir::State::Lists=$work/apt/lists"
  -o "Dir::Cache=$work/apt/cache" -o "APT::Sandbox::User=root" -o "Acquire::Languages=none" -o "Acquire::IndexTargets::deb-src::DEP-11::DefaultEnabled=false")
apt-get "${own_lists[@]}" update
(cd "$work" && apt-get "${own_lists[@]}" source --only-source "hdf5=$(apt-cache "${own_lists[@]}" showsrc --only-source hdf5 |
  sed -n "s/^Version: \($version.*\)/\1/p" | head -1)" > source.log 2>&1) || { cat "$work/source.log" >&2; exit 1; }
source=$(echo "$work"/hdf5-"$version"*/)
[ -e "$source/CMakeLists.txt" ] || { echo "The source package of HDF5 $version has not the expected content." >&2; exit 1; }

# Windows has no processes to wait for; mingw-w64 has no such header.
sed -i 's|^#include <sys/wait.h>|#ifndef H5_HAVE_WIN32_API\n#include <sys/wait.h>\n#endif|' "$source/src/H5private.h"

launcher=()
! command -v ccache > /dev/null || launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache)
mkdir "$work/build"
cd "$work/build" # HDF5's configuration writes into the current folder
cmake -G Ninja "$source" --toolchain "$root/cmake/mingw-w64.cmake" -DCMAKE_BUILD_TYPE=Release -DCMAKE_C_FLAGS_RELEASE="-O2 -DNDEBUG" "${launcher[@]}" \
  -DCMAKE_INSTALL_PREFIX="$target" -DBUILD_SHARED_LIBS=OFF -DBUILD_STATIC_LIBS=ON -DBUILD_TESTING=OFF -DHDF5_BUILD_TOOLS=OFF -DHDF5_BUILD_UTILS=OFF \
  -DHDF5_BUILD_HL_LIB=OFF -DHDF5_BUILD_CPP_LIB=OFF -DHDF5_BUILD_FORTRAN=OFF -DHDF5_BUILD_JAVA=OFF -DHDF5_BUILD_EXAMPLES=OFF -DHDF5_ENABLE_Z_LIB_SUPPORT=OFF \
  -DHDF5_ENABLE_SZIP_SUPPORT=OFF -DHDF5_ENABLE_PARALLEL=OFF -DHDF5_NO_PACKAGES=ON -DHDF5_DISABLE_COMPILER_WARNINGS=ON \
  > configure.log 2>&1 || { tail -n 40 configure.log >&2; exit 1; }
cmake --build . > build.log 2>&1 || { grep -A 20 -m 1 FAILED build.log >&2; exit 1; }
cmake --install . > install.log 2>&1 || { tail -n 20 install.log >&2; exit 1; }
cp "$source/COPYING" "$target/"
cd "$root"
rm -rf "$work"
touch "$target/.complete"
echo "HDF5 for Windows: $((SECONDS - started)) s"
