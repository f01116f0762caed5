"""Sample results of a small model, drawn by scripts/render_result.py: the pictures show the part, in many colours.

usage: sample_pictures.py TAV3D WRITE_MESH_SAMPLES RENDER_RESULT
"""

import pathlib
import subprocess
import sys
import tempfile

import numpy
import vtk
from vtk.util.numpy_support import vtk_to_numpy


def colours_of(picture):
    reader = vtk.vtkPNGReader()
    reader.SetFileName(str(picture))
    reader.Update()
    pixels = vtk_to_numpy(reader.GetOutput().GetPointData().GetScalars())[:, :3]
    vivid = pixels[(pixels.max(axis=1).astype(int) - pixels.min(axis=1)) > 60]  # neither background nor text
    return len(vivid) / len(pixels), len(numpy.unique(vivid // 16, axis=0))


def main():
    tav3d, write_mesh_samples, render = sys.argv[1:]
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        subprocess.run([write_mesh_samples, name], check=True)
        subprocess.run([tav3d, "sample", "insert.krn", "--unit", "4", "-o", "results"], cwd=folder, check=True, stdout=subprocess.DEVNULL)
        for result, options in [("insert.q7f", ["--item", "1"]), ("insert.q7c", ["--item", "5"]), ("insert.rsc", ["--item", "16", "--cut"])]:
            picture = folder / (result + ".png")
            command = [sys.executable, render, str(folder / "results" / result), *options, "--size", "300", "200", "-o", str(picture)]
            subprocess.run(["xvfb-run", "-a", *command], check=True)
            share, colours = colours_of(picture)
            print(f"{result}: {100 * share:.0f} % of the picture in {colours} colours")
            assert share > 0.05, "the body is not in the picture"
            assert colours >= 4, "the body has one colour only"
        refused = subprocess.run([sys.executable, render, str(folder / "results/insert.q7f"), "--item", "99", "-o", "x.png"], capture_output=True, text=True)
        assert refused.returncode != 0 and "no item 99" in refused.stderr, refused.stderr


if __name__ == "__main__":
    sys.exit(main())
