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


def test_measured_objects_are_those_of_scikit_image():
    measure = pytest.importorskip("skimage.measure")
    mask = numpy.random.default_rng(5).random((20, 24, 28)) < 0.15
    labels = quillon.connected_components(mask)
    measured = quillon.label_measurements(labels).measurements["LabelMeasurements"]
    objects = {int(key.split()[-1]): values for key, values in measured.items() if key.startswith("object ")}
    regions = measure.regionprops(labels.array)
    assert len(regions) == len(objects) > 20
    for region in regions:
        ours = objects[region.label]
        centroid = [ours["centroid"][axis] for axis in "zyx"]
        assert ours["voxels"] == region.area and numpy.allclose(centroid, region.centroid)
        box = ours["bounding box"]
        assert [box["z0"], box["y0"], box["x0"]] == list(region.bbox[:3])
        assert [box["z1"] + 1, box["y1"] + 1, box["x1"] + 1] == list(region.bbox[3:])


@pytest.mark.parametrize("radius", [1, 2])
def test_an_erosion_by_a_ball_is_that_of_scipy(mask, radius):
    z, y, x = numpy.indices((2 * radius + 1,) * 3) - radius
    ball = x * x + y * y + z * z <= radius * radius
    ours = quillon.spherical_morphology(mask, operation="erosion", radius=radius).array
    assert (ours == ndimage.binary_erosion(mask, ball)).all() and ours.any()


def test_a_median_is_that_of_scipy(volume):
    ours = quillon.median(volume, radius=1).array
    theirs = ndimage.median_filter(volume, 3)
    inner = (slice(1, -1),) * 3
    assert (ours[inner] == theirs[inner]).all()
