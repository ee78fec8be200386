"""Images over arrays and arrays over images."""
import gc
import pathlib
import pickle
import subprocess
import sys
import weakref

import numpy
import pytest

import quillon


def test_an_image_has_the_memory_of_its_array(volume):
    image = quillon.Image(volume)
    assert numpy.shares_memory(image.array, volume)
    volume[1, 2, 3] = 77
    assert image.array[1, 2, 3] == 77


def test_an_image_keeps_its_array_alive():
    array = numpy.full((4, 5, 6), 9, numpy.uint16)
    image = quillon.Image(array)
    guard = weakref.ref(array)
    del array
    gc.collect()
    assert guard() is not None
    assert (image.array == 9).all()
    del image
    gc.collect()
    assert guard() is None


def test_an_array_keeps_the_image_alive(volume):
    array = quillon.gauss_filter(volume, sigma=1.0).array
    expected = array.copy()
    gc.collect()
    others = [numpy.full(array.shape, 1.0) for _ in range(20)]
    assert (array == expected).all() and len(others) == 20


def test_the_array_of_a_result_is_no_copy(volume):
    result = quillon.invert(volume)
    assert numpy.shares_memory(result.array, result.array)
    result.array[0, 0, 0] = 123
    assert result.array[0, 0, 0] == 123


def resident_bytes():
    pages = pathlib.Path("/proc/self/statm").read_text(encoding="ascii").split()[1]
    return int(pages) * 4096


def test_images_and_arrays_over_64_mb_take_no_memory():
    array = numpy.ones((64, 1024, 1024), numpy.uint8)
    before = resident_bytes()
    images = [quillon.Image(array) for _ in range(8)]
    arrays = [image.array for image in images]
    assert resident_bytes() - before < 8 << 20
    assert all(numpy.shares_memory(other, array) for other in arrays)


PEAK = """
import pathlib, re, numpy, quillon
def peak():
    return 1024 * int(re.search(r"VmHWM:\\s*(\\d+)", pathlib.Path("/proc/self/status").read_text())[1])
quillon.invert(numpy.ones((2, 2), numpy.uint8))
array = numpy.ones((96, 1024, 1024), numpy.uint8)
before = peak()
result = quillon.invert(array).array
print((peak() - before) / array.nbytes)
"""


def test_a_run_takes_memory_for_its_result_alone():
    done = subprocess.run([sys.executable, "-c", PEAK], check=True, capture_output=True, text=True)
    assert 0.9 < float(done.stdout) < 1.2


def test_spacing_is_in_the_order_of_the_array():
    image = quillon.Image(numpy.zeros((4, 5, 6), numpy.uint8), spacing=(3, 2, 1))
    assert image.spacing == (3.0, 2.0, 1.0)
    assert image.attributes["spacing"] == {"x": 1.0, "y": 2.0, "z": 3.0}
    assert quillon.Image(numpy.zeros((4, 5), numpy.uint8), spacing=(3, 2)).spacing == (3.0, 2.0)
    assert quillon.Image(numpy.zeros((4, 5), numpy.uint8), spacing=0.5).spacing == (0.5, 0.5)
    assert quillon.Image(numpy.zeros((4, 5), numpy.uint8)).spacing is None


@pytest.mark.parametrize(
    "spacing, message",
    [
        ((1, 2), "spacing has 2 numbers; the image has 3 dimensions"),
        (float("nan"), "spacing nan is not a positive number"),
        ((1, 0, 1), "spacing 0.0 is not a positive number"),
        ((1, float("inf"), 1), "spacing inf is not a positive number"),
        (-1, "spacing -1.0 is not a positive number"),
    ],
)
def test_a_bad_spacing_is_refused_and_the_old_one_stays(spacing, message):
    with pytest.raises(ValueError, match=f"^{message}$"):
        quillon.Image(numpy.zeros((4, 5, 6), numpy.uint8), spacing=spacing)
    image = quillon.Image(numpy.zeros((4, 5, 6), numpy.uint8), spacing=2)
    with pytest.raises(ValueError, match=f"^{message}$"):
        image.spacing = spacing
    assert image.spacing == (2.0, 2.0, 2.0)


def test_a_spacing_is_made_of_numbers():
    with pytest.raises(TypeError, match="^spacing='1 mm': give a number, or one for each axis$"):
        quillon.Image(numpy.zeros((4, 5), numpy.uint8), spacing="1 mm")


def test_a_unit_is_one_of_four():
    image = quillon.Image(numpy.zeros((4, 5), numpy.uint8), spacing=1, unit="mm")
    assert image.unit == "mm"
    for unit in ("um", "\u00b5m", "\u03bcm"):
        image.unit = unit
        assert image.unit == "um"
    with pytest.raises(ValueError, match="^unit 'inch' is none of m, mm, um, nm$"):
        image.unit = "inch"


def test_attributes_are_nested_dicts():
    values = {"a": {"b": 1, "c": 0.5, "d": float("inf")}, "list": [True, "text"]}
    image = quillon.Image(numpy.zeros((2, 3), bool), attributes=values)
    assert image.attributes == values
    image.attributes = {"bytes": b"\xff\x00"}
    image.attributes = image.attributes
    assert image.attributes == {"bytes": b"\xff\x00"}
    with pytest.raises(TypeError, match="^value\\['x'\\] is of type object; use numbers, texts, bools, lists and dicts$"):
        image.attributes = {"x": object()}


def test_attributes_that_cannot_be_stored_change_nothing():
    image = quillon.Image(numpy.zeros((2, 3), bool), attributes={"old": 1})
    with pytest.raises(ValueError, match='^no map can have the key "a/b": '):
        image.attributes = {"a/b": 1}
    with pytest.raises(TypeError, match="^attributes are a dict, not of type list$"):
        image.attributes = [1]
    assert image.attributes == {"old": 1}


def test_a_label_is_a_text_and_other_names_are_errors():
    image = quillon.Image(numpy.zeros((2, 3), bool), label="scan")
    with pytest.raises(TypeError, match="^label=5 is of type int; give a text$"):
        image.label = 5
    assert image.label == "scan"
    with pytest.raises(AttributeError, match="lable"):
        image.lable = "scan"


def test_a_pickled_image_is_equal(volume):
    image = quillon.gauss_filter(quillon.Image(volume, spacing=(3, 2, 1), label="scan"))
    copy = pickle.loads(pickle.dumps(image))
    assert (copy.array == image.array).all()
    assert copy.attributes == image.attributes
    assert copy.spacing == image.spacing and copy.label == image.label


def test_numpy_takes_an_image_as_an_array(volume):
    image = quillon.Image(volume)
    assert numpy.shares_memory(numpy.asarray(image), volume)
    assert numpy.asarray(image, dtype=float).dtype == float
    assert image.shape == volume.shape and image.dtype == volume.dtype and image.ndim == 3


def test_a_notebook_shows_the_middle_slice(volume, tmp_path):
    (tmp_path / "slice.png").write_bytes(quillon.Image(volume)._repr_png_())
    picture = quillon.read(tmp_path / "slice.png")
    assert picture.shape[0] >= volume.shape[1] and picture.array.max() == 255


def test_a_file_is_read_as_it_was_written(volume, tmp_path):
    image = quillon.Image(volume, spacing=(3, 2, 1), attributes={"note": "kept"})
    image.unit = "mm"
    quillon.write(tmp_path / "a.nrrd", image)
    again = quillon.read(tmp_path / "a.nrrd")
    assert (again.array == volume).all() and again.array.dtype == numpy.uint8
    assert again.spacing == (3.0, 2.0, 1.0) and again.unit == "mm" and again.label == "a.nrrd"
    assert again.attributes["note"] == "kept"


def test_a_part_of_a_file_is_that_part_of_the_array(volume, tmp_path):
    quillon.write(tmp_path / "a.nrrd", volume)
    part = quillon.read(tmp_path / "a.nrrd", region=[(2, 5), (0, 24), (7, 8)])
    assert (part.array == volume[2:5, 0:24, 7:8]).all()


@pytest.mark.parametrize(
    "wanted, message",
    [
        ({"region": [(0, 5)]}, r"region=\[\(0, 5\)\]: the image has the shape \(20, 24, 28\); give \(start, stop\) for each axis"),
        ({"region": [(0, 20), (0, 24), (0, 29)]}, r"region=.*: \(0, 29\) is not a part of an axis of 28 pixels"),
        ({"region": [(3, 3), (0, 24), (0, 28)]}, r"region=.*: \(3, 3\) is not a part of an axis of 20 pixels"),
        ({"region": [(-3, 3), (0, 24), (0, 28)]}, r"region=.*: \(-3, 3\) is not a part of an axis of 20 pixels"),
        ({"channel": 1}, "channel=1: the file has 1, counted from 0"),
        ({"time": -1}, "time=-1: the file has 1, counted from 0"),
        ({"as_type": "int64"}, r"as_type='int64': give binary \(bool\), grey8 \(uint8\), .*, greyf \(float32\)"),
    ],
)
def test_a_part_that_a_file_does_not_have_is_an_argument_error(volume, tmp_path, wanted, message):
    quillon.write(tmp_path / "a.nrrd", volume)
    with pytest.raises(quillon.ArgumentError, match=f"^{message}$"):
        quillon.read(tmp_path / "a.nrrd", **wanted)


def test_a_region_is_made_of_pairs(volume, tmp_path):
    quillon.write(tmp_path / "a.nrrd", volume)
    with pytest.raises(TypeError, match=r"^region=3: give \(start, stop\) for each axis$"):
        quillon.read(tmp_path / "a.nrrd", region=3)


def test_a_file_is_converted_to_a_type_by_either_name(volume, tmp_path):
    quillon.write(tmp_path / "a.nrrd", volume)
    for name in ("grey16", "uint16", numpy.uint16, numpy.dtype("u2")):
        assert quillon.read(tmp_path / "a.nrrd", as_type=name).dtype == numpy.uint16
    assert (quillon.read(tmp_path / "a.nrrd", as_type=bool).array == (volume != 0)).all()


def test_file_errors_are_file_errors(volume, tmp_path):
    with pytest.raises(quillon.FileError, match="no-such.nrrd"):
        quillon.read(tmp_path / "no-such.nrrd")
    with pytest.raises(OSError, match="no-such"):
        quillon.write(tmp_path / "no-such" / "a.nrrd", volume)
    with pytest.raises(quillon.ArgumentError, match="its name must end in .nrrd, .mha"):
        quillon.write(tmp_path / "a.docx", volume)
    assert not list(tmp_path.iterdir())
