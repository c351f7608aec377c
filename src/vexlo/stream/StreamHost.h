#pragma once
// What an image stream needs of the camera it belongs to.

#include "usb/Backend.h"
#include "vexlo/Status.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace vexlo {

/// Where the stream lies on the bus and in the register space.
struct StreamChannel {
    std::uint8_t interfaceNumber = 0;
    std::uint8_t endpoint = 0;          ///< address of the bulk IN endpoint
    std::uint32_t maxPacketSize = 1024; ///< bytes
    std::uint64_t registerBase = 0;     ///< address of the stream's register block (SIRM)
};

/// Thread-safe. No operation calls back into the stream.
class StreamHost {
public:
    /// Another handle of the opened device for the stream alone, so that its completions run on a thread of its own.
    /// VX_E_NOT_OPEN while the device is closed.
    [[nodiscard]] virtual VxStatus OpenHandle(std::unique_ptr<usb::Handle>& handle) = 0;
    /// VX_E_NOT_SUPPORTED when the camera has no image stream.
    [[nodiscard]] virtual VxStatus GetStreamChannel(StreamChannel& channel) = 0;
    /// One register, in one transaction where the camera allows.
    [[nodiscard]] virtual VxStatus ReadRegister(std::uint64_t address, void* data, std::size_t size) = 0;
    [[nodiscard]] virtual VxStatus WriteRegister(std::uint64_t address, const void* data, std::size_t size) = 0;
    /// Bytes that all queued transfers of the system may use together; 0 when unknown or unlimited.
    virtual std::size_t TransferMemoryLimit() = 0;
    /// Largest transfer that the camera was found to cope with, now or in an earlier run; UINT32_MAX when nothing is
    /// known.
    virtual std::uint32_t TransferLimit() = 0;
    virtual void LimitTransfers(std::uint32_t size) = 0;
    /// Largest transfer whose size was found not to be why nothing comes, now or in an earlier run; 0 when nothing is
    /// known.
    virtual std::uint32_t TrustedTransfer() = 0;
    virtual void TrustTransfers(std::uint32_t size) = 0;
    /// When the application wrote to the camera last; long ago when it has not.
    virtual std::chrono::steady_clock::time_point LastWrite() = 0;
    /// Resets the camera's port, as a last resort. Everything that it was told is forgotten, and handles of OpenHandle
    /// have lost their claims. VX_E_USB_NO_DEVICE when it came back as another one.
    [[nodiscard]] virtual VxStatus ResetCamera() = 0;
    /// The camera's stream is on from now on, or off again; register accesses may take longer while it is on.
    virtual void NoteStreaming(bool isOn) = 0;
    /// A transfer found the camera gone. Called at most once per start, on the stream's thread; must not wait for it.
    virtual void ReportLost() = 0;

    virtual ~StreamHost() = default;
};

} // namespace vexlo
