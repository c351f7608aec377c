#pragma once
// Programs that can't start threads, for a scope.

#include <sys/resource.h>

namespace tooltest {

/// Programs that are started meanwhile would have to give each thread more stack than any machine has. Not so under
/// sanitizers, which need a stack and threads themselves, and where the system sets a limit of its own.
class NoThreads {
public:
    NoThreads() {
        getrlimit(RLIMIT_STACK, &m_Before);
        const rlimit absurd{rlim_t(1) << 52, m_Before.rlim_max};
        m_IsInForce = !kIsSanitized && setrlimit(RLIMIT_STACK, &absurd) == 0;
    }
    ~NoThreads() { setrlimit(RLIMIT_STACK, &m_Before); }
    NoThreads(const NoThreads&) = delete;
    NoThreads& operator=(const NoThreads&) = delete;

    bool IsInForce() const { return m_IsInForce; }

private:
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
    static constexpr bool kIsSanitized = true;
#elif defined(__has_feature)
    static constexpr bool kIsSanitized = __has_feature(thread_sanitizer) || __has_feature(address_sanitizer);
#else
    static constexpr bool kIsSanitized = false;
#endif
    rlimit m_Before{};
    bool m_IsInForce = false;
};

} // namespace tooltest
