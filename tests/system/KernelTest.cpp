// What an application sees of a camera behind a real kernel. Runs in a virtual machine that has one camera.

#include "KernelBus.h"
#include "MemoryHog.h"

#include "integration/support/GrabRun.h"
#include "integration/support/VirtualBus.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <set>

#include <sys/wait.h>

namespace {

using namespace systemtest;
using namespace integration;

void SetSize(Tavix::ITavixDevice& camera, const char* width, const char* height) {
    Set(camera.GetNodeMap(), "Width", width);
    Set(camera.GetNodeMap(), "Height", height);
}

void EnableChecksum(Tavix::ITavixDevice& camera) {
    Set(camera.GetNodeMap(), "ChunkModeActive", "1");
    Set(camera.GetNodeMap(), "ChunkSelector", "PayloadCRC16");
    Set(camera.GetNodeMap(), "ChunkEnable", "1");
}

// Grabs frames and checks each: its place in the order, its checksum. True when none is missing.
void ExpectGoodFrames(Tavix::ITavixDevice& camera, GrabRun& run, std::size_t count) {
    Tavix::IChunkParser* const parser = camera.CreateChunkParser();
    std::int64_t last = -1;
    std::size_t right = 0;
    for (Frame& frame : run.Next(count)) {
        ASSERT_TRUE(frame.result.Succeeded())
            << "after " << right << " frames: " << frame.result.GetErrorDescription().c_str();
        EXPECT_GT(static_cast<std::int64_t>(frame.result.GetBlockID()), last);
        last = static_cast<std::int64_t>(frame.result.GetBlockID());
        parser->AttachBuffer(frame.bytes.data(), static_cast<std::int64_t>(frame.result.GetPayloadSize64()));
        EXPECT_TRUE(parser->HasCRC());
        EXPECT_TRUE(parser->CheckCRC()) << "frame " << last;
        parser->DetachBuffer();
        ++right;
    }
    EXPECT_EQ(right, count);
    camera.DestroyChunkParser(parser);
}

TEST(Kernel, ListsTheCameraByItsStrings) {
    KernelBus bus;
    ASSERT_TRUE(Await([&bus] { return bus.Cameras().size() == 1; }));
    const Tavix::DeviceInfoList cameras = bus.Cameras();
    EXPECT_EQ(cameras[0].GetVendorName(), "Vandrel");
    EXPECT_EQ(cameras[0].GetModelName(), "VC-1300");
    EXPECT_EQ(cameras[0].GetSerialNumber(), "40000001");
}

TEST(Kernel, WritesAndReadsFeatures) {
    KernelBus bus;
    const auto camera = bus.Open();
    GenApi::INodeMap* const map = camera->GetNodeMap();
    SetSize(*camera, "320", "200");
    Set(map, "DeviceUserID", "in a guest");
    Set(map, "ExposureTime", "2500");
    map->InvalidateNodes();
    EXPECT_EQ(Integer(map, "Width"), 320);
    EXPECT_EQ(Integer(map, "PayloadSize"), 320 * 200);
    EXPECT_EQ(GenApi::CStringPtr(map->GetNode("DeviceUserID"))->GetValue(), "in a guest");
    EXPECT_DOUBLE_EQ(GenApi::CFloatPtr(map->GetNode("ExposureTime"))->GetValue(), 2500);
}

TEST(Kernel, StreamsFramesWithARightChecksum) {
    KernelBus bus;
    const auto camera = bus.Open();
    SetSize(*camera, "640", "480");
    EnableChecksum(*camera);
    GrabRun run(*camera);
    run.Start();
    ExpectGoodFrames(*camera, run, 60);
    run.Stop();
}

struct Transfers {
    const char* name;
    const char* size;
    unsigned int buffers;
};

void PrintTo(const Transfers& transfers, std::ostream* out) {
    *out << transfers.name;
}

class KernelTransfers : public testing::TestWithParam<Transfers> {};

// Frames of 3 MiB: with many buffers the queue would be several times what the kernel gives by default.
TEST_P(KernelTransfers, StreamsLargeFramesWithARightChecksum) {
    KernelBus bus;
    const auto camera = bus.Open();
    SetSize(*camera, "2048", "1536");
    Set(camera->GetNodeMap(), "AcquisitionFrameRate", "8");
    EnableChecksum(*camera);
    GenApi::INodeMap* const stream = camera->GetStreamGrabber(0)->GetNodeMap();
    camera->GetStreamGrabber(0)->Open();
    Set(stream, "MaxTransferSize", GetParam().size);
    Set(stream, "NumMaxQueuedUrbs", "64");
    camera->GetStreamGrabber(0)->Close();
    GrabRun run(*camera, GetParam().buffers);
    run.Start();
    ExpectGoodFrames(*camera, run, 12);
    run.Stop();
}

INSTANTIATE_TEST_SUITE_P(Each, KernelTransfers,
                         testing::Values(Transfers{"SmallTransfers", "65536", 4},
                                         Transfers{"LargeTransfersManyBuffers", "1048576", 16}),
                         [](const auto& instance) { return instance.param.name; });

TEST(Kernel, GoesOnWhenTransferMemoryIsShort) {
    KernelBus bus;
    const auto camera = bus.Open();
    SetSize(*camera, "2048", "1536");
    Set(camera->GetNodeMap(), "AcquisitionFrameRate", "8");
    EnableChecksum(*camera);
    {
        const MemoryHog hog(/*megabytesLeft=*/2);
        EXPECT_EQ(hog.Refusal(), LIBUSB_ERROR_NO_MEM);
        EXPECT_GE(hog.Held(), 4u);
        GrabRun run(*camera, 8);
        run.Start();
        ExpectGoodFrames(*camera, run, 10);
        run.Stop();
    }
    GrabRun run(*camera, 8);
    run.Start();
    ExpectGoodFrames(*camera, run, 5);
    run.Stop();
}

TEST(Kernel, GivesEveryBufferBackOnceWhenCancelled) {
    KernelBus bus;
    const auto camera = bus.Open();
    SetSize(*camera, "640", "480");
    for (std::size_t round = 0; round < 4; ++round) {
        GrabRun run(*camera, 6);
        run.Start();
        run.Next(3 * round);
        run.Grabber().CancelGrab();
        std::set<void*> seen;
        for (const Tavix::GrabResult& result : run.Drain())
            EXPECT_TRUE(seen.insert(result.Buffer()).second);
        EXPECT_EQ(seen.size(), 6u) << "round " << round;
        run.Stop();
    }
}

// Standard error of a run of the tool, and its exit status.
std::pair<std::string, int> RunTool(const std::string& arguments) {
    FILE* const pipe = popen((std::string(TAVIX_TOOL) + " " + arguments + " 2>&1 >/dev/null").c_str(), "r");
    std::string text;
    std::array<char, 256> bytes{};
    while (fgets(bytes.data(), bytes.size(), pipe))
        text += bytes.data();
    const int status = pclose(pipe);
    return {text, WIFEXITED(status) ? WEXITSTATUS(status) : -1};
}

TEST(Kernel, LetsNoSecondProgramOpenTheCamera) {
    KernelBus bus;
    {
        const auto camera = bus.Open();
        const auto [text, status] = RunTool("get Width");
        EXPECT_EQ(status, 1);
        EXPECT_NE(text.find("in use"), std::string::npos) << text;
    }
    const auto [text, status] = RunTool("get Width");
    EXPECT_EQ(status, 0) << text;
}

TEST(Kernel, TellsOfAnUnplugAndStreamsAgainAfterTheReturn) {
    KernelBus bus;
    {
        const auto camera = bus.Open();
        std::atomic<int> calls{0};
        auto callback = Tavix::MakeCallback<Tavix::ITavixDevice*>([&calls](Tavix::ITavixDevice*) { ++calls; });
        camera->RegisterRemovalCallback(callback);
        SetSize(*camera, "640", "480");
        GrabRun run(*camera, 6);
        run.Start();
        run.Next(5);
        TellServer("unplug 1");
        std::set<void*> kept;
        while (kept.size() < 6) {
            const Frame frame = run.Next(GrabRun::Then::Keep);
            ASSERT_NE(frame.result.Status(), Tavix::_UndefinedGrabStatus)
                << "only " << kept.size() << " buffers came back after the unplug";
            const auto requeue = [&] { run.Grabber().QueueBuffer(frame.result.Handle(), frame.result.Context()); };
            // A good one is queued again until the camera's absence forbids it.
            if (frame.result.Succeeded() && ErrorOf(requeue).empty()) continue;
            EXPECT_TRUE(kept.insert(frame.result.Buffer()).second);
        }
        EXPECT_TRUE(Await([&calls] { return calls > 0; }));
        EXPECT_EQ(calls, 1);
        EXPECT_TRUE(Await([&bus] { return bus.Cameras().empty(); }));
    }
    TellServer("plug 1");
    const auto camera = bus.Open();
    SetSize(*camera, "640", "480");
    EnableChecksum(*camera);
    GrabRun run(*camera);
    run.Start();
    ExpectGoodFrames(*camera, run, 10);
    run.Stop();
}

} // namespace
