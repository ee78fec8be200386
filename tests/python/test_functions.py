"""The functions of the plug-ins and what they return."""
import doctest
import inspect
import warnings

import numpy
import pytest

import quillon
from quillon import _functions


def test_a_signature_has_keys_defaults_and_choices():
    signature = inspect.signature(quillon.watershed)
    assert list(signature.parameters)[:5] == ["image", "Neighborhood", "type", "nParameter", "markerimage"]
    assert signature.parameters["Neighborhood"].default == "Neigh_6"
    assert "'Neigh_26'" in signature.parameters["Neighborhood"].annotation
    assert all(
        parameter.kind is inspect.Parameter.KEYWORD_ONLY for parameter in list(signature.parameters.values())[1:-1]
    )


@pytest.mark.parametrize("name", _functions.__all__)
def test_a_docstring_says_the_order_of_axes_first(name):
    lines = getattr(quillon, name).__doc__.split("\n\n")
    assert " ".join(lines[1].split()).startswith(
        "Arrays are in C order, (z, y, x) or (y, x), and spacing is in the same order."
    )
    for word in ("image: ", "Returns ", "Raises quillon.RefusedError", "Source: "):
        assert f"    {word}" in getattr(quillon, name).__doc__


@pytest.mark.parametrize("module", ["", "_functions", "_image", "_run", "_names"])
def test_examples_in_docstrings_work(module):
    import importlib

    name = f"quillon.{module}" if module else "quillon"
    results = doctest.testmod(importlib.import_module(name))
    assert results.attempted > 0 and results.failed == 0


def test_keys_that_are_no_identifiers_have_underscores(mask):
    assert "compute_on_foreground" in inspect.signature(quillon.linear_dt).parameters
    default = quillon.linear_dt(mask).array
    other = quillon.linear_dt(mask, compute_on_foreground=True).array
    assert (other != default).any()
    assert (quillon.linear_dt(mask, **{"compute on foreground": True}).array == other).all()


def test_a_group_can_be_given_as_a_dict(volume):
    flat = quillon.local_fiber_directions(volume, fiber_radius=2.0, advanced_otsu_factor=2.0)
    nested = quillon.local_fiber_directions(volume, fiber_radius=2.0, advanced={"otsu_factor": 2.0})
    assert flat.runs[-1]["parameters"] == nested.runs[-1]["parameters"]
    assert flat.runs[-1]["parameters"]["advanced"]["otsu_factor"] == 2.0


def test_an_unknown_keyword_names_the_nearest():
    with pytest.raises(
        TypeError, match=r"^gauss_filter got an unexpected keyword argument 'sigmas'; did you mean 'sigma'\?$"
    ):
        quillon.gauss_filter(numpy.zeros((8, 8, 8), numpy.uint8), sigmas=2)
    with pytest.raises(TypeError, match=r"did you mean 'sigma'\?$"):
        quillon.run("GaussFilter", numpy.zeros((8, 8, 8), numpy.uint8), Sigma=2)


def test_an_unknown_plugin_names_the_nearest(volume):
    with pytest.raises(quillon.ArgumentError, match="GaussFilter"):
        quillon.run("GausFilter", volume)


def test_wrong_values_are_errors(volume):
    with pytest.raises(ValueError, match="Neigh_27"):
        quillon.watershed(volume, Neighborhood="Neigh_27")
    with pytest.raises(TypeError, match="^gauss_filter: sigma='wide' is of type str; give a number$"):
        quillon.gauss_filter(volume, sigma="wide")
    with pytest.raises(TypeError, match=r"^median: radius=1\.5 is of type float; give an integer$"):
        quillon.median(volume, radius=1.5)
    with pytest.raises(TypeError, match="^watershed: Neighborhood=6 is of type int; give a text$"):
        quillon.watershed(volume, Neighborhood=6)


def test_a_number_of_threads_is_a_positive_integer(volume):
    with pytest.raises(ValueError, match="^threads=0: give a positive number$"):
        quillon.gauss_filter(volume, threads=0)
    with pytest.raises(TypeError, match=r"^threads=1\.5: give an integer$"):
        quillon.gauss_filter(volume, threads=1.5)
    assert quillon.invert(volume, threads=10**20).shape == volume.shape


def test_numbers_of_numpy_are_numbers(volume):
    expected = quillon.gauss_filter(volume, sigma=1.5).array
    assert (quillon.gauss_filter(volume, sigma=numpy.float32(1.5)).array == expected).all()
    assert (quillon.median(volume, radius=numpy.int64(2)).array == quillon.median(volume, radius=2).array).all()


def test_a_value_without_effect_is_a_warning(volume):
    with pytest.warns(quillon.ParameterWarning, match="nParameter") as caught:
        quillon.watershed(volume, nParameter=5)
    assert [warning.filename for warning in caught] == [__file__]
    with pytest.warns(quillon.ParameterWarning, match="nParameter") as caught:
        quillon.run("Watershed", volume, nParameter=5)
    assert [warning.filename for warning in caught] == [__file__]


def test_defaults_are_no_reason_for_a_warning(volume, mask):
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        quillon.watershed(volume, nParameter=0)
        quillon.granulometry(mask)


def test_a_refused_image_says_what_to_do(volume):
    with pytest.raises(quillon.RefusedError) as caught:
        quillon.spherical_morphology(volume)
    assert str(caught.value).startswith(
        "SphericalMorphology does not take this image (grey8 of shape (20, 24, 28)); it takes binary"
    )
    assert str(caught.value).endswith("quillon.auto_threshold or quillon.threshold first")
    with pytest.raises(quillon.RefusedError, match=r"it is grey8 [^:]*: give array\.astype\('float32'\)$"):
        quillon.partial_derivative(numpy.eye(9, dtype="uint8"))


def test_the_input_stays_as_it_is(mask):
    image = quillon.Image(mask, spacing=1.0)
    before = image.attributes
    measured = quillon.field_features_gray_value_image(image)
    assert image.attributes == before and not image.measurements
    assert measured.measurements and numpy.shares_memory(measured.array, mask)


def test_a_verdict_is_a_dict(volume):
    verdict = quillon.pointwise_relation(volume, Image2=volume)
    assert verdict["verdict"] == "image a is pointwise equal to image b"
    assert verdict["a == b"] == volume.size and verdict["maxdiff"] == 0
    other = volume.copy()
    other[0, 0, 0] += 1
    assert quillon.pointwise_relation(other, Image2=volume)["a > b"] == 1
    part = quillon.pointwise_relation(volume, Image2=volume[:5])
    assert part["verdict"].startswith("different image sizes (28,24,20) and (28,24,5); different physical extension ")
    assert set(part) == {"text", "verdict"}


def test_a_table_is_written_where_file_says(mask, tmp_path):
    measured = quillon.granulometry(mask)
    measured = measured[0] if isinstance(measured, tuple) else measured
    path = tmp_path / "sizes.csv"
    assert quillon.granulometry_export(measured, file=path) == str(path)
    assert "diameter" in path.read_text(encoding="utf-8")
    with pytest.raises(TypeError, match="file"):
        quillon.run("GranulometryExport", measured)


def test_an_answer_that_no_dialog_asks_for_is_an_error(volume):
    with pytest.raises(quillon.ArgumentError, match="no dialog of PointwiseRelation had an input named 'nothing'"):
        quillon.pointwise_relation(volume, Image2=volume, answers={"nothing": 1})


def test_a_pack_can_be_named(volume):
    expected = quillon.invert(volume).array
    assert (quillon.run("Invert", volume, "QuillonBasics").array == expected).all()
    with pytest.raises(quillon.Error):
        quillon.run("Invert", volume, "QuillonPack")


def test_history_and_runs_say_how_a_result_was_made(volume):
    result = quillon.gauss_filter(quillon.Image(volume, label="scan"), sigma=2)
    assert result.history and result.runs[-1]["plugin"] == "GaussFilter"
    assert result.runs[-1]["parameters"] == {"sigma": 2.0}
