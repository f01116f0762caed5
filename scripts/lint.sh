#!/usr/bin/env bash
# Format and static analysis of the sources. What has passed is not analysed again until a source changes.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=release # whose sources are compiled together, which is analysed in a fifth of the time

[ -f "build/$preset/build.ninja" ] || cmake --preset "$preset" > /dev/null
ninja -C "build/$preset" tools/mapping_report_assets.cpp > /dev/null # the one generated source

git ls-files '*.h' '*.cpp' | xargs -r clang-format --dry-run --Werror

folders='common interpolation meshmapping resultmapping opensuite tools'
passed=build/lint-passed-$(git ls-files $folders platform include .clang-tidy cmake '*CMakeLists.txt' | xargs cat | sha256sum | cut -c1-32)
[ ! -e "$passed" ] || exit 0
options=(--extra-arg=-Wno-unknown-warning-option --extra-arg=-Wno-shadow) # the build's are GCC's; names of files that are only compiled together may be the same
python3 - "build/$preset" $folders << 'PYTHON' | xargs -0 -n 1 -P "$(nproc)" clang-tidy --quiet -p "build/$preset" "${options[@]}" 2> /dev/null
import json, pathlib, sys

build, folders, here = pathlib.Path(sys.argv[1]), sys.argv[2:], pathlib.Path.cwd()
sources = sorted({pathlib.Path(entry["file"]).relative_to(here) for entry in json.loads((build / "compile_commands.json").read_text())})
ours = [s for s in sources if s.parts[0] in folders or (s.is_relative_to(build) and s.relative_to(build).parts[0] not in ("tests", "benchmarks", "examples"))]
print(*ours, sep="\0", end="\0")
PYTHON
rm -f build/lint-passed-*
touch "$passed"
