"""Images for `async for`."""

import asyncio
import inspect

from ._tavix import Camera, Group, Timeout


class _AsyncItems:
    def __init__(self, feed):
        self._feed = feed
        self._waiting = {}  # by event loop, the futures of the tasks that wait in it

    def __repr__(self):
        return f"<tavix.{type(self).__name__}, {self._feed.standing}>"

    def __aiter__(self):
        return self

    async def __anext__(self):
        try:
            await asyncio.sleep(0)  # others have their turn, however fast images come
            return await self._next()
        except asyncio.CancelledError:
            self.close()
            raise

    async def _next(self):
        while True:
            image = self._feed.take()
            if image is not None:
                return image
            if self._feed.has_ended:
                raise StopAsyncIteration
            await self._wait()

    async def _wait(self):
        loop = asyncio.get_running_loop()
        ready = loop.create_future()
        silence = self._feed.silence
        limit = None if silence is None else loop.call_later(silence, _give_up, ready, self._feed)
        waiting = self._waiting.setdefault(loop, [])
        waiting.append(ready)
        loop.add_reader(self._feed.fileno(), _wake, waiting)
        try:
            await ready
        finally:
            if limit:
                limit.cancel()
            waiting.remove(ready)
            if not waiting:
                del self._waiting[loop]
                loop.remove_reader(self._feed.fileno())

    async def __aenter__(self):
        return self

    async def __aexit__(self, *error):
        self.close()

    async def aclose(self):
        """Stop the camera. Closing twice is harmless; images live on."""
        self.close()

    def close(self):
        """As aclose(), for those who cannot wait."""
        self._feed.close()

    @property
    def has_ended(self):
        """Whether no further one will come."""
        return self._feed.has_ended

    @property
    def why_silent(self):
        """What to do when nothing comes, in words; '' once the stream is closed."""
        return self._feed.why_silent


def _wake(waiting):
    for ready in waiting:
        if not ready.done():
            ready.set_result(None)


def _give_up(ready, feed):
    if not ready.done():
        what = f"no image came for {feed.silence:g} s" if feed.silence else "there is no image yet"
        ready.set_exception(Timeout(f"{what}; {feed.why_silent}"))


class AsyncStream(_AsyncItems):
    """A running stream for `async for` and `async with`.

    It ends at once when a task that waits for an image is cancelled; otherwise with its last reference, with aclose(),
    or when the camera is closed. Timeout, which the option `timeout` sets, ends nothing. Tasks may share it: each image
    goes to one of them.
    """

    @property
    def counts(self):
        """Counts of delivered, lost and damaged images."""
        return self._feed.counts

    @property
    def first_defect(self):
        """What was wrong with the first image that came damaged, in words; '' when none did."""
        return self._feed.first_defect


class AsyncGroupStream(_AsyncItems):
    """As AsyncStream, of sets of images."""

    @property
    def counts(self):
        """Counts of delivered, lost and damaged images, of each camera."""
        return self._feed.counts


def _give_stream(started, made):
    def stream(self, count=0, **options):
        return made(self._feed(count, **options))

    stream.__doc__ = f"Start as grab() does, for `async for`: an {made.__name__}. Takes the options of grab()."
    signature = inspect.signature(started.grab)
    stream.__signature__ = signature.replace(
        parameters=[one for one in signature.parameters.values() if one.name != "callback"])
    started.stream = stream


_give_stream(Camera, AsyncStream)
_give_stream(Group, AsyncGroupStream)
