"""Checks that code compiled for a special instruction set cannot stand in for code of other files, on processors that do not have it: an object of it defines,
of all that a linker sees, only what lies in the namespace of that instruction set, or single functions of a class made for it. Anything else, above all an inline function or a template that other
files have too, could be the copy that the linker keeps.

usage: instruction_sets_apart.py NM SOURCES OBJECTS...    OBJECTS: lists, separated by semicolons, that comprise the objects of all special sources
"""

import pathlib
import re
import subprocess
import sys

SPECIAL = re.compile(r"(\w+_(avx2|sse2)\.cpp)")
LANE_SETS = {"sse2": 1, "avx2": 2}  # values of tav3d::common::LaneSet
PERSONALITY = re.compile(r"^(DW\.ref|\.refptr)\.")  # addresses of what is elsewhere, no code


def scopes(symbol: str) -> list[str]:
    """The namespaces and classes that a symbol says it lies in, from its mangled name; of tables and thunks those of what they are for."""
    start = re.match(r"_Z(?:T[VTIS]|GV|Thn?\d+_)?N[rVK]*[RO]?", symbol)
    names, rest = [], symbol[start.end():] if start else ""
    while length := re.match(r"[1-9]\d*", rest):
        end = length.end() + int(length[0])
        names.append(rest[length.end():end])
        rest = rest[end:]
    return names[:-1]


def is_of_own_class(kind: str, symbol: str, own: str) -> bool:
    """Whether it is a function, defined once, of a class template's case for the instruction set."""
    return kind == "T" and f"7LaneSetE{LANE_SETS[own]}EE" in symbol


def main(nm: str, sources: str, *objects: str) -> int:
    special = {}
    for path in ";".join(objects).split(";"):
        if found := SPECIAL.match(pathlib.PurePath(path).name):
            special[found[1]] = (path, found[2])
    expected = {file.name for folder in pathlib.Path(sources).iterdir() if (folder / "CMakeLists.txt").exists() for file in folder.glob("*.cpp")
                if SPECIAL.fullmatch(file.name)}
    errors = [f"{name} is a source or an object, but not both" for name in sorted(expected ^ special.keys())]
    for path, own in special.values():
        listing = subprocess.run([nm, "--defined-only", path], check=True, capture_output=True, text=True).stdout
        entries = 0
        for line in listing.splitlines():
            kind, symbol = line.split(maxsplit=2)[1:]
            if (kind.islower() and kind not in "uvw") or PERSONALITY.match(symbol):  # small letters: local to the object
                continue
            if own in scopes(symbol) or is_of_own_class(kind, symbol, own):
                entries += 1
            else:
                errors.append(f"{path}: {kind} {symbol} could be linked into other code")
        if entries == 0:
            errors.append(f"{path}: nothing to be called")
    print(*errors, f"{len(special)} objects for special instruction sets", sep="\n")
    return 1 if errors or not special else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
