#include "gentl/Branch.h"

namespace gentl {

void Branch::Open(const std::function<void()>& takePlace) {
    const Tavix::MutexLock life(m_Life);
    {
        const Tavix::MutexLock tree(TreeMutex());
        takePlace();
    }
    try {
        DoOpen();
        const Tavix::MutexLock tree(TreeMutex());
        CheckOpen();
        DoBegin();
        Register();
    } catch (...) {
        {
            const Tavix::MutexLock tree(TreeMutex());
            Leave();
        }
        EndOnce();
        throw;
    }
}

void Branch::CheckOpen() const {
    if (m_HasLeft) Fail(GC_ERR_INVALID_HANDLE, "it was closed meanwhile");
}

void Branch::Leave() noexcept {
    if (m_HasLeft) return;
    m_HasLeft = true;
    Unregister();
    DoLeave();
}

void Branch::End() noexcept {
    const Tavix::MutexLock life(m_Life);
    EndOnce();
}

void Branch::EndOnce() noexcept {
    if (m_HasEnded) return;
    m_HasEnded = true;
    DoEnd();
}

} // namespace gentl
