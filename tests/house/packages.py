"""Makes the package of this system with cpack, unpacks it somewhere, and uses it from there alone: the program, and host programs that are built against
its headers, library and CMake package.

usage: packages.py CMAKE BUILD COMPILER            a DEB, used natively
       packages.py CMAKE BUILD TOOLCHAIN WINE      a ZIP for Windows, used through the program WINE
"""

import pathlib
import shutil
import subprocess
import sys
import tempfile
import zipfile

import install_and_use
from install_and_use import run

SOURCES = pathlib.Path(__file__).resolve().parents[2]
HEADERS = ["Tav3dInterpolation.h", "Tav3dMeshMappingArrary.h", "Tav3dQ7XMapping_Voxel2CutCell.h"]
# The libraries whose code is inside the binaries, and words of their licences.
NOTICES = {"CLI11": "Redistributions in binary form must reproduce", "nlohmann-json": "Permission is hereby granted, free of charge"}
WINDOWS_NOTICES = {"HDF5": "Copyright Notice and License Terms for HDF5", "mingw-w64-winpthreads": "mingw-w64-libraries/winpthreads/*",
                   "libstdc++-libgcc": "GCC Runtime Library Exception"}


def make_package(cmake: str, build: str, scratch: pathlib.Path) -> pathlib.Path:
    run(pathlib.Path(cmake).with_name("cpack"), "--config", f"{build}/CPackConfig.cmake", "-B", scratch / "made")
    packages = [file for file in (scratch / "made").iterdir() if file.is_file()]
    assert len(packages) == 1, packages
    print(packages[0].name, packages[0].stat().st_size, "bytes")
    return packages[0]


def check_content(prefix: pathlib.Path, expected: list[str], notices: dict[str, str]) -> None:
    """`notices`: libraries with code inside the binaries, and words of their licences."""
    headers = sorted(file.name for file in (prefix / "include").rglob("*") if file.is_file())
    assert headers == HEADERS, headers
    for name in expected:
        assert list(prefix.glob(name)), f"{name} is missing"
    found = {file.stem: file.read_text(encoding="utf-8") for file in prefix.glob("share/doc/*/licenses/*.txt")}
    assert found.keys() == notices.keys(), found.keys()
    for name, words in notices.items():
        assert words in " ".join(found[name].split()), f"the licence of {name} does not say '{words}'"
    for name in ["docs/mapping.md", "README.md", "examples/host_mapping.cpp"]:
        assert list(prefix.glob(f"share/doc/*/{name}")), f"{name} is missing"


def use_deb(cmake: str, build: str, compiler: str, scratch: pathlib.Path) -> None:
    package = make_package(cmake, build, scratch)
    fields = dict(line.split(": ", 1) for line in run("dpkg-deb", "--field", package).splitlines() if line[:1].isalpha())
    assert (fields["Package"], fields["Architecture"]) == ("tav3dinterpolation", "amd64"), fields
    assert "libhdf5" in fields["Depends"] and "libc6" in fields["Depends"], fields
    run("dpkg-deb", "--extract", package, scratch / "root")
    prefix = scratch / "root" / "usr"
    check_content(prefix, ["lib/libTav3DInterpolation.so", "lib/cmake/Tav3DInterpolation/Tav3DInterpolationConfig.cmake",
                           "lib/pkgconfig/Tav3DInterpolation.pc", "bin/tav3d"], NOTICES)
    copyright_file = (prefix / "share/doc" / fields["Package"] / "copyright").read_text(encoding="utf-8")
    for words in NOTICES.values():
        assert words in " ".join(copyright_file.split()), f"share/doc/{fields['Package']}/copyright does not say '{words}'"
    assert run(prefix / "bin" / "tav3d", "--version") == f"tav3d {fields['Version']}\n"
    built = scratch / "host"
    run(cmake, "-S", SOURCES / "tests/house/host", "-B", built, f"-DCMAKE_PREFIX_PATH={prefix}", f"-DCMAKE_CXX_COMPILER={compiler}")
    run(cmake, "--build", built)
    assert run(built / "host") != ""
    install_and_use.use_examples(cmake, compiler, prefix, scratch)


def use_zip(cmake: str, build: str, toolchain: str, wine: str, scratch: pathlib.Path) -> None:
    package = make_package(cmake, build, scratch)
    zipfile.ZipFile(package).extractall(scratch)
    prefix = scratch / package.stem
    check_content(prefix, ["bin/Tav3DInterpolation.dll", "lib/libTav3DInterpolation.dll.a", "bin/tav3d.exe",
                           "lib/cmake/Tav3DInterpolation/Tav3DInterpolationConfig.cmake", "lib/pkgconfig/Tav3DInterpolation.pc"],
                  NOTICES | WINDOWS_NOTICES)

    def starter(program: pathlib.Path) -> pathlib.Path:
        """A script that runs the program from beside the DLL, as a host's installer puts it."""
        if program.parent != prefix / "bin":
            shutil.copy(program, prefix / "bin")
        script = scratch / program.stem
        script.write_text(f"#!/bin/sh\nexec '{wine}' '{prefix / 'bin' / program.name}' \"$@\"\n")
        script.chmod(0o755)
        return script

    def build_host(source: pathlib.Path, name: str) -> pathlib.Path:
        built = scratch / name
        run(cmake, "-S", source, "-B", built, f"-DCMAKE_TOOLCHAIN_FILE={toolchain}", "-DCMAKE_BUILD_TYPE=Release",
            f"-DTav3DInterpolation_DIR={prefix / 'lib/cmake/Tav3DInterpolation'}", "-DCMAKE_CXX_FLAGS=-Wall -Wextra -Werror")
        run(cmake, "--build", built)
        return built

    tav3d = starter(prefix / "bin" / "tav3d.exe")
    assert run(tav3d, "--version").startswith("tav3d "), run(tav3d, "--version")
    assert run(starter(build_host(SOURCES / "tests/house/host", "with-cmake") / "host.exe")) != ""

    examples = build_host(next(prefix.glob("share/doc/*/examples")), "with-examples")
    folder = scratch / "model"
    folder.mkdir()
    mesh = folder / "part.krn"
    run(tav3d, "model", SOURCES / "data/housing.stl", "--insert", SOURCES / "data/insert.stl", "--cell-size", 2, "-o", mesh)
    run(tav3d, "sample", mesh, "-o", folder, "--kinds", ".q7f", ".q7c", ".rsf")
    install_and_use.mapping_example(starter(examples / "host_mapping.exe"), tav3d, mesh)
    install_and_use.interpolation_example(starter(examples / "host_interpolation.exe"), mesh, folder / "part.rsf")


def main(*arguments: str) -> None:
    with tempfile.TemporaryDirectory() as scratch:
        (use_zip if len(arguments) == 4 else use_deb)(*arguments, pathlib.Path(scratch))


if __name__ == "__main__":
    main(*sys.argv[1:])
