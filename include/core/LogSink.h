#pragma once
// A listener for log lines, for applications that want them in their own log and for tests that look at them.

#include "core/Export.h"

#include <functional>
#include <memory>

namespace Tavix {

/// Receives every line of every category and level, from construction until destruction or Remove().
/// The listener is called on the thread that logs. Calls of one listener never overlap, so it needs no lock of its own
/// for what only it touches. Lines that the listener logs itself are not handed back to it; what it throws is dropped.
/// It may remove itself. It must not wait for another thread that logs.
/// Once Remove() or the destructor has returned, the listener is not called any more (a removal from within the
/// listener's own call lets that call finish).
/// Thread-safe.
class TAVIX_CORE_API LogSink {
public:
    using Listener = std::function<void(const char* category, unsigned int level, const char* text)>;

    explicit LogSink(Listener listener);
    ~LogSink();
    LogSink(const LogSink&) = delete;
    LogSink& operator=(const LogSink&) = delete;

    void Remove();

    struct Entry;

private:
    std::shared_ptr<Entry> m_Entry; ///< constant after construction; shared with the log
};

} // namespace Tavix
