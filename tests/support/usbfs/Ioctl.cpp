// The ioctls of a usbfs node, as many as libusb uses.
#include "support/usbfs/Ioctl.h"

#include <linux/ioctl.h>
#include <linux/usbdevice_fs.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <ctime>

namespace usbfs {
namespace {

// No memory mapping: allocations for transfers without a copy fail here, as they do on old kernels.
constexpr std::uint32_t kCapabilities = USBDEVFS_CAP_ZERO_PACKET | USBDEVFS_CAP_BULK_CONTINUATION |
                                        USBDEVFS_CAP_NO_PACKET_SIZE_LIM | USBDEVFS_CAP_BULK_SCATTER_GATHER |
                                        USBDEVFS_CAP_REAP_AFTER_DISCONNECT;

struct Counters {
    std::atomic<std::uint64_t> submits{0}, reaps{0}, vainReaps{0}, others{0};
};
Counters g_Counters;

std::atomic<std::uint64_t>& CounterOf(unsigned int request, int result) {
    if (request == USBDEVFS_SUBMITURB) return g_Counters.submits;
    if (request != USBDEVFS_REAPURBNDELAY) return g_Counters.others;
    return result == 0 ? g_Counters.reaps : g_Counters.vainReaps;
}

std::atomic<bool> g_IsTimed{false};
std::atomic<std::uint64_t> g_Nanoseconds{0};

std::uint64_t ThreadTime() {
    timespec now{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1000000000u + static_cast<std::uint64_t>(now.tv_nsec);
}

/// Adds the time of its scope to the sum, if anybody wants to know.
class IoctlTime {
public:
    IoctlTime() : m_Start(g_IsTimed ? ThreadTime() : 0) {}
    ~IoctlTime() {
        if (m_Start != 0) g_Nanoseconds += ThreadTime() - m_Start;
    }
    IoctlTime(const IoctlTime&) = delete;
    IoctlTime& operator=(const IoctlTime&) = delete;

private:
    const std::uint64_t m_Start;
};

template<class T>
T& As(void* argument) {
    return *static_cast<T*>(argument);
}

int Reap(const Bus::Opened& opened, void* argument) {
    usbdevfs_urb* record = nullptr;
    const int error = opened.port->Reap(*opened.file, record);
    if (error == 0) As<void*>(argument) = record;
    return error;
}

int GetDriver(const Bus::Opened& opened, usbdevfs_getdriver& wanted) {
    std::string driver;
    const int error = opened.port->DriverOf(*opened.file, wanted.interface, driver);
    if (error == 0) std::snprintf(wanted.driver, sizeof wanted.driver, "%s", driver.c_str());
    return error;
}

int DriverIoctl(const Bus::Opened& opened, const usbdevfs_ioctl& command) {
    const auto interface = static_cast<unsigned int>(command.ifno);
    switch (static_cast<unsigned int>(command.ioctl_code)) {
    case USBDEVFS_DISCONNECT:
        return opened.port->DetachDriver(*opened.file, interface);
    case USBDEVFS_CONNECT:
        return opened.port->AttachDriver(*opened.file, interface);
    default:
        return ENOTTY;
    }
}

/// What a call is counted as.
CallSite SiteOf(unsigned int request, void* argument) {
    switch (request) {
    case USBDEVFS_GET_CAPABILITIES:
        return {Call::Capabilities};
    case USBDEVFS_CLAIMINTERFACE:
    case USBDEVFS_DISCONNECT_CLAIM:
        return {Call::Claim};
    case USBDEVFS_RELEASEINTERFACE:
        return {Call::Release};
    case USBDEVFS_SETCONFIGURATION:
        return {Call::Configuration};
    case USBDEVFS_SETINTERFACE:
        return {Call::Setting};
    case USBDEVFS_CLEAR_HALT:
        return {Call::ClearHalt, static_cast<std::uint8_t>(As<unsigned int>(argument))};
    case USBDEVFS_RESET:
        return {Call::Reset};
    case USBDEVFS_SUBMITURB:
        return {Call::Submit, As<usbdevfs_urb>(argument).endpoint};
    case USBDEVFS_REAPURBNDELAY:
        return {Call::Reap};
    case USBDEVFS_DISCARDURB:
        return {Call::Discard, As<usbdevfs_urb>(argument).endpoint};
    default:
        return {Call::Driver};
    }
}

int Serve(const Bus::Opened& opened, unsigned int request, void* argument) {
    Port& port = *opened.port;
    OpenFile& file = *opened.file;
    if (const int failure = Bus::Instance().Faults().Next(SiteOf(request, argument))) {
        if (request == USBDEVFS_DISCARDURB) port.Discard(file, static_cast<usbdevfs_urb*>(argument));
        return -failure;
    }
    if (request == USBDEVFS_REAPURBNDELAY) return -Reap(opened, argument);
    const int gone = port.CheckConnected(file);
    if (gone != 0) return -gone;
    switch (request) {
    case USBDEVFS_GET_CAPABILITIES:
        return As<std::uint32_t>(argument) = kCapabilities, 0;
    case USBDEVFS_CLAIMINTERFACE:
        return -port.Claim(file, As<unsigned int>(argument), /*detachDriver=*/false);
    case USBDEVFS_DISCONNECT_CLAIM:
        return -port.Claim(file, As<usbdevfs_disconnect_claim>(argument).interface, /*detachDriver=*/true);
    case USBDEVFS_RELEASEINTERFACE:
        return -port.Release(file, As<unsigned int>(argument));
    case USBDEVFS_SETCONFIGURATION:
        return -port.SelectConfiguration(file, As<int>(argument));
    case USBDEVFS_SETINTERFACE: {
        const auto& wanted = As<usbdevfs_setinterface>(argument);
        return -port.SelectSetting(file, wanted.interface, wanted.altsetting);
    }
    case USBDEVFS_GETDRIVER:
        return -GetDriver(opened, As<usbdevfs_getdriver>(argument));
    case USBDEVFS_IOCTL:
        return -DriverIoctl(opened, As<usbdevfs_ioctl>(argument));
    case USBDEVFS_CLEAR_HALT:
        return -port.ClearHalt(file, static_cast<std::uint8_t>(As<unsigned int>(argument)));
    case USBDEVFS_RESET:
        return -port.Reset(file);
    case USBDEVFS_SUBMITURB:
        return -port.Submit(file, static_cast<usbdevfs_urb*>(argument));
    case USBDEVFS_DISCARDURB:
        return -port.Discard(file, static_cast<usbdevfs_urb*>(argument));
    default:
        break;
    }
    std::fprintf(stderr, "usbfs emulation: unknown ioctl %x\n", request);
    return -ENOTTY;
}

} // namespace

IoctlCounts CountIoctls() {
    return {g_Counters.submits, g_Counters.reaps, g_Counters.vainReaps, g_Counters.others};
}

std::uint64_t usbfs_ioctl_nanoseconds() {
    g_IsTimed = true;
    return g_Nanoseconds;
}

int ServeIoctl(const Bus::Opened& opened, unsigned int request, void* argument) {
    const IoctlTime time;
    const int result = Serve(opened, request, argument);
    ++CounterOf(request, result);
    return result;
}

} // namespace usbfs
