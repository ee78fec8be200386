"""Threads, progress and cancellation."""
import contextlib
import ctypes
import os
import subprocess
import sys
import threading
import time
from concurrent.futures import ThreadPoolExecutor

import numpy
import pytest

import quillon

CALLS = [
    lambda volume: quillon.gauss_filter(volume, sigma=1.5).array,
    lambda volume: quillon.watershed(volume).array,
    lambda volume: quillon.voronoi_edt_plugin(volume > 140).array,
    lambda volume: quillon.connected_components(volume > 140).array,
    lambda volume: numpy.array(quillon.pointwise_relation(volume, Image2=volume)["a == b"]),
    lambda volume: quillon.segm_sauvola(volume, windowsize=3).array,
    lambda volume: quillon.median(volume).array,
    lambda volume: quillon.skeleton(volume > 140).array,
]


def test_eight_threads_get_what_one_gets(volume):
    image = quillon.Image(volume)
    expected = [call(image.array) for call in CALLS]
    with ThreadPoolExecutor(8) as threads:
        for _ in range(3):
            for result, wanted in zip(threads.map(lambda call: call(image.array), CALLS), expected):
                assert (result == wanted).all()


def test_the_result_does_not_depend_on_the_number_of_threads(volume):
    expected = quillon.watershed(volume).array
    for count in (1, 2, 3, 7):
        assert (quillon.watershed(volume, threads=count).array == expected).all()


def test_progress_is_a_fraction():
    volume = numpy.random.default_rng(1).integers(0, 255, (32, 96, 96), numpy.uint8)
    fractions = []
    quillon.median(volume, progress=fractions.append)
    assert fractions[-1] == 1.0 and all(0 <= fraction <= 1 for fraction in fractions)


def test_a_failed_run_has_not_done_everything(volume):
    fractions = []
    with pytest.raises(quillon.PluginError):
        quillon.crop(volume, x0=5, x1=2, progress=fractions.append)
    assert 1.0 not in fractions


WITH_BAR = "import numpy, quillon; quillon.median(numpy.zeros((9, 9, 9), numpy.uint8), progress=True)"


def test_a_bar_in_a_terminal_ends_at_100_per_cent():
    pytest.importorskip("tqdm")
    ours, theirs = os.openpty()
    done = subprocess.Popen([sys.executable, "-c", WITH_BAR], stdout=theirs, stderr=theirs)
    os.close(theirs)
    shown = b""
    with contextlib.suppress(OSError):  # the end of a terminal
        while part := os.read(ours, 4096):
            shown += part
    os.close(ours)
    assert done.wait() == 0
    text = shown.decode()
    assert "Median: " in text and "100%" in text.splitlines()[-1]


def test_nothing_of_a_bar_is_written_into_a_file(tmp_path):
    with open(tmp_path / "log", "wb") as log:
        subprocess.run([sys.executable, "-c", WITH_BAR], stdout=log, stderr=log, check=True)
    assert (tmp_path / "log").read_bytes() == b""


def test_progress_true_needs_no_tqdm(volume, monkeypatch):
    monkeypatch.setitem(sys.modules, "tqdm.auto", None)
    assert quillon.invert(volume, progress=True).shape == volume.shape
    with pytest.raises(TypeError, match="^progress is True, False, or a callable that takes the fraction done$"):
        quillon.invert(volume, progress=3)


class Stopped(Exception):
    pass


def test_an_exception_of_the_callback_ends_the_run():
    volume = numpy.random.default_rng(1).integers(0, 255, (128, 256, 256), numpy.uint8)

    def stop(fraction):
        raise Stopped

    with pytest.raises(Stopped):
        quillon.watershed(volume, progress=stop)


def test_other_threads_of_python_run_meanwhile():
    volume = numpy.random.default_rng(1).integers(0, 255, (128, 256, 256), numpy.uint8)
    times, is_done = [], threading.Event()

    def note_times():
        while not is_done.wait(0.001):
            times.append(time.monotonic())

    other = threading.Thread(target=note_times)
    other.start()
    begin = time.monotonic()
    quillon.watershed(volume)
    end = time.monotonic()
    is_done.set()
    other.join()
    margin = (end - begin) / 4  # a switch of threads around the call proves nothing
    assert any(begin + margin < moment < end - margin for moment in times)


INTERRUPTED = """
import numpy, os, signal, threading, quillon
volume = numpy.random.default_rng(1).integers(0, 255, (128, 384, 384), numpy.uint8)
running = threading.Event()
def interrupt():
    running.wait()
    os.kill(os.getpid(), signal.SIGINT)
threading.Thread(target=interrupt, daemon=True).start()
try:
    quillon.watershed(volume, progress=lambda fraction: running.set())
    print("finished")
except quillon.CancelledError as error:
    print(isinstance(error, KeyboardInterrupt), error)
"""


def test_ctrl_c_cancels_a_run():
    done = subprocess.run([sys.executable, "-c", INTERRUPTED], check=True, capture_output=True, text=True)
    assert done.stdout == "True Watershed was cancelled\n", done.stdout + done.stderr


def test_nothing_is_printed(volume, capfd):
    quillon.gauss_filter(volume)
    quillon.segm_sauvola(volume)
    captured = capfd.readouterr()
    assert captured.out == "" and captured.err == ""


def has_application():
    """Whether the static member that QCoreApplication::instance() returns is set."""
    return ctypes.c_void_p.in_dll(ctypes.CDLL("libQt6Core.so.6"), "_ZN16QCoreApplication4selfE").value is not None


def test_an_application_exists_only_while_a_plugin_with_dialogs_runs(volume):
    assert not has_application()
    seen = set()
    large = numpy.zeros((64, 128, 128), numpy.uint8)
    quillon.median(large, progress=lambda fraction: seen.add(has_application()))
    assert seen == {False}
    quillon.pointwise_relation(volume, Image2=volume)
    assert not has_application()


def test_answers_reach_the_inputs_of_a_dialog(volume):
    answers = {"radius_edit": 3.5, "select_size_group": True, "sizex_edit": 12}
    edited = quillon.local_fiber_directions_dialog(volume, answers=answers)
    assert edited["fiber_radius"] == 3.5


def test_dialogs_leave_the_platform_as_it_was(volume, monkeypatch):
    read = ctypes.CDLL(None).getenv
    read.restype = ctypes.c_char_p
    before = read(b"QT_QPA_PLATFORM")
    quillon.pointwise_relation(volume, Image2=volume)
    assert read(b"QT_QPA_PLATFORM") == before


def test_errors_are_below_one_class():
    for error in (quillon.PluginError, quillon.RefusedError, quillon.FileError, quillon.CancelledError):
        assert issubclass(error, quillon.Error)


def test_a_failing_plugin_is_a_plugin_error(volume):
    with pytest.raises(quillon.PluginError, match="^Crop says: "):
        quillon.crop(volume, x0=5, x1=2)
