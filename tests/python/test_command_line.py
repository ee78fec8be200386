"""Results are those of the command line, to the byte."""
import json

import numpy
import pytest

import quillon
from quillon import _core

# What plug-ins need besides an image.
NEEDED = {
    "Arithmetic": {"value": 3},
    "CylinderMask": {"s": 10, "t": 12, "radius": 6},
    "LocalFiberDirections": {"fiber_radius": 2.0},
    "Mask": {"Image2": "mask.nrrd"},
    "Resample": {"factor": 2},
    "Threshold": {"lower": 100},
}
# What changes the result.
CHANGED = {
    "GaussFilter": {"sigma": 1.5},
    "LinearDt": {"compute on foreground": True},
    "Median": {"radius": 2},
    "Watershed": {"Neighborhood": "Neigh_26"},
    "SegmSauvola": {"windowsize": 3},
}
# Their results are not files with images, and other tests run them.
WITH_DIALOGS = {
    "FeatureToImage", "GranulometryExport", "LabelMeasurementsExport", "LocalFiberDirectionsDialog",
    "LocalFiberDirectionsExport", "PointwiseRelation",
}
PLUGINS = [name for name in _core.plugin_names() if name not in WITH_DIALOGS]


def type_for(name):
    types = json.loads(_core.catalogue_entry(name, None))["images"]["types"]
    return "uint8" if "grey8" in types else "bool" if "binary" in types else "float32"


def test_plugins_with_dialogs_are_those_listed_here():
    for name in _core.plugin_names():
        assert bool(json.loads(_core.catalogue_entry(name, None))["dialogs"]) == (name in WITH_DIALOGS)


@pytest.mark.parametrize("name", PLUGINS)
def test_files_have_the_same_bytes(command_line, volume, mask, tmp_path, name):
    dtype = type_for(name)
    quillon.write("in.nrrd", quillon.Image(mask if dtype == "bool" else volume.astype(dtype), spacing=1.0))
    quillon.write("mask.nrrd", quillon.Image(mask, spacing=1.0))
    parameters = {**NEEDED.get(name, {}), **CHANGED.get(name, {})}
    flags = [word for key, value in parameters.items() for word in ("-p", f"{key}={value}".replace("=True", "=true"))]
    command_line("run", name, "in.nrrd", "-o", "theirs.nrrd", *flags)
    images = {key: quillon.read(value) for key, value in parameters.items() if str(value).endswith(".nrrd")}
    result = quillon.run(name, quillon.read("in.nrrd"), **{**parameters, **images})
    quillon.write("ours.nrrd", result)
    assert (tmp_path / "ours.nrrd").read_bytes() == (tmp_path / "theirs.nrrd").read_bytes()


def test_tables_have_the_same_bytes(command_line, mask, tmp_path):
    quillon.write("in.nrrd", quillon.Image(mask, spacing=1.0))
    command_line("run", "Granulometry", "in.nrrd", "-o", "measured.nrrd")
    measured = quillon.read("measured.nrrd")
    (tmp_path / "theirs").mkdir()
    (tmp_path / "ours").mkdir()
    command_line("run", "GranulometryExport", "measured.nrrd", "--file", "table.csv")
    theirs = (tmp_path / "table.csv").read_bytes()
    (tmp_path / "table.csv").unlink()
    quillon.granulometry_export(measured, file="table.csv")
    assert (tmp_path / "table.csv").read_bytes() == theirs


def test_a_run_from_python_can_be_repeated(command_line, volume):
    quillon.write("in.nrrd", volume)
    quillon.write("out.nrrd", quillon.gauss_filter(quillon.read("in.nrrd"), sigma=2))
    command_line("repeat", "out.nrrd", "-o", "again.nrrd")
    assert (quillon.read("again.nrrd").array == quillon.read("out.nrrd").array).all()
    assert isinstance(numpy.asarray(quillon.read("again.nrrd")), numpy.ndarray)
