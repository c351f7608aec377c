#include "gentl/stream/BufferQueues.h"

#include <algorithm>

namespace gentl {

bool BufferQueues::HasMemory(const void* memory) const {
    return std::any_of(m_Announced.begin(), m_Announced.end(),
                       [&](const SharedBuffer& each) { return each->data == memory; });
}

void BufferQueues::TakeOut(const SharedBuffer& buffer) {
    if (buffer->place != Place::Input && buffer->place != Place::Output) return;
    std::deque<SharedBuffer>& queue = buffer->place == Place::Input ? m_Input : m_Output;
    const auto found = std::find(queue.begin(), queue.end(), buffer); // the first one, as a rule
    if (found != queue.end()) queue.erase(found);
}

void BufferQueues::Revoke(const SharedBuffer& buffer) {
    PutAside(buffer);
    m_Announced.erase(std::remove(m_Announced.begin(), m_Announced.end(), buffer), m_Announced.end());
}

std::vector<SharedBuffer> BufferQueues::RevokeAll() noexcept {
    m_Input.clear();
    m_Output.clear();
    std::vector<SharedBuffer> announced;
    announced.swap(m_Announced);
    return announced;
}

void BufferQueues::PutIntoInput(const SharedBuffer& buffer) {
    TakeOut(buffer);
    m_Input.push_back(buffer);
    buffer->place = Place::Input;
    buffer->Update([](Buffer::Record& record) {
        record = {};
        record.isQueued = true;
    });
}

void BufferQueues::PutAside(const SharedBuffer& buffer) {
    TakeOut(buffer);
    buffer->place = Place::Announced;
    buffer->Update([](Buffer::Record& record) { record.isQueued = false; });
}

void BufferQueues::Fill(const SharedBuffer& buffer, const vexlo::CVxStream::GrabResult& result) {
    TakeOut(buffer);
    m_Output.push_back(buffer);
    buffer->place = Place::Output;
    buffer->Update([&](Buffer::Record& record) {
        record = {};
        record.result = result;
        record.hasData = record.isNew = true;
    });
    ++m_Counts.filled;
}

void BufferQueues::MoveInputToOutput() {
    for (; !m_Input.empty(); m_Input.pop_front()) {
        const SharedBuffer& buffer = m_Output.emplace_back(m_Input.front());
        buffer->place = Place::Output;
        buffer->Update([](Buffer::Record& record) { record.isQueued = false; });
    }
}

SharedBuffer BufferQueues::Deliver() {
    if (m_Output.empty()) return nullptr;
    SharedBuffer buffer = std::move(m_Output.front());
    m_Output.pop_front();
    buffer->place = Place::Delivered;
    ++m_Counts.delivered;
    return buffer;
}

SharedBuffer BufferQueues::TakeOverwritten(Handling handling) {
    if (m_Output.size() < 2) return nullptr;
    const bool isFull =
        handling == Handling::NewestOnly || (handling == Handling::OldestFirstOverwrite && m_Input.empty());
    if (!isFull) return nullptr;
    SharedBuffer oldest = m_Output.front();
    PutAside(oldest);
    ++m_Counts.overwritten;
    return oldest;
}

} // namespace gentl
