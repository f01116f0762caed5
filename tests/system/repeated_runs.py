"""The same call gives the same bytes: once more, in place and elsewhere, one file at a time and several in one call.

usage: repeated_runs.py TAV3D [unittest arguments]
"""

import shutil

import numpy
import scene
from scene import KINDS, Scene, digest, done, names, run, vox
from suite_files import read_result, read_zone


class RepeatedRuns(Scene):
    def setUp(self):
        super().setUp()
        self.one = self.folder / "one"
        self.two = self.folder / "two"
        self.one.mkdir()
        self.two.mkdir()

    def test_the_same_call_twice_gives_the_same_bytes(self):
        files = [self.model / f"part{kind}" for kind in KINDS]
        done("map", self.mesh, *files, "--smooth", "-o", self.one)
        done("map", self.mesh, *files, "--smooth", "-o", self.two)
        for file in files:
            self.assertEqual(digest(self.one / file.name), digest(self.two / file.name), file.name)

    def test_files_of_one_call_do_not_depend_on_each_other(self):
        files = [self.model / f"part{kind}" for kind in KINDS]
        done("map", self.mesh, *reversed(files), "--smooth", "-o", self.one)
        for file in files:
            done("map", self.mesh, file, "--smooth", "-o", self.two / file.name)
            self.assertEqual(digest(self.one / file.name), digest(self.two / file.name), file.name)

    def test_in_place_gives_the_bytes_that_output_gives_and_so_does_mapping_again(self):
        file = self.copy(".q7f", folder=self.one)
        voxel_data = digest(file)
        elsewhere = self.one / "elsewhere.q7f"  # in the same folder, as a result names its mesh from where it stands
        done("map", self.mesh, file, "-o", elsewhere)
        output = done("map", self.mesh, file)
        self.assertEqual(output, f"{file}: mapped from {vox(file)}\n")
        self.assertEqual(names(self.one), ["elsewhere.q7f", "part.q7f", "part_vox.q7f"])
        self.assertEqual((digest(vox(file)), digest(file)), (voxel_data, digest(elsewhere)))

        again = run("map", self.mesh, file)
        self.assertEqual(again.returncode, 0)
        self.assertIn("mapped again from", again.stderr)
        self.assertEqual((digest(vox(file)), digest(file)), (voxel_data, digest(elsewhere)))

        # Other options take effect on the voxel data, not on what was mapped before.
        done("map", self.mesh, file, "--mode", 0)
        self.assertNotEqual(digest(file), digest(elsewhere))
        done("map", self.mesh, vox(file), "--mode", 0, "-o", elsewhere)
        self.assertEqual((digest(vox(file)), digest(file)), (voxel_data, digest(elsewhere)))

    def test_an_old_voxel_file_gives_way(self):
        file = self.copy(".q7f", folder=self.one)
        vox(file).write_bytes(b"old")
        done("map", self.mesh, file)
        self.assertEqual(digest(vox(file)), digest(self.model / "part.q7f"))

    def test_output_names_a_file_or_a_folder(self):
        source = self.model / "part.q7p"
        self.assertEqual(done("map", self.mesh, source, "-o", self.one), f"{self.one / 'part.q7p'}: mapped from {source}\n")
        self.assertEqual(done("map", self.mesh, source, "-o", self.two / "other.q7p"), f"{self.two / 'other.q7p'}: mapped from {source}\n")
        self.assertEqual((names(self.one), names(self.two)), (["part.q7p"], ["other.q7p"]))
        self.assertEqual(digest(self.one / "part.q7p"), digest(self.two / "other.q7p"))

    def test_relative_names_work_from_any_folder(self):
        shutil.copyfile(self.model / "part.q7f", self.one / "part.q7f")
        shutil.copyfile(self.mesh, self.one / "part.krn")
        done("map", "part.krn", "part.q7f", "-o", "../two", cwd=self.one)
        done("map", self.one / "part.krn", self.one / "part.q7f", "-o", self.one / "absolute.q7f")
        here, there = read_result(self.one / "absolute.q7f"), read_result(self.two / "part.q7f")
        for a, b in zip(here.items, there.items):
            numpy.testing.assert_array_equal(a.stored, b.stored)
        self.assertEqual(done("info", "../two/part.q7f", cwd=self.one).count("Melt-front time"), 1)

    def test_tecplot_files_hold_the_first_two_captured_items(self):
        done("map", self.mesh, self.model / "part.q7f", "-o", self.one / "part.q7f", "--tecplot", cwd=self.two)
        self.assertEqual(names(self.two), ["CutCellResultt=2.000000_.plt", "VoxelResultt=1.000000_.plt"])
        voxel, cut_cell = read_zone(self.mesh, "Voxel"), read_zone(self.mesh, "CutCell")
        source = {i.number: i.full[1:] for i in read_result(self.model / "part.q7f").items}
        mapped = {i.number: i.full[1:] for i in read_result(self.one / "part.q7f").items}
        nothing = numpy.zeros(voxel.node_total)
        for name, zone, columns in [("VoxelResultt=1.000000_.plt", voxel, [source[1], nothing]),
                                    ("CutCellResultt=2.000000_.plt", cut_cell, [mapped[1], mapped[6]])]:
            with self.subTest(name):
                lines = (self.two / name).read_text().split("\n")
                self.assertEqual(lines[0], 'VARIABLES="Xcord","Ycord","Zcord","MF","Temp"')
                self.assertEqual(lines[1],
                                 f'ZONE  T="Voxel", N={zone.node_total}, E={len(zone.plastic)}, F=FEPOINT, ET=BRICK')
                table = numpy.loadtxt(lines[2:2 + zone.node_total])
                expected = numpy.stack([zone.x[1:], zone.y[1:], zone.z[1:], *columns], axis=1)
                numpy.testing.assert_allclose(table, expected, rtol=5e-6, atol=1e-30)  # six digits
                self.assertEqual(lines[2 + zone.node_total], "")
                bricks = numpy.loadtxt(lines[3 + zone.node_total:-1], dtype=int)
                wanted = numpy.array([list(e) + [e[-1]] * (8 - len(e)) for e in zone.plastic])
                numpy.testing.assert_array_equal(bricks, wanted)

    def test_nothing_but_data_stands_on_standard_output(self):
        outcome = run("map", self.mesh, self.model / "part.q7f", "--mode", 1, "--smooth", "--tecplot", "-o", self.one, cwd=self.two)
        self.assertEqual(outcome.stdout, f"{self.one / 'part.q7f'}: mapped from {self.model / 'part.q7f'}\n")
        self.assertIn("TotalNode = ", outcome.stderr)  # what the library prints
        self.assertNotIn("\033", outcome.stderr)  # no bar where there is no terminal


if __name__ == "__main__":
    scene.main()
