"""Installs the library into a scratch folder and builds and runs a small host program against it, with CMake and with pkg-config."""

import os
import pathlib
import subprocess
import sys
import tempfile


def run(*command, **options) -> str:
    done = subprocess.run([str(c) for c in command], capture_output=True, text=True, **options)
    if done.returncode != 0:
        print(done.stdout, done.stderr, sep="\n")
        raise SystemExit(f"failed: {' '.join(map(str, command))}")
    return done.stdout


def main(cmake: str, build: str, host: str, compiler: str) -> None:
    with tempfile.TemporaryDirectory() as scratch_name:
        scratch = pathlib.Path(scratch_name)
        prefix = scratch / "prefix with blanks"
        run(cmake, "--install", build, "--prefix", prefix)

        headers = sorted(p.name for p in (prefix / "include").rglob("*") if p.is_file())
        assert headers == ["Tav3dInterpolation.h", "Tav3dMeshMappingArrary.h", "Tav3dQ7XMapping_Voxel2CutCell.h"], headers

        run(cmake, "-S", host, "-B", scratch / "with-cmake", f"-DCMAKE_PREFIX_PATH={prefix}", f"-DCMAKE_CXX_COMPILER={compiler}")
        run(cmake, "--build", scratch / "with-cmake")
        said_with_cmake = run(scratch / "with-cmake" / "host")

        # pkg-config escapes blanks in paths for a shell, so a folder without them keeps this test about the package
        plain = scratch / "prefix"
        prefix.rename(plain)
        pc_folder = next(plain.rglob("Tav3DInterpolation.pc")).parent
        environment = {**os.environ, "PKG_CONFIG_PATH": str(pc_folder)}
        flags = run("pkg-config", "--cflags", "--libs", "Tav3DInterpolation", env=environment).split()
        run(compiler, "-std=c++11", pathlib.Path(host) / "host.cpp", "-o", scratch / "host", *flags)
        library_folder = next(plain.rglob("libTav3DInterpolation.so")).parent
        said_with_pkg_config = run(scratch / "host", env={**os.environ, "LD_LIBRARY_PATH": str(library_folder)})

        assert said_with_cmake == said_with_pkg_config != "", (said_with_cmake, said_with_pkg_config)
        version = run(plain / "bin" / "tav3d", "--version")
        assert version.startswith("tav3d "), version
        print("installed, built and run with CMake and with pkg-config:", said_with_cmake.strip())


if __name__ == "__main__":
    main(*sys.argv[1:])
