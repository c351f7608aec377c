#pragma once
// A program that is run to see how it ends.

#include <string>
#include <vector>

namespace tool {

/// Re-entrant.
struct ChildOutcome {
    enum class End { Exited, Killed, TimedOut };

    End end = End::Exited;
    int code = 0;       ///< exit status, or the signal
    std::string errors; ///< the first 64 KiB of its standard error
    std::string ending; ///< the last bytes of its standard output, 16 at most
};

/// Runs a program without input; kills it after `timeoutMs`. Throws std::system_error when it cannot be started.
ChildOutcome RunChild(const std::string& program, const std::vector<std::string>& arguments, int timeoutMs);

} // namespace tool
