"""What the system tests share: the program under test, and a model with its sample results in a scratch folder."""

import hashlib
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

KINDS = [".q7f", ".q7p", ".q7c", ".q7hc", ".rsf", ".rsc"]
DATA = pathlib.Path(__file__).resolve().parents[2] / "data"

TAV3D = os.path.abspath(sys.argv.pop(1)) if len(sys.argv) > 1 else None  # the first argument of every script
UNDER_WINE = "TAV3D_TEST_UNDER_WINE" in os.environ  # the program is the one for Windows


def not_under_wine(reason):
    """Leaves a test out where the program runs under wine."""
    return unittest.skipIf(UNDER_WINE, reason)


def run(*arguments, **options):
    """Runs tav3d and returns what came of it (returncode, stdout, stderr)."""
    options = {"capture_output": True, "text": True, "stdin": subprocess.DEVNULL, "timeout": 300, **options}
    return subprocess.run([TAV3D, *map(str, arguments)], **options)


def done(*arguments, **options):
    """Runs tav3d where nothing may go wrong, and returns its standard output."""
    outcome = run(*arguments, **options)
    if outcome.returncode != 0:
        raise AssertionError(f"tav3d {' '.join(map(str, arguments))}: status {outcome.returncode}\n{outcome.stdout}{outcome.stderr}")
    return outcome.stdout


def make_model(folder, cell_size=2, name="part", kinds=KINDS):
    """The housing with its insert, and sample results on its voxel mesh, in `folder`."""
    mesh = pathlib.Path(folder) / f"{name}.krn"
    done("model", DATA / "housing.stl", "--insert", DATA / "insert.stl", "--cell-size", cell_size, "-o", mesh)
    done("sample", mesh, "-o", folder, "--kinds", *kinds)
    return mesh


def vox(file):
    """The name that the voxel data move to when `file` is mapped in place."""
    return file.with_name(file.stem + "_vox" + file.suffix)


def digest(file):
    return hashlib.sha256(pathlib.Path(file).read_bytes()).hexdigest()


def names(folder):
    return sorted(entry.name for entry in pathlib.Path(folder).iterdir())


class Scene(unittest.TestCase):
    """Makes the model once per class (`model`, `mesh`), and hands every test a fresh folder."""

    cell_size = 2
    kinds = KINDS

    @classmethod
    def setUpClass(cls):
        cls._scratch = tempfile.TemporaryDirectory(prefix="tav3d-system-")
        cls.scratch = pathlib.Path(cls._scratch.name)
        cls.model = cls.scratch / "model"
        cls.model.mkdir()
        cls.mesh = make_model(cls.model, cls.cell_size, kinds=cls.kinds)

    @classmethod
    def tearDownClass(cls):
        cls._scratch.cleanup()

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(dir=self.scratch))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)

    def copy(self, kind, name=None, folder=None):
        """A copy of the sample result of a kind."""
        target = pathlib.Path(folder or self.folder) / (name or f"part{kind}")
        shutil.copyfile(self.model / f"part{kind}", target)
        return target


def main():
    """Runs the tests of the script. Where reports are collected, those that were skipped are told there, one a line: name, tab, reason."""
    result = unittest.main(module="__main__", argv=[sys.argv[0]] + sys.argv[1:], verbosity=2, exit=False).result
    if reports := os.environ.get("TAV3D_TEST_REPORTS"):
        script = pathlib.Path(sys.argv[0]).stem
        pathlib.Path(reports).mkdir(parents=True, exist_ok=True)
        lines = [f"{test.id().replace('__main__', script)}\t{reason}\n" for test, reason in result.skipped]
        (pathlib.Path(reports) / f"{script}.skipped").write_text("".join(lines))
    sys.exit(not result.wasSuccessful())
