#include "virtualcam/device/endpoint/Pipe.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace virtualcam {

Portion FitMessage(std::size_t available, std::size_t room, std::size_t packetSize) {
    Portion portion;
    if (available <= room) {
        portion.bytes = portion.consumed = available;
        portion.ends = available % packetSize != 0 || available == room;
        return portion;
    }
    const std::size_t whole = room / packetSize * packetSize;
    portion.bytes = room;
    portion.ends = true;
    portion.overflow = whole != room;
    portion.consumed = portion.overflow ? std::min(available, whole + packetSize) : room;
    return portion;
}

void Pipe::Push(Bytes message, bool terminated) {
    const bool emptyPacketDue = message.empty() || (terminated && message.size() % m_PacketSize == 0);
    m_Messages.push_back({std::move(message), 0, emptyPacketDue});
}

Bytes* Pipe::FindUntouched() {
    return m_Messages.empty() || m_Messages.back().sent != 0 ? nullptr : &m_Messages.back().bytes;
}

PipeAnswer Pipe::Take(std::uint8_t* buffer, std::size_t room) {
    PipeAnswer answer;
    while (!m_Messages.empty()) {
        Message& message = m_Messages.front();
        const std::size_t available = message.bytes.size() - message.sent;
        if (available == 0) { // what is left of the message is its empty packet
            m_Messages.pop_front();
            answer.status = PipeStatus::Complete;
            return answer;
        }
        const Portion portion = FitMessage(available, room - answer.bytes, m_PacketSize);
        std::memcpy(buffer + answer.bytes, message.bytes.data() + message.sent, portion.bytes);
        answer.bytes += portion.bytes;
        message.sent += portion.consumed;
        if (message.sent == message.bytes.size() && !message.emptyPacketDue) m_Messages.pop_front();
        if (portion.overflow)
            answer.status = PipeStatus::Overflow;
        else if (portion.ends)
            answer.status = PipeStatus::Complete;
        if (portion.ends) return answer;
    }
    return answer;
}

} // namespace virtualcam
