"""Kills `tav3d map` at every stage of an in-place run. Afterwards the voxel data stand complete under one of their two names, nothing unfinished under
the name of the result, and the same call once more does the job and clears up.

usage: killed_runs.py TAV3D [unittest arguments]
"""

import random
import re
import shutil
import signal
import socket
import subprocess
import time

import scene
from scene import Scene, digest, done, names, not_under_wine, run, vox

MOMENTS = 15
ATTEMPTS = 30  # to meet a run at a stage; the first or second mostly does

# What can stand in the folder after a kill.
BEFORE = ("part.q7f",)
BEFORE_WITH_OLDER = COMPLETE = ("part.q7f", "part_vox.q7f")
MOVED = ("part_vox.q7f",)
WRITING = ("part_vox.q7f", "temporary")


class KilledRuns(Scene):
    cell_size = 1.25  # so that a run lasts
    kinds = [".q7f"]
    met = set()  # the tests whose stage was met

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.voxel_data = digest(cls.model / "part.q7f")
        folder = cls.scratch / "undisturbed"
        cls.prepare(folder, waits=False)
        begin = time.monotonic()
        done("map", cls.mesh, folder / "part.q7f", "--smooth")
        cls.duration = time.monotonic() - begin
        cls.mapped_data = digest(folder / "part.q7f")

    @classmethod
    def tearDownClass(cls):
        super().tearDownClass()
        print(f"met at {len(cls.met)} stages: {', '.join(sorted(cls.met))}", flush=True)
        if not cls.met:
            raise AssertionError("no run was met at any stage, so nothing was tested")

    @classmethod
    def prepare(cls, folder, waits):
        """A fresh folder with the voxel result, and an older "_vox" file unless the run is to wait for it to go away."""
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir()
        shutil.copyfile(cls.model / "part.q7f", folder / "part.q7f")
        if not waits:
            (folder / "part_vox.q7f").write_bytes(b"older")

    def setUp(self):
        super().setUp()
        self.work = self.folder / "work"
        self.file = self.work / "part.q7f"
        self.further = []  # results that a run maps after this one

    def start(self):
        """The run goes behind this script where both want the same processor: the script must not miss what it watches."""
        self.begin = time.monotonic()
        return subprocess.Popen(["nice", "-n", "10", scene.TAV3D, "map", self.mesh, self.file, *self.further, "--smooth"], stdout=subprocess.DEVNULL,
                                stderr=subprocess.DEVNULL)

    def temporaries(self):
        return [entry for entry in self.work.iterdir() if ".tmp-" in entry.name]

    def kill_when(self, reached, waits=False):
        """Runs until `reached()` and kills; False when the run was over before that was seen."""
        self.prepare(self.work, waits)
        process = self.start()
        try:
            while process.poll() is None:
                if reached():
                    process.send_signal(signal.SIGKILL)
                    break
        finally:
            process.kill()
            process.wait()
        return process.returncode == -signal.SIGKILL

    def check_aftermath(self):
        """What the killed run left, and that the next run makes good of it. Returns the state: which names stood there."""
        state = tuple(sorted("temporary" if ".tmp-" in name else name for name in names(self.work)))
        voxel_files = [file for file in (self.file, vox(self.file)) if file.exists() and digest(file) == self.voxel_data]
        self.assertEqual(len(voxel_files), 1, state)
        if self.file.exists():
            self.assertIn(digest(self.file), (self.voxel_data, self.mapped_data), state)
        done("map", self.mesh, self.file, "--smooth")
        self.assertEqual(names(self.work), ["part.q7f", "part_vox.q7f"], state)
        self.assertEqual(digest(self.file), self.mapped_data, state)
        self.assertEqual(digest(vox(self.file)), self.voxel_data, state)
        return state

    def kill_at_stage(self, reached, *wanted, waits=False):
        """Kills when `reached()` until the names that stand there afterwards are one of `wanted`: on a busy machine a stage may be over before it is seen, or
        before the signal arrives. What stands there must be sound in any case."""
        states = set()
        for _ in range(ATTEMPTS):
            if self.kill_when(reached, waits):
                state = self.check_aftermath()
                if state in wanted:
                    self.met.add(self._testMethodName)
                    return
                states.add(state)
        self.skipTest(f"the run was not met at this stage in {ATTEMPTS} attempts, but at {states or 'none'}")

    # The stages, told by what stands in the folder.

    def has_moved(self):
        return not self.file.exists()

    def test_before_the_voxel_file_moves(self):
        self.kill_at_stage(lambda: time.monotonic() - self.begin > 0.25 * self.duration, BEFORE_WITH_OLDER)

    def test_while_it_waits_for_an_old_voxel_file_to_go(self):
        # A run that does not wait would be over by then.
        self.kill_at_stage(lambda: time.monotonic() - self.begin > 1.3 * self.duration, BEFORE, waits=True)

    def test_after_the_voxel_file_has_moved(self):
        self.kill_at_stage(self.has_moved, MOVED, WRITING)

    def test_while_the_mapped_result_grows(self):
        for share in (0.01, 0.9):
            with self.subTest(share=share):
                size = share * (self.model / "part.q7f").stat().st_size

                def grown():
                    try:
                        return self.has_moved() and any(file.stat().st_size >= size for file in self.temporaries())
                    except FileNotFoundError:
                        return False

                self.kill_at_stage(grown, WRITING)

    def test_when_the_mapped_result_has_just_taken_its_name(self):
        # The next result of the same call keeps the run busy.
        other = self.folder / "next"
        self.prepare(other, waits=True)
        self.further = [other / "part.q7f"]

        def complete():
            return vox(self.file).exists() and self.file.exists()

        self.kill_at_stage(complete, COMPLETE, waits=True)
        kept = [file for file in (other / "part.q7f", other / "part_vox.q7f") if file.exists() and digest(file) == self.voxel_data]
        self.assertEqual(len(kept), 1, names(other))

    def test_at_any_moment(self):
        moments = random.Random(20).sample(range(1, 1001), MOMENTS)
        states = {}
        for moment in moments:
            with self.subTest(moment=moment):
                self.prepare(self.work, waits=False)
                process = self.start()
                time.sleep(moment / 1000 * self.duration)
                process.kill()
                process.wait()
                state = self.check_aftermath()
                states[state] = states.get(state, 0) + 1
        print("\n", states, f"of runs that take {self.duration:.2f} s", flush=True)
        self.assertEqual(sum(states.values()), MOMENTS)

    def test_a_run_that_was_stopped_twice(self):
        if not any(self.kill_when(self.has_moved) for _ in range(ATTEMPTS)):
            self.skipTest(f"the run was not met at this stage in {ATTEMPTS} attempts")
        self.met.add(self._testMethodName)
        process = self.start()  # goes on from the "_vox" file
        time.sleep(0.6 * self.duration)
        process.kill()
        process.wait()
        self.check_aftermath()

    @not_under_wine("numbers of Linux processes mean nothing to Windows programs; AbandonedTemporaries tests cover it")
    def test_temporary_files_of_running_programs_and_of_other_targets_stay(self):
        self.prepare(self.work, waits=False)
        ended = subprocess.Popen(["true"])
        ended.wait()
        sleeper = subprocess.Popen(["sleep", "100"])
        try:
            here = "tmp-" + re.sub("[^A-Za-z0-9]", "_", socket.gethostname())
            stays = [f"part.q7f.{here}-{sleeper.pid}-0", f"other.q7f.{here}-{ended.pid}-0", f"part.q7f.{here}-{ended.pid}", f"part.q7f.{here}-x-0",
                     f"part.q7f.{here}-{ended.pid}-0.bak", f"part.q7f.{here}elsewhere-{ended.pid}-0", f"part.q7f.tmp-{ended.pid}-0"]
            goes = [f"part.q7f.{here}-{ended.pid}-0", f"part.q7f.{here}-{ended.pid}-17"]
            for name in stays + goes:
                (self.work / name).write_bytes(b"left over")
            done("map", self.mesh, self.file)
            self.assertEqual(names(self.work), sorted(stays + ["part.q7f", "part_vox.q7f"]))
        finally:
            sleeper.kill()
            sleeper.wait()


if __name__ == "__main__":
    scene.main()
