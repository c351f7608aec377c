#include "vexlo/stream/engine/RecoveryPolicy.h"

#include <algorithm>

namespace vexlo {
namespace {

constexpr unsigned int kMostRestartsInARow = 8;
constexpr unsigned int kRestartsUntilHalt = 3; ///< setting a halt is no first remedy
constexpr std::chrono::milliseconds kShortestPause{10};
constexpr std::chrono::milliseconds kLongestPause{250};

} // namespace

void RecoveryPolicy::Leave(Cause cause, VxStatus damage) {
    if (m_State != State::Reaping) m_Failure = VX_OK;
    m_State = State::Reaping;
    m_Cause = cause;
    m_Damage = damage;
}

void RecoveryPolicy::NoteFailure(VxStatus status) {
    if (m_Failure != VX_E_USB_NO_DEVICE) m_Failure = status;
}

bool RecoveryPolicy::IsResynchronization() const {
    const bool isSameAgain = m_IsOff && m_Damage == VX_OK;
    return m_Failure != VX_E_USB_NO_DEVICE && m_Cause != Cause::Lost && !isSameAgain;
}

void RecoveryPolicy::Reaped(bool knowsPlace, bool isStopping) {
    if (m_Cause == Cause::Lost || m_Failure == VX_E_USB_NO_DEVICE) return Die(VX_E_USB_NO_DEVICE);
    if (isStopping) {
        m_State = State::Planned; // nothing is submitted any more
    } else if (m_Cause == Cause::Failure || m_Failure != VX_OK || m_IsOff) {
        PauseForRestart();
    } else {
        m_State = knowsPlace ? State::Planned : State::Scanning;
    }
}

void RecoveryPolicy::PauseForRestart() {
    if (m_Failure != VX_OK) {
        m_RestartReason = m_Failure;
    } else if (m_Cause == Cause::Failure && m_Damage != VX_OK) {
        m_RestartReason = m_Damage;
        if (m_Damage == VX_E_USB_NO_MEMORY) m_RestartsInARow = 0; // the camera is not to blame
    }
    m_IsOff = true;
    m_State = State::Pausing;
}

bool RecoveryPolicy::BeginRestart() {
    if (++m_RestartsInARow <= kMostRestartsInARow) return true;
    Die(m_RestartReason);
    return false;
}

bool RecoveryPolicy::NeedsHalt() const {
    return m_RestartsInARow >= kRestartsUntilHalt;
}

/// When a camera was unplugged, transfers may fail as of a bad link before that is known: so a failure here is not the
/// end at once.
std::optional<RecoveryPolicy::Cause> RecoveryPolicy::NotSwitchedOn(VxStatus status, bool hasInFlight,
                                                                   Clock::time_point now) {
    m_IsOff = true;
    if (m_State == State::Reaping) return std::nullopt; // queuing failed: the plan is left already
    const bool isGone = status == VX_E_USB_NO_DEVICE;
    if (isGone && !hasInFlight) {
        Die(status);
        return std::nullopt;
    }
    m_PauseEnd = now + std::min(kShortestPause * (1 << m_RestartsInARow), kLongestPause);
    if (hasInFlight) return isGone ? Cause::Lost : Cause::Failure;
    m_State = State::Pausing;
    return std::nullopt;
}

void RecoveryPolicy::Die(VxStatus status) {
    m_State = State::Dead;
    m_End = status;
}

} // namespace vexlo
