// What an application sees of bad cameras and bad luck.

#include "integration/support/GrabRun.h"
#include "integration/support/VirtualBus.h"

#include "core/LogSink.h"

#include <vexlo/Status.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <fstream>
#include <set>

#include <unistd.h>

namespace {

using namespace integration;

std::string OneCamera(const std::string& members) {
    return "[{\"frameRateEnable\": false, " + members + "}]";
}

std::string StreamFault(const std::string& rule) {
    return OneCamera("\"faults\": {\"stream\": [" + rule + "]}");
}

struct DamagedFrame {
    const char* name;
    const char* rule;
    unsigned int worst; ///< frames that may be lost, the damaged one included
};

void PrintTo(const DamagedFrame& damage, std::ostream* out) {
    *out << damage.name;
}

class DamagedStream : public testing::TestWithParam<DamagedFrame> {};

/// Frame 5 is damaged; whatever it costs, the stream must be back to good frames soon and stay there.
TEST_P(DamagedStream, LosesAtMostTheFrameAndTheNext) {
    VirtualBus bus(StreamFault(GetParam().rule));
    auto camera = bus.Open();
    Set(camera->GetNodeMap(), "Width", "640");
    Set(camera->GetNodeMap(), "Height", "480");
    GrabRun run(*camera);
    run.Start();
    std::set<std::uint64_t> good;
    unsigned int failed = 0;
    while (good.size() < 40) {
        const Frame frame = run.Next();
        ASSERT_NE(frame.result.Status(), Tavix::_UndefinedGrabStatus)
            << "the stream is dead after " << good.size() << " frames";
        if (frame.result.Succeeded()) {
            EXPECT_TRUE(good.insert(frame.result.GetBlockID()).second);
            EXPECT_EQ(frame.result.GetPayloadSize64(), 640u * 480u);
        } else {
            ++failed;
            EXPECT_NE(frame.result.GetErrorCode(), 0u);
            EXPECT_FALSE(frame.result.GetErrorDescription().empty());
        }
    }
    EXPECT_LE(failed, GetParam().worst);
    run.Stop();
}

INSTANTIATE_TEST_SUITE_P(
    EachFault, DamagedStream,
    testing::Values(DamagedFrame{"Truncated", R"({"fault": "Truncated", "frame": 5, "value": 100000})", 2},
                    DamagedFrame{"TruncatedAtOnce", R"({"fault": "Truncated", "frame": 5, "value": 0})", 2},
                    DamagedFrame{"LostTrailer", R"({"fault": "LostTrailer", "frame": 5})", 2},
                    DamagedFrame{"LostLeader", R"({"fault": "LostLeader", "frame": 5})", 2},
                    DamagedFrame{"LeaderMagic", R"({"fault": "LeaderMagic", "frame": 5})", 2},
                    DamagedFrame{"TrailerMagic", R"({"fault": "TrailerMagic", "frame": 5})", 2},
                    DamagedFrame{"IdMismatch", R"({"fault": "IdMismatch", "frame": 5})", 2},
                    DamagedFrame{"Discarded", R"({"fault": "Discarded", "frame": 5, "value": 50000})", 2},
                    DamagedFrame{"Overrun", R"({"fault": "Overrun", "frame": 5, "value": 10})", 2}),
    [](const auto& instance) { return instance.param.name; });

TEST(LeavingCamera, DuringAGrabEndsWithFailedBuffersAndACallback) {
    VirtualBus bus(StreamFault(R"({"fault": "Unplug", "frame": 8, "value": 5000})"));
    auto camera = bus.Open();
    std::atomic<int> calls{0};
    auto callback = Tavix::MakeCallback<Tavix::ITavixDevice*>([&](Tavix::ITavixDevice* device) {
        if (device == camera.get()) ++calls;
    });
    camera->RegisterRemovalCallback(callback);
    GrabRun run(*camera);
    ErrorOf([&] { run.Start(); }); // the camera may be gone before it has answered
    unsigned int good = 0, failed = 0;
    while (failed == 0) {
        const Frame frame = run.Next(GrabRun::Then::Requeue);
        ASSERT_NE(frame.result.Status(), Tavix::_UndefinedGrabStatus) << "the grab hangs after the unplug";
        ++(frame.result.Succeeded() ? good : failed);
    }
    EXPECT_GE(good, 8u);
    const Tavix::WaitObjectEx pause = Tavix::WaitObjectEx::Create();
    for (int i = 0; i < 500 && calls == 0; ++i)
        (void)Tavix::WaitObject(pause).Wait(10);
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(camera->IsOpen());
    EXPECT_NE(ErrorOf([&] { run.Stop(); }), "");
}

/// For a while before the removal is known the bus reports line errors.
TEST(LeavingCamera, ThatBeginsWithLineErrorsIsOneRemovalToo) {
    VirtualBus bus(OneCamera(R"("faults": {"stream": [{"fault": "Unplug", "frame": 8}], "unplugErrorsMs": 150})"));
    auto camera = bus.Open();
    std::atomic<int> calls{0};
    auto callback = Tavix::MakeCallback<Tavix::ITavixDevice*>([&](Tavix::ITavixDevice*) { ++calls; });
    camera->RegisterRemovalCallback(callback);
    GrabRun run(*camera);
    ErrorOf([&] { run.Start(); });
    unsigned int good = 0;
    std::set<void*> back;
    vexlo::VxStatus last = vexlo::VX_OK;
    // Each buffer comes back, failed, and cannot be queued again once the camera is known to be gone.
    while (back.size() < 6) {
        const Frame frame = run.Next(GrabRun::Then::Keep);
        ASSERT_NE(frame.result.Status(), Tavix::_UndefinedGrabStatus) << "only " << back.size() << " came back";
        if (frame.result.Succeeded()) ++good;
        if (!frame.result.Succeeded()) last = frame.result.GetErrorCode();
        const auto requeue = [&] { run.Grabber().QueueBuffer(frame.result.Handle(), frame.result.Context()); };
        if (ErrorOf(requeue).empty()) continue;
        EXPECT_TRUE(back.insert(frame.result.Buffer()).second);
    }
    EXPECT_GE(good, 8u);
    EXPECT_EQ(last, vexlo::VX_E_USB_NO_DEVICE);
    const Tavix::WaitObjectEx pause = Tavix::WaitObjectEx::Create();
    for (int i = 0; i < 500 && calls == 0; ++i)
        (void)Tavix::WaitObject(pause).Wait(10);
    EXPECT_EQ(calls, 1);
}

TEST(LeavingCamera, LetsTheCameraBeClosedAndOpenedAgainAfterReplugging) {
    VirtualBus bus(OneCamera(R"("faults": {"stream": [{"fault": "Unplug", "frame": 3}], "replugAfterMs": 500})"));
    {
        auto camera = bus.Open();
        GrabRun run(*camera);
        ErrorOf([&] { run.Start(); });
        while (run.Next().result.Succeeded()) {
        }
    }
    const Tavix::WaitObjectEx pause = Tavix::WaitObjectEx::Create();
    // The camera that left stays listed until the bus has noticed.
    for (const bool isEmpty : {true, false})
        for (int i = 0; i < 500 && bus.Cameras().empty() != isEmpty; ++i)
            (void)Tavix::WaitObject(pause).Wait(10);
    auto camera = bus.Open();
    EXPECT_GT(Integer(camera->GetNodeMap(), "Width"), 0);
}

TEST(Opening, SucceedsAtTheFifthAttempt) {
    VirtualBus bus(OneCamera(R"("faults": {"refuseClaims": 4})"));
    int retries = 0;
    Tavix::LogSink sink([&](const char* category, unsigned int level, const char* text) {
        const bool isRetry = std::string(text) == "Failed to open device. Retry.";
        if (isRetry && level == 128 && std::string(category) == "Tavix.USB.TL") ++retries;
    });
    EXPECT_TRUE(bus.Open()->IsOpen());
    EXPECT_EQ(retries, 4);
}

TEST(Opening, FailsAfterFiveRefusalsAndWorksLater) {
    VirtualBus bus(OneCamera(R"("faults": {"refuseClaims": 5})"));
    EXPECT_NE(ErrorOf([&] { bus.Create(); }).find("Failed to open device"), std::string::npos);
    EXPECT_TRUE(bus.Open()->IsOpen());
}

TEST(Opening, IsRefusedWhileTheCameraIsInUse) {
    VirtualBus bus(OneCamera(R"("serial": "7")"));
    auto camera = bus.Open();
    EXPECT_NE(ErrorOf([&] { bus.Create(); }), "");
    camera->Close();
    EXPECT_TRUE(bus.Open()->IsOpen());
}

struct BadDescription {
    const char* name;
    const char* manifest;
    bool loads;
};

void PrintTo(const BadDescription& description, std::ostream* out) {
    *out << description.name;
}

class DoubtfulDescription : public testing::TestWithParam<BadDescription> {};

TEST_P(DoubtfulDescription, OfDoubtfulFormLoadsOrFailsCleanly) {
    VirtualBus bus(OneCamera(std::string("\"registers\": {\"manifest\": \"") + GetParam().manifest + "\"}"));
    for (int round = 0; round < 2; ++round) {
        const std::string error = ErrorOf([&] {
            auto camera = bus.Open();
            EXPECT_GT(Integer(camera->GetNodeMap(), "Width"), 0);
        });
        EXPECT_EQ(error.empty(), GetParam().loads) << error;
        EXPECT_TRUE(bus.Layer().IsDeviceAccessible(bus.Cameras()[0])) << "something of the camera was not released";
    }
}

INSTANTIATE_TEST_SUITE_P(
    EachForm, DoubtfulDescription,
    testing::Values(
        BadDescription{"PlainXml", "PlainXml", true}, BadDescription{"WrongHash", "WrongHash", true},
        BadDescription{"ZeroHash", "ZeroHash", true}, BadDescription{"WrongFormatFlag", "WrongFormatFlag", true},
        BadDescription{"WrongZipFlag", "WrongZipFlag", true}, BadDescription{"TrailingZeros", "TrailingZeros", true},
        BadDescription{"LargerSize", "LargerSize", true}, BadDescription{"CorruptZip", "CorruptZip", false},
        BadDescription{"StoredZip", "StoredZip", true}, BadDescription{"SeveralEntries", "SeveralEntries", true},
        BadDescription{"NoEntries", "NoEntries", false}, BadDescription{"HugeCount", "HugeCount", false}),
    [](const auto& instance) { return instance.param.name; });

TEST(DownloadedDescription, WithoutRootStillServesItsFeatures) {
    VirtualBus bus(OneCamera(R"("registers": {"manifest": "NoRoot"})"));
    auto camera = bus.Open();
    EXPECT_EQ(camera->GetNodeMap()->GetNode("Root"), nullptr);
    EXPECT_GT(Integer(camera->GetNodeMap(), "Width"), 0);
}

TEST(DownloadedDescription, ThatIsNoneIsRefusedAndTheCameraReleased) {
    const std::string path = testing::TempDir() + "no-description-" + std::to_string(::getpid()) + ".xml";
    std::ofstream(path) << "<Recipe><Flour/></Recipe>";
    VirtualBus bus(OneCamera("\"registers\": {\"descriptionPath\": \"" + path + "\"}"));
    for (int round = 0; round < 2; ++round) {
        EXPECT_THROW(bus.Create(), GenICam::RuntimeException);
        EXPECT_TRUE(bus.Layer().IsDeviceAccessible(bus.Cameras()[0])) << "something of the camera was not released";
    }
    std::remove(path.c_str());
}

struct ControlTrouble {
    const char* name;
    const char* rule;
    bool readWorks;
};

void PrintTo(const ControlTrouble& trouble, std::ostream* out) {
    *out << trouble.name;
}

class Control : public testing::TestWithParam<ControlTrouble> {};

/// The trouble hits reads of one register only, so that opening is not disturbed.
TEST_P(Control, TroubleIsOvercomeOrReportedAndTheCameraStaysUsable) {
    VirtualBus bus(OneCamera(std::string("\"faults\": {\"control\": [") + GetParam().rule + "]}"));
    auto camera = bus.Open();
    GenApi::CStringPtr name(camera->GetNodeMap()->GetNode("DeviceUserID"));
    ASSERT_TRUE(name.IsValid());
    const std::string error = ErrorOf([&] { name->GetValue(false, true); });
    EXPECT_EQ(error.empty(), GetParam().readWorks) << error;
    if (!GetParam().readWorks) {
        EXPECT_NE(error.find("Read operation"), std::string::npos) << error;
    }
    EXPECT_EQ(ErrorOf([&] { name->GetValue(false, true); }), "");
    camera->Close();
    camera->Open();
    EXPECT_EQ(ErrorOf([&] { name->GetValue(false, true); }), "");
}

// 388 is 0x184, the register of the user-defined name; 2048 is 0x800, the read command.
INSTANTIATE_TEST_SUITE_P(
    EachTrouble, Control,
    testing::Values(
        ControlTrouble{"StaleId", R"({"fault": "StaleId", "address": 388, "command": 2048})", true},
        ControlTrouble{"Duplicate", R"({"fault": "Duplicate", "address": 388, "command": 2048})", true},
        ControlTrouble{"WrongPrefix", R"({"fault": "WrongPrefix", "address": 388, "command": 2048})", true},
        ControlTrouble{"WrongRequestId", R"({"fault": "WrongRequestId", "address": 388, "command": 2048})", true},
        ControlTrouble{"Truncated", R"({"fault": "Truncated", "value": 20, "address": 388, "command": 2048})", true},
        ControlTrouble{"NoAnswer", R"({"fault": "NoAnswer", "address": 388, "command": 2048})", true},
        ControlTrouble{"Pending", R"({"fault": "Pending", "value": 3, "address": 388, "command": 2048})", true},
        ControlTrouble{"Busy", R"({"fault": "Busy", "count": 2, "address": 388, "command": 2048})", true},
        ControlTrouble{"StallIn", R"({"fault": "StallIn", "address": 388, "command": 2048})", true},
        ControlTrouble{"StallOut", R"({"fault": "StallOut", "address": 388, "command": 2048})", true},
        ControlTrouble{"ZeroLength", R"({"fault": "ZeroLength", "address": 388, "command": 2048})", true},
        ControlTrouble{"AccessDenied", R"({"fault": "Status", "value": 32774, "address": 388, "command": 2048})",
                       false},
        ControlTrouble{"InvalidAddress", R"({"fault": "Status", "value": 32771, "address": 388, "command": 2048})",
                       false}),
    [](const auto& instance) { return instance.param.name; });

TEST(Streaming, RefusedByTheCameraIsReportedAndCanBeRepeated) {
    VirtualBus bus(OneCamera(R"("faults": {"refuseStreamEnable": 20, "streamEnableStatus": 40964})"));
    auto camera = bus.Open();
    EXPECT_NE(ErrorOf([&] { GrabRun run(*camera); }), "");
    EXPECT_FALSE(camera->GetStreamGrabber(0)->GetNodeMap()->GetNode("MaxNumBuffer") == nullptr);
    camera->Close();
    camera->Open();
    EXPECT_TRUE(camera->IsOpen());
}

} // namespace
