"""Compares plug-ins with ITK, SciPy and scikit-image, each with one thread.

peers.py BIN PACK DOCUMENT EDGE [PLUGIN ...]   BIN is the folder of the programs PluginBench and ItkBench, PACK the library of
                                               plug-ins. The table in DOCUMENT is replaced; of other plug-ins than the
                                               named ones, rows stay.
peers.py run JOB VOLUME EDGE                   runs the peer of a job in Python and prints its CPU seconds

A job and its peer take turns, so that other programs on the machine slow down both. Each turn is a process of its own and counts
the fastest of up to five calls, without reading the volume: fewer if they take two seconds. What counts is CPU time.
"""

import os
import subprocess
import sys
import tempfile
import time
from dataclasses import dataclass, field
from pathlib import Path

import numpy

import volumes
from document import replace_table
from wanted import require_known

TURNS = 3
# No more turns when those of the peer took as long as this.
SECONDS = 100
GOAL = 10


@dataclass
class Job:
    title: str
    volume: str  # of volumes.py
    pixels: str
    plugin: str
    arguments: list = field(default_factory=list)
    itk: str = ""  # filter of ItkBench and its arguments
    python: tuple = ()  # library and a function of the volume
    goal: int = GOAL

    @property
    def peer(self):
        return self.python[0] if self.python else "ITK"


def scipy_distances(volume):
    from scipy.ndimage import distance_transform_edt

    distance_transform_edt(volume)


def scipy_gauss(sigma):
    def run(volume):
        from scipy.ndimage import gaussian_filter

        gaussian_filter(volume, sigma, mode="nearest")

    return run


def numpy_derivative(volume):
    numpy.gradient(volume, axis=2, edge_order=2)


def niblack(volume):
    from skimage.filters import threshold_niblack

    return volume > threshold_niblack(volume, window_size=11, k=0.2)


def sauvola(volume):
    from skimage.filters import threshold_sauvola

    return volume > threshold_sauvola(volume, window_size=11, k=0.2, r=127)


def skeleton(volume):
    from skimage.morphology import skeletonize_3d

    skeletonize_3d(volume)


def hulls(volume):
    from convex_hull_peer import region_hulls

    region_hulls(volume)


def euler_number(volume):
    from skimage.measure import euler_number

    euler_number(volume, connectivity=3)


def opening_sizes(volume):
    from granulometry_peer import opening_sizes

    opening_sizes(volume != 0)


def structure_tensor(volume):
    from fiber_directions_peer import structure_tensor_directions

    structure_tensor_directions(volume, 5)


def watershed(title, *arguments, itk):
    return Job(f"watershed, {title}", "scan", "grey8", "Watershed", list(arguments), itk=f"watershed {itk}", goal=15)


MARKERS = ["type=marker", "markerimage=seeds:{seeds}"]
JOBS = [
    Job("distance map", "foam", "binary", "VoronoiEdtPlugin", ["ComputeOn=foreground"], itk="distance"),
    Job("distance map", "foam", "binary", "VoronoiEdtPlugin", ["ComputeOn=foreground"], python=("SciPy", scipy_distances)),
    Job("Gauss, sigma 2", "floats", "greyf", "GaussFilter", ["sigma=2"], itk="gauss 2"),
    Job("Gauss, sigma 2", "floats", "greyf", "GaussFilter", ["sigma=2"], python=("SciPy", scipy_gauss(2))),
    Job("Gauss, sigma 10", "floats", "greyf", "GaussFilter", ["sigma=10"], itk="gauss 10"),
    Job("Gauss, sigma 10", "floats", "greyf", "GaussFilter", ["sigma=10"], python=("SciPy", scipy_gauss(10))),
    Job("derivative along x", "floats", "greyf", "PartialDerivative", ["orderx=1", "ordery=0", "orderz=0"], itk="derivative 0"),
    Job("derivative along x", "floats", "greyf", "PartialDerivative", ["orderx=1", "ordery=0", "orderz=0"],
        python=("NumPy", numpy_derivative)),
    watershed("N6", "Neighborhood=Neigh_6", itk="N6"),
    watershed("N26", "Neighborhood=Neigh_26", itk="N26"),
    watershed("markers, N6", "Neighborhood=Neigh_6", *MARKERS, itk="N6 {seeds}"),
    watershed("markers, N26", "Neighborhood=Neigh_26", *MARKERS, itk="N26 {seeds}"),
    Job("Niblack", "scan", "grey8", "SegmNiblack", ["windowsize=5"], python=("scikit-image", niblack)),
    Job("Sauvola", "scan", "grey8", "SegmSauvola", ["windowsize=5"], python=("scikit-image", sauvola)),
    Job("skeleton of fibres", "thin", "binary", "Skeleton", python=("scikit-image", skeleton)),
    Job("skeleton of a foam", "foam", "binary", "Skeleton", python=("scikit-image", skeleton)),
    Job("convex hulls", "objects", "grey16", "ConvexifyObjects", python=("scikit-image", hulls)),
    Job("Euler number", "foam", "binary", "LocalEulerNumber", ["Neighborhood=N26"], python=("scikit-image", euler_number)),
    Job("erosion, radius 5", "foam", "binary", "SphericalMorphology", ["operation=erosion", "radius=5"], itk="erosion 5"),
    Job("opening sizes", "foam", "binary", "Granulometry", ["returnImage=true"], python=("SciPy", opening_sizes)),
    Job("fibre directions, radius 5", "fibres", "grey8", "LocalFiberDirections", ["fiber_radius=5"],
        python=("SciPy", structure_tensor)),
]
TYPES = {"binary": numpy.uint8, "grey8": numpy.uint8, "grey16": numpy.uint16, "greyf": numpy.float32}
HEADING = ["| job | ours, s | peer | peer, s | ratio |", "|---|---:|---|---:|---:|"]


def run_python(number, path, edge):
    job = JOBS[int(number)]
    volume = numpy.fromfile(path, TYPES[job.pixels]).reshape(3 * (int(edge),))
    least = total = 0
    for turn in range(5):
        begin = time.process_time()
        job.python[1](volume)
        seconds = time.process_time() - begin
        least = min(least, seconds) if turn else seconds
        total += seconds
        if total > 2:
            break
    print(least)


class Measurement:
    """Runs jobs and peers; the volumes are written when they are first needed."""

    def __init__(self, programs, pack, edge, folder):
        self.programs, self.pack, self.edge, self.folder = Path(programs), pack, edge, Path(folder)
        threads = ("OMP_NUM_THREADS", "OPENBLAS_NUM_THREADS", "ITK_GLOBAL_DEFAULT_NUMBER_OF_THREADS")
        self.environment = os.environ | {name: "1" for name in threads}

    def volume(self, name):
        path = self.folder / name
        if not path.exists():
            volumes.VOLUMES[name](self.edge).tofile(path)
        return str(path)

    def seconds(self, command):
        end = subprocess.run(command, capture_output=True, text=True, check=False, env=self.environment)
        if end.returncode != 0:
            sys.exit(f"peers: {' '.join(command)}: {end.stderr.strip()}")
        return float(end.stdout.split()[0])

    def ours(self, job):
        arguments = [argument.format(seeds=self.volume("seeds")) for argument in job.arguments]
        return self.seconds([str(self.programs / "PluginBench"), self.pack, "file", self.volume(job.volume), str(self.edge),
                             job.pixels, job.plugin, *arguments])

    def peers(self, job):
        if job.python:
            return self.seconds([sys.executable, __file__, "run", str(JOBS.index(job)), self.volume(job.volume), str(self.edge)])
        arguments = job.itk.format(seeds=self.volume("seeds")).split()
        return self.seconds([str(self.programs / "ItkBench"), self.volume(job.volume), job.pixels, *arguments])

    def row(self, job):
        ours, peers = [], []
        while len(ours) < TURNS and sum(peers) < SECONDS:
            ours.append(self.ours(job))
            peers.append(self.peers(job))
        ratio = min(peers) / max(min(ours), 1e-6)
        text = f"{ratio:.1f}" if ratio >= job.goal else f"**{ratio:.1f}**"
        return f"| {job.title} | {min(ours):.3f} | {job.peer} | {min(peers):.3f} | {text} |"


def place(row):
    """Where a row of the table belongs."""
    cells = [cell.strip() for cell in row.split("|")]
    return [(job.title, job.peer) for job in JOBS].index((cells[1], cells[3]))


def main():
    programs, pack, document, edge, *wanted = sys.argv[1:]
    require_known(wanted, [job.plugin for job in JOBS])
    print("\n".join(HEADING), flush=True)
    rows = []
    with tempfile.TemporaryDirectory() as folder:
        measurement = Measurement(programs, pack, int(edge), folder)
        for job in JOBS:
            if not wanted or job.plugin in wanted:
                rows.append(measurement.row(job))
                print(rows[-1], flush=True)
    replace_table(Path(document), "peers", HEADING, rows, place)


if __name__ == "__main__":
    if len(sys.argv) < 5:
        sys.exit(__doc__)
    if sys.argv[1] == "run":
        run_python(*sys.argv[2:])
    else:
        main()
