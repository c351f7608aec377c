#pragma once
// Events that one thread signals and another waits for, with a file descriptor for the application's own event loop.

#include "core/Export.h"

#include <memory>
#include <vector>

namespace Tavix {

/// The state behind a wait object; only core knows its inside. Whoever is handed a raw pointer and keeps it takes a
/// share.
struct _WaitObjectPosix_t;

/// A share of the state, which keeps it and its descriptor alive. Empty for null.
[[nodiscard]] TAVIX_CORE_API std::shared_ptr<_WaitObjectPosix_t> ShareWaitObject(_WaitObjectPosix_t* handle);
TAVIX_CORE_API void SignalWaitObject(_WaitObjectPosix_t& state) noexcept;
TAVIX_CORE_API void ResetWaitObject(_WaitObjectPosix_t& state) noexcept;
TAVIX_CORE_API void RaiseWaitObject(_WaitObjectPosix_t& state) noexcept;
TAVIX_CORE_API void LowerWaitObject(_WaitObjectPosix_t& state) noexcept;
/// Raises it for whoever asks or polls; true when those who sleep are still to be woken: by WakeWaitObject, once the
/// caller has given back the locks that they will want.
[[nodiscard]] TAVIX_CORE_API bool RaiseWaitObjectQuietly(_WaitObjectPosix_t& state) noexcept;
TAVIX_CORE_API void WakeWaitObject(_WaitObjectPosix_t& state) noexcept;

/// Something to wait for. Copies share one state. It is signalled by a pulse, by a level, or by both.
/// A pulse is what Signal() gives: with automatic reset a signal is consumed by exactly one successful wait, and
/// signals that nobody has consumed yet count as one. With manual reset the object stays signalled until Reset(). A
/// level is held by the side that has something to take, from Raise() to Lower(): waiting consumes the pulse and never
/// the level, so that whoever waits and whoever only asks see the same.
/// An object that is not valid is never signalled; waiting for it returns false at once.
/// Thread-safe (except assignment to the same instance)
class TAVIX_CORE_API WaitObject {
public:
    static constexpr unsigned int waitForever = 0xFFFFFFFF;

    WaitObject() = default; ///< not valid

    [[nodiscard]] bool IsValid() const { return m_State != nullptr; }

    /// True when signalled within the time. A time of 0 asks and never blocks. Interrupting signals don't end the wait.
    bool Wait(unsigned int timeoutMs) const;

    /// For poll, epoll or select: readable means signalled. Owned by the state: only wait on it, never read, write or
    /// close it. -1 if not valid.
    [[nodiscard]] int GetFd() const;

    /// Borrowed; null if not valid.
    [[nodiscard]] _WaitObjectPosix_t* GetHandle() const { return m_State.get(); }
    operator _WaitObjectPosix_t*() const { return m_State.get(); }

    static void Sleep(unsigned int ms);

protected:
    explicit WaitObject(std::shared_ptr<_WaitObjectPosix_t> state) : m_State(std::move(state)) {}

    std::shared_ptr<_WaitObjectPosix_t> m_State;
};

/// The side that signals.
/// Thread-safe (except assignment to the same instance)
class TAVIX_CORE_API WaitObjectEx : public WaitObject {
public:
    WaitObjectEx() = default; ///< not valid; its operations do nothing

    /// Throws std::system_error when the system has no descriptor left.
    [[nodiscard]] static WaitObjectEx Create(bool manualReset = false);

    void Signal() const noexcept;
    void Reset() const noexcept; ///< forgets the pulse
    void Raise() const noexcept; ///< signalled until Lower, however often somebody waits
    void Lower() const noexcept; ///< a pulse that nobody has consumed stays

private:
    using WaitObject::WaitObject;
};

/// Waits for several objects at once. The objects are shared, not copied.
/// Re-entrant.
class TAVIX_CORE_API WaitObjects {
public:
    /// Returns the index of the object: 0, 1, 2 ... in the order of adding.
    unsigned int Add(const WaitObject& object);
    void RemoveAll();
    [[nodiscard]] unsigned int GetCount() const { return static_cast<unsigned int>(m_Objects.size()); }

    /// True once all are signalled at the same moment. Consumes the signals of the objects with automatic reset, all or
    /// none: as long as one object is missing, nothing is consumed. When another waiter is faster with one of the
    /// objects, those taken so far are signalled again and the wait goes on; another waiter may see such an object
    /// unsignalled for that instant, but no signal is lost. An object added twice counts once. True at once if empty;
    /// false at once if one of the objects is not valid.
    bool WaitForAll(unsigned int timeoutMs) const;

    /// True once one is signalled, and its index goes to *pIndex (may be null): the lowest, when there are several.
    /// Consumes that one signal only. False at once if there is no valid object.
    bool WaitForAny(unsigned int timeoutMs, unsigned int* pIndex = nullptr) const;

private:
    std::vector<WaitObject> m_Objects;
};

} // namespace Tavix
