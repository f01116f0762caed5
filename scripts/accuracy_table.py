"""Prints the accuracy tables of docs/interpolation.md: errors of the engine on ever finer jittered grids, SciPy's multiquadrics beside them.

usage: accuracy_table.py <accuracy_probe> [--check docs/interpolation.md]

With --check, the engine's columns in the document must be what the program computes now (SciPy's depend on its version and are not compared),
and the median error of the engine's multiquadric form must fall from row to row.
"""

import subprocess
import sys

import numpy as np
from scipy.interpolate import RBFInterpolator

SIZE = 4.0
REFINEMENTS = [4, 6, 8, 12, 16]
FIELDS = ["quadratic", "smooth"]
NEIGHBOURS = 27  # as many as the neighbourhood of an inner node of the grid
SHAPE = 2.0      # the multiquadric's length; the engine chooses among 1.0 to 2.9
HEAD = ["spacing", "multiquadric form: median", "largest", "shape functions: median", "largest", "SciPy: median", "largest"]
ENGINE_COLUMNS = [1, 2, 3, 4]


def summary(error: np.ndarray) -> list[str]:
    return [f"{np.median(np.abs(error)):.1e}", f"{np.max(np.abs(error)):.1e}"]


def measure(probe: str, cells: int) -> list[list[str]]:
    """One table row per field."""
    output = subprocess.run([probe, str(cells)], check=True, capture_output=True, text=True).stdout
    lines = [line.split() for line in output.splitlines()]
    nodes = np.array([line[1:] for line in lines if line[0] == "node"], dtype=float)
    points = np.array([line[1:] for line in lines if line[0] == "point"], dtype=float)
    rows = []
    for k in range(len(FIELDS)):
        rbf = RBFInterpolator(nodes[:, :3], nodes[:, 3 + k], neighbors=NEIGHBOURS, kernel="multiquadric", epsilon=1 / SHAPE)
        true = points[:, 3 + k]
        computed = [points[:, 5 + k], points[:, 7 + k], rbf(points[:, :3])]
        rows.append([f"{SIZE / cells:.2f}"] + [cell for values in computed for cell in summary(values - true)])
    return rows


def tables(probe: str) -> dict[str, list[list[str]]]:
    by_refinement = [measure(probe, cells) for cells in REFINEMENTS]
    return {field: [rows[k] for rows in by_refinement] for k, field in enumerate(FIELDS)}


def written_rows(document: str, field: str) -> list[list[str]]:
    """Rows of the table under the line that starts with the field's name in bold."""
    with open(document, encoding="utf-8") as file:
        text = file.read().partition(f"**{field}**")[2].partition("\n**")[0]
    return [[cell.strip() for cell in line.strip("|").split("|")] for line in text.splitlines() if line.startswith("|")]


def check(field: str, rows: list[list[str]], document: str) -> list[str]:
    problems = []
    written = {row[0]: row for row in written_rows(document, field)}
    for row in rows:
        known = written.get(row[0])
        if known is None or any(known[k] != row[k] for k in ENGINE_COLUMNS):
            problems.append(f"{field}, spacing {row[0]}: computed {row}, written {known}")
    medians = [float(row[1]) for row in rows]
    if any(finer >= coarser for coarser, finer in zip(medians, medians[1:])):
        problems.append(f"{field}: the error does not fall: {medians}")
    return problems


def main(arguments: list[str]) -> int:
    problems = []
    for field, rows in tables(arguments[0]).items():
        print(f"**{field}**\n\n| {' | '.join(HEAD)} |\n|{'---|' * len(HEAD)}")
        print("\n".join(f"| {' | '.join(row)} |" for row in rows) + "\n")
        if len(arguments) == 3:
            problems += check(field, rows, arguments[2])
    print("\n".join(problems))
    return 1 if problems else 0


if __name__ == "__main__":
    if len(sys.argv) != 2 and not (len(sys.argv) == 4 and sys.argv[2] == "--check"):
        print(__doc__, file=sys.stderr)
        sys.exit(2)
    sys.exit(main(sys.argv[1:]))
