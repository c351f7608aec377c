// The loadable form of the virtual bus.

#include <memory>
#include <utility>

#include <unistd.h>

#include "core/Mutex.h"
#include "virtualcam/backend/Backend.h"
#include "virtualcam/backend/Bench.h"

namespace virtualcam {
namespace {

/// Lends a bus that others hold as well. Thread-safe.
class LentBus final : public usb::Backend {
public:
    explicit LentBus(std::shared_ptr<usb::Backend> bus) : m_Bus(std::move(bus)) {}

    const char* Name() const override { return m_Bus->Name(); }
    [[nodiscard]] usb::Result Enumerate(std::vector<usb::DeviceEntry>& devices) override {
        return m_Bus->Enumerate(devices);
    }
    [[nodiscard]] usb::Result Open(const std::string& id, std::unique_ptr<usb::Handle>& handle) override {
        return m_Bus->Open(id, handle);
    }
    bool IsArriving(const std::string& id) const override { return m_Bus->IsArriving(id); }
    std::uint64_t RegisterHotplug(usb::HotplugHandler handler) override {
        return m_Bus->RegisterHotplug(std::move(handler));
    }
    void DeregisterHotplug(std::uint64_t registration) override { m_Bus->DeregisterHotplug(registration); }
    std::size_t TransferMemoryLimit() const override { return m_Bus->TransferMemoryLimit(); }

private:
    const std::shared_ptr<usb::Backend> m_Bus;
};

/// The bus of this process. Cameras do not forget what they were told, nor do again what was scripted, because a
/// program has let go of its last one for a while: only another text of settings makes another bus. It is never
/// destroyed, since its threads cannot be joined while the process ends, and its code stays loaded. Thread-safe.
class ProcessBus {
public:
    std::shared_ptr<usb::Backend> Find(const std::string& settings, std::string& reason) {
        const Tavix::MutexLock lock(m_Lock);
        if (m_Bus && m_Settings == settings) return m_Bus;
        std::shared_ptr<Backend> made = CreateBackend(settings, reason);
        if (made) {
            m_Bus = made;
            m_Settings = settings;
        }
        return made;
    }

    /// Null before anybody asked for a bus.
    std::shared_ptr<Backend> Find() {
        const Tavix::MutexLock lock(m_Lock);
        return m_Bus;
    }

    /// A process that was forked has none of its parent's threads: it begins anew.
    static ProcessBus& Present() {
        static Tavix::Mutex lock;
        static ProcessBus* present = nullptr;
        const Tavix::MutexLock guard(lock);
        if (!present || present->m_Process != getpid()) present = new ProcessBus(present);
        return *present;
    }

private:
    explicit ProcessBus(const ProcessBus* parents) : m_Parents(parents) {}

    [[maybe_unused]] const ProcessBus* const m_Parents; // which cannot be destroyed here
    const pid_t m_Process = getpid();
    Tavix::Mutex m_Lock;
    std::string m_Settings TAVIX_GUARDED_BY(m_Lock);
    std::shared_ptr<Backend> m_Bus TAVIX_GUARDED_BY(m_Lock);
};

} // namespace
} // namespace virtualcam

extern "C" __attribute__((visibility("default"))) usb::Backend* UsbCreateBackend(const char* settings,
                                                                                 std::string& reason) {
    using namespace virtualcam;
    reason = "there are none";
    if (!settings) return nullptr;
    std::shared_ptr<usb::Backend> bus = ProcessBus::Present().Find(settings, reason);
    return bus ? new LentBus(std::move(bus)) : nullptr;
}

/// What a bench does with the cameras of this process's bus: a request and its answer as JSON, see Bench.h. False with
/// a reason as the answer.
extern "C" __attribute__((visibility("default"))) bool VirtualCameraControl(const char* request, std::string& answer) {
    using namespace virtualcam;
    answer = "virtual cameras were not asked for when the program began";
    const std::shared_ptr<Backend> bus = ProcessBus::Present().Find();
    return bus && request && Obey(*bus, request, answer);
}
