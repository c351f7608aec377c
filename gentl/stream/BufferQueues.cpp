#include "gentl/stream/BufferQueues.h"

#include <algorithm>

namespace gentl {

bool BufferQueues::HasMemory(const void* memory) const {
    return std::any_of(m_Announced.begin(), m_Announced.end(),
                       [&](const SharedBuffer& each) { return each->data == memory; });
}

void BufferQueues::TakeOut(Buffer& buffer) {
    const Place place = WayOf(buffer).place;
    if (place != Place::Input && place != Place::Output) return;
    Queue& queue = place == Place::Input ? m_Input : m_Output;
    if (queue.front() == &buffer) return queue.pop_front(); // as a rule
    queue.erase(std::remove(queue.begin(), queue.end(), &buffer), queue.end());
}

void BufferQueues::Announce(const SharedBuffer& buffer) {
    m_Announced.push_back(buffer);
    WayOf(*buffer).place = Place::Announced;
}

void BufferQueues::Revoke(Buffer& buffer) {
    PutAside(buffer);
    WayOf(buffer).place = Place::None;
    m_Announced.erase(std::remove_if(m_Announced.begin(), m_Announced.end(),
                                     [&](const SharedBuffer& each) { return each.get() == &buffer; }),
                      m_Announced.end());
}

std::vector<SharedBuffer> BufferQueues::RevokeAll() noexcept {
    m_Input.clear();
    m_Output.clear();
    for (const SharedBuffer& buffer : m_Announced)
        WayOf(*buffer).place = Place::None;
    std::vector<SharedBuffer> announced;
    announced.swap(m_Announced);
    return announced;
}

void BufferQueues::PutIntoInput(Buffer& buffer) {
    TakeOut(buffer);
    m_Input.push_back(&buffer);
    WayOf(buffer).place = Place::Input;
    buffer.Update([](Buffer::Record& record) {
        record = {};
        record.isQueued = true;
    });
}

void BufferQueues::NoteOnBus(Buffer& buffer, bool isOnBus) {
    WayOf(buffer).isOnBus = isOnBus;
    buffer.Update([&](Buffer::Record& record) { record.isOnBus = isOnBus; });
}

void BufferQueues::PutAside(Buffer& buffer) {
    TakeOut(buffer);
    WayOf(buffer).place = Place::Announced;
    buffer.Update([](Buffer::Record& record) { record.isQueued = false; });
}

void BufferQueues::Fill(Buffer& buffer, const vexlo::CVxStream::GrabResult& result) {
    TakeOut(buffer); // one that was flushed while it was being filled is in neither queue
    m_Output.push_back(&buffer);
    WayOf(buffer).place = Place::Output;
    WayOf(buffer).isOnBus = false;
    buffer.Update([&](Buffer::Record& record) {
        record.result = result;
        record.hasData = record.isNew = true;
        record.isQueued = record.isOnBus = false;
    });
    ++m_Counts.filled;
}

void BufferQueues::MoveInputToOutput() {
    for (; !m_Input.empty(); m_Input.pop_front()) {
        Buffer& buffer = *m_Output.emplace_back(m_Input.front());
        WayOf(buffer).place = Place::Output;
        buffer.Update([](Buffer::Record& record) { record.isQueued = false; });
    }
}

Buffer* BufferQueues::Deliver() {
    if (m_Output.empty()) return nullptr;
    Buffer* const buffer = m_Output.front();
    m_Output.pop_front();
    WayOf(*buffer).place = Place::Delivered;
    ++m_Counts.delivered;
    return buffer;
}

Buffer* BufferQueues::TakeOverwritten(Handling handling) {
    const bool isFull =
        handling == Handling::NewestOnly || (handling == Handling::OldestFirstOverwrite && m_Input.empty());
    if (!isFull || m_Output.size() < 2) return nullptr;
    Buffer* const oldest = m_Output.front();
    PutAside(*oldest);
    ++m_Counts.overwritten;
    return oldest;
}

} // namespace gentl
