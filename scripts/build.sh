#!/usr/bin/env bash
# scripts/build.sh PRESET [TARGET]...: configures (once) and builds a preset of CMakePresets.json, all of it or the targets named.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:?preset missing: dev, release, asan-ubsan, clang or windows}
shift

[ -f "build/$preset/build.ninja" ] || cmake --preset "$preset"
cmake --build --preset "$preset" ${1:+--target "$@"}
