// Opening a camera that may be away, booting, silent, or only just be coming.
#include "vexlo/device/OpenCamera.h"

#include "vexlo/Logging.h"
#include "vexlo/UsbStatus.h"

#include <algorithm>

namespace vexlo {
namespace {

constexpr Clock::Duration kLookPause{50};
constexpr Clock::Duration kArrivalLimit{2000};

/// Not there, or not ours to open.
bool IsAway(VxStatus status) {
    return status == VX_E_NOT_FOUND || status == VX_E_USB_NO_DEVICE || status == VX_E_USB_ACCESS;
}

/// One opening with all its attempts. Bound to a thread.
class Opening {
public:
    Opening(Library& library, const DeviceDiscoveryInfo& info, const OpeningRequest& request)
        : m_Library(library), m_Info(info), m_Request(request), m_Start(CurrentClock().Now()) {
        m_Options.device = request.device;
        m_Options.counters = request.counters;
        m_Options.isForReading = request.isForReading || request.isProbe;
        m_Options.timing = library.Silence().LimitsFor(info.DevicePath, request.timing, request.isProbe);
        m_Options.whole = Deadline(WholeLimit());
    }

    VxStatus Run(std::shared_ptr<DeviceSession>& session) {
        VxStatus status = OpenArriving(session);
        if (WasReset() && status == VX_E_USB_NO_DEVICE) status = OpenReturning(session);
        if (status == VX_OK) m_Library.Silence().NoteAnswer(Attempt());
        if (IsSilence(status)) m_Library.Silence().NoteSilence(Attempt());
        return status;
    }

private:
    Clock::Duration WholeLimit() const {
        const ControlTiming& timing = m_Options.timing;
        const auto reset = timing.mayReset ? timing.resetLimit : Clock::Duration(0);
        return std::max(timing.connectLimit + reset, timing.leastOpenLimit);
    }
    bool WasReset() const { return m_Request.counters->cameraResets != 0; }

    SilenceNotes::Attempt Attempt() const {
        SilenceNotes::Attempt attempt;
        attempt.bus = m_Camera.backend.get();
        attempt.id = m_Camera.id;
        attempt.path = m_Info.DevicePath;
        attempt.waited = std::chrono::ceil<Clock::Duration>(CurrentClock().Now() - m_Start);
        attempt.wasProbe = m_Request.isProbe;
        attempt.wasReset = WasReset();
        return attempt;
    }

    VxStatus OpenOnce(std::shared_ptr<DeviceSession>& session) {
        VxStatus status = FindCamera(m_Library.Backends(), m_Info, m_Camera);
        if (status != VX_OK) return status;
        status = DeviceSession::Open(m_Camera, m_Library.Notifier(), m_Options, session);
        Log(Tavix::kLogDetail, "Open camera '%s': 0x%08X", m_Camera.path.c_str(), status);
        return status;
    }

    /// A camera that has just been plugged in may not be the user's yet, as the system is still making its node and
    /// setting the rights. Meanwhile libusb may even take it off its list.
    VxStatus OpenArriving(std::shared_ptr<DeviceSession>& session) {
        const Deadline end = m_Options.whole.Within(kArrivalLimit);
        for (;;) {
            const VxStatus status = OpenOnce(session);
            const bool isKnown = m_Camera.backend != nullptr && !WasReset();
            const bool mayChange = isKnown && IsAway(status) && m_Camera.backend->IsArriving(m_Camera.id);
            if (!mayChange || end.IsOver()) return status;
            CurrentClock().Pause(kLookPause);
        }
    }

    /// After a reset that made the camera leave the bus: it comes back within some seconds, perhaps under another
    /// address.
    VxStatus OpenReturning(std::shared_ptr<DeviceSession>& session) {
        m_Options.timing.mayReset = false;
        m_Options.timing.connectLimit = m_Options.timing.resetLimit;
        for (;;) {
            const VxStatus status = OpenOnce(session);
            if (!IsAway(status) || m_Options.whole.IsOver())
                return status == VX_E_NOT_FOUND ? VX_E_USB_NO_DEVICE : status;
            CurrentClock().Pause(kLookPause);
        }
    }

    Library& m_Library;
    const DeviceDiscoveryInfo& m_Info;
    const OpeningRequest& m_Request;
    const Clock::TimePoint m_Start;
    DeviceSession::Options m_Options;
    FoundCamera m_Camera; ///< that was found last
};

} // namespace

VxStatus OpenCamera(Library& library, const DeviceDiscoveryInfo& info, const OpeningRequest& request,
                    std::shared_ptr<DeviceSession>& session) {
    return Opening(library, info, request).Run(session);
}

} // namespace vexlo
