#!/usr/bin/env bash
# Draws the pictures of the documents anew, from what scripts/demo.sh makes.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/demo.sh
mkdir -p docs/pictures
xvfb-run -a scripts/render_model.py build/demo/housing.krn -o docs/pictures/housing-meshes.png
xvfb-run -a scripts/render_result.py build/demo/voxel/housing.q7f --item 1 -o docs/pictures/housing-filling.png
xvfb-run -a scripts/render_result.py build/demo/mapped/housing.q7f --item 1 -o docs/pictures/housing-filling-mapped.png

profile=$(mktemp -d)
trap 'rm -rf "$profile"' EXIT
root=()
[ "$(id -u)" -ne 0 ] || root=(--no-sandbox)
chromium --headless "${root[@]}" --use-angle=swiftshader --enable-unsafe-swiftshader --disable-quic --no-first-run --disable-background-networking \
  --disable-component-update --disable-sync --user-data-dir="$profile" --window-size=1200,1330 --virtual-time-budget=8000 \
  --screenshot=docs/pictures/mapping-report.png "file://$PWD/build/demo/report.html" 2> /dev/null
ls -l docs/pictures
