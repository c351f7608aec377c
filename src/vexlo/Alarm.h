#pragma once
// Wakes who sleeps on a wait object when no lock is held any more.

#include "core/WaitObject.h"

namespace vexlo {

/// Who sleeps on the wait object is woken when this dies. It stands before the guard of the lock that they want next.
/// Bound to a thread.
class Alarm {
public:
    Alarm() = default;
    ~Alarm() {
        if (m_WaitObject) Tavix::WakeWaitObject(*m_WaitObject);
    }
    Alarm(const Alarm&) = delete;
    Alarm& operator=(const Alarm&) = delete;

    /// Raises it at once, for whoever asks or polls.
    void Raise(const std::shared_ptr<Tavix::_WaitObjectPosix_t>& waitObject) {
        if (Tavix::RaiseWaitObjectQuietly(*waitObject)) m_WaitObject = waitObject;
    }

private:
    std::shared_ptr<Tavix::_WaitObjectPosix_t> m_WaitObject; // null when nobody has to be woken
};

} // namespace vexlo
