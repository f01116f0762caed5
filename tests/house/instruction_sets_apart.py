"""Checks that code compiled for a special instruction set cannot stand in for code of other files: an object of it defines its one entry and nothing else
that a linker could pick (weak or common symbols, or other global ones)."""

import re
import subprocess
import sys

ENTRY = re.compile(r"^tav3d::interpolation::(\w+)::tryShapes\(")


def main(nm: str, objects: str) -> int:
    special = [o for o in objects.split(";") if re.search(r"_(avx2|sse2)\.cpp\.o(bj)?$", o)]
    errors = 0
    for path in special:
        listing = subprocess.run([nm, "-C", "--defined-only", path], check=True, capture_output=True, text=True).stdout
        entries = 0
        for line in listing.splitlines():
            kind, name = line.split(maxsplit=2)[1:]
            if kind.islower() and kind not in "uvw":  # local to the object
                continue
            if kind == "T" and ENTRY.match(name):
                entries += 1
                continue
            print(f"{path}: {kind} {name} could be linked into other code")
            errors += 1
        if entries != 1:
            print(f"{path}: {entries} entries")
            errors += 1
    print(len(special), "objects for special instruction sets")
    return 1 if errors or not special else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], sys.argv[2]))
