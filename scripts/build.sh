#!/usr/bin/env bash
# scripts/build.sh PRESET: configures (once) and builds a preset of CMakePresets.json.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:?preset missing: dev, release or asan-ubsan}

[ -f "build/$preset/build.ninja" ] || cmake --preset "$preset"
cmake --build --preset "$preset"
