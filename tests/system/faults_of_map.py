"""What `tav3d map` does when something is wrong with a file or a folder: status 1, one line that names it, and nothing lost.

usage: faults_of_map.py TAV3D [unittest arguments]
"""

import fcntl
import os
import resource
import shutil
import subprocess

import scene
from scene import Scene, digest, done, names, not_under_wine, run, vox

NOBODY = 65534


class Faults(Scene):
    kinds = [".q7f", ".q7p"]

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.mapped = cls.scratch / "mapped"  # what undisturbed runs give
        cls.mapped.mkdir()
        for kind in cls.kinds:
            shutil.copyfile(cls.model / f"part{kind}", cls.mapped / f"part{kind}")
            vox(cls.mapped / f"part{kind}").touch()  # which spares the wait for one to go away
        done("map", cls.mesh, *(cls.mapped / f"part{kind}" for kind in cls.kinds))

    def setUp(self):
        super().setUp()
        self.work = self.folder.parent / "work"
        self.work.mkdir()
        self.addCleanup(shutil.rmtree, self.work, ignore_errors=True)
        self.good = self.copy(".q7p", "good.q7p", self.work)

    def assert_reported(self, outcome, file, *words, status=1):
        """One error line, which names `file`; no other line that looks like one."""
        self.assertEqual(outcome.returncode, status, outcome.stderr)
        lines = [line for line in outcome.stderr.splitlines() if line.startswith("tav3d: error: ")]
        self.assertEqual(len(lines), 1, outcome.stderr)
        self.assertTrue(lines[0].startswith(f"tav3d: error: {file}: "), lines[0])
        for word in words:
            self.assertIn(word, lines[0])

    def assert_untouched(self, before):
        """The files of `before` (path -> digest) are what they were, and none has appeared beside them."""
        for file, bytes_ in before.items():
            self.assertEqual(digest(file), bytes_, file)
        for folder in {file.parent for file in before}:
            expected = {file.name for file in before if file.parent == folder}
            self.assertEqual(set(names(folder)), expected)

    def check_beside_a_good_file(self, bad, *words, options=(), named=None, **how):
        """Maps `bad` in place together with a good file, which an old "_vox" file spares the wait: the good one is mapped, the bad one as it was."""
        shutil.copyfile(self.good, vox(self.good))
        others = {entry: digest(entry) for entry in self.work.iterdir() if entry.is_file() and entry not in (self.good, vox(self.good))}
        voxel_data = digest(self.good)
        outcome = run("map", self.mesh, bad, self.good, *options, **how)
        self.assert_reported(outcome, named or bad, *words)
        self.assertEqual(digest(self.good), digest(self.mapped / "part.q7p"))
        self.assertEqual(digest(vox(self.good)), voxel_data)
        self.assertIn(f"{self.good}: mapped from {vox(self.good)}\n", outcome.stdout)
        self.assertNotIn(str(bad) + ":", outcome.stdout)
        self.assert_untouched({**others, self.good: digest(self.good), vox(self.good): voxel_data})

    # Results that cannot be used.

    def test_missing_result(self):
        self.check_beside_a_good_file(self.work / "missing.q7f", "no such file")

    def test_truncated_result(self):
        whole = (self.model / "part.q7f").read_bytes()
        for length in (0, 7, 96, 2000, len(whole) // 2, len(whole) - 1):
            with self.subTest(length=length):
                bad = self.work / f"cut{length}.q7f"
                bad.write_bytes(whole[:length])
                shutil.copyfile(self.model / "part.q7p", self.good)
                self.check_beside_a_good_file(bad)
                bad.unlink()

    def test_result_that_is_no_result(self):
        for name, source in [("mesh.q7f", self.mesh), ("program.q7f", scene.__file__)]:
            with self.subTest(name):
                bad = self.work / name
                shutil.copyfile(source, bad)
                shutil.copyfile(self.model / "part.q7p", self.good)
                self.check_beside_a_good_file(bad, "is not a result file")
                bad.unlink()

    def test_result_of_another_model(self):
        other = self.folder / "other"
        other.mkdir()
        scene.make_model(other, 3, kinds=[".q7f"])
        bad = self.work / "other.q7f"
        shutil.copyfile(other / "part.q7f", bad)
        self.check_beside_a_good_file(bad, "belongs to another model", "19980")

    def test_result_that_is_mapped_already(self):
        bad = self.work / "mapped.q7f"
        shutil.copyfile(self.mapped / "part.q7f", bad)
        self.check_beside_a_good_file(bad, "is a result on the cut-cell mesh already")

    def test_write_protected_result_is_not_replaced(self):
        bad = self.copy(".q7f", "protected.q7f", self.work)
        bad.chmod(0o444)
        self.check_beside_a_good_file(bad, "write-protected", "--output")
        self.assertEqual(bad.stat().st_mode & 0o777, 0o444)

    def test_write_protected_result_is_mapped_elsewhere(self):
        bad = self.copy(".q7f", "protected.q7f", self.work)
        bad.chmod(0o444)
        done("map", self.mesh, bad, "-o", self.work / "elsewhere.q7f")
        self.assertEqual(digest(self.work / "elsewhere.q7f"), digest(self.mapped / "part.q7f"))

    def test_write_protected_target_is_not_replaced(self):
        target = self.work / "target.q7f"
        target.write_bytes(b"keep me")
        target.chmod(0o400)
        before = {entry: digest(entry) for entry in self.work.iterdir()}
        self.assert_reported(run("map", self.mesh, self.model / "part.q7f", "-o", target), target, "write-protected")
        self.assert_untouched(before)

    def test_write_protected_old_voxel_file_is_not_replaced(self):
        bad = self.copy(".q7f", "part.q7f", self.work)
        vox(bad).write_bytes(b"keep me")
        vox(bad).chmod(0o444)
        self.check_beside_a_good_file(bad, "write-protected", named=vox(bad))

    @not_under_wine("locks of Linux programs are none for Windows programs; FileAccess tests cover those of Windows")
    def test_locked_result(self):
        bad = self.copy(".q7f", "locked.q7f", self.work)
        with bad.open("r+b") as writer:
            fcntl.flock(writer, fcntl.LOCK_EX)
            self.check_beside_a_good_file(bad, "in use by another program")
        done("map", self.mesh, bad, "-o", self.work / "later.q7f")  # free again

    @not_under_wine("locks of Linux programs are none for Windows programs; FileAccess tests cover those of Windows")
    def test_result_with_a_locked_region(self):
        bad = self.copy(".q7f", "locked.q7f", self.work)
        with bad.open("r+b") as writer:
            fcntl.lockf(writer, fcntl.LOCK_EX, 100, 1000)  # gone as soon as this process closes the file, however often it opened it
            outcome = run("map", self.mesh, bad)
        self.assert_reported(outcome, bad, "in use by another program")
        self.assert_untouched({bad: digest(self.model / "part.q7f"), self.good: digest(self.good)})

    @not_under_wine("locks of Linux programs are none for Windows programs; FileAccess tests cover those of Windows")
    def test_result_that_others_read_is_mapped(self):
        bad = self.copy(".q7f", "read.q7f", self.work)
        with bad.open("rb") as viewer:
            fcntl.flock(viewer, fcntl.LOCK_SH)
            done("map", self.mesh, bad, "-o", self.work / "mapped.q7f")

    # Names.

    def test_name_without_extension(self):
        self.check_beside_a_good_file(self.copy(".q7f", "part", self.work), "no extension")

    def test_upper_case_extension(self):
        self.check_beside_a_good_file(self.copy(".q7f", "part.Q7F", self.work), "'.Q7F'", "case matters")

    def test_extension_of_no_kind(self):
        self.check_beside_a_good_file(self.copy(".q7f", "part.q7fx", self.work), "'.q7fx'")

    def test_dot_in_the_name_of_a_folder_only(self):
        folder = self.folder / "runs.q7f"
        folder.mkdir()
        bad = self.copy(".q7f", "part", folder)
        self.check_beside_a_good_file(bad, "no extension")
        self.assert_untouched({bad: digest(self.model / "part.q7f")})

    def test_blanks_and_letters_of_all_kinds_in_a_path_are_no_fault(self):
        folder = self.scratch / "Läufe 2024 – 部品 (α)"
        folder.mkdir()
        self.addCleanup(shutil.rmtree, folder)
        mesh = folder / "Gehäuse ñ.krn"
        shutil.copyfile(self.mesh, mesh)
        file = self.copy(".q7f", "füllung 1. versuch.q7f", folder)
        vox(file).write_bytes(b"old")
        voxel_data = digest(file)
        self.assertIn(str(file), done("map", mesh, file))
        self.assertEqual(names(folder), sorted([mesh.name, file.name, vox(file).name]))
        self.assertEqual(digest(vox(file)), voxel_data)
        target = folder / "ü b e r.q7f"
        done("map", mesh, vox(file), "-o", target)
        self.assertEqual(digest(target), digest(file))

    def test_file_named_twice(self):
        before = {self.good: digest(self.good)}
        self.assert_reported(run("map", self.mesh, self.good, self.work / ".." / "work" / "good.q7p"),
                             self.work / ".." / "work" / "good.q7p", "named twice")
        self.assert_untouched(before)

    def test_wrong_usage(self):
        before = {self.good: digest(self.good)}
        for wrong in (["map"], ["map", self.mesh], ["map", self.mesh, self.good, "--mode", 3], ["map", self.mesh, self.good, "--mode", "x"],
                      ["map", self.mesh, self.good, "--no-such-option"], ["map", self.mesh, self.good, "--part-insert-mode", -1]):
            with self.subTest(wrong):
                self.assertEqual(run(*wrong).returncode, 2)
        self.assert_untouched(before)

    # Targets that cannot be written.

    def check_no_target(self, target, named, *words, sources=None, **how):
        sources = sources or [self.good]
        before = {self.good: digest(self.good)}
        self.assert_reported(run("map", self.mesh, *sources, "-o", target, **how), named, *words)
        self.assert_untouched(before)

    def test_target_folder_missing(self):
        target = self.work / "missing" / "mapped.q7p"
        self.check_no_target(target, target, "cannot be written")
        self.assertEqual(names(self.work), ["good.q7p"])

    def test_target_folder_of_several_missing(self):
        target = self.work / "missing"
        self.check_no_target(target, target, "is no folder", sources=[self.good, self.model / "part.q7f"])

    def test_folder_in_the_place_of_a_target(self):
        outer = self.folder / "outer"
        (outer / "good.q7p").mkdir(parents=True)
        self.check_no_target(outer, outer / "good.q7p")
        self.assertEqual([names(outer), names(outer / "good.q7p")], [["good.q7p"], []])

    def test_folder_in_the_place_of_the_old_voxel_file(self):
        for content in ([], ["precious"]):
            with self.subTest(content):
                bad = self.copy(".q7f", "part.q7f", self.work)
                vox(bad).mkdir()
                for name in content:
                    (vox(bad) / name).touch()
                outcome = run("map", self.mesh, bad)
                self.assert_reported(outcome, vox(bad))
                self.assertEqual(digest(bad), digest(self.model / "part.q7f"))
                self.assertEqual([names(self.work), names(vox(bad))], [sorted(["good.q7p", "part.q7f", "part_vox.q7f"]), content])
                shutil.rmtree(vox(bad))

    def test_the_mesh_is_no_target(self):
        mesh = self.work / "part.krn"
        shutil.copyfile(self.mesh, mesh)
        before = {self.good: digest(self.good), mesh: digest(mesh)}
        self.assert_reported(run("map", mesh, self.good, "-o", mesh), mesh, "mesh file")
        self.assert_untouched(before)

    def run_as_nobody(self, *arguments):
        """The superuser may write everywhere, so the program runs as somebody else."""
        if os.getuid() != 0:
            return run(*arguments)
        usable = subprocess.run([scene.TAV3D, "--version"], user=NOBODY, group=NOBODY, extra_groups=[], capture_output=True)
        if usable.returncode != 0:
            self.skipTest("the program cannot be run by another user")
        return run(*arguments, user=NOBODY, group=NOBODY, extra_groups=[])

    def give_to_nobody(self, *paths):
        self.scratch.chmod(0o755)
        self.folder.chmod(0o755)
        for path in paths:
            if os.getuid() == 0:
                shutil.chown(path, NOBODY, NOBODY)

    @not_under_wine("another user's wine is no part of this test")
    def test_target_folder_read_only(self):
        target = self.folder / "read-only"
        target.mkdir()
        self.give_to_nobody(target)
        target.chmod(0o555)
        before = {self.good: digest(self.good)}
        outcome = self.run_as_nobody("map", self.mesh, self.good, "-o", target)
        self.assert_reported(outcome, target / "good.q7p", "cannot be written")
        self.assert_untouched(before)
        self.assertEqual(names(target), [])
        target.chmod(0o755)

    @not_under_wine("another user's wine is no part of this test")
    def test_folder_read_only_in_place(self):
        self.give_to_nobody(self.work, self.good)
        self.work.chmod(0o555)
        before = {self.good: digest(self.good)}
        outcome = self.run_as_nobody("map", self.mesh, self.good)
        self.assert_reported(outcome, self.good, "cannot be written")
        self.assert_untouched(before)
        self.work.chmod(0o755)

    @not_under_wine("another user's wine is no part of this test")
    def test_result_that_may_not_be_read(self):
        bad = self.copy(".q7f", "secret.q7f", self.work)
        self.give_to_nobody(self.work, bad, self.good)
        bad.chmod(0o200)
        before = {self.good: digest(self.good), bad: digest(bad) if os.getuid() == 0 else None}
        outcome = self.run_as_nobody("map", self.mesh, bad, "-o", self.work / "mapped.q7f")
        self.assert_reported(outcome, bad, "cannot be opened")
        bad.chmod(0o600)
        before[bad] = before[bad] or digest(self.model / "part.q7f")
        self.assert_untouched(before)

    # No room. The size limit of a process stands in for a disk that is full in the middle of writing.

    def limited(self, *arguments, limit):
        set_limit = lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit))
        return run(*arguments, preexec_fn=set_limit, restore_signals=False)  # SIGXFSZ stays ignored, and writing fails

    def sizes(self):
        return [0, 4096, 100_000, (self.mapped / "part.q7f").stat().st_size - 1]

    @not_under_wine("the limit would hold for wine's own files too")
    def test_no_room_in_place(self):
        for limit in self.sizes():
            for old in (None, b"old"):
                if old is None and limit != 100_000:
                    continue  # without an old file the run waits
                with self.subTest(limit=limit, old=old):
                    bad = self.copy(".q7f", "part.q7f", self.work)
                    if old:
                        vox(bad).write_bytes(old)
                    outcome = self.limited("map", self.mesh, bad, limit=limit)
                    self.assert_reported(outcome, bad, "be written")
                    self.assertEqual(digest(bad), digest(self.model / "part.q7f"))
                    self.assertEqual(set(names(self.work)) - {"part_vox.q7f"}, {"good.q7p", "part.q7f"})
                    vox(bad).unlink(missing_ok=True)

    @not_under_wine("the limit would hold for wine's own files too")
    def test_no_room_elsewhere(self):
        for limit in self.sizes():
            with self.subTest(limit=limit):
                self.assert_reported(self.limited("map", self.mesh, self.good, "-o", self.work / "mapped.q7p", limit=min(limit, 100_000)),
                                     self.work / "mapped.q7p", "be written")
                self.assertEqual(names(self.work), ["good.q7p"])

    @not_under_wine("the limit would hold for wine's own files too")
    def test_no_room_to_replace_an_older_mapped_result(self):
        # The older result stays, and must not be taken for a new one.
        for in_place in (False, True):
            with self.subTest(in_place=in_place):
                target = self.work / "part.q7f"
                shutil.copyfile(self.mapped / "part.q7f", target)
                if in_place:
                    shutil.copyfile(self.model / "part.q7f", vox(target))
                before = {entry: digest(entry) for entry in self.work.iterdir()}
                where = [target] if in_place else [self.model / "part.q7f", "-o", target]
                self.assert_reported(self.limited("map", self.mesh, *where, limit=100_000), target, "could not be written")
                self.assert_untouched(before)

    @not_under_wine("the limit would hold for wine's own files too")
    def test_no_room_after_an_interrupted_run(self):
        # The voxel data stand under their "_vox" name alone, and stay there.
        target = self.work / "part.q7f"
        shutil.copyfile(self.model / "part.q7f", vox(target))
        before = {entry: digest(entry) for entry in self.work.iterdir()}
        self.assert_reported(self.limited("map", self.mesh, target, limit=100_000), target, "could not be written")
        self.assert_untouched(before)
        outcome = run("map", self.mesh, target)
        self.assertEqual((outcome.returncode, outcome.stdout), (0, f"{target}: mapped from {vox(target)}\n"))
        self.assertIn("after an interrupted run", outcome.stderr)
        self.assert_untouched({**before, target: digest(self.mapped / "part.q7f")})

    @not_under_wine("wine does not run in a name space of its own")
    def test_full_disk(self):
        program = """
set -e
mount -t tmpfs -o size=600k tmpfs "$1" || exit 77
cp "$3" "$1/part.q7f"
status=0
"$4" map "$2" "$1/part.q7f" || status=$?
ls "$1"
cmp "$3" "$1/part.q7f"
exit $status
"""
        size = (self.model / "part.q7f").stat().st_size
        disk = self.folder / "disk"
        disk.mkdir()
        program = program.replace("600k", f"{(size + 300_000) // 1024}k")
        outcome = subprocess.run(["unshare", "-m", "sh", "-c", program, "sh", disk, self.mesh, self.model / "part.q7f", scene.TAV3D],
                                 capture_output=True, text=True)
        if outcome.returncode in (77, 126, 127) or "unshare" in outcome.stderr:
            self.skipTest(f"no disk of its own can be mounted here: {outcome.stderr.strip()}")
        self.assert_reported(outcome, disk / "part.q7f", "not enough room on the disk")
        self.assertEqual(outcome.stdout, "part.q7f\n")

    # Meshes that cannot be used: nothing else is looked at.

    def check_mesh(self, mesh, *words):
        before = {entry: digest(entry) for entry in self.work.iterdir()}
        self.assert_reported(run("map", mesh, self.good), mesh, *words)
        self.assert_untouched(before)

    def test_mesh_missing(self):
        self.check_mesh(self.work / "missing.krn")

    def test_mesh_is_a_folder(self):
        self.check_mesh(self.folder)

    def test_mesh_truncated(self):
        whole = self.mesh.read_bytes()
        for length in (0, 96, len(whole) // 2, len(whole) - 1):
            with self.subTest(length=length):
                (self.work / "cut.krn").write_bytes(whole[:length])
                self.check_mesh(self.work / "cut.krn")

    def test_mesh_that_is_a_result(self):
        shutil.copyfile(self.model / "part.q7f", self.work / "result.krn")
        self.check_mesh(self.work / "result.krn")


if __name__ == "__main__":
    scene.main()
