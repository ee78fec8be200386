"""Results are those of the command line, to the byte."""
import numpy
import pytest

import quillon

RUNS = [
    ("GaussFilter", "volume", {"sigma": 1.5}),
    ("Watershed", "volume", {"Neighborhood": "Neigh_26"}),
    ("SegmSauvola", "volume", {"windowsize": 3}),
    ("Median", "volume", {}),
    ("VoronoiEdtPlugin", "mask", {}),
    ("ExactMedialAxis", "mask", {}),
    ("SphericalMorphology", "mask", {}),
    ("Skeleton", "mask", {}),
    ("ConnectedComponents", "mask", {}),
    ("FieldFeaturesGrayValueImage", "volume", {}),
    ("LabelMeasurements", "mask", {}),
]


@pytest.mark.parametrize("name, given, parameters", RUNS, ids=[run[0] for run in RUNS])
def test_files_have_the_same_bytes(command_line, request, tmp_path, name, given, parameters):
    quillon.write("in.nrrd", quillon.Image(request.getfixturevalue(given), spacing=1.0))
    flags = [word for key, value in parameters.items() for word in ("-p", f"{key}={value}")]
    command_line("run", name, "in.nrrd", "-o", "theirs.nrrd", *flags)
    result = quillon.run(name, quillon.read("in.nrrd"), **parameters)
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
