#!/usr/bin/env bash
# Format and static analysis of the sources. Files that have not changed since they last passed are not analysed again.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=dev

[ -f "build/$preset/build.ninja" ] || cmake --preset "$preset" > /dev/null

git ls-files '*.h' '*.cpp' | xargs -r clang-format --dry-run --Werror

# clang-tidy reads headers too, so the key of a file covers every header of the project.
stamps=build/lint
mkdir -p "$stamps"
headers=$(git ls-files '*.h' .clang-tidy CMakeLists.txt '*/CMakeLists.txt' | xargs cat | sha256sum | cut -c1-16)
git ls-files interpolation meshmapping resultmapping opensuite tools | grep '\.cpp$' | while read -r source; do
  stamp="$stamps/$(cat "$source" <(echo "$headers $source") | sha256sum | cut -c1-32)"
  [ -e "$stamp" ] || printf '%s\0%s\0' "$source" "$stamp"
done | xargs -0 -r -n 2 -P "$(nproc)" sh -c 'clang-tidy --quiet -p "build/'"$preset"'" "$1" 2>/dev/null && touch "$2" || { echo "clang-tidy: $1 failed" >&2; exit 1; }' lint
