#include "vexlo/stream/SessionHost.h"

#include "vexlo/Library.h"
#include "vexlo/NoThrow.h"

#include <new>

namespace vexlo {
namespace {

/// The same camera at the same place.
std::string NameOf(const FoundCamera& camera) {
    return camera.path + " " + std::to_string(camera.identity.vendorId) + ":" +
           std::to_string(camera.identity.productId);
}

/// What is known of cameras only saves time.
template<class Value, class Question>
Value AskNotes(SessionSource& sessions, Value unknown, Question question) noexcept {
    try {
        const auto session = sessions.Get();
        const auto library = Library::Get();
        return session && library ? question(library->Notes(), NameOf(session->Camera())) : unknown;
    } catch (const std::bad_alloc&) {
        return unknown;
    }
}

} // namespace

VxStatus SessionHost::OpenHandle(std::unique_ptr<usb::Handle>& handle) {
    const auto session = m_Sessions.Get();
    return session ? NoThrow([&] { return session->OpenHandle(handle); }) : VX_E_NOT_OPEN;
}

VxStatus SessionHost::GetStreamChannel(StreamChannel& channel) {
    const auto session = m_Sessions.Get();
    if (!session) return VX_E_NOT_OPEN;
    if (!session->HasStream()) return VX_E_NOT_SUPPORTED;
    const u3v::DataInterface& stream = session->Function().streams.front();
    channel.interfaceNumber = stream.number;
    channel.endpoint = stream.in.address;
    channel.maxPacketSize = stream.in.packetSize != 0 ? stream.in.packetSize : 1024;
    channel.registerBase = session->Registers().streamAddress;
    return VX_OK;
}

VxStatus SessionHost::ReadRegister(std::uint64_t address, void* data, std::size_t size) {
    const auto session = m_Sessions.Get();
    if (!session) return VX_E_NOT_OPEN;
    return NoThrow([&] {
        std::size_t done = 0;
        return session->Note(session->Memory().Read(address, static_cast<std::uint8_t*>(data), size, done));
    });
}

VxStatus SessionHost::WriteRegister(std::uint64_t address, const void* data, std::size_t size) {
    const auto session = m_Sessions.Get();
    if (!session) return VX_E_NOT_OPEN;
    return NoThrow([&] {
        std::size_t done = 0;
        // Stream registers hold plain values: writing one twice changes nothing.
        const u3v::ByteView bytes(static_cast<const std::uint8_t*>(data), size);
        return session->Note(session->Memory().Write(address, bytes, Repeat::Safe, done));
    });
}

std::size_t SessionHost::TransferMemoryLimit() {
    const auto session = m_Sessions.Get();
    return session ? session->Bus().TransferMemoryLimit() : 0;
}

std::uint32_t SessionHost::TransferLimit() {
    return AskNotes(m_Sessions, UINT32_MAX,
                    [](CameraNotes& notes, const std::string& name) { return notes.TransferLimit(name); });
}

void SessionHost::LimitTransfers(std::uint32_t size) {
    (void)AskNotes(m_Sessions, size, [&](CameraNotes& notes, const std::string& name) {
        notes.LimitTransfers(name, size);
        return size;
    });
}

std::uint32_t SessionHost::TrustedTransfer() {
    return AskNotes(m_Sessions, 0u,
                    [](CameraNotes& notes, const std::string& name) { return notes.TrustedTransfer(name); });
}

void SessionHost::TrustTransfers(std::uint32_t size) {
    (void)AskNotes(m_Sessions, size, [&](CameraNotes& notes, const std::string& name) {
        notes.TrustTransfers(name, size);
        return size;
    });
}

std::chrono::steady_clock::time_point SessionHost::LastWrite() {
    const auto session = m_Sessions.Get();
    return session ? session->LastWrite() : std::chrono::steady_clock::time_point{};
}

VxStatus SessionHost::ResetCamera() {
    const auto session = m_Sessions.Get();
    if (!session) return VX_E_NOT_OPEN;
    return NoThrow([&] { return session->Note(session->Control().ResetCamera()); });
}

void SessionHost::NoteStreaming(bool isOn) {
    const auto session = m_Sessions.Get();
    if (!session) return;
    isOn ? session->Control().StreamStarts() : session->Control().StreamEnds();
}

void SessionHost::ReportLost() {
    if (const auto session = m_Sessions.Get()) (void)NoThrow([&] { return session->Note(VX_E_USB_NO_DEVICE); });
}

} // namespace vexlo
