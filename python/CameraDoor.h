#pragma once
// The classes Camera, CameraInfo and Event of the package.

#include <pybind11/pybind11.h>

namespace tavixpython {

void BindCamera(pybind11::module_& module);

} // namespace tavixpython
