"""Mesh and result files as h5py sees them. Nothing of the project's own readers takes part."""

import dataclasses
import shutil

import h5py
import numpy


def _data(group):
    return group[" data"][:]


def _text_lines(group):
    return bytes(_data(group)).decode().split("\n")[:-1]


@dataclasses.dataclass
class Zone:
    """One mesh. Nodes count from 1: entry 0 of a node array carries nothing."""

    x: numpy.ndarray  # float32, scaled
    y: numpy.ndarray
    z: numpy.ndarray
    plastic: list  # arrays of node numbers, one per element
    mold_base: list
    mold_base_body: numpy.ndarray
    facet: numpy.ndarray  # (s, 4)
    facet_flag: numpy.ndarray
    facet_kind: numpy.ndarray
    insert_facet: numpy.ndarray  # (q, 4)
    insert_is_interface: numpy.ndarray
    interfaces: list  # arrays of node numbers, seen from the part and from the part insert

    @property
    def node_total(self):
        return len(self.x) - 1

    def points(self):
        """(n + 1, 3) doubles."""
        return numpy.stack([self.x, self.y, self.z], axis=1).astype(numpy.float64)


def _elements(zone, name):
    if name not in zone:
        return [], numpy.empty(0, numpy.int32)
    section = zone[name]
    start, table = _data(section["ElementStartOffset"]), _data(section["ElementConnectivity"])
    return [table[a + 1:b] for a, b in zip(start[:-1], start[1:])], _data(section["CellData/Body"])


def _facets(zone, name, column):
    if name not in zone:
        return numpy.empty((0, 4), numpy.int32), *([numpy.empty(0, numpy.int32)] * len(column))
    section = zone[name]
    return _data(section["ElementConnectivity"]).reshape(-1, 4), *(_data(section["FacetData"][c]) for c in column)


def read_zone(file_name, name):
    with h5py.File(file_name) as file:
        base = file["Base"]
        scale = numpy.float64(_data(base["MeshFile/ScaleFactor"])[0])
        zone = base[name]
        coordinates = []
        for axis in "XYZ":
            unscaled = _data(zone[f"GridCoordinates/Coordinate{axis}"]).astype(numpy.float64)
            coordinates.append(numpy.concatenate([[0], unscaled * scale]).astype(numpy.float32))
        plastic, _ = _elements(zone, "Plastic")
        mold_base, body = _elements(zone, "MoldBase")
        facet, flag, kind = _facets(zone, "Surface", ["Flag", "Kind"])
        insert_facet, is_interface = _facets(zone, "PartInsert", ["IsInterface"])
        interfaces = [_data(entry["Nodes"]) for side in ["PartInterfaces", "PartInsertInterfaces"] if side in zone
                      for entry in zone[side].values() if isinstance(entry, h5py.Group) and "Nodes" in entry]
        return Zone(*coordinates, plastic, mold_base, body, facet, flag, kind, insert_facet, is_interface, interfaces)


@dataclasses.dataclass
class Item:
    number: int
    type: int
    name: str
    unit: str
    array: str  # its name in the file
    max: numpy.float32  # recorded extremes
    min: numpy.float32
    storage: int  # 0 nowhere, 1 per node, 2 beside an ID map, 3 by itself
    stored: numpy.ndarray  # float32, as it stands in the file
    full: numpy.ndarray  # float32, one per node from entry 1 on; nodes outside of an ID map have 0


@dataclasses.dataclass
class Result:
    zone: str
    node_counts: list  # voxel, cut-cell, part
    filling_time: float
    time_step_mode: int
    has_venting: int
    cooling: list  # (name, value)
    output_times: list
    items: list
    types: dict  # result type -> (dimension, uses an ID map)
    ids: dict  # result type -> node numbers


def read_result(file_name):
    with h5py.File(file_name) as file:
        base = file["Results"]
        zone_name = next(name for name in ["Voxel", "CutCell"] if name in base)
        zone, about = base[zone_name], base["TavResult"]
        node_total = int(_data(zone)[0][0])
        cooling = []
        if "Cooling" in about:
            cooling = list(zip(_text_lines(about["Cooling/Names"]), _data(about["Cooling/Values"])))
        types = {}
        if "ResultTypes" in about:
            table = about["ResultTypes"]
            types = {int(n): (int(d), int(m)) for n, d, m in
                     zip(_data(table["Number"]), _data(table["Dimension"]), _data(table["UsesIDMap"]))}
        ids = {t: _data(zone[f"ResultType {t}/NodeNumber"]) for t in types if f"ResultType {t}" in zone}

        table = about["Items"]
        columns = [_data(table[c]) for c in ["Number", "ResultType", "Maximum", "Minimum", "Storage"]]
        texts = [_text_lines(table[c]) for c in ["Names", "Units", "Arrays"]]
        items = []
        for number, kind, high, low, storage, name, unit, array in zip(*columns, *texts):
            place = {1: "NodeResults", 2: f"ResultType {kind}", 3: "OtherLayout"}.get(int(storage))
            stored = _data(zone[place][array]) if place else numpy.empty(0, numpy.float32)
            full = numpy.zeros(node_total + 1, numpy.float32)
            if storage == 2:
                full[ids[int(kind)]] = stored
            elif storage == 1:
                full[1:] = stored
            items.append(Item(int(number), int(kind), name, unit, array, high, low, int(storage), stored, full))
        return Result(zone_name, list(_data(about["NodeCounts"])), float(_data(about["FillingTime"])[0]),
                      int(_data(about["MultipleTimeStepMode"])[0]), int(_data(about["HasVentingResult"])[0]), cooling,
                      list(_data(about["OutputTimes"])) if "OutputTimes" in about else [], items, types, ids)


def with_values(source, target, values):
    """Copies a result file; the items in `values` (number -> values of all nodes, from entry 1 on) get other values, and their extremes."""
    shutil.copyfile(source, target)
    described = read_result(source)
    with h5py.File(target, "r+") as file:
        base = file["Results"]
        for k, item in enumerate(described.items):
            if item.number not in values:
                continue
            assert item.storage in (1, 2), item
            value = numpy.asarray(values[item.number], numpy.float32)
            place = "NodeResults" if item.storage == 1 else f"ResultType {item.type}"
            stored = value[1:] if item.storage == 1 else value[described.ids[item.type]]
            base[described.zone][place][item.array][" data"][...] = stored
            for column, extreme in [("Maximum", stored.max()), ("Minimum", stored.min())]:
                base["TavResult/Items"][column][" data"][k] = extreme
