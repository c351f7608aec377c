#pragma once
// Cameras that are added, plugged, unplugged and given faults while a program runs.

#include <string>

namespace virtualcam {

class Backend;

/// Does what a request says, JSON of one of these forms:
///
///     {"add": {...}}                 one more camera, described as in a settings file
///     {"unplug": "GUID"}, {"plug": "GUID"}
///     {"faults": {...}, "guid": "GUID"}   from now on, as in a settings file; {} for none
///     {"list": true}                 answers with the faults that there are, and what each does
///
/// The answer is JSON; with false it is the reason, for people. Thread-safe.
bool Obey(Backend& bus, const std::string& request, std::string& answer);

} // namespace virtualcam
