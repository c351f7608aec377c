#include "vexlo/support/Fixture.h"

#include "core/Log.h"
#include "core/LogSink.h"

#include <cstring>
#include <string>
#include <thread>

namespace {

using namespace vexlotest;
using namespace scripted;

class Device : public OnScriptedCamera {};

TEST(Library, NeedsInit) {
    Collector collector;
    EXPECT_EQ(CEnumerator::Discover(&collector), VX_E_NOT_INITIALIZED);
    CVxDevice* device = CVxDevice::CreateDevice(DeviceType_Libusb);
    EXPECT_EQ(device->Open(DeviceDiscoveryInfo{}), VX_E_NOT_INITIALIZED);
    CVxDevice::DestroyDevice(device);
    Exit();
}

TEST(Library, CountsItsUses) {
    Camera camera;
    InjectBackends({std::make_shared<ScriptedBackend>(camera)});
    EXPECT_EQ(Init(), VX_OK);
    EXPECT_EQ(Init(), VX_OK);
    Exit();
    Collector collector;
    EXPECT_EQ(CEnumerator::Discover(&collector), VX_OK);
    Exit();
    EXPECT_EQ(CEnumerator::Discover(&collector), VX_E_NOT_INITIALIZED);
    InjectBackends({});
}

TEST_F(Device, IsMadeForOneKindOfDriverOnly) {
    EXPECT_EQ(CVxDevice::CreateDevice(DeviceType_WinUsb), nullptr);
    EXPECT_EQ(CVxDevice::CreateDevice(DeviceType_Vandrel), nullptr);
    CVxDevice::DestroyDevice(nullptr);
}

TEST_F(Device, OpensClosesAndOpensAgain) {
    EXPECT_FALSE(device->IsOpen());
    EXPECT_EQ(device->Close(), VX_E_NOT_OPEN);
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(Open(), VX_OK);
        EXPECT_TRUE(device->IsOpen());
        EXPECT_EQ(Open(), VX_E_ALREADY_OPEN);
        EXPECT_EQ(camera.Claimed().count(0), 1u);
        EXPECT_EQ(device->Close(), VX_OK);
        EXPECT_TRUE(camera.Claimed().empty());
    }
}

TEST_F(Device, IsWarnedOfWhenItStatesAnotherVersionOfTheProtocol) {
    std::vector<std::string> warnings;
    const Tavix::LogSink sink([&](const char*, unsigned int level, const std::string& text) {
        if (level == Tavix::kLogWarning && text.find("control protocol") != std::string::npos) warnings.push_back(text);
    });
    ASSERT_EQ(Open(), VX_OK);
    EXPECT_EQ(device->Close(), VX_OK);
    EXPECT_EQ(warnings, std::vector<std::string>{});
    camera.Set32(0, 0x00020003);
    ASSERT_EQ(Open(), VX_OK);
    EXPECT_EQ(warnings, std::vector<std::string>{"The camera states version 2.3 of the control protocol"});
}

TEST_F(Device, SaysThatItIsInUseElsewhere) {
    CVxDevice* other = CVxDevice::CreateDevice(DeviceType_Libusb);
    ASSERT_EQ(other->Open(Found()), VX_OK);
    EXPECT_EQ(Open(), 0xE201013Fu);
    CVxDevice::DestroyDevice(other);
    EXPECT_EQ(Open(), VX_OK);
}

TEST_F(Device, LeavesNothingClaimedWhenOpeningFails) {
    camera.OnCommand([](const Command& command) -> std::optional<std::vector<Bytes>> {
        if (command.Address() != 0x1D8) return std::nullopt;
        return std::vector<Bytes>{Ack(0x8FFF, 0x0801, command.RequestId(), {})};
    });
    EXPECT_EQ(Open(), VX_E_DEVICE_STATUS_BASE | 0x8FFF);
    EXPECT_TRUE(camera.Claimed().empty());
    EXPECT_EQ(camera.OpenHandles(), 0);
    camera.OnCommand(nullptr);
    EXPECT_EQ(Open(), VX_OK);
}

/// Answers no command until `commands` came, or until it was reset.
class SilentDevice : public Device {
protected:
    SilentDevice() {
        SetConnectTimeout(0);
        camera.OnCommand([this](const Command&) -> std::optional<std::vector<Bytes>> {
            return isAwake ? std::nullopt : std::optional<std::vector<Bytes>>(std::vector<Bytes>{});
        });
    }
    void SetConnectTimeout(std::uint32_t milliseconds) {
        EXPECT_EQ(device->SetProperty(CVxDevice::Property_ConnectTimeout, &milliseconds, 4), VX_OK);
    }
    std::atomic<bool> isAwake{false};
};

TEST_F(SilentDevice, IsOpenedAfterAReset) {
    camera.OnReset([this] {
        isAwake = true;
        return usb::Result::Ok;
    });
    EXPECT_EQ(Open(), VX_OK);
    EXPECT_EQ(camera.Resets(), 1u);
}

TEST_F(SilentDevice, IsOpenedAgainWhenItComesBackAsAnotherDevice) {
    camera.OnReset([this] {
        isAwake = true;
        return usb::Result::NotFound;
    });
    EXPECT_EQ(Open(), VX_OK);
    EXPECT_EQ(camera.OpenHandles(), 1);
}

TEST_F(SilentDevice, IsFoundAgainAfterItLeftTheBus) {
    camera.OnReset([this] {
        isAwake = true;
        camera.Unplug(/*announce=*/true);
        return usb::Result::NoDevice;
    });
    const DeviceDiscoveryInfo info = Found();
    std::thread returning([this] {
        ASSERT_TRUE(camera.WaitFor([&] { return camera.Resets() == 1 && camera.OpenHandles() == 0; }));
        camera.Replug();
    });
    EXPECT_EQ(device->Open(info), VX_OK);
    returning.join();
}

TEST_F(SilentDevice, IsNotWaitedForTwice) {
    const DeviceDiscoveryInfo info = Found();
    camera.OnReset([] { return usb::Result::NotSupported; });
    EXPECT_EQ(device->Open(info), VX_E_TIMEOUT);
    EXPECT_EQ(device->Open(info), VX_E_TIMEOUT);
    EXPECT_EQ(camera.Resets(), 1u) << "the second attempt comes too soon for another reset";
    EXPECT_EQ(camera.OpenHandles(), 0);
    isAwake = true;
    EXPECT_EQ(device->Open(info), VX_OK);
}

TEST_F(SilentDevice, IsWaitedForAsLongAsTheSettingSays) {
    EXPECT_EQ((Property<std::uint32_t>(*device, CVxDevice::Property_ConnectTimeout)), 0u);
    const std::uint32_t tooLong = 60001;
    EXPECT_EQ(device->SetProperty(CVxDevice::Property_ConnectTimeout, &tooLong, 4), VX_E_INVALID_PARAMETER);
    SetConnectTimeout(20000);
    std::thread waking([this] {
        ASSERT_TRUE(camera.WaitFor([&] { return camera.Commands().size() > 3; }));
        isAwake = true;
    });
    EXPECT_EQ(Open(), VX_OK);
    waking.join();
    EXPECT_EQ(camera.Resets(), 0u);
}

TEST_F(Device, TakesTimeoutsWithinTheirLimits) {
    for (const auto id : {CVxDevice::Property_ControlTimeout, CVxDevice::Property_WriteTimeout}) {
        for (const std::uint32_t wrong : {9u, 60001u})
            EXPECT_EQ(device->SetProperty(id, &wrong, 4), VX_E_INVALID_PARAMETER);
        for (const std::uint32_t edge : {10u, 60000u})
            EXPECT_EQ(device->SetProperty(id, &edge, 4), VX_OK);
        const std::uint32_t right = 1000 + id;
        EXPECT_EQ(device->SetProperty(id, &right, 4), VX_OK);
        EXPECT_EQ(device->SetProperty(id, &right, 8), VX_E_INVALID_SIZE);
    }
    EXPECT_EQ((Property<std::uint32_t>(*device, CVxDevice::Property_ControlTimeout)), 1000u + 0x700);
    EXPECT_EQ((Property<std::uint32_t>(*device, CVxDevice::Property_WriteTimeout)), 1000u + 0x900);
}

TEST_F(Device, SwitchesOffWhatAPredecessorLeftRunning) {
    camera.Set32(kSirm + 4, 1);
    camera.Set32(kEirm, 1);
    ASSERT_EQ(Open(), VX_OK);
    EXPECT_EQ(camera.Get32(kSirm + 4), 0u);
    EXPECT_EQ(camera.Get32(kEirm), 0u);
}

TEST_F(Device, ReadsAndWritesRegisters) {
    camera.Set(0x90000, Pattern(3000));
    ASSERT_EQ(Open(), VX_OK);
    Bytes bytes(3000);
    unsigned long count = bytes.size();
    EXPECT_EQ(device->ReadMem(bytes.data(), 0x90000, &count), VX_OK);
    EXPECT_EQ(count, 3000u);
    EXPECT_EQ(bytes, Pattern(3000));
    EXPECT_EQ(device->WriteMem(Hex("11223344").data(), 0x90010, 4), VX_OK);
    EXPECT_EQ(camera.Get32(0x90010), 0x44332211u);
}

TEST_F(Device, RefusesRegisterAccessWhileClosed) {
    std::uint32_t value = 0;
    unsigned long count = 4;
    EXPECT_EQ(device->ReadMem(&value, 0, &count), VX_E_NOT_OPEN);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(device->WriteMem(&value, 0, 4), VX_E_NOT_OPEN);
}

TEST_F(Device, CountsFailures) {
    ASSERT_EQ(Open(), VX_OK);
    std::uint32_t value = 0;
    unsigned long count = 4;
    EXPECT_NE(device->ReadMem(&value, 0x999999, &count), VX_OK);
    EXPECT_NE(device->WriteMem(&value, 0x999999, 4), VX_OK);
    EXPECT_NE(device->WriteMem(&value, 0x999999, 4), VX_OK);
    EXPECT_EQ(Property<std::uint64_t>(*device, CVxDevice::Property_ReadOperationsFailedCount), 1u);
    EXPECT_EQ(Property<std::uint64_t>(*device, CVxDevice::Property_WriteOperationsFailedCount), 2u);
    EXPECT_EQ(Property<std::uint32_t>(*device, CVxDevice::Property_LastErrorStatus), VX_E_DEVICE_STATUS_BASE | 0x8003);
}

TEST_F(Device, CountsTheResetsOfEachPipe) {
    ASSERT_EQ(Open(), VX_OK);
    camera.FailNextIn(usb::Result::Pipe);
    std::uint32_t value = 0;
    unsigned long count = 4;
    EXPECT_EQ(device->ReadMem(&value, 0, &count), VX_OK);
    const auto resets = [this](auto id) { return Property<std::uint64_t>(*device, id); };
    EXPECT_EQ(resets(CVxDevice::Property_ReadPipeResetCount), camera.HaltsCleared(kControlIn));
    EXPECT_EQ(resets(CVxDevice::Property_WritePipeResetCount), camera.HaltsCleared(kControlOut));
    EXPECT_EQ(resets(CVxDevice::Property_WritePipeResetCount), 2u) << "at the opening and now";
    EXPECT_EQ(resets(CVxDevice::Property_WriteOperationsFailedCount), 0u);
}

TEST_F(Device, TakesPropertiesInTheirExactWidthOnly) {
    std::uint32_t narrow = 0;
    EXPECT_EQ(device->GetProperty(CVxDevice::Property_ReadPipeResetCount, &narrow, 4), VX_E_INVALID_SIZE);
    EXPECT_EQ(device->GetProperty(static_cast<CVxDevice::EPropertyValue>(0x12345), &narrow, 4), VX_E_INVALID_PROPERTY);
    EXPECT_EQ(device->SetProperty(CVxDevice::Property_ReadPipeResetCount, &narrow, 4), VX_E_INVALID_PROPERTY);
    EXPECT_EQ(device->GetProperty(CVxDevice::Property_LastErrorStatus, nullptr, 4), VX_E_INVALID_PARAMETER);
}

TEST_F(Device, ExecutesACustomRequest) {
    ASSERT_EQ(Open(), VX_OK);
    camera.controlAnswer = Hex("78563412");
    const std::uint8_t id = 186;
    const std::uint16_t value = 1, index = 500, length = 4;
    const std::uint32_t zero = 0;
    const std::uint8_t any = 0;
    EXPECT_EQ(device->SetProperty(CVxDevice::Property_CustomRequestId, &id, 1), VX_OK);
    EXPECT_EQ(device->SetProperty(CVxDevice::Property_CustomRequestValue, &value, 2), VX_OK);
    EXPECT_EQ(device->SetProperty(CVxDevice::Property_CustomRequestIndex, &index, 2), VX_OK);
    EXPECT_EQ(device->SetProperty(CVxDevice::Property_CustomRequestDataLength, &length, 2), VX_OK);
    EXPECT_EQ(device->SetProperty(CVxDevice::Property_CustomRequestData, &zero, 4), VX_OK);
    EXPECT_EQ(device->SetProperty(CVxDevice::Property_CustomRequestExecuteRead, &any, 1), VX_OK);
    EXPECT_EQ(Property<std::uint32_t>(*device, CVxDevice::Property_CustomRequestData), 0x12345678u);
    EXPECT_EQ(camera.LastControl().requestType, 0xC0);
    EXPECT_EQ(camera.LastControl().request, 186);
    EXPECT_EQ(camera.LastControl().value, 1);
    EXPECT_EQ(camera.LastControl().index, 500);
    EXPECT_EQ(camera.LastControl().length, 4);
    EXPECT_EQ(device->SetProperty(CVxDevice::Property_CustomRequestExecuteWrite, &any, 1), VX_OK);
    EXPECT_EQ(camera.LastControl().requestType, 0x40);
}

TEST_F(Device, RefusesACustomRequestWithMoreDataThanItHolds) {
    ASSERT_EQ(Open(), VX_OK);
    const std::uint16_t length = 65;
    const std::uint8_t any = 0;
    EXPECT_EQ(device->SetProperty(CVxDevice::Property_CustomRequestDataLength, &length, 2), VX_OK);
    EXPECT_EQ(device->SetProperty(CVxDevice::Property_CustomRequestExecuteRead, &any, 1), VX_E_INVALID_SIZE);
}

TEST_F(Device, TakesACustomRequestOfSixtyFourBytes) {
    ASSERT_EQ(Open(), VX_OK);
    camera.controlAnswer = Pattern(64);
    const std::uint16_t length = 64;
    const std::uint8_t any = 0;
    Bytes data(65);
    EXPECT_EQ(device->SetProperty(CVxDevice::Property_CustomRequestDataLength, &length, 2), VX_OK);
    EXPECT_EQ(device->SetProperty(CVxDevice::Property_CustomRequestData, data.data(), 64), VX_OK);
    EXPECT_EQ(device->SetProperty(CVxDevice::Property_CustomRequestData, data.data(), 65), VX_E_INVALID_SIZE);
    EXPECT_EQ(device->SetProperty(CVxDevice::Property_CustomRequestExecuteRead, &any, 1), VX_OK);
    EXPECT_EQ(device->GetProperty(CVxDevice::Property_CustomRequestData, data.data(), 65), VX_E_INVALID_SIZE);
    EXPECT_EQ(device->GetProperty(CVxDevice::Property_CustomRequestData, data.data(), 64), VX_OK);
    data.pop_back();
    EXPECT_EQ(data, Pattern(64));
}

TEST_F(Device, ServesSeveralThreads) {
    camera.Set(0x90000, Pattern(64));
    ASSERT_EQ(Open(), VX_OK);
    std::vector<std::thread> threads;
    std::atomic<int> wrong{0};
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 500; ++i) {
                Bytes bytes(64);
                unsigned long count = 64;
                if (device->ReadMem(bytes.data(), 0x90000, &count) != VX_OK || bytes != Pattern(64)) ++wrong;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

} // namespace
