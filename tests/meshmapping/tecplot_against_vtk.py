"""Reads the Tecplot files of the mesh mapping with VTK and compares nodes, cells and values.

VTK takes as coordinates only variables that are named X, Y and Z, so it reads a copy with these names.
"""

import pathlib
import subprocess
import sys
import tempfile

import vtk


def plain_read(path: pathlib.Path):
    lines = path.read_text().split("\n")
    counts = dict(item.strip().split("=") for item in lines[1].split(",")[1:])
    n, e = int(counts["N"]), int(counts["E"])
    nodes = [[float(v) for v in line.split()] for line in lines[2 : 2 + n]]
    assert lines[2 + n] == "", "an empty line stands between nodes and cells"
    cells = [[int(v) for v in line.split()] for line in lines[3 + n : 3 + n + e]]
    assert lines[3 + n + e :] == [""], "the cells are the last thing"
    return nodes, cells


def vtk_read(path: pathlib.Path):
    copy = path.with_name("copy_" + path.name.replace("=", "_"))
    copy.write_text(path.read_text().replace('"Xcord","Ycord","Zcord"', '"X","Y","Z"', 1))
    reader = vtk.vtkTecplotReader()
    reader.SetFileName(str(copy))
    reader.Update()
    for k in range(reader.GetNumberOfDataAttributes()):
        reader.SetDataArrayStatus(reader.GetDataAttributeName(k), 1)
    reader.Update()
    blocks = reader.GetOutput()
    assert blocks.GetNumberOfBlocks() == 1, blocks.GetNumberOfBlocks()
    return blocks.GetBlock(0)


def check(path: pathlib.Path, elements: int) -> None:
    nodes, cells = plain_read(path)
    grid = vtk_read(path)
    assert len(nodes) > 200 and len(cells) == elements, (len(nodes), len(cells))
    assert grid.GetNumberOfPoints() == len(nodes), (grid.GetNumberOfPoints(), len(nodes))
    assert grid.GetNumberOfCells() == len(cells), (grid.GetNumberOfCells(), len(cells))
    values = [grid.GetPointData().GetArray(name) for name in ("MF", "Temp")]
    assert all(values), "both variables are point data"

    def close(a, b):
        return abs(a - b) <= 1e-6 * max(1.0, abs(b))

    for i, node in enumerate(nodes):
        assert all(close(a, b) for a, b in zip(grid.GetPoint(i), node[:3])), (i, grid.GetPoint(i), node)
        for array, expected in zip(values, node[3:]):
            assert close(array.GetValue(i), expected), (i, array.GetName(), array.GetValue(i), expected)
    for c, cell in enumerate(cells):
        ids = grid.GetCell(c).GetPointIds()
        assert [ids.GetId(k) + 1 for k in range(ids.GetNumberOfIds())] == cell, c
    assert any(node[3] != 0 for node in nodes), "the field is not empty"
    print(f"{path.name}: {len(nodes)} nodes, {len(cells)} cells")


def main(program: str) -> int:
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run([program], cwd=folder, check=True)
        folder = pathlib.Path(folder)
        plastic_voxels = 27 - 3
        check(folder / "VoxelResultt=1.000000_.plt", plastic_voxels)
        cut = plain_read(folder / "CutCellResultt=2.000000_.plt")[1]
        assert {len(set(cell)) for cell in cut} >= {4, 5, 6, 8}, "cells of all kinds"
        check(folder / "CutCellResultt=2.000000_.plt", len(cut))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
