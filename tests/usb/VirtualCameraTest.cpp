// The virtual camera below the real libusb.
#include "support/usbfs/VirtualCamera.h"
#include "support/usbfs/Ioctl.h"
#include "usb/libusb/LibusbBackend.h"
#include "usb/support/Transfers.h"
#include "virtualcam/Bytes.h"
#include "virtualcam/device/Protocol.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <mutex>

namespace {

using testing::ElementsAre;
using usb::Result;
using Bytes = std::vector<std::uint8_t>;

class VirtualCameraTest : public testing::Test {
protected:
    void SetUp() override {
        std::string reason;
        m_Backend = usb::CreateLibusbBackend(reason);
        ASSERT_NE(m_Backend, nullptr) << reason;
    }
    std::unique_ptr<usb::Handle> OpenAndClaim() {
        std::unique_ptr<usb::Handle> handle;
        EXPECT_EQ(m_Backend->Open(m_Cameras.Name(0), handle), Result::Ok);
        EXPECT_EQ(handle->Claim(0), Result::Ok);
        return handle;
    }

    usbfs::VirtualCameras m_Cameras{"1"};
    std::unique_ptr<usb::Backend> m_Backend;
};

TEST_F(VirtualCameraTest, KeepsItsAssociationAndItsDeviceInfo) {
    std::vector<usb::DeviceEntry> devices;
    ASSERT_EQ(m_Backend->Enumerate(devices), Result::Ok);
    ASSERT_EQ(devices.size(), 1u);
    ASSERT_EQ(devices[0].configurations.size(), 1u);
    const Bytes& bytes = devices[0].configurations[0];
    for (const Bytes& part : {Bytes{0x08, 0x0B, 0x00, 0x03, 0xEF, 0x05, 0x00}, Bytes{0x14, 0x24, 0x01}})
        EXPECT_NE(std::search(bytes.begin(), bytes.end(), part.begin(), part.end()), bytes.end());
}

TEST_F(VirtualCameraTest, AnswersACommand) {
    const auto handle = OpenAndClaim();
    // Read 4 bytes at address 0, where the version of the control protocol stands.
    Bytes command = {0x55, 0x33, 0x56, 0x43, 0x00, 0x40, 0x00, 0x08, 0x0C, 0x00, 0x07, 0x00,
                     0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x04, 0x00};
    std::size_t actual = 0;
    ASSERT_EQ(handle->Bulk(virtualcam::kControlOut, command.data(), command.size(), actual, 10000), Result::Ok);
    Bytes answer(1024);
    ASSERT_EQ(handle->Bulk(virtualcam::kControlIn, answer.data(), answer.size(), actual, 10000), Result::Ok);
    answer.resize(actual);
    EXPECT_THAT(answer, ElementsAre(0x55, 0x33, 0x56, 0x43, 0x00, 0x00, 0x01, 0x08, 0x04, 0x00, 0x07, 0x00, testing::_,
                                    testing::_, 0x01, 0x00));
}

TEST_F(VirtualCameraTest, HasItsTransfersCounted) {
    const auto handle = OpenAndClaim();
    const usbfs::IoctlCounts before = usbfs::CountIoctls();
    Bytes command = {0x55, 0x33, 0x56, 0x43, 0x00, 0x40, 0x00, 0x08, 0x0C, 0x00, 0x07, 0x00,
                     0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x04, 0x00};
    std::size_t actual = 0;
    ASSERT_EQ(handle->Bulk(virtualcam::kControlOut, command.data(), command.size(), actual, 10000), Result::Ok);
    EXPECT_EQ(usbfs::CountIoctls().submits, before.submits + 1);
    EXPECT_EQ(usbfs::CountIoctls().reaps, before.reaps + 1);
    EXPECT_EQ(handle->ClearHalt(virtualcam::kControlOut), Result::Ok);
    EXPECT_EQ(usbfs::CountIoctls().others, before.others + 1);
}

TEST_F(VirtualCameraTest, StreamsBlocksWithoutAGap) {
    constexpr std::size_t kBlocks = 5, kPayloads = 20, kPerBlock = kPayloads + 2, kPayload = 65536;
    const auto handle = OpenAndClaim();
    ASSERT_EQ(handle->Claim(2), Result::Ok);
    const auto write = [&](std::uint64_t address, std::uint32_t value) {
        Bytes bytes;
        virtualcam::Append(bytes, value);
        EXPECT_EQ(m_Cameras[0].WriteRegister(address, bytes.data(), bytes.size()), virtualcam::Status::Success);
    };
    // 1280 x 1024 bytes in 20 transfers of 64 KiB; leader and trailer of at most 1 KiB.
    const std::uint32_t sizes[] = {1024, kPayload, kPayloads, 0, 0, 1024};
    for (std::uint64_t i = 0; i < 6; ++i)
        write(0x20018 + 4 * i, sizes[i]);
    write(0x20004, 1); // stream enable
    Transfers transfers(*handle, virtualcam::kStreamIn, kBlocks * kPerBlock, kPayload);
    for (std::size_t i = 0; i < transfers.Count(); ++i)
        if (i % kPerBlock == 0 || i % kPerBlock == kPerBlock - 1) transfers[i].length = 1024;
    transfers.SubmitAll();
    write(0x102004, 1); // acquisition start
    ASSERT_TRUE(transfers.PumpUntilCompleted(transfers.Count()));
    EXPECT_TRUE(std::is_sorted(transfers.Order().begin(), transfers.Order().end()));
    for (std::size_t block = 0; block < kBlocks; ++block) {
        const std::size_t first = block * kPerBlock;
        EXPECT_EQ(std::string(transfers.Buffer(first).begin(), transfers.Buffer(first).begin() + 4), "U3VL");
        EXPECT_EQ(transfers.Buffer(first)[8], block);
        for (std::size_t i = 1; i <= kPayloads; ++i)
            EXPECT_EQ(transfers[first + i].actualLength, kPayload);
        const auto& trailer = transfers.Buffer(first + kPerBlock - 1);
        EXPECT_EQ(std::string(trailer.begin(), trailer.begin() + 4), "U3VT");
        EXPECT_EQ(trailer[8], block);
    }
    write(0x20004, 0);
}

TEST(VirtualCameraOfTwoSensors, StreamsFromBothAtOnce) {
    constexpr std::size_t kBlocks = 5, kPayload = 65536;
    usbfs::VirtualCameras cameras(
        R"({"cameras": [{"streams": 2, "sensorWidth": 256, "sensorHeight": 256, "frameRateEnable": false}]})");
    std::string reason;
    const auto backend = usb::CreateLibusbBackend(reason);
    ASSERT_NE(backend, nullptr) << reason;
    std::unique_ptr<usb::Handle> handle;
    ASSERT_EQ(backend->Open(cameras.Name(0), handle), Result::Ok);
    ASSERT_EQ(handle->Claim(2), Result::Ok);
    ASSERT_EQ(handle->Claim(3), Result::Ok);
    const auto write = [&](std::uint64_t address, std::uint32_t value) {
        Bytes bytes;
        virtualcam::Append(bytes, value);
        EXPECT_EQ(cameras[0].WriteRegister(address, bytes.data(), bytes.size()), virtualcam::Status::Success);
    };
    const std::uint32_t sizes[] = {1024, kPayload, 1, 0, 0, 1024};
    for (const std::uint64_t base : {0x20000u, 0x20030u}) {
        for (std::uint64_t i = 0; i < 6; ++i)
            write(base + 0x18 + 4 * i, sizes[i]);
        write(base + 0x04, 1); // stream enable
    }
    Transfers first(*handle, 0x83, 3 * kBlocks, kPayload), second(*handle, 0x85, 3 * kBlocks, kPayload);
    for (Transfers* const transfers : {&first, &second}) {
        for (std::size_t i = 0; i < transfers->Count(); ++i)
            if (i % 3 != 1) (*transfers)[i].length = 1024;
        transfers->SubmitAll();
    }
    write(0x102004, 1); // acquisition start
    ASSERT_TRUE(first.PumpUntilCompleted(first.Count()));
    ASSERT_TRUE(second.PumpUntilCompleted(second.Count()));
    for (std::size_t block = 0; block < kBlocks; ++block) {
        EXPECT_EQ(first.Buffer(3 * block)[8], block);
        EXPECT_EQ(second.Buffer(3 * block)[8], block);
        EXPECT_EQ(second[3 * block + 1].actualLength, kPayload);
        EXPECT_NE(first.Buffer(3 * block + 1), second.Buffer(3 * block + 1));
    }
}

TEST_F(VirtualCameraTest, LeavesAndComesBackOnItsOwn) {
    std::mutex lock;
    std::condition_variable changed;
    std::vector<usb::HotplugEvent> events;
    const auto registration = m_Backend->RegisterHotplug([&](usb::HotplugEvent event, const std::string&) {
        const std::lock_guard<std::mutex> guard(lock);
        events.push_back(event);
        changed.notify_all();
    });
    m_Cameras[0].Unplug();
    m_Cameras[0].Plug();
    {
        std::unique_lock<std::mutex> guard(lock);
        changed.wait_for(guard, std::chrono::seconds(30), [&] { return events.size() == 2; });
        EXPECT_THAT(events, ElementsAre(usb::HotplugEvent::Left, usb::HotplugEvent::Arrived));
    }
    m_Backend->DeregisterHotplug(registration);
    EXPECT_NE(OpenAndClaim(), nullptr);
}

TEST_F(VirtualCameraTest, RefusesOpensAndClaimsAsItsScriptSays) {
    virtualcam::FaultScript faults;
    faults.refuseOpens = 1;
    faults.refuseClaims = 1;
    m_Cameras[0].SetFaults(faults);
    std::unique_ptr<usb::Handle> handle;
    EXPECT_EQ(m_Backend->Open(m_Cameras.Name(0), handle), Result::Access);
    ASSERT_EQ(m_Backend->Open(m_Cameras.Name(0), handle), Result::Ok);
    EXPECT_EQ(handle->Claim(0), Result::Busy);
    EXPECT_EQ(handle->Claim(0), Result::Ok);
}

TEST(VirtualCameras, ComeLaterIfTheyAreNotPluggedAtFirst) {
    virtualcam::BackendSettings settings;
    settings.cameras.push_back(virtualcam::NumberedCamera(0));
    settings.cameras[0].plugged = false;
    usbfs::VirtualCameras cameras(settings);
    EXPECT_EQ(cameras.Name(0), "2-1");
    EXPECT_EQ(usbfs::Bus::Instance().FindPort("2-1"), nullptr);
}

TEST(VirtualCameras, BringTheirMemoryLimit) {
    virtualcam::BackendSettings settings;
    settings.transferMemoryLimit = 16u << 20;
    const usbfs::VirtualCameras cameras(settings);
    std::string reason;
    const auto backend = usb::CreateLibusbBackend(reason);
    ASSERT_NE(backend, nullptr) << reason;
    EXPECT_EQ(backend->TransferMemoryLimit(), 16u << 20);
}

} // namespace
