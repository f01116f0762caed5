"""Exported files in programs that nobody here wrote, value by value against the files that they were made from.

usage: export_in_other_readers.py WRITE_RESULT_SAMPLES TAV3D
"""

import pathlib
import re
import resource
import subprocess
import sys
import tempfile
import unittest

import h5py
import numpy
import vtk
from vtk.util.numpy_support import vtk_to_numpy

TAV3D = sys.argv.pop()
SAMPLES = sys.argv.pop()

SCALE = 0.5  # of the sample model
NODES = {10: 4, 14: 5, 13: 6, 12: 8}  # nodes per VTK cell type
VTK_TYPE = {10: 10, 12: 14, 14: 13, 17: 12}  # CGNS element type -> VTK cell type
FACES = {  # of hexahedra, as seen from outside counter-clockwise
    8: [(0, 3, 2, 1), (4, 5, 6, 7), (0, 1, 5, 4), (1, 2, 6, 5), (2, 3, 7, 6), (3, 0, 4, 7)],
}


class Source:
    """A result file and its mesh as they stand on the disk."""

    def __init__(self, folder, name, zone):
        with h5py.File(folder / "part.krn") as file:
            mesh = file["Base"][zone]
            self.points = numpy.stack(
                [(mesh[f"GridCoordinates/Coordinate{c}/ data"][:].astype(float) * SCALE).astype(numpy.float32) for c in "XYZ"], axis=1
            )
            self.cells, self.types, self.body = [], [], []
            for section in ("Plastic", "MoldBase"):
                start = mesh[section]["ElementStartOffset/ data"][:]
                entry = mesh[section]["ElementConnectivity/ data"][:]
                for a, b in zip(start[:-1], start[1:]):
                    self.types.append(VTK_TYPE[entry[a]])
                    self.cells.append(list(entry[a + 1 : b] - 1))
                self.body += list(mesh[section]["CellData/Body/ data"][:])
            self.part_cells = len(mesh["Plastic"]["ElementStartOffset/ data"]) - 1
        with h5py.File(folder / name) as file:
            results = file["Results"][zone]
            self.fields = {item: results["NodeResults"][item][" data"][:] for item in ("Temperature (6)", "Melt-front time (1)")}
            listed = numpy.full(len(self.points), numpy.nan, dtype=numpy.float32)
            listed[results["ResultType 3/NodeNumber/ data"][:] - 1] = results["ResultType 3/Heat flux (21)/ data"][:]
            self.fields["Heat flux (21)"] = listed


def read_vtu(file):
    reader = vtk.vtkXMLUnstructuredGridReader()
    errors = []
    reader.AddObserver("ErrorEvent", lambda *_: errors.append("error"))
    reader.SetFileName(str(file))
    reader.Update()
    assert not errors
    return reader.GetOutput()


def read_cgns(file):
    """The sections of the one zone as one grid (they share their points)."""
    reader = vtk.vtkCGNSReader()
    reader.SetFileName(str(file))
    reader.UpdateInformation()
    reader.EnableAllPointArrays()
    reader.EnableAllCellArrays()
    reader.EnableAllBases()
    reader.Update()
    iterator = reader.GetOutput().NewIterator()
    iterator.InitTraversal()
    leaves = []
    while not iterator.IsDoneWithTraversal():
        leaves.append(iterator.GetCurrentDataObject())
        iterator.GoToNextItem()
    assert len(leaves) == 1, len(leaves)
    return leaves[0]


def read_plt(file):
    reader = vtk.vtkTecplotReader()
    reader.SetFileName(str(file))
    reader.Update()
    for k in range(reader.GetNumberOfDataAttributes()):
        reader.SetDataArrayStatus(reader.GetDataAttributeName(k), 1)
    reader.Update()
    assert reader.GetOutput().GetNumberOfBlocks() == 1
    grid = reader.GetOutput().GetBlock(0)
    for k in range(grid.GetPointData().GetNumberOfArrays()):  # the reader makes brackets of parentheses
        array = grid.GetPointData().GetArray(k)
        array.SetName(array.GetName().replace("[", "(").replace("]", ")"))
    return grid


READERS = {".vtu": read_vtu, ".cgns": read_cgns, ".plt": read_plt}


def nodes_of(grid, c):
    ids = grid.GetCell(c).GetPointIds()
    return [ids.GetId(k) for k in range(ids.GetNumberOfIds())]


def points_of(grid):
    return vtk_to_numpy(grid.GetPoints().GetData())


def names_of(data):
    return [data.GetArrayName(k) for k in range(data.GetNumberOfArrays())]


def hexa_volume(corner):
    """Of bilinear faces: the mean over the two ways to cut each face into triangles."""
    o = corner[0]

    def triangle(a, b, c):
        return numpy.dot(a - o, numpy.cross(b - o, c - o))

    twelve = 0.0
    for face in FACES[8]:
        a, b, c, d = (corner[k] for k in face)
        twelve += triangle(a, b, c) + triangle(a, c, d) + triangle(b, c, d) + triangle(b, d, a)
    return twelve / 12


class ExportedFiles(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.scratch = tempfile.TemporaryDirectory()
        cls.folder = pathlib.Path(cls.scratch.name)
        subprocess.run([SAMPLES, str(cls.folder)], check=True)
        cls.sources = {
            "voxel.q7f": Source(cls.folder, "voxel.q7f", "Voxel"),
            "cutcell.q7f": Source(cls.folder, "cutcell.q7f", "CutCell"),
        }
        cls.exported = pathlib.Path(cls.folder / "exported")
        cls.exported.mkdir()
        for name in cls.sources:
            for extension in READERS:
                for suffix, more in [("", []), ("-part", ["--part-only"]), ("-items", ["--items", "1,21"])]:
                    target = cls.exported / f"{pathlib.Path(name).stem}{suffix}{extension}"
                    subprocess.run([TAV3D, "export", cls.folder / name, "-o", target, *more], check=True, capture_output=True)
        for extension in READERS:
            target = cls.exported / f"mesh{extension}"
            subprocess.run([TAV3D, "export", cls.folder / "part.krn", "-o", target], check=True, capture_output=True)
        for input_file in [*cls.sources, "part.krn"]:  # the exported files stand alone
            (cls.folder / input_file).unlink()

    @classmethod
    def tearDownClass(cls):
        cls.scratch.cleanup()

    def grids(self, suffix=""):
        """Every exported file of both results: its name, what it was made from, its extension, and what VTK reads."""
        for name, source in self.sources.items():
            for extension, read in READERS.items():
                file = self.exported / f"{pathlib.Path(name).stem}{suffix}{extension}"
                yield file.name, source, extension, read(file)

    def check_fields(self, source, extension, grid, items, nodes):
        self.assertEqual([n for n in names_of(grid.GetPointData()) if n != "NodeNumber"], items)
        for item in items:
            expected = source.fields[item][nodes]
            if extension == ".plt":
                expected = numpy.nan_to_num(expected)
            array = vtk_to_numpy(grid.GetPointData().GetArray(item)).astype(numpy.float32)
            numpy.testing.assert_array_equal(array, expected)

    def test_nodes_and_values_are_those_of_the_result(self):
        count = 0
        for name, source, extension, grid in self.grids():
            with self.subTest(name):
                numpy.testing.assert_array_equal(points_of(grid), source.points)
                nodes = numpy.arange(len(source.points))
                self.check_fields(source, extension, grid, list(source.fields), nodes)
                count += 1
        self.assertEqual(count, 6)
        self.assertEqual(numpy.isnan(self.sources["voxel.q7f"].fields["Heat flux (21)"]).sum(), 213)

    def test_chosen_items_stand_alone(self):
        for name, source, extension, grid in self.grids("-items"):
            with self.subTest(name):
                self.check_fields(source, extension, grid, ["Melt-front time (1)", "Heat flux (21)"], numpy.arange(len(source.points)))

    def test_cells_are_those_of_the_mesh(self):
        for name, source, extension, grid in self.grids():
            with self.subTest(name):
                self.assertEqual(grid.GetNumberOfCells(), len(source.cells))
                for c, (kind, cell) in enumerate(zip(source.types, source.cells)):
                    found = nodes_of(grid, c)
                    if extension == ".plt":
                        self.assertEqual(set(found), set(cell))
                        continue
                    self.assertEqual(grid.GetCellType(c), kind)
                    wedge = extension == ".vtu" and kind == 13
                    self.assertEqual(found, [cell[k] for k in (0, 2, 1, 3, 5, 4)] if wedge else cell)
        self.assertEqual(set(self.sources["cutcell.q7f"].types), {10, 12, 13, 14}, "cells of all kinds")

    def test_faces_of_vtu_cells_point_outwards(self):
        kinds = set()
        for name, source, extension, grid in self.grids():
            with self.subTest(name):
                if extension != ".vtu":
                    continue
                points = points_of(grid).astype(float)
                for c in range(grid.GetNumberOfCells()):
                    cell = grid.GetCell(c)
                    kinds.add(grid.GetCellType(c))
                    centre = points[nodes_of(grid, c)].mean(axis=0)
                    for f in range(cell.GetNumberOfFaces()):
                        ids = cell.GetFace(f).GetPointIds()
                        corner = points[[ids.GetId(k) for k in range(ids.GetNumberOfIds())]]
                        normal = numpy.cross(corner[1] - corner[0], corner[2] - corner[0])
                        self.assertGreater(numpy.dot(normal, corner.mean(axis=0) - centre), 0, (c, f))
        self.assertEqual(kinds, set(NODES))

    def test_bricks_have_the_volume_of_the_cells(self):
        for name, source, extension, grid in self.grids():
            with self.subTest(name):
                if extension != ".plt":
                    continue
                points = points_of(grid).astype(float)
                bricks = [hexa_volume(points[nodes_of(grid, c)]) for c in range(grid.GetNumberOfCells())]
                self.assertGreater(min(bricks), 0)
                self.assertAlmostEqual(sum(bricks), 125.0, places=9)  # the block is a cube of edge 5

    def test_bodies_are_cell_data(self):
        for name, source, extension, grid in self.grids():
            with self.subTest(name):
                if extension == ".plt":
                    continue
                numpy.testing.assert_array_equal(vtk_to_numpy(grid.GetCellData().GetArray("Body")), source.body)
        self.assertEqual(set(self.sources["voxel.q7f"].body), {1, 2, 3})

    def test_units_are_told_in_vtu(self):
        for name, _, extension, grid in self.grids():
            with self.subTest(name):
                if extension == ".vtu":
                    information = grid.GetPointData().GetArray("Temperature (6)").GetInformation()
                    self.assertEqual(information.Get(vtk.vtkDataArray.UNITS_LABEL()), "degC")

    def test_part_only_keeps_the_part_and_the_numbers_of_its_nodes(self):
        for name, source, extension, grid in self.grids("-part"):
            with self.subTest(name):
                cells = source.cells[: source.part_cells]
                used = sorted({node for cell in cells for node in cell})
                self.assertLess(len(used), len(source.points))
                self.assertEqual(grid.GetNumberOfCells(), len(cells))
                number = vtk_to_numpy(grid.GetPointData().GetArray("NodeNumber")).astype(int)
                self.assertEqual(list(number), [node + 1 for node in used])
                numpy.testing.assert_array_equal(points_of(grid), source.points[used])
                self.check_fields(source, extension, grid, list(source.fields), used)
                for c, cell in enumerate(cells):
                    self.assertEqual({number[node] - 1 for node in nodes_of(grid, c)}, set(cell))

    def test_mesh_file_alone_has_no_items(self):
        for extension, read in READERS.items():
            with self.subTest(extension):
                grid = read(self.exported / f"mesh{extension}")
                source = self.sources["cutcell.q7f"]
                numpy.testing.assert_array_equal(points_of(grid), source.points)
                self.assertEqual(grid.GetNumberOfCells(), len(source.cells))
                self.assertEqual(names_of(grid.GetPointData()), [])

    def test_disk_that_is_full_leaves_the_target_as_it_was(self):
        def small_files_only():
            resource.setrlimit(resource.RLIMIT_FSIZE, (4096, 4096))

        with tempfile.TemporaryDirectory() as scratch:
            folder = pathlib.Path(scratch)
            subprocess.run([SAMPLES, str(folder)], check=True)
            for extension in READERS:
                with self.subTest(extension):
                    target = folder / f"out{extension}"
                    target.write_text("older")
                    files = sorted(folder.iterdir())
                    run = subprocess.run(
                        [TAV3D, "export", folder / "cutcell.q7f", "-o", target],
                        capture_output=True,
                        text=True,
                        preexec_fn=small_files_only,
                        restore_signals=False,  # a file that grows too large is an error and no signal, like a full disk
                    )
                    self.assertEqual(run.returncode, 1, run.stderr)
                    self.assertEqual(run.stdout, "")
                    self.assertIn(f"tav3d: error: {target}: ", run.stderr)
                    self.assertEqual(target.read_text(), "older")
                    self.assertEqual(sorted(folder.iterdir()), files)

    def test_cgnscheck_reports_no_error(self):
        for name in ["voxel.cgns", "cutcell.cgns", "cutcell-part.cgns", "mesh.cgns"]:
            with self.subTest(name):
                run = subprocess.run(["cgnscheck", "-v", name], cwd=self.exported, capture_output=True, text=True)
                text = run.stdout + run.stderr
                self.assertEqual(run.returncode, 0, text)
                self.assertIn("checking complete", text)
                self.assertNotRegex(text, re.compile(r"^\s*ERROR", re.MULTILINE | re.IGNORECASE))


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0]])
