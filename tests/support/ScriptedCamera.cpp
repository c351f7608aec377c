#include "support/ScriptedCamera.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace scripted {
namespace {

using Lock = std::unique_lock<std::mutex>;

} // namespace

Camera::Camera() {
    m_Strings = {{1, "Plain Vendor"}, {2, "Plain Product"}, {3, "Plain Serial"}, {4, "123400000001"}, {5, "Vendor"},
                 {6, "Model"},        {9, "Info"},          {10, "Serial"},      {11, "Name"}};
    Set(0x0000, Bytes(0x250)); // all of the first registers exist
    Set32(0x0000, 0x00010003);
    Set64(0x01C4, 0x0A0D);
    Set32(0x01CC, 100);
    Set64(0x01D0, kManifest);
    Set64(0x01D8, kSbrm);
    Set(kSbrm, Bytes(0x44));
    Set64(kSbrm + 0x04, 3);
    Set32(kSbrm + 0x14, 1024);
    Set32(kSbrm + 0x18, 1024);
    Set32(kSbrm + 0x1C, 1);
    Set64(kSbrm + 0x20, kSirm);
    Set32(kSbrm + 0x28, 0x30);
    Set64(kSbrm + 0x2C, kEirm);
    Set32(kSbrm + 0x34, 0x0C);
    Set(kSirm, Bytes(0x30));
    Set32(kSirm, 0x0A000000);
    Set64(kSirm + 0x08, 5000);
    Set32(kSirm + 0x10, 52);
    Set32(kSirm + 0x14, 32);
    Set(kEirm, Bytes(0x0C));
    Set32(kEirm + 0x04, 1024);
}

void Camera::Set(std::uint64_t address, const Bytes& bytes) {
    const Lock lock(m_Mutex);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        m_Memory[address + i] = bytes[i];
}
void Camera::Set32(std::uint64_t address, std::uint32_t value) {
    Set(address, Little(value, 4));
}
void Camera::Set64(std::uint64_t address, std::uint64_t value) {
    Set(address, Little(value, 8));
}

Camera::Memory Camera::Remember() const {
    const Lock lock(m_Mutex);
    return m_Memory;
}

void Camera::Restore(const Memory& memory) {
    const Lock lock(m_Mutex);
    m_Memory = memory;
}

std::uint32_t Camera::Get32(std::uint64_t address) const {
    const Lock lock(m_Mutex);
    Bytes bytes;
    for (std::uint64_t i = 0; i < 4; ++i)
        bytes.push_back(m_Memory.at(address + i));
    return static_cast<std::uint32_t>(LoadLittle(bytes, 0, 4));
}

void Camera::OnCommand(Intercept intercept) {
    const Lock lock(m_Mutex);
    m_Intercept = std::move(intercept);
}

std::vector<Command> Camera::Commands() const {
    const Lock lock(m_Mutex);
    return m_Commands;
}

std::vector<std::uint32_t> Camera::WritesTo(std::uint64_t address) const {
    const Lock lock(m_Mutex);
    std::vector<std::uint32_t> values;
    for (const Command& command : m_Commands)
        if (command.Id() == 0x0802 && command.Address() == address && command.Data().size() == 4)
            values.push_back(static_cast<std::uint32_t>(LoadLittle(command.Data(), 0, 4)));
    return values;
}

std::vector<std::size_t> Camera::ControlInSizes() const {
    const Lock lock(m_Mutex);
    return m_InSizes;
}
std::vector<unsigned int> Camera::ControlInTimeouts() const {
    const Lock lock(m_Mutex);
    return m_InTimeouts;
}
unsigned int Camera::Resets() const {
    const Lock lock(m_Mutex);
    return m_Resets;
}
std::vector<int> Camera::SelectedConfigurations() const {
    const Lock lock(m_Mutex);
    return m_Selected;
}
std::size_t Camera::MappedBytes() const {
    const Lock lock(m_Mutex);
    std::size_t bytes = 0;
    for (const auto& [where, memory] : m_Mapped)
        bytes += memory.size();
    return bytes;
}
std::size_t Camera::MappedPiece() const {
    const Lock lock(m_Mutex);
    return m_Piece;
}
void Camera::Describe(std::function<void(usb::DeviceEntry&)> change) {
    const Lock lock(m_Mutex);
    m_Describe = std::move(change);
}
void Camera::SetString(int index, const std::string& text) {
    const Lock lock(m_Mutex);
    m_Strings[index] = text;
}
void Camera::OnReset(std::function<usb::Result()> handler) {
    const Lock lock(m_Mutex);
    m_OnReset = std::move(handler);
}

void Camera::OnAttachedQuestion(std::function<void()> handler) {
    const Lock lock(m_Mutex);
    m_OnAttachedQuestion = std::move(handler);
}

void Camera::OnWaiting(std::function<void(unsigned int)> handler) {
    const Lock lock(m_Mutex);
    m_OnWaiting = std::move(handler);
}
void Camera::AllowMapping(std::size_t bytes) {
    const Lock lock(m_Mutex);
    m_Mappable = bytes;
}
unsigned int Camera::HaltsCleared(std::uint8_t endpoint) const {
    const Lock lock(m_Mutex);
    const auto found = m_HaltsCleared.find(endpoint);
    return found == m_HaltsCleared.end() ? 0 : found->second;
}
unsigned int Camera::HaltsSet() const {
    const Lock lock(m_Mutex);
    return m_HaltsSet;
}
std::set<int> Camera::Claimed() const {
    const Lock lock(m_Mutex);
    return m_Claimed;
}
int Camera::OpenHandles() const {
    const Lock lock(m_Mutex);
    return m_Handles;
}
void Camera::RefuseOpen(usb::Result result) {
    const Lock lock(m_Mutex);
    m_OpenResult = result;
}
void Camera::RefuseClaim(usb::Result result) {
    const Lock lock(m_Mutex);
    m_ClaimResult = result;
}
void Camera::HideStrings() {
    const Lock lock(m_Mutex);
    m_HasStrings = false;
}
void Camera::RefuseClearing(usb::Result result) {
    const Lock lock(m_Mutex);
    m_ClearResult = result;
}
void Camera::FailNextOut(usb::Result result) {
    const Lock lock(m_Mutex);
    m_NextOut = result;
}
void Camera::CutNextOut(std::size_t sent, usb::Result result) {
    const Lock lock(m_Mutex);
    m_NextSent = sent;
    m_NextOut = result;
}
void Camera::RefuseConfiguration(usb::Result result) {
    const Lock lock(m_Mutex);
    m_SelectResult = result;
}
void Camera::FailNextIn(usb::Result result) {
    const Lock lock(m_Mutex);
    m_NextIn = result;
}
void Camera::AllowTransfers(std::size_t count) {
    const Lock lock(m_Mutex);
    m_TransferLimit = count;
}
usb::ControlSetup Camera::LastControl() const {
    const Lock lock(m_Mutex);
    return m_LastControl;
}

void Camera::Unplug(bool announce) {
    {
        const Lock lock(m_Mutex);
        m_Gone = true;
        ++m_Departures;
        for (auto& [endpoint, pipe] : m_Pipes)
            while (!pipe.queue.empty())
                Finish(endpoint, 0, usb::TransferStatus::NoDevice);
    }
    m_Changed.notify_all();
    if (announce) AnnounceRemoval();
}

void Camera::BeginUnplug() {
    {
        const Lock lock(m_Mutex);
        ++m_Departures;
    }
    AnnounceRemoval();
}

void Camera::AnnounceRemoval() {
    std::map<std::uint64_t, usb::HotplugHandler> handlers;
    {
        const Lock lock(m_Mutex);
        handlers = m_Hotplug;
    }
    for (auto& [id, handler] : handlers)
        handler(usb::HotplugEvent::Left, "1");
}

void Camera::Replug() {
    std::map<std::uint64_t, usb::HotplugHandler> handlers;
    {
        const Lock lock(m_Mutex);
        m_Gone = false;
        handlers = m_Hotplug;
    }
    for (auto& [id, handler] : handlers)
        handler(usb::HotplugEvent::Arrived, "1");
}

/// Under the lock.
void Camera::Execute(const Command& command) {
    m_Commands.push_back(command);
    if (m_Intercept) {
        if (auto answers = m_Intercept(command)) {
            m_Answers.insert(m_Answers.end(), answers->begin(), answers->end());
            return;
        }
    }
    const std::size_t count = command.Id() == 0x0800 ? command.Count() : command.Data().size();
    const auto ackId = static_cast<std::uint16_t>(command.Id() + 1);
    for (std::size_t i = 0; i < count; ++i)
        if (m_Memory.count(command.Address() + i) == 0) {
            m_Answers.push_back(Ack(0x8003, ackId, command.RequestId(), {}));
            return;
        }
    Bytes data;
    for (std::size_t i = 0; i < count; ++i) {
        std::uint8_t& cell = m_Memory[command.Address() + i];
        if (command.Id() == 0x0802) cell = command.Data()[i];
        data.push_back(cell);
    }
    if (command.Id() == 0x0802) data = Hex("0000") + Little(count, 2);
    m_Answers.push_back(Ack(0, ackId, command.RequestId(), data));
}

/// Under the lock. As bulk endpoints do: data fills transfers, a short packet ends one.
void Camera::Match(std::uint8_t endpoint) {
    Pipe& pipe = m_Pipes[endpoint];
    while (!pipe.queue.empty() && !pipe.data.empty()) {
        usb::Transfer& transfer = *pipe.queue.front().first;
        const Bytes& data = pipe.data.front();
        const std::size_t count = std::min(data.size() - pipe.consumed, transfer.length - transfer.actualLength);
        std::copy_n(data.begin() + static_cast<std::ptrdiff_t>(pipe.consumed), count,
                    transfer.buffer + transfer.actualLength);
        transfer.actualLength += count;
        pipe.consumed += count;
        const bool consumed = pipe.consumed == data.size();
        const bool isShort = consumed && (data.empty() || data.size() % kPacket != 0);
        if (consumed) {
            pipe.data.pop_front();
            pipe.consumed = 0;
        }
        if (isShort || transfer.actualLength == transfer.length) Finish(endpoint, 0, usb::TransferStatus::Completed);
    }
}

void Camera::Finish(std::uint8_t endpoint, std::size_t index, usb::TransferStatus status) {
    auto& queue = m_Pipes[endpoint].queue;
    const auto [transfer, handle] = queue[index];
    queue.erase(queue.begin() + static_cast<std::ptrdiff_t>(index));
    transfer->status = status;
    handle->ready.push_back(transfer);
}

std::size_t Camera::QueuedInAll() const {
    std::size_t count = 0;
    for (const auto& [endpoint, pipe] : m_Pipes)
        count += pipe.queue.size();
    return count;
}

void Camera::Send(std::uint8_t endpoint, const std::vector<Bytes>& transfers) {
    const Lock lock(m_Mutex);
    auto& data = m_Pipes[endpoint].data;
    data.insert(data.end(), transfers.begin(), transfers.end());
    Match(endpoint);
    m_Changed.notify_all();
}

void Camera::DropUnsent(std::uint8_t endpoint) {
    const Lock lock(m_Mutex);
    m_Pipes[endpoint].data.clear();
    m_Pipes[endpoint].consumed = 0;
}

void Camera::Fail(std::uint8_t endpoint, usb::TransferStatus status) {
    const Lock lock(m_Mutex);
    if (!m_Pipes[endpoint].queue.empty()) Finish(endpoint, 0, status);
    m_Changed.notify_all();
}

void Camera::FailAll(std::uint8_t endpoint, usb::TransferStatus status) {
    const Lock lock(m_Mutex);
    while (!m_Pipes[endpoint].queue.empty())
        Finish(endpoint, 0, status);
    m_Changed.notify_all();
}

std::size_t Camera::Queued(std::uint8_t endpoint) const {
    return QueuedLengths(endpoint).size();
}

std::vector<std::size_t> Camera::QueuedLengths(std::uint8_t endpoint) const {
    const Lock lock(m_Mutex);
    std::vector<std::size_t> lengths;
    const auto found = m_Pipes.find(endpoint);
    if (found != m_Pipes.end())
        for (const auto& entry : found->second.queue)
            lengths.push_back(entry.first->length);
    return lengths;
}

std::vector<const std::uint8_t*> Camera::QueuedBuffers(std::uint8_t endpoint) const {
    const Lock lock(m_Mutex);
    std::vector<const std::uint8_t*> buffers;
    const auto found = m_Pipes.find(endpoint);
    if (found != m_Pipes.end())
        for (const auto& entry : found->second.queue)
            buffers.push_back(entry.first->buffer);
    return buffers;
}

bool Camera::WaitFor(const std::function<bool()>& condition) const {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
        Lock lock(m_Mutex);
        if (std::chrono::steady_clock::now() > end) return false;
        m_Changed.wait_for(lock, std::chrono::milliseconds(5));
    }
    return true;
}

} // namespace scripted
