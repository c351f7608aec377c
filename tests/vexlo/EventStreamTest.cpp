#include "vexlo/support/Fixture.h"

#include "support/Shortage.h"

#include "core/WaitObject.h"

namespace {

using namespace vexlotest;
using namespace scripted;

const Bytes kTestEvent = Hex("55335645 0000 000C 0C00 0000 0000 FF4F E803000000000000");

Bytes Event(std::uint8_t id, const Bytes& data) {
    const auto length = static_cast<std::uint8_t>(12 + data.size());
    return Hex("55335645 0000 000C") + Bytes{length, 0} + Hex("0100 0000") + Bytes{id, 0x90} + Hex("0100000000000000") +
           data;
}

class EventStream : public OnScriptedCamera {
protected:
    EventStream() {
        EXPECT_EQ(device->GetEventStream(&events), VX_OK);
        EXPECT_EQ(events->RegisterWaitObject(wait), VX_OK);
    }
    void OpenEvents() {
        ASSERT_EQ(Open(), VX_OK);
        ASSERT_EQ(events->Open(), VX_OK);
    }
    VxStatus Take(Bytes& taken) {
        taken.resize(576);
        unsigned long size = taken.size();
        const VxStatus status = events->RetrieveEvent(taken.data(), &size, &left);
        taken.resize(status == VX_OK ? size : 0);
        return status;
    }
    std::uint64_t Total() { return Property<std::uint64_t>(*events, CVxEventStream::Property_TotalEventCount); }
    std::uint64_t Failed() { return Property<std::uint64_t>(*events, CVxEventStream::Property_FailedEventCount); }
    VxStatus LastFailure() { return Property<VxStatus>(*events, CVxEventStream::Property_LastFailedEventBufferStatus); }

    CVxEventStream* events = nullptr;
    Tavix::WaitObjectEx wait = Tavix::WaitObjectEx::Create();
    Bytes message;
    unsigned long left = 0;
};

TEST_F(EventStream, EnablesEventsWithTransfersQueuedAndDisablesThem) {
    OpenEvents();
    EXPECT_TRUE(events->IsOpen());
    EXPECT_EQ(camera.Get32(kEirm), 1u);
    EXPECT_EQ(camera.Queued(kEventIn), 8u);
    EXPECT_EQ(camera.HaltsCleared(kEventIn), 1u);
    EXPECT_EQ(events->Open(), VX_E_ALREADY_OPEN);
    EXPECT_EQ(events->Close(), VX_OK);
    EXPECT_EQ(camera.Get32(kEirm), 0u);
    EXPECT_EQ(camera.Queued(kEventIn), 0u);
    EXPECT_EQ(events->Close(), VX_E_NOT_OPEN);
}

TEST_F(EventStream, LeavesNothingClaimedOrQueuedWhenThereIsNoThread) {
    ASSERT_EQ(Open(), VX_OK);
    const auto before = camera.Claimed();
    {
        const shortage::ThreadShortage none;
        EXPECT_EQ(events->Open(), VX_E_NO_THREAD);
    }
    EXPECT_FALSE(events->IsOpen());
    EXPECT_EQ(camera.Queued(kEventIn), 0u);
    EXPECT_EQ(camera.Claimed(), before);
    EXPECT_EQ(events->Open(), VX_OK) << "there are threads again";
    camera.Send(kEventIn, {kTestEvent});
    EXPECT_TRUE(camera.WaitFor([&] { return Total() == 1; }));
}

TEST_F(EventStream, NeedsAnOpenDevice) {
    EXPECT_EQ(events->Open(), VX_E_NOT_OPEN);
}

TEST_F(EventStream, IsNotSupportedByACameraWithoutEventRegisters) {
    camera.Set64(kSbrm + 4, 1);
    ASSERT_EQ(Open(), VX_OK);
    EXPECT_EQ(events->Open(), VX_E_NOT_SUPPORTED);
}

TEST_F(EventStream, HandsMessagesOutInTheirOrder) {
    OpenEvents();
    camera.Send(kEventIn, {Event(1, Hex("AA")), Event(2, Hex("BBCC"))});
    ASSERT_TRUE(camera.WaitFor([&] { return Total() == 2; }));
    EXPECT_EQ(Take(message), VX_OK);
    EXPECT_EQ(message, Event(1, Hex("AA")));
    EXPECT_EQ(left, 1u);
    EXPECT_EQ(Take(message), VX_OK);
    EXPECT_EQ(message, Event(2, Hex("BBCC")));
    EXPECT_EQ(Take(message), VX_E_NO_DATA);
}

TEST_F(EventStream, StaysSignalledWhileMessagesArePending) {
    OpenEvents();
    EXPECT_FALSE(wait.Wait(0));
    camera.Send(kEventIn, {Event(1, {}), Event(2, {})});
    ASSERT_TRUE(camera.WaitFor([&] { return Total() == 2; }));
    EXPECT_TRUE(wait.Wait(0));
    EXPECT_EQ(Take(message), VX_OK);
    EXPECT_TRUE(wait.Wait(0)) << "one message is left";
    EXPECT_EQ(Take(message), VX_OK);
    EXPECT_FALSE(wait.Wait(0)) << "none is left";
}

TEST_F(EventStream, LetsTheDeviceTellThatItCouldNotBeSwitchedOff) {
    OpenEvents();
    camera.OnCommand([](const Command& command) -> std::optional<std::vector<Bytes>> {
        if (command.Address() != kEirm) return std::nullopt;
        return std::vector<Bytes>{Ack(0x8005, 0x0803, command.RequestId(), {})};
    });
    EXPECT_EQ(device->Close(), VX_E_DEVICE_STATUS_BASE | 0x8005);
    EXPECT_FALSE(events->IsOpen());
    EXPECT_FALSE(device->IsOpen());
}

TEST_F(EventStream, IsNotSignalledForWhatWasPendingWhenItClosed) {
    OpenEvents();
    camera.Send(kEventIn, {Event(1, {})});
    ASSERT_TRUE(camera.WaitFor([&] { return Total() == 1; }));
    EXPECT_EQ(events->Close(), VX_OK);
    EXPECT_FALSE(wait.Wait(0));
    EXPECT_EQ(Take(message), VX_E_NO_DATA);
}

TEST_F(EventStream, TakesAMessageWithSeveralEventsApart) {
    OpenEvents();
    camera.Send(kEventIn, {Hex("55335645 0000 000C 1E00 0700 0E00 0190 0100000000000000 AABB"
                               "1000 0290 0200000000000000 CCDDEEFF")});
    ASSERT_TRUE(camera.WaitFor([&] { return Total() == 2; }));
    EXPECT_EQ(Take(message), VX_OK);
    EXPECT_EQ(message, Hex("55335645 0000 000C 0E00 0700 0000 0190 0100000000000000 AABB"));
    EXPECT_EQ(Take(message), VX_OK);
    EXPECT_EQ(message, Hex("55335645 0000 000C 1000 0700 0000 0290 0200000000000000 CCDDEEFF"));
}

TEST_F(EventStream, CountsMalformedAndOversizedMessages) {
    OpenEvents();
    camera.Send(kEventIn, {Hex("55335643 0000 000C 0C00 0000 0000 FF4F E803000000000000"), Hex("5533")});
    ASSERT_TRUE(camera.WaitFor([&] { return Failed() == 2; }));
    EXPECT_EQ(LastFailure(), VX_E_PROTOCOL);
    Bytes huge = Hex("55335645 0000 000C 5802 0000 0000 0190 0100000000000000") + Bytes(588);
    camera.Send(kEventIn, {huge});
    ASSERT_TRUE(camera.WaitFor([&] { return Failed() == 3; }));
    EXPECT_EQ(LastFailure(), VX_E_INVALID_SIZE);
    EXPECT_EQ(Total(), 3u);
    EXPECT_EQ(Take(message), VX_E_NO_DATA);
}

TEST_F(EventStream, LosesWhatComesWhenItsBuffersAreFull) {
    const std::uint32_t two = 2;
    EXPECT_EQ(events->SetProperty(CVxEventStream::Property_NumBuffer, &two, 4), VX_OK);
    OpenEvents();
    camera.Send(kEventIn, {Event(1, {}), Event(2, {}), Event(3, {})});
    ASSERT_TRUE(camera.WaitFor([&] { return Failed() == 1; }));
    EXPECT_EQ(LastFailure(), VX_E_EVENT_LOST);
    EXPECT_EQ(Take(message), VX_OK);
    EXPECT_EQ(message, Event(1, {}));
}

TEST_F(EventStream, KeepsAMessageThatDoesNotFitTheCaller) {
    OpenEvents();
    camera.Send(kEventIn, {kTestEvent});
    ASSERT_TRUE(camera.WaitFor([&] { return Total() == 1; }));
    std::uint8_t small[10];
    unsigned long size = sizeof small;
    EXPECT_EQ(events->RetrieveEvent(small, &size, nullptr), VX_E_INVALID_SIZE);
    EXPECT_EQ(size, 24u);
    EXPECT_EQ(Take(message), VX_OK);
    EXPECT_EQ(message, kTestEvent);
}

TEST_F(EventStream, ServesMoreMessagesThanItHasTransfers) {
    OpenEvents();
    for (std::uint8_t i = 0; i < 50; ++i)
        camera.Send(kEventIn, {Event(i, {})});
    ASSERT_TRUE(camera.WaitFor([&] { return Total() == 50; }));
    for (std::uint8_t i = 0; i < 50; ++i) {
        ASSERT_EQ(Take(message), VX_OK);
        EXPECT_EQ(message, Event(i, {}));
    }
}

TEST_F(EventStream, RecoversFromAHalt) {
    OpenEvents();
    camera.Fail(kEventIn, usb::TransferStatus::Stall);
    ASSERT_TRUE(camera.WaitFor([&] { return camera.HaltsCleared(kEventIn) == 2 && camera.Queued(kEventIn) == 8; }));
    camera.Send(kEventIn, {kTestEvent});
    ASSERT_TRUE(camera.WaitFor([&] { return Total() == 2; }));
    EXPECT_EQ(Failed(), 1u);
    EXPECT_EQ(Take(message), VX_OK);
}

TEST_F(EventStream, ClearsTheHaltThatTheCameraComplainsOf) {
    ASSERT_EQ(Open(), VX_OK);
    camera.OnCommand([refused = false](const Command& command) mutable -> std::optional<std::vector<Bytes>> {
        if (refused || command.Id() != 0x0802 || command.Address() != kEirm) return std::nullopt;
        refused = true;
        return std::vector<Bytes>{Ack(0xA005, 0x0803, command.RequestId(), {})};
    });
    EXPECT_EQ(events->Open(), VX_OK);
    EXPECT_EQ(camera.HaltsCleared(kEventIn), 2u);
}

TEST_F(EventStream, LeavesNothingBehindWhenOpeningFails) {
    ASSERT_EQ(Open(), VX_OK);
    camera.OnCommand([](const Command& command) -> std::optional<std::vector<Bytes>> {
        if (command.Id() != 0x0802 || command.Address() != kEirm) return std::nullopt;
        return std::vector<Bytes>{Ack(0x8006, 0x0803, command.RequestId(), {})};
    });
    EXPECT_EQ(events->Open(), VX_E_DEVICE_STATUS_BASE | 0x8006);
    EXPECT_EQ(camera.Queued(kEventIn), 0u);
    EXPECT_EQ(camera.Claimed().count(1), 0u);
    camera.OnCommand(nullptr);
    EXPECT_EQ(events->Open(), VX_OK);
}

TEST_F(EventStream, TellsOnceThatTheCameraIsGone) {
    OpenEvents();
    camera.Unplug(/*announce=*/false);
    EXPECT_TRUE(wait.Wait(10000)) << "waiters are woken";
    EXPECT_EQ(Take(message), VX_E_USB_NO_DEVICE);
    EXPECT_EQ(Take(message), VX_E_NO_DATA);
    EXPECT_EQ(events->Close(), VX_OK);
}

TEST_F(EventStream, AsksForTestEvents) {
    const std::uint8_t three = 3;
    EXPECT_EQ(events->SetProperty(CVxEventStream::Property_GenerateNumTestEvents, &three, 1), VX_E_NOT_OPEN);
    OpenEvents();
    EXPECT_EQ(events->SetProperty(CVxEventStream::Property_GenerateNumTestEvents, &three, 1), VX_OK);
    EXPECT_EQ(camera.WritesTo(kEirm + 8), (std::vector<std::uint32_t>{1, 1, 1}));
}

TEST_F(EventStream, KeepsItsSettingsFixedWhileOpen) {
    const std::uint32_t value = 4;
    EXPECT_EQ(events->SetProperty(CVxEventStream::Property_NumMaxQueuedUrbs, &value, 4), VX_OK);
    OpenEvents();
    EXPECT_EQ(camera.Queued(kEventIn), 4u);
    EXPECT_EQ(events->SetProperty(CVxEventStream::Property_NumBuffer, &value, 4), VX_E_INVALID_STATE);
    EXPECT_EQ(events->SetProperty(CVxEventStream::Property_TransferLoopThreadPriority, &value, 4), VX_E_INVALID_STATE);
    EXPECT_EQ(Property<std::uint32_t>(*events, CVxEventStream::Property_MaximumTransferLength), 1024u);
}

TEST_F(EventStream, RefusesSettingsOutOfRange) {
    const std::uint32_t none = 0;
    const std::int32_t negative = -1;
    EXPECT_EQ(events->SetProperty(CVxEventStream::Property_NumBuffer, &none, 4), VX_E_INVALID_PARAMETER);
    EXPECT_EQ(events->SetProperty(CVxEventStream::Property_NumMaxQueuedUrbs, &none, 4), VX_E_INVALID_PARAMETER);
    EXPECT_EQ(events->SetProperty(CVxEventStream::Property_TransferLoopThreadPriority, &negative, 4),
              VX_E_INVALID_PARAMETER);
    EXPECT_EQ(Property<std::int32_t>(*events, CVxEventStream::Property_TransferLoopThreadPriorityMin), 0);
    EXPECT_EQ(Property<std::int32_t>(*events, CVxEventStream::Property_TransferLoopThreadPriorityMax), 99);
}

} // namespace
