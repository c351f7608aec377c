#include "support/ScriptedCamera.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace scripted {
namespace {

using Lock = std::unique_lock<std::mutex>;

std::uint64_t Load(const Bytes& bytes, std::size_t offset, std::size_t size) {
    std::uint64_t value = 0;
    for (std::size_t i = size; i-- != 0;)
        value = value << 8 | bytes.at(offset + i);
    return value;
}

Bytes Little(std::uint64_t value, std::size_t size) {
    Bytes bytes;
    for (std::size_t i = 0; i < size; ++i)
        bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    return bytes;
}

const Bytes kDevice = Hex("12 01 00 03 EF 02 01 09 34 12 CD AB 00 01 01 02 03 01");
// Control, event and stream interface; numbers of IN and OUT endpoint differ.
const Bytes kConfiguration = Hex("09 02 74 00 03 01 00 80 70  08 0B 00 03 EF 05 00 0C  09 04 00 00 02 EF 05 00 00"
                                 "14 24 01 03 00 01 00 02 00 01 00 04 05 06 07 08 09 0A 0B 0C"
                                 "07 05 01 02 00 04 00 06 30 00 00 00 00  07 05 85 02 00 04 00 06 30 00 00 00 00"
                                 "09 04 01 00 01 EF 05 01 00  07 05 82 02 00 04 00 06 30 00 00 00 00"
                                 "09 04 02 00 01 EF 05 02 00  07 05 83 02 00 04 00 06 30 0F 00 00 00");

const std::map<int, std::string> kStrings = {{1, "Plain Vendor"}, {2, "Plain Product"}, {3, "Plain Serial"},
                                             {4, "123400000001"}, {5, "Vendor"},        {6, "Model"},
                                             {9, "Info"},         {10, "Serial"},       {11, "Name"}};

} // namespace

Bytes Hex(std::string_view text) {
    const auto digit = [](char c) { return c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10; };
    Bytes bytes;
    int high = -1;
    for (const char c : text) {
        if (c == ' ' || c == '\n') continue;
        if (high >= 0) bytes.push_back(static_cast<std::uint8_t>(high << 4 | digit(c)));
        high = high < 0 ? digit(c) : -1;
    }
    return bytes;
}

Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

Bytes Pattern(std::size_t size, unsigned int seed) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<std::uint8_t>(i * 7 + (i >> 8) + seed);
    return bytes;
}

std::uint16_t Command::Id() const {
    return static_cast<std::uint16_t>(Load(bytes, 6, 2));
}
std::uint16_t Command::RequestId() const {
    return static_cast<std::uint16_t>(Load(bytes, 10, 2));
}
std::uint64_t Command::Address() const {
    return Load(bytes, 12, 8);
}
std::size_t Command::Count() const {
    return static_cast<std::size_t>(Load(bytes, 22, 2));
}
Bytes Command::Data() const {
    return Bytes(bytes.begin() + 20, bytes.end());
}

Bytes Ack(std::uint16_t status, std::uint16_t command, std::uint16_t requestId, const Bytes& data) {
    return Hex("55335643") + Little(status, 2) + Little(command, 2) + Little(data.size(), 2) + Little(requestId, 2) +
           data;
}

Bytes ImageLeader(std::uint64_t blockId, std::uint32_t width, std::uint32_t height) {
    return Hex("5533564C 0000 3400") + Little(blockId, 8) + Hex("0000 0100 E803000000000000 01000801") +
           Little(width, 4) + Little(height, 4) + Hex("05000000 06000000 0000 0000");
}

Bytes ImageTrailer(std::uint64_t blockId, std::uint64_t validSize, std::uint32_t height, std::uint16_t status) {
    return Hex("55335654 0000 2000") + Little(blockId, 8) + Little(status, 2) + Hex("0000") + Little(validSize, 8) +
           Little(height, 4);
}

Camera::Camera() {
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

std::uint32_t Camera::Get32(std::uint64_t address) const {
    const Lock lock(m_Mutex);
    Bytes bytes;
    for (std::uint64_t i = 0; i < 4; ++i)
        bytes.push_back(m_Memory.at(address + i));
    return static_cast<std::uint32_t>(Load(bytes, 0, 4));
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
            values.push_back(static_cast<std::uint32_t>(Load(command.Data(), 0, 4)));
    return values;
}

std::vector<std::size_t> Camera::ControlInSizes() const {
    const Lock lock(m_Mutex);
    return m_InSizes;
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
void Camera::FailNextOut(usb::Result result) {
    const Lock lock(m_Mutex);
    m_NextOut = result;
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
    std::map<std::uint64_t, usb::HotplugHandler> handlers;
    {
        const Lock lock(m_Mutex);
        m_Gone = true;
        for (auto& [endpoint, pipe] : m_Pipes)
            while (!pipe.queue.empty())
                Finish(endpoint, 0, usb::TransferStatus::NoDevice);
        handlers = m_Hotplug;
    }
    m_Changed.notify_all();
    if (!announce) return;
    for (auto& [id, handler] : handlers)
        handler(usb::HotplugEvent::Left, "1");
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

class ScriptedHandle final : public usb::Handle {
public:
    explicit ScriptedHandle(Camera& camera) : m_Camera(camera) {
        const Lock lock(camera.m_Mutex);
        ++camera.m_Handles;
    }
    ~ScriptedHandle() override {
        const Lock lock(m_Camera.m_Mutex);
        for (const int number : m_Claims)
            m_Camera.m_Claimed.erase(number);
        --m_Camera.m_Handles;
    }

    usb::Result Claim(std::uint8_t number) override {
        const Lock lock(m_Camera.m_Mutex);
        if (m_Camera.m_Gone) return usb::Result::NoDevice;
        if (m_Camera.m_ClaimResult != usb::Result::Ok) return m_Camera.m_ClaimResult;
        if (!m_Camera.m_Claimed.insert(number).second) return usb::Result::Busy;
        m_Claims.insert(number);
        return usb::Result::Ok;
    }
    usb::Result Release(std::uint8_t number) override {
        const Lock lock(m_Camera.m_Mutex);
        m_Camera.m_Claimed.erase(number);
        return m_Claims.erase(number) != 0 ? usb::Result::Ok : usb::Result::NotFound;
    }
    usb::Result Control(const usb::ControlSetup& setup, std::uint8_t* data, std::size_t& actual,
                        unsigned int) override {
        const Lock lock(m_Camera.m_Mutex);
        if (m_Camera.m_Gone) return usb::Result::NoDevice;
        m_Camera.m_LastControl = setup;
        if (setup.requestType == 0x02 && setup.request == 0x03) ++m_Camera.m_HaltsSet;
        actual = 0;
        if ((setup.requestType & 0x80) == 0) return usb::Result::Ok;
        actual = std::min<std::size_t>(setup.length, m_Camera.controlAnswer.size());
        std::copy_n(m_Camera.controlAnswer.begin(), actual, data);
        return usb::Result::Ok;
    }
    usb::Result Bulk(std::uint8_t endpoint, std::uint8_t* data, std::size_t length, std::size_t& actual,
                     unsigned int) override {
        const Lock lock(m_Camera.m_Mutex);
        actual = 0;
        if (m_Camera.m_Gone) return usb::Result::NoDevice;
        if (endpoint == kControlOut) return Out({Bytes(data, data + length)}, actual);
        if (endpoint != kControlIn) return usb::Result::InvalidParam;
        m_Camera.m_InSizes.push_back(length);
        if (m_Camera.m_NextIn != usb::Result::Ok) return std::exchange(m_Camera.m_NextIn, usb::Result::Ok);
        if (m_Camera.m_Answers.empty()) return usb::Result::Timeout; // whoever waits would wait for ever
        const Bytes answer = m_Camera.m_Answers.front();
        m_Camera.m_Answers.pop_front();
        if (answer.size() > length) return usb::Result::Overflow;
        std::copy(answer.begin(), answer.end(), data);
        actual = answer.size();
        return usb::Result::Ok;
    }
    usb::Result Submit(usb::Transfer& transfer) override {
        const Lock lock(m_Camera.m_Mutex);
        if (m_Camera.m_Gone) return usb::Result::NoDevice;
        if (m_Camera.QueuedInAll() >= m_Camera.m_TransferLimit) return usb::Result::NoMemory;
        transfer.actualLength = 0;
        m_Camera.m_Pipes[transfer.endpoint].queue.emplace_back(&transfer, this);
        m_Camera.Match(transfer.endpoint);
        m_Camera.m_Changed.notify_all();
        return usb::Result::Ok;
    }
    usb::Result Cancel(usb::Transfer& transfer) override {
        const Lock lock(m_Camera.m_Mutex);
        auto& queue = m_Camera.m_Pipes[transfer.endpoint].queue;
        for (std::size_t i = 0; i < queue.size(); ++i) {
            if (queue[i].first != &transfer) continue;
            m_Camera.Finish(transfer.endpoint, i, usb::TransferStatus::Cancelled);
            m_Camera.m_Changed.notify_all();
            return usb::Result::Ok;
        }
        return usb::Result::NotFound;
    }
    void Forget(usb::Transfer&) override {}
    usb::Result HandleEvents(unsigned int timeoutMs) override {
        Lock lock(m_Camera.m_Mutex);
        m_Camera.m_Changed.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                                    [&] { return m_Wake || !ready.empty(); });
        m_Wake = false;
        while (!ready.empty()) {
            usb::Transfer* transfer = ready.front();
            ready.pop_front();
            lock.unlock();
            transfer->completed(*transfer);
            lock.lock();
        }
        m_Camera.m_Changed.notify_all();
        return usb::Result::Ok;
    }
    void WakeEvents() override {
        const Lock lock(m_Camera.m_Mutex);
        m_Wake = true;
        m_Camera.m_Changed.notify_all();
    }
    usb::Result ClearHalt(std::uint8_t endpoint) override {
        const Lock lock(m_Camera.m_Mutex);
        if (m_Camera.m_Gone) return usb::Result::NoDevice;
        if (!m_Camera.m_Pipes[endpoint].queue.empty()) return usb::Result::Busy; // would disturb a real controller
        ++m_Camera.m_HaltsCleared[endpoint];
        return usb::Result::Ok;
    }
    usb::Result Reset() override { return usb::Result::Ok; }
    std::string ReadString(std::uint8_t index) override {
        const Lock lock(m_Camera.m_Mutex);
        const auto found = kStrings.find(index);
        return m_Camera.m_HasStrings && found != kStrings.end() ? found->second : std::string();
    }

    std::deque<usb::Transfer*> ready; ///< under the camera's lock

private:
    usb::Result Out(const Command& command, std::size_t& actual) {
        const usb::Result result = std::exchange(m_Camera.m_NextOut, usb::Result::Ok);
        if (result != usb::Result::Ok) return result;
        actual = command.bytes.size();
        m_Camera.Execute(command);
        return usb::Result::Ok;
    }

    Camera& m_Camera;
    std::set<int> m_Claims;
    bool m_Wake = false;
};

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

void Camera::Fail(std::uint8_t endpoint, usb::TransferStatus status) {
    const Lock lock(m_Mutex);
    if (!m_Pipes[endpoint].queue.empty()) Finish(endpoint, 0, status);
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

usb::Result ScriptedBackend::Enumerate(std::vector<usb::DeviceEntry>& devices) {
    const Lock lock(m_Camera.m_Mutex);
    if (m_Camera.m_Gone) return usb::Result::Ok;
    usb::DeviceEntry entry;
    entry.id = "1";
    entry.speed = usb::Speed::Super;
    entry.activeConfiguration = 1;
    entry.device = kDevice;
    entry.configurations = {kConfiguration};
    devices.push_back(entry);
    usb::DeviceEntry mouse; // something else on the bus
    mouse.id = "2";
    mouse.device = Hex("12 01 00 02 00 00 00 40 34 12 01 00 00 01 00 00 00 01");
    devices.push_back(mouse);
    return usb::Result::Ok;
}

usb::Result ScriptedBackend::Open(const std::string& id, std::unique_ptr<usb::Handle>& handle) {
    {
        const Lock lock(m_Camera.m_Mutex);
        if (m_Camera.m_Gone || id != "1") return usb::Result::NotFound;
        if (m_Camera.m_OpenResult != usb::Result::Ok) return m_Camera.m_OpenResult;
    }
    handle = OpenHandle(m_Camera);
    return usb::Result::Ok;
}

std::uint64_t ScriptedBackend::RegisterHotplug(usb::HotplugHandler handler) {
    const Lock lock(m_Camera.m_Mutex);
    m_Camera.m_Hotplug[++m_Camera.m_LastHotplug] = std::move(handler);
    return m_Camera.m_LastHotplug;
}

void ScriptedBackend::DeregisterHotplug(std::uint64_t registration) {
    const Lock lock(m_Camera.m_Mutex);
    m_Camera.m_Hotplug.erase(registration);
}

std::unique_ptr<usb::Handle> OpenHandle(Camera& camera) {
    return std::make_unique<ScriptedHandle>(camera);
}

} // namespace scripted
