// A bus whose traffic is written to a trace.
#include "usb/trace/TracedBackend.h"

#include "usb/NoThrow.h"
#include "usb/trace/TracedHandle.h"

#include "core/Mutex.h"

#include <algorithm>
#include <map>
#include <string>
#include <utility>

namespace usb {
namespace {

constexpr std::uint16_t kDeviceType = 0x0100;
constexpr std::uint16_t kConfigurationType = 0x0200;

/// Thread-safe.
class TracedBackend final : public Backend {
public:
    TracedBackend(std::unique_ptr<Backend> backend, std::shared_ptr<TraceFile> trace)
        : m_Backend(std::move(backend)), m_Trace(std::move(trace)) {}
    ~TracedBackend() override { m_Trace->Flush(); }

    const char* Name() const override { return m_Backend->Name(); }
    [[nodiscard]] Result Enumerate(std::vector<DeviceEntry>& devices) override;
    [[nodiscard]] Result Open(const std::string& id, std::unique_ptr<Handle>& handle) override;
    bool IsArriving(const std::string& id) const override { return m_Backend->IsArriving(id); }
    std::uint64_t RegisterHotplug(HotplugHandler handler) override {
        return m_Backend->RegisterHotplug(std::move(handler));
    }
    void DeregisterHotplug(std::uint64_t registration) override { m_Backend->DeregisterHotplug(registration); }
    std::size_t TransferMemoryLimit() const override { return m_Backend->TransferMemoryLimit(); }

private:
    void Describe(const DeviceEntry& entry);
    void RecordDescriptor(const TracedPlace& place, std::uint16_t value, const std::vector<std::uint8_t>& bytes);

    const std::unique_ptr<Backend> m_Backend;
    const std::shared_ptr<TraceFile> m_Trace;

    Tavix::Mutex m_Lock;
    std::map<std::string, TracedPlace> m_Places TAVIX_GUARDED_BY(m_Lock); ///< by DeviceEntry::id
};

Result TracedBackend::Enumerate(std::vector<DeviceEntry>& devices) {
    const std::size_t before = devices.size();
    const Result result = m_Backend->Enumerate(devices);
    const Result described = NoThrow([&] {
        for (std::size_t i = before; i < devices.size(); ++i)
            Describe(devices[i]);
        return Result::Ok;
    });
    m_Trace->Flush(); // a short program may ask for nothing else
    return result == Result::Ok ? described : result;
}

/// The system has read the descriptors long ago; who reads the trace needs them to know what the endpoints are for.
void TracedBackend::Describe(const DeviceEntry& entry) {
    const TracedPlace place{entry.bus, entry.address};
    {
        const Tavix::MutexLock lock(m_Lock);
        m_Places[entry.id] = place;
    }
    const std::string stay = std::to_string(entry.bus) + ":" + std::to_string(entry.address) + ":" + entry.id;
    if (!m_Trace->IsNew(stay)) return;
    RecordDescriptor(place, kDeviceType, entry.device);
    for (std::size_t i = 0; i < entry.configurations.size(); ++i)
        RecordDescriptor(place, static_cast<std::uint16_t>(kConfigurationType | i), entry.configurations[i]);
}

void TracedBackend::RecordDescriptor(const TracedPlace& place, std::uint16_t value,
                                     const std::vector<std::uint8_t>& bytes) {
    const auto length = static_cast<std::uint16_t>(std::min<std::size_t>(bytes.size(), 0xFFFF));
    TracedControl(*m_Trace, place, {0x80, 0x06, value, 0, length}).Completed(Result::Ok, bytes.data(), length);
}

Result TracedBackend::Open(const std::string& id, std::unique_ptr<Handle>& handle) {
    TracedPlace place;
    {
        const Tavix::MutexLock lock(m_Lock);
        const auto found = m_Places.find(id);
        if (found != m_Places.end()) place = found->second;
    }
    std::unique_ptr<Handle> opened;
    const Result result = m_Backend->Open(id, opened);
    if (opened == nullptr) return result;
    return NoThrow([&] {
        handle = std::make_unique<TracedHandle>(std::move(opened), m_Trace, place);
        return result;
    });
}

} // namespace

std::unique_ptr<Backend> Traced(std::unique_ptr<Backend> backend, std::shared_ptr<TraceFile> trace) {
    if (trace == nullptr || backend == nullptr) return backend;
    return std::make_unique<TracedBackend>(std::move(backend), std::move(trace));
}

} // namespace usb
