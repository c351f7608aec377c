// One transfer of libusb that the calling thread waits for.
#include "usb/libusb/SynchronousTransfer.h"

#include "usb/libusb/LibusbResult.h"

#include <algorithm>
#include <climits>
#include <new>

namespace usb {
namespace {

constexpr std::uint16_t kControlLimit = 4096;

Result ToResult(int status) {
    switch (status) {
    case LIBUSB_TRANSFER_COMPLETED:
        return Result::Ok;
    case LIBUSB_TRANSFER_TIMED_OUT:
        return Result::Timeout;
    case LIBUSB_TRANSFER_STALL:
        return Result::Pipe;
    case LIBUSB_TRANSFER_NO_DEVICE:
        return Result::NoDevice;
    case LIBUSB_TRANSFER_OVERFLOW:
        return Result::Overflow;
    default:
        return Result::Io;
    }
}

} // namespace

Result SynchronousTransfer::Control(const ControlSetup& setup, std::uint8_t* data, std::size_t& actual,
                                    unsigned int timeoutMs) {
    actual = 0;
    if (setup.length > kControlLimit) return Result::InvalidParam;
    if (m_Transfer == nullptr) return Result::NoMemory;
    const std::size_t size = LIBUSB_CONTROL_SETUP_SIZE + std::size_t{setup.length};
    const std::unique_ptr<std::uint8_t[]> buffer(new (std::nothrow) std::uint8_t[size]());
    if (buffer == nullptr) return Result::NoMemory;
    std::uint8_t* const payload = buffer.get() + LIBUSB_CONTROL_SETUP_SIZE;
    libusb_fill_control_setup(buffer.get(), setup.requestType, setup.request, setup.value, setup.index, setup.length);
    const bool reads = (setup.requestType & kDirectionIn) != 0;
    if (!reads) std::copy_n(data, setup.length, payload);
    libusb_fill_control_transfer(m_Transfer.get(), m_Device, buffer.get(), &SynchronousTransfer::Ended, this,
                                 timeoutMs);
    const Result result = Run(actual);
    actual = std::min<std::size_t>(actual, setup.length);
    if (reads) std::copy_n(payload, actual, data);
    return result;
}

Result SynchronousTransfer::Bulk(std::uint8_t endpoint, std::uint8_t* data, std::size_t length, std::size_t& actual,
                                 unsigned int timeoutMs) {
    actual = 0;
    if (length > INT_MAX) return Result::InvalidParam;
    if (m_Transfer == nullptr) return Result::NoMemory;
    libusb_fill_bulk_transfer(m_Transfer.get(), m_Device, endpoint, data, static_cast<int>(length),
                              &SynchronousTransfer::Ended, this, timeoutMs);
    return Run(actual);
}

void SynchronousTransfer::Ended(libusb_transfer* transfer) {
    // Released with what libusb wrote of the transfer; Run acquires it, also when another thread handled the event.
    __atomic_store_n(&static_cast<SynchronousTransfer*>(transfer->user_data)->m_Done, 1, __ATOMIC_RELEASE);
}

/// Handles events until the transfer has ended, or waits while another thread does. A failure of the event handling
/// ends the transfer: its buffer must not be left to the kernel.
Result SynchronousTransfer::Run(std::size_t& actual) {
    const Result submitted = AskLibusb([&] { return libusb_submit_transfer(m_Transfer.get()); });
    if (submitted != Result::Ok) return submitted;
    while (__atomic_load_n(&m_Done, __ATOMIC_ACQUIRE) == 0) {
        const int code = libusb_handle_events_completed(m_Context, &m_Done);
        if (code < 0 && code != LIBUSB_ERROR_INTERRUPTED) libusb_cancel_transfer(m_Transfer.get());
    }
    actual = static_cast<std::size_t>(std::max(m_Transfer->actual_length, 0));
    return ToResult(m_Transfer->status);
}

} // namespace usb
