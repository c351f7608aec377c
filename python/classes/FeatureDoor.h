#pragma once
// The class Feature of the package.

#include <pybind11/pybind11.h>

namespace tavixpython {

void BindFeature(pybind11::module_& module);

} // namespace tavixpython
