#pragma once
// The classes Image and HostTime of the package.

#include <pybind11/pybind11.h>

namespace tavixpython {

void BindImage(pybind11::module_& module);

} // namespace tavixpython
