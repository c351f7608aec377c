#pragma once
// The state behind a wait object: one eventfd. Non-zero counter = signalled, by a pulse or by the level.

#include "core/WaitObject.h"

#include <chrono>
#include <mutex>
#include <optional>

#include <poll.h>

namespace Tavix {

// What a wait took: of the level it takes nothing.
enum class Taken { Nothing, Pulse, Level };

// While the level is down the descriptor alone knows of the pulse; while it is up the descriptor is readable because of
// it, and a flag remembers a pulse beside it.
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
    bool Read() noexcept;

    std::mutex m_Lock;
    bool m_IsRaised = false;    // guarded by m_Lock
    bool m_PulseBeside = false; // guarded by m_Lock; meaningful while raised
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
