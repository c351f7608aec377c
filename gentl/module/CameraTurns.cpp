#include "gentl/module/CameraTurns.h"

#include "gentl/Failure.h"

#include "core/Mutex.h"

#include <condition_variable>
#include <set>

namespace gentl {
namespace {

/// Outlives the tree of modules: a camera may still be on its way to being opened when another tree begins.
struct Turns {
    Tavix::Mutex mutex;
    std::condition_variable hasChanged;
    std::set<std::string> reserved TAVIX_GUARDED_BY(mutex); // by path
    std::set<std::string> asked TAVIX_GUARDED_BY(mutex);
};

Turns& All() {
    static Turns& turns = *new Turns; // consumers may call while the process ends
    return turns;
}

} // namespace

Reservation::Reservation(std::string path) : m_Path(std::move(path)) {
    Turns& turns = All();
    const Tavix::MutexLock guard(turns.mutex);
    if (!turns.reserved.insert(m_Path).second) Fail(GC_ERR_RESOURCE_IN_USE, "the device is open already");
}

void Reservation::AwaitTurn() const {
    Turns& turns = All();
    Tavix::MutexLock guard(turns.mutex);
    while (turns.asked.count(m_Path) != 0)
        guard.Wait(turns.hasChanged);
}

void Reservation::Release() noexcept {
    if (!m_IsHeld) return;
    m_IsHeld = false;
    Turns& turns = All();
    const Tavix::MutexLock guard(turns.mutex);
    turns.reserved.erase(m_Path);
}

Question::Question(std::string path) : m_Path(std::move(path)) {
    Turns& turns = All();
    Tavix::MutexLock guard(turns.mutex);
    while (turns.asked.count(m_Path) != 0 && turns.reserved.count(m_Path) == 0)
        guard.Wait(turns.hasChanged);
    m_IsAllowed = turns.reserved.count(m_Path) == 0;
    if (m_IsAllowed) turns.asked.insert(m_Path);
}

Question::~Question() {
    if (!m_IsAllowed) return;
    Turns& turns = All();
    const Tavix::MutexLock guard(turns.mutex);
    turns.asked.erase(m_Path);
    turns.hasChanged.notify_all();
}

} // namespace gentl
