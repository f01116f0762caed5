"""Result files in programs that nobody here wrote: VTK's CGNS reader, cgnscheck and h5py.

usage: result_file_readers.py WRITE_RESULT_SAMPLES
"""

import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

import h5py
import numpy
import vtk
from vtk.util.numpy_support import vtk_to_numpy

SAMPLES = sys.argv.pop(1)
ITEMS = ["Temperature (6)", "Melt-front time (1)"]


def blocks(file):
    """The leaves of what VTK's CGNS reader makes of a file, with all its node arrays."""
    reader = vtk.vtkCGNSReader()
    reader.SetFileName(str(file))
    reader.UpdateInformation()
    reader.EnableAllPointArrays()
    reader.EnableAllBases()
    reader.Update()
    iterator = reader.GetOutput().NewIterator()
    iterator.InitTraversal()
    leaves = []
    while not iterator.IsDoneWithTraversal():
        leaves.append(iterator.GetCurrentDataObject())
        iterator.GoToNextItem()
    return leaves


class ResultFiles(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.scratch = tempfile.TemporaryDirectory()
        cls.folder = pathlib.Path(cls.scratch.name)
        subprocess.run([SAMPLES, str(cls.folder)], check=True)

    @classmethod
    def tearDownClass(cls):
        cls.scratch.cleanup()

    def test_vtk_shows_the_fields_at_the_right_nodes_through_the_link(self):
        for name, nodes in [("voxel.q7f", 216), ("cutcell.q7f", 218), ("runs/cutcell.q7f", 218)]:
            with self.subTest(name):
                leaves = blocks(self.folder / name)
                self.assertTrue(leaves)
                mesh = leaves[0]
                self.assertEqual(mesh.GetNumberOfPoints(), nodes)
                self.assertGreaterEqual(mesh.GetNumberOfCells(), 125)
                x, y, z = vtk_to_numpy(mesh.GetPoints().GetData()).T
                scale = 0.5  # of the sample model: coordinates in the file may be scaled or not
                arrays = mesh.GetPointData()
                self.assertEqual([arrays.GetArrayName(k) for k in range(arrays.GetNumberOfArrays())], ITEMS)
                temperature = vtk_to_numpy(arrays.GetArray(ITEMS[0]))
                time = vtk_to_numpy(arrays.GetArray(ITEMS[1]))
                linear = x + 10 * y + 100 * z
                factor = 1.0 if numpy.allclose(linear, temperature) else 1.0 / scale
                numpy.testing.assert_allclose(factor * linear, temperature, rtol=1e-5, atol=1e-4)
                numpy.testing.assert_allclose(factor * (z - 0.5 * x), time, rtol=1e-5, atol=1e-4)
                self.assertGreater(temperature.max(), temperature.min() + 100)

    def test_cgnscheck_reports_no_error_beside_the_mesh(self):
        for name in ["voxel.q7f", "cutcell.q7f"]:
            with self.subTest(name):
                run = subprocess.run(["cgnscheck", "-v", name], cwd=self.folder, capture_output=True, text=True)
                text = run.stdout + run.stderr
                self.assertEqual(run.returncode, 0, text)
                self.assertNotRegex(text, re.compile(r"^\s*ERROR", re.MULTILINE | re.IGNORECASE))
                self.assertIn("Temperature (6)", text)

    def test_h5py_reads_an_item_and_its_id_map(self):
        with h5py.File(self.folder / "voxel.q7f") as file:
            zone = file["Results/Voxel"]
            temperature = zone["NodeResults/Temperature (6)/ data"][:]
            self.assertEqual(temperature.dtype, numpy.float32)
            self.assertEqual(temperature.shape, (216,))
            flux = zone["ResultType 3/Heat flux (21)/ data"][:]
            numbers = zone["ResultType 3/NodeNumber/ data"][:]
            self.assertEqual(list(numbers), [1, 7, 216])
            self.assertEqual(list(flux), [0.25, 0.5, 0.75])
            items = file["Results/TavResult/Items"]
            self.assertEqual(list(items["Number/ data"][:]), [6, 1, 21, 40])
            self.assertEqual(bytes(items["Names/ data"][:]).decode(), "Temperature\nMelt-front time\nHeat flux\nNothing\n")
            coordinates = zone["GridCoordinates/ link/CoordinateX/ data"][:]
            self.assertEqual(coordinates.shape, (216,))


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0]])
