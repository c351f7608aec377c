// Every edge of the recovery policy's diagram, and what it decides on.

#include "vexlo/stream/engine/RecoveryPolicy.h"

#include <gtest/gtest.h>

using namespace vexlo;

namespace {

using State = RecoveryPolicy::State;
using Cause = RecoveryPolicy::Cause;
using std::chrono::milliseconds;

constexpr RecoveryPolicy::Clock::time_point kNow{std::chrono::hours(1)};

/// A policy that was led into a state along the shortest road.
RecoveryPolicy In(State state) {
    RecoveryPolicy policy;
    switch (state) {
    case State::Planned:
        break;
    case State::Reaping:
        policy.Leave(Cause::Misfit, VX_E_INCOMPLETE);
        break;
    case State::Scanning:
        policy.Leave(Cause::Misfit, VX_E_INCOMPLETE);
        policy.Reaped(/*knowsPlace=*/false, /*isStopping=*/false);
        break;
    case State::Pausing:
        policy.Leave(Cause::Failure, VX_E_USB_STALL);
        policy.Reaped(/*knowsPlace=*/false, /*isStopping=*/false);
        break;
    case State::Dead:
        policy.Leave(Cause::Lost, VX_E_USB_NO_DEVICE);
        policy.Reaped(/*knowsPlace=*/false, /*isStopping=*/false);
        break;
    }
    EXPECT_EQ(policy.Now(), state);
    return policy;
}

/// One whole restart that fails, with nothing in flight.
void FailToRestart(RecoveryPolicy& policy, VxStatus status) {
    ASSERT_TRUE(policy.BeginRestart());
    EXPECT_FALSE(policy.NotSwitchedOn(status, /*hasInFlight=*/false, kNow));
}

TEST(RecoveryPolicy, BeginsOnItsPlan) {
    EXPECT_EQ(RecoveryPolicy().Now(), State::Planned);
}

TEST(RecoveryPolicy, ReapsForEveryCauseFromEveryStateThatLives) {
    for (const State state : {State::Planned, State::Reaping, State::Scanning, State::Pausing}) {
        for (const Cause cause : {Cause::Misfit, Cause::Failure, Cause::Cancel, Cause::Lost}) {
            RecoveryPolicy policy = In(state);
            policy.Leave(cause, VX_E_BAD_LEADER);
            EXPECT_TRUE(policy.IsReapingFor(cause));
            EXPECT_EQ(policy.Damage(), VX_E_BAD_LEADER);
        }
    }
}

TEST(RecoveryPolicy, ReturnsToThePlanWhenThePlaceIsKnown) {
    RecoveryPolicy policy = In(State::Reaping);
    policy.Reaped(/*knowsPlace=*/true, /*isStopping=*/false);
    EXPECT_EQ(policy.Now(), State::Planned);
}

TEST(RecoveryPolicy, ScansForAPlaceThatIsLostAndReturnsWhenItIsFound) {
    RecoveryPolicy policy = In(State::Reaping);
    policy.Reaped(/*knowsPlace=*/false, /*isStopping=*/false);
    EXPECT_EQ(policy.Now(), State::Scanning);
    policy.FindPlace();
    EXPECT_EQ(policy.Now(), State::Planned);
}

TEST(RecoveryPolicy, CancelAloneSwitchesNothingOff) {
    for (const bool knowsPlace : {true, false}) {
        RecoveryPolicy policy = In(State::Planned);
        policy.Leave(Cause::Cancel, VX_E_CANCELLED);
        policy.Reaped(knowsPlace, /*isStopping=*/false);
        EXPECT_EQ(policy.Now(), knowsPlace ? State::Planned : State::Scanning);
    }
}

TEST(RecoveryPolicy, PausesForARestartAfterAFailure) {
    RecoveryPolicy policy = In(State::Planned);
    policy.Leave(Cause::Failure, VX_E_USB_IO);
    policy.Reaped(/*knowsPlace=*/true, /*isStopping=*/false);
    EXPECT_EQ(policy.Now(), State::Pausing);
    EXPECT_LT(policy.PauseEnd(), kNow) << "the first restart is at once";
}

TEST(RecoveryPolicy, PausesAlsoWhenATransferFailedWhileReaping) {
    for (const Cause cause : {Cause::Misfit, Cause::Cancel}) {
        RecoveryPolicy policy = In(State::Planned);
        policy.Leave(cause, VX_OK);
        policy.NoteFailure(VX_E_USB_STALL);
        policy.Reaped(/*knowsPlace=*/true, /*isStopping=*/false);
        EXPECT_EQ(policy.Now(), State::Pausing);
    }
}

TEST(RecoveryPolicy, ForgetsFailuresOfAnEarlierReaping) {
    RecoveryPolicy policy = In(State::Reaping);
    policy.NoteFailure(VX_E_USB_STALL);
    policy.Reaped(/*knowsPlace=*/true, /*isStopping=*/false);
    ASSERT_TRUE(policy.BeginRestart());
    policy.Queue();
    policy.SwitchedOn();
    policy.Leave(Cause::Misfit, VX_E_BAD_LEADER);
    policy.Reaped(/*knowsPlace=*/true, /*isStopping=*/false);
    EXPECT_EQ(policy.Now(), State::Planned);
}

TEST(RecoveryPolicy, KeepsAFailureWhenACancelComesOnTop) {
    RecoveryPolicy policy = In(State::Planned);
    policy.Leave(Cause::Failure, VX_E_USB_STALL);
    policy.NoteFailure(VX_E_USB_STALL);
    policy.Leave(Cause::Cancel, VX_E_CANCELLED);
    policy.Reaped(/*knowsPlace=*/true, /*isStopping=*/false);
    EXPECT_EQ(policy.Now(), State::Pausing);
}

TEST(RecoveryPolicy, PausesAgainAfterACancelWhilePausing) {
    RecoveryPolicy policy = In(State::Pausing);
    policy.Leave(Cause::Cancel, VX_E_CANCELLED);
    policy.Reaped(/*knowsPlace=*/true, /*isStopping=*/false);
    EXPECT_EQ(policy.Now(), State::Pausing) << "the stream is off still";
}

TEST(RecoveryPolicy, EndsWithACameraThatIsGone) {
    for (const bool isStopping : {false, true}) {
        RecoveryPolicy policy = In(State::Planned);
        policy.Leave(Cause::Lost, VX_E_USB_NO_DEVICE);
        policy.Reaped(/*knowsPlace=*/true, isStopping);
        EXPECT_EQ(policy.Now(), State::Dead);
        EXPECT_EQ(policy.End(), VX_E_USB_NO_DEVICE);
    }
}

TEST(RecoveryPolicy, BelievesATransferThatFoundTheCameraGoneBeforeOthers) {
    RecoveryPolicy policy = In(State::Reaping);
    policy.NoteFailure(VX_E_USB_NO_DEVICE);
    policy.NoteFailure(VX_E_USB_IO);
    EXPECT_FALSE(policy.IsResynchronization());
    policy.Reaped(/*knowsPlace=*/true, /*isStopping=*/false);
    EXPECT_EQ(policy.Now(), State::Dead);
}

TEST(RecoveryPolicy, NeitherScansNorRestartsWhileStopping) {
    for (const Cause cause : {Cause::Misfit, Cause::Failure, Cause::Cancel}) {
        RecoveryPolicy policy = In(State::Planned);
        policy.Leave(cause, VX_E_USB_IO);
        policy.Reaped(/*knowsPlace=*/false, /*isStopping=*/true);
        EXPECT_EQ(policy.Now(), State::Planned);
    }
}

TEST(RecoveryPolicy, IsOnItsPlanWhenSwitchedOnAgain) {
    RecoveryPolicy policy = In(State::Pausing);
    ASSERT_TRUE(policy.BeginRestart());
    policy.Queue();
    EXPECT_EQ(policy.Now(), State::Planned);
    policy.SwitchedOn();
    policy.Leave(Cause::Cancel, VX_E_CANCELLED);
    policy.Reaped(/*knowsPlace=*/true, /*isStopping=*/false);
    EXPECT_EQ(policy.Now(), State::Planned) << "it is not off any more";
}

TEST(RecoveryPolicy, PausesLongerEachTimeItCannotSwitchOn) {
    RecoveryPolicy policy = In(State::Pausing);
    milliseconds pause{0};
    for (int i = 0; i < 8; ++i) {
        FailToRestart(policy, VX_E_TIMEOUT);
        EXPECT_EQ(policy.Now(), State::Pausing);
        const auto next = std::chrono::duration_cast<milliseconds>(policy.PauseEnd() - kNow);
        EXPECT_TRUE(next > pause || next == milliseconds(250)) << i;
        pause = next;
    }
    EXPECT_EQ(pause, milliseconds(250));
}

TEST(RecoveryPolicy, EndsAfterEightRestartsInARowForTheReasonOfTheFirst) {
    RecoveryPolicy policy = In(State::Pausing);
    for (int i = 0; i < 8; ++i)
        FailToRestart(policy, VX_E_TIMEOUT);
    EXPECT_FALSE(policy.BeginRestart());
    EXPECT_EQ(policy.Now(), State::Dead);
    EXPECT_EQ(policy.End(), VX_E_USB_STALL);
}

TEST(RecoveryPolicy, CountsRestartsAnewAfterAWholeBlock) {
    RecoveryPolicy policy = In(State::Pausing);
    for (int i = 0; i < 8; ++i)
        FailToRestart(policy, VX_E_TIMEOUT);
    policy.NoteWhole();
    EXPECT_TRUE(policy.BeginRestart());
}

TEST(RecoveryPolicy, DoesNotBlameTheCameraForWantOfMemory) {
    RecoveryPolicy policy = In(State::Pausing);
    for (int i = 0; i < 8; ++i)
        FailToRestart(policy, VX_E_TIMEOUT);
    policy.Leave(Cause::Failure, VX_E_USB_NO_MEMORY);
    policy.Reaped(/*knowsPlace=*/true, /*isStopping=*/false);
    EXPECT_TRUE(policy.BeginRestart());
}

TEST(RecoveryPolicy, SetsAHaltFromTheThirdRestartOn) {
    RecoveryPolicy policy = In(State::Pausing);
    FailToRestart(policy, VX_E_TIMEOUT);
    EXPECT_FALSE(policy.NeedsHalt());
    FailToRestart(policy, VX_E_TIMEOUT);
    EXPECT_FALSE(policy.NeedsHalt());
    FailToRestart(policy, VX_E_TIMEOUT);
    EXPECT_TRUE(policy.NeedsHalt());
}

TEST(RecoveryPolicy, EndsWhenTheCameraIsGoneBeforeItIsSwitchedOn) {
    RecoveryPolicy policy = In(State::Pausing);
    ASSERT_TRUE(policy.BeginRestart());
    EXPECT_FALSE(policy.NotSwitchedOn(VX_E_USB_NO_DEVICE, /*hasInFlight=*/false, kNow));
    EXPECT_EQ(policy.Now(), State::Dead);
    EXPECT_EQ(policy.End(), VX_E_USB_NO_DEVICE);
}

TEST(RecoveryPolicy, WantsTransfersReapedThatWereQueuedForACameraThatDoesNotSwitchOn) {
    for (const auto& [status, cause] :
         {std::pair(VX_E_TIMEOUT, Cause::Failure), std::pair(VX_E_USB_NO_DEVICE, Cause::Lost)}) {
        RecoveryPolicy policy = In(State::Pausing);
        ASSERT_TRUE(policy.BeginRestart());
        policy.Queue();
        EXPECT_EQ(policy.NotSwitchedOn(status, /*hasInFlight=*/true, kNow), cause);
        EXPECT_EQ(policy.Now(), State::Planned) << "until the plan is left";
        policy.Leave(cause, VX_OK);
        policy.Reaped(/*knowsPlace=*/true, /*isStopping=*/false);
        EXPECT_EQ(policy.Now(), cause == Cause::Lost ? State::Dead : State::Pausing);
        EXPECT_GT(policy.PauseEnd(), kNow);
    }
}

TEST(RecoveryPolicy, PausesWhenQueuingFailedBeforeTheCameraWasSwitchedOn) {
    RecoveryPolicy policy = In(State::Pausing);
    ASSERT_TRUE(policy.BeginRestart());
    policy.Queue();
    policy.Leave(Cause::Failure, VX_E_USB_STALL);
    EXPECT_FALSE(policy.NotSwitchedOn(VX_E_USB_IO, /*hasInFlight=*/false, kNow));
    EXPECT_TRUE(policy.IsReapingFor(Cause::Failure)) << "the plan is left already";
    policy.Reaped(/*knowsPlace=*/false, /*isStopping=*/false);
    EXPECT_EQ(policy.Now(), State::Pausing);
}

TEST(RecoveryPolicy, CountsAResynchronizationOncePerLossOfThePlace) {
    EXPECT_TRUE(In(State::Reaping).IsResynchronization());
    RecoveryPolicy lost = In(State::Planned);
    lost.Leave(Cause::Lost, VX_E_USB_NO_DEVICE);
    EXPECT_FALSE(lost.IsResynchronization());
    RecoveryPolicy off = In(State::Pausing);
    ASSERT_TRUE(off.BeginRestart());
    off.Queue();
    ASSERT_TRUE(off.NotSwitchedOn(VX_E_TIMEOUT, /*hasInFlight=*/true, kNow));
    off.Leave(Cause::Failure, VX_OK);
    EXPECT_FALSE(off.IsResynchronization()) << "it was counted when the stream was left for the restart";
}

} // namespace
