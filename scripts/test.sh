#!/usr/bin/env bash
# Sets everything up on a fresh Debian 12, builds, and runs all tests: as it is released, then under AddressSanitizer and
# UndefinedBehaviorSanitizer. A second run rebuilds only what has changed.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
scripts/lint.sh
for preset in release asan-ubsan; do
  scripts/build.sh "$preset"
  [ "$preset" != release ] || scripts/build.sh clang tav3d same_bytes_probe # which have to make the same bytes
  ctest --preset "$preset" -j "$(nproc)" --quiet --output-log "build/$preset/ctest.log" || {
    ctest --preset "$preset" --rerun-failed --output-on-failure
    exit 1
  }
  grep -E "tests passed|tests failed" "build/$preset/ctest.log" | sed "s/^/$preset: /"
done
tail -n 3 build/asan-ubsan/ctest.log
