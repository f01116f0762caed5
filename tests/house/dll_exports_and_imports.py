"""Checks that the DLL exports the three classes and nothing else, and needs nothing but what every Windows has."""

import re
import subprocess
import sys

CLASSES = ["CTav3dInterpolation", "CTav3dMeshMappingArrary", "CTav3dQ7XMapping_Voxel2CutCell"]
OF_WINDOWS = {"advapi32.dll", "kernel32.dll", "msvcrt.dll", "shell32.dll", "shlwapi.dll", "user32.dll", "ws2_32.dll"}


def main(objdump: str, library: str) -> int:
    listing = subprocess.run([objdump, "-p", library], check=True, capture_output=True, text=True).stdout
    imports = re.findall(r"DLL Name: (\S+)", listing)
    table = listing.partition("[Ordinal/Name Pointer] Table")[2].partition("\n\n")[0]
    symbols = re.findall(r"^\s*\[ *\d+\] (\S+)", table, re.M)
    # Members, constructors and so on are _ZN<length><class>...; tables and type information of the class _ZTV, _ZTI, _ZTS.
    members = "|".join(f"{len(name)}{name}" for name in CLASSES)
    strangers = [s for s in symbols if not re.match(rf"_Z(NK?({members})|T[VIS]({members})$)", s)]
    missing = [name for name in CLASSES if not any(s.startswith(f"_ZN{len(name)}{name}") for s in symbols)]
    foreign = [name for name in imports if name.lower() not in OF_WINDOWS]
    for symbol in strangers:
        print("exported, but no member of the three classes:", symbol)
    for name in missing:
        print("nothing is exported of", name)
    for name in foreign:
        print("needs", name)
    print(len(symbols), "exported symbols; needs", ", ".join(imports))
    return 1 if strangers or missing or foreign or not symbols or not imports else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
