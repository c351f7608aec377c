#include "virtualcam/remote/RemoteTransfers.h"

#include <algorithm>
#include <utility>

namespace virtualcam {
namespace {

constexpr std::uint8_t kDirectionIn = 0x80;

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

void RemoteTransfers::Serve(std::uint8_t endpoint) {
    const auto found = m_Queues.find(endpoint);
    if (found == m_Queues.end()) return;
    const bool moved = ServeAll(found->second);
    if (!moved || (endpoint & kDirectionIn) != 0) return;
    for (auto& [other, queue] : m_Queues) // a command has its answer at once, of which the device does not tell
        if ((other & kDirectionIn) != 0) ServeAll(queue);
}

// True when a transfer has ended.
bool RemoteTransfers::ServeAll(Queue& queue) {
    bool moved = false;
    while (ServeOldest(queue))
        moved = true;
    return moved;
}

// False when nothing is queued or the oldest transfer has to wait.
bool RemoteTransfers::ServeOldest(Queue& queue) {
    if (queue.waiting.empty()) return false;
    const PipeAnswer answer = Move(queue);
    queue.done += answer.bytes;
    if (answer.status == PipeStatus::NotYet) return false;
    const RemoteTransfer ended = std::move(queue.waiting.front());
    queue.waiting.pop_front();
    const std::size_t bytes = std::exchange(queue.done, 0);
    const bool in = (ended.endpoint & kDirectionIn) != 0;
    m_Finished(ended, {answer.status, in ? queue.buffer.data() : nullptr, bytes});
    return true;
}

PipeAnswer RemoteTransfers::Move(Queue& queue) {
    const RemoteTransfer& oldest = queue.waiting.front();
    if ((oldest.endpoint & kDirectionIn) == 0)
        return m_Device.Out(oldest.endpoint, oldest.data.data(), oldest.data.size());
    if (queue.buffer.size() < oldest.length) queue.buffer.resize(oldest.length);
    return m_Device.In(oldest.endpoint, queue.buffer.data() + queue.done, oldest.length - queue.done);
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
