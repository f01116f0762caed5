"""Opens mapped results with VTK's CGNS reader, which finds the mesh through the file's links, and follows a linear field from mesh to mesh.

usage: mapped_results_in_vtk.py TAV3D [unittest arguments]
"""

import numpy
import scene
import vtk
from mapping_by_numpy import Model
from scene import Scene, done
from suite_files import read_result, read_zone, with_values
from vtk.util.numpy_support import vtk_to_numpy

GRADIENT = numpy.array([0.75, -1.5, 2.25])
OFFSET = 40.0


def linear(points):
    return points @ GRADIENT + OFFSET


def vertex_fields(file):
    """Points and named vertex arrays of the mesh in a CGNS file."""
    reader = vtk.vtkCGNSReader()
    reader.SetFileName(str(file))
    reader.UpdateInformation()
    reader.EnableAllPointArrays()
    reader.EnableAllBases()
    reader.Update()
    iterator = reader.GetOutput().NewIterator()
    iterator.InitTraversal()
    grid = iterator.GetCurrentDataObject()
    arrays = grid.GetPointData()
    fields = {arrays.GetArrayName(k): vtk_to_numpy(arrays.GetArray(k)) for k in range(arrays.GetNumberOfArrays())}
    return grid, vtk_to_numpy(grid.GetPoints().GetData()), fields


class MappedResults(Scene):
    kinds = [".q7f", ".q7c"]

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.reference = Model(read_zone(cls.mesh, "Voxel"), read_zone(cls.mesh, "CutCell"))

    def test_vtk_finds_every_value_at_its_node_through_the_link(self):
        # In place and elsewhere: the links are told relative to the file, so both have to lead to the mesh.
        places = [self.model / "mapped.q7f", self.folder / "mapped.q7f"]
        self.addCleanup(places[0].unlink)
        for target in places:
            with self.subTest(target.parent.name):
                done("map", self.mesh, self.model / "part.q7f", "-o", target)
                grid, points, fields = vertex_fields(target)
                self.assertEqual(grid.GetNumberOfPoints(), self.reference.cut_cell.node_total)
                self.assertGreater(grid.GetNumberOfCells(), 0)
                numpy.testing.assert_array_equal(points, self.reference.cut_cell.points()[1:].astype(numpy.float32))
                whole = {item.array: item for item in read_result(target).items if item.storage == 1}
                self.assertEqual(set(fields), set(whole))
                self.assertGreater(len(fields), 4)
                for name, item in whole.items():
                    numpy.testing.assert_array_equal(fields[name], item.stored, err_msg=name)
                    self.assertGreater(fields[name].max(), fields[name].min(), name)

    def carried_over(self, kind, item, *options):
        """Values of a linear field on the voxel mesh that were mapped, at the places where VTK shows them, and the model's rule for each node."""
        source, target = self.model / f"linear{kind}", self.folder / f"mapped{kind}"  # a result finds its mesh beside itself
        with_values(self.model / f"part{kind}", source, {item: linear(self.reference.voxel.points())})
        done("map", self.mesh, source, "-o", target, *options)
        _, points, fields = vertex_fields(target)
        name = next(i.array for i in read_result(target).items if i.number == item)
        return points.astype(numpy.float64), fields[name].astype(numpy.float64)

    def test_a_linear_field_is_off_by_no_more_than_gradient_times_distance(self):
        voxel_points = self.reference.voxel.points()
        for mode in (0, 1):
            with self.subTest(mode=mode):
                points, value = self.carried_over(".q7f", 30, "--mode", mode)
                voxel = read_result(self.model / "linear.q7f")
                rules = next(m for m, i in zip(self.reference.map(voxel, ".q7f", mode, 0), voxel.items) if i.number == 30)
                source = rules.source[1:]
                self.assertTrue((source > 0).all())
                distance = numpy.linalg.norm(voxel_points[source] - points, axis=1)
                error = numpy.abs(value - linear(points))
                rounding = 2e-7 * numpy.abs(linear(points)).max()
                self.assertTrue((error <= numpy.linalg.norm(GRADIENT) * distance + rounding).all())
                # The bound is no empty one: the sources are near, and somewhere the error comes close to it.
                self.assertLess(numpy.median(distance), self.cell_size)
                far = distance > 0.1
                self.assertGreater((error[far] / (numpy.linalg.norm(GRADIENT) * distance[far])).max(), 0.9)

    def test_nodes_that_both_meshes_share_keep_the_value(self):
        points, value = self.carried_over(".q7f", 30, "--mode", 0)
        source = self.reference.assigned[1:]
        shared = (self.reference.voxel.points()[source] == points).all(axis=1)
        self.assertGreater(shared.mean(), 0.25)
        numpy.testing.assert_array_equal(value[shared], linear(points[shared]).astype(numpy.float32))

    def test_smoothing_a_linear_field_moves_surface_values_by_less_than_the_kernel_reaches(self):
        # Five sweeps over three facet rings reach 15 cells; the weights of a row sum to 1, so a value stays within what the field has there.
        points, plain = self.carried_over(".q7f", 14, "--mode", 1)
        _, smoothed = self.carried_over(".q7f", 14, "--mode", 1, "--smooth")
        moved = numpy.abs(smoothed - plain)
        self.assertGreater(moved.max(), 0)
        self.assertLess(moved.max(), numpy.linalg.norm(GRADIENT) * 15 * self.cell_size * 3**0.5)
        body = numpy.ones(len(points), bool)
        body[self.reference._search(False)[1][1:] >= 0] = False
        inside = body & ~self.reference.voxel_marks.part[self.reference.assigned[1:]]
        self.assertTrue(inside.any())
        numpy.testing.assert_array_equal(smoothed[inside], plain[inside])


if __name__ == "__main__":
    scene.main()
