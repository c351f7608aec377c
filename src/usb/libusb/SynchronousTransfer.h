#pragma once
// One transfer of libusb that the calling thread waits for.

#include "usb/Backend.h"

#include <libusb.h>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace usb {

/// Does what libusb's own synchronous functions do, with an end that is properly ordered between threads: theirs is a
/// plain int, which leaves it to chance, formally, whether the caller sees the data that another thread's event
/// handling has brought. Bound to a thread.
class SynchronousTransfer {
public:
    SynchronousTransfer(libusb_context* context, libusb_device_handle* device)
        : m_Context(context), m_Device(device), m_Transfer(libusb_alloc_transfer(/*iso_packets=*/0)) {}
    SynchronousTransfer(const SynchronousTransfer&) = delete;
    SynchronousTransfer& operator=(const SynchronousTransfer&) = delete;

    /// As Handle::Control and Handle::Bulk. Each object is good for one call.
    Result Control(const ControlSetup& setup, std::uint8_t* data, std::size_t& actual, unsigned int timeoutMs);
    Result Bulk(std::uint8_t endpoint, std::uint8_t* data, std::size_t length, std::size_t& actual,
                unsigned int timeoutMs);

private:
    struct FreeTransfer {
        void operator()(libusb_transfer* transfer) const { libusb_free_transfer(transfer); }
    };

    static void LIBUSB_CALL Ended(libusb_transfer* transfer);
    Result Run(std::size_t& actual);

    libusb_context* const m_Context;      ///< borrowed
    libusb_device_handle* const m_Device; ///< borrowed
    const std::unique_ptr<libusb_transfer, FreeTransfer> m_Transfer;
    int m_Done = 0; ///< read by libusb too; see LibusbHandle::m_Attention
};

} // namespace usb
