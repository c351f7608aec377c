#pragma once
// The state behind a wait object, and an eventfd for those who poll: non-zero counter = signalled.

#include "core/Mutex.h"
#include "core/WaitObject.h"

#include <chrono>
#include <condition_variable>
#include <optional>

#include <poll.h>

namespace Tavix {

// What a wait took: of the level it takes nothing.
enum class Taken { Nothing, Pulse, Level };

// What is held is known here. Who waits for one object sleeps on a condition; the descriptor shows the same to those
// who poll: from the moment that somebody asks for it, it is readable while there is a pulse or a level, which changes
// with the lock held. An object whose descriptor nobody has asked for calls no system but to sleep and to wake.
// thread-safe
struct _WaitObjectPosix_t : std::enable_shared_from_this<_WaitObjectPosix_t> {
    explicit _WaitObjectPosix_t(bool manualReset);
    ~_WaitObjectPosix_t();
    _WaitObjectPosix_t(const _WaitObjectPosix_t&) = delete;
    _WaitObjectPosix_t& operator=(const _WaitObjectPosix_t&) = delete;

    void Signal() noexcept;
    void Reset() noexcept;
    // True when it was not signalled before: whoever waits is to be woken.
    [[nodiscard]] bool Raise() noexcept;
    void Lower() noexcept;
    void Wake() noexcept;
    bool Wait(unsigned int timeoutMs);
    // The descriptor, which tells the truth from here on.
    int Watch() noexcept;
    // Takes the pulse with automatic reset, looks at it with manual reset.
    Taken TryConsume() noexcept;
    bool IsSignalled() const noexcept;

    // constant after construction
    const bool m_ManualReset;

private:
    void Write() noexcept;
    void Read() noexcept;
    // True when it became signalled.
    bool Hold(bool pulse, bool level) noexcept TAVIX_REQUIRES(m_Lock);
    Taken Consume() noexcept TAVIX_REQUIRES(m_Lock);

    const int m_Fd;
    mutable Mutex m_Lock;
    std::condition_variable m_Signalled;
    bool m_IsWatched TAVIX_GUARDED_BY(m_Lock) = false;
    bool m_IsRaised TAVIX_GUARDED_BY(m_Lock) = false;
    bool m_HasPulse TAVIX_GUARDED_BY(m_Lock) = false;
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
