#!/usr/bin/env bash
# scripts/test.sh [linux|windows]: sets everything up on a fresh Debian 12, builds, and runs all tests.
# linux: checks of the sources, then the tests as it is released and under AddressSanitizer and UndefinedBehaviorSanitizer.
# windows: the DLL, the program and the tests for Windows, cross-built, under wine.
# Without an argument: both. A second run rebuilds only what has changed.
set -euo pipefail
cd "$(dirname "$0")/.."
systems=${1:-linux windows}
export TAV3D_TEST_OTHER_BUILD=required # where system.same_bytes has none to compare with, it fails

run_preset() # PRESET
{
  scripts/build.sh "$1"
  ctest --preset "$1" -j "$(nproc)" --quiet --output-log "build/$1/ctest.log" || {
    ctest --preset "$1" --rerun-failed --output-on-failure
    exit 1
  }
  sed -nE "s/^.*Test +#[0-9]+: (.*[^ .]) *\.*\*\*\*(Skipped|Not Run.*[^ ]) +[0-9.]+ sec.*/$1: \1: \2/p" "build/$1/ctest.log"
  grep -E "tests passed|tests failed" "build/$1/ctest.log" | sed "s/^/$1: /"
}

test_linux()
{
  scripts/setup.sh
  scripts/lint.sh
  scripts/build.sh clang tav3d same_bytes_probe # which have to make the same bytes
  run_preset release
  run_preset asan-ubsan
  tail -n 3 build/asan-ubsan/ctest.log
}

test_windows()
{
  scripts/setup.sh windows
  scripts/build_hdf5_windows.sh
  scripts/wine.sh cmd /c ver > /dev/null # makes the Windows installation, once
  scripts/build.sh release tav3d same_bytes_probe # which have to make the same bytes
  rm -rf build/windows/test-reports
  run_preset windows
  scripts/check_msvc_syntax.sh
  python3 tests/count_reports.py build/windows build/release
}

for system in $systems; do
  case $system in
    linux | windows) "test_$system" ;;
    *) echo "scripts/test.sh [linux|windows]" >&2; exit 2 ;;
  esac
done
