"""Checks that the shared library exports the three classes and nothing else."""

import re
import subprocess
import sys

CLASSES = ["CTav3dInterpolation", "CTav3dMeshMappingArrary", "CTav3dQ7XMapping_Voxel2CutCell"]


def main(library: str) -> int:
    # Undefined symbols and the ones that a sanitizer adds are not ours.
    listing = subprocess.run(["nm", "-DC", "--defined-only", library], check=True, capture_output=True, text=True).stdout
    symbols = [line.split(maxsplit=2)[2] for line in listing.splitlines() if line.strip()]
    pattern = re.compile(rf"^(vtable for |typeinfo for |typeinfo name for )?({'|'.join(CLASSES)})(::|$)")
    strangers = [s for s in symbols if not pattern.match(s)]
    for symbol in strangers:
        print("exported, but no member of the three classes:", symbol)
    missing = [c for c in CLASSES if not any(s.startswith(c + "::") for s in symbols)]
    for name in missing:
        print("nothing is exported of", name)
    print(len(symbols), "exported symbols")
    return 1 if strangers or missing or not symbols else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
