// Each thing that can go wrong with a block, as an application sees it: what comes back for the damaged frame, and that
// good frames follow at once.
#include "integration/support/GrabRun.h"
#include "integration/support/VirtualBus.h"

#include <vexlo/Status.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

namespace {

using namespace integration;

constexpr unsigned int kImageBytes = 640 * 480;
constexpr unsigned int kDamagedFrame = 5;
constexpr unsigned int kGoodFrames = 40;

struct Damage {
    const char* name;
    const char* rule;     ///< without the frame's number
    vexlo::VxStatus seen; ///< code of the damaged frame; VX_OK when the application gets it as a good one
    const char* transferSize = "1048576";
    vexlo::VxStatus orSeen = seen; ///< instead, where it depends on how much had come when the damage was noticed
};

void PrintTo(const Damage& damage, std::ostream* out) {
    *out << damage.name;
}

class DamagedBlock : public testing::TestWithParam<Damage> {
protected:
    static std::string Camera(const Damage& damage) {
        return std::string(R"([{"frameRateEnable": false, "faults": {"stream": [{"frame": )") +
               std::to_string(kDamagedFrame) + ", " + damage.rule + "}]}}]";
    }
};

/// Frame 5 is damaged. It and at most one more frame may be lost, and the stream stays good from then on.
TEST_P(DamagedBlock, CostsAtMostOneFrameMore) {
    VirtualBus bus(Camera(GetParam()));
    auto camera = bus.Open();
    Set(camera->GetNodeMap(), "Width", "640");
    Set(camera->GetNodeMap(), "Height", "480");
    Set(camera->GetStreamGrabber(0)->GetNodeMap(), "MaxTransferSize", GetParam().transferSize);
    GrabRun run(*camera);
    run.Start();
    std::vector<vexlo::VxStatus> failures;
    std::uint64_t previous = 0, lost = 0;
    unsigned int good = 0, goodSinceFailure = 0;
    while (goodSinceFailure < kGoodFrames) {
        const Frame frame = run.Next();
        ASSERT_NE(frame.result.Status(), Tavix::_UndefinedGrabStatus)
            << "the stream is dead after " << good << " frames";
        if (!frame.result.Succeeded()) {
            failures.push_back(frame.result.GetErrorCode());
            EXPECT_FALSE(frame.result.GetErrorDescription().empty());
            goodSinceFailure = 0;
            continue;
        }
        // After a restart the camera counts from 0 again.
        const std::uint64_t id = frame.result.GetBlockID();
        if (good != 0 && id > previous) lost += id - previous - 1;
        previous = id;
        ++good;
        ++goodSinceFailure;
    }
    if (GetParam().seen == vexlo::VX_OK) {
        EXPECT_TRUE(failures.empty()) << std::hex << failures.front();
    } else {
        ASSERT_FALSE(failures.empty()) << "nobody told the application";
        EXPECT_THAT(failures.front(), testing::AnyOf(GetParam().seen, GetParam().orSeen))
            << std::hex << failures.front();
    }
    EXPECT_LE(failures.size(), 2u);
    EXPECT_LE(lost, 2u) << "blocks that are not there, the damaged one included";
    run.Stop();
}

using vexlo::VX_E_BAD_LEADER;
using vexlo::VX_E_BAD_TRAILER;
using vexlo::VX_E_DATA_DISCARDED;
using vexlo::VX_E_DATA_OVERRUN;
using vexlo::VX_E_INCOMPLETE;
using vexlo::VX_E_RESYNCHRONIZED;
using vexlo::VX_E_USB_IO;
using vexlo::VX_E_USB_STALL;
using vexlo::VX_OK;

INSTANTIATE_TEST_SUITE_P(
    Each, DamagedBlock,
    testing::Values(
        Damage{"LostLeader", R"("fault": "LostLeader")", VX_E_BAD_LEADER},
        Damage{"LostTrailer", R"("fault": "LostTrailer")", VX_E_BAD_TRAILER},
        // A payload that was there already is told as one without leader, and then the leader alone.
        Damage{"LeaderAndTrailerSwapped", R"("fault": "Swapped")", VX_E_BAD_TRAILER, "1048576", VX_E_BAD_LEADER},
        Damage{"WrongMagicOfTheLeader", R"("fault": "LeaderMagic")", VX_E_BAD_LEADER},
        Damage{"WrongMagicOfTheTrailer", R"("fault": "TrailerMagic")", VX_E_BAD_TRAILER},
        Damage{"EmptyPacketForTheLeader", R"("fault": "EmptyLeader")", VX_E_BAD_LEADER},
        Damage{"EmptyPacketForTheTrailer", R"("fault": "EmptyTrailer")", VX_E_BAD_TRAILER},
        Damage{"LongerLeader", R"("fault": "LongLeader", "value": 12)", VX_OK},
        Damage{"UnknownPayloadType", R"("fault": "PayloadType", "value": 9029)", VX_OK},
        Damage{"GapInTheBlockIds", R"("fault": "IdGap", "value": 2)", VX_OK},
        Damage{"IdsOfLeaderAndTrailerDiffer", R"("fault": "IdMismatch")", VX_E_BAD_TRAILER},
        Damage{"DataDiscarded", R"("fault": "Discarded", "value": 50000)", VX_E_DATA_DISCARDED},
        Damage{"DataOverrun", R"("fault": "Overrun", "value": 10)", VX_E_DATA_OVERRUN},
        Damage{"NoByteValid", R"("fault": "ZeroValidSize")", VX_OK},
        Damage{"FewerLinesThanAnnounced", R"("fault": "LessLines", "value": 100)", VX_OK},
        Damage{"FewerLines", R"("fault": "ShortHeight", "value": 100)", VX_OK},
        Damage{"LastTransferPadded", R"("fault": "Padding")", VX_OK, "65536"},
        // Where further transfers follow, the payload is whole all the same, only cut otherwise.
        Damage{"PacketTooMany", R"("fault": "Overflow")", VX_OK, "65536"},
        Damage{"PacketTooManyInTheOnlyTransfer", R"("fault": "Overflow")", VX_E_BAD_TRAILER},
        Damage{"StallAtTheStart", R"("fault": "Stall", "value": 0)", VX_E_USB_STALL},
        Damage{"StallInTheMiddle", R"("fault": "Stall", "value": 150000)", VX_E_USB_STALL, "65536"},
        Damage{"LineError", R"("fault": "LineError", "value": 150000)", VX_E_USB_IO, "65536"},
        Damage{"BytesOfAnEarlierBlock", R"("fault": "LeftOver", "value": 600)", VX_E_BAD_LEADER},
        Damage{"ALotOfAnEarlierBlock", R"("fault": "LeftOver", "value": 200000)", VX_E_BAD_LEADER, "65536"}),
    [](const auto& instance) { return instance.param.name; });

// The same in blocks of five payload transfers, where more of them are queued behind the damage.
INSTANTIATE_TEST_SUITE_P(
    EachInSmallTransfers, DamagedBlock,
    testing::Values(Damage{"LostLeader", R"("fault": "LostLeader")", VX_E_BAD_LEADER, "65536"},
                    Damage{"LostTrailer", R"("fault": "LostTrailer")", VX_E_BAD_TRAILER, "65536"},
                    Damage{"LeaderAndTrailerSwapped", R"("fault": "Swapped")", VX_E_BAD_TRAILER, "65536",
                           VX_E_BAD_LEADER},
                    Damage{"WrongMagicOfTheLeader", R"("fault": "LeaderMagic")", VX_E_BAD_LEADER, "65536"},
                    Damage{"WrongMagicOfTheTrailer", R"("fault": "TrailerMagic")", VX_E_BAD_TRAILER, "65536"},
                    Damage{"EmptyPacketForTheLeader", R"("fault": "EmptyLeader")", VX_E_BAD_LEADER, "65536"},
                    Damage{"EmptyPacketForTheTrailer", R"("fault": "EmptyTrailer")", VX_E_BAD_TRAILER, "65536"},
                    Damage{"IdsOfLeaderAndTrailerDiffer", R"("fault": "IdMismatch")", VX_E_BAD_TRAILER, "65536"},
                    Damage{"DataDiscarded", R"("fault": "Discarded", "value": 50000)", VX_E_DATA_DISCARDED, "65536"},
                    Damage{"DataOverrun", R"("fault": "Overrun", "value": 10)", VX_E_DATA_OVERRUN, "65536"},
                    Damage{"FewerLines", R"("fault": "ShortHeight", "value": 100)", VX_OK, "65536"},
                    Damage{"StallAtTheStart", R"("fault": "Stall", "value": 0)", VX_E_USB_STALL, "65536"},
                    Damage{"LineErrorAtTheStart", R"("fault": "LineError", "value": 0)", VX_E_USB_IO, "65536"},
                    Damage{"BytesOfAnEarlierBlock", R"("fault": "LeftOver", "value": 600)", VX_E_BAD_LEADER, "65536"}),
    [](const auto& instance) { return instance.param.name; });

INSTANTIATE_TEST_SUITE_P(
    EachInOneTransfer, DamagedBlock,
    testing::Values(Damage{"StallInTheMiddle", R"("fault": "Stall", "value": 150000)", VX_E_USB_STALL},
                    Damage{"LineErrorAtTheStart", R"("fault": "LineError", "value": 0)", VX_E_USB_IO},
                    Damage{"LineError", R"("fault": "LineError", "value": 150000)", VX_E_USB_IO},
                    Damage{"LastTransferPadded", R"("fault": "Padding")", VX_OK},
                    Damage{"ALotOfAnEarlierBlock", R"("fault": "LeftOver", "value": 200000)", VX_E_BAD_LEADER}),
    [](const auto& instance) { return instance.param.name; });

// Around the borders of transfers of 64 KiB.
INSTANTIATE_TEST_SUITE_P(
    ShortAtABorder, DamagedBlock,
    testing::Values(Damage{"Nothing", R"("fault": "Truncated", "value": 0)", VX_E_INCOMPLETE, "65536"},
                    Damage{"OneByte", R"("fault": "Truncated", "value": 1)", VX_E_INCOMPLETE, "65536"},
                    Damage{"OnePacket", R"("fault": "Truncated", "value": 1024)", VX_E_INCOMPLETE, "65536"},
                    Damage{"BeforeTheFirst", R"("fault": "Truncated", "value": 65535)", VX_E_INCOMPLETE, "65536"},
                    Damage{"AtTheFirst", R"("fault": "Truncated", "value": 65536)", VX_E_INCOMPLETE, "65536"},
                    Damage{"BehindTheFirst", R"("fault": "Truncated", "value": 65537)", VX_E_INCOMPLETE, "65536"},
                    Damage{"AtTheSecond", R"("fault": "Truncated", "value": 131072)", VX_E_INCOMPLETE, "65536"},
                    Damage{"AtTheLast", R"("fault": "Truncated", "value": 262144)", VX_E_INCOMPLETE, "65536"},
                    Damage{"OneByteMissing", R"("fault": "Truncated", "value": 307199)", VX_E_INCOMPLETE, "65536"}),
    [](const auto& instance) { return instance.param.name; });

TEST(LinkThatNeverHeals, EndsTheGrabAfterEightRestarts) {
    VirtualBus bus(R"([{"frameRateEnable": false,
        "faults": {"stream": [{"fault": "LineError", "value": 1000, "count": 0}]}}])");
    auto camera = bus.Open();
    GrabRun run(*camera, 4);
    run.Start();
    unsigned int failed = 0;
    std::set<void*> back;
    while (back.size() < 4) {
        const Frame frame = run.Next(GrabRun::Then::Keep);
        ASSERT_EQ(frame.result.Status(), Tavix::Failed) << failed << " came back, and " << back.size() << " for good";
        EXPECT_EQ(frame.result.GetErrorCode(), vexlo::VX_E_USB_IO);
        ++failed;
        const auto requeue = [&] { run.Grabber().QueueBuffer(frame.result.Handle(), frame.result.Context()); };
        if (!ErrorOf(requeue).empty()) back.insert(frame.result.Buffer());
    }
    // The first, one for each restart that had begun a frame, and what was queued at the end.
    EXPECT_GE(failed, 8u);
    EXPECT_LE(failed, 9u + 4u);
    EXPECT_EQ(ErrorOf([&] { run.Grabber().FinishGrab(); }), "");
}

class RestartedStream : public testing::TestWithParam<Damage> {};

/// Block ids begin anew after a restart and so cannot tell what it cost; the number of each exposure can.
TEST_P(RestartedStream, CostsAtMostOneExposureMore) {
    VirtualBus bus(std::string(R"([{"frameRateEnable": false, "faults": {"stream": [{"frame": 5, )") + GetParam().rule +
                   "}]}}]");
    auto camera = bus.Open();
    GenApi::INodeMap* const map = camera->GetNodeMap();
    Set(map, "Width", "640");
    Set(map, "Height", "480");
    Set(map, "ChunkModeActive", "1");
    Set(map, "ChunkSelector", "FrameID");
    Set(map, "ChunkEnable", "1");
    Set(camera->GetStreamGrabber(0)->GetNodeMap(), "MaxTransferSize", GetParam().transferSize);
    Tavix::IChunkParser* const parser = camera->CreateChunkParser();
    GrabRun run(*camera);
    run.Start();
    std::vector<std::int64_t> exposures;
    unsigned int failed = 0;
    while (exposures.size() < kGoodFrames) {
        const Frame frame = run.Next();
        ASSERT_NE(frame.result.Status(), Tavix::_UndefinedGrabStatus);
        if (!frame.result.Succeeded()) {
            ++failed;
            continue;
        }
        parser->AttachBuffer(frame.bytes.data(), static_cast<std::int64_t>(frame.result.GetPayloadSize64()));
        exposures.push_back(Integer(map, "ChunkFrameID"));
        parser->DetachBuffer();
    }
    run.Stop();
    camera->DestroyChunkParser(parser);
    EXPECT_GE(failed, 1u);
    EXPECT_EQ(exposures.front(), 0);
    const auto lost = static_cast<std::uint64_t>(exposures.back()) + 1 - exposures.size();
    EXPECT_LE(lost, 2u) << "exposures that are not there, the damaged one included";
}

INSTANTIATE_TEST_SUITE_P(
    Each, RestartedStream,
    testing::Values(Damage{"StallAtTheStart", R"("fault": "Stall", "value": 0)", VX_E_USB_STALL},
                    Damage{"StallInTheMiddle", R"("fault": "Stall", "value": 150000)", VX_E_USB_STALL, "65536"},
                    Damage{"LineErrorAtTheStart", R"("fault": "LineError", "value": 0)", VX_E_USB_IO, "65536"},
                    Damage{"LineErrorInTheMiddle", R"("fault": "LineError", "value": 150000)", VX_E_USB_IO}),
    [](const auto& instance) { return instance.param.name; });

/// A frame damaged in one way, and what the application gets for it.
Tavix::GrabResult ResultOf(const std::string& rule, const char* height = "480") {
    VirtualBus bus(R"([{"frameRateEnable": false, "faults": {"stream": [{"frame": 0, )" + rule + "}]}}]");
    auto camera = bus.Open();
    Set(camera->GetNodeMap(), "Width", "640");
    Set(camera->GetNodeMap(), "Height", height);
    GrabRun run(*camera);
    run.Start();
    return run.Next().result;
}

TEST(DamagedImage, TellsHowManyBytesArrivedBeforeItBroke) {
    const auto result = ResultOf(R"("fault": "Truncated", "value": 100000)");
    EXPECT_EQ(result.GetErrorCode(), VX_E_INCOMPLETE);
    EXPECT_EQ(result.GetPayloadSize64(), 100000u);
}

TEST(DamagedImage, OfADiscardingCameraTellsWhatIsUsable) {
    const auto result = ResultOf(R"("fault": "Discarded", "value": 50000)");
    EXPECT_EQ(result.GetErrorCode(), VX_E_DATA_DISCARDED);
    EXPECT_EQ(result.GetPayloadSize64(), 50000u);
}

TEST(ImageOfFewerLines, HasTheHeightOfItsTrailer) {
    for (const char* fault : {"LessLines", "ShortHeight"}) {
        const auto result = ResultOf(std::string("\"value\": 100, \"fault\": \"") + fault + "\"");
        ASSERT_TRUE(result.Succeeded()) << fault;
        EXPECT_EQ(result.GetSizeY(), 100) << fault;
        EXPECT_EQ(result.GetPayloadSize64(), 640u * 100u) << fault;
    }
}

TEST(ImageWithoutAValidByte, IsWhatArrived) {
    const auto result = ResultOf(R"("fault": "ZeroValidSize")");
    ASSERT_TRUE(result.Succeeded()) << result.GetErrorDescription().c_str();
    EXPECT_EQ(result.GetPayloadSize64(), kImageBytes);
}

TEST(PayloadOfUnknownType, IsDeliveredAsItCame) {
    const auto result = ResultOf(R"("fault": "PayloadType", "value": 9029)");
    ASSERT_TRUE(result.Succeeded());
    EXPECT_EQ(result.GetPayloadType(), Tavix::PayloadType_Undefined);
    EXPECT_EQ(result.GetPayloadSize64(), kImageBytes);
}

TEST(PaddedImage, HasItsOwnSize) {
    const auto result = ResultOf(R"("fault": "Padding")", /*height=*/"470"); // 293.75 packets
    ASSERT_TRUE(result.Succeeded()) << result.GetErrorDescription().c_str();
    EXPECT_EQ(result.GetPayloadSize64(), 640u * 470u);
}

TEST(GapInTheBlockIds, IsCountedAsMissedFrames) {
    VirtualBus bus(
        R"([{"frameRateEnable": false, "faults": {"stream": [{"fault": "IdGap", "frame": 3, "value": 7}]}}])");
    auto camera = bus.Open();
    GrabRun run(*camera);
    run.Start();
    for (const Frame& frame : run.Next(8))
        ASSERT_TRUE(frame.result.Succeeded());
    run.Stop();
    run.Grabber().GetNodeMap()->InvalidateNodes();
    EXPECT_EQ(Integer(run.Grabber().GetNodeMap(), "Statistic_Missed_Frame_Count"), 7);
}

TEST(LineErrorsInARow, EndInGoodFrames) {
    VirtualBus bus(R"([{"frameRateEnable": false,
                        "faults": {"stream": [{"fault": "LineError", "frame": 3, "count": 3, "value": 20000}]}}])");
    auto camera = bus.Open();
    GrabRun run(*camera);
    run.Start();
    unsigned int good = 0, failed = 0;
    while (good < 30) {
        const Frame frame = run.Next();
        ASSERT_NE(frame.result.Status(), Tavix::_UndefinedGrabStatus) << good << " good, " << failed << " failed";
        ++(frame.result.Succeeded() ? good : failed);
    }
    EXPECT_LE(failed, 6u);
    run.Stop();
}

} // namespace
