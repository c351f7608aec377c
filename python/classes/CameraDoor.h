#pragma once
// The class Camera of the package.

#include <pybind11/pybind11.h>

namespace tavixpython {

void BindCamera(pybind11::module_& module);

} // namespace tavixpython
