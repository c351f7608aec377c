#include "support/ScriptedBackend.h"

#include "support/Shortage.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace scripted {
namespace {

using Lock = std::unique_lock<std::mutex>;

const Bytes kDevice = Hex("12 01 00 03 EF 02 01 09 34 12 CD AB 00 01 01 02 03 01");
// Control, event and stream interface; numbers of IN and OUT endpoint differ.
const Bytes kConfiguration = Hex("09 02 74 00 03 01 00 80 70  08 0B 00 03 EF 05 00 0C  09 04 00 00 02 EF 05 00 00"
                                 "14 24 01 03 00 01 00 02 00 01 00 04 05 06 07 08 09 0A 0B 0C"
                                 "07 05 01 02 00 04 00 06 30 00 00 00 00  07 05 85 02 00 04 00 06 30 00 00 00 00"
                                 "09 04 01 00 01 EF 05 01 00  07 05 82 02 00 04 00 06 30 00 00 00 00"
                                 "09 04 02 00 01 EF 05 02 00  07 05 83 02 00 04 00 06 30 0F 00 00 00");

} // namespace

class ScriptedHandle final : public usb::Handle, public ReadyTransfers {
public:
    explicit ScriptedHandle(Camera& camera) : m_Camera(camera) {
        const Lock lock(camera.m_Mutex);
        ++camera.m_Handles;
        m_Departures = camera.m_Departures;
    }
    ~ScriptedHandle() override {
        const Lock lock(m_Camera.m_Mutex);
        for (const int number : m_Claims)
            m_Camera.m_Claimed.erase(number);
        --m_Camera.m_Handles;
    }

    bool IsAttached() override {
        Lock lock(m_Camera.m_Mutex);
        // As it is now: a test that has seen the question may unplug the camera without changing the answer.
        const bool isAttached = m_Camera.m_Departures == m_Departures;
        ++m_Camera.m_AskedWhetherAttached;
        m_Camera.m_Changed.notify_all();
        const auto handler = m_Camera.m_OnAttachedQuestion;
        lock.unlock();
        if (handler) handler();
        return isAttached;
    }
    usb::Result Claim(std::uint8_t number) override {
        const shortage::AmpleMemory ample;
        const Lock lock(m_Camera.m_Mutex);
        if (m_Camera.m_Gone) return usb::Result::NoDevice;
        if (m_Camera.m_ClaimResult != usb::Result::Ok) return m_Camera.m_ClaimResult;
        if (m_Camera.m_Claimed.count(number) != 0) return usb::Result::Busy;
        m_Claims.insert(number); // first, so that it is given back whatever memory the camera has
        m_Camera.m_Claimed.insert(number);
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
                     unsigned int timeoutMs) override {
        const shortage::AmpleMemory ample;
        const Lock lock(m_Camera.m_Mutex);
        actual = 0;
        if (m_Camera.m_Gone) return usb::Result::NoDevice;
        if (endpoint == kControlOut) return Out({Bytes(data, data + length)}, actual);
        if (endpoint != kControlIn) return usb::Result::InvalidParam;
        m_Camera.m_InSizes.push_back(length);
        m_Camera.m_InTimeouts.push_back(timeoutMs);
        if (m_Camera.m_NextIn != usb::Result::Ok) return std::exchange(m_Camera.m_NextIn, usb::Result::Ok);
        if (m_Camera.m_Answers.empty()) { // whoever waits would wait for ever
            if (m_Camera.m_OnWaiting) m_Camera.m_OnWaiting(timeoutMs);
            return usb::Result::Timeout;
        }
        const Bytes answer = m_Camera.m_Answers.front();
        m_Camera.m_Answers.pop_front();
        if (answer.size() > length) return usb::Result::Overflow;
        std::copy(answer.begin(), answer.end(), data);
        actual = answer.size();
        return usb::Result::Ok;
    }
    usb::Result Submit(usb::Transfer& transfer) override {
        const shortage::AmpleMemory ample;
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
        const shortage::AmpleMemory ample;
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
        const shortage::AmpleMemory ample;
        const Lock lock(m_Camera.m_Mutex);
        if (m_Camera.m_Gone) return usb::Result::NoDevice;
        if (!m_Camera.m_Pipes[endpoint].queue.empty()) return usb::Result::Busy; // would disturb a real controller
        ++m_Camera.m_HaltsCleared[endpoint];
        return m_Camera.m_ClearResult;
    }
    usb::Result Reset() override {
        Lock lock(m_Camera.m_Mutex);
        ++m_Camera.m_Resets;
        const auto handler = m_Camera.m_OnReset;
        lock.unlock();
        return handler ? handler() : usb::Result::Ok;
    }
    usb::Result SelectConfiguration(std::uint8_t value) override {
        const Lock lock(m_Camera.m_Mutex);
        m_Camera.m_Selected.push_back(value);
        return m_Camera.m_SelectResult;
    }
    std::uint8_t* AllocateMemory(std::size_t size, std::size_t piece) override {
        const Lock lock(m_Camera.m_Mutex);
        if (size > m_Camera.m_Mappable) return nullptr;
        m_Camera.m_Mappable -= size;
        m_Camera.m_Piece = piece;
        Bytes memory(size);
        std::uint8_t* where = memory.data();
        m_Camera.m_Mapped.emplace(where, std::move(memory));
        return where;
    }
    void FreeMemory(std::uint8_t* memory, std::size_t size) override {
        const Lock lock(m_Camera.m_Mutex);
        m_Camera.m_Mappable += size;
        m_Camera.m_Mapped.erase(memory);
    }
    std::string ReadString(std::uint8_t index) override {
        const Lock lock(m_Camera.m_Mutex);
        const auto found = m_Camera.m_Strings.find(index);
        return m_Camera.m_HasStrings && found != m_Camera.m_Strings.end() ? found->second : std::string();
    }

private:
    usb::Result Out(const Command& command, std::size_t& actual) {
        const usb::Result result = std::exchange(m_Camera.m_NextOut, usb::Result::Ok);
        const auto sent = std::exchange(m_Camera.m_NextSent, std::nullopt);
        if (sent) actual = *sent;
        if (sent || result != usb::Result::Ok) return result;
        actual = command.bytes.size();
        m_Camera.Execute(command);
        return usb::Result::Ok;
    }

    Camera& m_Camera;
    unsigned int m_Departures = 0; ///< of the camera before it was opened
    std::set<int> m_Claims;
    bool m_Wake = false;
};

usb::Result ScriptedBackend::Enumerate(std::vector<usb::DeviceEntry>& devices) {
    const Lock lock(m_Camera.m_Mutex);
    if (m_Camera.m_Gone) return usb::Result::Ok;
    usb::DeviceEntry entry;
    entry.id = "1";
    entry.speed = usb::Speed::Super;
    entry.activeConfiguration = 1;
    entry.device = kDevice;
    entry.configurations = {kConfiguration};
    if (m_Camera.m_Describe) m_Camera.m_Describe(entry);
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
