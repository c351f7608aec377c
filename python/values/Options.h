#pragma once
// How to grab, by the names of Python's arguments.

#include <tavix/camera/Group.h>

#include <pybind11/pybind11.h>

#include <chrono>

namespace tavixpython {

/// TypeError for an option that is not known, so that a misspelt one does not pass for its default.
Tavix::GrabOptions OptionsOf(std::int64_t count, const pybind11::kwargs& options);
/// Those of a group besides.
Tavix::GroupOptions GroupOptionsOf(std::int64_t count, const pybind11::kwargs& options);
/// How long a stream with these options may be silent; negative: for ever.
std::chrono::milliseconds SilenceOf(const Tavix::GrabOptions& options);

} // namespace tavixpython
