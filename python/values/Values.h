#pragma once
// Values of features, chunks and events as Python has them.

#include <tavix/camera/Feature.h>
#include <tavix/camera/Value.h>

#include <pybind11/pybind11.h>

namespace tavixpython {

/// int, float, bool or str.
/// The text, with a mark for each byte that is not part of well-formed UTF-8: what a camera or a file says may be
/// anything.
pybind11::str ToText(const std::string& text);
pybind11::object ToPython(const Tavix::Value& value);
/// The same, bytes for a register; a command or category, which has no value, as the feature itself.
pybind11::object Read(const Tavix::Feature& feature);
/// Takes bool, int, float, str, bytes and the scalars of NumPy; TypeError for others.
void Write(Tavix::Feature feature, const pybind11::object& value);

} // namespace tavixpython
