"""Kinds of arrays: what is taken as it is, what is converted, and what is refused."""
import pathlib

import numpy
import pytest

import quillon


def inverted(array):
    return quillon.invert(array).array


@pytest.mark.parametrize("dtype", ["uint8", "uint16", "uint32", "float32", "bool"])
def test_types_of_images_are_not_copied(dtype):
    array = numpy.zeros((3, 4, 5), dtype)
    image = quillon.Image(array)
    assert numpy.shares_memory(image.array, array) and image.dtype == array.dtype


VARIANTS = {
    "every second pixel": lambda array: numpy.repeat(numpy.repeat(array, 2, 1), 2, 2)[:, ::2, ::2],
    "reversed": lambda array: array[::-1, ::-1, ::-1].copy()[::-1, ::-1, ::-1],
    "Fortran order": numpy.asfortranarray,
    "transposed": lambda array: array.transpose(2, 0, 1).copy().transpose(1, 2, 0),
    "byte-swapped": lambda array: array.astype(array.dtype.newbyteorder()),
    "int64": lambda array: array.astype("int64"),
    "int32": lambda array: array.astype("int32"),
    "uint64": lambda array: array.astype("uint64"),
}


@pytest.mark.parametrize("variant", VARIANTS)
def test_the_result_does_not_depend_on_the_layout(volume, variant):
    expected = quillon.watershed(volume.astype("uint32")).array
    array = VARIANTS[variant](volume.astype("uint32"))
    before = array.copy()
    assert (quillon.watershed(array).array == expected).all()
    assert (array == before).all()


def test_a_read_only_array_is_taken_without_a_copy(volume):
    expected = inverted(volume)
    volume.flags.writeable = False
    image = quillon.Image(volume)
    assert numpy.shares_memory(image.array, volume) and not image.array.flags.writeable
    assert (quillon.invert(image).array == expected).all()


def test_bool_is_binary(mask):
    assert quillon.Image(mask).type == "binary"
    result = quillon.invert(mask).array
    assert result.dtype == bool and (result == ~mask).all()


@pytest.mark.parametrize(
    "given, wanted",
    [("int8", "grey8"), ("int16", "grey16"), ("int32", "grey32"), ("int64", "grey32"), ("uint64", "grey32"),
     ("float16", "greyf"), ("float64", "greyf"), (">f4", "greyf"), (">u2", "grey16")],
)
def test_other_numbers_are_converted_where_nothing_is_lost(given, wanted):
    array = numpy.arange(24).reshape(2, 3, 4).astype(given)
    image = quillon.Image(array)
    assert image.type == wanted and (image.array == array).all()


def test_negative_integers_become_floats():
    image = quillon.Image(numpy.array([[-1, 2], [3, 1 << 24]], "int64"))
    assert image.type == "greyf" and image.array.tolist() == [[-1, 2], [3, 1 << 24]]


def test_nan_and_infinity_are_no_loss():
    image = quillon.Image(numpy.array([[numpy.nan, numpy.inf], [0.5, -numpy.inf]]))
    assert image.type == "greyf" and numpy.isnan(image.array[0, 0]) and image.array[1, 1] == -numpy.inf


@pytest.mark.parametrize(
    "array, message",
    [
        (numpy.array([[0.1, 1.0]]), r"0\.1 in this array of float64 cannot be converted without loss"),
        (numpy.array([[1e300, 1.0]]), r"1e\+300 in this array of float64 cannot be converted without loss"),
        (numpy.array([[-1, (1 << 24) + 1]]), "16777217 in this array of int64 cannot be converted without loss"),
        (numpy.array([[(1 << 63) + 1, 1]], "uint64"), "9223372036854775809 in this array of uint64 cannot be converted"),
        (numpy.array([[1j, 1.0]]), "arrays of complex128 cannot be images; use bool, uint8, uint16, uint32, float32"),
        (numpy.array([[None, 1]]), "arrays of object cannot be images"),
        (numpy.array([["a", "b"]]), "arrays of <U1 cannot be images"),
        (numpy.array([["2020-01-01"]], "datetime64[D]"), r"arrays of datetime64\[D\] cannot be images"),
        (numpy.ma.masked_equal([[1, 2]], 2), "a masked array has no pixels where it is masked"),
    ],
)
def test_arrays_that_would_lose_values_are_type_errors(array, message):
    with pytest.raises(TypeError, match=f"^{message}"):
        quillon.Image(array)


@pytest.mark.parametrize(
    "shape, message",
    [
        ((5,), "an image has 2 or 3 dimensions, and this array has 1"),
        ((2, 2, 2, 2), "an image has 2 or 3 dimensions, and this array has 4"),
        ((0, 3), r"the array of shape \(0, 3\) is empty"),
    ],
)
def test_arrays_of_a_wrong_shape_are_value_errors(shape, message):
    with pytest.raises(ValueError, match=f"^{message}$"):
        quillon.Image(numpy.zeros(shape, numpy.uint8))


@pytest.mark.parametrize(
    "value, message",
    [
        ("a.nrrd", "an object of type str is not an image; read a file with quillon.read"),
        (pathlib.Path("a.nrrd"), "an object of type PosixPath is not an image; read a file with quillon.read"),
        (None, "an object of type NoneType is not an image; give a quillon.Image or a NumPy array"),
        ([[1, 2], [3, 4]], "an object of type list is not an image; give one of its images, or numpy.array of its numbers"),
        ((), "an object of type tuple is not an image; give one of its images, or numpy.array of its numbers"),
    ],
)
def test_what_is_no_array_is_a_type_error(value, message):
    with pytest.raises(TypeError, match=f"^{message}$"):
        quillon.invert(value)
    with pytest.raises(TypeError, match=f"^{message}$"):
        quillon.Image(value)


def test_images_among_the_parameters_are_checked_alike(volume):
    with pytest.raises(TypeError, match="^pointwise_relation: Image2: an object of type str is not an image; "):
        quillon.pointwise_relation(volume, Image2="a.nrrd")
    with pytest.raises(ValueError, match="^pointwise_relation: Image2: the array of shape"):
        quillon.pointwise_relation(volume, Image2=volume[:0])
