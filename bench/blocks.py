#!/usr/bin/env python3
"""blocks.py SCAN FOLDER [EDGE]: plug-ins on a volume in Zarr, block by block, in a process with limited memory.

SCAN is an image that is mirrored until it fills EDGE x EDGE x EDGE / 2 pixels of 8 bits (2048). Each plug-in runs
in a process of its own, from the volume on disk to the result on disk or the measurement, with a line of
progress a second. Prints a table of time, processor time, greatest resident memory and the size of files between
passes; a process that exceeds QUILLON_BENCH_GIB of resident memory (6) is ended and reported.
"""
import os
import resource
import shutil
import subprocess
import sys
import time

LIMIT = float(os.environ.get("QUILLON_BENCH_GIB", "6"))
CHUNK = 256
STEPS = ("opening", "sauvola", "distance", "field_features", "granulometry")


def make_volume(scan, path, edge):
    import dask.array
    import numpy

    import quillon
    from quillon import blocks

    pixels = quillon.read(scan).array
    if pixels.dtype != numpy.uint8:
        raise SystemExit(f"blocks.py: {scan} does not have 8 bits")
    shape = (edge // 2, edge, edge)

    def mirrored(block_info=None):
        places = block_info[None]["array-location"]
        index = []
        for (low, high), extent in zip(places, pixels.shape):
            place = numpy.arange(low, high) % (2 * extent)
            index.append(numpy.where(place < extent, place, 2 * extent - 1 - place))
        return pixels[numpy.ix_(*index)]

    chunks = dask.array.core.normalize_chunks(min(CHUNK, edge // 2), shape)
    volume = dask.array.map_blocks(mirrored, chunks=chunks, dtype=numpy.uint8, meta=numpy.empty((0, 0, 0), numpy.uint8))
    with dask.config.set(scheduler="threads"):
        blocks.write(path, volume, spacing=1.0, unit="um")


def run_step(step, source, folder):
    """One plug-in from end to end."""
    import dask
    from dask.callbacks import Callback

    from quillon import blocks

    class Progress(Callback):
        def _start_state(self, graph, state):
            self.total = sum(len(state[key]) for key in ("ready", "waiting"))
            self.done, self.reported = 0, 0.0

        def _posttask(self, key, result, graph, state, worker):
            self.done += 1
            if time.monotonic() - self.reported > 1:
                self.reported = time.monotonic()
                print(f"\r{step}: {self.done} of {max(self.total, self.done)} tasks ", end="", file=sys.stderr, flush=True)

    volume = blocks.open(source)
    spill = os.path.join(folder, "spill")
    os.makedirs(spill, exist_ok=True)
    solid = volume._replace(array=volume.array > 100)
    target = os.path.join(folder, f"{step}.zarr")
    with dask.config.set(scheduler="threads", num_workers=2, temporary_directory=spill), Progress():
        if step == "distance":
            blocks.write(target, blocks.voronoi_edt_plugin(solid, spill=spill))
        elif step == "opening":
            blocks.write(target, blocks.spherical_morphology(solid, operation="opening", radius=5))
        elif step == "sauvola":
            blocks.write(target, blocks.segm_sauvola(volume, windowsize=10))
        elif step == "field_features":
            entries = blocks.field_features_gray_value_image(volume).compute()
            print(f"\n{step}: V_V at 100 is {entries['grayvalue 100']['V_V']:.6f}", file=sys.stderr)
        else:
            pores = volume._replace(array=volume.array <= 100)
            sizes = blocks.granulometry(pores, spill=spill).compute()["data"]
            print(f"\n{step}: {sum(sizes.values())} pixels in {len(sizes)} sizes", file=sys.stderr)
    print(file=sys.stderr)


def resident(process):
    with open(f"/proc/{process}/status", encoding="ascii") as status:
        return next((int(line.split()[1]) / 2**20 for line in status if line.startswith("VmRSS")), 0.0)


def size_of(folder):
    total = 0
    for place, _, files in os.walk(folder):
        for file in files:
            try:
                total += os.path.getsize(os.path.join(place, file))
            except OSError:  # removed meanwhile
                pass
    return total / 2**30


def watched(step, source, folder):
    """Runs a step in a child and returns its time, processor time, memory and files in GiB, and how it ended."""
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    start = time.monotonic()
    child = subprocess.Popen([sys.executable, __file__, "--step", step, source, folder])
    most, files, verdict = 0.0, 0.0, "done"
    while child.poll() is None:
        try:
            most = max(most, resident(child.pid))
        except OSError:
            break
        files = max(files, size_of(os.path.join(folder, "spill")))
        if most > LIMIT:
            child.kill()
            verdict = f"over {LIMIT:g} GiB"
        time.sleep(0.2)
    code = child.wait()
    if code and verdict == "done":
        verdict = f"failed ({code})"
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    used = after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime
    shutil.rmtree(os.path.join(folder, f"{step}.zarr"), ignore_errors=True)
    shutil.rmtree(os.path.join(folder, "spill"), ignore_errors=True)
    return time.monotonic() - start, used, most, files, verdict


def main():
    if sys.argv[1] == "--step":
        run_step(*sys.argv[2:])
        return
    scan, folder, edge = sys.argv[1], sys.argv[2], int(sys.argv[3]) if len(sys.argv) > 3 else 2048
    os.makedirs(folder, exist_ok=True)
    source = os.path.join(folder, "volume.zarr")
    shutil.rmtree(source, ignore_errors=True)
    make_volume(scan, source, edge)
    pixels = edge * edge * (edge // 2)
    print(f"\n{edge} x {edge} x {edge // 2} pixels of 8 bits, chunks of {min(CHUNK, edge // 2)}, two threads, at most {LIMIT:g} GiB\n")
    print("| plug-in | time, s | processor time, ns a pixel | memory, GiB | files between passes, GiB | |\n|---|---|---|---|---|---|")
    failed = False
    for step in STEPS:
        elapsed, used, memory, files, verdict = watched(step, source, folder)
        failed = failed or verdict != "done"
        print(f"| {step.replace('_', ' ')} | {elapsed:.0f} | {used * 1e9 / pixels:.0f} | {memory:.2f} | {files:.2f} | {verdict} |", flush=True)
    shutil.rmtree(folder)
    sys.exit(failed)


if __name__ == "__main__":
    main()
