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
        return [image.convert("RGB8").array for image in camera.grab(10, reconnect=None)]


async def wait() -> int:
    with tavix.group("7", 8) as group:
        async for images in group.stream(3):
            return sum(image.number for image in images if image is not None)
    return 0


def refuse() -> str:
    try:
        asyncio.run(wait())
    except tavix.NotFound as error:
        return error.feature + ", ".join(error.suggestions)
    return 5  # type: ignore[return-value]
