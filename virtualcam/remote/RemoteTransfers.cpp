#include "virtualcam/remote/RemoteTransfers.h"

#include <algorithm>
#include <new>
#include <utility>

namespace virtualcam {
namespace {

constexpr std::uint8_t kDirectionIn = 0x80;
constexpr std::size_t kGrowth = 64u << 10; // whole packets

} // namespace

void RemoteTransfers::Submit(RemoteTransfer transfer) {
    const std::uint8_t endpoint = transfer.endpoint;
    Queue& queue = m_Queues[endpoint];
    queue.waiting.push_back(std::move(transfer));
    if (queue.waiting.size() == 1) Serve(endpoint); // those behind another wait until the device speaks
}

std::optional<RemoteTransfer> RemoteTransfers::Cancel(std::uint64_t number) {
    for (auto& [endpoint, queue] : m_Queues) {
        const auto found = std::find_if(queue.waiting.begin(), queue.waiting.end(),
                                        [number](const RemoteTransfer& waiting) { return waiting.number == number; });
        if (found == queue.waiting.end()) continue;
        const bool oldest = found == queue.waiting.begin();
        RemoteTransfer cancelled = std::move(*found);
        queue.waiting.erase(found);
        if (oldest) {
            queue.done = 0;
            Serve(endpoint); // the next one may have less to wait for
        }
        return cancelled;
    }
    return std::nullopt;
}

std::size_t RemoteTransfers::Count() const {
    std::size_t count = 0;
    for (const auto& [endpoint, queue] : m_Queues)
        count += queue.waiting.size();
    return count;
}

void RemoteTransfers::ServeAll() {
    for (auto& [endpoint, queue] : m_Queues)
        Serve(endpoint);
}

void RemoteTransfers::Serve(std::uint8_t endpoint) {
    const auto found = m_Queues.find(endpoint);
    if (found == m_Queues.end()) return;
    const bool moved = ServeQueue(found->second);
    if (!moved || (endpoint & kDirectionIn) != 0) return;
    for (auto& [other, queue] : m_Queues) // a command has its answer at once, of which the device does not tell
        if ((other & kDirectionIn) != 0) ServeQueue(queue);
}

// True when a transfer has ended.
bool RemoteTransfers::ServeQueue(Queue& queue) {
    bool moved = false;
    while (ServeOldest(queue))
        moved = true;
    return moved;
}

// False when nothing is queued or the oldest transfer has to wait.
bool RemoteTransfers::ServeOldest(Queue& queue) {
    if (queue.waiting.empty() || !m_Host.HasRoom()) return false;
    const PipeAnswer answer = Move(queue);
    queue.done += answer.bytes;
    if (answer.status == PipeStatus::NotYet) return false;
    const RemoteTransfer ended = std::move(queue.waiting.front());
    queue.waiting.pop_front();
    const std::size_t bytes = std::exchange(queue.done, 0);
    const bool in = (ended.endpoint & kDirectionIn) != 0;
    m_Host.Finished(ended, {answer.status, in ? queue.buffer.data() : nullptr, bytes});
    return true;
}

PipeAnswer RemoteTransfers::Move(Queue& queue) {
    const RemoteTransfer& oldest = queue.waiting.front();
    try {
        if ((oldest.endpoint & kDirectionIn) != 0) return MoveIn(queue);
        return m_Device.Out(oldest.endpoint, oldest.data.data(), oldest.data.size());
    } catch (const std::bad_alloc&) {
        return {PipeStatus::NoMemory, 0};
    }
}

// A piece that is full is the end of the transfer only when it is the last one: all but that hold whole packets.
PipeAnswer RemoteTransfers::MoveIn(Queue& queue) {
    const RemoteTransfer& oldest = queue.waiting.front();
    PipeAnswer whole;
    while (true) {
        const std::size_t done = queue.done + whole.bytes;
        const std::size_t end = std::min(queue.buffer.size(), oldest.length);
        if (done == end && done < oldest.length) {
            if (!Grow(queue, oldest.length)) return {PipeStatus::NoMemory, whole.bytes};
            continue;
        }
        const PipeAnswer answer = m_Device.In(oldest.endpoint, queue.buffer.data() + done, end - done);
        whole.status = answer.status;
        whole.bytes += answer.bytes;
        const bool full = answer.status == PipeStatus::Complete && done + answer.bytes == end;
        if (!full || end == oldest.length) return whole;
    }
}

// --- memory

bool RemoteTransfers::Grow(Queue& queue, std::size_t most) {
    const std::size_t pieces = (most + kGrowth - 1) / kGrowth;
    const std::size_t wanted = std::min(pieces * kGrowth, std::max(kGrowth, 2 * queue.buffer.size()));
    if (!HasRoomFor(wanted - queue.buffer.size())) return false;
    queue.buffer.reserve(wanted);
    queue.buffer.resize(wanted);
    return true;
}

std::size_t RemoteTransfers::Held() const {
    std::size_t held = 0;
    for (const auto& [endpoint, queue] : m_Queues) {
        held += queue.buffer.capacity();
        for (const RemoteTransfer& waiting : queue.waiting)
            held += waiting.data.capacity();
    }
    return held;
}

bool RemoteTransfers::HasRoomFor(std::size_t bytes) {
    if (Held() + bytes <= m_Budget) return true;
    for (auto& [endpoint, queue] : m_Queues)
        if (queue.waiting.empty()) queue.buffer = {};
    return Held() + bytes <= m_Budget;
}

PipeAnswer RemoteControl(Device& device, const usb::ControlSetup& setup, Bytes& data) {
    data.resize(setup.length);
    PipeAnswer answer = device.Control(setup, data.data());
    const bool in = (setup.requestType & kDirectionIn) != 0;
    if (answer.status != PipeStatus::Complete) answer.bytes = 0;
    if (answer.status == PipeStatus::Complete && !in) answer.bytes = setup.length;
    data.resize(in ? answer.bytes : 0);
    return answer;
}

} // namespace virtualcam
