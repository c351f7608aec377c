#pragma once
// When a stream leaves its plan, and how it comes back.

#include "vexlo/Status.h"

#include <chrono>
#include <optional>

namespace vexlo {

///                  misfit, failure, cancel, lost
///   planned ------------------------------------> reaping <--.
///    ^  ^  ^                                      | | | |    |
///    |  |  '------ place known, or stopping ------' | | |    |
///    |  |                                           | | |    |
///    |  '-- found --- scanning <---- place lost ----' | |    |
///    |                 '--- failure, in vain, cancel -|-|----+
///    |                                                | |    |
///    '-- on again --- pausing <---- failed, or off ---' |    |
///                      | | ^ '----------- cancel -------|----'
///                      | '-' not on: later              |
///                      '-- too often, or gone --> dead <' lost
///
/// planned   Transfers are queued in the order of the plan, over the borders of blocks, straight into buffers.
/// reaping   Everything queued is cancelled and awaited; then what arrived is read as packets, so that whole blocks
///           among it are delivered and the place in the stream is known as well as it can be.
/// scanning  One transfer after the other is read as packets, until a block's end.
/// pausing   The stream is to be switched off and on: at once, or after a failure when the link has had time to recover
///           or its end to be known. A cancel leads back to reaping from here too.
/// dead      The camera is gone or does not come to its senses.
///
/// A cancel while reaping takes the place of the cause before it. A stream that was switched on but could not queue, or
/// that queued but could not be switched on, goes from planned over reaping to pausing. Bound to a thread.
class RecoveryPolicy {
public:
    using Clock = std::chrono::steady_clock;
    enum class State { Planned, Reaping, Scanning, Pausing, Dead };
    /// Failure: of a transfer, or what else needs the stream switched off and on.
    enum class Cause { Misfit, Failure, Cancel, Lost };

    State Now() const { return m_State; }
    bool Is(State state) const { return m_State == state; }
    bool IsReapingFor(Cause cause) const { return m_State == State::Reaping && m_Cause == cause; }

    /// To reaping. `damage`: why the oldest block failed; VX_OK: it did not.
    void Leave(Cause cause, VxStatus damage);
    VxStatus Damage() const { return m_Damage; }
    /// A transfer failed, since the plan was left or as its cause.
    void NoteFailure(VxStatus status);
    /// All is reaped. `knowsPlace`: the next packet is a leader.
    void Reaped(bool knowsPlace, bool isStopping);
    /// What is reaped is counted as a resynchronization: a camera that left lost no place, and a stream that could not
    /// be switched on has not found it again yet.
    bool IsResynchronization() const;
    /// From scanning to planned.
    void FindPlace() { m_State = State::Planned; }

    /// Nothing can be queued any more for want of a camera; transfers may still be in flight.
    void NoteGone() { m_IsGone = true; }
    bool IsGone() const { return m_IsGone; }

    /// When pausing ends.
    Clock::time_point PauseEnd() const { return m_PauseEnd; }
    /// The stream is switched off and on once more; false, and dead, when that was done too often in a row.
    bool BeginRestart();
    /// Milder remedies have not helped.
    bool NeedsHalt() const;
    /// From pausing to planned: transfers are queued before the camera is switched on.
    void Queue() { m_State = State::Planned; }
    void SwitchedOn() { m_IsOff = false; }
    /// To pausing, or dead. With transfers in flight the plan is to be left first, for the cause that is returned.
    std::optional<Cause> NotSwitchedOn(VxStatus status, bool hasInFlight, Clock::time_point now);
    /// A block came whole: restarts are counted anew.
    void NoteWhole() { m_RestartsInARow = 0; }

    /// Why the stream is dead.
    VxStatus End() const { return m_End; }

private:
    void Die(VxStatus status);
    void PauseForRestart();

    State m_State = State::Planned;
    Cause m_Cause = Cause::Misfit;
    VxStatus m_Damage = VX_OK;
    VxStatus m_Failure = VX_OK; // of a transfer, since the plan was left
    bool m_IsGone = false;
    bool m_IsOff = false; // the camera's stream has to be switched on again
    unsigned int m_RestartsInARow = 0;
    VxStatus m_RestartReason = VX_E_USB_IO;
    Clock::time_point m_PauseEnd; // long ago unless the last restart failed
    VxStatus m_End = VX_OK;
};

} // namespace vexlo
