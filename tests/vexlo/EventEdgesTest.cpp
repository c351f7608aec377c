// Where the limits of the event channel begin and end.
#include "vexlo/support/Fixture.h"

#include "core/WaitObject.h"

namespace {

using namespace vexlotest;
using namespace scripted;

class EventEdges : public OnScriptedCamera {
protected:
    EventEdges() {
        EXPECT_EQ(device->GetEventStream(&events), VX_OK);
        EXPECT_EQ(events->RegisterWaitObject(wait), VX_OK);
    }
    void OpenEvents() {
        ASSERT_EQ(device->IsOpen() ? VX_OK : Open(), VX_OK);
        ASSERT_EQ(events->Open(), VX_OK);
    }
    void SendEvent() { camera.Send(kEventIn, {Hex("55335645 0000 000C 0C00 0000 0000 FF4F E803000000000000")}); }
    VxStatus Set(CVxEventStream::EPropertyValue id, std::uint32_t value) {
        return events->SetProperty(id, &value, sizeof value);
    }
    std::uint64_t Total() { return Property<std::uint64_t>(*events, CVxEventStream::Property_TotalEventCount); }
    std::uint64_t Failed() { return Property<std::uint64_t>(*events, CVxEventStream::Property_FailedEventCount); }
    /// So many halts, one after the other, of each of which the channel recovers.
    void HaltAndRecover(unsigned int times) {
        for (unsigned int i = 0; i < times; ++i) {
            const unsigned int before = camera.HaltsCleared(kEventIn);
            camera.Fail(kEventIn, usb::TransferStatus::Stall);
            ASSERT_TRUE(camera.WaitFor([&] {
                return camera.HaltsCleared(kEventIn) == before + 1 && camera.Queued(kEventIn) == 8;
            })) << i;
        }
    }

    CVxEventStream* events = nullptr;
    Tavix::WaitObjectEx wait = Tavix::WaitObjectEx::Create();
};

TEST_F(EventEdges, ItEndsWithTheSixthHaltWithoutAnEventInBetween) {
    OpenEvents();
    HaltAndRecover(5);
    EXPECT_EQ(Failed(), 5u);
    camera.Fail(kEventIn, usb::TransferStatus::Stall);
    ASSERT_TRUE(wait.Wait(20000));
    std::uint8_t message[576];
    unsigned long size = sizeof message;
    EXPECT_EQ(events->RetrieveEvent(message, &size, nullptr), VX_E_USB_IO);
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(Failed(), 7u) << "six halts and the end";
    EXPECT_EQ(Property<VxStatus>(*events, CVxEventStream::Property_LastFailedEventBufferStatus), VX_E_USB_IO);
    EXPECT_EQ(events->Close(), VX_OK);
    OpenEvents();
    HaltAndRecover(1);
}

TEST_F(EventEdges, ItsEndIsToldWithTheReasonAndOnce) {
    const Tavix::WaitObjectEx told = Tavix::WaitObjectEx::Create();
    std::vector<VxStatus> reasons;
    events->SetEndListener([&](VxStatus reason) {
        reasons.push_back(reason);
        told.Signal();
    });
    OpenEvents();
    HaltAndRecover(5);
    camera.Fail(kEventIn, usb::TransferStatus::Stall);
    ASSERT_TRUE(told.Wait(20000));
    EXPECT_EQ(events->Close(), VX_OK);
    EXPECT_EQ(reasons, std::vector<VxStatus>{VX_E_USB_IO});
    events->SetEndListener(nullptr);
}

TEST_F(EventEdges, ItsEndSwitchesTheCamerasEventsOff) {
    OpenEvents();
    HaltAndRecover(5);
    ASSERT_TRUE(camera.WaitFor([&] { return camera.Get32(kEirm) == 1; }));
    camera.Fail(kEventIn, usb::TransferStatus::Stall);
    EXPECT_TRUE(camera.WaitFor([&] { return camera.Get32(kEirm) == 0; }));
    ASSERT_TRUE(wait.Wait(20000));
}

TEST_F(EventEdges, AnEventLetsHaltsBeCountedAnew) {
    OpenEvents();
    HaltAndRecover(4);
    SendEvent();
    ASSERT_TRUE(camera.WaitFor([&] { return Total() == 5; }));
    HaltAndRecover(3);
}

TEST_F(EventEdges, TransfersTakeAnyMessageThatCanBeStatedInWholePackets) {
    for (const auto& [stated, length] : {std::pair(0u, 1024u), {1024u, 1024u}, {1025u, 2048u}, {UINT32_MAX, 66560u}}) {
        camera.Set32(kEirm + 4, stated);
        OpenEvents();
        EXPECT_EQ(Property<std::uint32_t>(*events, CVxEventStream::Property_MaximumTransferLength), length);
        EXPECT_EQ(camera.QueuedLengths(kEventIn).front(), length);
        EXPECT_EQ(events->Close(), VX_OK);
    }
}

TEST_F(EventEdges, ItLivesWithTheTransfersThatThereIsMemoryFor) {
    camera.AllowTransfers(3);
    OpenEvents();
    EXPECT_EQ(camera.Queued(kEventIn), 3u);
    EXPECT_EQ(camera.HaltsCleared(kEventIn), 1u);
    EXPECT_EQ(Failed(), 0u);
    camera.AllowTransfers(8);
    SendEvent();
    EXPECT_TRUE(camera.WaitFor([&] { return camera.Queued(kEventIn) == 8; })) << "as soon as one has come back";
}

TEST_F(EventEdges, ItTriesAgainWhenThereIsMemoryForNoTransferAtAll) {
    EXPECT_EQ(Set(CVxEventStream::Property_NumMaxQueuedUrbs, 1), VX_OK);
    OpenEvents();
    camera.AllowTransfers(0);
    SendEvent();
    ASSERT_TRUE(camera.WaitFor([&] { return Total() == 1 && camera.Queued(kEventIn) == 0; }));
    camera.AllowTransfers(1);
    EXPECT_TRUE(camera.WaitFor([&] { return camera.Queued(kEventIn) == 1; }));
}

TEST_F(EventEdges, ItCannotBeOpenedWithoutMemoryForATransfer) {
    ASSERT_EQ(Open(), VX_OK);
    camera.AllowTransfers(0);
    EXPECT_EQ(events->Open(), VX_E_USB_NO_MEMORY);
    camera.AllowTransfers(8);
    EXPECT_EQ(events->Open(), VX_OK);
}

TEST_F(EventEdges, AMessageMayJustFitTheCaller) {
    OpenEvents();
    SendEvent();
    ASSERT_TRUE(camera.WaitFor([&] { return Total() == 1; }));
    std::uint8_t message[24];
    unsigned long size = sizeof message;
    EXPECT_EQ(events->RetrieveEvent(message, &size, nullptr), VX_OK);
    EXPECT_EQ(size, 24u);
    EXPECT_EQ(events->RetrieveEvent(message, &size, nullptr), VX_E_NO_DATA);
    EXPECT_EQ(size, 0u);
}

TEST_F(EventEdges, SettingsReachToTheirLimits) {
    EXPECT_EQ(Set(CVxEventStream::Property_NumBuffer, 65537), VX_E_INVALID_PARAMETER);
    EXPECT_EQ(Set(CVxEventStream::Property_NumBuffer, 65536), VX_OK);
    EXPECT_EQ(Set(CVxEventStream::Property_NumBuffer, 1), VX_OK);
    EXPECT_EQ(Set(CVxEventStream::Property_NumMaxQueuedUrbs, 257), VX_E_INVALID_PARAMETER);
    EXPECT_EQ(Set(CVxEventStream::Property_NumMaxQueuedUrbs, 256), VX_OK);
    EXPECT_EQ(Set(CVxEventStream::Property_NumMaxQueuedUrbs, 1), VX_OK);
}

} // namespace
