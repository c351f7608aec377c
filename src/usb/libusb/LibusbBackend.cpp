// The real bus, reached through libusb-1.0.
#include "usb/libusb/LibusbBackend.h"

#include "core/Threads.h"
#include "usb/HotplugHandlers.h"
#include "usb/NoThrow.h"
#include "usb/libusb/HotplugNotices.h"
#include "usb/libusb/LibusbContext.h"
#include "usb/libusb/LibusbDescriptors.h"
#include "usb/libusb/LibusbHandle.h"
#include "usb/libusb/LibusbResult.h"
#include "usb/libusb/NodeAge.h"
#include "usb/libusb/SmallFile.h"
#include "usb/libusb/SpareFiles.h"

#include "core/Mutex.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <system_error>
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
    bool IsArriving(const std::string& id) const override;
    std::uint64_t RegisterHotplug(HotplugHandler handler) override;
    void DeregisterHotplug(std::uint64_t registration) override { m_Handlers.Remove(registration); }
    std::size_t TransferMemoryLimit() const override;

private:
    static int LIBUSB_CALL Noticed(libusb_context*, libusb_device* device, libusb_hotplug_event event, void* self);
    [[nodiscard]] Result Watch(HotplugHandler handler, std::uint64_t& registration);
    [[nodiscard]] Result StartWatching() TAVIX_REQUIRES(m_Lock);
    void Run();

    // constant after construction
    const LibusbContext m_Context;

    HotplugHandlers m_Handlers;
    /// Filled and emptied by the watching thread alone: handlers must not run inside libusb.
    HotplugNotices m_Noticed;
    std::atomic<bool> m_Stop{false};

    Tavix::Mutex m_Lock;
    std::thread m_Watcher TAVIX_GUARDED_BY(m_Lock);
    libusb_hotplug_callback_handle m_Callback TAVIX_GUARDED_BY(m_Lock) = 0;
};

LibusbBackend::~LibusbBackend() {
    if (!m_Watcher.joinable()) return;
    libusb_hotplug_deregister_callback(m_Context.get(), m_Callback);
    m_Stop = true;
    libusb_interrupt_event_handler(m_Context.get());
    m_Watcher.join();
}

Result LibusbBackend::Enumerate(std::vector<DeviceEntry>& devices) {
    return NoThrow([&] {
        const LibusbDeviceList list(m_Context.get());
        const auto first = static_cast<std::ptrdiff_t>(devices.size());
        for (libusb_device* device : list)
            devices.push_back(Describe(device));
        // libusb lists the newest first.
        std::sort(devices.begin() + first, devices.end(), [](const DeviceEntry& a, const DeviceEntry& b) {
            return std::tie(a.bus, a.ports) < std::tie(b.bus, b.ports);
        });
        return FromLibusb(list.Error());
    });
}

Result LibusbBackend::Open(const std::string& id, std::unique_ptr<Handle>& handle) {
    const Result result = NoThrow([&] {
        Result opened = Result::Other;
        handle = LibusbHandle::Open(id, opened);
        return opened;
    });
    const bool isPlain = result == Result::Ok || result == Result::Access || result == Result::Busy;
    return isPlain || HasSpareFiles() ? result : Result::TooManyFiles;
}

bool LibusbBackend::IsArriving(const std::string& id) const {
    bool isNew = false;
    const Result asked = NoThrow([&] {
        isNew = IsNodeNew(id);
        return Result::Ok;
    });
    return asked == Result::Ok && isNew;
}

std::uint64_t LibusbBackend::RegisterHotplug(HotplugHandler handler) {
    std::uint64_t registration = 0;
    const Result result = NoThrow([&] { return Watch(std::move(handler), registration); });
    if (result == Result::Ok) return registration;
    m_Handlers.Remove(registration);
    return 0;
}

Result LibusbBackend::Watch(HotplugHandler handler, std::uint64_t& registration) {
    const Tavix::MutexLock lock(m_Lock);
    registration = m_Handlers.Add(std::move(handler));
    return m_Watcher.joinable() ? Result::Ok : StartWatching();
}

Result LibusbBackend::StartWatching() {
    if (!libusb_has_capability(LIBUSB_CAP_HAS_HOTPLUG)) return Result::NotSupported;
    const int events = LIBUSB_HOTPLUG_EVENT_DEVICE_ARRIVED | LIBUSB_HOTPLUG_EVENT_DEVICE_LEFT;
    const int code = libusb_hotplug_register_callback(
        m_Context.get(), events, LIBUSB_HOTPLUG_NO_FLAGS, LIBUSB_HOTPLUG_MATCH_ANY, LIBUSB_HOTPLUG_MATCH_ANY,
        LIBUSB_HOTPLUG_MATCH_ANY, &LibusbBackend::Noticed, this, &m_Callback);
    if (code != LIBUSB_SUCCESS) return FromLibusb(code);
    try {
        m_Watcher = Tavix::StartThread([this] { Run(); });
    } catch (...) { // neither thread nor memory: nobody would take what libusb notices
        libusb_hotplug_deregister_callback(m_Context.get(), m_Callback);
        throw;
    }
    return Result::Ok;
}

int LibusbBackend::Noticed(libusb_context*, libusb_device* device, libusb_hotplug_event event, void* self) {
    if (HotplugNotices::Notice* notice = static_cast<LibusbBackend*>(self)->m_Noticed.Append()) {
        notice->event = event == LIBUSB_HOTPLUG_EVENT_DEVICE_ARRIVED ? HotplugEvent::Arrived : HotplugEvent::Left;
        WriteDeviceId(device, notice->id);
    }
    return 0; // stay registered
}

void LibusbBackend::Run() {
    while (!m_Stop) {
        timeval limit{60, 0};
        libusb_handle_events_timeout_completed(m_Context.get(), &limit, nullptr);
        while (!m_Noticed.IsEmpty() && !m_Stop) {
            const HotplugNotices::Notice& notice = m_Noticed.Front();
            m_Handlers.Notify(notice.event, notice.id);
            m_Noticed.RemoveFront();
        }
    }
}

std::size_t LibusbBackend::TransferMemoryLimit() const {
    unsigned long megabytes = 0;
    const Result result = NoThrow([&] {
        const std::vector<std::uint8_t> text = ReadSmallFile(kMemoryLimitPath);
        megabytes = std::strtoul(std::string(text.begin(), text.end()).c_str(), nullptr, 10);
        return Result::Ok;
    });
    return result == Result::Ok ? static_cast<std::size_t>(megabytes) << 20 : 0;
}

} // namespace

std::unique_ptr<Backend> CreateLibusbBackend(std::string& reason) {
    libusb_context* context = nullptr;
    const Tavix::SignalsBlocked guard; // for the thread that it starts
    const int code = libusb_init(&context);
    if (code == LIBUSB_SUCCESS) return std::make_unique<LibusbBackend>(LibusbContext(context));
    Tavix::NewThread([] {}).join(); // for libusb does not tell when it was that
    reason = std::string("libusb cannot be initialised: ") + libusb_error_name(code) + ", " + ToText(FromLibusb(code));
    return nullptr;
}

} // namespace usb
