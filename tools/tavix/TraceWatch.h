#pragma once
// Whether a wire trace is what was asked for.

#include "core/LogSink.h"

#include <atomic>
#include <optional>
#include <string>

namespace tool {

/// Listens, while it lives, to what the writer of the trace that the environment asks for says of it. That is on
/// standard error already; this is for the exit status. Thread-safe.
class TraceWatch {
public:
    TraceWatch();
    bool IsWhole() const { return m_IsWhole; }

private:
    std::atomic<bool> m_IsWhole{true};
    std::optional<Tavix::LogSink> m_Sink; // every line of the log passes it, so there is none without a trace
};

/// Has everything on the wire written to the file from now on; before cameras are looked for. Throws Error when that
/// cannot be.
void StartTrace(const std::string& path);

} // namespace tool
