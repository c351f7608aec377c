#pragma once
// The camera that is open at the moment, as its image stream sees it.

#include "vexlo/device/VxDeviceImpl.h"
#include "vexlo/stream/StreamHost.h"

namespace vexlo {

/// Holds a share of the session from OpenHandle on, so that the camera stays reachable until the stream has closed.
/// Thread-safe.
class SessionHost final : public StreamHost {
public:
    /// The source outlives this object.
    explicit SessionHost(SessionSource& sessions) : m_Sessions(sessions) {}

    VxStatus OpenHandle(std::unique_ptr<usb::Handle>& handle) override;
    VxStatus GetStreamChannel(StreamChannel& channel) override;
    VxStatus ReadRegister(std::uint64_t address, void* data, std::size_t size) override;
    VxStatus WriteRegister(std::uint64_t address, const void* data, std::size_t size) override;
    std::size_t TransferMemoryLimit() override;
    std::uint32_t TransferLimit() override;
    void LimitTransfers(std::uint32_t size) override;
    std::uint32_t TrustedTransfer() override;
    void TrustTransfers(std::uint32_t size) override;
    std::chrono::steady_clock::time_point LastWrite() override;
    VxStatus ResetCamera() override;
    void NoteStreaming(bool isOn) override;
    void ReportLost() override;

private:
    SessionSource& m_Sessions;
};

} // namespace vexlo
