#pragma once
// Pixels as NumPy has them.

#include <tavix/camera/Image.h>

#include <pybind11/numpy.h>

namespace tavixpython {

/// A view of the image's memory, which keeps `owner` alive: uint8 or uint16 of (lines, columns) or (lines, columns,
/// components) for formats of whole bytes, else all bytes in a row. Lines that did not come whole are left out.
pybind11::array ArrayOf(const Tavix::Image& image, pybind11::handle owner);

/// The same of any pixels; without a format all bytes in a row.
pybind11::array ArrayOf(const Tavix::imaging::PictureView& picture, pybind11::handle owner);

/// Loads NumPy, which takes a tenth of a second: before images come, and not while they wait. Without NumPy arrays are
/// refused when they are asked for.
void PrepareArrays();

} // namespace tavixpython
