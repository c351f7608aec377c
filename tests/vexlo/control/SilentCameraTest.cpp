// Opening the control channel of a camera that does not answer, or not at once.
#include "vexlo/support/ControlChannelFixture.h"

#include <atomic>
#include <climits>

namespace {

using namespace vexlotest;

/// Answers nothing until it was asked or reset that often.
class Silent : public Channel {
protected:
    void AnswerAfter(unsigned int commands, unsigned int resets) {
        camera.OnCommand([this, commands, resets, count = 0u](const Command&) mutable -> Answers {
            if (++count > commands && wasReset >= resets) return std::nullopt;
            return std::vector<Bytes>{};
        });
        camera.OnReset([this] {
            ++wasReset;
            return usb::Result::Ok;
        });
    }
    ControlTiming Patient() {
        ControlTiming timing = Impatient();
        timing.connectLimit = timing.resetLimit = ControlTiming::Duration(20000);
        return timing;
    }

    std::atomic<unsigned int> wasReset{0};
    ControlChannel patient{*handle, {kControlOut, 1024}, {kControlIn, 1024}, counters, Patient()};
};

TEST_F(Silent, IsAskedUntilItsFirmwareHasBooted) {
    AnswerAfter(50, 0);
    EXPECT_EQ(patient.Connect(InTime()), VX_OK);
    EXPECT_EQ(camera.Commands().size(), 51u);
    for (const Command& command : camera.Commands())
        EXPECT_EQ(command.RequestId(), 0u);
    EXPECT_EQ(camera.Resets(), 0u);
}

TEST_F(Silent, GetsItsHaltsClearedThenSetThenItsPortReset) {
    AnswerAfter(0, 1);
    EXPECT_EQ(channel.Connect(InTime()), VX_OK);
    EXPECT_EQ(camera.Resets(), 1u);
    EXPECT_EQ(counters.cameraResets, 1u);
    EXPECT_GE(camera.HaltsCleared(kControlIn), 2u);
}

TEST_F(Silent, HasItsHaltsSetOnTheSecondAttempt) {
    AnswerAfter(1, 0);
    EXPECT_EQ(patient.Connect(InTime()), VX_OK);
    EXPECT_EQ(camera.HaltsSet(), 2u);
    EXPECT_EQ(camera.HaltsCleared(kControlOut), 2u);
}

TEST_F(Silent, IsResetOnceOnly) {
    AnswerAfter(UINT_MAX, 0);
    EXPECT_EQ(channel.Connect(InTime()), VX_E_TIMEOUT);
    EXPECT_EQ(camera.Resets(), 1u);
}

TEST_F(Silent, IsNotResetWhereThatIsNotAllowed) {
    ControlTiming timing = Impatient();
    timing.mayReset = false;
    ControlChannel careful(*handle, {kControlOut, 1024}, {kControlIn, 1024}, counters, timing);
    AnswerAfter(UINT_MAX, 0);
    EXPECT_EQ(careful.Connect(InTime()), VX_E_TIMEOUT);
    EXPECT_EQ(camera.Resets(), 0u);
}

TEST_F(Silent, IsNotResetForWhatTheSystemLacks) {
    camera.FailNextOut(usb::Result::NoMemory);
    EXPECT_EQ(channel.Connect(InTime()), VX_E_USB_NO_MEMORY);
    EXPECT_EQ(camera.Resets(), 0u);
    EXPECT_EQ(channel.Connect(InTime()), VX_OK);
}

TEST_F(Silent, IsTriedAgainWhenTheSystemWasShortForAMoment) {
    camera.FailNextOut(usb::Result::NoMemory);
    EXPECT_EQ(patient.Connect(InTime()), VX_OK);
    EXPECT_EQ(camera.Resets(), 0u);
}

TEST_F(Silent, IsGoneWhenItComesBackAsAnotherDevice) {
    for (const usb::Result result : {usb::Result::NotFound, usb::Result::NoDevice}) {
        AnswerAfter(UINT_MAX, 0);
        camera.OnReset([result] { return result; });
        EXPECT_EQ(channel.Connect(InTime()), VX_E_USB_NO_DEVICE);
    }
}

TEST_F(Silent, IsConnectedAnewByAResetThatIsAskedFor) {
    AnswerAfter(3, 1);
    EXPECT_EQ(patient.ResetCamera(), VX_OK);
    EXPECT_EQ(camera.Commands().size(), 4u) << "until it answers";
    EXPECT_EQ(camera.Resets(), 1u);
}

TEST_F(Silent, IsNotTakenForConnectedWhenAResetChangesNothing) {
    AnswerAfter(UINT_MAX, 0);
    EXPECT_EQ(channel.ResetCamera(), VX_E_TIMEOUT);
}

TEST_F(Silent, IsNotAskedWhenTheResetIsRefused) {
    camera.OnReset([] { return usb::Result::NotFound; });
    EXPECT_EQ(channel.ResetCamera(), VX_E_USB_NO_DEVICE);
    EXPECT_TRUE(camera.Commands().empty());
}

} // namespace
