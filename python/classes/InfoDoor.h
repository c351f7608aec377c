#pragma once
// The classes CameraInfo, Event and Watch of the package.

#include <pybind11/pybind11.h>

namespace tavixpython {

void BindInfo(pybind11::module_& module);

} // namespace tavixpython
