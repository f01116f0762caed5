#!/usr/bin/env bash
# Has clang read all sources as Microsoft's compiler would: its target, its extensions, its macros. Microsoft's own headers are not here, so the standard
# library is that of mingw-w64; what this finds is what the language, the system's headers and the `_MSC_VER` branches of the sources are wrong in, not
# what Microsoft's library does differently. Needs the windows build (HDF5, generated folders).
set -euo pipefail
cd "$(dirname "$0")/.."

gcc=$(dirname "$(x86_64-w64-mingw32-g++-posix -print-libgcc-file-name)")
mkdir -p build/msvc-syntax
# These headers know either GCC or Microsoft's compiler, and here is a bit of both.
cat > build/msvc-syntax/prelude.h <<'PRELUDE'
#include <_mingw.h>
#ifndef __MINGW_IMPORT
#define __MINGW_IMPORT extern __declspec(dllimport)
#endif
#ifdef __cplusplus
extern "C"
#endif
void __cpuidex(int leaf[4], int number, int part);
PRELUDE

# Left out, because of the borrowed library: Boost asks std::type_info for a name that only Microsoft's has.
left_out='^opensuite/box_tree\.cpp$'

options=(--target=x86_64-pc-windows-msvc -fsyntax-only -std=c++20 -fms-extensions -fms-compatibility -fms-compatibility-version=19.38
  -fgnuc-version=12.2.0 -D__MINGW32__ -D__MINGW64__ -D__STRICT_ANSI__ -nostdinc++ -nostdlibinc -include build/msvc-syntax/prelude.h
  -isystem "$gcc/include/c++" -isystem "$gcc/include/c++/x86_64-w64-mingw32" -isystem /usr/x86_64-w64-mingw32/include
  -isystem build/hdf5-windows/include -isystem build/windows/header-only
  -I. -Iinclude -Iplatform -DTAV3D_VERSION='""' -DTAV3D_BUILDING_LIBRARY -DNOMINMAX -Wno-unknown-pragmas -Wno-ignored-pragma-intrinsic
  -Wno-nonportable-include-path -Wno-pragma-pack -Wno-inconsistent-dllimport -Wno-pragma-once-outside-header -Wgnu -Werror)

# The exported headers are read as a host reads them: C++14 is the oldest that Microsoft's compiler knows.
read_one() # FILE
{
  case $1 in
    include/*) clang++ "${options[@]}" -UTAV3D_BUILDING_LIBRARY -std=c++14 -x c++ "$1" ;;
    *_avx2.cpp) clang++ "${options[@]}" -mavx2 "$1" ;;
    *) clang++ "${options[@]}" "$1" ;;
  esac
}

if [ $# -gt 0 ]; then
  for file in "$@"; do
    read_one "$file"
  done
  exit 0
fi
files=$(git ls-files common interpolation meshmapping resultmapping opensuite tools include | grep -E '\.cpp$|^include/' | grep -v -E "$left_out")
echo "$files" | xargs -P "$(nproc)" -n 8 scripts/check_msvc_syntax.sh
echo "$(echo "$files" | wc -l) files are fine to clang in the place of Microsoft's compiler"
