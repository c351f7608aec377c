// A camera with several streams: an application gets the first one, and nothing that happens on the others disturbs it.
#include "integration/support/GrabRun.h"
#include "integration/support/VirtualBus.h"

#include <gtest/gtest.h>

namespace {

using namespace integration;

constexpr const char* kTwoSensors = R"([{"streams": 2, "frameRateEnable": false}])";

TEST(CameraOfTwoSensors, StreamsFromItsFirstOne) {
    VirtualBus bus(kTwoSensors);
    auto camera = bus.Open();
    EXPECT_EQ(camera->GetNumStreamGrabberChannels(), 1u);
    EXPECT_EQ(camera->GetStreamGrabber(1), nullptr);
    for (int round = 0; round < 2; ++round) {
        GrabRun run(*camera);
        run.Start();
        std::uint64_t id = 0;
        for (const Frame& frame : run.Next(10)) {
            ASSERT_TRUE(frame.result.Succeeded()) << frame.result.GetErrorDescription().c_str();
            EXPECT_EQ(frame.result.GetBlockID(), id++);
        }
        run.Stop();
    }
}

TEST(CameraOfTwoSensors, IsGrabbedFromDespiteFaultsOfTheOther) {
    VirtualBus bus(R"([{"streams": 2, "frameRateEnable": false,
                        "faults": {"stream": [{"fault": "LostTrailer", "count": 0, "stream": 1}]}}])");
    auto camera = bus.Open();
    GrabRun run(*camera);
    run.Start();
    for (const Frame& frame : run.Next(10))
        ASSERT_TRUE(frame.result.Succeeded()) << frame.result.GetErrorDescription().c_str();
    run.Stop();
}

/// Programs the second stream, and enables it, behind the library's back.
void EnableSecondStream(Tavix::ITavixDevice& camera) {
    GenApi::CPortPtr port(camera.GetNodeMap()->GetNode("Device"));
    const std::uint32_t sizes[] = {1024, 65536, 20, 0, 0, 1024};
    for (std::int64_t i = 0; i < 6; ++i)
        port->Write(&sizes[i], 0x20048 + 4 * i, 4);
    const std::uint32_t on = 1;
    port->Write(&on, 0x20034, 4);
}

TEST(CameraOfTwoSensors, LosesNothingByAStreamThatNobodyServes) {
    VirtualBus bus(R"([{"streams": 2, "frameRate": 200}])");
    auto camera = bus.Open();
    EnableSecondStream(*camera);
    GrabRun run(*camera);
    run.Start();
    for (const Frame& frame : run.Next(30))
        ASSERT_TRUE(frame.result.Succeeded()) << frame.result.GetErrorDescription().c_str();
    run.Stop();
}

TEST(CameraOfTwoSensors, IsTakenOverFromAProgramThatLeftItsSecondStreamEnabled) {
    VirtualBus bus(kTwoSensors);
    auto camera = bus.Open();
    EnableSecondStream(*camera);
    camera->Close();
    camera->Open();
    std::uint32_t enabled = 1;
    GenApi::CPortPtr(camera->GetNodeMap()->GetNode("Device"))->Read(&enabled, 0x20034, 4);
    EXPECT_EQ(enabled, 0u);
    Set(camera->GetNodeMap(), "Width", "640");
    GrabRun run(*camera);
    run.Start();
    for (const Frame& frame : run.Next(10))
        ASSERT_TRUE(frame.result.Succeeded()) << frame.result.GetErrorDescription().c_str();
    run.Stop();
}

} // namespace
