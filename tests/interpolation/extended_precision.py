"""Repeats the multiquadric interpolation in extended precision, independently, and compares.

Everything is done anew from the description of the method: nearest nodes, neighbourhoods of a structured grid, systems solved by Gauss-Jordan elimination, the
choice of the shape parameter per axis, the mean of the estimates. Only the mesh, the fields and the engine's values come from the program.

usage: extended_precision.py <accuracy_probe>
"""

import subprocess
import sys

import numpy as np

REAL = np.longdouble
POINTS = 8
TOLERANCE = 1e-7  # of values of order 1; the choice of the parameter must not differ either


def weights(p: np.ndarray, c: float) -> np.ndarray:
    """n x 3: the weights of the derivatives at p[0]."""
    n = len(p)
    g = np.sqrt(((p[:, None] - p[None, :]) ** 2).sum(-1) + REAL(c) ** 2)
    system = np.concatenate([g, (p[0] - p) / g[0][:, None]], axis=1)
    for k in range(n):
        pivot = k + np.argmax(np.abs(system[k:, k]))
        system[[k, pivot]] = system[[pivot, k]]
        system[k] /= system[k, k]
        factor = system[:, k].copy()
        factor[k] = 0
        system -= factor[:, None] * system[k]
    return system[:, n:]


def fit(p: np.ndarray, phi: np.ndarray) -> tuple[np.ndarray, np.ndarray]:
    """Derivatives at p[0], fields by axes, and the last point's weights; each axis with the parameter whose weights sum nearest to zero."""
    best, derivative, last = np.full(3, 1e10, REAL), np.zeros((2, 3), REAL), np.zeros(3, REAL)
    for c in np.cumsum([1.0] + [0.1] * 19):
        w = weights(p, c)
        defect = np.abs(w.sum(axis=0))
        better = defect - best < 1e-10
        best[better], derivative[:, better], last[better] = defect[better], (phi.T @ w)[:, better], w[-1][better]
    return derivative, last


def neighbourhood(node: int, m: int) -> list[int]:
    """The nodes of a structured grid with m nodes per edge that share a cell with one, ascending."""
    place = node % m, node // m % m, node // (m * m)
    ranges = [range(max(i - 1, 0), min(i + 2, m)) for i in place]
    return [i + m * (j + m * k) for k in ranges[2] for j in ranges[1] for i in ranges[0]]


def interpolate(nodes: np.ndarray, phi: np.ndarray, q: np.ndarray, m: int) -> np.ndarray:
    """The values of both fields (columns of phi) at q."""
    total = np.zeros(2, REAL)
    nearest = np.argsort(((nodes - q) ** 2).sum(axis=1), kind="stable")[:4]
    for node in nearest:
        around = neighbourhood(int(node), m)
        without, _ = fit(nodes[around], phi[around])
        joined, weight = fit(np.vstack([nodes[around], q]), np.vstack([phi[around], np.zeros(2, REAL)]))
        total += ((without - joined) / weight).sum(axis=1)
    return total / 12


def main(probe: str) -> int:
    worst = 0.0
    for cells in (4, 7):
        output = subprocess.run([probe, str(cells)], check=True, capture_output=True, text=True).stdout
        lines = [line.split() for line in output.splitlines()]
        nodes = np.array([line[1:] for line in lines if line[0] == "node"], dtype=REAL)
        points = np.array([line[1:] for line in lines if line[0] == "point"], dtype=REAL)
        for p in points[:POINTS]:
            difference = interpolate(nodes[:, :3], nodes[:, 3:], p[:3], cells + 1) - p[5:7]
            worst = max(worst, float(np.max(np.abs(difference))))
    print(f"largest difference {worst:.1e}")
    return 0 if worst < TOLERANCE else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
