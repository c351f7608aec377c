#include "core/LogSink.h"

#include "core/Lock.h"
#include "core/LogCore.h"
#include "core/Mutex.h"

#include <algorithm>
#include <vector>

namespace Tavix {

// thread-safe
struct TAVIX_HIDDEN LogSink::Entry {
    explicit Entry(Listener listener) : m_Listener(std::move(listener)) {}

    void Call(const std::string& category, unsigned int level, const std::string& text);
    void Stop();

private:
    RecursiveLock m_Lock; // recursive: a listener logs, or removes itself
    Listener m_Listener;  // constant after construction
    bool m_IsCalling TAVIX_GUARDED_BY(m_Lock) = false;
    bool m_IsStopped TAVIX_GUARDED_BY(m_Lock) = false;
};

namespace logging {
namespace {

using Entries = std::vector<std::shared_ptr<LogSink::Entry>>;

// The listeners of the process.
// thread-safe
class Listeners {
public:
    // Never destroyed: destructors of other statics log, too.
    static Listeners& Get() {
        static Listeners& listeners = *new Listeners;
        return listeners;
    }

    // Nothing is read by the count: who sees a listener takes the lock for the list. A line that is written while one
    // joins may be early for it, in any order.
    bool IsEmpty() const { return m_Count.load(std::memory_order_acquire) == 0; }

    Entries Copy() const {
        const MutexLock lock(m_Mutex);
        return m_Entries;
    }

    void Add(std::shared_ptr<LogSink::Entry> entry) {
        const MutexLock lock(m_Mutex);
        m_Entries.push_back(std::move(entry));
        m_Count = m_Entries.size();
    }

    void Remove(const std::shared_ptr<LogSink::Entry>& entry) {
        const MutexLock lock(m_Mutex);
        m_Entries.erase(std::remove(m_Entries.begin(), m_Entries.end(), entry), m_Entries.end());
        m_Count = m_Entries.size();
    }

private:
    mutable Mutex m_Mutex;
    Entries m_Entries TAVIX_GUARDED_BY(m_Mutex);
    std::atomic<std::size_t> m_Count{0};
};

} // namespace

bool HasListeners() {
    return !Listeners::Get().IsEmpty();
}

void Deliver(const std::string& category, unsigned int level, const std::string& text) {
    if (!HasListeners()) return;
    for (const std::shared_ptr<LogSink::Entry>& entry : Listeners::Get().Copy())
        entry->Call(category, level, text);
}

} // namespace logging

void LogSink::Entry::Call(const std::string& category, unsigned int level, const std::string& text) {
    const ScopedLock lock(m_Lock);
    if (m_IsStopped || m_IsCalling) return;
    m_IsCalling = true;
    try {
        m_Listener(category.c_str(), level, text.c_str());
    } catch (...) {
        // The thread that logs must not fail because of one that listens.
    }
    m_IsCalling = false;
}

void LogSink::Entry::Stop() {
    const ScopedLock lock(m_Lock);
    m_IsStopped = true;
}

LogSink::LogSink(Listener listener) : m_Entry(std::make_shared<Entry>(std::move(listener))) {
    logging::Listeners::Get().Add(m_Entry);
    logging::UpdateLowestLevel();
}

LogSink::~LogSink() {
    Remove();
}

void LogSink::Remove() {
    logging::Listeners::Get().Remove(m_Entry);
    logging::UpdateLowestLevel();
    m_Entry->Stop();
}

} // namespace Tavix
