// What else goes on while a camera is opened, and what asking for its state costs.

#include "gentl/support/ScriptedCameras.h"

#include "vexlo/Enumerator.h"
#include "vexlo/VxDevice.h"

#include <thread>

namespace {

using scripted::Elsewhere;
using scripted::IsTreeFree;

class GenTLOpening : public scripted::OnTwoCameras {
protected:
    /// What opening the left camera gives when `meanwhile` happens at its first attempt.
    template<class Meanwhile>
    GC_ERROR OpenLeft(Meanwhile meanwhile) {
        leftPlace->OnOpen([&](int attempt) {
            if (attempt == 1) meanwhile();
        });
        const GC_ERROR result = left.Open(&device);
        leftPlace->OnOpen(nullptr);
        return result;
    }

    DEV_HANDLE device = nullptr;
};

TEST_F(GenTLOpening, LetsOtherCamerasBeUsedMeanwhile) {
    EXPECT_EQ(OpenLeft([&] {
                  ASSERT_TRUE(IsTreeFree());
                  EXPECT_EQ(Elsewhere([&] {
                                DEV_HANDLE other = nullptr;
                                EVENT_HANDLE event = nullptr;
                                EXPECT_EQ(right.Open(&other), GC_ERR_SUCCESS);
                                EXPECT_EQ(GCRegisterEvent(other, EVENT_ERROR, &event), GC_ERR_SUCCESS);
                                return DevClose(other);
                            }),
                            GC_ERR_SUCCESS);
              }),
              GC_ERR_SUCCESS);
}

TEST_F(GenTLOpening, KeepsOthersFromTheSameCamera) {
    int attempts = 0;
    leftPlace->OnOpen([&](int attempt) {
        attempts = attempt;
        if (attempt != 1) return;
        ASSERT_TRUE(IsTreeFree());
        DEV_HANDLE second = nullptr;
        EXPECT_EQ(Elsewhere([&] { return left.Open(&second); }), GC_ERR_RESOURCE_IN_USE);
        EXPECT_EQ(Elsewhere([&] { return left.Number(DEVICE_INFO_ACCESS_STATUS); }), DEVICE_ACCESS_STATUS_BUSY);
        EXPECT_EQ(attempts, 1) << "nobody else has tried";
    });
    EXPECT_EQ(left.Open(&device), GC_ERR_SUCCESS);
    EXPECT_EQ(left.Number(DEVICE_INFO_ACCESS_STATUS), DEVICE_ACCESS_STATUS_OPEN_READWRITE);
}

TEST_F(GenTLOpening, FailsWhenTheInterfaceIsClosedMeanwhile) {
    EXPECT_EQ(OpenLeft([&] {
                  ASSERT_TRUE(IsTreeFree());
                  EXPECT_EQ(Elsewhere([&] { return IFClose(left.interface); }), GC_ERR_SUCCESS);
              }),
              GC_ERR_INVALID_HANDLE);
    EXPECT_EQ(leftCamera.OpenHandles(), 0);
    left.interface = nullptr;
    ASSERT_NO_FATAL_FAILURE(Look());
    ASSERT_EQ(left.Open(&device), GC_ERR_SUCCESS);
}

TEST_F(GenTLOpening, FailsWhenTheSystemIsClosedMeanwhile) {
    EXPECT_EQ(OpenLeft([&] {
                  ASSERT_TRUE(IsTreeFree());
                  EXPECT_EQ(Elsewhere([&] { return TLClose(tl); }), GC_ERR_SUCCESS);
              }),
              GC_ERR_INVALID_HANDLE);
    EXPECT_EQ(leftCamera.OpenHandles(), 0);
}

TEST_F(GenTLOpening, FailsWhenTheLibraryEndsAndBeginsMeanwhile) {
    EXPECT_NE(OpenLeft([&] {
                  ASSERT_TRUE(IsTreeFree());
                  EXPECT_EQ(Elsewhere([&] { return GCCloseLib(); }), GC_ERR_SUCCESS);
                  Elsewhere([&] { Begin(); });
              }),
              GC_ERR_SUCCESS);
    EXPECT_EQ(leftCamera.OpenHandles(), 0);
    EXPECT_EQ(left.Open(&device), GC_ERR_SUCCESS);
}

TEST_F(GenTLOpening, IsNotInTheWayOfOneWhoOnlyAsks) {
    std::atomic<bool> ends{false};
    std::thread lister([&] {
        while (!ends)
            EXPECT_NE(left.Number(DEVICE_INFO_ACCESS_STATUS), DEVICE_ACCESS_STATUS_NOACCESS);
    });
    for (int i = 0; i < 50; ++i) {
        ASSERT_EQ(left.Open(&device), GC_ERR_SUCCESS);
        EXPECT_EQ(DevClose(device), GC_ERR_SUCCESS);
    }
    ends = true;
    lister.join();
}

TEST_F(GenTLOpening, TriesAgainWhereAnotherProgramOnlyLooks) {
    vexlo::DeviceDiscoveryInfo info{};
    ASSERT_EQ(vexlo::CEnumerator::DeviceInfoFromPath("left:port1#0", info), vexlo::VX_OK);
    vexlo::CVxDevice* const other = vexlo::CVxDevice::CreateDevice(vexlo::DeviceType_Libusb);
    ASSERT_EQ(other->Open(info), vexlo::VX_OK);
    EXPECT_EQ(left.Number(DEVICE_INFO_ACCESS_STATUS), DEVICE_ACCESS_STATUS_BUSY);
    leftPlace->OnOpen([&](int attempt) {
        if (attempt != 3) return; // each time it is identified first
        EXPECT_EQ(other->Close(), vexlo::VX_OK);
    });
    EXPECT_EQ(left.Open(&device), GC_ERR_SUCCESS);
    vexlo::CVxDevice::DestroyDevice(other);
}

TEST_F(GenTLOpening, ToReadWritesNothing) {
    ASSERT_EQ(left.Open(&device, DEVICE_ACCESS_READONLY), GC_ERR_SUCCESS);
    EXPECT_FALSE(leftCamera.Commands().empty());
    EXPECT_TRUE(leftCamera.WritesTo(scripted::kEirm).empty());
}

class GenTLStatus : public scripted::OnTwoCameras {};

TEST_F(GenTLStatus, OfACameraIsAskedWithoutAWordToIt) {
    EXPECT_EQ(left.Number(DEVICE_INFO_ACCESS_STATUS), DEVICE_ACCESS_STATUS_READWRITE);
    EXPECT_TRUE(leftCamera.Commands().empty());
    EXPECT_EQ(leftCamera.Resets(), 0U);
    leftCamera.RefuseOpen(usb::Result::Access);
    EXPECT_EQ(left.Number(DEVICE_INFO_ACCESS_STATUS), DEVICE_ACCESS_STATUS_NOACCESS);
}

TEST_F(GenTLStatus, AskedByTwoAtATimeIsThatOfAFreeCamera) {
    const auto ask = [&] {
        for (int i = 0; i < 200; ++i)
            ASSERT_EQ(left.Number(DEVICE_INFO_ACCESS_STATUS), DEVICE_ACCESS_STATUS_READWRITE);
    };
    std::thread other(ask);
    ask();
    other.join();
}

TEST_F(GenTLStatus, AndVersionOfAnOpenCameraAreRemembered) {
    DEV_HANDLE device = nullptr;
    ASSERT_EQ(left.Open(&device), GC_ERR_SUCCESS);
    leftCamera.Set(0xC4, {'7', '.', '1', 0});
    EXPECT_EQ(left.Text(DEVICE_INFO_VERSION), "7.1");
    const std::size_t before = leftCamera.Commands().size();
    EXPECT_EQ(left.Text(DEVICE_INFO_VERSION), "7.1");
    EXPECT_EQ(left.Number(DEVICE_INFO_ACCESS_STATUS), DEVICE_ACCESS_STATUS_OPEN_READWRITE);
    EXPECT_EQ(leftCamera.Commands().size(), before);
}

} // namespace
