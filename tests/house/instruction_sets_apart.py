"""Checks that code compiled for a special instruction set cannot stand in for code of other files: an object of it defines its entries and nothing else
that a linker could pick (weak or common symbols, or other global ones)."""

import re
import subprocess
import sys

# Per source: kind of symbol and name of what it is to define.
ENTRIES = {
    "shape_trials": [r"T tav3d::interpolation::\w+::tryShapes\("],
    "fast_shapes": [r"[DR] tav3d::opensuite::\w+::fastShapes$"] + [rf"T tav3d::opensuite::FastElement<{n}, .*>::GetShapeFunction\(" for n in (4, 6, 8)],
}


def main(nm: str, objects: str) -> int:
    special = [o for o in objects.split(";") if re.search(r"_(avx2|sse2)\.cpp\.o(bj)?$", o)]
    errors = 0
    for path in special:
        listing = subprocess.run([nm, "-C", "--defined-only", path], check=True, capture_output=True, text=True).stdout
        source = re.search(r"(\w+)_(avx2|sse2)\.cpp", path)[1]
        missing = list(ENTRIES[source])
        for line in listing.splitlines():
            kind, name = line.split(maxsplit=2)[1:]
            if kind.islower() and kind not in "uvw":  # local to the object
                continue
            if name == "DW.ref.__gxx_personality_v0":  # a pointer, the same everywhere
                continue
            entry = next((e for e in missing if re.match(e, f"{kind} {name}")), None)
            if entry:
                missing.remove(entry)
                continue
            print(f"{path}: {kind} {name} could be linked into other code")
            errors += 1
        for entry in missing:
            print(f"{path}: {entry} is missing")
            errors += 1
    print(len(special), "objects for special instruction sets")
    return 1 if errors or not special else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], sys.argv[2]))
