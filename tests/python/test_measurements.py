"""Measurements as dicts, tables and figures."""
import pickle

import numpy
import pytest

import quillon


@pytest.fixture
def blobs(volume):
    return volume > 225


@pytest.fixture
def labelled(blobs):
    image = quillon.Image(blobs, spacing=(0.5, 0.25, 0.25))
    image.unit = "um"
    return quillon.label_measurements(quillon.connected_components(image)).measurements["LabelMeasurements"]


@pytest.fixture
def sizes(mask):
    measured = quillon.granulometry(quillon.Image(mask, spacing=0.25))
    measured = measured[0] if isinstance(measured, tuple) else measured
    return measured.measurements["Granulometry"]


@pytest.fixture
def curve(volume):
    image = quillon.Image(volume, spacing=1.0)
    image.unit = "mm"
    return quillon.field_features_gray_value_image(image).measurements["FieldFeaturesOverGrayvalue"]


@pytest.fixture
def axes():
    pyplot = pytest.importorskip("matplotlib.pyplot")
    pyplot.switch_backend("Agg")
    yield pyplot.figure().add_subplot()
    pyplot.close("all")


def test_objects_become_a_frame_with_titles_and_units(labelled, blobs):
    pytest.importorskip("pandas")
    frame = labelled.to_frame()
    assert frame.index.name == "label" and list(frame.index) == list(range(1, len(frame) + 1))
    assert len(frame) > 1 and frame["voxels"].sum() == blobs.sum()
    assert numpy.allclose(frame["volume"], frame["voxels"] * 0.5 * 0.25 * 0.25)
    assert frame.attrs["title"] == "Labelled objects"
    assert frame.attrs["units"] == labelled.units
    assert labelled.units["volume"] == "um^3" and labelled.units["voxels"] == "" and labelled.units["centroid/x"] == "um"
    assert frame.attrs["facts"]["volume fraction"] == blobs.mean()


def test_a_frame_has_the_numbers_of_the_dict(labelled):
    pytest.importorskip("pandas")
    frame = labelled.to_frame()
    for label, row in frame.iterrows():
        stored = labelled[f"object {label}"]
        assert row["voxels"] == stored["voxels"] and row["axis 1/length"] == stored["axis 1"]["length"]


def test_a_distribution_becomes_a_frame_of_what_it_counts(sizes, mask):
    pytest.importorskip("pandas")
    frame = sizes.to_frame()
    assert frame.index.name == "diameter" and list(frame.columns) == ["pixels"]
    assert frame["pixels"].sum() == mask.sum() and frame.index.is_monotonic_increasing


def test_a_frame_is_the_table_of_the_command_line(command_line, volume, curve):
    pandas = pytest.importorskip("pandas")
    image = quillon.Image(volume, spacing=1.0)
    image.unit = "mm"
    quillon.write("measured.nrrd", quillon.field_features_gray_value_image(image))
    command_line("table", "measured.nrrd", "-o", "table.csv")
    theirs = pandas.read_csv("table.csv", comment="#", float_precision="round_trip")
    assert (theirs.iloc[:, 0].to_numpy() == curve.to_frame().index.to_numpy()).all()
    assert numpy.array_equal(theirs.iloc[:, 1:].to_numpy(), curve.to_frame().to_numpy(), equal_nan=True)


def test_axes_have_the_titles_and_units_of_the_catalogue(labelled, sizes, curve, axes):
    labelled.plot("volume", axes)
    assert (axes.get_title(), axes.get_xlabel(), axes.get_ylabel()) == (
        "Labelled objects", "Volume (µm³)", "Number of objects")
    sizes.plot(axes=axes)
    assert (axes.get_xlabel(), axes.get_ylabel()) == ("Diameter (unit)", "Share of pixels (%)")
    sizes.plot(axes=axes, cumulative=True)
    assert axes.get_ylabel() == "Cumulative share of pixels (%)"
    curve.plot("S_V", axes)
    assert (axes.get_xlabel(), axes.get_ylabel()) == ("Grey value", "Surface density S_V (per mm)")


def test_a_histogram_counts_all_objects(labelled, axes):
    labelled.plot("Feret diameter", axes)
    assert sum(bar.get_height() for bar in axes.patches) == len(labelled.to_frame())


def test_a_curve_has_a_point_for_each_row(curve, axes):
    pytest.importorskip("pandas")
    curve.plot("V_V", axes)
    x, y = axes.lines[0].get_data()
    assert (x == curve.to_frame().index).all() and (y == curve.to_frame()["V_V"]).all()


def test_without_a_feature_the_first_that_varies_is_drawn(labelled, axes):
    labelled.plot(axes=axes)
    assert axes.get_xlabel() == "Voxels"


def test_wrong_plots_say_what_can_be_drawn(labelled, curve):
    pytest.importorskip("matplotlib").use("Agg")
    with pytest.raises(ValueError, match="^'LabelMeasurements' has no feature 'radius'; it has 'voxels', 'volume', "):
        labelled.plot("radius")
    with pytest.raises(ValueError, match="^'FieldFeaturesOverGrayvalue' is not a distribution; leave out cumulative$"):
        curve.plot(cumulative=True)


def test_one_set_of_numbers_is_a_frame_of_one_row(volume):
    pytest.importorskip("pandas")
    measured = quillon.local_fiber_directions(volume, fiber_radius=2.0)
    measured = measured[0] if isinstance(measured, tuple) else measured
    field = measured.measurements["FiberDirections/FieldFiberDirections"]
    assert len(field.to_frame()) == 1 and field.units["Main direction/theta"] == "rad"
    with pytest.raises(ValueError, match="is one set of numbers without an order; to_frame\\(\\) shows them$"):
        field.plot()


def test_a_pickled_measurement_has_its_table(labelled):
    pytest.importorskip("pandas")
    copy = pickle.loads(pickle.dumps(labelled))
    assert copy == labelled and copy.title == labelled.title
    assert copy.to_frame().equals(labelled.to_frame())


def test_measurements_without_numbers_have_no_table():
    image = quillon.Image(numpy.zeros((2, 3), bool), attributes={"features": {"notes": {"author": "somebody"}}})
    assert image.measurements["notes"] == {"author": "somebody"}
    with pytest.raises(ValueError, match="^there are no numbers in this measurement$"):
        image.measurements["notes"].to_frame()


@pytest.mark.parametrize("module, use, message", [
    ("pandas", lambda measurement: measurement.to_frame(), "to_frame needs pandas; install python3-pandas"),
    ("matplotlib", lambda measurement: measurement.plot(), "plot needs matplotlib; install python3-matplotlib"),
])
def test_a_missing_library_is_named(labelled, monkeypatch, module, use, message):
    monkeypatch.setitem(__import__("sys").modules, module, None)
    with pytest.raises(ImportError, match=f"^{message}$"):
        use(labelled)
