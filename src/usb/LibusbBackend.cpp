// The real bus, reached through libusb-1.0.
#include "usb/LibusbBackend.h"

#include "usb/HotplugHandlers.h"
#include "usb/LibusbContext.h"
#include "usb/LibusbDescriptors.h"
#include "usb/LibusbHandle.h"
#include "usb/LibusbResult.h"
#include "usb/NodeAge.h"
#include "usb/SmallFile.h"
#include "usb/SpareFiles.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <deque>
#include <mutex>
#include <thread>
#include <tuple>
#include <utility>

namespace usb {
namespace {

constexpr char kMemoryLimitPath[] = "/sys/module/usbcore/parameters/usbfs_memory_mb";

/// Enumerates and watches in one libusb context; each handle has a context of its own. The thread that watches starts
/// with the first hotplug handler. Thread-safe.
class LibusbBackend final : public Backend {
public:
    explicit LibusbBackend(LibusbContext context) : m_Context(std::move(context)) {}
    ~LibusbBackend() override;

    const char* Name() const override { return "libusb"; }
    [[nodiscard]] Result Enumerate(std::vector<DeviceEntry>& devices) override;
    [[nodiscard]] Result Open(const std::string& id, std::unique_ptr<Handle>& handle) override;
    bool IsArriving(const std::string& id) const override { return IsNodeNew(id); }
    std::uint64_t RegisterHotplug(HotplugHandler handler) override;
    void DeregisterHotplug(std::uint64_t registration) override { m_Handlers.Remove(registration); }
    std::size_t TransferMemoryLimit() const override;

private:
    static int LIBUSB_CALL Noticed(libusb_context*, libusb_device* device, libusb_hotplug_event event, void* self);
    bool StartWatching();
    void Watch();

    // constant after construction
    const LibusbContext m_Context;

    HotplugHandlers m_Handlers;
    /// Filled and emptied by the watching thread alone: handlers must not run inside libusb.
    std::deque<std::pair<HotplugEvent, std::string>> m_Noticed;
    std::atomic<bool> m_Stop{false};

    std::mutex m_Lock;
    // guarded by m_Lock
    std::thread m_Watcher;
    libusb_hotplug_callback_handle m_Callback = 0;
};

LibusbBackend::~LibusbBackend() {
    if (!m_Watcher.joinable()) return;
    libusb_hotplug_deregister_callback(m_Context.get(), m_Callback);
    m_Stop = true;
    libusb_interrupt_event_handler(m_Context.get());
    m_Watcher.join();
}

Result LibusbBackend::Enumerate(std::vector<DeviceEntry>& devices) {
    const LibusbDeviceList list(m_Context.get());
    const auto first = static_cast<std::ptrdiff_t>(devices.size());
    for (libusb_device* device : list)
        devices.push_back(Describe(device));
    // libusb lists the newest first.
    std::sort(devices.begin() + first, devices.end(), [](const DeviceEntry& a, const DeviceEntry& b) {
        return std::tie(a.bus, a.ports) < std::tie(b.bus, b.ports);
    });
    return FromLibusb(list.Error());
}

Result LibusbBackend::Open(const std::string& id, std::unique_ptr<Handle>& handle) {
    Result result = Result::Other;
    handle = LibusbHandle::Open(id, result);
    const bool isPlain = result == Result::Ok || result == Result::Access || result == Result::Busy;
    return isPlain || HasSpareFiles() ? result : Result::TooManyFiles;
}

std::uint64_t LibusbBackend::RegisterHotplug(HotplugHandler handler) {
    const std::lock_guard<std::mutex> lock(m_Lock);
    const std::uint64_t registration = m_Handlers.Add(std::move(handler));
    if (m_Watcher.joinable() || StartWatching()) return registration;
    m_Handlers.Remove(registration);
    return 0;
}

bool LibusbBackend::StartWatching() {
    if (!libusb_has_capability(LIBUSB_CAP_HAS_HOTPLUG)) return false;
    const int events = LIBUSB_HOTPLUG_EVENT_DEVICE_ARRIVED | LIBUSB_HOTPLUG_EVENT_DEVICE_LEFT;
    const int code = libusb_hotplug_register_callback(
        m_Context.get(), events, LIBUSB_HOTPLUG_NO_FLAGS, LIBUSB_HOTPLUG_MATCH_ANY, LIBUSB_HOTPLUG_MATCH_ANY,
        LIBUSB_HOTPLUG_MATCH_ANY, &LibusbBackend::Noticed, this, &m_Callback);
    if (code != LIBUSB_SUCCESS) return false;
    m_Watcher = std::thread(&LibusbBackend::Watch, this);
    return true;
}

int LibusbBackend::Noticed(libusb_context*, libusb_device* device, libusb_hotplug_event event, void* self) {
    const bool arrived = event == LIBUSB_HOTPLUG_EVENT_DEVICE_ARRIVED;
    static_cast<LibusbBackend*>(self)->m_Noticed.emplace_back(arrived ? HotplugEvent::Arrived : HotplugEvent::Left,
                                                              DeviceId(device));
    return 0; // stay registered
}

void LibusbBackend::Watch() {
    while (!m_Stop) {
        timeval limit{60, 0};
        libusb_handle_events_timeout_completed(m_Context.get(), &limit, nullptr);
        while (!m_Noticed.empty() && !m_Stop) {
            const auto [event, id] = std::move(m_Noticed.front());
            m_Noticed.pop_front();
            m_Handlers.Notify(event, id);
        }
    }
}

std::size_t LibusbBackend::TransferMemoryLimit() const {
    const std::vector<std::uint8_t> text = ReadSmallFile(kMemoryLimitPath);
    const unsigned long megabytes = std::strtoul(std::string(text.begin(), text.end()).c_str(), nullptr, 10);
    return static_cast<std::size_t>(megabytes) << 20;
}

} // namespace

std::unique_ptr<Backend> CreateLibusbBackend(std::string& reason) {
    libusb_context* context = nullptr;
    const int code = libusb_init(&context);
    if (code == LIBUSB_SUCCESS) return std::make_unique<LibusbBackend>(LibusbContext(context));
    reason = std::string("libusb cannot be initialised: ") + libusb_error_name(code) + ", " + ToText(FromLibusb(code));
    return nullptr;
}

} // namespace usb
