"""Each block rule against the whole image, to the bit."""
import inspect
import json
import subprocess
import sys

import numpy
import pytest
from blocks_support import dask, grey, in_blocks, in_voxels, mask, seeds

import quillon
from quillon import _core, blocks
from quillon.blocks import _rules

SHAPE = (8, 10, 11)


@pytest.fixture
def rng(seed):
    return numpy.random.default_rng(seed)


def same(lazy, whole):
    """Both images as arrays, equal in type, shape and bits."""
    assert isinstance(lazy, dask.array.Array)
    computed = lazy.compute()
    assert computed.dtype == lazy.dtype == whole.dtype and computed.shape == lazy.shape == whole.shape
    return computed.tobytes() == whole.array.tobytes()


def checked(rng, name, image, spacing=None, **parameters):
    """Compares random chunks with the whole, and checks the chunks of the result."""
    whole = quillon.run(name, quillon.Image(image, spacing=spacing), **parameters)
    cut = in_blocks(rng, image)
    lazy = blocks.run(name, cut, spacing, **parameters)
    assert lazy.chunks == cut.chunks
    assert same(lazy, whole), (name, cut.chunks, parameters)


HALO = [
    ("SphericalMorphology", "bool", {"operation": operation, "radius": radius})
    for operation in ("erosion", "dilation", "opening", "closing", "erosionrefl", "dilationrefl")
    for radius in (1, 4)
]
HALO += [("SegmNiblack", dtype, {"windowsize": 3, "coefficient": 0.1}) for dtype in ("uint8", "uint16", "uint32")]
HALO += [("SegmSauvola", dtype, {"windowsize": 2}) for dtype in ("uint8", "uint16")]
HALO += [("SegmNiblack", "uint8", {"windowsize": 0})]
HALO += [("PartialDerivative", "float32", {"orderx": x, "ordery": y, "orderz": z}) for x, y, z in ((1, 0, 0), (1, 2, 3), (0, 0, 5))]
HALO += [(name, "bool", {"Neighborhood": word}) for name in ("MarkSimplePoints", "LocalEulerNumber") for word in ("N6", "N26")]
HALO += [("Median", dtype, {"radius": radius}) for dtype, radius in (("uint8", 1), ("float32", 2), ("bool", 3), ("uint16", 0))]
HALO += [("GaussFilter", "uint8", {"sigma": 0.6}), ("GaussFilter", "float32", {"sigma": 0})]


def image_of(rng, dtype, shape=SHAPE):
    return mask(rng, shape) if dtype == "bool" else grey(rng, shape, dtype)


@seeds
@pytest.mark.parametrize("name, dtype, parameters", HALO)
def test_a_margin_gives_the_pixels_of_the_whole(rng, name, dtype, parameters):
    checked(rng, name, image_of(rng, dtype), **parameters)


@seeds
def test_planes_are_cut_like_volumes(rng):
    checked(rng, "SphericalMorphology", mask(rng, (40, 31)), operation="opening", radius=3)
    checked(rng, "SegmSauvola", grey(rng, (40, 31)), windowsize=4)
    checked(rng, "VoronoiEdtPlugin", mask(rng, (40, 31)), spacing=(2.0, 0.5))


@seeds
def test_chunks_of_one_voxel_are_chunks(rng):
    image = mask(rng, (5, 6, 4))
    for name, parameters in (
        ("SphericalMorphology", {"operation": "opening", "radius": 2}),
        ("MarkSimplePoints", {}),
        ("Invert", {}),
        ("LinearDt", {"direction": "y"}),
        ("VoronoiEdtPlugin", {}),
        ("ConvexifyObjects", {}),
    ):
        assert same(blocks.run(name, in_voxels(image), **parameters), quillon.run(name, image, **parameters)), name
    labels = quillon.connected_components(image).array
    assert (blocks.connected_components(in_voxels(image)).compute() == labels).all()


@seeds
@pytest.mark.parametrize("sigma", [0.7, 1.0, 3.0])
def test_the_recursive_gauss_filter_stays_within_its_bound(rng, sigma):
    """A step at full contrast is the worst case beside the cut."""
    image = grey(rng, (9, 11, 160), "float32")
    image[:, :, 80:] = 0
    image[:, :, :20] = 100
    whole = quillon.gauss_filter(image, sigma=sigma).array
    lazy = blocks.gauss_filter(in_blocks(rng, image), sigma=sigma).compute()
    assert abs(lazy - whole).max() <= _rules.rule_of("GaussFilter").deviation * numpy.ptp(image)


@seeds
@pytest.mark.parametrize("dtype", ["bool", "uint8", "uint16", "uint32", "float32"])
def test_pixels_one_by_one_need_no_margin(rng, dtype):
    image = image_of(rng, dtype)
    checked(rng, "Invert", image)
    checked(rng, "Threshold", image, lower=1)
    if dtype != "bool":
        checked(rng, "Rescale", image, **{"from": 3, "to": 90.5, "type": "grey16"})
    second = image_of(rng, "uint16")
    cut = in_blocks(rng, image)
    for operation in ("add", "maximum"):
        whole = quillon.arithmetic(image, operation=operation, Image2=second)
        assert same(blocks.arithmetic(cut, operation=operation, Image2=in_blocks(rng, second)), whole)
        assert same(blocks.arithmetic(cut, operation=operation, value=300.0), quillon.arithmetic(image, operation=operation, value=300.0))
    region = mask(rng, SHAPE)
    assert same(blocks.run("Mask", cut, Image2=in_blocks(rng, region)), quillon.run("Mask", image, Image2=region))


@seeds
def test_nan_is_not_the_greatest_value(rng):
    image = grey(rng, SHAPE, "float32")
    image[rng.random(SHAPE) < 0.2] = numpy.nan
    whole = quillon.invert(image).array
    numpy.testing.assert_array_equal(blocks.invert(in_blocks(rng, image)).compute(), whole)


@seeds
@pytest.mark.parametrize("direction", "xyz")
def test_lines_are_taken_whole(rng, direction):
    for foreground in (False, True):
        for embedded in (False, True):
            checked(
                rng, "LinearDt", mask(rng, SHAPE), (0.3, 2.0, 1.7), direction=direction,
                **{"compute on foreground": foreground, "embedded edge treatment": embedded},
            )


@seeds
@pytest.mark.parametrize("spacing", [None, 0.1, (2.0, 0.5, 0.3)])
def test_distance_maps_are_those_of_the_whole(rng, spacing):
    image = mask(rng, SHAPE)
    for on in ("foreground", "background"):
        for edges in ("embedded", "not embedded"):
            for values in ("exact values", "squared values"):
                checked(rng, "VoronoiEdtPlugin", image, spacing, ComputeOn=on, EdgeTreatment=edges, exact_or_squared=values)


@seeds
def test_far_distances_are_those_of_the_whole(rng):
    image = numpy.ones((3, 400, 500), bool)
    for place in rng.integers(0, 3 * 400 * 500, 4):
        image.flat[place] = False
    cut = dask.array.from_array(image, chunks=(2, 130, 170))
    whole = quillon.voronoi_edt_plugin(quillon.Image(image, spacing=(1.5, 0.7, 0.9)), ComputeOn="foreground")
    assert same(blocks.voronoi_edt_plugin(cut, (1.5, 0.7, 0.9), ComputeOn="foreground"), whole)


@pytest.mark.parametrize("value", [False, True])
@pytest.mark.parametrize("edges", ["embedded", "not embedded"])
def test_distance_maps_of_one_phase_are_those_of_the_whole(value, edges):
    image = numpy.full((4, 5, 6), value)
    for on in ("foreground", "background"):
        whole = quillon.voronoi_edt_plugin(image, ComputeOn=on, EdgeTreatment=edges)
        assert same(blocks.voronoi_edt_plugin(dask.array.from_array(image, chunks=3), ComputeOn=on, EdgeTreatment=edges), whole)


def test_passes_spill_into_the_folder_that_the_caller_names(tmp_path):
    image = numpy.random.default_rng(1).random((20, 30, 40)) < 0.5
    lazy = blocks.voronoi_edt_plugin(dask.array.from_array(image, chunks=10), spill=tmp_path)
    assert (lazy.compute() == quillon.voronoi_edt_plugin(image).array).all()
    (folder,) = tmp_path.iterdir()
    files = sorted(folder.iterdir())
    assert len(files) == 2 * 2 * 3 * 4 and not [file for file in files if file.suffix != ".npy"]
    assert max(numpy.load(file).size for file in files) == 1000
    del lazy
    assert list(tmp_path.iterdir()) == []


def test_passes_spill_into_the_temporary_folder_of_dask(tmp_path):
    image = dask.array.from_array(numpy.eye(6, dtype=bool), chunks=3)
    with dask.config.set(temporary_directory=str(tmp_path)):
        lazy = blocks.voronoi_edt_plugin(image)
        assert len(list(tmp_path.iterdir())) == 1
    with pytest.raises(FileNotFoundError, match="^the folder /nowhere for files between passes does not exist$"):
        blocks.voronoi_edt_plugin(image, spill="/nowhere")
    lazy.compute()


def test_columns_of_a_distance_map_fit_into_memory():
    from quillon.blocks import _passes

    for chunks in (((1,) * 3000, (3000,), (3000,)), ((512,) * 4, (512,) * 4, (512,) * 4), ((64,) * 32,) * 3):
        bricks = _passes.brick_chunks(chunks)
        shape = [sum(side) for side in bricks]
        assert shape == [sum(side) for side in chunks]
        for axis, extent in enumerate(shape):
            across = numpy.prod([max(side) for other, side in enumerate(bricks) if other != axis])
            assert 8 * extent * across <= _passes.COLUMN_BYTES
    assert _passes.brick_chunks(((64,) * 32,) * 3) == ((64,) * 32,) * 3


@seeds
@pytest.mark.parametrize("neighborhood", ["N6", "N26"])
@pytest.mark.parametrize("share", [0.1, 0.3, 0.6])
def test_objects_are_joined_across_faces(rng, neighborhood, share):
    image = rng.random(SHAPE) < share
    cut = in_blocks(rng, image)
    for least in (1, 4):
        whole = quillon.connected_components(image, Neighborhood=neighborhood, minimumSize=least).array
        lazy = blocks.connected_components(cut, Neighborhood=neighborhood, minimumSize=least)
        assert lazy.chunks == cut.chunks and lazy.dtype == "uint32"
        assert (lazy.compute() == whole).all()
    assert same(blocks.fill_holes(cut, Neighborhood=neighborhood), quillon.fill_holes(image, Neighborhood=neighborhood))


@seeds
def test_objects_in_a_plane_are_joined(rng):
    image = rng.random((30, 41)) < 0.5
    for neighborhood in ("N6", "N26"):
        whole = quillon.connected_components(image, Neighborhood=neighborhood).array
        assert (blocks.connected_components(in_blocks(rng, image), Neighborhood=neighborhood).compute() == whole).all()
        assert same(blocks.fill_holes(in_blocks(rng, image), Neighborhood=neighborhood), quillon.fill_holes(image, Neighborhood=neighborhood))


@seeds
@pytest.mark.parametrize("method", ["", "OverwriteOnlyBackground"])
def test_hulls_are_painted_across_blocks(rng, method):
    labels = quillon.connected_components(rng.random(SHAPE) < 0.12).array
    # A pixel without a hull of its own inside the hull of a lower label.
    lost = numpy.zeros(SHAPE, "uint8")
    lost[1::4, 1::4, 1::4] = 1
    lost[3, 4, 4] = 2
    for image in (labels, labels > 0, numpy.zeros(SHAPE, "uint8"), lost):
        checked(rng, "ConvexifyObjects", image, method=method)


@seeds
@pytest.mark.parametrize("spacing", [None, (2.0, 0.5, 0.3)])
def test_labels_are_measured_across_blocks(rng, spacing):
    labels = quillon.connected_components(rng.random(SHAPE) < 0.1).array * numpy.uint8(3)
    values = grey(rng, SHAPE, "float32")
    for image in (labels, labels > 0):
        whole = quillon.label_measurements(quillon.Image(image, spacing=spacing)).measurements["LabelMeasurements"]
        assert blocks.label_measurements(in_blocks(rng, image), spacing).compute() == dict(whole)
        whole = quillon.label_measurements(quillon.Image(image, spacing=spacing), Image2=values).measurements["LabelMeasurements"]
        assert blocks.label_measurements(in_blocks(rng, image), spacing, Image2=in_blocks(rng, values)).compute() == dict(whole)
    with pytest.raises(quillon.PluginError, match="has no labels other than 0"):
        blocks.label_measurements(in_blocks(rng, labels * 0))


@seeds
@pytest.mark.parametrize("spacing", [None, (2.0, 0.5, 0.3)])
def test_field_features_are_summed(rng, spacing):
    for image in (grey(rng, SHAPE), mask(rng, SHAPE)):
        whole = quillon.field_features_gray_value_image(quillon.Image(image, spacing=spacing))
        lazy = blocks.field_features_gray_value_image(in_blocks(rng, image), spacing)
        assert lazy.compute() == dict(whole.measurements["FieldFeaturesOverGrayvalue"])


@seeds
@pytest.mark.parametrize("parameters", [{}, {"onForeground": False}, {"experimental": True, "dobinning": True, "stepwidth": 1.5},
                                        {"experimental": True, "medialaxispoint-filtered": True}])
def test_opening_sizes_are_summed(rng, parameters):
    image = mask(rng, (23, 29, 31))
    whole = quillon.granulometry(quillon.Image(image, spacing=0.7), **parameters)
    cut = in_blocks(rng, image, least=5)
    assert blocks.granulometry(cut, 0.7, **parameters).compute() == dict(whole.measurements["Granulometry"])


@seeds
def test_opening_sizes_are_summed_in_a_region(rng):
    image, region = mask(rng, (20, 21, 22)), mask(rng, (20, 21, 22))
    whole = quillon.granulometry(image, mask_image=region).measurements["Granulometry"]
    cut = in_blocks(rng, image, least=6)
    assert blocks.granulometry(cut, mask_image=in_blocks(rng, region)).compute() == dict(whole)
    assert blocks.granulometry(cut, mask_image=region, greatest_radius=12).compute() == dict(whole)


def test_a_volume_without_structure_has_no_sizes():
    empty = dask.array.zeros((8, 8, 8), dtype=bool, chunks=4)
    with pytest.raises(quillon.PluginError, match=r"^Granulometry says: Image is empty or structur is too thin\.$"):
        blocks.granulometry(empty).compute()


def fibres(rng, shape):
    image = numpy.zeros(shape)
    places = numpy.indices(shape).reshape(len(shape), -1).T
    for _ in range(6):
        point, way = rng.uniform(0, 1, len(shape)) * shape, rng.normal(size=len(shape))
        way /= numpy.linalg.norm(way)
        far = places - point
        distance = numpy.linalg.norm(far - numpy.outer(far @ way, way), axis=1).reshape(shape)
        image = numpy.maximum(image, 200 * (distance < 2))
    return (image + rng.integers(0, 30, shape)).astype("uint8")


@seeds
@pytest.mark.parametrize("spacing", [None, (1.0, 0.8, 0.5)])
def test_fibre_directions_are_summed(rng, spacing):
    image = fibres(rng, (24, 26, 28))
    cut = in_blocks(rng, image)
    subfields = {"use_subfields": True, "subfield_x": 7, "subfield_y": 5, "subfield_z": 9}
    for parameters in ({"fiber_radius": 2.0}, {"fiber_radius": 1.5, **subfields}):
        whole = quillon.local_fiber_directions(quillon.Image(image, spacing=spacing), **parameters)
        lazy = blocks.local_fiber_directions(cut, spacing, **parameters)
        assert lazy.compute() == whole.attributes["features"]["FiberDirections"]


@seeds
def test_fibre_directions_in_a_plane_and_a_mask_are_summed(rng):
    image, region = fibres(rng, (50, 60)), mask(rng, (50, 60))
    whole = quillon.local_fiber_directions(image, fiber_radius=2.0)
    assert blocks.local_fiber_directions(in_blocks(rng, image), fiber_radius=2.0).compute() == whole.attributes["features"]["FiberDirections"]
    advanced = {"use_otsu": False, "mask_image": region}
    whole = quillon.local_fiber_directions(image, fiber_radius=2.0, advanced=advanced)
    lazy = blocks.local_fiber_directions(in_blocks(rng, image), fiber_radius=2.0, **{"advanced/use_otsu": False, "advanced/mask_image": region})
    assert lazy.compute() == whole.attributes["features"]["FiberDirections"]


@seeds
@pytest.mark.parametrize("dtypes", [("uint8", "uint8"), ("uint16", "float32"), ("float32", "float32")])
def test_verdicts_are_joined(rng, dtypes):
    a = grey(rng, SHAPE, dtypes[0])
    b = grey(rng, SHAPE, dtypes[1])
    pairs = [(a, a.astype(dtypes[1])), (a, b)]
    if dtypes[0] == dtypes[1]:
        pairs += [(a + a.dtype.type(1), a), (a, numpy.maximum(a, b)), (numpy.maximum(a, b), b)]
    if "float32" in dtypes[1]:
        hole = b.copy()
        hole[3:5, :, 7] = numpy.nan
        pairs += [(a, hole)] + ([(hole, hole)] if dtypes[0] == "float32" else [])
    for first, second in pairs:
        whole = quillon.pointwise_relation(first, Image2=second)
        del whole["text"]
        assert blocks.pointwise_relation(in_blocks(rng, first, least=4), Image2=in_blocks(rng, second)).compute() == whole


@seeds
def test_crops_are_slices(rng):
    image = grey(rng, SHAPE)
    whole = quillon.crop(image, x0=3, x1=9, z1=5)
    assert same(blocks.crop(in_blocks(rng, image), x0=3, x1=9, z1=5), whole)
    plane = grey(rng, (20, 30))
    assert same(blocks.crop(in_blocks(rng, plane), y0=4), quillon.crop(plane, y0=4))
    for parameters in ({"x1": 11}, {"y0": 4, "y1": 3}):
        with pytest.raises(quillon.PluginError) as raised:
            quillon.crop(image, **parameters)
        with pytest.raises(quillon.PluginError) as ours:
            blocks.crop(in_blocks(rng, image), **parameters)
        assert str(ours.value) == str(raised.value)


@seeds
@pytest.mark.parametrize("axis", "XYZ")
def test_cylinders_are_at_their_place(rng, axis):
    for image in (grey(rng, (16, 18, 20)), mask(rng, (16, 18, 20)), grey(rng, (18, 20), "float32")):
        if image.ndim == 2 and axis != "Z":
            continue
        for crop in (False, True):
            parameters = {"axis": axis, "s": 8.0, "t": 7.5, "radius": 5.3, "crop": crop}
            assert same(blocks.cylinder_mask(in_blocks(rng, image), **parameters), quillon.cylinder_mask(image, **parameters))


def test_what_reads_a_measurement_has_no_blocks():
    with pytest.raises(quillon.RefusedError, match="^GranulometryExport reads a measurement and no pixels, so it has no blocks: call "
                       r"quillon.granulometry_export with an Image that carries the measurement in attributes=\{'features': ...\}$"):
        blocks.run("GranulometryExport", dask.array.zeros((2, 2, 2)), file="x.csv")


def test_every_plugin_has_a_rule_that_is_carried_out():
    for name in _core.plugin_names():
        rule = _rules.rule_of(name)
        known = rule.kind in ("whole", "measurement") or rule.kind in blocks._GENERAL or (rule.kind, name) in blocks._OF_PLUGINS
        assert known, name


@pytest.mark.parametrize("name", ["Watershed", "Skeleton", "EuclideanSkeleton", "ExactMedialAxis", "ExactBisector", "AutoThreshold",
                                  "RegionalMaxima", "Resample"])
def test_what_needs_the_whole_volume_is_refused_with_the_reason(name):
    entry = json.loads(_core.catalogue_entry(name, None))["blocks"]
    with pytest.raises(quillon.RefusedError) as raised:
        blocks.run(name, dask.array.zeros((4, 4, 4), dtype="uint8"))
    assert str(raised.value) == f"{name} cannot be computed block by block: {entry['reason']}. {entry['instead']}"
    assert entry["reason"] and entry["instead"].endswith(".")


def test_types_and_parameters_that_need_the_whole_volume_are_refused():
    with pytest.raises(quillon.RefusedError, match="^SegmSauvola cannot be computed block by block for images of type greyf: the threshold "
                       "depends on the range of values in the whole volume. Convert the volume to 16 bits first"):
        blocks.segm_sauvola(dask.array.zeros((4, 4, 4), dtype="float32"))
    with pytest.raises(quillon.RefusedError, match="^Rescale cannot be computed block by block without from: the range is taken from"):
        blocks.rescale(dask.array.zeros((4, 4, 4), dtype="uint8"))
    with pytest.raises(quillon.RefusedError, match="^Granulometry cannot be computed block by block with returnImage=True: "):
        blocks.granulometry(dask.array.zeros((4, 4, 4), dtype=bool), returnImage=True)


ZEROS = dask.array.zeros((4, 5, 6), dtype="uint8", chunks=3)


@pytest.mark.parametrize("array, error, message", [
    (numpy.zeros((4, 4, 4)), TypeError, "the volume is not a Dask array; use dask.array.from_array, or quillon.run for an array in memory"),
    ([1, 2], TypeError, "the volume is of type list and not a Dask array"),
    (dask.array.zeros(4), ValueError, "the volume has 1 dimensions; plug-ins take 2 or 3"),
    (dask.array.zeros((2, 2, 2, 2)), ValueError, "the volume has 4 dimensions; plug-ins take 2 or 3"),
    (dask.array.zeros((4, 0, 4)), ValueError, r"the volume of shape \(4, 0, 4\) is empty"),
    (ZEROS.astype(object), TypeError, "the volume is of type object; use bool, uint8, uint16, uint32 or float32, converted with array.astype"),
    (ZEROS.astype("int64"), TypeError, "the volume is of type int64; use bool, uint8, uint16, uint32 or float32, converted with array.astype"),
    (ZEROS[ZEROS[:, 0, 0] > 3], ValueError, "the volume has chunks of unknown size; call its method compute_chunk_sizes first"),
])
def test_arrays_that_are_no_volumes_are_refused(array, error, message):
    with pytest.raises(error, match=f"^{message}$"):
        blocks.median(array)


def test_arguments_that_make_no_sense_are_refused():
    for spacing in (numpy.nan, -1.0, (1.0, numpy.inf, 1.0)):
        with pytest.raises(ValueError, match=r"^spacing .* is not a positive number$"):
            blocks.median(ZEROS, spacing)
    with pytest.raises(ValueError, match="^spacing has 2 numbers; the image has 3 dimensions$"):
        blocks.median(ZEROS, (1, 2))
    with pytest.raises(TypeError, match="^median got an unexpected keyword argument 'radious'; did you mean 'radius'?"):
        blocks.median(ZEROS, radious=3)
    with pytest.raises(ValueError, match=r"^Image2 has the shape \(2, 2, 2\) and the volume has \(4, 5, 6\)$"):
        blocks.arithmetic(ZEROS, Image2=dask.array.zeros((2, 2, 2), dtype="uint8"))
    with pytest.raises(quillon.RefusedError, match=r"^GaussFilter does not take this image \(binary of shape \(4, 5, 6\)\); it takes "):
        blocks.gauss_filter(ZEROS > 1)
    with pytest.raises(quillon.PluginError, match="^PartialDerivative says: Only isotropic pixels are supported"):
        blocks.partial_derivative(ZEROS.astype("float32"), (1, 2, 3))
    with pytest.raises(quillon.Error, match="'Nothing'"):
        blocks.run("Nothing", ZEROS)


def test_byte_order_and_empty_chunks_do_not_matter():
    image = numpy.arange(120, dtype=">u2").reshape(4, 5, 6)
    assert (blocks.median(dask.array.from_array(image, chunks=2)).compute() == quillon.median(image).array).all()
    cut = dask.array.concatenate([ZEROS[:2], ZEROS[:0], ZEROS[2:]])
    assert blocks.median(cut).compute().shape == (4, 5, 6)


def test_functions_have_the_signature_of_the_plugin():
    signature = inspect.signature(blocks.voronoi_edt_plugin)
    assert list(signature.parameters)[:3] == ["array", "spacing", "ComputeOn"]
    assert signature.parameters["spill"].kind == inspect.Parameter.KEYWORD_ONLY
    assert "(z, y, x)" in blocks.median.__doc__


def test_importing_the_package_does_not_load_dask():
    script = "import sys, quillon; sys.exit(any(name.split('.')[0] in ('dask', 'zarr', 'distributed') for name in sys.modules))"
    assert subprocess.run([sys.executable, "-c", script]).returncode == 0
