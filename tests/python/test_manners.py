"""Notebooks, processes, threads, arrays for others: what is expected of a package that is at home in Python."""
import base64
import os
import re
import signal
import threading

import numpy
import pytest

import tavix

from child import begin, end, run

SILENT = """
import tavix, time
silent = {"fault": "NoAnswer", "command": 0x800, "count": 0, "whileStreaming": True}
tavix.virtual([{"faults": {"control": [silent]}}])
with tavix.open() as camera, camera.grab():
    try:
        camera.features()
    except tavix.Error as error:
        print(str(error).startswith("cannot list the features of"))
    begun = time.monotonic()
    names = dir(camera)
    print(time.monotonic() - begun < 3 and "grab" in names and "Width" in names)
    print("did not answer" in camera._repr_html_() and "did not answer" in camera.feature("Width")._repr_html_())
"""

SLOW = {
    "tavix.open('7').close()": 50,
    "tavix.cameras()[0].access()": 100,
    "tavix.group('8', '7').close()": 50,
    "slow.save_settings(path)": 10,
    "slow.load_settings(path)": 10,
    "slow.grab().close()": 20,
    "slow.features()": 50,
}


def interrupted(work, path):
    return f"""
import os, signal, tavix, threading, time
slowly = {{"control": [{{"fault": "Late", "value": {SLOW[work]}, "count": 0}}]}}
tavix.virtual([{{"serial": "7", "faults": slowly}}, {{"serial": "8"}}, {{"serial": "9"}}])
path = {path!r}
with tavix.open("9") as camera:
    camera.save_settings(path)
slow = tavix.open("7") if {"slow" in work} else None
begun = time.monotonic()
{work}
whole = time.monotonic() - begun
try:
    begun = time.monotonic()
    threading.Timer(0.01, os.kill, (os.getpid(), signal.SIGINT)).start()
    {work}
    print("too late")
except KeyboardInterrupt:
    print("at once" if time.monotonic() - begun < whole / 2 else "too late")
with tavix.open("9") as camera:
    print(camera.info.serial)
"""


@pytest.fixture(scope="module", autouse=True)
def ahead(tmp_path_factory):
    """What waits for a slow camera, all begun at once; each test asks for its own, the longest comes last."""
    folder = tmp_path_factory.mktemp("settings")
    codes = {work: interrupted(work, str(folder / str(i))) for i, work in enumerate(SLOW)}
    codes[SILENT] = SILENT
    processes = {work: begin(code) for work, code in codes.items()}
    yield processes
    for process in processes.values():  # of tests that were not run
        process.kill()
        process.communicate()


def test_an_image_shows_itself(camera):
    camera.PixelFormat = "Mono8"
    html = camera.grab_one()._repr_html_()
    png = base64.b64decode(re.search(r"data:image/png;base64,([^']*)'", html).group(1))
    assert png[:8] == b"\x89PNG\r\n\x1a\n" and png[16:24] == bytes([0, 0, 0, 64, 0, 0, 0, 80])
    assert "Mono8, 64 x 80" in html


def test_a_picture_that_is_large_is_shown_smaller(camera):
    png = camera.grab_one()._png(30)
    assert png[16:24] == bytes([0, 0, 0, 22, 0, 0, 0, 27])  # every third column and line


def test_a_camera_and_a_feature_show_themselves(camera):
    camera.DeviceUserID = "<left>"
    assert "PixelFormat" in camera._repr_html_() and camera.info.serial in camera._repr_html_()
    html = camera.feature("ExposureTime")._repr_html_()
    assert "us" in html and str(camera.feature("ExposureTime").max) in html
    assert "&lt;left&gt;" in camera.feature("DeviceUserID")._repr_html_()
    for feature in camera.features():
        assert feature._repr_html_().startswith("<table>")
    camera.close()
    assert "closed" in camera._repr_html_()


def test_an_image_is_a_buffer(camera):
    camera.PixelFormat = "Mono8"
    image = camera.grab_one()
    view = memoryview(image)
    assert view.shape == (80, 64) and view.format == "B" and view.nbytes == 80 * 64
    assert bytes(view) == image.array.tobytes()
    wide = memoryview(image.convert("Mono16"))
    assert wide.format == "H" and wide.itemsize == 2
    kept = numpy.frombuffer(memoryview(image).cast("B"), dtype=numpy.uint8)
    copy = kept.copy()
    del image, view
    camera.grab_one()
    assert (kept == copy).all()


def test_an_array_is_made_as_asked(camera):
    camera.PixelFormat = "Mono8"
    image = camera.grab_one()
    assert numpy.shares_memory(image.__array__(), image.array)
    assert numpy.shares_memory(image.__array__(numpy.uint8), image.array)
    assert image.__array__("float32").dtype == numpy.float32
    for wish in True, 1, "yes":
        assert not numpy.shares_memory(image.__array__(copy=wish), image.array)
    with pytest.raises(ValueError):
        image.__array__("float32", copy=False)


def test_other_libraries_take_the_pixels_without_a_copy(camera):
    camera.PixelFormat = "Mono8"
    image = camera.grab_one()
    assert image.__dlpack_device__() == (1, 0)
    assert numpy.shares_memory(numpy.from_dlpack(image), image.array)
    assert image.__dlpack__(max_version=(1, 0), dl_device=None, copy=None) is not None


def test_a_signal_ends_a_wait_for_a_trigger(triggered):
    triggered.feature("AcquisitionFrameRateEnable").value = True
    triggered.AcquisitionFrameRate = triggered.feature("AcquisitionFrameRate").min
    with triggered.grab(timeout=None):
        triggered.trigger()
        timer = threading.Timer(0, os.kill, (os.getpid(), signal.SIGINT))
        with pytest.raises(KeyboardInterrupt):
            timer.start()
            while True:
                triggered.trigger(timeout=60)


def test_a_signal_ends_a_wait_for_a_command_that_is_never_done():
    with tavix.open("8") as camera:
        timer = threading.Timer(0.3, os.kill, (os.getpid(), signal.SIGINT))
        with pytest.raises(KeyboardInterrupt):
            timer.start()
            camera["TestEventGenerate"].execute(timeout=600)
        assert camera["Width"] == 64  # and the camera is at hand as before


def test_a_signal_ends_a_wait_for_a_trigger_that_is_never_done():
    done = run("""
import os, signal, tavix, threading
tavix.virtual([{"registers": {"endlessCommands": [0x102120, 0x102140, 0x102160]}}])  # TriggerSoftware
with tavix.open() as camera:
    camera.TriggerSource = "Software"
    camera.TriggerMode = "On"
    with camera.grab(timeout=None) as stream:
        def interrupt():
            next(stream)  # so the trigger was given
            os.kill(os.getpid(), signal.SIGINT)
        threading.Thread(target=interrupt).start()
        try:
            camera.trigger()
        except KeyboardInterrupt:
            print("good")
""")
    assert done.stdout == "good\n", done.stderr


@pytest.mark.parametrize("work", SLOW)
def test_a_signal_ends_what_a_slow_camera_makes_long(work, ahead, tmp_path):
    """What is left goes on, and hinders neither another camera nor the end."""
    done = end(ahead.pop(work))
    for _ in range(4):  # a busy computer may need another try
        if "at once" in done.stdout:
            break
        done = run(interrupted(work, str(tmp_path / "settings.txt")))
    assert done.stdout == "at once\n9\n" and done.returncode == 0, done.stderr


def test_a_command_that_is_never_done_is_a_timeout():
    with tavix.open("8") as camera:
        with pytest.raises(tavix.Timeout, match="TestEventGenerate was started and is not done") as caught:
            camera.TestEventGenerate(timeout=0.05)
        assert caught.value.feature == "TestEventGenerate"


def test_threads_share_a_stream_and_each_image_comes_once(camera):
    taken, guard = [], threading.Lock()
    with camera.grab(60) as stream:
        def take():
            for image in stream:
                with guard:
                    taken.append(image.number)

        threads = [threading.Thread(target=take) for _ in range(4)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
    assert sorted(taken) == list(range(60))


def test_threads_read_write_and_close_at_once(camera):
    problems = []

    def use():
        try:
            while True:
                camera["ExposureTime"] = 1000
                assert camera["Width"] == 64
        except tavix.StateError:
            pass  # closed, as it should be
        except BaseException as error:
            problems.append(error)

    threads = [threading.Thread(target=use) for _ in range(4)]
    for thread in threads:
        thread.start()
    for _ in camera.grab(5):
        pass
    camera.close()
    for thread in threads:
        thread.join()
    assert problems == []


def test_a_forked_child_harms_nobody():
    done = run("""
import os, tavix
tavix.virtual(1)
camera = tavix.open()
stream = camera.grab()
image = next(stream)
child = os.fork()
if child == 0:
    for use in (tavix.open, tavix.cameras, lambda: camera['Width'], lambda: next(stream), lambda: image.convert("RGB8")):
        try:
            use()
        except tavix.StateError:
            continue
        os._exit(1)
    assert not camera.is_open and image.array.size and image.number == 0
    stream.close()
    camera.close()
    del image, stream, camera
    raise SystemExit(7)
assert os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) == 7
assert [next(stream).number for _ in range(3)] == [1, 2, 3]
camera.close()
print("good")
""")
    assert done.stdout == "good\n" and done.returncode == 0, done.stderr


def test_a_child_that_was_forked_before_has_cameras_of_its_own():
    done = run("""
import os, tavix
child = os.fork()
if child == 0:
    tavix.virtual(1)
    with tavix.open() as camera:
        assert len(list(camera.grab(3))) == 3
    raise SystemExit(7)
assert os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) == 7
""")
    assert done.returncode == 0, done.stderr


@pytest.mark.parametrize("ending", [
    "group = tavix.group(); stream = group.grab(); next(stream)",
    "watch = tavix.watch(lambda info, arrived: None)",
    "camera = tavix.open(); kept = [image.array[:2] for image in camera.grab(5)]",
    "camera = tavix.open(); thread = threading.Thread(target=lambda: list(camera.grab(timeout=None)), daemon=True)\n"
    "thread.start(); raise RuntimeError('of the program')",
    "camera = tavix.open()\nasync def leave():\n    stream = camera.stream()\n    await anext(stream)\n"
    "    raise SystemExit(0)\nasyncio.run(leave())",
    "camera = tavix.open(); builtins.kept = camera.grab(); builtins.image = next(builtins.kept)",
    "camera = tavix.open(); stream = camera.stream(); builtins.kept = (stream, camera)",
])
def test_nothing_hangs_at_the_end_of_the_interpreter(ending):
    done = run(f"import asyncio, builtins, tavix, threading\ntavix.virtual(2)\n{ending}\n")
    if "of the program" in ending:
        assert done.returncode == 1 and "of the program" in done.stderr
    else:
        assert done.returncode == 0, done.stderr


def test_names_are_completed_for_a_camera_that_does_not_answer(ahead):
    done = end(ahead.pop(SILENT))
    assert done.stdout == "True\nTrue\nTrue\n", done.stderr
