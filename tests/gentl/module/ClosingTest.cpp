// What else goes on while a camera is slow to close, or to open a stream or an event channel.

#include "gentl/support/ScriptedCameras.h"

#include <future>
#include <thread>

namespace {

using scripted::IsTreeFree;

/// On a thread of its own.
template<class Call>
std::future<GC_ERROR> Async(Call call) {
    return std::async(std::launch::async, std::move(call));
}

bool IsVoid(DEV_HANDLE device) {
    uint32_t count = 0;
    return DevGetNumDataStreams(device, &count) == GC_ERR_INVALID_HANDLE;
}

bool IsOver(const std::future<GC_ERROR>& call) {
    return call.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

/// With both cameras open; things happen while the left one is at something.
class OnBusyCamera : public scripted::OnTwoCameras {
protected:
    void SetUp() override {
        OnTwoCameras::SetUp();
        ASSERT_EQ(left.Open(&device), GC_ERR_SUCCESS);
        ASSERT_EQ(right.Open(&other), GC_ERR_SUCCESS); // now, since it looks at all buses
    }
    void TearDown() override {
        leftCamera.OnCommand(nullptr);
        OnTwoCameras::TearDown();
    }
    /// While its events are switched on or off, once; on a thread of its own, since that one has locks.
    void WhileItsEventsAre(std::uint32_t value, std::function<void()> action) {
        leftCamera.OnCommand([this, value, action = std::move(action)](
                                 const scripted::Command& command) -> std::optional<std::vector<scripted::Bytes>> {
            constexpr std::uint16_t write = 0x0802;
            const bool isMeant = command.Id() == write && command.Address() == scripted::kEirm &&
                                 command.Data() == scripted::Bytes{static_cast<std::uint8_t>(value), 0, 0, 0};
            if (isMeant && !hasHappened.exchange(true)) std::async(std::launch::async, action).get();
            return std::nullopt;
        });
    }
    GC_ERROR RegisterEvent() { return GCRegisterEvent(device, EVENT_REMOTE_DEVICE, &event); }
    GC_ERROR OpenStream() { return DevOpenDataStream(device, "Stream0", &stream); }
    void UseTheOtherCamera() {
        DS_HANDLE itsStream = nullptr;
        EVENT_HANDLE itsEvent = nullptr;
        EXPECT_EQ(DevOpenDataStream(other, "Stream0", &itsStream), GC_ERR_SUCCESS);
        EXPECT_EQ(GCRegisterEvent(other, EVENT_REMOTE_DEVICE, &itsEvent), GC_ERR_SUCCESS);
        EXPECT_EQ(DevClose(other), GC_ERR_SUCCESS);
    }
    void OpenAgain() {
        ASSERT_EQ(left.Open(&device), GC_ERR_SUCCESS);
        EXPECT_EQ(OpenStream(), GC_ERR_SUCCESS);
        EXPECT_EQ(RegisterEvent(), GC_ERR_SUCCESS);
    }

    DEV_HANDLE device = nullptr;
    DEV_HANDLE other = nullptr;
    DS_HANDLE stream = nullptr;
    EVENT_HANDLE event = nullptr;
    std::atomic<bool> hasHappened{false};
};

using GenTLClosing = OnBusyCamera;

TEST_F(GenTLClosing, OfADeviceLetsOtherCamerasBeUsedMeanwhile) {
    ASSERT_EQ(RegisterEvent(), GC_ERR_SUCCESS);
    WhileItsEventsAre(0, [&] {
        ASSERT_TRUE(IsTreeFree());
        UseTheOtherCamera();
    });
    EXPECT_EQ(DevClose(device), GC_ERR_SUCCESS);
    EXPECT_TRUE(hasHappened);
}

TEST_F(GenTLClosing, OfADeviceMakesItsHandlesVoidAtOnce) {
    PORT_HANDLE port = nullptr;
    ASSERT_EQ(DevGetPort(device, &port), GC_ERR_SUCCESS);
    ASSERT_EQ(OpenStream(), GC_ERR_SUCCESS);
    ASSERT_EQ(RegisterEvent(), GC_ERR_SUCCESS);
    WhileItsEventsAre(0, [&] {
        size_t size = 0;
        EXPECT_TRUE(IsVoid(device));
        EXPECT_EQ(DevClose(device), GC_ERR_INVALID_HANDLE);
        EXPECT_EQ(DSClose(stream), GC_ERR_INVALID_HANDLE);
        EXPECT_EQ(GCGetPortURL(port, nullptr, &size), GC_ERR_INVALID_HANDLE);
        EXPECT_EQ(EventGetData(event, nullptr, &size, 0), GC_ERR_INVALID_HANDLE);
        DEV_HANDLE second = nullptr;
        EXPECT_EQ(left.Open(&second), GC_ERR_RESOURCE_IN_USE);
    });
    EXPECT_EQ(DevClose(device), GC_ERR_SUCCESS);
    EXPECT_TRUE(hasHappened);
    OpenAgain();
}

TEST_F(GenTLClosing, OfADeviceTurnsWaitersAwayAtOnce) {
    ASSERT_EQ(RegisterEvent(), GC_ERR_SUCCESS);
    auto waiter = Async([&] {
        std::uint8_t message[1024];
        size_t size = sizeof message;
        return EventGetData(event, message, &size, GENTL_INFINITE);
    });
    WhileItsEventsAre(0, [&] { EXPECT_NE(waiter.get(), GC_ERR_SUCCESS); });
    EXPECT_EQ(DevClose(device), GC_ERR_SUCCESS);
    EXPECT_TRUE(hasHappened);
}

TEST_F(GenTLClosing, OfWhatItBelongsToWaitsForTheDevice) {
    ASSERT_EQ(RegisterEvent(), GC_ERR_SUCCESS);
    std::future<GC_ERROR> all;
    WhileItsEventsAre(0, [&] {
        all = Async([] { return GCCloseLib(); });
        size_t size = 0;
        while (IFGetInfo(left.interface, INTERFACE_INFO_ID, nullptr, nullptr, &size) == GC_ERR_SUCCESS)
            std::this_thread::yield();
        EXPECT_FALSE(IsOver(all));
    });
    EXPECT_EQ(DevClose(device), GC_ERR_SUCCESS);
    EXPECT_EQ(all.get(), GC_ERR_SUCCESS);
    EXPECT_EQ(leftCamera.OpenHandles(), 0);
}

TEST_F(GenTLClosing, OfTheLibraryIsWaitedForByWhoBeginsAnew) {
    ASSERT_EQ(RegisterEvent(), GC_ERR_SUCCESS);
    std::future<GC_ERROR> anew;
    WhileItsEventsAre(0, [&] {
        anew = Async([] { return GCInitLib(); });
        EXPECT_EQ(GCCloseLib(), GC_ERR_NOT_INITIALIZED);
        EXPECT_FALSE(IsOver(anew));
    });
    EXPECT_EQ(GCCloseLib(), GC_ERR_SUCCESS);
    EXPECT_EQ(anew.get(), GC_ERR_SUCCESS);
    EXPECT_EQ(leftCamera.OpenHandles(), 0);
}

TEST_F(GenTLClosing, OfAnEventLetsOtherCamerasBeUsedMeanwhile) {
    ASSERT_EQ(RegisterEvent(), GC_ERR_SUCCESS);
    WhileItsEventsAre(0, [&] {
        ASSERT_TRUE(IsTreeFree());
        UseTheOtherCamera();
        EXPECT_EQ(RegisterEvent(), GC_ERR_RESOURCE_IN_USE);
        EXPECT_EQ(GCUnregisterEvent(device, EVENT_REMOTE_DEVICE), GC_ERR_NOT_AVAILABLE);
    });
    EXPECT_EQ(GCUnregisterEvent(device, EVENT_REMOTE_DEVICE), GC_ERR_SUCCESS);
    EXPECT_TRUE(hasHappened);
    EXPECT_EQ(RegisterEvent(), GC_ERR_SUCCESS);
}

using GenTLRegistering = OnBusyCamera;

TEST_F(GenTLRegistering, LetsOtherCamerasBeUsedMeanwhile) {
    WhileItsEventsAre(1, [&] {
        ASSERT_TRUE(IsTreeFree());
        UseTheOtherCamera();
        EVENT_HANDLE second = nullptr;
        EXPECT_EQ(GCRegisterEvent(device, EVENT_REMOTE_DEVICE, &second), GC_ERR_RESOURCE_IN_USE);
        EXPECT_EQ(GCUnregisterEvent(device, EVENT_REMOTE_DEVICE), GC_ERR_NOT_AVAILABLE);
    });
    EXPECT_EQ(RegisterEvent(), GC_ERR_SUCCESS);
    EXPECT_TRUE(hasHappened);
    EXPECT_EQ(leftCamera.WritesTo(scripted::kEirm).back(), 1u) << "the second one has switched nothing off";
}

TEST_F(GenTLRegistering, FailsWhenTheDeviceIsClosedMeanwhile) {
    std::future<GC_ERROR> closing;
    WhileItsEventsAre(1, [&] {
        closing = Async([which = device] { return DevClose(which); });
        while (!IsVoid(device))
            std::this_thread::yield();
    });
    EXPECT_EQ(RegisterEvent(), GC_ERR_INVALID_HANDLE);
    EXPECT_EQ(closing.get(), GC_ERR_SUCCESS);
    EXPECT_EQ(leftCamera.OpenHandles(), 0);
    EXPECT_EQ(leftCamera.WritesTo(scripted::kEirm).back(), 0u);
    OpenAgain();
}

/// Opening a stream opens the camera once more.
class GenTLStreamOpening : public OnBusyCamera {
protected:
    GC_ERROR OpenStreamAnd(std::function<void()> meanwhile) {
        leftPlace->OnOpen([&](int attempt) {
            if (attempt == 1) meanwhile();
        });
        const GC_ERROR result = OpenStream();
        leftPlace->OnOpen(nullptr);
        return result;
    }
};

TEST_F(GenTLStreamOpening, LetsOtherCamerasBeUsedMeanwhile) {
    EXPECT_EQ(OpenStreamAnd([&] {
                  ASSERT_TRUE(IsTreeFree());
                  UseTheOtherCamera();
                  DS_HANDLE second = nullptr;
                  EXPECT_EQ(DevOpenDataStream(device, "Stream0", &second), GC_ERR_RESOURCE_IN_USE);
              }),
              GC_ERR_SUCCESS);
    uint32_t parts = 0;
    EXPECT_EQ(DSGetNumFlows(stream, &parts), GC_ERR_NOT_IMPLEMENTED) << "it is open still";
    EXPECT_EQ(leftCamera.OpenHandles(), 2);
}

TEST_F(GenTLStreamOpening, FailsWhenTheDeviceIsClosedMeanwhile) {
    std::future<GC_ERROR> closing;
    EXPECT_EQ(OpenStreamAnd([&] {
                  closing = Async([which = device] { return DevClose(which); });
                  while (!IsVoid(device))
                      std::this_thread::yield();
              }),
              GC_ERR_INVALID_HANDLE);
    EXPECT_EQ(closing.get(), GC_ERR_SUCCESS);
    EXPECT_EQ(leftCamera.OpenHandles(), 0);
    OpenAgain();
}

TEST_F(GenTLStreamOpening, ThatFailsLeavesRoomForTheNext) {
    leftCamera.RefuseOpen(usb::Result::Io);
    EXPECT_NE(OpenStream(), GC_ERR_SUCCESS);
    leftCamera.RefuseOpen(usb::Result::Ok);
    EXPECT_EQ(OpenStream(), GC_ERR_SUCCESS);
}

} // namespace
