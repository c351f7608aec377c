#pragma once
// How to grab, by the names of Python's arguments.

#include <tavix/camera/Group.h>

#include <pybind11/pybind11.h>

#include <chrono>
#include <string>

namespace tavixpython {

/// What a function was called with.
struct Asked {
    const char* function; ///< its name, for texts
    pybind11::object count;
    pybind11::kwargs options;
};

/// TypeError for an option that is not known, so that a misspelt one does not pass for its default.
Tavix::GrabOptions OptionsOf(const Asked& asked);
/// Those of a group besides.
Tavix::GroupOptions GroupOptionsOf(const Asked& asked);
/// The function that is to be called for each image; null for none.
pybind11::object CallbackOption(const Asked& asked);
/// Their names and defaults, as a signature has them.
std::string OptionsText();
std::string GrabOptionsText();
std::string GroupOptionsText();
/// How long a stream with these options may be silent; 0: not at all, who asks wants what is there; negative: for ever.
std::chrono::milliseconds SilenceOf(const Asked& asked, const Tavix::GrabOptions& options);

} // namespace tavixpython
