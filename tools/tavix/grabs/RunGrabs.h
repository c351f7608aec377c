#pragma once
// Grabs from several cameras at once.

#include "grabs/CameraGrab.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tool {

using Grabs = std::vector<std::unique_ptr<CameraGrab>>;

/// Runs each grab on a thread of its own until all have ended; an interrupt stops them. `onTick` is called on the
/// calling thread some times a second. Returns what ended each grab, an empty text where all went well.
std::vector<std::string> RunGrabs(const Grabs& grabs, const std::function<void()>& onTick);
/// As above for one; what ended it, or that no good frame came, is thrown as an Error.
void RunGrab(CameraGrab& grab);
/// That no frame of a grab was good, and why.
std::string NoFrameText(const CameraGrab& grab);
/// That frames failed or never came in a grab that took place; empty when all are there.
std::string LostFramesText(const CameraGrab& grab);
/// Throws LostFramesText, if there is any, with the status for work that is done in part.
void ThrowIfFramesAreLost(const CameraGrab& grab);

} // namespace tool
