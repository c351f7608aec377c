import copy
import gc
import os
import pickle
import signal
import subprocess
import sys
import threading
import time

import numpy
import pytest

import tavix

from child import run


def test_a_loop_takes_so_many_images_in_order(camera):
    assert [image.number for image in camera.grab(5)] == [0, 1, 2, 3, 4]
    assert [image.number for image in camera.grab(2)] == [0, 1]


def test_breaking_off_ends_the_stream(camera):
    for image in camera.grab():
        break
    camera.Width = 32  # locked while streaming
    assert image.is_whole and image.defect == "" and image.missed_before == 0


def test_the_array_is_a_view_of_the_image(camera):
    camera.PixelFormat = "Mono8"
    image = camera.grab_one()
    array = image.array
    assert array.shape == (80, 64) and array.dtype == numpy.uint8 and array.base is image
    assert numpy.shares_memory(array, image.array) and numpy.shares_memory(array, numpy.asarray(image))
    assert numpy.shares_memory(array, numpy.from_dlpack(image))
    assert array.max() > array.min()


def test_numpy_is_loaded_before_images_come():
    code = ("import sys, tavix\ntavix.virtual(1)\nwith tavix.open() as camera:\n"
            "    before = 'numpy' in sys.modules\n    stream = camera.grab(1)\n"
            "    print(before, 'numpy' in sys.modules)\n    stream.close()\n")
    done = subprocess.run([sys.executable, "-c", code], timeout=60, capture_output=True, text=True)
    assert done.stdout == "False True\n", done.stderr


@pytest.mark.parametrize("work", ["list(camera.grab(3))", "camera.grab_one().array.sum()"])
def test_two_threads_may_be_the_first_to_take_images(work):
    done = run(f"""
import concurrent.futures, sys, tavix
tavix.virtual(2)
with tavix.open(0) as one, tavix.open(1) as other, concurrent.futures.ThreadPoolExecutor() as pool:
    assert "numpy" not in sys.modules
    print(len(list(pool.map(lambda camera: {work}, [one, other]))))
""")
    assert done.stdout == "2\n", done.stderr


def test_shapes_follow_the_format(camera):
    camera.PixelFormat = "Mono8"
    image = camera.grab_one()
    colours = image.convert("RGB8")
    assert colours.array.shape == (80, 64, 3) and colours.pixel_format == "RGB8"
    assert (colours.array[:, :, 1] == image.array).all()
    wide = image.convert("Mono16").array
    assert wide.shape == (80, 64) and wide.dtype == numpy.uint16
    with pytest.raises(tavix.ValueError):
        image.convert("Nothing")


def test_packed_formats_are_bytes_in_a_row(camera):
    packed = [name for name in camera.feature("PixelFormat").entries if name.endswith("12p")]
    assert packed
    camera.PixelFormat = packed[0]
    image = camera.grab_one()
    assert image.array.shape == (80 * 64 * 3 // 2,) and image.array.dtype == numpy.uint8
    assert image.convert("Mono16").array.shape == (80, 64)


def test_the_numbers_of_packed_formats_are_to_be_had_as_they_are(camera):
    camera.PixelFormat = "Mono12p"
    image = camera.grab_one()
    numbers = image.unpack()
    assert numbers.shape == (80, 64) and numbers.dtype == numpy.uint16
    packed = image.array.astype(numpy.uint16).reshape(-1, 3)  # two numbers in three bytes
    assert (numbers.reshape(-1, 2)[:, 0] == packed[:, 0] + ((packed[:, 1] & 15) << 8)).all()
    assert (numbers.reshape(-1, 2)[:, 1] == (packed[:, 1] >> 4) + (packed[:, 2] << 4)).all()
    assert (image.convert("Mono16").array == (numbers << 4) + (numbers >> 8)).all()
    kept = numbers[:2].copy()
    view = numbers[:2]
    del numbers, image
    gc.collect()
    assert (view == kept).all()


def test_colours_are_found_as_is_asked(camera):
    camera.PixelFormat = "BayerRG8"
    image = camera.grab_one()
    mosaic = image.unpack()
    assert (mosaic == image.array).all() and not numpy.shares_memory(mosaic, image.array)
    plain, careful = image.convert("RGB8"), image.convert("RGB8", demosaicing="edge_aware")
    assert plain.array.shape == careful.array.shape == (80, 64, 3) and careful.number == image.number
    assert (plain.array != careful.array).any()
    assert (image.convert("RGB8", demosaicing="bilinear").array == plain.array).all()
    for made in (plain, careful):  # what was measured stays
        assert (made.array[::2, ::2, 0] == mosaic[::2, ::2]).all()
        assert (made.array[1::2, 1::2, 2] == mosaic[1::2, 1::2]).all()
    with pytest.raises(tavix.ValueError, match="'bilinear' or 'edge_aware', not 'best'"):
        image.convert("RGB8", demosaicing="best")
    with pytest.raises(tavix.ValueError):
        image.convert("Nothing", demosaicing="edge_aware")


def test_an_image_is_saved_as_is_asked(camera, tmp_path):
    camera.PixelFormat = "BayerRG8"
    image = camera.grab_one()

    def saved(name, **options):
        image.save(tmp_path / name, **options)
        return (tmp_path / name).read_bytes()

    for way in "bilinear", "edge_aware":
        pixels = image.convert("RGB8", demosaicing=way).array.tobytes()
        assert saved("colours.ppm", demosaicing=way).endswith(pixels)
    assert saved("colours.ppm").endswith(pixels)  # along edges, unless told otherwise
    assert len(saved("small.jpg", quality=5)) < len(saved("fine.jpg", quality=95))
    assert len(saved("all.png", compression=9)) < len(saved("all.png", compression=0))
    serial = camera.info.serial.encode()
    assert b"(" + serial + b")" in saved("told.ppm") and serial not in saved("untold.ppm", facts=False)[:60]
    with pytest.raises(tavix.ValueError, match="not 'best'"):
        image.save(tmp_path / "best.png", demosaicing="best")
    assert not (tmp_path / "best.png").exists()


def test_an_image_tells_its_lines_its_arrival_and_all_its_bytes(camera):
    camera.PixelFormat = "Mono8"
    camera.ChunkModeActive = True
    camera.ChunkSelector = "ExposureTime"
    camera.ChunkEnable = True
    before = time.monotonic_ns()
    image = camera.grab_one()
    assert image.stride == 64 and before < image.arrival_ns <= time.monotonic_ns()
    assert image.payload.shape[0] > 64 * 80 and numpy.shares_memory(image.payload, image.array)
    assert (image.payload[:64] == image.array[0]).all()
    kept = image.payload
    copy = kept.copy()
    del image
    camera.grab_one()
    assert (kept == copy).all()


def test_one_image_may_be_waited_for(triggered):
    with triggered.grab(2) as stream:
        assert stream.wait(0) is None and stream.wait(0.01) is None and not stream.has_ended
        for number in range(2):
            triggered.trigger()
            assert stream.wait(60).number == number
        assert stream.wait() is None and stream.has_ended
    assert stream.wait() is None and stream.has_ended


def test_kept_slices_are_never_overwritten(camera):
    stream = camera.grab(40, buffers=2)
    kept = [(image.array[10:20], image.array[10:20].copy()) for image in stream]
    camera.close()
    gc.collect()
    assert len(kept) == 40 and all((view == copy).all() for view, copy in kept)


def test_memory_goes_back_with_the_last_view(camera):
    stream = camera.grab(200, buffers=2)
    for image in stream:
        view = image.array[3:5]
        del image
    assert stream.counts.delivered == 200 and stream.counts.buffers <= 8 and view.shape == (2, 64)


def test_chunks_and_times_come_with_the_image(camera):
    camera.ChunkModeActive = True
    for name in ("FrameCounter", "ExposureTime"):
        if name in camera.feature("ChunkSelector").entries:
            camera.ChunkSelector = name
            camera.ChunkEnable = True
    image = camera.grab_one()
    assert image.chunks["ExposureTime"] == camera.ExposureTime
    assert image.camera_time > 0 and image.host_time.real_ns > 0 and float(image.host_time) > 1.6e9


def test_images_are_saved(camera, tmp_path):
    camera.grab_one().save(tmp_path / "image.png")
    assert (tmp_path / "image.png").read_bytes()[:4] == b"\x89PNG"
    with pytest.raises(tavix.Error):
        camera.grab_one().save(tmp_path / "nowhere" / "image.png")


def test_triggers_make_images(triggered):
    with triggered.grab() as stream:
        for number in range(3):
            triggered.trigger()
            assert next(stream).number == number
    assert triggered.grab_one().is_whole


def test_silence_is_a_timeout_and_ends_nothing(triggered):
    with triggered.grab(timeout=0.2) as stream:
        with pytest.raises(tavix.Timeout):
            next(stream)
        triggered.trigger()
        assert next(stream).number == 0


def test_no_timeout_at_all_takes_what_is_there(triggered):
    with triggered.grab(timeout=0) as stream:
        with pytest.raises(tavix.Timeout, match="there is no image yet; check"):
            next(stream)
        triggered.trigger()
        while True:
            try:
                assert next(stream).number == 0
                break
            except tavix.Timeout:
                pass


def test_a_signal_ends_a_wait(triggered):
    with triggered.grab(timeout=None) as stream:
        timer = threading.Timer(0, os.kill, (os.getpid(), signal.SIGINT))
        with pytest.raises(KeyboardInterrupt):
            timer.start()
            next(stream)


def test_cancelling_from_another_thread_ends_a_wait(triggered):
    with triggered.grab(timeout=None) as stream:
        threading.Thread(target=stream.cancel).start()
        assert list(stream) == []


def test_misspelt_options_and_second_streams_are_refused(camera):
    with pytest.raises(TypeError, match="bufers"):
        camera.grab(3, bufers=2)
    with pytest.raises(tavix.ValueError):
        camera.grab(3, timeout=-1)
    with pytest.raises(tavix.ValueError, match="99"):
        camera.grab(3, thread_priority=100)
    with pytest.raises(TypeError, match="whole number, 0 or more, for buffers, not 'many'"):
        camera.grab(3, buffers="many")
    with pytest.raises(TypeError, match="for keep_budget, not -1"):
        camera.grab(3, keep_budget=-1)
    with pytest.raises(TypeError, match="number of seconds for timeout, not 'long'"):
        camera.grab(3, timeout="long")
    with pytest.raises(TypeError, match=r"^grab\(\) takes a whole number, 0 or more, for count, not 'x'"):
        camera.grab("x")
    camera.grab(2**70).close()  # as good as without end
    for call in camera.grab_one, camera.trigger, camera.UserSetLoad:
        with pytest.raises(TypeError, match="a time is a number of seconds, or None, and not 'x'"):
            call(timeout="x")
    with camera.grab():
        with pytest.raises(tavix.StateError):
            camera.grab()


def test_who_keeps_all_images_is_told_so(camera):
    with camera.grab(buffers=3, keep_budget=0, timeout=0.1) as stream:
        kept = [next(stream).array[:1] for _ in range(3)]
        with pytest.raises(tavix.Timeout, match="all 3 images that there is memory for are kept"):
            next(stream)
        kept.clear()
        assert next(stream).is_whole


def test_counts_show_what_was_lost(camera):
    with camera.grab(3) as stream:
        list(stream)
        assert repr(stream.counts) == "<tavix.Counts delivered=3>"
    assert stream.counts.delivered == 3  # and afterwards
    with pytest.raises(tavix.ValueError, match="number of images"):
        camera.grab(-1)


def test_events_are_told_with_their_values(camera):
    told = threading.Event()
    seen = []

    def on_event(event):
        seen.append((event.name, event["FrameID"], sorted(event.values), event.message))
        told.set()

    subscription = camera.on_event("ExposureEnd", on_event)
    with camera.grab() as stream:
        while not told.is_set():
            next(stream)
    subscription.end()
    name, frame, values, message = seen[0]
    assert isinstance(message, bytes) and len(message) >= 8
    assert name == "ExposureEnd" and isinstance(frame, int) and "EventExposureEndFrameID" in values


def test_an_image_is_copied_and_tells_how_to_be_pickled(camera):
    image = camera.grab_one()
    for copied in (copy.copy(image), copy.deepcopy(image)):
        assert (copied.array == image.array).all() and not numpy.shares_memory(copied.array, image.array)
    with pytest.raises(TypeError, match="pickle its array, or save"):
        pickle.dumps(image)
    assert (pickle.loads(pickle.dumps(image.array)) == image.array).all()
