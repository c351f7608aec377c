#pragma once
// Memory for images that Python brings.

#include <tavix/camera/Image.h>
#include <tavix/camera/ImageStream.h>

#include <pybind11/pybind11.h>

namespace tavixpython {

/// Asks `function(bytes)` for a writable buffer of at least so many bytes in a row, and takes the interpreter's lock
/// for that and for letting the buffer go, on whatever thread. None is no memory; what it raises becomes part of the
/// error.
Tavix::BufferAllocator AllocatorOf(pybind11::function function);
/// The object that the image's memory is the buffer of; None where an allocator of Python's did not bring it.
pybind11::object OwnMemoryOf(const Tavix::Image& image);

} // namespace tavixpython
