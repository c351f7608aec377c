#pragma once
// Where a thread is inside callbacks of the application.

#include <utility>

namespace Tavix::detail {

/// Marks the calling thread for as long as it calls the application on behalf of an owner, so that what the application
/// calls then does not wait for its own end. Bound to a thread.
class CallbackScope {
public:
    explicit CallbackScope(const void* owner) : m_Owner(owner), m_Outer(std::exchange(s_Innermost, this)) {}
    ~CallbackScope() { s_Innermost = m_Outer; }
    CallbackScope(const CallbackScope&) = delete;
    CallbackScope& operator=(const CallbackScope&) = delete;

    /// Of anybody.
    static bool IsInside() { return s_Innermost != nullptr; }
    static bool IsInside(const void* owner) {
        for (const CallbackScope* scope = s_Innermost; scope; scope = scope->m_Outer)
            if (scope->m_Owner == owner) return true;
        return false;
    }

private:
    static inline thread_local const CallbackScope* s_Innermost = nullptr;

    const void* const m_Owner;
    const CallbackScope* const m_Outer;
};

} // namespace Tavix::detail
