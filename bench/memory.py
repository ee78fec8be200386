"""Measures the memory that each plug-in takes beyond its input, and compares it with the catalogue.

memory.py QUILLON VOLUME [PLUGIN ...]  VOLUME is a file of 256^3 bytes, x fastest, made from a real scan; without names, all
                                       plug-ins are measured. Fails if a declared number is too small, or more than a
                                       quarter, and half a byte per voxel, too large.

The peak is that of resident memory during the run, from the report of `quillon run`. It is measured for two cubes out of the
volume: the difference is what grows with the image, and the rest is fixed. Files that a mode needs, such as markers, are made
with the program itself.
"""

import json
import subprocess
import sys
import tempfile
from pathlib import Path

import numpy

from wanted import require_known

EDGES = (96, 160)
# Fixed memory that needs no declaration: stacks of threads, small tables and code.
NEGLIGIBLE = 16 << 20
GREY = ["grey8", "grey16", "grey32", "greyf"]
ALL = ["binary", *GREY]
LABELS = ["binary", "grey8", "grey16", "grey32"]

# Plug-in, pixel types, and the modes that differ in memory: options of `quillon run`, with {NAME} for a file or a length. A 2-d mode is
# left out: it takes less than the same mode in 3-d.
CASES = [
    ("ConvexifyObjects", ["binary"], [""]),
    ("ConvexifyObjects", ["labels8", "labels16", "labels32"], ["", "-p method=OverwriteOnlyBackground"]),
    ("CylinderMask", ALL, ["-p s={half} -p t={half} -p radius={half}", "-p s={half} -p t={half} -p radius={third} -p crop=true"]),
    ("EuclideanSkeleton", ["binary"], ["", "-p Neighborhood=N6 -p minRadius=2"]),
    ("ExactBisector", ["binary"], [""]),
    ("ExactMedialAxis", ["binary"], [""]),
    ("FieldFeaturesGrayValueImage", ["binary", "grey8", "grey16"], [""]),
    ("GaussFilter", GREY, ["-p sigma=2", "-p sigma=20"]),
    ("Granulometry", ["binary"], [
        "", "-p onForeground=false", "-p returnImage=true",
        "-p experimental=true -p dobinning=true -p stepwidth=2",
        "-p experimental=true -p medialaxispoint-filtered=true"]),
    ("LinearDt", ["binary"], ["-p direction=x", "-p direction=y", "-p direction=z"]),
    ("LocalEulerNumber", ["binary"], [""]),
    ("LocalFiberDirections", ["grey8"], [
        "-p fiber_radius=3",
        "-p fiber_radius=3 -p advanced/output_directions=true -p advanced/otsu_factor=1.25 -p advanced/use_otsu=true",
        "-p fiber_radius=3 -p use_subfields=true -p subfield_x=16 -p subfield_y=16 -p subfield_z=16"]),
    ("MarkSimplePoints", ["binary"], [""]),
    ("PartialDerivative", ["greyf"], ["-p orderx=1 -p ordery=1 -p orderz=1"]),
    ("PointwiseRelation", ALL, ["-p Image2={same}"]),
    ("SegmNiblack", GREY, ["-p windowsize=10"]),
    ("SegmNiblack", ["grey8", "grey16"], ["-p windowsize=3 -p usenewimpl=false"]),
    ("SegmSauvola", GREY, ["-p windowsize=10"]),
    ("SegmSauvola", ["grey8", "grey16"], ["-p windowsize=3 -p usenewimpl=false"]),
    ("Skeleton", ["binary"], ["", "-p Neighborhood=N6 -p minRadius=2 -p minAngle=1"]),
    ("SphericalMorphology", ["binary"], [
        f"-p operation={name} -p radius={radius}"
        for name in ("erosion", "dilation", "opening", "closing", "erosionrefl", "dilationrefl") for radius in (3, 20)]),
    ("VoronoiEdtPlugin", ["binary"], ["", "-p ComputeOn=foreground -p EdgeTreatment=embedded"]),
    ("Watershed", ALL, [
        "", "-p Neighborhood=Neigh_26", "-p type=preflood -p nParameter=50", "-p type=marker -p markerimage={markers}"]),
    ("Arithmetic", ALL, ["-p operation=add -p value=1.5", "-p operation=maximum -p value=3", "-p operation=add -p Image2={grey8}"]),
    ("AutoThreshold", GREY, ["", "-p method=li", "-p method=triangle", "-p classes=4"]),
    ("ConnectedComponents", ["binary"], ["", "-p Neighborhood=N6 -p minimumSize=10"]),
    ("Crop", ALL, ["-p x0=0"]),
    ("FillHoles", ["binary"], [""]),
    ("Invert", ALL, [""]),
    ("LabelMeasurements", ["binary", "labels8", "labels16", "labels32"], ["", "-p Image2={grey8}"]),
    ("Mask", ALL, ["-p Image2={binary}"]),
    ("Median", ALL, ["-p radius=1", "-p radius=2"]),
    ("RegionalMaxima", ALL, ["", "-p height=5", "-p Neighborhood=N6"]),
    ("Resample", ALL, [f"-p factor={factor} -p interpolation={name}"
                       for factor in (0.5, 1.5) for name in ("nearest", "linear", "bspline")]),
    ("Rescale", ALL, [f"-p type={name}" for name in ("grey8", "grey16", "greyf")]),
    ("Threshold", ALL, ["-p lower=1"]),
]


def write_volume(path, pixels):
    """Writes an NRRD file without attributes."""
    edge = len(pixels)
    names = {"uint8": "uint8", "uint16": "uint16", "uint32": "uint32", "float32": "float"}
    header = (f"NRRD0004\ntype: {names[pixels.dtype.name]}\ndimension: 3\nsizes: {edge} {edge} {edge}\n"
              "endian: little\nencoding: raw\n\n")
    path.write_bytes(header.encode() + pixels.tobytes())


def make_files(program, folder, volume):
    """The volume in each pixel type, with noise below the steps of its 8 bits, and what is derived from it."""
    noise = numpy.random.default_rng(1)
    files = {"binary": volume > numpy.median(volume), "grey8": volume}
    files["grey16"] = volume.astype(numpy.uint16) * 256 + noise.integers(0, 256, volume.shape, numpy.uint16)
    files["grey32"] = volume.astype(numpy.uint32) * 65536 + noise.integers(0, 65536, volume.shape, numpy.uint32)
    files["greyf"] = volume.astype(numpy.float32) + noise.random(volume.shape, numpy.float32)
    paths = {}
    for name, pixels in files.items():
        paths[name] = folder / f"{name}.nrrd"
        write_volume(paths[name], pixels.astype(numpy.uint8) if name == "binary" else pixels)

    def run(plugin, image, name, *options):
        paths[name] = folder / f"{name}.nrrd"
        subprocess.run([program, "run", plugin, image, "-o", paths[name], "--quiet", *options], check=True)

    subprocess.run([program, "convert", paths["binary"], folder / "b.nrrd", "--as", "binary"], check=True)
    paths["binary"] = folder / "b.nrrd"
    run("GaussFilter", paths["grey8"], "smooth", "-p", "sigma=3")
    run("RegionalMaxima", paths["smooth"], "markers", "-p", "height=20")
    labels = numpy.arange(len(volume)) // 16
    blocks = labels[:, None, None] * 256 + labels[None, :, None] * 16 + labels[None, None, :]
    for name, pixels in {"labels8": blocks % 255 + 1, "labels16": blocks + 1, "labels32": blocks + 70000}.items():
        paths[name] = folder / f"{name}.nrrd"
        write_volume(paths[name], pixels.astype(f"uint{name[6:]}"))
    return paths


def peak_bytes(program, folder, plugin, image, options):
    report = folder / "report.json"
    command = [program, "run", plugin, image, "--quiet", "--report", report, *options]
    end = subprocess.run(command, capture_output=True, text=True)
    if end.returncode != 0:
        raise SystemExit(f"memory: {' '.join(map(str, command))}: {end.stderr}")
    return json.loads(report.read_text())["peak_bytes"], json.loads(report.read_text())["documents"]


def declared_by(program, plugin, kind):
    """The bytes per voxel and the fixed bytes in the catalogue."""
    described = subprocess.run([program, "describe", plugin, "--json"], check=True, capture_output=True, text=True)
    entry = json.loads(described.stdout)
    members = [entry.get("bytesPerVoxel", -1), entry.get("fixedBytes", 0)]
    return [member.get(kind, 0) if isinstance(member, dict) else member for member in members]


def measure(program, folder, volume, wanted):
    """The peak and the number of voxels of each case, by plug-in, type and mode."""
    folder.mkdir()
    paths = make_files(program, folder, volume)
    peaks = {}
    for plugin, types, modes in CASES:
        if wanted and plugin not in wanted:
            continue
        for kind in types:
            for mode in modes:
                words = {"same": paths[kind], "half": len(volume) // 2, "third": len(volume) // 3, **paths}
                options = [word.format(**words) for word in mode.split()]
                peak, documents = peak_bytes(program, folder, plugin, paths[kind], options)
                voxels = volume.size
                if plugin == "Resample":
                    voxels = max(voxels, numpy.prod(documents[0]["size"]))
                peaks[plugin, kind.replace("labels", "grey"), mode] = (peak, voxels)
    return peaks


def main():
    program, volume_path, *wanted = sys.argv[1:]
    require_known(wanted, [case[0] for case in CASES])
    volume = numpy.fromfile(volume_path, numpy.uint8).reshape((256,) * 3)
    with tempfile.TemporaryDirectory() as name:
        small, large = (measure(program, Path(name) / str(edge), volume[:edge, :edge, :edge], wanted) for edge in EDGES)
    measured = {}
    for (plugin, kind, mode), (peak, voxels) in large.items():
        small_peak, small_voxels = small[plugin, kind, mode]
        per_voxel = (peak - small_peak) / (voxels - small_voxels)
        fixed = max(0, small_peak - per_voxel * small_voxels)
        print(f"{plugin:28}{kind:8}{per_voxel:8.2f}{fixed / 2**20:8.1f} MiB  {mode}")
        most = measured.setdefault((plugin, kind), [0, 0])
        most[:] = max(most[0], per_voxel), max(most[1], fixed)

    print(f"\n{'at most':28}{'type':8}{'bytes per voxel':>16}{'declared':>9}{'fixed MiB':>11}{'declared':>9}")
    is_any_wrong = False
    for (plugin, kind), (per_voxel, fixed) in measured.items():
        declared, declared_fixed = declared_by(program, plugin, kind)
        is_wrong = (not per_voxel <= declared + 0.1 or declared > 1.25 * per_voxel + 0.5
                    or not fixed <= declared_fixed + NEGLIGIBLE or declared_fixed > 1.25 * fixed + NEGLIGIBLE)
        is_any_wrong = is_any_wrong or is_wrong
        print(f"{plugin:28}{kind:8}{per_voxel:16.2f}{declared:9.2f}{fixed / 2**20:11.1f}{declared_fixed / 2**20:9.1f}"
              f"{'  wrong' if is_wrong else ''}")
    return 1 if is_any_wrong else 0


if __name__ == "__main__":
    sys.exit(main())
