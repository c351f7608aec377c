#pragma once
// Grabs from several cameras at once.

#include "grabs/GrabSession.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tool {

using Sessions = std::vector<std::unique_ptr<GrabSession>>;

/// Runs each session on a thread of its own until all have ended; an interrupt stops them. `onTick` is called on the
/// calling thread some times a second. Returns what ended each session, an empty text where all went well.
std::vector<std::string> RunSessions(const Sessions& sessions, const std::function<void()>& onTick);
/// As above for one; what ended it, or that no good frame came, is thrown as an Error.
void RunSession(GrabSession& session);
/// That no frame of a grab was good, and why.
std::string NoFrameText(const GrabSession& session);
/// That frames failed or never came in a grab that took place; empty when all are there.
std::string LostFramesText(const GrabSession& session);
/// Throws LostFramesText, if there is any, with the status for work that is done in part.
void ThrowIfFramesAreLost(const GrabSession& session);

} // namespace tool
