"""Never run: mypy reads it, and must find the types of the package as they are used here."""
import asyncio

import numpy

import tavix


def loop() -> list[numpy.ndarray]:
    with tavix.open("7") as camera:
        camera.ExposureTime = 5000.0
        camera["PixelFormat"] = "Mono8"
        subscription: tavix.Subscription = camera.on_event("ExposureEnd", lambda event: print(event["FrameID"]))
        subscription.end()
        kept: tavix.Counts = camera.stream(5, buffers=3, timeout=None).counts
        called: bool = camera.grab(5, callback=lambda image: print(image.number)).join(1.5)
        camera.stream(callback=print)  # type: ignore[call-arg]
        camera.stream(bufers=3)  # type: ignore[call-arg]
        print(called, kept.delivered, tavix.__version__)
        return [image.convert("RGB8").array for image in camera.grab(10, reconnect=None)]


async def wait() -> int:
    with tavix.group("7", 8) as group:
        sets = group.stream(3, by="block_id", set_timeout=0.1)
        missed: list[tavix.Counts] = sets.counts
        group.grab(tolerance="much")  # type: ignore[arg-type]
        async for images in sets:
            print(missed)
            return sum(image.number for image in images if image is not None)
    return 0


def first() -> str:
    with tavix.open(None) as camera:
        return camera.info.serial


def refuse() -> str:
    try:
        asyncio.run(wait())
    except tavix.NotFound as error:
        return error.feature + ", ".join(error.suggestions)
    return 5  # type: ignore[return-value]
