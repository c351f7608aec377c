"""USB3 Vision cameras: opened by name, features as attributes, images as NumPy arrays.

    with tavix.open() as camera:
        camera.ExposureTime = 5000.0  # us
        for image in camera.grab(10):
            print(image.number, image.array.shape)
"""

import atexit as _atexit
import json as _json
import os as _os
import weakref as _weakref

from ._tavix import (AccessError, Camera, CameraInfo, Counts, Error, Event, Feature, HostTime, Image, NotFound, Removed,
                     StateError, Stream, Subscription, Timeout, ValueError)
from . import _tavix

__all__ = ["AccessError", "Camera", "CameraInfo", "Counts", "Error", "Event", "Feature", "HostTime", "Image",
           "NotFound", "Removed", "StateError", "Stream", "Subscription", "Timeout", "ValueError", "cameras", "open",
           "virtual"]

_opened = _weakref.WeakSet()
_used = False


def open(name=""):
    """Open a camera by number, serial number, GUID, user-defined name, model or path; the first one without a name.

    NotFound when there is none or there are several, AccessError when it is in use or not permitted.
    """
    global _used
    _used = True
    camera = _tavix._open(str(name))
    _opened.add(camera)
    return camera


def cameras():
    """List all cameras as CameraInfo, without opening them."""
    global _used
    _used = True
    return _tavix._cameras()


def virtual(cameras=1):
    """Add virtual cameras: their number, or a list of dicts with their settings. Call it before any other function.

    StateError when cameras were listed or opened already.
    """
    if _used:
        raise StateError("virtual cameras are added before cameras are listed or opened")
    text = _json.dumps({"cameras": cameras}) if isinstance(cameras, list) else str(int(cameras))
    _os.environ["TAVIX_VIRTUAL_CAMERAS"] = text


def _close_all():
    # While the interpreter still stands: threads that wait for images come back, callbacks end.
    for camera in list(_opened):
        camera.close()


_atexit.register(_close_all)
