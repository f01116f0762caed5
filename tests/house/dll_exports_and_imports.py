"""Checks that the DLL exports the three classes and nothing else, and that DLL and program load what docs/windows.md says, which every Windows has.

usage: dll_exports_and_imports.py OBJDUMP DLL PROGRAM
"""

import re
import subprocess
import sys

CLASSES = ["CTav3dInterpolation", "CTav3dMeshMappingArrary", "CTav3dQ7XMapping_Voxel2CutCell"]
NEEDS = {"kernel32.dll", "advapi32.dll", "msvcrt.dll"}
PROGRAM_NEEDS = NEEDS | {"shell32.dll"}


def listing_of(objdump: str, file: str) -> str:
    return subprocess.run([objdump, "-p", file], check=True, capture_output=True, text=True).stdout


def wrong_imports(objdump: str, file: str, expected: set[str]) -> bool:
    imports = {name.lower() for name in re.findall(r"DLL Name: (\S+)", listing_of(objdump, file))}
    print(file, "loads", ", ".join(sorted(imports)))
    if imports != expected:
        print("and not", ", ".join(sorted(expected)))
    return imports != expected


def wrong_exports(objdump: str, library: str) -> bool:
    table = listing_of(objdump, library).partition("[Ordinal/Name Pointer] Table")[2].partition("\n\n")[0]
    symbols = re.findall(r"^\s*\[ *\d+\] (\S+)", table, re.M)
    # Members, constructors and so on are _ZN<length><class>...; tables and type information of the class _ZTV, _ZTI, _ZTS.
    members = "|".join(f"{len(name)}{name}" for name in CLASSES)
    strangers = [s for s in symbols if not re.match(rf"_Z(NK?({members})|T[VIS]({members})$)", s)]
    missing = [name for name in CLASSES if not any(s.startswith(f"_ZN{len(name)}{name}") for s in symbols)]
    for symbol in strangers:
        print("exported, but no member of the three classes:", symbol)
    for name in missing:
        print("nothing is exported of", name)
    print(len(symbols), "exported symbols")
    return bool(strangers or missing or not symbols)


def main(objdump: str, library: str, program: str) -> int:
    failures = [wrong_exports(objdump, library), wrong_imports(objdump, library, NEEDS), wrong_imports(objdump, program, PROGRAM_NEEDS)]
    return 1 if any(failures) else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
