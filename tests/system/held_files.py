"""What `tav3d map` does on Windows while another program holds a file open without letting others in.

usage: held_files.py TAV3D HOLD_FILE [unittest arguments]
"""

import contextlib
import os
import pathlib
import re
import shutil
import socket
import subprocess
import sys
import time

import scene
from scene import Scene, digest, done, names, run, vox

HOLD_FILE = os.path.abspath(sys.argv.pop(1))


class HeldFiles(Scene):
    cell_size = 3
    kinds = [".q7f"]

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.voxel = cls.model / "part.q7f"
        cls.expected = cls.scratch / "copied" / "part.q7f"  # mapped as the tests do it: a copy, in place
        cls.expected.parent.mkdir()
        shutil.copyfile(cls.voxel, cls.expected)
        done("map", cls.mesh, cls.expected)

    @contextlib.contextmanager
    def held(self, file):
        """Another program holds the file; gives what lets go of it."""
        holder = subprocess.Popen([HOLD_FILE, file], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)

        def let_go():
            if not holder.stdin.closed:
                holder.stdin.close()
                holder.wait()

        try:
            self.assertEqual(holder.stdout.readline().strip(), "held")
            yield let_go
        finally:
            let_go()
            holder.stdout.close()

    def wait_until_it_waits(self, process):
        """Returns while the process is in a wait of the program's: all its threads have slept for a quarter of a second, and it has used no processor time."""
        asleep = 0
        used = None
        while asleep < 25:
            self.assertIsNone(process.poll(), "it has not waited")
            time.sleep(0.01)
            try:
                now = [file.read_text().rpartition(")")[2].split() for file in pathlib.Path(f"/proc/{process.pid}/task").glob("*/stat")]
            except OSError:  # a thread that has ended
                continue
            state, before, used = {fields[0] for fields in now}, used, [fields[11:13] for fields in now]
            asleep = asleep + 1 if state == {"S"} and used == before else 0

    def test_held_result_is_left_alone(self):
        file = self.copy(".q7f")
        with self.held(file):
            outcome = run("map", self.mesh, file)
        self.assertEqual((outcome.returncode, outcome.stdout), (1, ""))
        self.assertEqual(outcome.stderr, f"tav3d: error: {file}: is in use by another program, which has locked it\n")
        self.assertEqual((names(self.folder), digest(file)), ([file.name], digest(self.voxel)))

    def test_old_voxel_file_that_is_let_go_after_a_while_gives_way(self):
        file = self.copy(".q7f")
        vox(file).write_bytes(b"old")
        # A file of a process of this computer that has ended; it goes away when the program has started and found all in order. Windows has a shorter
        # name for the computer.
        whole = socket.gethostname()
        abandoned = [self.folder / f"part.q7f.tmp-{re.sub('[^A-Za-z0-9]', '_', name)}-{2**31 - 1}-0" for name in {whole, whole.split(".")[0][:15].upper()}]
        for file_of_ended in abandoned:
            file_of_ended.touch()
        with self.held(vox(file)) as let_go:
            mapping = subprocess.Popen([scene.TAV3D, "map", self.mesh, file], stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
            while all(name.exists() for name in abandoned) and mapping.poll() is None:
                time.sleep(0.01)
            self.wait_until_it_waits(mapping)  # the removal is tried three times within a second
            let_go()
            _, errors = mapping.communicate(timeout=300)
        self.assertEqual(mapping.returncode, 0, errors)
        self.assertEqual((digest(file), digest(vox(file))), (digest(self.expected), digest(self.voxel)))

    def test_old_voxel_file_that_stays_held_keeps_the_result_where_it_is(self):
        file = self.copy(".q7f")
        vox(file).write_bytes(b"old")
        with self.held(vox(file)):
            outcome = run("map", self.mesh, file)
        self.assertEqual((outcome.returncode, outcome.stdout), (1, ""))
        self.assertEqual(outcome.stderr,
                         f"Error renaming Vox file: Permission denied.\ntav3d: error: {file}: a file could not be opened or moved aside\n")
        self.assertEqual((names(self.folder), digest(file)), ([file.name, vox(file).name], digest(self.voxel)))
        self.assertEqual(vox(file).read_bytes(), b"old")

    def test_target_that_stays_held_is_told(self):
        target = self.folder / "mapped.q7f"
        target.write_bytes(b"old")
        with self.held(target):
            outcome = run("map", self.mesh, self.voxel, "-o", target)
        self.assertEqual((outcome.returncode, outcome.stdout), (1, ""))
        name = re.escape(str(target))  # then the system's words, and the program's
        self.assertRegex(outcome.stderr, f"^{name}: [^\n]+\ntav3d: error: {name}: the mapped result could not be written\n$")
        self.assertEqual((names(self.folder), target.read_bytes()), ([target.name], b"old"))

    def test_folders_of_backslashes_and_a_drive_letter(self):
        folder = self.folder / "Läufe 2024" / "部品 (α)"
        folder.mkdir(parents=True)
        shutil.copyfile(self.voxel, folder / "füllung.q7f")
        named = "Z:" + str(folder).replace("/", "\\") + "\\füllung.q7f"
        self.assertEqual(done("map", self.mesh, named), f"{named}: mapped from {named.replace('.q7f', '_vox.q7f')}\n")
        self.assertEqual(digest(folder / "füllung.q7f"), digest(self.expected))
        self.assertEqual(digest(folder / "füllung_vox.q7f"), digest(self.voxel))

    def test_path_of_more_than_260_characters_works_or_its_length_is_told(self):
        folder = self.folder / ("x" * 120) / ("y" * 120)
        folder.mkdir(parents=True)
        target = folder / "mapped.q7f"
        outcome = run("map", self.mesh, self.voxel, "-o", target)
        if outcome.returncode == 0:
            expected = self.folder / "x" / "y" / "mapped.q7f"
            expected.parent.mkdir(parents=True)
            done("map", self.mesh, self.voxel, "-o", expected)
            self.assertEqual(digest(target), digest(expected))
        else:
            self.assertIn("unless long paths are enabled", outcome.stderr)
            self.assertEqual(names(folder), [])


if __name__ == "__main__":
    scene.main()
