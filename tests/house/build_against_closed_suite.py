"""Builds the library against a folder laid out like the suite's own libraries: include/ with their headers, lib/ with the libraries.

Nobody outside of the suite's maker has these libraries, so stand-ins that do nothing take their place: what is checked is that the subsystems
compile against the declarations alone, that every library is found, linked and needed, and that nothing of the open implementation is.
"""

import pathlib
import re
import shutil
import subprocess
import sys
import tempfile


def run(*command) -> str:
    done = subprocess.run([str(c) for c in command], capture_output=True, text=True)
    if done.returncode != 0:
        print(done.stdout, done.stderr, sep="\n")
        raise SystemExit(f"failed: {' '.join(map(str, command))}")
    return done.stdout


def make_library(compiler: str, path: pathlib.Path, symbols: list[str]) -> None:
    """A shared library with functions of these names."""
    source = path.with_suffix(".s")
    lines = ['.section .note.GNU-stack,"",@progbits', ".text"]
    for symbol in symbols:
        lines += [f".globl {symbol}", f".type {symbol}, @function", f"{symbol}: ret"]
    source.write_text("\n".join(lines) + "\n", encoding="utf-8")
    run(compiler, "-shared", source, "-o", path, f"-Wl,-soname,{path.name}")


def undefined_symbols(library: pathlib.Path) -> list[str]:
    return [line.split()[-1] for line in run("nm", "-D", "--undefined-only", library).splitlines()]


def main(cmake: str, source: str, compiler: str) -> None:
    platform = pathlib.Path(source) / "platform"
    headers = sorted(platform.glob("*.h"))
    with tempfile.TemporaryDirectory() as scratch_name:
        scratch = pathlib.Path(scratch_name)
        libraries = scratch / "suite" / "lib"
        shutil.copytree(platform, scratch / "suite" / "include")
        libraries.mkdir()
        for header in headers:
            make_library(compiler, libraries / f"lib{header.stem}.so", [])

        build = scratch / "build"
        run(cmake, "-S", source, "-B", build, "-DTAV3D_SUITE=closed", f"-DTAV3D_SUITE_DIR={scratch / 'suite'}", "-DCMAKE_BUILD_TYPE=Debug",
            f"-DCMAKE_CXX_COMPILER={compiler}")
        run(cmake, "--build", build, "--parallel", "2")
        library = build / "lib" / "libTav3DInterpolation.so"

        # Each library gets the symbols of the classes that its header declares, as far as the subsystems ask for them.
        asked = undefined_symbols(library)
        for header in headers:
            classes = re.findall(r"^class (\w+)$", header.read_text(encoding="utf-8"), re.MULTILINE)
            of_library = [s for s in asked if any(f"{len(c)}{c}" in s for c in classes) and not s.startswith("_ZNSt")]
            assert of_library, f"nothing of {header.name} is asked for"
            make_library(compiler, libraries / f"lib{header.stem}.so", of_library)
        library.resolve().unlink()
        run(cmake, "--build", build)

        needed = run("readelf", "-d", library)
        for header in headers:
            assert f"[lib{header.stem}.so]" in needed, f"{header.stem} is not needed"
        assert "hdf5" not in needed, needed
        print("built against", len(headers), "closed libraries")


if __name__ == "__main__":
    main(*sys.argv[1:])
