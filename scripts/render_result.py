#!/usr/bin/python3
"""Draws an item of a result file on its mesh and writes a PNG picture.

The geometry comes from the mesh file through the result file's own links. Without a display, run it under xvfb-run:

    xvfb-run -a scripts/render_result.py housing.q7f --item 1 -o filling.png
"""

import argparse
import sys

import h5py
import numpy
import vtk
from vtk.util.numpy_support import numpy_to_vtk, numpy_to_vtkIdTypeArray

VTK_TYPE = {10: vtk.VTK_TETRA, 12: vtk.VTK_PYRAMID, 14: vtk.VTK_WEDGE, 17: vtk.VTK_HEXAHEDRON}  # by CGNS element type
NODES = {10: 4, 12: 5, 14: 6, 17: 8}


def data(group):
    return group[" data"][:]


def text(group):
    return bytes(data(group)).decode()


class Result:
    """An open result file."""

    def __init__(self, name):
        self.name = name
        self.file = h5py.File(name, "r")
        base = self.file["Results"]
        self.zone = base["Voxel"] if "Voxel" in base else base["CutCell"]
        self.about = base["TavResult"]
        if "GridCoordinates" not in self.zone:
            sys.exit(f"{name}: the mesh file was not there when this result was written, so there is nothing to draw on")
        items = self.about["Items"]
        self.items = {}
        columns = [data(items[c]) for c in ("Number", "ResultType", "Storage")] + [text(items[c]).split("\n") for c in ("Names", "Units", "Arrays")]
        for number, kind, storage, title, unit, array in zip(*columns):
            self.items[int(number)] = (int(kind), int(storage), title, unit, array)

    def linked(self, name):
        try:
            return self.zone[name][" link"]
        except KeyError:
            sys.exit(f"{self.name}: cannot follow the link to {name}: is the mesh file in its place?")

    def values(self, number):
        """One value per node; NaN where the item has none."""
        kind, storage, _, _, array = self.items[number]
        if storage == 1:
            return data(self.zone["NodeResults"][array])
        full = numpy.full(data(self.zone)[0][0], numpy.nan, numpy.float32)
        if storage == 2:
            group = self.zone[f"ResultType {kind}"]
            full[data(group["NodeNumber"]) - 1] = data(group[array])
        else:
            sys.exit(f"{self.name}: item {number} has no values on the nodes of this mesh")
        return full

    def points(self):
        xyz = [data(self.linked("GridCoordinates")[f"Coordinate{axis}"]) for axis in "XYZ"]
        return numpy.stack(xyz, axis=1).astype(numpy.float64)

    def cells(self, section):
        """The volume cells of a section, as VTK wants them: types, offsets, node numbers from 0."""
        group = self.linked(section)
        entries = data(group["ElementConnectivity"]).astype(numpy.int64)
        start = data(group["ElementStartOffset"]).astype(numpy.int64)[:-1]
        kinds = entries[start]
        keep = numpy.ones(len(entries), bool)
        keep[start] = False  # the kind of each cell stands before its nodes
        counts = numpy.vectorize(NODES.get)(kinds)
        return numpy.vectorize(VTK_TYPE.get)(kinds).astype(numpy.uint8), numpy.concatenate([[0], numpy.cumsum(counts)]), entries[keep] - 1


def make_grid(result, section, values):
    types, offsets, nodes = result.cells(section)
    cells = vtk.vtkCellArray()
    cells.SetData(numpy_to_vtkIdTypeArray(offsets, deep=1), numpy_to_vtkIdTypeArray(nodes, deep=1))
    points = vtk.vtkPoints()
    points.SetData(numpy_to_vtk(result.points(), deep=1))
    grid = vtk.vtkUnstructuredGrid()
    grid.SetPoints(points)
    grid.SetCells(numpy_to_vtk(types, deep=1, array_type=vtk.VTK_UNSIGNED_CHAR), cells)
    array = numpy_to_vtk(values, deep=1)
    array.SetName("item")
    grid.GetPointData().SetScalars(array)
    return grid, numpy.unique(nodes)


def colours(low, high, bands):
    """Blue over green and yellow to red, in even bands."""
    function = vtk.vtkColorTransferFunction()
    for place, rgb in [(0, (0.16, 0.20, 0.55)), (0.25, (0.13, 0.57, 0.73)), (0.5, (0.44, 0.76, 0.42)), (0.75, (0.97, 0.82, 0.28)), (1, (0.80, 0.18, 0.15))]:
        function.AddRGBPoint(place, *rgb)
    table = vtk.vtkLookupTable()
    table.SetNumberOfTableValues(bands)
    table.SetRange(low, high)
    for k in range(bands):
        table.SetTableValue(k, *function.GetColor((k + 0.5) / bands), 1.0)
    table.SetNanColor(0.75, 0.75, 0.75, 1.0)
    return table


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("result", help="result file whose mesh file is in its place")
    parser.add_argument("--item", type=int, help="number of the item; default: the first one")
    parser.add_argument("--body", choices=["part", "mould"], help="default: the mould base for items of result type 3, else the part")
    parser.add_argument("--cut", action="store_true", help="cut the body open along the plane through its middle (the mould always is)")
    parser.add_argument("--bands", type=int, default=20, help="number of colours")
    parser.add_argument("--range", type=float, nargs=2, metavar=("LOW", "HIGH"), help="values of the first and the last colour")
    parser.add_argument("--view", type=float, nargs=3, default=(-0.75, -1.3, 1.25), metavar=("X", "Y", "Z"), help="direction from the body to the eye")
    parser.add_argument("--size", type=int, nargs=2, default=(1200, 800), metavar=("WIDTH", "HEIGHT"))
    parser.add_argument("-o", "--output", required=True, help="PNG file to write")
    arguments = parser.parse_args()

    result = Result(arguments.result)
    number = arguments.item if arguments.item is not None else next(iter(result.items), None)
    if number not in result.items:
        sys.exit(f"{arguments.result}: there is no item {number}; the file has {sorted(result.items)}")
    kind, _, title, unit, _ = result.items[number]
    mould = arguments.body == "mould" or (arguments.body is None and kind == 3)
    values = result.values(number)
    grid, used = make_grid(result, "MoldBase" if mould else "Plastic", values)
    shown = values[used][numpy.isfinite(values[used])]
    low, high = arguments.range or ((float(shown.min()), float(shown.max())) if len(shown) else (0.0, 1.0))

    body = vtk.vtkDataSetSurfaceFilter()
    if mould or arguments.cut:
        plane = vtk.vtkPlane()
        plane.SetOrigin(*grid.GetCenter())
        plane.SetNormal(0, 1, 0)
        clip = vtk.vtkClipDataSet()
        clip.SetInputData(grid)
        clip.SetClipFunction(plane)
        body.SetInputConnection(clip.GetOutputPort())
    else:
        body.SetInputData(grid)

    table = colours(low, high, arguments.bands)
    mapper = vtk.vtkPolyDataMapper()
    mapper.SetInputConnection(body.GetOutputPort())
    mapper.SetLookupTable(table)
    mapper.SetScalarRange(low, high)
    mapper.InterpolateScalarsBeforeMappingOn()
    actor = vtk.vtkActor()
    actor.SetMapper(mapper)
    actor.GetProperty().SetAmbient(0.35)
    actor.GetProperty().SetDiffuse(0.75)

    bar = vtk.vtkScalarBarActor()
    bar.SetLookupTable(table)
    bar.SetNumberOfLabels(6)
    bar.SetLabelFormat("%-#.4g")
    bar.SetUnconstrainedFontSize(True)
    bar.SetPosition(0.86, 0.12)
    bar.SetWidth(0.09)
    bar.SetHeight(0.76)
    heading = vtk.vtkTextActor()
    heading.SetInput(title + (f" [{unit}]" if unit else ""))
    heading.GetPositionCoordinate().SetCoordinateSystemToNormalizedViewport()
    heading.SetPosition(0.02, 0.93)
    for style, size in [(heading.GetTextProperty(), arguments.size[1] // 30), (bar.GetLabelTextProperty(), arguments.size[1] // 46)]:
        style.SetColor(0.1, 0.1, 0.1)
        style.SetFontSize(size)
        style.ItalicOff()
        style.ShadowOff()
        style.BoldOff()

    renderer = vtk.vtkRenderer()
    renderer.SetBackground(1, 1, 1)
    renderer.AddActor(actor)
    renderer.AddActor2D(bar)
    renderer.AddActor2D(heading)
    window = vtk.vtkRenderWindow()
    window.SetOffScreenRendering(1)
    window.SetMultiSamples(8)
    window.SetSize(*arguments.size)
    window.AddRenderer(renderer)
    camera = renderer.GetActiveCamera()
    centre = grid.GetCenter()
    camera.SetFocalPoint(*centre)
    camera.SetPosition(*(c + d for c, d in zip(centre, arguments.view)))
    camera.SetViewUp(0, 0, 1)
    camera.SetWindowCenter(0.1, 0)  # leaves room for the colour bar
    renderer.ResetCamera()
    camera.Zoom(1.15)
    window.Render()

    image = vtk.vtkWindowToImageFilter()
    image.SetInput(window)
    image.ReadFrontBufferOff()
    writer = vtk.vtkPNGWriter()
    writer.SetFileName(arguments.output)
    writer.SetInputConnection(image.GetOutputPort())
    writer.Write()
    print(f"{arguments.output}: item {number}, {title}, {low:g} to {high:g} {unit}")


if __name__ == "__main__":
    main()
