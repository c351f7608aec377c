#include "MemoryHog.h"

#include <stdexcept>

namespace systemtest {
namespace {

constexpr std::uint16_t kVendor = 0x1209;
constexpr std::uint16_t kProduct = 0x0001;
constexpr int kEventInterface = 1;
constexpr unsigned char kEventEndpoint = 0x82;
constexpr std::size_t kMegabyte = 1u << 20;
constexpr std::size_t kMost = 1024;

} // namespace

MemoryHog::MemoryHog(unsigned int megabytesLeft) {
    if (libusb_init(&m_Context) != 0) throw std::runtime_error("libusb does not start");
    m_Handle = libusb_open_device_with_vid_pid(m_Context, kVendor, kProduct);
    if (!m_Handle || libusb_claim_interface(m_Handle, kEventInterface) != 0)
        throw std::runtime_error("the camera's event interface cannot be had");
    while (m_Reads.size() < kMost && Add()) {
    }
    for (unsigned int i = 0; i < megabytesLeft && !m_Reads.empty(); ++i)
        GiveBackLast();
}

MemoryHog::~MemoryHog() {
    while (!m_Reads.empty())
        GiveBackLast();
    if (m_Handle) libusb_close(m_Handle);
    libusb_exit(m_Context);
}

bool MemoryHog::Add() {
    Read& read = m_Reads.emplace_back();
    read.buffer.resize(kMegabyte);
    read.transfer = libusb_alloc_transfer(0);
    const auto done = [](libusb_transfer* transfer) { *static_cast<int*>(transfer->user_data) = 1; };
    libusb_fill_bulk_transfer(read.transfer, m_Handle, kEventEndpoint, read.buffer.data(),
                              static_cast<int>(read.buffer.size()), done, &read.done, 0);
    m_Refusal = libusb_submit_transfer(read.transfer);
    if (m_Refusal == 0) return true;
    libusb_free_transfer(read.transfer);
    m_Reads.pop_back();
    return false;
}

void MemoryHog::GiveBackLast() {
    Read& read = m_Reads.back();
    libusb_cancel_transfer(read.transfer);
    while (!read.done)
        libusb_handle_events_completed(m_Context, &read.done);
    libusb_free_transfer(read.transfer);
    m_Reads.pop_back();
}

} // namespace systemtest
