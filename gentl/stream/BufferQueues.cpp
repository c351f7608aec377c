#include "gentl/stream/BufferQueues.h"

#include <algorithm>

namespace gentl {

bool BufferQueues::HasMemory(const void* memory) const {
    return std::any_of(m_Announced.begin(), m_Announced.end(),
                       [&](const SharedBuffer& each) { return each->data == memory; });
}

[[gnu::hot]] void BufferQueues::Move(Buffer& buffer, Place place) noexcept {
    Buffer::Way& way = WayOf(buffer);
    Queue& queue = At(place);
    queue.splice(queue.end(), At(way.place), way.here);
    way.place = place;
}

void BufferQueues::Announce(const SharedBuffer& buffer) {
    m_Announced.push_back(buffer);
    Queue& queue = At(Place::Announced);
    try {
        WayOf(*buffer).here = queue.insert(queue.end(), buffer.get());
    } catch (...) {
        m_Announced.pop_back();
        throw;
    }
    WayOf(*buffer).place = Place::Announced;
}

void BufferQueues::Revoke(Buffer& buffer) {
    Buffer::Way& way = WayOf(buffer);
    if (way.place == Place::None) return;
    At(way.place).erase(way.here);
    way.place = Place::None;
    m_Announced.erase(std::remove_if(m_Announced.begin(), m_Announced.end(),
                                     [&](const SharedBuffer& each) { return each.get() == &buffer; }),
                      m_Announced.end());
}

std::vector<SharedBuffer> BufferQueues::RevokeAll() noexcept {
    for (Queue& queue : m_Queues)
        queue.clear();
    for (const SharedBuffer& buffer : m_Announced)
        WayOf(*buffer).place = Place::None;
    std::vector<SharedBuffer> announced;
    announced.swap(m_Announced);
    return announced;
}

[[gnu::hot]] void BufferQueues::PutIntoInput(Buffer& buffer) {
    Move(buffer, Place::Input);
    buffer.Update([](Buffer::Record& record) {
        record = {};
        record.isQueued = true;
    });
}

[[gnu::hot]] void BufferQueues::NoteOnBus(Buffer& buffer, bool isOnBus) {
    WayOf(buffer).isOnBus = isOnBus;
    buffer.Update([&](Buffer::Record& record) { record.isOnBus = isOnBus; });
}

void BufferQueues::PutAside(Buffer& buffer) {
    Move(buffer, Place::Announced);
    buffer.Update([](Buffer::Record& record) { record.isQueued = false; });
}

[[gnu::hot]] void BufferQueues::Fill(Buffer& buffer, const vexlo::CVxStream::GrabResult& result) {
    Move(buffer, Place::Output);
    WayOf(buffer).isOnBus = false;
    buffer.Update([&](Buffer::Record& record) {
        record.result = result;
        record.hasData = record.isNew = true;
        record.isQueued = record.isOnBus = false;
    });
    ++m_Counts.filled;
}

void BufferQueues::BeginCounting() {
    m_FiredBefore += m_Counts.filled;
    m_Counts = {};
}

void BufferQueues::MoveInputToOutput() {
    for (const Queue& input = Input(); !input.empty();) {
        Buffer& buffer = *input.front();
        Move(buffer, Place::Output);
        buffer.Update([](Buffer::Record& record) { record.isQueued = false; });
        ++m_FiredBefore;
    }
}

[[gnu::hot]] Buffer* BufferQueues::Deliver() {
    if (Output().empty()) return nullptr;
    Buffer* const buffer = Output().front();
    Move(*buffer, Place::Delivered);
    ++m_Counts.delivered;
    return buffer;
}

Buffer* BufferQueues::TakeOverwritten(Handling handling) {
    const bool isFull =
        handling == Handling::NewestOnly || (handling == Handling::OldestFirstOverwrite && Input().empty());
    if (!isFull || Output().size() < 2) return nullptr;
    Buffer* const oldest = Output().front();
    PutAside(*oldest);
    ++m_Counts.overwritten;
    return oldest;
}

} // namespace gentl
