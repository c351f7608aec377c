#pragma once
// The state behind a wait object: one eventfd. Non-zero counter = signalled.

#include "core/WaitObject.h"

#include <chrono>
#include <optional>

#include <poll.h>

namespace Tavix {

// thread-safe
struct _WaitObjectPosix_t : std::enable_shared_from_this<_WaitObjectPosix_t> {
    explicit _WaitObjectPosix_t(bool manualReset);
    ~_WaitObjectPosix_t();
    _WaitObjectPosix_t(const _WaitObjectPosix_t&) = delete;
    _WaitObjectPosix_t& operator=(const _WaitObjectPosix_t&) = delete;

    void Signal() noexcept;
    void Reset() noexcept;
    // Takes the signal with automatic reset, looks at it with manual reset. False if there is none (any more).
    bool TryConsume() noexcept;
    bool IsSignalled() const noexcept;

    // constant after construction
    const bool m_ManualReset;
    const int m_Fd;
};

// The end of a wait, fixed when it begins, so that a wait that starts over doesn't get longer.
// re-entrant
class Deadline {
public:
    explicit Deadline(unsigned int timeoutMs);

    // Waits until one of the descriptors is readable. False when the time is over.
    bool Poll(pollfd* descriptors, nfds_t count) const;

private:
    using Clock = std::chrono::steady_clock;

    std::optional<Clock::time_point> m_End; // absent = for ever
};

} // namespace Tavix
