#pragma once
// An opened camera.

#include "vexlo/device/Bootstrap.h"
#include "vexlo/device/TransferPump.h"
#include "vexlo/discovery/Discovery.h"
#include "vexlo/discovery/RemovalNotifier.h"

#include <memory>
#include <set>

namespace vexlo {

/// An interface of the camera that is claimed until the end of the scope. Bound to a thread.
class InterfaceClaim {
public:
    InterfaceClaim() = default;
    InterfaceClaim(InterfaceClaim&& other) noexcept : m_Handle(other.m_Handle), m_Number(other.m_Number) {
        other.m_Handle = nullptr;
    }
    InterfaceClaim& operator=(InterfaceClaim&& other) noexcept {
        std::swap(m_Handle, other.m_Handle);
        std::swap(m_Number, other.m_Number);
        return *this;
    }
    ~InterfaceClaim() { Release(); }

    [[nodiscard]] VxStatus Claim(usb::Handle& handle, std::uint8_t number);
    void Release();

private:
    usb::Handle* m_Handle = nullptr; ///< null when nothing is claimed
    std::uint8_t m_Number = 0;
};

/// Everything that lives from opening to closing a camera. Streams and running register accesses hold shares, so the
/// last of them closes it. Thread-safe.
class DeviceSession final : public RemovalListener, public std::enable_shared_from_this<DeviceSession> {
public:
    struct Options {
        CVxDevice* device = nullptr; ///< for notifications
        ControlTiming timing;
        Deadline whole{ControlTiming().leastOpenLimit}; ///< for opening
        ControlChannel::Counters* counters = nullptr;   ///< must outlive the session
        bool isForReading = false;                      ///< what another program has left switched on stays so
    };

    /// Opens, claims and reads what every camera tells. Leaves nothing claimed on failure.
    [[nodiscard]] static VxStatus Open(const FoundCamera& camera, std::shared_ptr<RemovalNotifier> notifier,
                                       const Options& options, std::shared_ptr<DeviceSession>& session);
    /// Whether it could be opened now, as far as the bus knows; no register is touched.
    [[nodiscard]] static VxStatus CheckAccess(const FoundCamera& camera);
    DeviceSession(const FoundCamera& camera, std::unique_ptr<usb::Handle> handle,
                  std::shared_ptr<RemovalNotifier> notifier, const Options& options);
    ~DeviceSession() override;

    usb::Handle& Handle() { return *m_Handle; }
    usb::Backend& Bus() { return *m_Camera.backend; }
    /// Another handle of the camera, for a channel whose completions are to run on a thread of their own.
    [[nodiscard]] VxStatus OpenHandle(std::unique_ptr<usb::Handle>& handle);
    const FoundCamera& Camera() const { return m_Camera; }
    const u3v::CameraFunction& Function() const { return m_Camera.function; }
    const Bootstrap& Registers() const { return m_Bootstrap; }
    /// Descriptors and registers may disagree; a stream needs both.
    bool HasStream() const {
        return !Function().streams.empty() && m_Bootstrap.streamCount > 0 && m_Bootstrap.streamAddress != 0;
    }
    ControlChannel& Control() { return m_Control; }
    RegisterAccess& Memory() { return m_Memory; }
    TransferPump& Pump() { return m_Pump; }

    /// The application has written to the camera, be it in vain.
    void NoteWrite() { m_LastWrite = std::chrono::steady_clock::now(); }
    std::chrono::steady_clock::time_point LastWrite() const { return m_LastWrite; }

    /// The camera is being closed: nobody but the caller and running accesses has a share of this any more, so the
    /// handle is closed with the last of them.
    void Leave();

    /// Passes a status on; when it says that the camera is gone, the notifier hears of it.
    VxStatus Note(VxStatus status);
    /// From the notifier: whoever waits for transfers is told that none will come.
    void CameraGone() override { m_Pump.CameraGone(); }
    bool IsCameraThere() override { return m_Handle->IsAttached(); }

private:
    // constant after Open; the order matters: users of the handle end before it
    const FoundCamera m_Camera;
    const std::shared_ptr<RemovalNotifier> m_Notifier;
    const std::unique_ptr<usb::Handle> m_Handle;
    InterfaceClaim m_Claim;
    ControlChannel m_Control;
    RegisterAccess m_Memory{m_Control};
    TransferPump m_Pump{*m_Handle};
    Bootstrap m_Bootstrap;
    RemovalNotifier::Token m_Token = 0;

    std::atomic<std::chrono::steady_clock::time_point> m_LastWrite{std::chrono::steady_clock::time_point{}};
};

} // namespace vexlo
