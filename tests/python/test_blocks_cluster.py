"""Blocks on workers in other processes, one of which is lost."""
import os
import signal
import subprocess
import sys

import numpy
import pytest
from blocks_support import dask, random_cuts

import quillon
from quillon import blocks

distributed = pytest.importorskip("distributed")

IMAGE = numpy.random.default_rng(7).random((24, 26, 28)) < 0.7


@pytest.fixture(scope="module")
def cluster():
    """Two workers over loopback, as processes."""
    quiet = {"distributed.logging.distributed": "critical", "distributed.worker.daemon": True}
    with dask.config.set(quiet), distributed.LocalCluster(
        n_workers=2, threads_per_worker=1, processes=True, host="127.0.0.1", dashboard_address=None, silence_logs=50
    ) as cluster, distributed.Client(cluster) as client:
        yield client


def cut():
    rng = numpy.random.default_rng(3)
    return dask.array.from_array(IMAGE, chunks=tuple(random_cuts(rng, extent, least=7) for extent in IMAGE.shape))


def results(spill):
    return {
        "distances": blocks.voronoi_edt_plugin(cut(), 0.5, spill=spill),
        "opening": blocks.spherical_morphology(cut(), operation="opening", radius=2),
        "labels": blocks.connected_components(~cut()),
        "features": blocks.field_features_gray_value_image(cut(), 0.5),
    }


def test_one_and_two_workers_give_the_results_of_the_whole(cluster, tmp_path):
    everywhere = dict(zip(("distances", "opening", "labels", "features"), dask.compute(*results(tmp_path).values())))
    assert (everywhere["distances"] == quillon.voronoi_edt_plugin(quillon.Image(IMAGE, spacing=0.5)).array).all()
    assert (everywhere["opening"] == quillon.spherical_morphology(IMAGE, operation="opening", radius=2).array).all()
    assert (everywhere["labels"] == quillon.connected_components(~IMAGE).array).all()
    whole = quillon.field_features_gray_value_image(quillon.Image(IMAGE, spacing=0.5)).measurements
    assert everywhere["features"] == dict(whole["FieldFeaturesOverGrayvalue"])
    worker = list(cluster.scheduler_info()["workers"])[0]
    futures = cluster.compute(list(results(tmp_path).values()), workers=[worker])
    for ours, theirs in zip(cluster.gather(futures), everywhere.values()):
        assert ours == theirs if isinstance(ours, dict) else (ours == theirs).all()


def killing(block, flag):
    """Ends the process of the first worker that comes here."""
    try:
        os.close(os.open(flag, os.O_CREAT | os.O_EXCL))
    except FileExistsError:
        return block
    os.kill(os.getpid(), signal.SIGKILL)
    return block


def test_the_loss_of_a_worker_changes_nothing(cluster, tmp_path):
    (tmp_path / "spill").mkdir()
    flag = str(tmp_path / "killed")
    distances = blocks.voronoi_edt_plugin(cut(), spill=tmp_path / "spill")
    # Parts of the first passes are done when a worker ends, and others have yet to come.
    lazy = distances.map_blocks(killing, flag, dtype=distances.dtype, meta=numpy.empty((0, 0, 0), "float32"))
    assert (lazy.compute() == quillon.voronoi_edt_plugin(IMAGE).array).all()
    assert os.path.exists(flag)
    assert not [file for file in os.listdir(distances_folder(tmp_path)) if not file.endswith((".npy", ".part"))]


def distances_folder(tmp_path):
    (folder,) = (tmp_path / "spill").iterdir()
    return folder


def started(program, *arguments):
    return subprocess.Popen(
        [sys.executable, "-m", f"distributed.cli.{program}", *arguments], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL
    )


def test_a_scheduler_that_goes_away_is_one_clear_error(tmp_path):
    def ending(block, process):  # in here, because these workers do not know this module
        import os
        import signal
        import time

        os.kill(process, signal.SIGKILL)
        time.sleep(3)  # nobody will ask for the result
        return block

    place = ["--scheduler-file", str(tmp_path / "scheduler.json")]
    scheduler = started("dask_scheduler", "--host", "127.0.0.1", "--port", "0", "--no-dashboard", *place)
    worker = started("dask_worker", "--nthreads", "1", "--no-nanny", "--no-dashboard", *place)
    try:
        with dask.config.set({"distributed.comm.timeouts.connect": "2s"}):
            client = distributed.Client(scheduler_file=place[1], timeout=5, set_as_default=True)
            (tmp_path / "results").mkdir()
            array = dask.array.from_array(IMAGE, chunks=-1).map_blocks(ending, scheduler.pid, dtype=bool, meta=IMAGE[:0])
            with pytest.raises(blocks.SchedulerError, match="^the scheduler or its workers went away before the result was complete "):
                blocks.write(tmp_path / "results" / "image.zarr", array)
            assert os.listdir(tmp_path / "results") == []
            client.close(timeout=1)
    finally:
        for process in (worker, scheduler):
            process.kill()
            process.wait()
