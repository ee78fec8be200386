"""Results against SciPy and scikit-image."""
import numpy
import pytest

import quillon

ndimage = pytest.importorskip("scipy.ndimage")


@pytest.mark.parametrize("seed", range(10))
def test_connected_components_are_those_of_scipy(seed):
    mask = numpy.random.default_rng(seed).random((9, 11, 13)) < 0.4
    ours = quillon.connected_components(mask, Neighborhood="N26").array
    theirs, count = ndimage.label(mask, numpy.ones((3, 3, 3)))
    assert ours.max() == count and ((ours > 0) == mask).all()
    assert len(numpy.unique(ours.astype("int64") * (count + 1) + theirs)) == len(numpy.unique(theirs))


@pytest.mark.parametrize("seed", range(10))
def test_holes_are_filled_as_by_scipy(seed):
    mask = numpy.random.default_rng(seed).random((30, 31)) < 0.6
    assert (quillon.fill_holes(mask).array == ndimage.binary_fill_holes(mask)).all()


@pytest.mark.parametrize("spacing", [(1, 1, 1), (3, 2, 1)])
def test_distances_are_those_of_scipy(mask, spacing):
    ours = quillon.voronoi_edt_plugin(quillon.Image(mask, spacing=spacing)).array
    inside = ndimage.distance_transform_edt(mask, spacing)
    outside = ndimage.distance_transform_edt(~mask, spacing)
    difference = min(abs(ours - inside).max(), abs(ours - outside).max(), abs(ours - inside - outside).max())
    assert difference < 1e-4


def test_a_global_threshold_is_that_of_scikit_image(volume):
    filters = pytest.importorskip("skimage.filters")
    ours = quillon.auto_threshold(volume, method="otsu").array
    theirs = volume > filters.threshold_otsu(volume)
    assert (ours.astype(bool) == theirs).all()
