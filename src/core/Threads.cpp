#include "core/Threads.h"

#include <sched.h>

namespace Tavix {
namespace {

struct Started {
    bool isOurs = false;
    sigset_t signals{};
};
thread_local Started t_Started;

} // namespace

void NoteSignals(const sigset_t& signals) noexcept {
    t_Started = {true, signals};
}

SignalsAsStarted::SignalsAsStarted() : m_Before(), m_IsOurs(t_Started.isOurs) {
    if (m_IsOurs) pthread_sigmask(SIG_SETMASK, &t_Started.signals, &m_Before);
}

SignalsAsStarted::~SignalsAsStarted() {
    if (m_IsOurs) pthread_sigmask(SIG_SETMASK, &m_Before, nullptr);
}

int SetThreadPriority(pthread_t thread, int policy, int priority) noexcept {
    sched_param parameters{};
    parameters.sched_priority = priority;
    return ::pthread_setschedparam(thread, priority == 0 ? SCHED_OTHER : policy, &parameters);
}

} // namespace Tavix
