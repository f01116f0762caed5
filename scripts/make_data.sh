#!/bin/sh
# Makes the STL files in data/ from their OpenSCAD sources. Needs openscad (2021.01 or later); takes some minutes.
set -eu
cd "$(dirname "$0")/../data"
for name in insert housing; do
    openscad --export-format binstl -o "$name.tmp.stl" "$name.scad"
    mv "$name.tmp.stl" "$name.stl"
done
ls -l insert.stl housing.stl
