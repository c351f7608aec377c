// How the control channel comes to a camera that answers: at the opening, and whenever an answer was lost.
#include "u3v/Constants.h"
#include "vexlo/Logging.h"
#include "vexlo/UsbStatus.h"
#include "vexlo/control/ControlChannel.h"

namespace vexlo {
namespace {

constexpr int kAttemptsPerHalt = 8;
constexpr int kMostLeftOvers = 16; ///< acknowledges of a predecessor

} // namespace

VxStatus ControlChannel::Connect(const Deadline& whole) {
    const MutexLock lock(m_Lock);
    const VxStatus status = ConnectWithin(m_Timing.connectLimit, whole);
    if (!IsSilence(status) || !m_Timing.mayReset) return status;
    Log(Tavix::kLogWarning, "The camera does not answer (0x%08X); it is reset now", status);
    const VxStatus reset = Reset();
    if (reset == VX_E_USB_NO_DEVICE) return reset;
    m_IsBrief = false; // nothing is known of it any more
    const Deadline end = m_Timing.isBrief ? whole.Within(m_Timing.resetLimit) : whole;
    return reset == VX_OK ? ConnectWithin(m_Timing.resetLimit, end) : status;
}

/// Clearing is harmless to every camera; a halt that we set ourselves is not, so it comes second, and seldom.
/// A system that is short of something is not waited for as long as a camera.
VxStatus ControlChannel::ConnectWithin(Duration limit, const Deadline& whole) {
    const Deadline forCamera = whole.Within(limit);
    const Deadline forAnswers = m_IsBrief ? whole.Within(m_Timing.briefLimit) : whole;
    const Deadline forSystem = forCamera.Within(m_Timing.systemLimit);
    for (int attempt = 0;; ++attempt) {
        const bool forceHalt = attempt % kAttemptsPerHalt == 1;
        const VxStatus status = Resynchronise(forceHalt, forAnswers);
        if (status == VX_OK || status == VX_E_USB_NO_DEVICE) return status;
        if ((IsSilence(status) ? forCamera : forSystem).IsOver()) return status;
        CurrentClock().Pause(m_Timing.busyPause);
    }
}

VxStatus ControlChannel::Reset() {
    ++m_Counters.cameraResets;
    const usb::Result result = m_Handle.Reset();
    return result == usb::Result::NotFound ? VX_E_USB_NO_DEVICE : ToStatus(result);
}

VxStatus ControlChannel::ResetCamera() {
    const MutexLock lock(m_Lock);
    const VxStatus status = Reset();
    return status == VX_OK ? ConnectWithin(m_Timing.resetLimit, Deadline(m_Timing.resetLimit + Timeout())) : status;
}

/// Brings the channel to a known state: nothing halted, nothing left over, the camera answers request id 0.
VxStatus ControlChannel::Resynchronise(bool forceHalt, const Deadline& end) {
    if (!ClearHalts(forceHalt)) return VX_E_USB_NO_DEVICE;
    Drain();
    m_NextId = 0;
    return end.IsOver() ? VX_E_TIMEOUT : ReadVersion(end);
}

/// False when the camera is gone. A camera that refuses may be in order all the same: its answers will tell.
bool ControlChannel::ClearHalts(bool forceHalt) {
    for (const u3v::Endpoint& endpoint : {m_Out, m_In}) {
        if (!forceHalt) continue;
        usb::ControlSetup halt;
        halt.requestType = u3v::descriptor::kRequestTypeEndpointOut;
        halt.request = u3v::descriptor::kRequestSetFeature;
        halt.value = u3v::descriptor::kFeatureEndpointHalt;
        halt.index = endpoint.address;
        std::size_t actual = 0;
        if (m_Handle.Control(halt, nullptr, actual, Milliseconds(Timeout())) == usb::Result::NoDevice) return false;
    }
    ++m_Counters.writePipeResets;
    if (m_Handle.ClearHalt(m_Out.address) == usb::Result::NoDevice) return false;
    ++m_Counters.readPipeResets;
    return m_Handle.ClearHalt(m_In.address) != usb::Result::NoDevice;
}

void ControlChannel::Drain() {
    for (int i = 0; i < kMostLeftOvers; ++i) {
        std::size_t received = 0;
        const auto result = m_Handle.Bulk(m_In.address, m_Acknowledge.data(), m_Acknowledge.size(), received,
                                          Milliseconds(m_Timing.drain));
        if (result != usb::Result::Ok) return;
    }
}

VxStatus ControlChannel::ReadVersion(const Deadline& end) {
    std::uint8_t version[4];
    const Duration timeout = Timeout();
    const Limits limits{end, end, timeout, timeout, CurrentClock().Now()};
    return ReadOnce(u3v::abrm::kGenCpVersion, version, sizeof version, limits).status;
}

} // namespace vexlo
