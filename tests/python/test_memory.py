"""Images in memory that Python brings."""
import gc
import threading
import weakref
from multiprocessing.shared_memory import SharedMemory

import numpy
import pytest

import tavix


class Allocator:
    def __init__(self, make):
        self.make, self.given, self.sizes = make, [], []

    def __call__(self, size):
        memory = self.make(size)
        self.given.append(memory)
        self.sizes.append(size)
        return memory


@pytest.mark.parametrize("make", [
    lambda size: numpy.empty(size, numpy.uint8), lambda size: numpy.empty((2, size), numpy.uint16),
    lambda size: memoryview(numpy.zeros(size + 100, numpy.uint8))[16:]])
def test_images_come_in_the_memory_that_the_allocator_gives(camera, make):
    allocator = Allocator(make)
    with camera.grab(4, buffers=3, allocator=allocator) as stream:
        for image in stream:
            assert any(image.memory is memory for memory in allocator.given)
            assert numpy.shares_memory(image.array, numpy.asarray(image.memory))
        assert stream.counts.mapped == 0
    assert len(allocator.given) >= 3 and set(allocator.sizes) == {camera.PayloadSize}


def test_shared_memory_holds_images(camera):
    blocks = []

    def allocate(size):
        blocks.append(SharedMemory(create=True, size=size))
        return numpy.frombuffer(blocks[-1].buf, numpy.uint8)

    with camera.grab(2, buffers=2, allocator=allocate) as stream:
        image = next(stream)
        seen = [block for block in blocks if numpy.shares_memory(numpy.frombuffer(block.buf, numpy.uint8), image.array)]
        other = SharedMemory(seen[0].name)
        assert bytes(other.buf[:64]) == image.array[0].tobytes()
        other.close()
    del image
    for block in blocks:
        block.close()  # which it could not while somebody holds its buffer
        block.unlink()


def test_memory_goes_with_stream_and_images(camera):
    class Memory(numpy.ndarray):
        pass

    gone = []

    def allocate(size):
        memory = numpy.empty(size, numpy.uint8).view(Memory)
        gone.append(weakref.ref(memory))
        return memory

    with camera.grab(buffers=2, allocator=allocate) as stream:
        view = next(stream).array[3:]
    gc.collect()
    kept = [memory() for memory in gone if memory() is not None]
    assert len(kept) == 1 and numpy.shares_memory(kept[0], view)
    thread = threading.Thread(target=kept.clear)
    del view
    thread.start()
    thread.join()
    gc.collect()
    assert all(memory() is None for memory in gone)


def test_memory_of_the_library_and_of_copies_is_nobodys_object(camera):
    assert camera.grab_one().memory is None
    for image in camera.grab(1, allocator=bytearray):
        assert isinstance(image.memory, bytearray) and image.clone().memory is None
        assert image.convert("RGB8").memory is None


def fail(size):
    raise MemoryError(f"no {size} bytes are left")


@pytest.mark.parametrize("allocator, told", [
    (fail, r"MemoryError: no \d+ bytes are left"), (lambda size: None, "memory"), (bytes, "not writable"),
    (lambda size: 7, "a bytes-like object is required"), (lambda size: bytearray(3), r"gave 3 bytes where \d+ are needed"),
    (lambda size: memoryview(numpy.zeros(size + 1, numpy.uint8))[1:], "does not begin at a multiple of 16 bytes"),
    (lambda size: numpy.zeros(2 * size, numpy.uint8)[::2], "contiguous"), (lambda: None, "takes 0 positional")])
def test_an_allocator_that_gives_none_refuses_the_start(camera, allocator, told):
    with pytest.raises(tavix.Error, match=told):
        camera.grab(allocator=allocator)
    assert len(list(camera.grab(2))) == 2


def test_an_allocator_is_a_function(camera):
    with pytest.raises(TypeError, match="takes a function to call for allocator, not 4096"):
        camera.grab(allocator=4096)


def test_further_memory_is_asked_for_while_the_stream_runs(camera):
    allocator = Allocator(bytearray)
    kept = []
    called = threading.Event()

    def keep(image):
        kept.append(image.array)
        if len(kept) == 6:
            called.set()

    with camera.grab(6, buffers=2, allocator=allocator, callback=keep) as stream:
        assert stream.join(60)
    assert called.is_set() and len(allocator.given) >= 6
    with camera.grab(6, buffers=2, allocator=allocator, newest_only=True) as stream:
        kept = [image.array for image in stream]
    assert len(kept) == 6


def test_streams_of_groups_and_of_event_loops_take_an_allocator(camera):
    allocator = Allocator(bytearray)
    with tavix.group("8") as group, group.grab(1, allocator=allocator) as sets:
        (image,) = next(sets)
        assert any(image.memory is memory for memory in allocator.given)
    feed = camera.stream(1, allocator=allocator)
    feed.close()
    assert allocator.sizes[-1] == camera.PayloadSize


def test_the_image_that_an_event_loop_did_not_take_gives_its_memory_back(camera):
    for _ in range(20):
        stream = camera.stream(1, buffers=2, allocator=bytearray)
        closing = threading.Thread(target=stream.close)
        closing.start()
        while closing.is_alive():
            stream._feed.take()
        closing.join()
