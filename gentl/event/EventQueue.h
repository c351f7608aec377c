#pragma once
// Events that a consumer waits for.

#include "gentl/Branch.h"
#include "gentl/Info.h"

#include "core/Mutex.h"
#include "core/WaitObject.h"

#include <atomic>
#include <deque>
#include <vector>

namespace gentl {

/// What came first is taken first. This class keeps what was pushed; heirs take from a source of their own instead.
/// Thread-safe.
class EventQueue : public Branch {
public:
    static constexpr Kinds kKinds{Kind::Event};
    explicit EventQueue(EVENT_TYPE type);

    EVENT_TYPE Type() const { return m_Type; }
    /// Waits for the oldest event and takes it. TIMEOUT; ABORT after Kill or Leave; BUFFER_TOO_SMALL takes nothing.
    /// Without a buffer it only tells the largest size.
    void GetData(void* buffer, size_t* size, std::uint64_t timeoutMs);
    /// About the data that GetData gave.
    virtual void DataInfo(const void* data, size_t size, EVENT_DATA_INFO_CMD command, Answer& answer) const;
    void GetInfo(EVENT_INFO_CMD command, Answer& answer);
    /// One waiter, or the next one, is turned away.
    void Kill();
    virtual void Flush();

    // For the module that tells. When memory is short the event is dropped; when nobody takes them, the oldest.
    void PushText(const char* text) noexcept;
    void PushError(GC_ERROR code, const char* text) noexcept;
    void PushModule(std::uint64_t id) noexcept;

protected:
    /// Turns all waiters away, for good.
    void DoLeave() noexcept override TAVIX_REQUIRES(TreeMutex());
    void DoEnd() noexcept override {}

    enum class Taken { Nothing, Last, OneOfSeveral };
    /// Takes the oldest event, if there is one. Throws BUFFER_TOO_SMALL without taking it, or why none will come.
    virtual Taken TryTake(void* buffer, size_t& size);
    virtual size_t CountPending();
    /// Since it was registered, also those that nobody took; it never falls.
    virtual std::uint64_t CountFired();
    virtual size_t LargestData() const { return 512; }
    /// Signalled, by pulse or level, when there may be something to take.
    const Tavix::WaitObjectEx& WaitObject() const { return m_WaitObject; }

private:
    using Bytes = std::vector<std::uint8_t>;

    void Push(Bytes bytes) noexcept;
    void CheckTurnedAway();
    /// As TryTake; who leaves it by an exception wakes the next waiter.
    Taken TakeOrHandOn(void* buffer, size_t& size);

    const EVENT_TYPE m_Type;
    const Tavix::WaitObjectEx m_WaitObject;
    Tavix::Mutex m_Mutex;
    std::deque<Bytes> m_Pending TAVIX_GUARDED_BY(m_Mutex);
    std::uint64_t m_Fired TAVIX_GUARDED_BY(m_Mutex) = 0;
    std::size_t m_Kills TAVIX_GUARDED_BY(m_Mutex) = 0;
    bool m_IsClosed TAVIX_GUARDED_BY(m_Mutex) = false;
    std::atomic<bool> m_TurnsAway{false}; // closed, or a kill waits for its waiter; set under m_Mutex
};

} // namespace gentl
