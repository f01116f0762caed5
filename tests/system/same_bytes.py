"""Checks that the programs of two builds, by different compilers or for different systems, make the same bytes: mesh files, sample results, mapped results of
all kinds in all modes, Tecplot files, reports, exports, answers on the console, and the bare numbers that the probe next to this file writes.

usage: same_bytes.py FOLDER OTHER_FOLDER [unittest arguments]

Each folder holds the programs tav3d and same_bytes_probe. Where the other folder has none the test counts as skipped (status 77), or fails if TAV3D_TEST_OTHER_BUILD
is "required". Where programs for Windows write "in text mode" (the library's own Tecplot files, the console) each line must end with carriage return and line
feed, which compare equal to the line feed of the other side. Numbers that tell how long something took are set aside.
"""

import concurrent.futures
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

FOLDERS = [pathlib.Path(os.path.abspath(sys.argv.pop(1))) for _ in range(2)]

from scene import DATA, KINDS, UNDER_WINE, main, names, vox  # after the folders have been taken: it takes a program from what is left

MODES, INSERT_MODES, SMOOTH = (0, 1, 2), (0, 1), (False, True)
FORMATS = (".vtu", ".cgns", ".plt")
PROGRAMS = ("tav3d", "same_bytes_probe")
SKIPPED = 77

DURATION = re.compile(rb'(built and written in |"seconds": )[-+.\de]+')
STAGES = re.compile(rb'<table class="times">.*?</table>', re.DOTALL)  # of the report: seconds, and bars as long
LINE_END = re.compile(rb"\r?\n")
OTHER_LETTERS = "Läufe ñ 部品 (α)"
POINTS = "x,y,z,name\n" + "".join(f"{3.1 * i},{2.3 * i + 0.25},{0.7 * i},p{i}\n" for i in range(-2, 20))


def runs():
    """Mode, part-insert mode, smoothing and folder of each mapping of all kinds."""
    for mode in MODES:
        for insert_mode in INSERT_MODES:
            for smooth in SMOOTH:
                yield mode, insert_mode, smooth, f"map-{mode}-{insert_mode}-{'smooth' if smooth else 'plain'}"


class Side:
    """One build at work in a folder of its own. All that it prints becomes files, too: console/<step>.out, .err and .status."""

    def __init__(self, programs, folder):
        self.programs, self.folder, self.steps = programs, folder, 0
        (folder / "console").mkdir(parents=True)

    def run(self, *arguments, program="tav3d", cwd=".", expect=0):
        self.steps += 1
        name = "-".join([f"{self.steps:03}", *(re.sub(r"[^\w.]+", "_", str(a)) for a in arguments)])[:80]
        folder = self.folder / cwd
        folder.mkdir(exist_ok=True)
        done = subprocess.run([self.programs / program, *map(str, arguments)], cwd=folder, capture_output=True, stdin=subprocess.DEVNULL, timeout=600)
        for suffix, text in ((".out", done.stdout), (".err", done.stderr), (".status", f"{done.returncode}\n".encode())):
            (self.folder / "console" / (name + suffix)).write_bytes(text)
        if done.returncode != expect:
            raise AssertionError(f"{self.programs}: {program} {' '.join(map(str, arguments))}: status {done.returncode}, not {expect}\n"
                                 f"{done.stdout.decode(errors='replace')[-2000:]}{done.stderr.decode(errors='replace')[-2000:]}")

    def work(self):
        self.make_models()
        self.map()
        self.read()
        self.use_other_letters()
        self.fail()
        self.run("part.krn", program="same_bytes_probe", cwd="model")
        self.run("zero-row", program="same_bytes_probe", cwd="model", expect=1)

    def make_models(self):
        model = self.folder / "model"
        model.mkdir()
        for file in ("housing.stl", "insert.stl"):
            shutil.copyfile(DATA / file, model / file)
        (model / "points.csv").write_text(POINTS, newline="\n")
        self.run("model", "housing.stl", "--insert", "insert.stl", "--cell-size", 2, "-o", "part.krn", cwd="model")
        self.run("sample", "part.krn", "-o", "results", cwd="model")
        self.run("model", "housing.stl", "--cell-size", 2.3, "--scale", 0.9371, "--margin", 2, "--json", "-o", "scaled.krn", cwd="model")
        self.run("sample", "scaled.krn", "-o", "scaled", "--json", "--kinds", ".q7f", ".q7hc", "--filling-time", 0.7, "--unit", 1.1, cwd="model")

    def map(self):
        results = [f"../model/results/part{kind}" for kind in KINDS]
        for mode, insert_mode, smooth, folder in runs():
            (self.folder / folder / "mapped").mkdir(parents=True)
            self.run("map", "../model/part.krn", *results, "--mode", mode, "--part-insert-mode", insert_mode, *(["--smooth"] if smooth else []), "--tecplot",
                     "--report", "report.html", "--json", "-o", "mapped", cwd=folder)
        (self.folder / "map-scaled" / "mapped").mkdir(parents=True)
        self.run("map", "../model/scaled.krn", "../model/scaled/scaled.q7f", "../model/scaled/scaled.q7hc", "--smooth", "--filling-time", 1.25, "-o", "mapped",
                 cwd="map-scaled")
        # In place, under the names that hosts expect.
        shutil.copytree(self.folder / "model" / "results", self.folder / "model" / "in-place")
        for kind in KINDS:
            (self.folder / "model" / "in-place" / vox(pathlib.Path(f"part{kind}")).name).write_bytes(b"an old one")
        self.run("map", "part.krn", *(f"in-place/part{kind}" for kind in KINDS), "--smooth", cwd="model")

    def read(self):
        voxel, mapped, plain = "model/results", "map-1-0-smooth/mapped", "map-1-0-plain/mapped"
        self.run("info", "model/part.krn", "model/scaled.krn", *(f"{folder}/part{kind}" for folder in (voxel, mapped) for kind in KINDS))
        self.run("info", "model/part.krn", *(f"{folder}/part{kind}" for folder in (voxel, mapped) for kind in KINDS), "--json")
        (self.folder / "export").mkdir()
        for form in FORMATS:
            for kind in KINDS:
                self.run("export", f"{voxel}/part{kind}", "-o", f"export/voxel{kind}{form}")
                self.run("export", f"{mapped}/part{kind}", "-o", f"export/mapped{kind}{form}", "--part-only")
            for zone in ("voxel", "cut-cell"):
                self.run("export", "model/part.krn", "--zone", zone, "-o", f"export/{zone}{form}")
        for kind in KINDS:
            self.run("compare", f"{plain}/part{kind}", f"{mapped}/part{kind}", expect=0 if kind == ".rsc" else 1)
        self.run("compare", f"{plain}/part.q7f", f"{mapped}/part.q7f", "--json", expect=1)
        self.run("compare", "model/part.krn", "model/scaled.krn", expect=1)
        for method in ("shape", "quadrature"):
            for result, more in ((f"{voxel}/part.q7f", ["--items", "1"]), (f"{mapped}/part.q7c", ["--items", "1", "--part-only", "--extrapolate"])):
                self.run("interpolate", result, "--points", "model/points.csv", "--method", method, *more)
        self.run("interpolate", f"{mapped}/part.q7hc", "--points", "model/points.csv", "-o", "export/values.csv")

    def use_other_letters(self):
        """Names of folders and files that are not ASCII, in arguments, answers, files and messages."""
        folder = self.folder / OTHER_LETTERS
        (folder / "größe").mkdir(parents=True)
        shutil.copyfile(self.folder / "model" / "part.krn", folder / "Gehäuse.krn")
        self.run("sample", "Gehäuse.krn", "-o", "größe", "--kinds", ".q7f", "--json", cwd=OTHER_LETTERS)
        self.run("map", f"{OTHER_LETTERS}/Gehäuse.krn", f"{OTHER_LETTERS}/größe/Gehäuse.q7f", "--tecplot", "--report", f"{OTHER_LETTERS}/report.html", "--json")
        self.run("info", f"{OTHER_LETTERS}/größe/Gehäuse.q7f", f"{OTHER_LETTERS}/größe/Gehäuse_vox.q7f", "--json")
        self.run("export", "größe/Gehäuse.q7f", "-o", "größe/Füllung.vtu", cwd=OTHER_LETTERS)
        self.run("info", f"{OTHER_LETTERS}/größe/fehlt.q7f", expect=1)

    def fail(self):
        """What goes wrong is told in the same words."""
        damaged = self.folder / "damaged"
        damaged.mkdir()
        whole = (self.folder / "model" / "results" / "part.q7f").read_bytes()
        (damaged / "short.q7f").write_bytes(whole[: len(whole) // 2])
        (damaged / "text.q7f").write_text("no result")
        for file in ("missing.q7f", "short.q7f", "text.q7f"):
            self.run("info", f"damaged/{file}", expect=1)
            self.run("map", "model/part.krn", f"damaged/{file}", "-o", "damaged/mapped.q7f", expect=1)
        self.run("map", "damaged/missing.krn", "model/results/part.q7f", "-o", "damaged/mapped.q7f", expect=1)
        self.run("map", "model/scaled.krn", "model/results/part.q7f", "-o", "damaged/mapped.q7f", expect=1)
        self.run("export", "model/results/part.q7f", "--items", "99", "-o", "damaged/mapped.vtu", expect=1)
        self.run("export", "model/results/part.q7f", "-o", "nowhere/mapped.vtu", expect=1)
        self.run("map", "model/part.krn", "--mode", 3, expect=2)


def contents(path, windows=False):
    """The bytes to compare, of a file that a program for Windows has written or another."""
    data = path.read_bytes()
    is_on_console = path.suffix in (".out", ".err")
    if windows and (is_on_console or (path.suffix == ".plt" and path.parent.name != "export")):
        data = LINE_END.sub(lambda end: b"\n" if end[0] == b"\r\n" else b"<line feed alone>\n", data)
    if is_on_console:
        data = DURATION.sub(rb"\1...", data)
    elif path.name == "report.html":
        data = STAGES.sub(b"", data)
    return data


def tree(folder):
    return {str(path.relative_to(folder)): path for path in sorted(folder.rglob("*")) if path.is_file()}


def differences(one, other, windows=UNDER_WINE):
    """Compares all files of two folders, the first of which may be that of Windows: the lines that tell what differs, and how many files and bytes were compared."""
    lines, files, size = [], 0, 0
    ones, others = tree(one), tree(other)
    for name in sorted(ones.keys() | others.keys()):
        if name not in ones or name not in others:
            lines.append(f"{name}: only in {one if name in ones else other}")
            continue
        a, b = contents(ones[name], windows), contents(others[name])
        files, size = files + 1, size + len(a)
        if a != b:
            offset = next((i for i, (x, y) in enumerate(zip(a, b)) if x != y), min(len(a), len(b)))
            around = slice(max(0, offset - 20), offset + 20)
            lines.append(f"{name}: differs from byte {offset} on, of {len(a)} and {len(b)}: {a[around]!r}, {b[around]!r}")
    return lines, files, size


class SameBytes(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.scratch = tempfile.TemporaryDirectory(prefix="tav3d-same-bytes-")
        cls.addClassCleanup(cls.scratch.cleanup)
        cls.sides = [Side(programs, pathlib.Path(cls.scratch.name) / name) for programs, name in zip(FOLDERS, ("first", "other"))]
        with concurrent.futures.ThreadPoolExecutor() as pool:
            list(pool.map(Side.work, cls.sides))

    def test_all_files_and_all_that_is_printed(self):
        lines, files, size = differences(*(side.folder for side in self.sides))
        print(f"{files} files of {size} bytes compared", file=sys.stderr)
        self.assertFalse(lines, "\n" + "\n".join(lines))

    def test_nothing_is_missing(self):
        """The comparison means nothing unless all files are there, and differ where they should."""
        folder = self.sides[0].folder
        self.assertEqual(names(folder / "model" / "results"), sorted(f"part{kind}" for kind in KINDS))
        self.assertEqual(len(names(folder / "model" / "in-place")), 2 * len(KINDS))
        mapped = {}
        for mode, insert_mode, smooth, name in runs():
            self.assertEqual(names(folder / name / "mapped"), sorted(f"part{kind}" for kind in KINDS))
            self.assertEqual(len(list((folder / name).glob("*t=*_.plt"))), 2 * len(KINDS))
            self.assertGreater((folder / name / "report.html").stat().st_size, 10000)
            mapped[mode, insert_mode, smooth] = (folder / name / "mapped" / "part.q7f").read_bytes()
        report = folder / "map-1-0-plain" / "report.html"
        self.assertTrue(0 < report.stat().st_size - len(contents(report)) < 5000, "the report's durations, and they alone, are left out")
        self.assertEqual(len({mapped[key] for key in ((0, 0, False), (1, 0, False), (1, 0, True))}), 3)
        self.assertEqual(len(names(folder / "export")), len(FORMATS) * (2 * len(KINDS) + 2) + 1)
        self.assertTrue((folder / "model" / "30.plt").exists())
        self.assertGreaterEqual(len(list((folder / "model").glob("probe-*.bin"))), 8)
        self.assertEqual(names(folder / OTHER_LETTERS / "größe"), ["Füllung.vtu", "Gehäuse.q7f", "Gehäuse_vox.q7f"])
        self.assertTrue(any("größe/fehlt.q7f".encode() in path.read_bytes() for path in (folder / "console").glob("*.err")), "names as they were given")

    def test_a_planted_difference_is_found(self):
        one, other = (pathlib.Path(self.scratch.name) / name for name in ("planted-one", "planted-other"))
        shutil.copytree(self.sides[0].folder / "model" / "results", one)
        shutil.copytree(one, other)
        self.assertEqual(differences(one, other)[0], [])
        data = bytearray((other / "part.q7p").read_bytes())
        data[1234] ^= 1
        (other / "part.q7p").write_bytes(data)
        (other / "part.rsf").unlink()
        (one / "step.out").write_bytes(b"built and written in 1.5 s\n")
        (other / "step.out").write_bytes(b"built and written in 12 s\n")
        lines, files, _ = differences(one, other, windows=False)
        self.assertEqual(files, len(KINDS))
        self.assertEqual(len(lines), 2)
        self.assertIn("part.q7p: differs from byte 1234 on", lines[0])
        self.assertIn("part.rsf: only in", lines[1])

    def test_a_planted_line_end_is_found(self):
        one, other = (pathlib.Path(self.scratch.name) / name for name in ("ends-one", "ends-other"))
        for folder, text in ((one, b"a\r\nb\r\n"), (other, b"a\nb\n")):
            folder.mkdir()
            for name in ("step.out", "step.err", "30.plt"):
                (folder / name).write_bytes(text)
        self.assertEqual(differences(one, other, windows=True)[0], [])
        self.assertEqual(len(differences(one, other, windows=False)[0]), 3, "a carriage return where none belongs")
        self.assertEqual(len(differences(other, other, windows=True)[0]), 3, "a line feed alone on Windows")


if __name__ == "__main__":
    missing = [str(FOLDERS[1] / program) for program in PROGRAMS if not (FOLDERS[1] / program).exists()]
    if missing:
        is_required = os.environ.get("TAV3D_TEST_OTHER_BUILD") == "required"
        print(f"{'failed' if is_required else 'skipped'}: the other build is not there ({', '.join(missing)})")
        sys.exit(1 if is_required else SKIPPED)
    main()
