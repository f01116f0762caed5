#!/usr/bin/env bash
# Sets everything up on a fresh Debian 12, builds tav3d, and does the main job on a real part: meshes from an STL file, sample results of every kind on
# the voxel mesh, all of them mapped to the cut-cell mesh, and a report to look at. Everything it makes lands in build/demo.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
[ -f build/release/build.ninja ] || cmake --preset release > /dev/null
cmake --build --preset release --target tav3d

tav3d=$PWD/build/release/bin/tav3d
rm -rf build/demo
mkdir -p build/demo/voxel build/demo/mapped
cd build/demo

echo
echo "== Voxel mesh and cut-cell mesh of the housing"
"$tav3d" model ../../data/housing.stl --insert ../../data/insert.stl --cell-size 1 -o housing.krn
echo
echo "== Sample results on the voxel mesh"
"$tav3d" sample housing.krn -o voxel
echo
echo "== The results, smoothed and carried to the cut-cell mesh"
"$tav3d" map housing.krn voxel/*.q7f voxel/*.q7p voxel/*.q7c voxel/*.q7hc voxel/*.rsf voxel/*.rsc --smooth --output mapped --report report.html

echo
echo "Look at:"
echo "  $PWD/report.html          the mapping report, in any browser"
echo "  $PWD/mapped/                  the mapped results; ParaView opens them as CGNS files"
echo "  build/release/bin/tav3d info build/demo/mapped/*    tells what is in them"
