import asyncio
import gc
import os
import threading
import time

import pytest

import tavix


def threads():
    return len(os.listdir("/proc/self/task"))


def test_a_loop_takes_so_many_images_in_order(camera):
    async def numbers():
        return [image.number async for image in camera.stream(5)]

    assert asyncio.run(numbers()) == [0, 1, 2, 3, 4]


def test_a_wrong_number_is_told_under_the_name_that_was_called(camera):
    with pytest.raises(TypeError, match=r"^stream\(\) takes a whole number.* not 'x'$"):
        camera.stream("x")
    with pytest.raises(tavix.ValueError, match="number of images"):
        camera.stream(-1)
    camera.stream(2**70).close()  # as good as without end


def test_others_have_their_turn(camera):
    async def count():
        turns = 0
        stream = camera.stream(20)

        async def other():
            nonlocal turns
            while True:
                turns += 1
                await asyncio.sleep(0)

        task = asyncio.create_task(other())
        async for _ in stream:
            pass
        task.cancel()
        return turns

    assert asyncio.run(count()) >= 20


def test_cancelling_ends_the_stream_and_leaves_no_thread(triggered):
    async def cancel():
        before = threads()
        for _ in range(5):
            waiting = asyncio.Event()

            async def wait():
                stream = triggered.stream(timeout=None)
                waiting.set()
                async for _ in stream:
                    pass

            task = asyncio.create_task(wait())
            await waiting.wait()
            task.cancel()
            with pytest.raises(asyncio.CancelledError):
                await task
            triggered.Width = 32  # locked while streaming
            triggered.Width = 64
        return before, threads()

    before, after = asyncio.run(cancel())
    assert after == before


def test_an_asynchronous_stream_tells_how_it_is(triggered):
    async def ask():
        async with triggered.stream(1) as stream:
            assert not stream.has_ended and "trigger" in stream.why_silent and stream.first_defect == ""
            triggered.trigger()
            assert [image.number async for image in stream] == [0]
            assert stream.has_ended
        assert stream.why_silent == stream.first_defect == ""

    asyncio.run(ask())


def test_silence_is_a_timeout_and_ends_nothing(triggered):
    async def wait():
        async with triggered.stream(timeout=0.1) as stream:
            with pytest.raises(tavix.Timeout):
                await anext(stream)
            triggered.trigger()
            return (await anext(stream)).number, stream.counts.delivered

    assert asyncio.run(wait()) == (0, 1)


def test_a_stream_ends_with_its_block_and_with_its_last_reference(camera):
    async def grab():
        async with camera.stream() as stream:
            await anext(stream)
        camera.Width = 32
        async for _ in camera.stream():
            break
        gc.collect()
        camera.Width = 64
        with pytest.raises(StopAsyncIteration):
            await anext(stream)
        assert stream.counts.delivered >= 1  # still told

    asyncio.run(grab())


def test_closing_the_camera_ends_the_loop(triggered):
    async def grab():
        stream = triggered.stream(timeout=None)
        asyncio.get_running_loop().call_soon(triggered.close)
        return [image async for image in stream]

    assert asyncio.run(grab()) == []


def test_two_cameras_at_once(camera):
    async def count(opened):
        return len([image async for image in opened.stream(5)])

    async def both():
        with tavix.open("8") as other:
            return await asyncio.gather(count(camera), count(other))

    assert asyncio.run(both()) == [5, 5]


def test_tasks_share_a_stream_and_each_image_comes_once(camera):
    async def share():
        stream = camera.stream(30)

        async def take():
            return [image.number async for image in stream]

        return await asyncio.gather(take(), take(), take())

    assert sorted(number for numbers in asyncio.run(share()) for number in numbers) == list(range(30))


def test_callbacks_may_close_the_stream_and_the_camera(camera):
    async def grab(end):
        with tavix.open("7") as opened:
            async with opened.stream(reconnect=None) as stream:
                opened.on_removal(lambda is_back: is_back and end(opened, stream))
                await anext(stream)
                opened.DeviceReset()
                return [image async for image in stream]

    camera.close()
    for end in (lambda opened, stream: stream.close(), lambda opened, stream: opened.close()):
        asyncio.run(grab(end))


def test_a_callback_on_the_thread_of_a_stream_may_drop_it(triggered):
    async def start():
        return [triggered.stream(timeout=None, reconnect=None)]

    streams, dropped = asyncio.run(start()), threading.Event()

    def drop(is_back):
        if is_back:
            streams.clear()
            gc.collect()
            dropped.set()

    subscription = triggered.on_removal(drop)
    triggered.DeviceReset()
    assert dropped.wait(60)
    subscription.end()  # returns when the callback has
    triggered.close()
    tavix.open("7").close()


def test_a_callback_on_the_thread_of_a_stream_may_ask_while_another_closes(triggered):
    stream = triggered.stream(timeout=None, reconnect=None)
    told, counts = threading.Event(), []

    def ask(is_back):
        if is_back:
            told.set()
            time.sleep(0.1)  # meanwhile the other thread waits for this one
            counts.append(stream.counts)
            stream.close()

    triggered.on_removal(ask)
    triggered.DeviceReset()
    assert told.wait(60)
    stream.close()
    assert [one.delivered for one in counts] == [0] and stream.counts.delivered == 0


def test_no_timeout_at_all_takes_what_is_there(triggered):
    async def poll():
        async with triggered.stream(timeout=0) as stream:
            with pytest.raises(tavix.Timeout, match="there is no image yet; check"):
                await anext(stream)
            triggered.trigger()
            while True:
                try:
                    return (await anext(stream)).number
                except tavix.Timeout:
                    pass

    assert asyncio.run(poll()) == 0


def test_the_newest_image_is_the_newest_when_it_is_asked_for(camera):
    exposed, enough = [], threading.Event()

    def count(event):
        exposed.append(event["FrameID"])
        if len(exposed) == 50:
            enough.set()

    async def take():
        async with camera.stream(newest_only=True) as stream:
            first = await anext(stream)
            subscription = camera.on_event("ExposureEnd", count)
            assert enough.wait(60)  # meanwhile the loop is busy
            subscription.end()
            second = await anext(stream)
            third = await anext(stream)
            return [image.block_id for image in (first, second, third)], stream.counts.dropped

    ids, dropped = asyncio.run(take())
    assert ids[0] + 20 < ids[1] < ids[2] and dropped >= 20


def test_a_stream_of_the_newest_images_ends(camera):
    async def take():
        closing = camera.stream(newest_only=True)
        await anext(closing)
        camera.close()
        return [image async for image in closing]

    async def numbers():
        return [image.number async for image in camera.stream(5, newest_only=True)]

    assert asyncio.run(numbers())[:5] == [0, 1, 2, 3, 4]
    assert len(asyncio.run(take())) <= 1  # that came before


def test_options_are_those_of_grab(camera):
    with pytest.raises(TypeError, match=r"^stream\(\) has no option 'bufers'"):
        camera.stream(bufers=2)
    with pytest.raises(TypeError, match=r"^stream\(\) takes a whole number.* for buffers, not 'many'"):
        camera.stream(buffers="many")
    with tavix.group("8") as group, pytest.raises(TypeError, match=r"^stream\(\) takes a text for by, not 7"):
        group.stream(by=7)
