#include "core/WaitState.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <system_error>

#include <sys/eventfd.h>
#include <unistd.h>

namespace Tavix {
namespace {

int CreateEventFd() {
    const int fd = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    if (fd < 0) throw std::system_error(errno, std::generic_category(), "cannot create a wait object");
    return fd;
}

timespec ToTimespec(std::chrono::nanoseconds duration) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(duration);
    timespec result{};
    result.tv_sec = static_cast<std::time_t>(seconds.count());
    result.tv_nsec = static_cast<long>((duration - seconds).count());
    return result;
}

} // namespace

_WaitObjectPosix_t::_WaitObjectPosix_t(bool manualReset) : m_ManualReset(manualReset), m_Fd(CreateEventFd()) {}

_WaitObjectPosix_t::~_WaitObjectPosix_t() {
    close(m_Fd);
}

void _WaitObjectPosix_t::Write() noexcept {
    // Can only fail because the counter is full; then the object is signalled already.
    const std::uint64_t one = 1;
    while (write(m_Fd, &one, sizeof one) < 0 && errno == EINTR) {
    }
}

void _WaitObjectPosix_t::Read() noexcept {
    std::uint64_t count = 0;
    while (read(m_Fd, &count, sizeof count) < 0 && errno == EINTR) {
    }
}

/// The descriptor follows what is held; only a change of both together costs a call of the system.
[[gnu::hot]] bool _WaitObjectPosix_t::Hold(bool pulse, bool level) noexcept {
    const bool was = m_HasPulse || m_IsRaised, is = pulse || level;
    m_HasPulse = pulse;
    m_IsRaised = level;
    if (is != was && m_IsWatched) is ? Write() : Read();
    return is && !was;
}

/// Without the lock, which the woken would run into.
void _WaitObjectPosix_t::Wake() noexcept {
    m_Signalled.notify_all();
}

void _WaitObjectPosix_t::Signal() noexcept {
    {
        const MutexLock lock(m_Lock);
        if (!Hold(/*pulse=*/true, m_IsRaised)) return;
    }
    Wake();
}

void _WaitObjectPosix_t::Reset() noexcept {
    const MutexLock lock(m_Lock);
    (void)Hold(/*pulse=*/false, m_IsRaised);
}

bool _WaitObjectPosix_t::Raise() noexcept {
    const MutexLock lock(m_Lock);
    return Hold(m_HasPulse, /*level=*/true);
}

void _WaitObjectPosix_t::Lower() noexcept {
    const MutexLock lock(m_Lock);
    (void)Hold(m_HasPulse, /*level=*/false);
}

Taken _WaitObjectPosix_t::Consume() noexcept {
    if (!m_HasPulse || (m_ManualReset && m_IsRaised)) return m_IsRaised ? Taken::Level : Taken::Nothing;
    if (!m_ManualReset) (void)Hold(/*pulse=*/false, m_IsRaised);
    return Taken::Pulse;
}

Taken _WaitObjectPosix_t::TryConsume() noexcept {
    const MutexLock lock(m_Lock);
    return Consume();
}

bool _WaitObjectPosix_t::IsSignalled() const noexcept {
    const MutexLock lock(m_Lock);
    return m_HasPulse || m_IsRaised;
}

int _WaitObjectPosix_t::Watch() noexcept {
    const MutexLock lock(m_Lock);
    if (!m_IsWatched && (m_HasPulse || m_IsRaised)) Write();
    m_IsWatched = true;
    return m_Fd;
}

[[gnu::hot]] bool _WaitObjectPosix_t::Wait(unsigned int timeoutMs) {
    MutexLock lock(m_Lock);
    if (Consume() != Taken::Nothing) return true;
    if (timeoutMs == 0) return false;
    if (timeoutMs == WaitObject::waitForever) {
        do
            lock.Wait(m_Signalled);
        while (Consume() == Taken::Nothing);
        return true;
    }
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (lock.WaitUntil(m_Signalled, end))
        if (Consume() != Taken::Nothing) return true;
    return Consume() != Taken::Nothing; // it may have come with the end of the time
}

Deadline::Deadline(unsigned int timeoutMs) {
    if (timeoutMs != WaitObject::waitForever) m_End = Clock::now() + std::chrono::milliseconds(timeoutMs);
}

bool Deadline::Poll(pollfd* descriptors, nfds_t count) const {
    while (true) {
        timespec left{};
        if (m_End) left = ToTimespec(std::max<std::chrono::nanoseconds>(*m_End - Clock::now(), {}));
        const int result = ppoll(descriptors, count, m_End ? &left : nullptr, nullptr);
        if (result >= 0) return result > 0;
        if (errno != EINTR) throw std::system_error(errno, std::generic_category(), "cannot wait");
    }
}

std::shared_ptr<_WaitObjectPosix_t> ShareWaitObject(_WaitObjectPosix_t* handle) {
    return handle != nullptr ? handle->shared_from_this() : nullptr;
}

void SignalWaitObject(_WaitObjectPosix_t& state) noexcept {
    state.Signal();
}

void ResetWaitObject(_WaitObjectPosix_t& state) noexcept {
    state.Reset();
}

void RaiseWaitObject(_WaitObjectPosix_t& state) noexcept {
    if (state.Raise()) state.Wake();
}

bool RaiseWaitObjectQuietly(_WaitObjectPosix_t& state) noexcept {
    return state.Raise();
}

void WakeWaitObject(_WaitObjectPosix_t& state) noexcept {
    state.Wake();
}

[[gnu::hot]] void LowerWaitObject(_WaitObjectPosix_t& state) noexcept {
    state.Lower();
}

bool WaitObject::Wait(unsigned int timeoutMs) const {
    return m_State && m_State->Wait(timeoutMs);
}

int WaitObject::GetFd() const {
    return m_State ? m_State->Watch() : -1;
}

void WaitObject::Sleep(unsigned int ms) {
    static_cast<void>(Deadline(ms).Poll(nullptr, 0));
}

WaitObjectEx WaitObjectEx::Create(bool manualReset) {
    return WaitObjectEx(std::make_shared<_WaitObjectPosix_t>(manualReset));
}

void WaitObjectEx::Signal() const noexcept {
    if (m_State) m_State->Signal();
}

void WaitObjectEx::Reset() const noexcept {
    if (m_State) m_State->Reset();
}

void WaitObjectEx::Raise() const noexcept {
    if (m_State) RaiseWaitObject(*m_State);
}

void WaitObjectEx::Lower() const noexcept {
    if (m_State) m_State->Lower();
}

} // namespace Tavix
