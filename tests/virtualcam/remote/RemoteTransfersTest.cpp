// What transfers of a host outside this process cost.

#include <gtest/gtest.h>

#include "virtualcam/remote/RemoteTransfers.h"
#include "virtualcam/support/DeviceClient.h"
#include "virtualcam/support/SmallCamera.h"
#include "virtualcam/support/StreamClient.h"

namespace virtualcam {
namespace {

using namespace test;

constexpr std::size_t kBudget = 1u << 20;

/// Keeps what has ended.
struct Host final : RemoteHost {
    struct Ended {
        std::uint64_t number;
        PipeStatus status;
        Bytes data;
    };
    std::vector<Ended> ended;
    std::size_t room = SIZE_MAX;

    void Finished(const RemoteTransfer& transfer, const RemoteOutcome& outcome) override {
        ended.push_back({transfer.number, outcome.status, {}});
        if (outcome.data) ended.back().data.assign(outcome.data, outcome.data + outcome.bytes);
    }
    bool HasRoom() override { return ended.size() < room; }
};

struct RemoteTransfersTest : testing::Test {
    Device device{Small()};
    DeviceClient client{device};
    StreamClient stream{client};
    Host host;
    RemoteTransfers transfers{device, host, kBudget};

    void SubmitIn(std::uint64_t number, std::uint8_t endpoint, std::size_t length) {
        RemoteTransfer transfer;
        transfer.number = number;
        transfer.endpoint = endpoint;
        transfer.length = length;
        transfers.Submit(std::move(transfer));
    }
};

/// Images of 204,800 bytes.
struct LargeRemoteTransfers : testing::Test {
    static CameraSettings Large() {
        CameraSettings settings = Small();
        settings.sensorWidth = 512;
        settings.sensorHeight = 400;
        return settings;
    }
    Device device{Large()};
    DeviceClient client{device};
    StreamClient stream{client};
    Host host;
    std::size_t budget = kBudget;

    void Stream(const std::vector<std::size_t>& lengths, std::uint32_t size, std::uint32_t final1) {
        RemoteTransfers transfers(device, host, budget);
        stream.Start(size, 1, final1);
        stream.StartAcquisition();
        for (const std::size_t length : lengths) {
            RemoteTransfer transfer;
            transfer.endpoint = 0x83;
            transfer.length = length;
            transfers.Submit(std::move(transfer));
        }
        transfers.ServeAll();
        EXPECT_LE(transfers.Held(), budget);
    }
};

TEST_F(RemoteTransfersTest, CostNothingByTheirLengthAlone) {
    for (unsigned endpoint = 0x81; endpoint <= 0x8F; ++endpoint)
        for (unsigned i = 0; i < 10; ++i)
            SubmitIn(i, static_cast<std::uint8_t>(endpoint), 64u << 20);
    EXPECT_LE(transfers.Held(), kBudget);
    EXPECT_EQ(transfers.Count(), 30u); // the others are of endpoints that are not there
}

TEST_F(RemoteTransfersTest, ArriveWholeWhateverPiecesTheyAreHeldIn) {
    constexpr std::uint32_t kPayload = 128 * 64;
    stream.Start(kPayload, 1);
    stream.StartAcquisition();
    for (const std::size_t length : {std::size_t{1024}, std::size_t{kPayload}, std::size_t{1024}})
        SubmitIn(length, 0x83, length);
    transfers.Serve(0x83);
    ASSERT_EQ(host.ended.size(), 3u);
    EXPECT_EQ(host.ended[0].data.size(), 52u);
    EXPECT_EQ(host.ended[1].data.size(), kPayload);
    EXPECT_EQ(host.ended[2].data.size(), 32u);
}

// The second one is longer than what the first one left, and neither is a number of whole packets.
TEST_F(LargeRemoteTransfers, MayHaveAnyLengthBehindEachOther) {
    Stream({1024, 100000, 104800, 1024}, /*size=*/100000, /*final1=*/104800);
    ASSERT_EQ(host.ended.size(), 4u);
    EXPECT_EQ(host.ended[1].data.size(), 100000u);
    EXPECT_EQ(host.ended[2].status, PipeStatus::Complete);
    EXPECT_EQ(host.ended[2].data.size(), 104800u);
}

TEST_F(LargeRemoteTransfers, EndWithoutMemoryBeyondTheBudget) {
    budget = 128u << 10;
    Stream({1024, 204800}, /*size=*/204800, /*final1=*/0);
    ASSERT_EQ(host.ended.size(), 2u);
    EXPECT_EQ(host.ended[0].status, PipeStatus::Complete);
    EXPECT_EQ(host.ended[1].status, PipeStatus::NoMemory);
}

TEST_F(RemoteTransfersTest, WaitWhileTheirHostHasNoRoom) {
    host.room = 1;
    stream.Start(128 * 64, 1);
    stream.StartAcquisition();
    for (const std::size_t length : {std::size_t{1024}, std::size_t{128 * 64}, std::size_t{1024}})
        SubmitIn(length, 0x83, length);
    transfers.Serve(0x83);
    EXPECT_EQ(host.ended.size(), 1u);
    host.room = 3;
    transfers.ServeAll();
    EXPECT_EQ(host.ended.size(), 3u);
}

} // namespace
} // namespace virtualcam
