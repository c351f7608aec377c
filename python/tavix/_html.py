"""How cameras, features and images show themselves in notebooks."""

import base64 as _base64
from html import escape as _escape

from ._tavix import Error as _Error

_LARGEST = 1024  # columns or lines of a picture that is shown


def _table(title, rows):
    lines = "".join(f"<tr><th style='text-align:left'>{_escape(name)}</th><td>{_escape(str(value))}</td></tr>"
                    for name, value in rows if value not in ("", None))
    return f"<table><caption>{_escape(title)}</caption>{lines}</table>"


def of_camera(camera):
    """A table of its names and of what most people set."""
    if not camera.is_open:
        return "<p>a camera, closed</p>"
    info = camera.info
    rows = [("serial number", info.serial), ("GUID", info.guid), ("user-defined name", info.user_name),
            ("link", info.speed)]
    try:
        for name in ("Width", "Height", "PixelFormat", "ExposureTime", "Gain", "TriggerMode"):
            if name in camera:
                feature = camera.feature(name)
                rows.append((name, f"{_value(feature)} {feature.unit}".rstrip()))
    except _Error as error:  # one that does not answer would let each of them wait
        rows.append(("", error))
    return _table(f"{info.vendor} {info.model}", rows)


def of_feature(feature):
    """A table of value, limits and access, or of why they cannot be had."""
    try:
        rows = _rows_of(feature)
    except _Error as error:
        rows = [("", error)]
    return _table(feature.name, rows)


def _rows_of(feature):
    rows = [("type", feature.type), ("value", _value(feature)), ("unit", feature.unit)]
    if feature.type in ("integer", "float") and feature.readable:
        rows += [("from", feature.min), ("to", feature.max), ("in steps of", feature.inc or "")]
    if feature.type == "enumeration":
        rows.append(("entries", ", ".join(feature.entries)))
    return rows + [("why not", feature.why_not), ("", feature.description)]


def of_image(image):
    """The picture itself, made smaller where it is large."""
    title = f"{image.number}: {image.pixel_format}, {image.width} x {image.height}"
    if image.defect:
        title += f", {image.defect}"
    try:
        data = _base64.b64encode(image._png(_LARGEST)).decode()
    except _Error as error:
        return f"<p>{_escape(title)}: {_escape(str(error))}</p>"
    return f"<figure><img src='data:image/png;base64,{data}'/><figcaption>{_escape(title)}</figcaption></figure>"


def _value(feature):
    if feature.type in ("command", "category") or not feature.readable:
        return ""
    return feature.value
