import gc
import inspect
import os
import re
import subprocess
import sys
import threading
import weakref

import numpy
import pytest

import tavix

from child import run


def test_lists_the_cameras_with_their_names():
    assert [(info.serial, info.user_name) for info in tavix.cameras()] == [("7", "left"), ("8", "")]


def test_opens_by_any_name_and_closes_at_the_end_of_the_block():
    with tavix.open("left") as camera:
        assert camera.is_open and camera.info.guid == "1209000000A7"
    assert not camera.is_open
    with pytest.raises(tavix.StateError):
        camera["Width"]
    with pytest.raises(AttributeError, match="closed"):
        camera.Width


@pytest.mark.parametrize("made, by", [
    (tavix.Camera, "open"), (tavix.CameraInfo, "cameras"), (tavix.Counts, "counts"), (tavix.Event, "on_event"),
    (tavix.Feature, "feature"), (tavix.Group, "group"), (tavix.GroupStream, "grab"), (tavix.HostTime, "host_time"),
    (tavix.Image, "grab_one"), (tavix.ImageSet, "grab"), (tavix.Stream, "grab"), (tavix.Subscription, "on_change"),
    (tavix.Watch, "watch")])
def test_what_is_made_elsewhere_says_where(made, by):
    for arguments in (), ("7",):
        with pytest.raises(TypeError, match=rf"^{made.__name__}\(\) makes nothing; .*\b{by}\b"):
            made(*arguments)


CLASSES = [kind for kind in vars(tavix._tavix).values() if isinstance(kind, type) and not issubclass(kind, Exception)]


@pytest.mark.parametrize("made", CLASSES, ids=lambda made: made.__name__)
def test_an_object_without_inside_is_refused_whatever_it_is_asked(made):
    """In a program of its own, as it would crash."""
    done = run(f"""
import tavix
made = vars(tavix._tavix)[{made.__name__!r}]
empty = made.__new__(made)
asked = [lambda name=name: getattr(empty, name) for name, what in vars(made).items() if isinstance(what, property)]
for name in dir(made):
    if not isinstance(getattr(made, name), property) and name not in dir(object):
        call = getattr(made, name)
        for count in range(4):
            asked.append(lambda call=call, count=count: call(empty, *[0] * count))
        asked += [lambda call=call: call(empty, "x"), lambda call=call: call(empty, "x", print)]
if "__repr__" in vars(made):
    asked.append(lambda: repr(empty))
if made is tavix.Camera:
    asked += [lambda: dir(empty), lambda: empty.Width, lambda: setattr(empty, "Width", 1)]
if made is tavix.Image:
    asked += [lambda: memoryview(empty), lambda: bytes(empty)]
for ask in asked:
    try:
        told = ask()
        if told is not empty:
            print(ask, told)
    except (TypeError, AttributeError):
        pass
print("alive", len(asked) > 0)
""")
    assert done.stdout == "alive True\n", done.stdout + done.stderr


def test_what_is_closed_is_not_entered(camera):
    stream = camera.grab()
    stream.close()
    with pytest.raises(tavix.StateError, match=r"closed; grab\(\)"):
        with stream:
            pass
    camera.close()
    with pytest.raises(tavix.StateError, match=r"closed; tavix.open\(\)"):
        with camera:
            pass
    with tavix.group("7", "8") as group:
        group[1].close()
        with pytest.raises(tavix.StateError, match=r"closed; tavix.group\(\)"):
            with group:
                pass


def test_a_second_open_is_refused_and_told_who_has_it(camera):
    with pytest.raises(tavix.AccessError, match="this program has it open already"):
        tavix.open("7")


def test_garbage_is_refused_under_the_name_that_was_called():
    for call in tavix.open, tavix.group:
        with pytest.raises(UnicodeEncodeError):
            call("\udce9")
    with pytest.raises(TypeError, match=r"^watch\(\) takes a function to call, not 5$"):
        tavix.watch(5)


def test_an_unknown_name_is_not_found():
    with pytest.raises(tavix.NotFound) as caught:
        tavix.open("nobody")
    assert isinstance(caught.value, tavix.Error) and isinstance(caught.value, LookupError)


def test_virtual_cameras_come_before_all_others():
    tavix.cameras()
    with pytest.raises(tavix.StateError):
        tavix.virtual(2)


@pytest.mark.parametrize("cameras", [0, -1, []])
def test_no_virtual_camera_is_nothing_to_add(cameras):
    with pytest.raises(ValueError, match=f"one camera at least, not {re.escape(repr(cameras))}"):
        tavix.virtual(cameras)


def test_a_forgotten_camera_warns_and_closes():
    camera = tavix.open("7")
    with pytest.warns(ResourceWarning, match="not closed"):
        del camera
        gc.collect()
    tavix.open("7").close()


def test_a_forgotten_watch_warns_and_ends():
    listener = Listener()
    gone = weakref.ref(listener)
    watch = tavix.watch(listener)
    del listener
    with pytest.warns(ResourceWarning, match="watch of tavix was not kept"):
        del watch
        gc.collect()
    assert gone() is None


def test_features_are_items_and_attributes_with_types(camera):
    camera["ExposureTime"] = 5000
    assert camera.ExposureTime == 5000.0 and isinstance(camera.ExposureTime, float)
    camera.PixelFormat = "Mono8"
    assert camera["PixelFormat"] == "Mono8"
    assert camera["Width"] == 64 and isinstance(camera.Width, int)
    camera.ChunkModeActive = True
    assert camera.ChunkModeActive is True
    assert "Width" in camera and "Nothing" not in camera and "Width" in dir(camera) and "grab" in dir(camera)


def test_a_wrong_value_names_the_feature(camera):
    with pytest.raises(tavix.ValueError) as caught:
        camera.Width = 100000
    assert caught.value.feature == "Width" and isinstance(caught.value, ValueError)
    assert camera.Width == 64
    with pytest.raises(tavix.ValueError):
        camera.Width = 32.5
    with pytest.raises(TypeError):
        camera.Width = [1]


def test_an_unknown_feature_tells_the_nearest_names(camera):
    with pytest.raises(tavix.NotFound) as caught:
        camera["ExposureTim"]
    assert "ExposureTime" in caught.value.suggestions
    assert not hasattr(camera, "Widht")
    with pytest.raises(AttributeError):
        camera.Widht = 3


def test_a_misspelt_attribute_is_answered_with_the_nearest_names(camera):
    with pytest.raises(AttributeError, match=r"'Widht'; did you mean Width\?"):
        camera.Widht
    with pytest.raises(AttributeError, match=r"did you mean ExposureTime\?"):
        camera.exposure_time = 3
    with pytest.raises(AttributeError, match="no method '_nothing_'$"):
        camera._nothing_


def test_a_camera_is_opened_as_it_was_listed():
    with tavix.open(tavix.cameras()[1]) as camera:
        assert camera.info.serial == "8"
    with tavix.group(*reversed(tavix.cameras())) as group:
        assert [camera.info.serial for camera in group] == ["8", "7"]


def test_without_a_camera_one_is_told_what_to_do():
    code = "import tavix\ntry:\n    tavix.open()\nexcept tavix.NotFound as error:\n    print(error)\n"
    done = subprocess.run([sys.executable, "-c", code], timeout=60, capture_output=True, text=True,
                          env={name: value for name, value in os.environ.items() if name != "TAVIX_VIRTUAL_CAMERAS"})
    assert "plug one in" in done.stdout or done.stdout == "", done.stderr  # nothing where a real one is plugged in


def test_settings_of_virtual_cameras_that_are_wrong_are_named_as_the_reason():
    code = ("import tavix\ntavix.virtual([{'serail': 7}])\n"
            "try:\n    tavix.open()\nexcept tavix.NotFound as error:\n    print(error)\n")
    done = subprocess.run([sys.executable, "-c", code], timeout=60, capture_output=True, text=True)
    assert "TAVIX_VIRTUAL_CAMERAS" in done.stdout or done.stdout == "", done.stderr  # nothing beside a real camera


def test_a_loop_over_a_camera_is_refused(camera):
    with pytest.raises(TypeError, match="not iterable"):
        for _ in camera:
            pass


def test_texts_name_the_package_and_not_its_halves(camera):
    assert tavix.Camera.__module__ == "tavix" and tavix.Image.__module__ == "tavix"
    assert "_tavix" not in tavix.Camera.grab.__doc__


def test_a_feature_explains_itself(camera):
    width = camera.feature("Width")
    assert (width.name, width.type, width.max, width.value) == ("Width", "integer", 64, 64)
    assert width.min >= 1 and width.inc >= 1 and width.writable and width.why_not == ""
    assert camera.feature("ExposureTime").unit == "us" and camera.feature("ExposureTime").inc == 0.1
    assert "Mono8" in camera.feature("PixelFormat").entries
    with camera.grab():
        assert not width.writable and width.why_not != ""
        with pytest.raises(tavix.AccessError):
            width.value = 32


def test_what_is_the_same_is_equal(camera):
    listed, again = tavix.cameras(), tavix.cameras()
    assert listed == again and listed[0] != listed[1] and set(listed) == set(again) and camera.info == listed[0]
    assert listed[0] != "7"
    width = camera.feature("Width")
    assert width == camera.feature("Width") and width != camera.feature("Height") and width != 64
    assert len({width, camera.feature("Width")}) == 1
    with tavix.open("8") as other:
        assert width != other.feature("Width")
    camera.close()
    assert width == width and hash(width) == hash(width)


def test_all_show_themselves(camera):
    with camera.grab(1) as stream:
        assert repr(stream) == "<tavix.Stream, running>"
        list(stream)
        assert repr(stream) == "<tavix.Stream, ended>"
    assert repr(stream) == "<tavix.Stream, closed>"
    later = camera.stream()
    assert repr(later) == "<tavix.AsyncStream, running>"
    later.close()
    assert repr(later) == "<tavix.AsyncStream, closed>"
    assert repr(camera.on_removal(print)) == "<tavix.Subscription>"
    watch = tavix.watch(lambda info, arrived: None)
    assert repr(watch) == "<tavix.Watch>"
    watch.end()
    assert repr(watch) == "<tavix.Watch, ended>"
    with tavix.group("8") as group, group.grab(1) as sets:
        assert repr(next(sets)) == "<tavix.ImageSet of 1, complete>"


def test_signatures_are_told(camera):
    grab = inspect.signature(tavix.Camera.grab).parameters
    assert list(grab)[:3] == ["self", "count", "buffers"] and grab["timeout"].default == 5.0
    assert list(inspect.signature(camera.grab).parameters) == list(grab)[1:]
    assert list(inspect.signature(tavix.Camera.stream).parameters) == [name for name in grab if name != "callback"]
    for made in (tavix.Group.grab, tavix.Group.stream):
        assert inspect.signature(made).parameters["by"].default == "host_time"
    assert str(inspect.signature(tavix.Camera.grab_one)) == "(self, timeout=5.0)"
    for kind in CLASSES:
        for name, what in vars(kind).items():
            if inspect.isroutine(what) and name not in vars(object) and name != "__next__":
                inspect.signature(getattr(kind, name))


def test_the_options_that_are_told_are_those_that_there_are(camera):
    options = {name: one.default for name, one in inspect.signature(camera.grab).parameters.items() if name != "count"}
    camera.grab(1, **options).close()
    with tavix.group("8") as group:
        parameters = inspect.signature(group.grab).parameters
        group.grab(1, **{name: one.default for name, one in parameters.items() if name != "count"}).close()


def test_errors_that_others_make_have_all_that_errors_have():
    error = tavix.NotFound("made here")
    assert error.feature == "" and list(error.suggestions) == []


def test_the_package_tells_its_version():
    assert re.fullmatch(r"\d+\.\d+\.\d+", tavix.__version__)


def test_scalars_and_arrays_without_dimensions_are_values(camera):
    for value in (numpy.array(1234.0), numpy.float32(1234), numpy.array(1234)):
        camera.ExposureTime = 5000.0
        camera.ExposureTime = value
        assert camera.ExposureTime == 1234.0
    camera.Width = numpy.array(32)
    camera.ReverseX = numpy.array(True)
    camera.PixelFormat = numpy.array("Mono8")
    assert camera.Width == 32 and camera.ReverseX is True and camera.PixelFormat == "Mono8"
    for several in (numpy.array([1.0]), numpy.array([1, 2])):
        with pytest.raises(TypeError, match="takes bool, int, float, str or bytes, not ndarray"):
            camera.ExposureTime = several


def test_a_change_is_told(camera):
    seen = []
    subscription = camera.feature("Width").on_change(lambda feature: seen.append(feature.value))
    camera.Width = 32
    subscription.end()
    camera.Width = 64
    assert seen == [32]


def test_settings_are_saved_and_loaded(camera, tmp_path):
    camera.ExposureTime = 1234.0
    camera.save_settings(tmp_path / "settings.txt")
    camera.ExposureTime = 5000.0
    assert camera.load_settings(tmp_path / "settings.txt") == []
    assert camera.ExposureTime == 1234.0


def test_settings_are_read_changed_and_applied(camera, tmp_path):
    camera.ExposureTime = 1234.0
    settings = camera.read_settings()
    assert dict(settings)["Width"] == "64" and len(settings) == len(settings.lines) and settings.unread == []
    camera.ExposureTime = 5000.0
    assert [(name, float(was), float(now)) for name, was, now in settings.compare(camera.read_settings())] == [
        ("ExposureTime", 1234.0, 5000.0)]
    settings.add("Width", "32")
    settings.add("Nonsense", "1")
    settings.save(tmp_path / "settings.txt")
    loaded = tavix.Settings.load(tmp_path / "settings.txt")
    assert loaded.lines == settings.lines and loaded.compare(settings) == []
    ((name, value, reason),) = camera.apply(loaded)
    assert (name, value) == ("Nonsense", "1") and reason
    assert camera.ExposureTime == 1234.0 and camera.Width == 32
    assert camera.load_settings(tmp_path / "settings.txt") == [(name, value, reason)]


def test_settings_are_made_of_nothing_and_of_text(tmp_path):
    made = tavix.Settings()
    assert len(made) == 0 and made.lines == [] and repr(made) == "<tavix.Settings of 0 lines>"
    made.add("Width", "32")
    assert tavix.Settings.from_text(made.text).lines == [("Width", "32")]
    assert tavix.Settings.from_text("# nothing\nWidth\t64\n").compare(made) == [("Width", "64", "32")]
    assert repr(made) == "<tavix.Settings of 1 line>"
    with pytest.raises(tavix.Error):
        tavix.Settings.from_text("Width")
    with pytest.raises(tavix.Error, match="nowhere"):
        tavix.Settings.load(tmp_path / "nowhere.txt")
    with pytest.raises(tavix.Error):
        made.save(tmp_path / "nowhere" / "settings.txt")


def test_what_a_camera_does_not_tell_is_unread():
    done = run("import tavix\n"
               "tavix.virtual([{'faults': {'control': [{'fault': 'Status', 'value': 32774, 'count': 0, 'command': 2048,\n"
               "                                        'address': 1056832}]}}])\n"  # where it keeps the exposure time
               "with tavix.open() as camera:\n    print(*[name for name, reason in camera.read_settings().unread if reason])")
    assert done.stdout == "ExposureTime\n", done.stderr


def test_a_feature_is_text_and_number(camera):
    feature = camera.feature
    assert feature("Width").text == "64" and int(feature("Width")) == 64 and float(feature("Width")) == 64.0
    feature("Width").text = "32"
    feature("ReverseX").text = "true"
    feature("PixelFormat").text = "Mono8"
    assert camera.Width == 32 and int(feature("ReverseX")) == 1
    assert int(feature("PixelFormat")) == camera.grab_one().pixel_format_code == 0x01080001
    for wrong in lambda: int(feature("DeviceModelName")), lambda: float(feature("PixelFormat")):
        with pytest.raises(tavix.ValueError):
            wrong()
    with pytest.raises(tavix.ValueError):
        feature("Width").text = "wide"


def test_names_of_features_are_told_without_asking(camera):
    names = camera.feature_names()
    assert {feature.name for feature in camera.features()} <= set(names) <= set(dir(camera))


def test_finds_a_camera_without_opening_it():
    info = tavix.find("left")
    assert info.serial == "7" and info.access() == "free" and info == tavix.cameras()[0]
    assert info.is_called("left") and info.is_called("7") and not info.is_called("8")
    assert tavix.find(info) == info
    with pytest.raises(tavix.NotFound, match="nobody"):
        tavix.find("nobody")


def test_a_watch_does_not_tell_of_cameras_that_are_known():
    told, done = [], threading.Event()

    def tell(info, arrived):
        told.append((info.serial, arrived))
        done.set()

    watch = tavix.watch(tell, known=[tavix.find("7")])
    assert done.wait(60)
    watch.end()
    assert told == [("8", True)]
    with pytest.raises(TypeError):
        tavix.watch(tell, known=["7"])


def test_a_trigger_has_parts(triggered):
    with tavix.open("8") as free, pytest.raises(tavix.AccessError):
        free.await_trigger(0)
    with triggered.grab(2) as stream:
        for _ in range(2):
            assert triggered.await_trigger(60)
            triggered.fire_trigger()
            next(stream)
    assert not triggered.await_trigger(0.01)  # nothing streams


def test_a_feature_tells_whether_it_is_there_and_all_its_entries(camera):
    mode, activation = camera.feature("TriggerMode"), camera.feature("TriggerActivation")
    assert mode.available and mode.entries == mode.all_entries == ["Off", "On"]
    assert not activation.available and "TriggerSource" in activation.why_not
    with pytest.raises(tavix.ValueError):
        camera.feature("Width").all_entries


def test_a_command_is_started_and_asked():
    with tavix.open("8") as camera:
        save, endless = camera.feature("UserSetLoad"), camera.feature("TestEventGenerate")
        save.start()
        assert save.await_done(60) and save.is_done
        endless.start()
        assert not endless.is_done and not endless.await_done(0.01)
    with tavix.open("8") as camera, pytest.raises(tavix.Error):
        camera.feature("Width").start()


def test_settings_are_compared_with_a_file(camera, tmp_path):
    camera.ExposureTime = 1234.0
    camera.save_settings(tmp_path / "settings.txt")
    assert camera.compare_settings(tmp_path / "settings.txt") == []
    camera.ExposureTime = 5000.0
    camera.Width = 32
    different = {name: (present, saved) for name, present, saved in camera.compare_settings(tmp_path / "settings.txt")}
    assert different["Width"] == ("32", "64")
    assert [float(value) for value in different["ExposureTime"]] == [5000.0, 1234.0]
    with pytest.raises(tavix.Error):
        camera.compare_settings(tmp_path / "nowhere.txt")


def test_opening_and_closing_leaks_no_reference_and_no_thread():
    """TAVIX_PYTHON_ROUNDS=1000 for those who have a minute."""
    def open_files_and_threads():
        return len(os.listdir("/proc/self/fd")), len(os.listdir("/proc/self/task"))

    def once():
        with tavix.open("7") as camera:
            next(iter(camera.grab(1)))

    once()
    gc.collect()
    before, objects = open_files_and_threads(), len(gc.get_objects())
    for _ in range(int(os.environ.get("TAVIX_PYTHON_ROUNDS", "200"))):
        once()
    gc.collect()
    assert open_files_and_threads() == before
    assert len(gc.get_objects()) < objects + 50


@pytest.mark.parametrize("ending", [
    "",
    "raise SystemExit(0)",
    "threading.Thread(target=lambda: list(camera.grab()), daemon=True).start()",
    "subscription = camera.on_event('ExposureEnd', lambda event: None); stream = camera.grab(); next(stream)",
])
def test_nothing_hangs_at_the_end_of_the_interpreter(ending):
    code = f"import tavix, threading\ntavix.virtual(1)\ncamera = tavix.open()\nimage = next(camera.grab(1))\n{ending}\n"
    done = subprocess.run([sys.executable, "-c", code], timeout=60, capture_output=True, text=True)
    assert done.returncode == 0, done.stderr


def test_what_a_callback_raises_is_told_and_ends_nothing(camera, monkeypatch):
    told = []
    monkeypatch.setattr(sys, "unraisablehook", lambda hook: told.append(str(hook.exc_value)))

    def callback(feature):
        raise RuntimeError("of the callback")

    subscription = camera.feature("Width").on_change(callback)
    camera.Width = 32
    camera.Width = 64
    subscription.end()
    assert told == ["of the callback", "of the callback"]


def test_a_number_of_the_wrong_kind_is_answered_with_the_right_one(camera):
    with pytest.raises(tavix.ValueError, match=r"int\(\) makes a whole number, set_nearest\(\)"):
        camera.Width = 64.0
    with pytest.raises(tavix.ValueError, match="it takes no floating-point number; it takes true, false$"):
        camera.ReverseX = 1.0
    for huge in (10**30, -10**30):
        with pytest.raises(tavix.ValueError, match="Width of .* is beyond 64 bits; it takes 16") as caught:
            camera.Width = huge
        assert caught.value.feature == "Width"
        with pytest.raises(tavix.ValueError, match="ExposureTime of .* it takes 10"):
            camera.ExposureTime = huge
        with pytest.raises(tavix.ValueError, match="takes no whole number"):
            camera.DeviceUserID = huge
        for name in ("PixelFormat", "ReverseX", "DeviceUserID", "UserSetLoad"):
            with pytest.raises(tavix.ValueError, match=f"cannot set {name}.* to '?{huge}'?: "):
                camera[name] = huge
    with pytest.raises(TypeError, match="Width takes bool, int, float, str or bytes, not NoneType"):
        camera.Width = None
    with pytest.raises(tavix.ValueError, match="PixelFormat .* takes no bytes"):
        camera.PixelFormat = b"Mono8"


def test_what_was_written_as_the_nearest_value_may_be_written_again(camera):
    width = camera.feature("Width").set_nearest(33)
    assert isinstance(width, int) and width % camera.feature("Width").inc == 0
    camera.Width = width
    assert camera.feature("ExposureTime").set_nearest(1000) == 1000.0


def test_texts_that_are_not_utf_8_are_told_all_the_same(camera, tmp_path):
    path = tmp_path / "settings.txt"
    path.write_bytes(b"DeviceUserID\tcaf\xe9\n")
    assert camera.load_settings(path) == []
    assert camera.DeviceUserID == camera.feature("DeviceUserID").value == "caf\N{REPLACEMENT CHARACTER}"
    path.write_bytes(b"PixelFormat\tcaf\xe9\nWeather\xff\t1\n")
    assert ("PixelFormat", "caf\N{REPLACEMENT CHARACTER}") in [row[:2] for row in camera.load_settings(path)]
    path.write_bytes(b"\x7fELF\x00\xff" + b"x" * 100000)
    with pytest.raises(tavix.Error, match=r"ELF\?\?x*\.\.\.' is no setting") as caught:
        camera.load_settings(path)
    assert len(str(caught.value)) < 200
    with pytest.raises(UnicodeEncodeError):
        camera.DeviceUserID = "\udce9"
    camera.DeviceUserID = "left"


def test_a_folder_is_no_file_of_settings(camera, tmp_path):
    with pytest.raises(tavix.Error, match="directory"):
        camera.load_settings(tmp_path)


def test_a_subinterpreter_is_refused():
    code = ("import _xxsubinterpreters as interpreters\nimport sys\n"
            "inner = interpreters.create()\n"
            "try:\n    interpreters.run_string(inner, 'import tavix')\n"
            "except interpreters.RunFailedError as error:\n    print(error)\n")
    done = subprocess.run([sys.executable, "-c", code], timeout=60, capture_output=True, text=True)
    assert "main interpreter only" in done.stdout, done.stderr


def test_a_camera_that_comes_back_tells_how_long_it_was_away(camera):
    told = []
    subscription = camera.on_removal(told.append)
    camera.ExposureTime = 1234.0
    with camera.grab(reconnect=60) as stream:
        next(stream)
        camera.DeviceReset()
        image = next(image for image in stream if image.gap_before > 0)
        assert image.is_whole and stream.counts.reconnects == 1
    subscription.end()
    assert told == [False, True] and camera.ExposureTime == 1234.0


@pytest.mark.parametrize("by", [tavix.Stream.close, tavix.Stream.cancel, next])
def test_the_callback_that_tells_of_the_return_may_end_the_stream(camera, by):
    told = []

    def end(is_back):
        if is_back:
            try:
                by(stream)
            except tavix.StateError as error:  # the wait that makes the callback is the stream's own
                told.append(error)
                stream.cancel()

    camera.on_removal(end)
    with camera.grab(reconnect=60) as stream:
        next(stream)
        camera.DeviceReset()
        for _ in stream:
            pass
    assert len(told) == (by is next)


def test_a_callback_may_close_the_camera(camera):
    closed = threading.Event()

    def close(_):
        camera.close()
        closed.set()

    camera.on_event("ExposureEnd", close)
    list(camera.grab())
    assert closed.wait(60) and not camera.is_open
    camera.close()  # returns when the callback has
    tavix.open("7").close()


class Listener:
    subscription = None

    def __call__(self, *_):
        if self.subscription:
            self.subscription.end()


@pytest.mark.parametrize("begin", [
    lambda camera, listener: camera.on_event("ExposureEnd", listener),
    lambda camera, listener: camera.on_removal(listener),
    lambda camera, listener: camera.feature("Width").on_change(listener),
    lambda camera, listener: tavix.watch(listener)])
def test_a_callback_that_has_ended_is_let_go(camera, begin):
    listener = Listener()
    gone = weakref.ref(listener)
    begin(camera, listener).end()
    del listener
    assert gone() is None


def test_a_callback_that_has_ended_itself_is_let_go(camera):
    listener = Listener()
    gone = weakref.ref(listener)
    listener.subscription = camera.feature("Width").on_change(listener)
    camera.Width = 32
    del listener
    gc.collect()
    assert gone() is None


def test_a_callback_may_end_its_watch():
    known = threading.Event()
    ended = threading.Event()

    def end(*_):
        known.wait()
        watch.end()
        ended.set()

    watch = tavix.watch(end)
    known.set()
    assert ended.wait(60)


def test_a_camera_that_is_not_waited_for_is_removed(camera):
    with camera.grab() as stream:
        next(stream)
        camera.DeviceReset()
        with pytest.raises(tavix.Removed):
            for _ in stream:
                pass
