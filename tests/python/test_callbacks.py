"""Streams that call."""
import gc
import inspect
import sys
import threading
import weakref

import pytest

import tavix

from child import run


def unraisable_ones(monkeypatch):
    told = []  # pytest has a hook of its own, from each test's beginning
    monkeypatch.setattr(sys, "unraisablehook", lambda hook: told.append((hook.object, str(hook.exc_value))))
    return told


def test_a_stream_calls_for_each_image_on_a_thread_of_the_library(camera):
    images, threads = [], set()

    def keep(image):
        images.append(image)
        threads.add(threading.get_ident())

    with camera.grab(10, callback=keep) as stream:
        assert stream.join(60) and stream.has_ended
    assert [image.number for image in images] == list(range(10)) and images[9].array.shape == (80, 64)
    assert threading.get_ident() not in threads and len(threads) == 1
    assert stream.counts.delivered == 10 and stream.join()


def test_a_stream_that_calls_may_bring_the_newest_image_only(camera):
    numbers = []
    with camera.grab(5, newest_only=True, callback=lambda image: numbers.append(image.number)) as stream:
        stream.join()
    assert numbers == list(range(5))


def test_what_the_callback_raises_ends_the_stream_and_is_raised_by_join(camera, monkeypatch):
    unraisable = unraisable_ones(monkeypatch)
    def fail(image):
        raise RuntimeError(f"of image {image.number}")

    with camera.grab(callback=fail) as stream:
        with pytest.raises(RuntimeError, match="^of image 0$") as caught:
            stream.join(60)
        assert stream.join() and stream.has_ended  # it is raised once
    assert caught.traceback[-1].name == "fail" and unraisable == []
    assert len(list(camera.grab(3))) == 3


def test_what_nobody_joins_for_is_told_when_the_stream_is_closed(camera, monkeypatch):
    unraisable = unraisable_ones(monkeypatch)
    failed = threading.Event()

    def fail(image):
        failed.set()
        raise RuntimeError("of the callback")

    with camera.grab(callback=fail):
        assert failed.wait(60)
        assert unraisable == []
    assert unraisable == [(fail, "of the callback")]


def test_a_stream_that_calls_tells_that_nothing_came(camera):
    camera.TriggerSource = "Software"
    camera.TriggerMode = "On"
    with camera.grab(callback=print, timeout=0.05) as stream:
        with pytest.raises(tavix.Timeout, match="no image came for 50 ms"):
            stream.join(60)


def test_join_returns_when_the_time_is_over(triggered):
    with triggered.grab(callback=print, timeout=None) as stream:
        assert not stream.join(0) and not stream.join(0.01) and not stream.has_ended
        stream.cancel()
        assert stream.join(60)


@pytest.mark.parametrize("end", [lambda stream, camera: stream.close(), lambda stream, camera: stream.cancel(),
                                 lambda stream, camera: stream.__exit__(None, None, None)])
def test_a_callback_may_end_its_stream(camera, end):
    numbers, begun = [], threading.Event()

    def callback(image):
        begun.wait(60)
        numbers.append(image.number)
        end(stream, camera)

    stream = camera.grab(callback=callback)
    begun.set()
    assert stream.join(60) and numbers == [0]
    with camera.grab(2) as other:
        assert len(list(other)) == 2


def test_a_callback_may_close_its_camera(camera):
    begun = threading.Event()

    def callback(image):
        begun.wait(60)
        camera.close()

    stream = camera.grab(callback=callback)
    begun.set()
    assert stream.join(60) and not camera.is_open
    camera.close()  # returns when the callback has
    tavix.open("7").close()


def test_a_callback_may_drop_the_last_reference_to_its_stream(camera, monkeypatch):
    unraisable = unraisable_ones(monkeypatch)
    kept, begun, dropped = [], threading.Event(), threading.Event()

    def callback(image):
        begun.wait(60)
        kept.clear()
        dropped.set()
        raise RuntimeError("that nobody can ask for")

    kept.append(camera.grab(callback=callback))
    begun.set()
    assert dropped.wait(60)
    camera.close()  # returns when the callback has
    assert [text for _, text in unraisable] == ["that nobody can ask for"]


def test_a_stream_that_calls_and_is_dropped_warns_and_ends(camera):
    with pytest.warns(ResourceWarning, match="with a callback was not kept"):
        camera.grab(callback=lambda image: None)
        gc.collect()
    assert len(list(camera.grab(3))) == 3


def test_a_callback_goes_with_its_stream(camera):
    class Listener:
        def __call__(self, image):
            raise RuntimeError

    listener = Listener()
    gone = weakref.ref(listener)
    with camera.grab(callback=listener) as stream:
        with pytest.raises(RuntimeError):
            stream.join(60)
    del listener
    gc.collect()
    assert gone() is None


def test_images_of_a_callback_cannot_be_waited_for_besides(camera):
    refused = []

    def callback(image):
        begun.wait(60)
        for ask in lambda: stream.join(), lambda: next(stream), stream.wait:
            with pytest.raises(tavix.StateError) as caught:
                ask()
            refused.append(str(caught.value))

    begun = threading.Event()
    with camera.grab(1, callback=callback) as stream:
        begun.set()
        stream.join(60)
        with pytest.raises(tavix.StateError, match="go to its callback"):
            next(stream)
    assert len(refused) == 3 and "cannot wait for the end of its own stream" in refused[0]
    with camera.grab(1) as stream:
        with pytest.raises(tavix.StateError, match="only a stream with a callback"):
            stream.join()


def test_a_callback_is_a_function(camera):
    with pytest.raises(TypeError, match="takes a function to call for callback, not 'print'"):
        camera.grab(callback="print")
    with pytest.raises(TypeError, match="no option 'callback'"):
        camera.stream(callback=print)
    assert len(list(camera.grab(1, callback=None))) == 1
    assert inspect.signature(camera.grab).parameters["callback"].default is None


def test_the_lock_of_the_interpreter_is_free_between_calls(camera):
    # The callback needs what only the main thread gives, and that goes on while the stream is joined, closed, asked.
    turn = threading.Semaphore(0)
    with camera.grab(20, callback=lambda image: turn.acquire()) as stream:
        while not stream.join(0):
            turn.release()
            stream.counts, stream.has_ended, stream.why_silent, stream.first_defect
    assert stream.counts.delivered == 20


@pytest.mark.parametrize("grab", [
    "stream = camera.grab(5); list(stream)", "stream = camera.grab(5, callback=lambda image: None); stream.join()",
    "stream = camera.stream(5); asyncio.run(take(stream))"])
def test_a_stream_tells_what_was_wrong_with_the_first_damaged_image(grab):
    done = run("import asyncio, tavix\n"
               "async def take(stream):\n    async for image in stream:\n        pass\n"
               "tavix.virtual([{'faults': {'stream': [{'fault': 'LostTrailer', 'frame': 2}]}}])\n"
               f"with tavix.open() as camera:\n    {grab}\n    told = stream.first_defect\n    stream.close()\n"
               "    print(bool(told), told == stream.first_defect, stream.counts.failed)\n")
    assert done.stdout == "True True 1\n", done.stderr


BEGIN = """
import tavix, threading
tavix.virtual([{"serial": "7"}])
camera = tavix.open("7")
begun = threading.Event()
def callback(image):
    begun.set()
    END
stream = camera.grab(callback=callback)
begun.wait()
"""


@pytest.mark.parametrize("end", ["pass", "raise SystemExit", "list(camera.grab_one() for _ in range(9))"])
def test_a_stream_that_calls_ends_with_the_program(end):
    done = run(BEGIN.replace("END", end) + "print('end')\n", timeout=60)
    assert (done.returncode, done.stdout) == (0, "end\n"), done.stderr


def test_the_callback_that_tells_of_the_return_may_close_the_stream(camera, monkeypatch):
    unraisable = unraisable_ones(monkeypatch)
    called, closed = threading.Event(), threading.Event()

    def close(is_back):
        if is_back:
            stream.close()
            closed.set()

    camera.on_removal(close)
    stream = camera.grab(reconnect=60, callback=lambda image: called.set())
    assert called.wait(60)
    camera.DeviceReset()
    assert closed.wait(60) and stream.join(60) and unraisable == []


def test_a_stream_that_calls_tells_that_its_camera_has_gone(camera):
    called = threading.Event()
    with camera.grab(callback=lambda image: called.set()) as stream:
        assert called.wait(60)
        camera.DeviceReset()
        with pytest.raises(tavix.Removed):
            stream.join(60)
