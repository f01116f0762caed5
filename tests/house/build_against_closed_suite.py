"""Builds the library against a folder laid out like the suite's own libraries: include/ with their headers, lib/ with the libraries.

Nobody outside of the suite's maker has these libraries, so empty ones stand in: what is checked is that the subsystems compile against
the declarations alone, that every library is found and linked, and that nothing of the open implementation is needed.
"""

import pathlib
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


def main(cmake: str, source: str, compiler: str) -> None:
    platform = pathlib.Path(source) / "platform"
    with tempfile.TemporaryDirectory() as scratch_name:
        scratch = pathlib.Path(scratch_name)
        shutil.copytree(platform, scratch / "suite" / "include")
        (scratch / "suite" / "lib").mkdir()
        for header in sorted(platform.glob("*.h")):
            library = scratch / "suite" / "lib" / f"lib{header.stem}.so"
            run(compiler, "-shared", "-fPIC", "-x", "c++", "/dev/null", "-o", library, f"-Wl,-soname,{library.name}")

        build = scratch / "build"
        run(cmake, "-S", source, "-B", build, "-DTAV3D_SUITE=closed", f"-DTAV3D_SUITE_DIR={scratch / 'suite'}", "-DCMAKE_BUILD_TYPE=Debug",
            f"-DCMAKE_CXX_COMPILER={compiler}")
        run(cmake, "--build", build, "--parallel", "2")

        library = build / "lib" / "libTav3DInterpolation.so"
        needed = run("readelf", "-d", library)
        for header in platform.glob("*.h"):
            assert f"lib{header.stem}.so" in needed, f"{header.stem} is not linked"
        assert "hdf5" not in needed, needed
        symbols = run("nm", "-DC", "--undefined-only", library)
        assert "CTAVOptKer::" in symbols and "KRNIO_Manipulator::" in symbols, "the suite's classes must stay undefined here"
        print("built against", len(list(platform.glob("*.h"))), "closed libraries")


if __name__ == "__main__":
    main(*sys.argv[1:])
