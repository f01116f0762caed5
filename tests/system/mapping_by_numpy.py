"""What a mapping run must produce, worked out with numpy from a mesh file and a voxel result by the shortest way.

Arithmetic follows the mapping bit for bit: doubles and floats round at the same places, sums run in the same order, equal distances go to
the lower number. The exponential is the C library's (math.exp), as numpy's own may differ in the last bit.
"""

import dataclasses
import functools
import math

import numpy
from scipy.spatial import cKDTree

F = numpy.float32

FILE_TYPE = {".q7f": 0, ".q7p": 1, ".q7c": 2, ".rsc": 3, ".q7hc": 4, ".rsf": 6}
COOLING_FAMILY = {2, 3, 4}
TYPES_WITH_REGION_RULE = {2, 4}
MOLD_BASE, PART_INSERT, PLASTIC = range(3)
FIRST_INSERT_BODY = 3


def known_and_cavity(file_type, item):
    """Whether items of the number are mapped in such a file, and whether they are smoothed."""
    if file_type in (0, 1):
        return True, item in {6, 14, 17, 19, 20}
    if file_type in (2, 4):
        return item in {1, 2, 3, 4, 5, 16, 17, 33, 53}, item in {1, 2, 17, 53}
    if file_type == 3:
        return True, False
    if file_type == 6:
        return True, item == 9
    return False, False


def _mark(node_total, nodes):
    mark = numpy.zeros(node_total + 1, bool)
    mark[numpy.asarray(nodes, dtype=numpy.int64).ravel()] = True
    mark[0] = False
    return mark


def _nodes_of(elements):
    return numpy.concatenate(elements) if len(elements) else numpy.empty(0, numpy.int64)


def bodies(zone):
    """Plastic before part insert before mould base, where a node belongs to several."""
    body = numpy.full(zone.node_total + 1, MOLD_BASE)
    insert_elements = [e for e, b in zip(zone.mold_base, zone.mold_base_body) if b >= FIRST_INSERT_BODY]
    body[_nodes_of(insert_elements).astype(numpy.int64)] = PART_INSERT
    body[zone.insert_facet.ravel()] = PART_INSERT
    body[_nodes_of(zone.plastic)] = PLASTIC
    return body


def squared_distance(points, p):
    """dx² + dy² + dz², in this order."""
    d = points - p
    return d[..., 0] * d[..., 0] + d[..., 1] * d[..., 1] + d[..., 2] * d[..., 2]


def assignments(voxel, cut_cell):
    """The nearest voxel node of the same body per cut-cell node. The tree only proposes: all candidates within a hair of its answer are weighed
    again, so that ties are met."""
    voxel_body, cut_cell_body = bodies(voxel), bodies(cut_cell)
    voxel_points, cut_cell_points = voxel.points(), cut_cell.points()
    assigned = numpy.zeros(cut_cell.node_total + 1, numpy.int64)
    for body in (MOLD_BASE, PART_INSERT, PLASTIC):
        sources = 1 + numpy.flatnonzero(voxel_body[1:] == body)
        wanted = 1 + numpy.flatnonzero(cut_cell_body[1:] == body)
        tree = cKDTree(voxel_points[sources])
        near, _ = tree.query(cut_cell_points[wanted])
        for j, candidates in zip(wanted, tree.query_ball_point(cut_cell_points[wanted], near * (1 + 1e-9) + 1e-9)):
            nodes = numpy.sort(sources[candidates])
            assigned[j] = nodes[numpy.argmin(squared_distance(voxel_points[nodes], cut_cell_points[j]))]
    return assigned


@dataclasses.dataclass
class VoxelMarks:
    part: numpy.ndarray
    insert: numpy.ndarray
    fixed: numpy.ndarray
    plastic: numpy.ndarray
    facet: numpy.ndarray  # those that count
    length_squared: numpy.float32  # of the mean element edge


def voxel_marks(zone):
    n = zone.node_total
    counts = (zone.facet_flag == 1) & numpy.isin(zone.facet_kind, [0, 1, 3, 4])
    plastic = _mark(n, _nodes_of(zone.plastic))
    part = _mark(n, zone.facet[counts]) & plastic
    insert = _mark(n, zone.insert_facet[zone.insert_is_interface == 1])
    fixed = _mark(n, zone.facet[(zone.facet_flag == 1) & numpy.isin(zone.facet_kind, [1, 4])])
    points = zone.points()
    length = 0.0
    for element in zone.plastic:
        total = 0.0
        for d2 in squared_distance(points[element], points[element[0]]):
            total += d2
        length += math.sqrt(total / 12)
    mean = F(length) / F(len(zone.plastic))
    return VoxelMarks(part, insert, fixed, plastic, zone.facet[counts], mean * mean)


@dataclasses.dataclass
class CutCellMarks:
    part: numpy.ndarray
    insert: numpy.ndarray
    region: numpy.ndarray
    mold_base: numpy.ndarray


def cut_cell_marks(zone, together):
    n = zone.node_total
    part = _mark(n, zone.facet[(zone.facet_flag == 1) & (zone.facet_kind == 0)])
    region = numpy.where(_mark(n, zone.facet[(zone.facet_flag == 1) & numpy.isin(zone.facet_kind, [0, 3])]), 1, 0)
    insert = _mark(n, zone.insert_facet[zone.insert_is_interface == 1])
    mold_base = _mark(n, _nodes_of(zone.mold_base)) | insert
    region[(region == 0) & insert] = 2
    if together:
        insert = numpy.zeros(n + 1, bool)
    if insert.any():
        for nodes in zone.interfaces:
            insert[nodes] = True
            part[nodes] = True
    return CutCellMarks(part, insert, region, mold_base)


def nearest_of_kind(voxel, marks, voxel_insert, cut_cell, cut_marks):
    """Per marked cut-cell node the nearest voxel node of its kind, of the first cube that holds ten of the kind; 0 when none does; -1 for the others."""
    nearest = numpy.full(cut_cell.node_total + 1, -1, numpy.int64)
    voxel_points, cut_points = voxel.points(), cut_cell.points()
    numbered = marks.plastic | marks.insert  # those that the search knows
    numbered[0] = False
    edge = float(numpy.sqrt(marks.length_squared))
    for part, insert in [(True, False), (False, True), (True, True)]:
        sources = numpy.flatnonzero(numbered & (marks.part == part) & (voxel_insert == insert))
        wanted = numpy.flatnonzero((cut_marks.part == part) & (cut_marks.insert == insert))
        wanted = wanted[wanted > 0]
        nearest[wanted] = 0
        if len(sources) == 0:
            continue
        tree = cKDTree(voxel_points[sources])
        for t in range(10):
            if len(wanted) == 0:
                break
            h = edge * 1.5**t * 2.0
            left = []
            for j, candidates in zip(wanted, tree.query_ball_point(cut_points[wanted], h + 1e-3, p=numpy.inf)):
                nodes = numpy.sort(sources[candidates])
                p, q = cut_points[j], voxel_points[nodes]
                nodes = nodes[numpy.all((q + 1e-6 >= p - h) & (q - 1e-6 <= p + h), axis=1)]
                if len(nodes) < 10:
                    left.append(j)
                else:
                    nearest[j] = nodes[numpy.argmin(squared_distance(voxel_points[nodes], p))]
            wanted = numpy.array(left, numpy.int64)
    return nearest


class GaussRows:
    """Weights of the nodes in three facet rings around each smoothed node, as a table: column 0 the node itself, then its neighbours, nearest first."""

    def __init__(self, voxel, marks):
        points = voxel.points()
        facets_of = {}
        for f, corners in enumerate(marks.facet.tolist()):
            for c in dict.fromkeys(corners):
                facets = facets_of.setdefault(c, [])
                if len(facets) < 9:
                    facets.append(f)
        corners_of = marks.facet.tolist()
        # The order of first visits is that of the full walk: a node that comes again brings nothing new.
        ring = {i: list(dict.fromkeys(c for f in facets for c in corners_of[f])) for i, facets in facets_of.items()}

        def widen(nodes):
            return list(dict.fromkeys(k for c in nodes for k in ring[c]))

        self.node = numpy.flatnonzero((marks.part | marks.insert) & ~marks.fixed)
        neighbours, weights, self_weights = [], [], []
        for i in self.node.tolist():
            met = [k for k in widen(widen(ring.get(i, []))) if k != i and marks.part[k] == marks.part[i]
                   and marks.insert[k] == marks.insert[i] and not marks.fixed[k]][:50]
            met = numpy.array(met, numpy.int64)
            d2 = squared_distance(points[met], points[i])
            order = numpy.lexsort((met, d2))
            row, own = self._weights(d2[order].tolist(), float(marks.length_squared))
            neighbours.append(met[order])
            weights.append(row)
            self_weights.append(own)
        self.count = numpy.array([len(row) for row in neighbours])
        width = int(self.count.max(initial=0))
        self.neighbour = numpy.zeros((len(self.node), width), numpy.int64)
        self.weight = numpy.zeros((len(self.node), width), F)
        for r, (row, weight) in enumerate(zip(neighbours, weights)):
            self.neighbour[r, :len(row)] = row
            self.weight[r, :len(row)] = weight
        self.own = numpy.array(self_weights, F)

    @staticmethod
    @functools.lru_cache(maxsize=None)
    def _weight(d2, length_squared, c):
        deviation2 = float(F(3.1416)) * float(F(1.4)) * float(F(1.4))
        norm = F(1.0 / (deviation2 * math.sqrt(deviation2)))
        return F(math.exp(-d2 / (length_squared * c * c) / float(F(3.92)))) * norm

    def _weights(self, distances2, length_squared):
        for j in range(10):
            c = 1.0 - 0.1 * j
            row = [self._weight(d2, length_squared, c) for d2 in distances2]
            own = F(1.0)
            for w in row:
                own = own - w
            if float(own) > 0.023:
                break
        return row, own

    def smooth(self, value, is_selected):
        """Five sweeps over the rows whose node is selected now and that have neighbours."""
        rows = numpy.flatnonzero(is_selected[self.node] & (self.count > 0))
        node, count = self.node[rows], self.count[rows]
        value = value.copy()
        for _ in range(5):
            before = value.copy()
            total = before[node] * self.own[rows]
            for k in range(self.neighbour.shape[1]):
                has = count > k
                total[has] = total[has] + before[self.neighbour[rows[has], k]] * self.weight[rows[has], k]
            changes = before[node] != 0
            value[node[changes]] = total[changes]
        return value


@dataclasses.dataclass
class Mapped:
    """What stands in the mapped file for one item."""

    keeps_voxel_layout: bool
    ids: numpy.ndarray | None  # of the items that are stored through an ID map
    stored: numpy.ndarray
    max: numpy.float32
    min: numpy.float32
    source: numpy.ndarray | None  # per cut-cell node the voxel node of its value; 0 = none


class Model:
    """A model, and what its mapping runs share."""

    def __init__(self, voxel, cut_cell):
        self.voxel, self.cut_cell = voxel, cut_cell
        self.voxel_marks = voxel_marks(voxel)
        self.assigned = assignments(voxel, cut_cell)
        self._searches = {}

    @functools.cached_property
    def gauss_rows(self):
        return GaussRows(self.voxel, self.voxel_marks)

    def _search(self, together):
        if together not in self._searches:
            marks = cut_cell_marks(self.cut_cell, together)
            insert = numpy.zeros_like(self.voxel_marks.insert) if together else self.voxel_marks.insert
            self._searches[together] = marks, nearest_of_kind(self.voxel, self.voxel_marks, insert, self.cut_cell, marks)
        return self._searches[together]

    def map(self, result, extension, mode, part_insert_mode, smooth=False):
        """The items of the mapped file, in order."""
        file_type = FILE_TYPE[extension]
        together = part_insert_mode == 1
        marks, nearest = self._search(together)
        # Taking part and part insert together clears the insert's marks of the voxel nodes; mode 2 reads them again afterwards.
        cleared = together and mode == 1
        insert_now = numpy.zeros_like(self.voxel_marks.insert) if cleared else self.voxel_marks.insert
        part, fixed, v = self.voxel_marks.part, self.voxel_marks.fixed, self.assigned

        mapped = []
        for item in result.items:
            known, cavity = known_and_cavity(file_type, item.number)
            if not known:
                mapped.append(Mapped(True, None, item.full[1:], item.max, item.min, None))
                continue
            value = item.full
            if smooth and mode == 1 and cavity:
                value = self.gauss_rows.smooth(value, (part | insert_now) & ~fixed)
            picked = value[v]
            output = picked.copy()
            source = v.copy()
            if mode != 0:
                if file_type in TYPES_WITH_REGION_RULE:
                    off = ((marks.region == 1) & ~part[v]) | ((marks.region == 2) & ~insert_now[v])
                    output[off] = item.min
                    source[off] = 0
                overridden = nearest >= 0
                output[overridden] = value[nearest[overridden]]
                source[overridden] = nearest[overridden]
            ids, high, low = None, picked[1:].max(), picked[1:].min()
            if item.type == 3:
                ids = numpy.flatnonzero(marks.mold_base)
            elif item.type == 5 and file_type in COOLING_FAMILY:
                ids = numpy.flatnonzero(marks.part)
            elif result.types[item.type][1]:
                ids = result.ids[item.type]  # the voxel file's, as it stands
            if ids is None:
                stored = output[1:]
            else:
                stored, high, low = output[ids], item.max, item.min
            mapped.append(Mapped(False, ids, stored, high, low, source))
        return mapped
