#include "gentl/stream/BufferQueues.h"

#include <algorithm>

namespace gentl {

bool BufferQueues::HasMemory(const void* memory) const {
    return std::any_of(m_Announced.begin(), m_Announced.end(),
                       [&](const SharedBuffer& each) { return each->data == memory; });
}

SharedBuffer BufferQueues::TakeOut(Buffer& buffer) {
    const Place place = WayOf(buffer).place;
    if (place != Place::Input && place != Place::Output) return nullptr;
    std::deque<SharedBuffer>& queue = place == Place::Input ? m_Input : m_Output;
    const auto found = // the first one, as a rule
        std::find_if(queue.begin(), queue.end(), [&](const SharedBuffer& each) { return each.get() == &buffer; });
    if (found == queue.end()) return nullptr;
    SharedBuffer taken = std::move(*found);
    found == queue.begin() ? queue.pop_front() : static_cast<void>(queue.erase(found));
    return taken;
}

void BufferQueues::Revoke(const SharedBuffer& buffer) {
    PutAside(*buffer);
    m_Announced.erase(std::remove(m_Announced.begin(), m_Announced.end(), buffer), m_Announced.end());
}

std::vector<SharedBuffer> BufferQueues::RevokeAll() noexcept {
    m_Input.clear();
    m_Output.clear();
    for (const SharedBuffer& buffer : m_Announced)
        WayOf(*buffer).place = Place::Announced;
    std::vector<SharedBuffer> announced;
    announced.swap(m_Announced);
    return announced;
}

void BufferQueues::PutIntoInput(const SharedBuffer& buffer) {
    (void)TakeOut(*buffer);
    m_Input.push_back(buffer);
    WayOf(*buffer).place = Place::Input;
    buffer->Update([](Buffer::Record& record) {
        record = {};
        record.isQueued = true;
    });
}

void BufferQueues::NoteOnBus(Buffer& buffer, bool isOnBus) {
    WayOf(buffer).isOnBus = isOnBus;
    buffer.Update([&](Buffer::Record& record) { record.isOnBus = isOnBus; });
}

void BufferQueues::PutAside(Buffer& buffer) {
    const SharedBuffer taken = TakeOut(buffer);
    WayOf(buffer).place = Place::Announced;
    buffer.Update([](Buffer::Record& record) { record.isQueued = false; });
}

void BufferQueues::Fill(Buffer& buffer, const vexlo::CVxStream::GrabResult& result) {
    SharedBuffer taken = TakeOut(buffer);
    // One that was flushed while it was being filled is in neither queue.
    if (!taken) taken = std::static_pointer_cast<Buffer>(buffer.shared_from_this());
    m_Output.push_back(std::move(taken));
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
        const SharedBuffer& buffer = m_Output.emplace_back(m_Input.front());
        WayOf(*buffer).place = Place::Output;
        buffer->Update([](Buffer::Record& record) { record.isQueued = false; });
    }
}

SharedBuffer BufferQueues::Deliver() {
    if (m_Output.empty()) return nullptr;
    SharedBuffer buffer = std::move(m_Output.front());
    m_Output.pop_front();
    WayOf(*buffer).place = Place::Delivered;
    ++m_Counts.delivered;
    return buffer;
}

SharedBuffer BufferQueues::TakeOverwritten(Handling handling) {
    const bool isFull =
        handling == Handling::NewestOnly || (handling == Handling::OldestFirstOverwrite && m_Input.empty());
    if (!isFull || m_Output.size() < 2) return nullptr;
    SharedBuffer oldest = m_Output.front();
    PutAside(*oldest);
    ++m_Counts.overwritten;
    return oldest;
}

} // namespace gentl
