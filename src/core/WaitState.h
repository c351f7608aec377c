#pragma once
// The state behind a wait object, and one eventfd: non-zero counter = signalled, by a pulse or by the level.

#include "core/WaitObject.h"

#include <chrono>
#include <mutex>
#include <optional>

#include <poll.h>

namespace Tavix {

// What a wait took: of the level it takes nothing.
enum class Taken { Nothing, Pulse, Level };

// What is held is known here, and the descriptor only shows it to those who poll: it is readable while there is a pulse
// or a level, which changes with the lock held. So nobody asks the system what he can know.
// thread-safe
struct _WaitObjectPosix_t : std::enable_shared_from_this<_WaitObjectPosix_t> {
    explicit _WaitObjectPosix_t(bool manualReset);
    ~_WaitObjectPosix_t();
    _WaitObjectPosix_t(const _WaitObjectPosix_t&) = delete;
    _WaitObjectPosix_t& operator=(const _WaitObjectPosix_t&) = delete;

    void Signal() noexcept;
    void Reset() noexcept;
    void Raise() noexcept;
    void Lower() noexcept;
    // Takes the pulse with automatic reset, looks at it with manual reset.
    Taken TryConsume() noexcept;
    bool IsSignalled() const noexcept;

    // constant after construction
    const bool m_ManualReset;
    const int m_Fd;

private:
    void Write() noexcept;
    void Read() noexcept;
    void Hold(bool pulse, bool level) noexcept; // with m_Lock held

    mutable std::mutex m_Lock;
    bool m_IsRaised = false; // guarded by m_Lock
    bool m_HasPulse = false; // guarded by m_Lock
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
