// Images from the virtual camera through the factory and the shared library.

#include "integration/support/GrabRun.h"
#include "integration/support/VirtualBus.h"

#include <gtest/gtest.h>

#include <set>

namespace {

using namespace integration;

constexpr const char* kFast = R"([{"frameRateEnable": false}])";

TEST(Grab, DeliversFramesInOrderWithTheirGeometry) {
    VirtualBus bus(kFast);
    auto camera = bus.Open();
    Set(camera->GetNodeMap(), "Width", "640");
    Set(camera->GetNodeMap(), "Height", "480");
    Set(camera->GetNodeMap(), "PixelFormat", "Mono8");
    GrabRun run(*camera);
    run.Start();
    std::uint64_t expected = 0;
    for (const Frame& frame : run.Next(50)) {
        ASSERT_TRUE(frame.result.Succeeded()) << frame.result.GetErrorDescription().c_str();
        EXPECT_EQ(frame.result.GetBlockID(), expected++);
        EXPECT_EQ(frame.result.GetSizeX(), 640);
        EXPECT_EQ(frame.result.GetSizeY(), 480);
        EXPECT_EQ(frame.result.GetPixelType(), 0x01080001);
        EXPECT_EQ(frame.result.GetPayloadType(), Tavix::PayloadType_Image);
        EXPECT_EQ(frame.result.GetPayloadSize64(), 640u * 480u);
    }
    EXPECT_EQ(expected, 50u);
    run.Stop();
}

TEST(Grab, ShowsAMovingPicture) {
    VirtualBus bus(kFast);
    auto camera = bus.Open();
    GrabRun run(*camera);
    run.Start();
    std::set<std::vector<std::uint8_t>> pictures;
    for (Frame& frame : run.Next(10))
        pictures.insert(std::move(frame.bytes));
    EXPECT_EQ(pictures.size(), 10u);
    run.Stop();
}

class ChosenFormat : public testing::TestWithParam<std::pair<const char*, int>> {};

TEST_P(ChosenFormat, FillsWidthTimesHeightTimesItsBits) {
    VirtualBus bus(kFast);
    auto camera = bus.Open();
    Set(camera->GetNodeMap(), "Width", "320");
    Set(camera->GetNodeMap(), "Height", "200");
    Set(camera->GetNodeMap(), "PixelFormat", GetParam().first);
    GrabRun run(*camera);
    run.Start();
    const Frame frame = run.Next();
    ASSERT_TRUE(frame.result.Succeeded());
    EXPECT_EQ(frame.result.GetPayloadSize64(), 320u * 200u * static_cast<unsigned>(GetParam().second) / 8);
    run.Stop();
}

INSTANTIATE_TEST_SUITE_P(All, ChosenFormat,
                         testing::Values(std::make_pair("Mono8", 8), std::make_pair("Mono12", 16),
                                         std::make_pair("BayerRG8", 8), std::make_pair("RGB8", 24),
                                         std::make_pair("YCbCr422_8", 16)));

class TransferSize : public testing::TestWithParam<const char*> {};

TEST_P(TransferSize, ChangesNothingThatTheApplicationSees) {
    VirtualBus bus(kFast);
    auto camera = bus.Open();
    Set(camera->GetNodeMap(), "Width", "1000");
    Set(camera->GetNodeMap(), "Height", "702");
    Set(camera->GetStreamGrabber(0)->GetNodeMap(), "MaxTransferSize", GetParam());
    GrabRun run(*camera);
    run.Start();
    for (const Frame& frame : run.Next(12)) {
        ASSERT_TRUE(frame.result.Succeeded()) << frame.result.GetErrorDescription().c_str();
        EXPECT_EQ(frame.result.GetPayloadSize64(), 702000u);
    }
    run.Stop();
}

INSTANTIATE_TEST_SUITE_P(All, TransferSize, testing::Values("65536", "262144", "1048576"));

TEST(Grab, StartsAgainAndAgain) {
    VirtualBus bus(kFast);
    auto camera = bus.Open();
    for (int round = 0; round < 10; ++round) {
        GrabRun run(*camera);
        run.Start();
        for (const Frame& frame : run.Next(5))
            ASSERT_TRUE(frame.result.Succeeded()) << "round " << round;
        run.Stop();
    }
}

TEST(Grab, LocksTheTransportParametersWhileItRuns) {
    VirtualBus bus(kFast);
    auto camera = bus.Open();
    EXPECT_EQ(Integer(camera->GetNodeMap(), "TLParamsLocked"), 0);
    {
        GrabRun run(*camera);
        EXPECT_EQ(Integer(camera->GetNodeMap(), "TLParamsLocked"), 1);
        EXPECT_FALSE(GenApi::IsWritable(camera->GetNodeMap()->GetNode("Width")));
        EXPECT_FALSE(GenApi::IsWritable(run.Grabber().GetNodeMap()->GetNode("MaxNumBuffer")));
    }
    EXPECT_EQ(Integer(camera->GetNodeMap(), "TLParamsLocked"), 0);
    EXPECT_TRUE(GenApi::IsWritable(camera->GetNodeMap()->GetNode("Width")));
}

TEST(Grab, GivesEveryBufferBackExactlyOnceWhenCancelled) {
    VirtualBus bus(R"([{}])"); // no acquisition is started, so nothing arrives
    auto camera = bus.Open();
    GrabRun run(*camera, 8);
    run.Grabber().CancelGrab();
    std::set<void*> seen;
    for (const auto& result : run.Drain()) {
        EXPECT_EQ(result.Status(), Tavix::Canceled);
        EXPECT_EQ(result.GetErrorCode(), 0u);
        EXPECT_TRUE(seen.insert(result.Buffer()).second);
    }
    EXPECT_EQ(seen.size(), 8u);
}

TEST(Grab, GoesOnWhenBuffersWereShortForAWhile) {
    VirtualBus bus(kFast);
    auto camera = bus.Open();
    GrabRun run(*camera, 3);
    run.Start();
    std::vector<Frame> kept;
    for (int i = 0; i < 3; ++i)
        kept.push_back(run.Next(GrabRun::Then::Keep));
    for (const Frame& frame : kept) {
        ASSERT_TRUE(frame.result.Succeeded());
        run.Grabber().QueueBuffer(frame.result.Handle(), frame.result.Context());
    }
    for (const Frame& frame : run.Next(10))
        ASSERT_TRUE(frame.result.Succeeded()) << frame.result.GetErrorDescription().c_str();
    run.Stop();
}

TEST(Grab, TakesFeatureAccessBesideTheStream) {
    VirtualBus bus(kFast);
    auto camera = bus.Open();
    GrabRun run(*camera);
    run.Start();
    for (int i = 0; i < 30; ++i) {
        Set(camera->GetNodeMap(), "ExposureTime", i % 2 ? "2000" : "3000");
        ASSERT_TRUE(run.Next().result.Succeeded());
    }
    run.Stop();
}

TEST(Grab, FromTwoCamerasAtOnce) {
    VirtualBus bus(R"([{"serial": "1", "guid": "120900000001", "frameRateEnable": false},
                       {"serial": "2", "guid": "120900000002", "frameRateEnable": false}])");
    auto first = bus.Open(0), second = bus.Open(1);
    GrabRun one(*first), two(*second);
    one.Start();
    two.Start();
    for (int i = 0; i < 20; ++i) {
        ASSERT_TRUE(one.Next().result.Succeeded());
        ASSERT_TRUE(two.Next().result.Succeeded());
    }
    one.Stop();
    two.Stop();
}

TEST(Grab, OfASlowConsumerLosesWholeFramesAndCountsThem) {
    VirtualBus bus(R"([{"frameRate": 200}])");
    auto camera = bus.Open();
    Set(camera->GetNodeMap(), "Width", "640");
    Set(camera->GetNodeMap(), "Height", "480");
    GrabRun run(*camera, /*buffers=*/2);
    run.Start();
    std::vector<Frame> kept;
    for (int i = 0; i < 2; ++i)
        kept.push_back(run.Next(GrabRun::Then::Keep));
    EXPECT_FALSE(run.Grabber().GetWaitObject().Wait(150)) << "there is no buffer that could come";
    for (const Frame& frame : kept)
        run.Grabber().QueueBuffer(frame.result.Handle(), frame.result.Context());
    std::uint64_t last = kept.back().result.GetBlockID(), missed = 0;
    for (const Frame& frame : run.Next(10)) {
        ASSERT_TRUE(frame.result.Succeeded()) << frame.result.GetErrorDescription().c_str();
        ASSERT_GT(frame.result.GetBlockID(), last);
        missed += frame.result.GetBlockID() - last - 1;
        last = frame.result.GetBlockID();
    }
    EXPECT_GE(missed, 10u) << "of some 30 in that time, less what the camera keeps";
    run.Stop();
    GenApi::INodeMap* params = run.Grabber().GetNodeMap();
    params->InvalidateNodes();
    EXPECT_EQ(Integer(params, "Statistic_Failed_Buffer_Count"), 0);
    EXPECT_GE(Integer(params, "Statistic_Missed_Frame_Count"), static_cast<std::int64_t>(missed));
}

TEST(Grab, CountsWhatItDelivered) {
    VirtualBus bus(kFast);
    auto camera = bus.Open();
    GrabRun run(*camera);
    run.Start();
    run.Next(20);
    run.Stop();
    GenApi::INodeMap* params = run.Grabber().GetNodeMap();
    params->InvalidateNodes();
    EXPECT_GE(Integer(params, "Statistic_Total_Buffer_Count"), 20);
    EXPECT_EQ(Integer(params, "Statistic_Failed_Buffer_Count"), 0);
    EXPECT_EQ(Integer(params, "Statistic_Missed_Frame_Count"), 0);
    EXPECT_EQ(Integer(params, "Statistic_Resynchronization_Count"), 0);
    EXPECT_GE(Integer(params, "Statistic_Last_Block_Id"), 19);
}

TEST(Grab, OnSoftwareTrigger) {
    VirtualBus bus(kFast);
    auto camera = bus.Open();
    Set(camera->GetNodeMap(), "TriggerSelector", "FrameStart");
    Set(camera->GetNodeMap(), "TriggerMode", "On");
    Set(camera->GetNodeMap(), "TriggerSource", "Software");
    GrabRun run(*camera);
    run.Start();
    for (std::uint64_t i = 0; i < 5; ++i) {
        Tavix::GrabResult early;
        EXPECT_FALSE(run.Grabber().RetrieveResult(early));
        Execute(camera->GetNodeMap(), "TriggerSoftware");
        const Frame frame = run.Next();
        ASSERT_TRUE(frame.result.Succeeded());
        EXPECT_EQ(frame.result.GetBlockID(), i);
    }
    run.Stop();
}

TEST(Grab, VerifiesChunkDataOfEveryFrame) {
    VirtualBus bus(kFast);
    auto camera = bus.Open();
    Set(camera->GetNodeMap(), "ChunkModeActive", "1");
    Set(camera->GetNodeMap(), "ChunkSelector", "PayloadCRC16");
    Set(camera->GetNodeMap(), "ChunkEnable", "1");
    GrabRun run(*camera);
    Tavix::IChunkParser* parser = camera->CreateChunkParser();
    run.Start();
    for (Frame& frame : run.Next(10)) {
        ASSERT_TRUE(frame.result.Succeeded());
        EXPECT_EQ(frame.result.GetPayloadType(), Tavix::PayloadType_ChunkData);
        parser->AttachBuffer(frame.bytes.data(), static_cast<std::int64_t>(frame.result.GetPayloadSize64()));
        EXPECT_TRUE(parser->HasCRC());
        EXPECT_TRUE(parser->CheckCRC());
        frame.bytes[100] ^= 1;
        EXPECT_FALSE(parser->CheckCRC());
        parser->DetachBuffer();
    }
    run.Stop();
}

} // namespace
