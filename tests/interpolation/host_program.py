"""Compiles the host program of docs/interpolation.md against the exported header and the built library, runs it, and compares its output with the
document's.

usage: host_program.py <document> <include folder> <library> <compiler> [flags...]
"""

import pathlib
import re
import subprocess
import sys
import tempfile


def main(document: str, include: str, library: str, compiler: str, *flags: str) -> int:
    text = pathlib.Path(document).read_text(encoding="utf-8")
    programs = re.findall(r"^```cpp\n(.*?)^```$", text, re.DOTALL | re.MULTILINE)
    outputs = re.findall(r"^```text\n(.*?)^```$", text, re.DOTALL | re.MULTILINE)
    if len(programs) != 1 or len(outputs) != 1:
        print(f"{document} has {len(programs)} programs and {len(outputs)} outputs; it should have one of each")
        return 1
    with tempfile.TemporaryDirectory(prefix="tav3d-host-") as folder:
        source, program = pathlib.Path(folder, "host.cpp"), pathlib.Path(folder, "host")
        source.write_text(programs[0], encoding="utf-8")
        rpath = f"-Wl,-rpath,{pathlib.Path(library).parent}"
        subprocess.run([compiler, "-std=c++11", "-pedantic", "-Wall", "-Wextra", "-Werror", *flags, f"-I{include}", source, library, rpath, "-o", program],
                       check=True)
        printed = subprocess.run([program], check=True, capture_output=True, text=True).stdout
    if printed != outputs[0]:
        print(f"the document says\n{outputs[0]}\nbut the program prints\n{printed}")
        return 1
    print(printed, end="")
    return 0


if __name__ == "__main__":
    if len(sys.argv) < 5:
        print(__doc__, file=sys.stderr)
        sys.exit(2)
    sys.exit(main(*sys.argv[1:]))
