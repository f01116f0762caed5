"""Installs the library into a scratch folder and uses it from there: a small host program with CMake and with pkg-config, then the example hosts on
real files, against what the installed program and numpy give."""

import os
import pathlib
import subprocess
import sys
import tempfile

import h5py
import numpy

SOURCES = pathlib.Path(__file__).resolve().parents[2]


def run(*command, **options) -> str:
    done = subprocess.run([str(c) for c in command], capture_output=True, text=True, **options)
    if done.returncode != 0:
        print(done.stdout, done.stderr, sep="\n")
        raise SystemExit(f"failed: {' '.join(map(str, command))}")
    return done.stdout


def failing(*command, **options) -> subprocess.CompletedProcess:
    done = subprocess.run([str(c) for c in command], capture_output=True, text=True, **options)
    assert done.returncode == 1, (command, done)
    return done


def mapping_example(host: pathlib.Path, tav3d: pathlib.Path, mesh: pathlib.Path) -> None:
    """In place and elsewhere, several files in one call, against the bytes that the installed program writes."""
    folder = mesh.parent
    voxel_data = {}
    for kind in ["q7f", "q7c"]:
        voxel_data[kind] = (folder / f"part.{kind}").read_bytes()
        run(tav3d, "map", mesh, folder / f"part.{kind}", "--smooth", "--filling-time", 1.5, "-o", folder / f"expected.{kind}")
    run(host, mesh, folder / "part.q7f", "-o", folder / "elsewhere.q7f")
    assert (folder / "elsewhere.q7f").read_bytes() == (folder / "expected.q7f").read_bytes()
    said = run(host, mesh, folder / "part.q7f", folder / "part.q7c")
    assert said.count(": mapped\n") == 2, said
    for kind, voxel in voxel_data.items():
        assert (folder / f"part.{kind}").read_bytes() == (folder / f"expected.{kind}").read_bytes(), kind
        assert (folder / f"part_vox.{kind}").read_bytes() == voxel, kind

    # What goes wrong is told, and the files stay.
    assert "was mapped before" in failing(host, mesh, folder / "part.q7f").stderr
    assert "not the name of a result file" in failing(host, mesh, folder / "part").stderr
    (folder / "damaged.q7f").write_bytes(voxel_data["q7f"][:1000])
    assert "damaged.q7f: " in failing(host, mesh, folder / "damaged.q7f").stderr
    assert (folder / "damaged.q7f").read_bytes() == voxel_data["q7f"][:1000]
    assert not (folder / "damaged_vox.q7f").exists()
    assert "mesh file cannot be used" in failing(host, folder / "none.krn", folder / "part_vox.q7f", "-o", folder / "x.q7f").stderr
    assert subprocess.run([host], capture_output=True).returncode == 2


def interpolation_example(host: pathlib.Path, mesh: pathlib.Path, result: pathlib.Path) -> None:
    """A quadratic field in a result file on the voxel mesh: trilinear in each cell by shape functions, nearly exact by the multiquadric fit."""
    with h5py.File(mesh) as file:
        zone = file["Base/Voxel"]
        nodes = numpy.stack([zone[f"GridCoordinates/Coordinate{axis}/ data"][:] for axis in "XYZ"], axis=1).astype(float)
        cells = numpy.concatenate([zone[f"{name}/ElementConnectivity/ data"][:].reshape(-1, 9)[:, 1:] - 1 for name in ["Plastic", "MoldBase"]])

    def field(p):
        return p[..., 0] - 2 * p[..., 1] + 0.02 * p[..., 0] * p[..., 1] + 0.5 * p[..., 2] + 0.01 * p[..., 2] ** 2

    with h5py.File(result, "r+") as file:
        table = file["Results/TavResult/Items"]
        items = list(zip(table["Storage/ data"][:], bytes(table["Arrays/ data"][:]).decode().split("\n")))
        place = next(k for k, (storage, _) in enumerate(items) if storage == 1)  # an item with a value at every node
        file["Results/Voxel/NodeResults"][items[place][1]][" data"][...] = field(nodes)

    folder = mesh.parent
    with (folder / "mesh.txt").open("w") as text:
        numpy.savetxt(text, nodes, "%.17g", header=str(len(nodes)), comments="")
        numpy.savetxt(text, numpy.insert(cells + 1, 0, 8, axis=1), "%d", header=str(len(cells)), comments="")
    inner = nodes[cells].mean(axis=1)
    middle = numpy.all(numpy.abs(inner - nodes.mean(axis=0)) < 0.35 * numpy.ptp(nodes, axis=0), axis=1)
    generator = numpy.random.default_rng(11)
    wanted = generator.choice(numpy.flatnonzero(middle), 40, replace=False)
    low, high = nodes[cells[wanted]].min(axis=1), nodes[cells[wanted]].max(axis=1)
    share = generator.uniform(0.1, 0.9, low.shape)
    points = low + share * (high - low)
    numpy.savetxt(folder / "points.txt", points, "%.17g")

    lines = [line.split() for line in run(host, folder / "mesh.txt", result, place, folder / "points.txt").splitlines()]
    answer = numpy.array(lines, float)
    assert answer.shape == (40, 6), answer.shape
    numpy.testing.assert_allclose(answer[:, :3], points, rtol=1e-8)
    numpy.testing.assert_array_equal(answer[:, 3], wanted + 1)
    # Trilinear: weight by corner, from the corners' places in the cell.
    corner = (nodes[cells[wanted]] - low[:, None]) / (high - low)[:, None]
    weight = numpy.prod(numpy.where(corner > 0.5, share[:, None], 1 - share[:, None]), axis=2)
    numpy.testing.assert_allclose(weight.sum(axis=1), 1)
    trilinear = (weight * field(nodes[cells[wanted]]).astype(numpy.float32)).sum(axis=1)
    numpy.testing.assert_allclose(answer[:, 4], trilinear, rtol=1e-6, atol=1e-4)
    error = numpy.abs(answer[:, 5] - field(points))
    spread = numpy.ptp(field(nodes[cells[wanted]]), axis=1)  # of the field within the cell
    assert numpy.median(error / spread) < 0.01 and (error / spread).max() < 0.2, (numpy.median(error / spread), (error / spread).max())
    assert error.min() > 0, "no fit is exact; the column must not be the field itself"

    assert f"no field {len(items)}" in failing(host, folder / "mesh.txt", result, len(items), folder / "points.txt").stderr
    assert "no field 0" in failing(host, folder / "mesh.txt", folder / "none.q7f", 0, folder / "points.txt").stderr
    assert "not a mesh" in failing(host, result, result, 0, folder / "points.txt").stderr


def use_examples(cmake: str, compiler: str, prefix: pathlib.Path, scratch: pathlib.Path) -> None:
    built = scratch / "examples"
    run(cmake, "-S", SOURCES / "examples", "-B", built, f"-DCMAKE_PREFIX_PATH={prefix}", f"-DCMAKE_CXX_COMPILER={compiler}",
        "-DCMAKE_CXX_FLAGS=-Wall -Wextra -Werror")
    run(cmake, "--build", built)
    tav3d = prefix / "bin" / "tav3d"
    folder = scratch / "model"
    folder.mkdir()
    mesh = folder / "part.krn"
    run(tav3d, "model", SOURCES / "data/housing.stl", "--insert", SOURCES / "data/insert.stl", "--cell-size", 2, "-o", mesh)
    run(tav3d, "sample", mesh, "-o", folder, "--kinds", ".q7f", ".q7c", ".rsf")
    mapping_example(built / "host_mapping", tav3d, mesh)
    interpolation_example(built / "host_interpolation", mesh, folder / "part.rsf")


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
        use_examples(cmake, compiler, plain, scratch)
        print("installed, built and run with CMake and with pkg-config:", said_with_cmake.strip())


if __name__ == "__main__":
    main(*sys.argv[1:])
