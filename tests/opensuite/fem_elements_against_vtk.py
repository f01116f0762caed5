"""Compares the shape functions of all element kinds with those of VTK's cells.

usage: fem_elements_against_vtk.py EVALUATE_ELEMENTS

Random elements of two shapes, well shaped and distorted, get random points. VTK's way from reference coordinates to the point is exact, so the point is
made with it (EvaluateLocation), and its weights are what our inverse mapping must find again. VTK's own inverse mapping (EvaluatePosition)
stops its iteration early; it is held against the same weights, and how far it is off is printed.
"""

import pathlib
import subprocess
import sys
import tempfile

import numpy as np
import vtk

KINDS = {  # name: VTK cell, reference nodes in our order (VTK's order is the same)
    "TETRA4": (vtk.vtkTetra, [(0, 0, 0), (1, 0, 0), (0, 1, 0), (0, 0, 1)]),
    "PYRAMID5": (vtk.vtkPyramid, [(0, 0, 0), (1, 0, 0), (1, 1, 0), (0, 1, 0), (0.5, 0.5, 1)]),
    "PRISM6": (vtk.vtkWedge, [(0, 0, 0), (1, 0, 0), (0, 1, 0), (0, 0, 1), (1, 0, 1), (0, 1, 1)]),
    "HEXA8": (vtk.vtkHexahedron, [(0, 0, 0), (1, 0, 0), (1, 1, 0), (0, 1, 0), (0, 0, 1), (1, 0, 1), (1, 1, 1), (0, 1, 1)]),
    "TRI3": (vtk.vtkTriangle, [(0, 0, 0), (1, 0, 0), (0, 1, 0)]),
    "QUAD4": (vtk.vtkQuad, [(0, 0, 0), (1, 0, 0), (1, 1, 0), (0, 1, 0)]),
}
PLANE = {"TRI3", "QUAD4"}
SIMPLEX = {"TETRA4": 3, "TRI3": 2, "PRISM6": 2}  # how many leading reference coordinates are weights
SHAPES = {  # displacement of every node by up to this part of an edge, longest to shortest direction, margin of the points around the element
    "well shaped": (0.12, 2.0, 0.0),
    "just outside": (0.12, 2.0, 0.1),
    "distorted": (0.45, 50.0, 0.0),
}
BOUND = 1e-9  # on the difference of a weight
ELEMENTS = 2500
POINTS = 4


def rotation(rng, plane):
    if plane:
        a = rng.uniform(0, 2 * np.pi)
        return np.array([[np.cos(a), -np.sin(a), 0], [np.sin(a), np.cos(a), 0], [0, 0, 1]])
    return np.linalg.qr(rng.normal(size=(3, 3)))[0]


def reference_point(rng, name, margin):
    """Reference coordinates inside the element, or up to `margin` outside of it."""
    p = rng.uniform(-margin, 1 + margin, 3)
    k = SIMPLEX.get(name, 0)
    if k and p[:k].sum() > 1 + margin:
        p[:k] = (1 - p[:k]) * (2 / 3 if k == 3 else 1)
        p[:k] *= min(1.0, 1 / max(p[:k].sum(), 1e-30))
    if name == "PYRAMID5":
        p[2] = min(p[2], 1.0)
    if name in PLANE:
        p[2] = 0
    return p


def jacobians_have_one_sign(cell, nodes, name):
    """A cheap test that the element is valid: the Jacobian's sign at a lattice of reference points."""
    if name in ("TETRA4", "TRI3"):
        return True
    dim = 2 if name in PLANE else 3
    n = len(nodes)
    signs = set()
    steps = (0.0, 0.5, 1.0)
    for r in steps:
        for s in steps:
            if name == "PRISM6" and r + s > 1:
                continue
            for t in (0.0,) if dim == 2 else ((0.0, 0.5, 0.9) if name == "PYRAMID5" else steps):
                d = [0.0] * (n * dim)
                cell.InterpolationDerivs([r, s, t], d)
                J = np.array(d).reshape(dim, n) @ nodes[:, :dim]
                signs.add(np.sign(np.linalg.det(J)))
    return len(signs) == 1


def make_case(rng, name, shape):
    cell_class, reference = KINDS[name]
    amplitude, aspect, margin = SHAPES[shape]
    cell = cell_class()
    n = len(reference)
    plane = name in PLANE
    for i in range(n):
        cell.GetPointIds().SetId(i, i)
    nodes_all, points_all, weights_all, vtk_found = [], [], [], []
    while len(nodes_all) < ELEMENTS:
        nodes = np.array(reference, float) + rng.uniform(-amplitude, amplitude, (n, 3)) * ([1, 1, 0] if plane else 1)
        stretch = aspect ** rng.uniform(0, 1, 3) * 10 ** rng.uniform(-1, 1)
        nodes = (nodes * stretch) @ rotation(rng, plane).T
        if rng.uniform() < 0.25 and not plane:
            nodes[:, 0] *= -1  # mirrored elements are as good as others
        nodes += rng.uniform(-100, 100, 3) * ([1, 1, 0] if plane else 1)
        for i in range(n):
            cell.GetPoints().SetPoint(i, *nodes[i])
        if not jacobians_have_one_sign(cell, nodes, name):
            continue
        points = []
        for _ in range(POINTS):
            x, w, sub = [0.0] * 3, [0.0] * n, vtk.reference(0)
            cell.EvaluateLocation(sub, reference_point(rng, name, margin), x, w)
            points.append(x)
            weights_all.append(w)
            closest, p, d2, found = [0.0] * 3, [0.0] * 3, vtk.reference(0.0), [0.0] * n
            status = cell.EvaluatePosition(x, closest, sub, p, d2, found)
            vtk_found.append(found if status != -1 else [np.nan] * n)
        nodes_all.append(nodes)
        points_all.append(points)
    return np.array(nodes_all), np.array(points_all), np.array(weights_all), np.array(vtk_found)


def evaluate(program, folder, name, nodes, points):
    n = nodes.shape[1]
    source, target = folder / "in.bin", folder / "out.bin"
    with source.open("wb") as f:
        np.array([len(nodes), points.shape[1]], np.int64).tofile(f)
        np.concatenate([nodes, points], axis=1).astype(np.float64).tofile(f)
    subprocess.run([program, name, source, target], check=True)
    return np.fromfile(target).reshape(-1, n)


def main(program):
    rng = np.random.default_rng(20240607)
    failed = False
    print(f"{ELEMENTS} elements x {POINTS} points each; largest differences of a weight")
    with tempfile.TemporaryDirectory() as folder:
        for name in KINDS:
            for shape in SHAPES:
                nodes, points, weights, vtk_found = make_case(rng, name, shape)
                ours = evaluate(program, pathlib.Path(folder), name, nodes, points)
                difference = np.abs(ours - weights).max(axis=1)
                size = np.ptp(nodes, axis=1).max(axis=1).repeat(POINTS)
                back = np.einsum("pn,pnk->pk", ours, nodes.repeat(POINTS, axis=0)) - points.reshape(-1, 3)
                off = np.abs(back).max(axis=1) / size
                theirs = np.abs(vtk_found - weights).max(axis=1)
                failures = int((~(difference <= BOUND)).sum())
                ok = failures == 0 and np.all(off <= 1e-12)
                failed |= not ok
                print(f"{name:9s} {shape:13s} to VTK's weights {difference.max():.1e} ({failures} above {BOUND:g}), mapped back {off.max():.1e} of the "
                      f"size; VTK's inverse: off by {np.nanmax(theirs):.1e}, above 1e-9 {int((theirs > 1e-9).sum())}, "
                      f"not found {int(np.isnan(theirs).sum())} {'' if ok else ' FAILED'}")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
