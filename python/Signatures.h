#pragma once
// What inspect.signature() and help() tell of functions of this module.

#include <pybind11/pybind11.h>

namespace tavixpython {

/// Gives the methods of all classes of the module signatures that Python understands, in the place of those of
/// pybind11, which only people do. `**kwargs` become the options of grab().
void WriteSignatures(const pybind11::module_& module);

} // namespace tavixpython
