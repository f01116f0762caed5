"""Reads our mesh files with programs that nobody here wrote: cgnscheck, VTK's CGNS reader and h5py.

usage: mesh_file_readers.py PROGRAM   (PROGRAM = write_mesh_samples)
"""

import collections
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

import h5py
import numpy
import vtk
from vtk.util.numpy_support import vtk_to_numpy

FILES = ("cubes.krn", "kinds.krn", "insert.krn")


def cells_of(grid):
    """Number of cells per VTK cell type."""
    return dict(collections.Counter(grid.GetCellType(c) for c in range(grid.GetNumberOfCells())))


def blocks_of(multi_block):
    """Blocks of a VTK multi-block data set by name."""
    return {
        multi_block.GetMetaData(i).Get(vtk.vtkCompositeDataSet.NAME()): multi_block.GetBlock(i)
        for i in range(multi_block.GetNumberOfBlocks())
    }


class MeshFileReaders(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.scratch = tempfile.TemporaryDirectory()
        cls.folder = pathlib.Path(cls.scratch.name)
        subprocess.run([PROGRAM, cls.folder], check=True)

    @classmethod
    def tearDownClass(cls):
        cls.scratch.cleanup()

    def read_with_vtk(self, name, patches=False):
        errors = []
        reader = vtk.vtkCGNSReader()
        reader.AddObserver("ErrorEvent", lambda *_: errors.append("error"))
        reader.SetFileName(str(self.folder / name))
        reader.SetLoadBndPatch(patches)
        reader.UpdateInformation()
        reader.EnableAllBases()
        reader.Update()
        self.assertEqual(errors, [])
        return blocks_of(blocks_of(reader.GetOutput())["Base"])

    def test_cgnscheck_reports_no_error(self):
        cgnscheck = shutil.which("cgnscheck")
        self.assertIsNotNone(cgnscheck, "cgnscheck is not installed (cgns-convert)")
        # Flat "squares" in place of triangles, and facets inside the mesh, are what we mean to write.
        expected = re.compile(r"\d+ (faces are not faces of the volume elements|elements are not boundary elements)")
        for name in FILES:
            with self.subTest(name):
                run = subprocess.run([cgnscheck, self.folder / name], capture_output=True, text=True, timeout=60)
                lines = (run.stdout + run.stderr).splitlines()
                self.assertEqual(run.returncode, 0)
                self.assertIn("checking complete", lines)
                self.assertIn('checking zone "Voxel"', [line.strip() for line in lines])
                self.assertIn('checking zone "CutCell"', [line.strip() for line in lines])
                self.assertEqual([line for line in lines if "ERROR" in line.upper()], [])
                warnings = [line.removeprefix("WARNING:") for line in lines if line.startswith("WARNING:")]
                self.assertEqual([w for w in warnings if not expected.fullmatch(w)], [])

    def test_cgnscheck_would_find_a_wrong_file(self):
        """What the test above rests on: the checker does look into the arrays."""
        spoilt = self.folder / "spoilt.krn"
        shutil.copy(self.folder / "kinds.krn", spoilt)
        with h5py.File(spoilt, "r+") as file:
            file["Base/Voxel/Plastic/ElementConnectivity/ data"][1] = 99
        run = subprocess.run(["cgnscheck", spoilt], capture_output=True, text=True, timeout=60)
        self.assertIn("ERROR", (run.stdout + run.stderr).upper())

    def test_vtk_shows_both_zones_and_all_cell_types(self):
        zones = self.read_with_vtk("insert.krn")
        self.assertEqual(set(zones), {"Voxel", "CutCell"})
        self.assertEqual(zones["Voxel"].GetNumberOfPoints(), 216)
        self.assertEqual(cells_of(zones["Voxel"]), {vtk.VTK_HEXAHEDRON: 125})
        self.assertEqual(zones["CutCell"].GetNumberOfPoints(), 218)
        self.assertEqual(
            cells_of(zones["CutCell"]),
            {vtk.VTK_HEXAHEDRON: 118, vtk.VTK_PYRAMID: 10, vtk.VTK_WEDGE: 10, vtk.VTK_TETRA: 4},
        )

    def test_vtk_finds_the_cells_whole(self):
        """Node orders are right when the volumes are. VTK counts the base of a wedge the other way round than CGNS and does not turn it."""
        for name, zone, volume in (("cubes.krn", "Voxel", 24.0), ("kinds.krn", "CutCell", 2.0), ("insert.krn", "CutCell", 1000.0)):
            sizes = vtk.vtkCellSizeFilter()
            grid = self.read_with_vtk(name)[zone]
            sizes.SetInputData(grid)
            sizes.Update()
            volumes = vtk_to_numpy(sizes.GetOutput().GetCellData().GetArray("Volume")).copy()
            volumes[[grid.GetCellType(c) == vtk.VTK_WEDGE for c in range(grid.GetNumberOfCells())]] *= -1
            with self.subTest(name):
                self.assertTrue((volumes > 0).all())
                self.assertAlmostEqual(volumes.sum(), volume, places=5)

    def test_vtk_shows_the_facet_kinds(self):
        zones = self.read_with_vtk("insert.krn", patches=True)
        counts = {
            zone: {name: patch.GetNumberOfCells() for name, patch in blocks_of(blocks_of(block)["Patches"]).items()}
            for zone, block in zones.items()
        }
        other = {"Gate": 1, "Vent": 1, "InsertInterface": 12, "PartInsertInterface": 12, "PartInsertOuter": 2}
        self.assertEqual(counts["Voxel"], other | {"PartSkin": 50, "OuterFace": 150})
        self.assertEqual(counts["CutCell"]["OuterFace"], 152)
        self.assertEqual({k: v for k, v in counts["CutCell"].items() if k in other}, other)

    def test_h5py_reads_arrays_in_place(self):
        with h5py.File(self.folder / "kinds.krn", "r") as file:
            zone = file["Base/Voxel"]
            x = zone["GridCoordinates/CoordinateX/ data"][:]
            self.assertEqual(x.dtype, numpy.dtype("<f4"))
            self.assertEqual(x.tolist(), [0, 1, 1, 0, 0, 1, 1, 0, 2, 0, 1, 2])
            # Type and nodes of the hexahedron and the pyramid.
            connectivity = zone["Plastic/ElementConnectivity/ data"][:15]
            self.assertEqual(connectivity.tolist(), [17, 1, 2, 3, 4, 5, 6, 7, 8, 12, 2, 3, 7, 6, 9])
            self.assertEqual(zone["Plastic/ElementStartOffset/ data"][:].tolist(), [0, 9, 15, 22, 27])
            self.assertEqual(file["Base/MeshFile/ScaleFactor/ data"][0], 1.0)
            self.assertEqual(zone.attrs["label"], b"Zone_t")

    def test_every_node_has_the_attributes_of_the_layout(self):
        with h5py.File(self.folder / "insert.krn", "r") as file:
            self.assertEqual(file.attrs["label"], b"Root Node of HDF5 File")
            self.assertEqual(bytes(file[" format"][:].astype("u1")), b"IEEE_LITTLE_32\0")
            groups = []
            file.visititems(lambda path, node: groups.append((path, node)) if isinstance(node, h5py.Group) else None)
            self.assertGreater(len(groups), 80)
            for path, node in groups:
                with self.subTest(path):
                    self.assertEqual(node.attrs["name"].decode(), path.rsplit("/", 1)[-1])
                    for attribute, size in (("name", 33), ("label", 33), ("type", 3)):
                        self.assertEqual(node.attrs.get_id(attribute).dtype, numpy.dtype(f"S{size}"))
                    self.assertEqual(node.attrs["flags"].tolist(), [1])
                    self.assertEqual(" data" in node, node.attrs["type"] != b"MT")
                    order = node.id.get_create_plist().get_link_creation_order()
                    self.assertEqual(order, h5py.h5p.CRT_ORDER_TRACKED | h5py.h5p.CRT_ORDER_INDEXED)


if __name__ == "__main__":
    PROGRAM = sys.argv.pop(1)
    unittest.main()
