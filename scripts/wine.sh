#!/usr/bin/env bash
# scripts/wine.sh PROGRAM.exe [ARGUMENT]...: runs a Windows program under wine, in a Windows installation of our own under build/wine.
# Builds and tests call Windows programs through this (CMAKE_CROSSCOMPILING_EMULATOR), so that nothing depends on, or touches, the user's own wine.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
export WINEPREFIX=${TAV3D_WINEPREFIX:-$root/build/wine}
export WINEARCH=win64 WINEDEBUG=-all WINEDLLOVERRIDES="mscoree=;mshtml=;winemenubuilder.exe=" # no offers to download .NET and a browser, no menus
unset DISPLAY

# One at a time. The first call ever makes the installation; the mark is ours, for wine's own files appear before it is done.
mkdir -p "$WINEPREFIX"
exec 9> "$WINEPREFIX.lock"
flock 9
if [ ! -e "$WINEPREFIX/.ready" ]; then
  wineboot --init < /dev/null > "$WINEPREFIX.log" 2>&1 9>&-
  wineserver --wait 9>&-
  touch "$WINEPREFIX/.ready"
fi
# The server that all programs share ends when it is idle, and a program that starts at that moment fails. So it is made to stay for a minute. What a first
# program brings up beside itself stays as long, hence a first program of ours: callers wait until nobody has their output open.
if wineserver --persistent=60 < /dev/null > /dev/null 2>&1 9>&-; then
  wine cmd /c exit < /dev/null > /dev/null 2>&1 9>&-
fi
exec 9>&-
exec wine "$@"
