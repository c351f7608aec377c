import asyncio
import gc

import pytest

import tavix


@pytest.fixture
def group():
    with tavix.group("7", "8") as opened:
        for camera in opened:
            camera.UserSetSelector = "Default"
            camera.UserSetLoad()
        opened.set("TriggerSource", "Software")
        opened.set("TriggerMode", "On")
        yield opened


def test_cameras_are_opened_in_order_and_closed_together():
    with tavix.group("8", "left") as group:
        assert [camera.info.serial for camera in group] == ["8", "7"] and len(group) == 2
        assert group[0] is group.cameras[0] and group.is_open
    assert not group.is_open and not group[0].is_open
    with tavix.group() as everything:
        assert len(everything) == 2


def test_all_are_open_or_none():
    with pytest.raises(tavix.NotFound):
        tavix.group("7", "nobody")
    tavix.open("7").close()


def test_a_trigger_of_all_has_parts(group):
    with group.grab(1, by="block_id", set_timeout=10) as stream:
        assert group.await_trigger(60)
        group.fire_trigger()
        assert next(stream).is_complete


def test_triggered_sets_hold_an_image_of_each(group):
    with group.grab(by="block_id", set_timeout=10) as stream:
        for number in range(3):
            group.trigger()
            images = next(stream)
            assert images.is_complete and images.gaps == ["", ""] and len(images) == 2
            assert [image.number for image in images] == [number, number]
            assert [image.array.shape for image in images.images] == [(80, 64), (64, 64)]
        assert [counts.delivered for counts in stream.counts] == [3, 3]


def test_a_stream_that_has_ended_leaves_the_cameras_alone(group):
    group.set("TriggerMode", "Off")
    ended = group.grab(3)
    assert len(list(ended)) == 3
    group.set("Width", 32)  # locked while streaming
    cancelled = group.grab()
    next(cancelled)
    cancelled.cancel()
    assert list(cancelled) == []
    group.set("Width", 64)
    with group[0].grab() as stream:
        next(stream)
        stream.cancel()
        assert list(stream) == []
        group[0].Width = 32

    async def grab():
        stream = group.stream(2)
        assert len([images async for images in stream]) == 2
        group.set("Width", 64)

    asyncio.run(grab())


def test_a_silent_camera_leaves_its_place_empty(group):
    with group.grab(set_timeout=0.1) as stream:
        group[0].trigger()
        images = next(stream)
        assert images[0].number == 0 and images[1] is None and not images.is_complete
        assert images.gaps[0] == "" and images.gaps[1] != ""


def test_a_camera_of_a_group_may_be_closed_for_itself(group):
    group[1].close()
    assert group[0].is_open and not group.is_open
    tavix.open("8").close()
    with pytest.raises(tavix.StateError):
        group.grab()


def test_sets_come_to_an_event_loop(group):
    async def grab():
        async with group.stream(2, by="block_id", set_timeout=10) as stream:
            group.trigger()
            first = await anext(stream)
            group.trigger()
            return [first, *[images async for images in stream]]

    assert [images.is_complete for images in asyncio.run(grab())] == [True, True]


def test_a_feature_is_set_on_every_camera(group):
    group.set("ExposureTime", 2000)
    assert [camera.ExposureTime for camera in group] == [2000, 2000]
    with pytest.raises(tavix.ValueError) as caught:
        group.set("Width", 100000)
    assert caught.value.feature == "Width"


def test_silence_of_all_is_a_timeout_and_misspelt_options_are_refused(group):
    with group.grab(timeout=0.1) as stream:
        with pytest.raises(tavix.Timeout):
            next(stream)
    for options in ({"patient": 1}, {"tolerance": "long"}):
        with pytest.raises(TypeError if "patient" in options else (TypeError, RuntimeError)):
            group.grab(**options)
    for options in ({"by": "chance"}, {"tolerance": -1}):
        with pytest.raises(tavix.ValueError):
            group.grab(**options)


def test_a_forgotten_group_warns_and_closes():
    group = tavix.group("7", "8")
    with pytest.warns(ResourceWarning, match="not closed"):
        del group
        gc.collect()
    tavix.group("7", "8").close()
