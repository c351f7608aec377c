// Event messages that wait for the application.
#include "vexlo/event/EventRing.h"

#include "vexlo/Logging.h"

#include <cstring>

namespace vexlo {

void EventRing::SetWaitObject(std::shared_ptr<Tavix::_WaitObjectPosix_t> waitObject, Alarm& alarm) {
    if (m_WaitObject && m_WaitObject != waitObject) Tavix::LowerWaitObject(*m_WaitObject);
    m_WaitObject = std::move(waitObject);
    LowerUnlessReady(); // its owner may have raised it
    RaiseIfReady(alarm);
}

void EventRing::RaiseIfReady(Alarm& alarm) {
    if (m_WaitObject && IsReady()) alarm.Raise(m_WaitObject);
}

void EventRing::LowerUnlessReady() {
    if (m_WaitObject && !IsReady()) Tavix::LowerWaitObject(*m_WaitObject);
}

void EventRing::Reset(std::size_t capacity, std::size_t largestMessage) {
    Message empty;
    empty.bytes.resize(largestMessage);
    m_Messages.assign(capacity, empty);
    m_First = 0;
    m_Count = 0;
    m_Lost = 0;
    m_Counts = Counts();
    m_End = VX_OK;
    LowerUnlessReady();
}

void EventRing::Push(u3v::ByteView message, Alarm& alarm) {
    const auto packet = u3v::DecodeEvent(message);
    if (!packet) {
        CountFailure(VX_E_PROTOCOL);
        return;
    }
    u3v::ByteView rest = packet->entries;
    while (rest.size != 0) {
        const auto entry = u3v::TakeEventEntry(rest);
        if (entry) {
            Store(*packet, *entry);
        } else {
            CountFailure(VX_E_PROTOCOL);
        }
    }
    RaiseIfReady(alarm);
}

void EventRing::Store(const u3v::EventPacket& packet, const u3v::EventEntry& entry) {
    if (m_Count == m_Messages.size()) {
        Lose();
        return;
    }
    TellOfLosses();
    Message& message = m_Messages[(m_First + m_Count) % m_Messages.size()];
    const auto size = u3v::EncodeSingleEvent(packet, entry, message.bytes.data(), message.bytes.size());
    if (!size) {
        CountFailure(VX_E_INVALID_SIZE);
        return;
    }
    message.size = *size;
    ++m_Count;
    ++m_Counts.total;
}

void EventRing::Lose() {
    CountFailure(VX_E_EVENT_LOST);
    if (m_Lost++ == 0)
        Log(Tavix::kLogWarning, "Events are being lost: all %u event buffers wait to be retrieved",
            static_cast<unsigned int>(m_Messages.size()));
}

void EventRing::TellOfLosses() {
    if (m_Lost != 0)
        Log(Tavix::kLogWarning, "%llu events were lost before there was room again",
            static_cast<unsigned long long>(m_Lost));
    m_Lost = 0;
}

void EventRing::CountFailure(VxStatus status) {
    ++m_Counts.total;
    ++m_Counts.failed;
    m_Counts.lastFailure = status;
}

void EventRing::End(VxStatus reason, Alarm& alarm) {
    m_End = reason;
    RaiseIfReady(alarm);
}

void EventRing::Drop() {
    m_Count = 0;
    m_End = VX_OK;
    LowerUnlessReady();
}

VxStatus EventRing::Take(void* buffer, unsigned long& size) {
    VxStatus status = VX_OK;
    if (m_Count != 0) {
        const Message& oldest = m_Messages[m_First];
        const unsigned long room = size;
        size = oldest.size;
        if (room < oldest.size) {
            status = VX_E_INVALID_SIZE;
        } else {
            std::memcpy(buffer, oldest.bytes.data(), oldest.size);
            m_First = (m_First + 1) % m_Messages.size();
            --m_Count;
        }
    } else {
        status = m_End == VX_OK ? VX_E_NO_DATA : m_End;
        m_End = VX_OK;
        size = 0;
    }
    LowerUnlessReady();
    return status;
}

} // namespace vexlo
