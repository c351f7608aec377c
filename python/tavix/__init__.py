"""USB3 Vision cameras: opened by name, features as attributes, images as NumPy arrays.

    with tavix.open() as camera:
        camera.ExposureTime = 5000.0  # us
        for image in camera.grab(10):
            print(image.number, image.array.shape)
"""

import json as _json
import os as _os

from . import _ending, _html, _tavix
from ._asynchronous import AsyncGroupStream, AsyncStream
from ._tavix import (AccessError, Camera, CameraInfo, Counts, Error, Event, Feature, Group, GroupStream, HostTime, Image,
                     ImageSet, NotFound, Removed, Settings, StateError, Stream, Subscription, Timeout, ValueError,
                     Watch, __version__)

__all__ = ["AccessError", "AsyncGroupStream", "AsyncStream", "Camera", "CameraInfo", "Counts", "Error", "Event",
           "Feature", "Group", "GroupStream", "HostTime", "Image", "ImageSet", "NotFound", "Removed", "Settings",
           "StateError", "Stream", "Subscription", "Timeout", "ValueError", "Watch", "cameras", "find", "group", "open", "virtual", "watch"]

Camera.__iter__ = None  # numbers are no names of features, and the loop over images is grab()
Camera._repr_html_ = _html.of_camera
Feature._repr_html_ = _html.of_feature
Image._repr_html_ = _html.of_image


def _made_elsewhere(made, by):
    def refuse(self, *args, **options):
        raise TypeError(f"{made.__name__}() makes nothing; {by}")

    made.__init__ = refuse


for _made, _by in (
        (Camera, "tavix.open() opens a camera"),
        (CameraInfo, "tavix.cameras() lists cameras, and camera.info is that of one"),
        (Counts, "stream.counts has them"),
        (Event, "callbacks of camera.on_event() get them"),
        (Feature, "camera.feature() finds one"),
        (Group, "tavix.group() opens several cameras"),
        (GroupStream, "group.grab() starts one"),
        (HostTime, "image.host_time and camera.to_host_time() are such"),
        (Image, "camera.grab() and camera.grab_one() bring images"),
        (ImageSet, "group.grab() brings sets"),
        (Stream, "camera.grab() starts one"),
        (Subscription, "camera.on_event(), camera.on_removal() and feature.on_change() return one"),
        (Watch, "tavix.watch() starts one")):
    _made_elsewhere(_made, _by)
del _made, _by

_used = False


def _name(camera):
    if camera is None:
        return ""
    name = camera.path if isinstance(camera, CameraInfo) else str(camera)
    name.encode()  # not every str has a form in UTF-8, and Python says best why
    return name


def _no_pickle(image, protocol):
    raise TypeError("an image belongs to the stream that it came from; pickle its array, or save() it")


Image.__copy__ = Image.clone
Image.__deepcopy__ = lambda image, memo: image.clone()
Image.__reduce_ex__ = _no_pickle


def open(name=""):
    """Open a camera by number, serial number, GUID, user-defined name, model, path or CameraInfo; else the first one.

    NotFound when there is none or there are several, AccessError when it is in use or not permitted.
    """
    global _used
    _used = True
    camera = _tavix._open(_name(name))
    _ending.with_program(camera)
    return camera


def cameras():
    """List all cameras as CameraInfo, without opening them."""
    global _used
    _used = True
    return _tavix._cameras()


def find(name=""):
    """Find the one camera of a name as open() takes it, without opening it: a CameraInfo.

    NotFound when there is none or there are several.
    """
    global _used
    _used = True
    return _tavix._find(_name(name))


def group(*names):
    """Open several cameras as one, each by a name as open() takes it; all cameras without names.

    NotFound and AccessError as open() raises them; then none stays open.
    """
    global _used
    _used = True
    opened = _tavix._group([_name(name) for name in names])
    _ending.with_program(*opened.cameras)
    return opened


def watch(callback, known=()):
    """Call `callback(info, arrived)` for each camera that is there, comes or goes, on a thread of the library.

    Cameras of `known`, CameraInfos such as cameras() lists, are told of only when they have gone.
    Keep what is returned: it tells until it is dropped, or by its end().
    """
    if not callable(callback):
        raise TypeError(f"watch() takes a function to call, not {callback!r}")
    global _used
    _used = True
    started = _tavix._watch(callback, list(known))
    _ending.with_program(started)
    return started


def virtual(cameras=1):
    """Add virtual cameras: their number, or a list of dicts with their settings. Call it before any other function.

    StateError when cameras were listed or opened already, ValueError when it would be none.
    """
    if (len(cameras) if isinstance(cameras, list) else int(cameras)) < 1:
        raise ValueError(f"tavix.virtual() adds one camera at least, not {cameras!r}")
    if _used:
        raise StateError("virtual cameras are added before cameras are listed or opened; start Python anew and call "
                         "tavix.virtual() first")
    text = _json.dumps({"cameras": cameras}) if isinstance(cameras, list) else str(int(cameras))
    _os.environ["TAVIX_VIRTUAL_CAMERAS"] = text


def _leave_to_parent():
    # Threads and cameras are the parent's, and a child that never touches them may do whatever else it likes.
    if _used:
        _tavix._leave_to_parent()


_ending.register()
_os.register_at_fork(after_in_child=_leave_to_parent)
