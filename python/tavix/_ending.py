"""What the end of the program ends: waits of threads, callbacks, cameras."""

import atexit
import concurrent.futures.thread  # which joins its threads before what registered earlier is called
import threading
import weakref
from typing import Any

from . import _tavix

_living: "weakref.WeakSet[Any]" = weakref.WeakSet()


def with_program(*opened):
    """Cameras and watches that end with the program at the latest."""
    _living.update(opened)
    try:
        _tavix._leave_at_closing()
    except BaseException:  # too late to be found by _close_all()
        for one in opened:
            _end(one)
        raise


def register():
    """To be called once, when the package is imported."""
    atexit.register(_close_all)
    try:
        threading._register_atexit(_end_waits)
    except (AttributeError, RuntimeError):  # another Python, or one that ends already
        threading.Thread(target=_outlast_main_thread, name="tavix-end", daemon=True).start()


def _outlast_main_thread():
    threading.main_thread().join()
    _end_waits()


def _end_waits(all=False):
    # Threads that are joined before anything else ends; what they clean up finds cameras open.
    _tavix._end_waits(all, threading.main_thread().ident)


def _end(opened):
    (opened.end if isinstance(opened, _tavix.Watch) else opened.close)()


def _close_all():
    # While the interpreter still stands: threads that wait for images come back, callbacks end.
    _end_waits(all=True)
    if not _tavix._await_callbacks():
        return  # one that does not come back would be waited for
    for kind in (_tavix.Watch, _tavix.Camera):
        for opened in _snapshot():
            if isinstance(opened, kind):
                if kind is _tavix.Camera and opened.is_open:
                    _tavix._warn_of_forgotten(f"{opened!r} was not closed before the end of the program")
                _end(opened)
    _tavix._await_errands()  # what Ctrl-C has left behind


def _snapshot():
    while True:
        try:
            return list(_living)
        except RuntimeError:  # another thread has opened one meanwhile
            continue
