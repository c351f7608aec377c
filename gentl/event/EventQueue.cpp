#include "gentl/event/EventQueue.h"

#include <algorithm>
#include <chrono>

namespace gentl {
namespace {

constexpr std::size_t kMostPending = 1000;

using Clock = std::chrono::steady_clock;

/// Waits until a moment that is fixed when the first of them begins; for ever with GENTL_INFINITE and what is as good
/// as that. Who takes what is there already needs no clock.
class Waits {
public:
    explicit Waits(std::uint64_t timeoutMs) : m_TimeoutMs(timeoutMs) {}
    /// For the next wait, rounded up; 0 when the time is over.
    unsigned int Next() {
        if (m_TimeoutMs > kLongest) return Tavix::WaitObject::waitForever;
        if (m_TimeoutMs == 0) return 0;
        const Clock::time_point now = Clock::now();
        if (m_End == Clock::time_point::max()) m_End = now + std::chrono::milliseconds(m_TimeoutMs);
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_End - now).count();
        return left <= 0 ? 0 : static_cast<unsigned int>(std::min<std::int64_t>(left, kLongestWait));
    }

private:
    static constexpr std::uint64_t kLongest = 1000ULL * 60 * 60 * 24 * 365;
    static constexpr std::int64_t kLongestWait = std::int64_t{1000} * 60 * 60;

    const std::uint64_t m_TimeoutMs;
    Clock::time_point m_End = Clock::time_point::max(); // no wait has begun
};

} // namespace

EventQueue::EventQueue(EVENT_TYPE type)
    : Branch(Kind::Event), m_Type(type), m_WaitObject(Tavix::WaitObjectEx::Create()) {}

void EventQueue::CheckTurnedAway() {
    if (!m_TurnsAway) return; // as a rule; whoever sets it signals afterwards
    const Tavix::MutexLock guard(m_Mutex);
    if (m_IsClosed) Fail(GC_ERR_ABORT, "the event was unregistered");
    if (m_Kills == 0) return;
    m_TurnsAway = --m_Kills != 0;
    m_WaitObject.Signal(); // the pulse that this waiter took may have been meant for another, too
    Fail(GC_ERR_ABORT, "the wait was killed");
}

[[gnu::hot]] void EventQueue::GetData(void* buffer, size_t* size, std::uint64_t timeoutMs) {
    if (!size) Fail(GC_ERR_INVALID_PARAMETER, "the pointer to the size is null");
    if (!buffer) {
        *size = LargestData();
        return;
    }
    Waits waits(timeoutMs);
    for (;;) {
        CheckTurnedAway();
        if (const Taken taken = TakeOrHandOn(buffer, *size); taken != Taken::Nothing) {
            if (taken == Taken::OneOfSeveral) m_WaitObject.Signal(); // a pulse may have been meant for another waiter
            return;
        }
        const unsigned int left = waits.Next();
        if (left == 0) Fail(GC_ERR_TIMEOUT, "no event came in time");
        (void)m_WaitObject.Wait(left);
    }
}

[[gnu::hot]] EventQueue::Taken EventQueue::TakeOrHandOn(void* buffer, size_t& size) {
    try {
        return TryTake(buffer, size);
    } catch (...) {
        m_WaitObject.Signal(); // it took nothing, so the pulse that woke it is for the next
        throw;
    }
}

EventQueue::Taken EventQueue::TryTake(void* buffer, size_t& size) {
    const Tavix::MutexLock guard(m_Mutex);
    if (m_Pending.empty()) return Taken::Nothing;
    const Bytes& bytes = m_Pending.front();
    Answer(nullptr, buffer, &size).Bytes(INFO_DATATYPE_BUFFER, bytes.data(), bytes.size());
    m_Pending.pop_front();
    return m_Pending.empty() ? Taken::Last : Taken::OneOfSeveral;
}

size_t EventQueue::CountPending() {
    const Tavix::MutexLock guard(m_Mutex);
    return m_Pending.size();
}

std::uint64_t EventQueue::CountFired() {
    const Tavix::MutexLock guard(m_Mutex);
    return m_Fired;
}

void EventQueue::Flush() {
    const Tavix::MutexLock guard(m_Mutex);
    m_Pending.clear();
}

void EventQueue::Kill() {
    {
        const Tavix::MutexLock guard(m_Mutex);
        ++m_Kills;
        m_TurnsAway = true;
    }
    m_WaitObject.Signal();
}

void EventQueue::DoLeave() noexcept {
    {
        const Tavix::MutexLock guard(m_Mutex);
        m_IsClosed = true;
        m_TurnsAway = true;
    }
    m_WaitObject.Raise(); // for all who wait, and for good
}

void EventQueue::GetInfo(EVENT_INFO_CMD command, Answer& answer) {
    switch (command) {
    case EVENT_EVENT_TYPE:
        return answer.Int32(m_Type);
    case EVENT_NUM_IN_QUEUE:
        return answer.Size(CountPending());
    case EVENT_NUM_FIRED:
        return answer.Uint64(CountFired());
    case EVENT_SIZE_MAX:
    case EVENT_INFO_DATA_SIZE_MAX:
        return answer.Size(LargestData());
    default:
        Fail(GC_ERR_NOT_IMPLEMENTED, "unknown event information");
    }
}

void EventQueue::Push(Bytes bytes) noexcept {
    try {
        const Tavix::MutexLock guard(m_Mutex);
        if (m_Pending.size() == kMostPending) m_Pending.pop_front();
        m_Pending.push_back(std::move(bytes));
        ++m_Fired;
    } catch (const std::bad_alloc&) {
        return; // the event is lost, the state that it told of can be asked for
    }
    m_WaitObject.Signal();
}

void EventQueue::PushText(const char* text) noexcept {
    try {
        Push(Bytes(text, text + std::strlen(text) + 1));
    } catch (const std::bad_alloc&) {
        return; // as in Push
    }
}

void EventQueue::PushError(GC_ERROR code, const char* text) noexcept {
    try {
        Bytes bytes(sizeof code);
        std::memcpy(bytes.data(), &code, sizeof code);
        bytes.insert(bytes.end(), text, text + std::strlen(text) + 1);
        Push(std::move(bytes));
    } catch (const std::bad_alloc&) {
        return; // as in Push
    }
}

void EventQueue::PushModule(std::uint64_t id) noexcept {
    try {
        Bytes bytes(sizeof id);
        std::memcpy(bytes.data(), &id, sizeof id);
        Push(std::move(bytes));
    } catch (const std::bad_alloc&) {
        return; // as in Push
    }
}

namespace {

/// A text in the consumer's memory, which need not end where it should.
std::string TextIn(const void* data, size_t size) {
    const char* const text = static_cast<const char*>(data);
    return std::string(text, ::strnlen(text, size));
}

void ErrorInfo(const void* data, size_t size, EVENT_DATA_INFO_CMD command, Answer& answer) {
    GC_ERROR code = 0;
    if (size < sizeof code) Fail(GC_ERR_INVALID_BUFFER, "these are no data of an error event");
    std::memcpy(&code, data, sizeof code);
    if (command == EVENT_DATA_ID) return answer.Int32(code);
    answer.String(TextIn(static_cast<const char*>(data) + sizeof code, size - sizeof code));
}

void ModuleInfo(const void* data, size_t size, EVENT_DATA_INFO_CMD command, Answer& answer) {
    std::uint64_t id = 0;
    if (size < sizeof id) Fail(GC_ERR_INVALID_BUFFER, "these are no data of a module event");
    std::memcpy(&id, data, sizeof id);
    if (command == EVENT_DATA_ID) return answer.String(Hexadecimal(id));
    if (command == EVENT_DATA_NUMID) return answer.Uint64(id);
    answer.Bytes(INFO_DATATYPE_BUFFER, data, sizeof id);
}

} // namespace

void EventQueue::DataInfo(const void* data, size_t size, EVENT_DATA_INFO_CMD command, Answer& answer) const {
    if (command < EVENT_DATA_ID || command > EVENT_DATA_NUMID)
        Fail(GC_ERR_NOT_IMPLEMENTED, "unknown information about event data");
    if (m_Type == EVENT_MODULE) return ModuleInfo(data, size, command, answer);
    if (command == EVENT_DATA_NUMID) Fail(GC_ERR_NOT_AVAILABLE, "these events have no number");
    if (m_Type == EVENT_ERROR) return ErrorInfo(data, size, command, answer);
    if (command == EVENT_DATA_ID) return answer.String(TextIn(data, size));
    Fail(GC_ERR_NOT_AVAILABLE, "these events have no value");
}

} // namespace gentl
