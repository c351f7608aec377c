#pragma once
// The buses that streams are measured on.

#include <cstdint>
#include <memory>

namespace usbfs {
class VirtualCameras;
}

namespace bench {

enum class BusKind { InProcess, BelowLibusb };

/// Virtual cameras as long as this lives: in a library beside the real bus, or on the emulated one below the real
/// libusb. One in a process. Bound to a thread.
class StreamBus {
public:
    StreamBus(BusKind kind, unsigned int cameras);
    ~StreamBus();

    static const char* Name(BusKind kind);
    /// What libusb has called for so far: transfers submitted, transfers reaped, reaps in vain, and everything else.
    struct Ioctls {
        std::uint64_t submits = 0, reaps = 0, vain = 0, others = 0;
    };
    static Ioctls Count();

private:
    std::unique_ptr<usbfs::VirtualCameras> m_BelowLibusb;
};

} // namespace bench
