#!/usr/bin/python3
"""Renders a mesh file (.krn): the part in the voxel mesh and in the cut-cell mesh, side by side.

Above: the part's surface, coloured by facet kind, with the gate. Below: a cut through part and insert, coloured by kind of cell.
Needs python3-vtk9 and python3-h5py, and a display (xvfb-run gives one):

    xvfb-run -a scripts/render_model.py housing.krn -o housing.png
"""

import argparse
import sys

import h5py
import numpy as np
import vtk
from vtk.util.numpy_support import numpy_to_vtk, numpy_to_vtkIdTypeArray

CGNS_TO_VTK = {10: vtk.VTK_TETRA, 12: vtk.VTK_PYRAMID, 14: vtk.VTK_WEDGE, 17: vtk.VTK_HEXAHEDRON}
CORNERS = {10: 4, 12: 5, 14: 6, 17: 8}
KINDS = ["part skin", "gate", "outer face", "part/insert interface", "vent"]
KIND_COLOURS = [(0.66, 0.74, 0.82), (0.90, 0.15, 0.15), (0.9, 0.9, 0.9), (0.93, 0.69, 0.13), (0.2, 0.6, 0.3)]
CELL_COLOURS = {"tetrahedron": (0.85, 0.37, 0.30), "pyramid": (0.95, 0.75, 0.30), "prism": (0.40, 0.66, 0.42), "hexahedron": (0.62, 0.72, 0.84),
                "insert": (0.45, 0.45, 0.50)}


class Zone:
    """One mesh of a mesh file."""

    def __init__(self, group):
        data = lambda path: group[path + "/ data"][()]
        self.points = np.column_stack([data(f"GridCoordinates/Coordinate{axis}") for axis in "XYZ"]).astype(np.float64)
        self.cells = {}
        for block in ("Plastic", "MoldBase"):
            if block in group:
                self.cells[block] = (data(f"{block}/ElementConnectivity"), data(f"{block}/ElementStartOffset"), data(f"{block}/CellData/Body"))
        self.facets = data("Surface/ElementConnectivity").reshape(-1, 4) - 1
        self.facet_kind = data("Surface/FacetData/Kind")

    def grid(self, block):
        """The cells of a block as a vtkUnstructuredGrid with the cell arrays Kind (CGNS element type) and Body."""
        row, start, body = self.cells[block]
        kind = row[start[:-1]]
        connectivity = row.astype(np.int64)
        counts = np.array([CORNERS[k] for k in kind], dtype=np.int64)
        connectivity -= 1
        connectivity[start[:-1]] = counts  # the kind in front of each cell's nodes becomes their number
        prisms = start[:-1][kind == 14]
        for a, b in ((2, 3), (5, 6)):  # VTK turns its wedges the other way round
            connectivity[prisms + a], connectivity[prisms + b] = connectivity[prisms + b], connectivity[prisms + a]
        cells = vtk.vtkCellArray()
        cells.ImportLegacyFormat(numpy_to_vtkIdTypeArray(connectivity, deep=True))
        grid = vtk.vtkUnstructuredGrid()
        grid.SetPoints(self.vtk_points())
        grid.SetCells([CGNS_TO_VTK[k] for k in kind], cells)
        for name, values in (("Kind", kind), ("Body", body)):
            array = numpy_to_vtk(values.astype(np.int32), deep=True)
            array.SetName(name)
            grid.GetCellData().AddArray(array)
        return grid

    def surface(self, kinds):
        """The surface facets of the given kinds as vtkPolyData with the cell array Kind."""
        chosen = np.isin(self.facet_kind, kinds)
        cells = vtk.vtkCellArray()
        facets = self.facets[chosen]
        counts = np.where(facets[:, 2] == facets[:, 3], 3, 4)
        for facet, n in zip(facets.tolist(), counts.tolist()):
            cells.InsertNextCell(n, facet[:n])
        surface = vtk.vtkPolyData()
        surface.SetPoints(self.vtk_points())
        surface.SetPolys(cells)
        array = numpy_to_vtk(self.facet_kind[chosen].astype(np.int32), deep=True)
        array.SetName("Kind")
        surface.GetCellData().AddArray(array)
        return surface

    def vtk_points(self):
        points = vtk.vtkPoints()
        points.SetData(numpy_to_vtk(self.points, deep=True))
        return points


def read_mesh(path):
    """The meshes of a mesh file by name ("Voxel", "CutCell")."""
    with h5py.File(path, "r") as file:
        base = next(group for name, group in file.items() if isinstance(group, h5py.Group) and "Voxel" in group)
        return {name: Zone(base[name]) for name in ("Voxel", "CutCell") if name in base}


def actor(data, colour_of, array, edges=True, edge_width=0.4):
    """An actor whose cells are coloured by colour_of(value of the cell array)."""
    values = data.GetCellData().GetArray(array)
    numbers = np.array([values.GetValue(i) for i in range(values.GetNumberOfTuples())])
    colours = np.zeros((len(numbers), 3), dtype=np.uint8)
    for value in np.unique(numbers):
        colours[numbers == value] = [round(255 * c) for c in colour_of(int(value))]
    scalars = numpy_to_vtk(colours, deep=True, array_type=vtk.VTK_UNSIGNED_CHAR)
    shown = vtk.vtkPolyData()
    shown.ShallowCopy(data)
    shown.GetCellData().SetScalars(scalars)
    mapper = vtk.vtkPolyDataMapper()
    mapper.SetInputData(shown)
    mapper.SetScalarModeToUseCellData()
    result = vtk.vtkActor()
    result.SetMapper(mapper)
    result.GetProperty().SetInterpolationToFlat()
    result.GetProperty().SetEdgeVisibility(edges)
    result.GetProperty().SetEdgeColor(0.25, 0.28, 0.32)
    result.GetProperty().SetLineWidth(edge_width)
    return result


def section(zone, y):
    """The outside of the part's and the inserts' cells that lie behind the plane y, whole cells only."""
    merged = vtk.vtkAppendFilter()
    for block in zone.cells:
        grid = zone.grid(block)
        bodies = vtk.vtkThreshold()
        bodies.SetInputData(grid)
        bodies.SetInputArrayToProcess(0, 0, 0, vtk.vtkDataObject.FIELD_ASSOCIATION_CELLS, "Body")
        bodies.SetThresholdFunction(vtk.vtkThreshold.THRESHOLD_BETWEEN)
        bodies.SetLowerThreshold(3 if block == "MoldBase" else 1)  # of the mould base, the inserts only
        bodies.SetUpperThreshold(1e6)
        merged.AddInputConnection(bodies.GetOutputPort())
    plane = vtk.vtkPlane()
    plane.SetOrigin(0, y, 0)
    plane.SetNormal(0, -1, 0)
    half = vtk.vtkExtractGeometry()
    half.SetInputConnection(merged.GetOutputPort())
    half.SetImplicitFunction(plane)
    half.ExtractBoundaryCellsOff()
    outside = vtk.vtkGeometryFilter()
    outside.SetInputConnection(half.GetOutputPort())
    outside.Update()
    data = outside.GetOutput()
    kind, body = data.GetCellData().GetArray("Kind"), data.GetCellData().GetArray("Body")
    for i in range(data.GetNumberOfCells()):
        if body.GetValue(i) > 2:
            kind.SetValue(i, 0)
    return data


def cell_colour(kind):
    return CELL_COLOURS[{0: "insert", 10: "tetrahedron", 12: "pyramid", 14: "prism", 17: "hexahedron"}[kind]]


def caption(renderer, text, place, size=20):
    label = vtk.vtkTextActor()
    label.SetInput(text)
    label.GetTextProperty().SetFontSize(size)
    label.GetTextProperty().SetColor(0.1, 0.1, 0.1)
    label.GetPositionCoordinate().SetCoordinateSystemToNormalizedViewport()
    label.GetPositionCoordinate().SetValue(*place)
    renderer.AddViewProp(label)
    return label


def legend(renderer, entries, place):
    """Names in their colours, one below the other; `place` is the upper left corner in the renderer."""
    for i, (name, colour) in enumerate(entries):
        label = caption(renderer, "" + name, (place[0], place[1] - 0.05 * i), 17)
        label.GetTextProperty().SetColor(*[0.8 * c for c in colour])
        label.GetTextProperty().BoldOn()


def look(renderer, focus, direction, distance, angle):
    camera = renderer.GetActiveCamera()
    camera.SetFocalPoint(*focus)
    camera.SetPosition(*(np.array(focus) + distance * np.array(direction) / np.linalg.norm(direction)))
    camera.SetViewUp(0, 0, 1)
    camera.SetViewAngle(angle)
    renderer.ResetCameraClippingRange()


def picture(window, path):
    window.Render()
    grab = vtk.vtkWindowToImageFilter()
    grab.SetInput(window)
    writer = vtk.vtkPNGWriter()
    writer.SetCompressionLevel(9)
    writer.SetInputConnection(grab.GetOutputPort())
    writer.SetFileName(path)
    writer.Write()


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("mesh", help="mesh file (.krn)")
    parser.add_argument("-o", "--output", required=True, help="PNG file to write")
    parser.add_argument("--size", type=int, nargs=2, default=(1060, 800), metavar=("W", "H"))
    parser.add_argument("--section", type=float, help="y of the cut; default: through the part/insert interface, or the middle")
    arguments = parser.parse_args()
    try:
        zones = read_mesh(arguments.mesh)
    except (OSError, KeyError, StopIteration) as error:
        sys.exit(f"{arguments.mesh}: cannot be read as a mesh file: {error}")

    window = vtk.vtkRenderWindow()
    window.SetOffScreenRendering(1)
    window.SetMultiSamples(8)
    window.SetSize(*arguments.size)
    titles = {"Voxel": "voxel mesh", "CutCell": "cut-cell mesh"}
    for column, (name, zone) in enumerate(zones.items()):
        left, right = column / len(zones), (column + 1) / len(zones)
        kinds = [k for k in (0, 1, 3, 4) if np.any(zone.facet_kind == k)]
        surface = zone.surface(kinds)
        used = zone.points[np.unique(zone.facets[np.isin(zone.facet_kind, kinds)])]
        low, high = used.min(axis=0), used.max(axis=0)
        middle, size = (low + high) / 2, np.linalg.norm(high - low)

        above = vtk.vtkRenderer()
        above.SetViewport(left, 0.5, right, 1)
        above.SetBackground(1, 1, 1)
        above.AddActor(actor(surface, lambda k: KIND_COLOURS[k], "Kind", edges=False))
        caption(above, f"{titles[name]}: {np.count_nonzero(np.isin(zone.facet_kind, kinds)):,} facets around the part", (0.02, 0.94))
        legend(above, [(KINDS[k], KIND_COLOURS[k]) for k in kinds], (0.02, 0.17))
        window.AddRenderer(above)
        look(above, middle, (-0.62, -1.0, 1.15), 3.2 * size, 14.5)

        y = arguments.section
        if y is None:
            interface = zone.facets[zone.facet_kind == 3]
            y = zone.points[interface][..., 1].mean() if len(interface) else middle[1]
        below = vtk.vtkRenderer()
        below.SetViewport(left, 0, right, 0.5)
        below.SetBackground(1, 1, 1)
        cells = section(zone, y)
        below.AddActor(actor(cells, cell_colour, "Kind"))
        caption(below, f"{titles[name]}, cut at y = {round(y, 1) + 0.0:.1f}", (0.02, 0.94))
        shown = {cells.GetCellData().GetArray("Kind").GetValue(i) for i in range(cells.GetNumberOfCells())}
        names = {17: "hexahedron", 14: "prism", 12: "pyramid", 10: "tetrahedron", 0: "insert"}
        legend(below, [(label, CELL_COLOURS[label]) for kind, label in names.items() if kind in shown], (0.77, 0.94))
        window.AddRenderer(below)
        focus = (middle[0] + 0.3 * (high[0] - low[0]), y, middle[2] + 0.04 * (high[2] - low[2]))
        look(below, focus, (-0.25, -1.0, 0.4), 2.2 * size, 12.5)
    picture(window, arguments.output)


if __name__ == "__main__":
    main()
