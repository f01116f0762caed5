"""Maps all kinds of result files of a real part and holds every item against numpy's own computation.

usage: mapping_on_housing.py TAV3D [unittest arguments]
"""

import shutil

import h5py
import numpy
import scene
from mapping_by_numpy import Model
from scene import KINDS, Scene, done
from suite_files import read_result, read_zone


class MappingOnHousing(Scene):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.reference = Model(read_zone(cls.mesh, "Voxel"), read_zone(cls.mesh, "CutCell"))
        cls.voxel_results = {kind: read_result(cls.model / f"part{kind}") for kind in KINDS}

    def check_file(self, target, voxel, expected, reference=None):
        """All bits of all items, their order, their extremes, the ID maps and the rest of the description."""
        result = read_result(target)
        reference = reference or self.reference
        self.assertEqual(result.zone, "CutCell")
        self.assertEqual([(i.number, i.type, i.name, i.unit) for i in result.items],
                         [(i.number, i.type, i.name, i.unit) for i in voxel.items])
        self.assertEqual(result.node_counts[:2], [reference.voxel.node_total, reference.cut_cell.node_total])
        self.assertEqual((result.cooling, result.output_times, result.has_venting),
                         (voxel.cooling, voxel.output_times, voxel.has_venting))
        for item, want in zip(result.items, expected):
            with self.subTest(file=target.name, item=item.number):
                if want.keeps_voxel_layout:
                    self.assertEqual(item.storage, 3)
                elif want.ids is None:
                    self.assertEqual(item.storage, 1)
                else:
                    self.assertEqual(item.storage, 2)
                    self.assertEqual(result.types[item.type], (len(want.ids), 1))
                    numpy.testing.assert_array_equal(result.ids[item.type], want.ids)
                self.assertEqual(item.stored.dtype, numpy.float32)
                self.assert_same_bits(item.stored, want.stored)
                self.assert_same_bits(numpy.array([item.max, item.min]), numpy.array([want.max, want.min]))
        return result

    def assert_same_bits(self, found, wanted):
        self.assertEqual(found.shape, wanted.shape)
        different = numpy.flatnonzero(found.view(numpy.uint32) != wanted.astype(numpy.float32).view(numpy.uint32))
        if len(different):
            k = different[0]
            self.fail(f"{len(different)} of {len(found)} values differ, the first at entry {k + 1}: {found[k]!r}, not {wanted[k]!r}")

    def check_run(self, mode, part_insert_mode, smooth=False):
        target = self.folder / "mapped"
        target.mkdir()
        files = [self.model / f"part{kind}" for kind in KINDS]
        done("map", self.mesh, *files, "--mode", mode, "--part-insert-mode", part_insert_mode, "--filling-time", 1.25,
             *(["--smooth"] if smooth else []), "-o", target)
        self.assertEqual(scene.names(target), sorted(file.name for file in files))
        for kind in KINDS:
            voxel = self.voxel_results[kind]
            expected = self.reference.map(voxel, kind, mode, part_insert_mode, smooth)
            result = self.check_file(target / f"part{kind}", voxel, expected)
            self.assertEqual(result.filling_time, 1.25)

    # Besides bits, the runs differ from each other: what a mode is there for shows on this part.

    def test_mode_0_takes_the_assigned_node(self):
        for insert_mode in (0, 1):
            with self.subTest(part_insert_mode=insert_mode):
                self.check_run(0, insert_mode)
                shutil.rmtree(self.folder / "mapped")
        plain = self.reference.map(self.voxel_results[".q7f"], ".q7f", 0, 0)
        marked = self.reference.map(self.voxel_results[".q7f"], ".q7f", 1, 0)
        self.assertTrue(any((a.stored != b.stored).any() for a, b in zip(plain, marked)))

    def test_mode_1_part_and_insert_apart(self):
        self.check_run(1, 0)

    def test_mode_1_part_and_insert_together(self):
        self.check_run(1, 1)
        apart = self.reference.map(self.voxel_results[".q7c"], ".q7c", 1, 0)
        together = self.reference.map(self.voxel_results[".q7c"], ".q7c", 1, 1)
        self.assertTrue(any(len(a.stored) != len(b.stored) or (a.stored != b.stored).any() for a, b in zip(apart, together)))

    def test_mode_1_smoothed_part_and_insert_apart(self):
        self.check_run(1, 0, smooth=True)

    def test_mode_1_smoothed_part_and_insert_together(self):
        self.check_run(1, 1, smooth=True)

    def test_mode_2_part_and_insert_apart(self):
        self.check_run(2, 0)

    def test_mode_2_part_and_insert_together(self):
        self.check_run(2, 1)

    def rough_model(self, torn_insert):
        """The same nodes with surfaces that hang in tatters, and scaled. Few nodes of a kind are in reach of each other then, and insert
        nodes are on no facet of the part: what seldom or never happens on a sound mesh."""
        mesh = self.folder / "rough.krn"
        shutil.copyfile(self.mesh, mesh)
        generator = numpy.random.default_rng(5)
        with h5py.File(mesh, "r+") as file:
            base = file["Base"]
            base["MeshFile/ScaleFactor"][" data"][0] = 0.9371
            for zone, share in [("Voxel", 0.96), ("CutCell", 0.6)]:
                flag = base[zone]["Surface/FacetData/Flag"][" data"]
                flag[...] = numpy.where(generator.random(flag.shape) < share, 0, flag[:])
            interface = base["Voxel/PartInsert/FacetData/IsInterface"][" data"]
            interface[...] = numpy.where(generator.random(interface.shape) < torn_insert, 0, interface[:])
        return mesh, Model(read_zone(mesh, "Voxel"), read_zone(mesh, "CutCell"))

    def check_rough(self, mesh, reference, runs):
        for mode, insert_mode, smooth in runs:
            for kind in (".q7f", ".q7c"):
                with self.subTest(mode=mode, part_insert_mode=insert_mode, kind=kind):
                    target = self.folder / f"mapped{kind}"
                    done("map", mesh, self.model / f"part{kind}", "--mode", mode, "--part-insert-mode", insert_mode,
                         *(["--smooth"] if smooth else []), "-o", target)
                    voxel = self.voxel_results[kind]
                    self.check_file(target, voxel, reference.map(voxel, kind, mode, insert_mode, smooth), reference)

    def test_rough_surfaces_with_hardly_any_insert(self):
        mesh, reference = self.rough_model(0.97)
        self.assertTrue((reference._search(False)[1] == 0).any(), "every kind has ten voxel nodes in reach")
        self.check_rough(mesh, reference, [(1, 0, True), (2, 1, False)])

    def test_rough_surfaces_with_half_an_insert(self):
        mesh, reference = self.rough_model(0.5)
        self.assertTrue((reference._search(True)[0].region == 2).any())
        self.check_rough(mesh, reference, [(1, 0, True), (1, 1, True), (2, 1, False)])

    def test_smoothing_is_left_out_in_modes_0_and_2(self):
        for mode in (0, 2):
            done("map", self.mesh, self.model / "part.q7f", "--mode", mode, "--smooth", "-o", self.folder / f"asked{mode}.q7f")
            done("map", self.mesh, self.model / "part.q7f", "--mode", mode, "-o", self.folder / f"plain{mode}.q7f")
            self.assertEqual(scene.digest(self.folder / f"asked{mode}.q7f"), scene.digest(self.folder / f"plain{mode}.q7f"))

    def test_cooling_items_under_a_filling_name_follow_the_rules_of_filling(self):
        # The name alone tells the kind: all items are mapped then, and those on the part surface keep the voxel file's node list.
        source = self.copy(".q7c", "renamed.q7f")
        done("map", self.mesh, source, "-o", self.folder / "mapped.q7f")
        voxel = self.voxel_results[".q7c"]
        expected = self.reference.map(voxel, ".q7f", 1, 0)
        self.check_file(self.folder / "mapped.q7f", voxel, expected)
        self.assertIn(5, voxel.types)
        self.assertFalse(any(item.keeps_voxel_layout for item in expected))

    def test_the_samples_hold_what_these_tests_are_about(self):
        cooling = self.reference.map(self.voxel_results[".q7c"], ".q7c", 1, 0)
        self.assertEqual(sum(item.keeps_voxel_layout for item in cooling), 2)
        types = {kind: {item.type for item in result.items} for kind, result in self.voxel_results.items()}
        self.assertTrue(all(3 in t for t in types.values()), types)
        self.assertTrue(all(5 in types[kind] for kind in (".q7c", ".q7hc", ".rsc")), types)
        rows = self.reference.gauss_rows
        self.assertTrue((rows.count == 50).any() and (rows.count < 50).any())
        together = self.reference.map(self.voxel_results[".q7c"], ".q7c", 1, 1)
        self.assertTrue((together[0].source[1:] == 0).any(), "no node gets the recorded minimum")


if __name__ == "__main__":
    scene.main()
