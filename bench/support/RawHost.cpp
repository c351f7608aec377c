#include "RawHost.h"

#include "u3v/Constants.h"
#include "u3v/LittleEndian.h"

#include <algorithm>
#include <stdexcept>
#include <string>

#include <GenApi/GenApi.h>

namespace bench {
namespace {

constexpr unsigned int kImages = 8;
constexpr std::uint32_t kTransfer = 1u << 20; // as our library chooses for images of this size
constexpr int kStreamProtocol = 2;

void Check(int code, const char* what) {
    if (code < 0) throw std::runtime_error(std::string(what) + ": " + libusb_error_name(code));
}

} // namespace

RawHost::RawHost(BenchCamera& camera) : m_Camera(camera) {
    Check(libusb_init(&m_Context), "libusb");
    OpenStream();
    const std::uint64_t sbrm = Read(u3v::abrm::kSbrmAddress, 8);
    m_Registers = Read(sbrm + u3v::sbrm::kSirmAddress, 8);
    const auto payload = static_cast<std::uint32_t>(Read(m_Registers + u3v::sirm::kRequiredPayloadSize, 8));
    const auto leader = static_cast<std::uint32_t>(Read(m_Registers + u3v::sirm::kRequiredLeaderSize, 4));
    const auto trailer = static_cast<std::uint32_t>(Read(m_Registers + u3v::sirm::kRequiredTrailerSize, 4));
    Write(u3v::sirm::kMaximumLeaderSize, leader);
    Write(u3v::sirm::kMaximumTrailerSize, trailer);
    Program(payload);
    for (unsigned int i = 0; i < kImages; ++i) {
        AddTransfer(leader, /*isTrailer=*/false);
        for (std::uint32_t left = payload / 1024 * 1024; left > 0; left -= std::min(left, kTransfer))
            AddTransfer(std::min(left, kTransfer), /*isTrailer=*/false);
        if (payload % 1024 != 0) AddTransfer(1024, /*isTrailer=*/false);
        AddTransfer(trailer, /*isTrailer=*/true);
    }
    for (libusb_transfer* transfer : m_Transfers) {
        Check(libusb_submit_transfer(transfer), "submit");
        ++m_InFlight;
    }
    Write(u3v::sirm::kControl, u3v::sirm::kControlStreamEnable);
    m_Camera.Set("AcquisitionStart", "1");
}

RawHost::~RawHost() {
    m_Camera.Set("AcquisitionStop", "1");
    m_IsEnding = true;
    for (auto transfer = m_Transfers.rbegin(); transfer != m_Transfers.rend(); ++transfer)
        libusb_cancel_transfer(*transfer);
    while (m_InFlight > 0)
        libusb_handle_events(m_Context);
    Write(u3v::sirm::kControl, 0);
    for (libusb_transfer* transfer : m_Transfers)
        libusb_free_transfer(transfer);
    libusb_release_interface(m_Handle, m_Interface);
    libusb_close(m_Handle);
    libusb_exit(m_Context);
}

void RawHost::Frames(unsigned int count) {
    const unsigned int end = m_Images + count;
    while (m_Images < end)
        Check(libusb_handle_events(m_Context), "events");
}

void RawHost::Completed(libusb_transfer* transfer) {
    auto& host = *static_cast<RawHost*>(transfer->user_data);
    --host.m_InFlight;
    if (host.m_IsEnding || transfer->status == LIBUSB_TRANSFER_NO_DEVICE) return;
    if (transfer->flags != 0) ++host.m_Images;
    if (libusb_submit_transfer(transfer) == LIBUSB_SUCCESS) ++host.m_InFlight;
}

/// The first camera of the bus, which has one stream.
void RawHost::OpenStream() {
    libusb_device** devices = nullptr;
    Check(static_cast<int>(libusb_get_device_list(m_Context, &devices)), "devices");
    for (libusb_device** each = devices; *each && m_Interface < 0; ++each) {
        libusb_config_descriptor* configuration = nullptr;
        if (libusb_get_active_config_descriptor(*each, &configuration) < 0) continue;
        for (int i = 0; i < configuration->bNumInterfaces; ++i) {
            const libusb_interface_descriptor& one = configuration->interface[i].altsetting[0];
            if (one.bInterfaceClass != 0xEF || one.bInterfaceProtocol != kStreamProtocol) continue;
            m_Interface = one.bInterfaceNumber;
            m_Endpoint = one.endpoint[0].bEndpointAddress;
        }
        libusb_free_config_descriptor(configuration);
        if (m_Interface >= 0) Check(libusb_open(*each, &m_Handle), "open");
    }
    libusb_free_device_list(devices, /*unref_devices=*/1);
    if (!m_Handle) throw std::runtime_error("no camera on the bus");
    Check(libusb_claim_interface(m_Handle, m_Interface), "claim");
}

void RawHost::Program(std::uint32_t payload) {
    Write(u3v::sirm::kPayloadTransferSize, kTransfer);
    Write(u3v::sirm::kPayloadTransferCount, payload / kTransfer);
    Write(u3v::sirm::kPayloadFinalTransfer1Size, payload % kTransfer / 1024 * 1024);
    Write(u3v::sirm::kPayloadFinalTransfer2Size, payload % 1024 != 0 ? 1024 : 0);
}

/// libusb looks at no flag that it does not know; ours marks the end of an image.
void RawHost::AddTransfer(std::uint32_t size, bool isTrailer) {
    m_Memory.emplace_back(size);
    libusb_transfer* const transfer = libusb_alloc_transfer(0);
    libusb_fill_bulk_transfer(transfer, m_Handle, m_Endpoint, m_Memory.back().data(), static_cast<int>(size),
                              &RawHost::Completed, this, /*timeout=*/0);
    m_Transfers.push_back(transfer);
    transfer->flags = isTrailer ? 1u << 7 : 0;
}

void RawHost::Write(std::uint64_t offset, std::uint32_t value) {
    std::uint8_t bytes[4];
    u3v::Store32(bytes, value);
    GenApi::CPortPtr(m_Camera.Device().GetNodeMap()->GetNode("Device"))
        ->Write(bytes, static_cast<std::int64_t>(m_Registers + offset), sizeof bytes);
}

std::uint64_t RawHost::Read(std::uint64_t address, std::size_t size) {
    std::uint8_t bytes[8] = {};
    GenApi::CPortPtr(m_Camera.Device().GetNodeMap()->GetNode("Device"))
        ->Read(bytes, static_cast<std::int64_t>(address), static_cast<std::int64_t>(size));
    return u3v::Load64(bytes);
}

} // namespace bench
