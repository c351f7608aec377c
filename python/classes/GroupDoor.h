#pragma once
// The classes Group, GroupStream and ImageSet of the package.

#include <pybind11/pybind11.h>

namespace tavixpython {

void BindGroup(pybind11::module_& module);

} // namespace tavixpython
