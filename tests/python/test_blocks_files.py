"""OME-Zarr images: scale and unit, whole files only, and clear errors."""
import json
import os

import numpy
import pytest
from blocks_support import dask

import quillon
from quillon import blocks

zarr = pytest.importorskip("zarr")

PIXELS = numpy.random.default_rng(5).integers(0, 255, (2, 9, 10, 11), numpy.uint8)


def axes(*names, unit="micrometer"):
    kinds = {"t": "time", "c": "channel"}
    return [{"name": name, "type": kinds.get(name, "space"), **({} if name in kinds or unit is None else {"unit": unit})} for name in names]


def image_file(path, pixels=PIXELS, names="czyx", scale=(1, 2.0, 0.5, 0.25), unit="micrometer", **members):
    """An image of two levels, as other programs write it."""
    group = zarr.open_group(str(path), mode="w")
    group.create_dataset("0", data=pixels, chunks=(1, 4, 4, 4)[-pixels.ndim :], dimension_separator="/")
    coarse = pixels[..., ::2, ::2, ::2]
    group.create_dataset("1", data=coarse, chunks=coarse.shape, dimension_separator="/")
    doubled = [factor * (2 if name in "zyx" else 1) for name, factor in zip(names, scale)]
    group.attrs["multiscales"] = [{
        "version": "0.4",
        "axes": axes(*names, unit=unit),
        "datasets": [
            {"path": "0", "coordinateTransformations": [{"type": "scale", "scale": list(scale)}]},
            {"path": "1", "coordinateTransformations": [
                {"type": "scale", "scale": doubled}, {"type": "translation", "translation": [0] * len(scale)}]},
        ],
        **members,
    }]
    return path


def test_images_open_with_scale_and_unit(tmp_path):
    path = image_file(tmp_path / "image.zarr")
    volume = blocks.open(path, channel=1)
    assert isinstance(volume, blocks.Volume) and isinstance(volume.array, dask.array.Array)
    assert volume.spacing == (2.0, 0.5, 0.25) and volume.unit == "um" and volume.array.chunks == ((4, 4, 1), (4, 4, 2), (4, 4, 3))
    assert (volume.array.compute() == PIXELS[1]).all()
    coarse = blocks.open(path, level=1)
    assert coarse.spacing == (4.0, 1.0, 0.5) and (coarse.array.compute() == PIXELS[0, ::2, ::2, ::2]).all()


def test_scales_of_level_and_image_are_multiplied(tmp_path):
    path = image_file(tmp_path / "image.zarr", PIXELS[0], "zyx", (1, 1, 1), "nanometer",
                      coordinateTransformations=[{"type": "scale", "scale": [10, 5, 5]}])
    volume = blocks.open(path, level=1)
    assert volume.spacing == (20.0, 10.0, 10.0) and volume.unit == "nm"


def test_a_volume_carries_its_spacing(tmp_path):
    volume = blocks.open(image_file(tmp_path / "image.zarr", PIXELS[0], "zyx", (2.0, 0.5, 0.25)))
    masked = volume._replace(array=volume.array > 100)
    whole = quillon.voronoi_edt_plugin(quillon.Image(PIXELS[0] > 100, spacing=(2.0, 0.5, 0.25)))
    assert (blocks.voronoi_edt_plugin(masked).compute() == whole.array).all()


def test_what_is_written_opens_again(tmp_path):
    array = dask.array.from_array(PIXELS[0], chunks=(5, (3, 7), 11))
    path = tmp_path / "image.zarr"
    assert blocks.write(path, array, spacing=(3, 2, 1), unit="mm") is None
    volume = blocks.open(path)
    assert (volume.array.compute() == PIXELS[0]).all() and volume.spacing == (3.0, 2.0, 1.0) and volume.unit == "mm"
    assert os.listdir(tmp_path) == ["image.zarr"]
    blocks.write(tmp_path / "copy.zarr", volume)
    assert blocks.open(tmp_path / "copy.zarr").unit == "mm"
    blocks.write(tmp_path / "plane.zarr", array[0])
    assert blocks.open(tmp_path / "plane.zarr").array.shape == (10, 11)


def test_nothing_is_left_of_a_file_that_fails(tmp_path):
    def fail(block):
        raise RuntimeError("broken")

    array = dask.array.from_array(PIXELS[0], chunks=5).map_blocks(fail, dtype="uint8", meta=numpy.empty((0, 0, 0), "uint8"))
    with pytest.raises(RuntimeError, match="^broken$"):
        blocks.write(tmp_path / "image.zarr", array)
    assert os.listdir(tmp_path) == []


def test_files_that_cannot_be_written_are_named(tmp_path):
    array = dask.array.from_array(PIXELS[0], chunks=5)
    path = image_file(tmp_path / "image.zarr")
    with pytest.raises(quillon.FileError, match=f"^{path} exists already; give another name or remove it$"):
        blocks.write(path, array)
    with pytest.raises(quillon.FileError, match=f"^{tmp_path}/none/image.zarr cannot be written: No such file or directory$"):
        blocks.write(tmp_path / "none" / "image.zarr", array)
    with pytest.raises(ValueError, match="^unit 'inch' is none of um, mm, nm, m$"):
        blocks.write(tmp_path / "new.zarr", array, unit="inch")


def test_a_folder_without_permission_is_named(tmp_path, monkeypatch):
    """As root, every folder can be written to, so the system's answer is simulated."""
    import tempfile

    def refuse(*arguments, **keywords):
        raise PermissionError(13, "Permission denied")

    monkeypatch.setattr(tempfile, "mkdtemp", refuse)
    with pytest.raises(quillon.FileError, match=f"^{tmp_path}/image.zarr cannot be written: Permission denied$"):
        blocks.write(tmp_path / "image.zarr", dask.array.from_array(PIXELS[0], chunks=5))


def test_a_read_only_store_can_be_read(tmp_path):
    path = image_file(tmp_path / "image.zarr", PIXELS[0], "zyx", (1, 1, 1))
    for folder, _, files in os.walk(path):
        for file in files:
            os.chmod(os.path.join(folder, file), 0o444)
        os.chmod(folder, 0o555)
    assert (blocks.open(path).array.compute() == PIXELS[0]).all()
    for folder, _, _ in os.walk(path):
        os.chmod(folder, 0o755)


def test_unreadable_chunks_are_named(tmp_path):
    path = image_file(tmp_path / "image.zarr", PIXELS[0], "zyx", (1, 1, 1))
    (path / "0" / "1" / "1" / "1").write_bytes(b"no chunk")
    volume = blocks.open(path)
    with pytest.raises(quillon.FileError, match=rf"^{path}: a chunk at \(slice\(4, 8, None\), .* cannot be read: "):
        blocks.median(volume).compute()
    with pytest.raises(quillon.FileError, match=f"^{path}: a chunk at "):
        blocks.write(tmp_path / "copy.zarr", volume)
    assert os.listdir(tmp_path) == ["image.zarr"]


@pytest.mark.parametrize("text, message", [
    (None, "is not an OME-Zarr image: it has no file .zattrs"),
    ("{", "is not an OME-Zarr image: .zattrs has no image in 'multiscales'"),
    ("[]", "is not an OME-Zarr image: .zattrs has no image in 'multiscales'"),
    ('{"multiscales": []}', "is not an OME-Zarr image: .zattrs has no image in 'multiscales'"),
    ('{"multiscales": [{"version": "0.1"}]}', "is an OME-Zarr image of version 0.1; only 0.4 is known"),
    ('{"multiscales": [{"version": "0.4"}]}', "has no 'axes' with names and types"),
    ('{"multiscales": [{"axes": [], "datasets": []}]}', "has no level 0; it has 0, counted from 0"),
])
def test_folders_that_are_no_images_are_refused(tmp_path, text, message):
    if text is not None:
        (tmp_path / ".zattrs").write_text(text)
    with pytest.raises(quillon.FileError) as raised:
        blocks.open(tmp_path)
    assert str(raised.value) == f"{tmp_path} {message}"


def test_a_folder_that_is_missing_is_refused():
    with pytest.raises(quillon.FileError, match="^/nowhere.zarr does not exist$"):
        blocks.open("/nowhere.zarr")


@pytest.mark.parametrize("change, message", [
    (lambda image: image.update(axes=axes("z", "y")), "has 2 axes and an array of 3 dimensions"),
    (lambda image: image["datasets"][0]["coordinateTransformations"][0].update(scale=[1]), "has a scale that does not have 3 numbers"),
    (lambda image: image["axes"][0].update(unit="inch"), "has different units along its axes: inch, micrometer"),
    (lambda image: [axis.update(unit="inch") for axis in image["axes"]], "has the unit 'inch'; micrometer, millimeter, nanometer, meter are known"),
])
def test_headers_that_contradict_the_array_are_refused(tmp_path, change, message):
    path = image_file(tmp_path / "image.zarr", PIXELS[0], "zyx", (1, 1, 1))
    header = json.loads((path / ".zattrs").read_text())
    change(header["multiscales"][0])
    (path / ".zattrs").write_text(json.dumps(header))
    with pytest.raises(quillon.FileError) as raised:
        blocks.open(path)
    assert str(raised.value) == f"{path} {message}"


def test_parts_that_are_not_there_are_refused(tmp_path):
    path = image_file(tmp_path / "image.zarr")
    for arguments, message in (({"level": 2}, "has no level 2; it has 2, counted from 0"), ({"channel": 2}, "has no channel 2; it has 2, counted from 0")):
        with pytest.raises(quillon.FileError) as raised:
            blocks.open(path, **arguments)
        assert str(raised.value) == f"{path} {message}"
    with pytest.raises(ValueError, match="is not a positive number$"):
        blocks.open(image_file(tmp_path / "nan.zarr", scale=(1, float("nan"), 1, 1)))
