#pragma once
// The exceptions of the package.

#include <pybind11/pybind11.h>

namespace tavixpython {

/// Adds them to the module, and translates what the camera class throws.
void BindErrors(pybind11::module_& module);
/// Sets the interpreter's exception for what is being thrown: where a caller in C takes no other. In a catch block.
void SetError();

/// Warns of what was forgotten. Where warnings are exceptions it is told by sys.unraisablehook.
void WarnOfForgotten(const char* text) noexcept;

} // namespace tavixpython
