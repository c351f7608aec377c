// Cameras with ways of their own, and what an application may expect of them.
#include "integration/support/CamerasOnBus.h"
#include "integration/support/DirectCamera.h"
#include "integration/support/GoodFrames.h"
#include "integration/support/VirtualBus.h"

#include <core/LogSink.h>
#include <vexlo/Vexlo.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace {

using namespace integration;

std::string CameraWith(const std::string& members) {
    return "[{\"frameRateEnable\": false, " + members + "}]";
}

std::string Registers(const std::string& members) {
    return CameraWith("\"registers\": {" + members + "}");
}

std::string Faults(const std::string& members) {
    return CameraWith("\"faults\": {" + members + "}");
}

/// What a call takes, in seconds.
template<class Call>
double Seconds(Call call) {
    const auto start = std::chrono::steady_clock::now();
    call();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// --- stream set-up

class StreamSetup : public testing::TestWithParam<std::pair<const char*, const char*>> {};

TEST_P(StreamSetup, WorksInSpiteOfOddRegisters) {
    VirtualBus bus(Registers(GetParam().second));
    auto camera = bus.Open();
    Set(camera->GetNodeMap(), "Width", "1000");
    Set(camera->GetNodeMap(), "Height", "702");
    ExpectGoodFrames(*camera);
}

INSTANTIATE_TEST_SUITE_P(Each, StreamSetup,
                         testing::Values(std::make_pair("NoLeaderSize", R"("zeroLeaderSize": true)"),
                                         std::make_pair("NoTrailerSize", R"("zeroTrailerSize": true)"),
                                         std::make_pair("AlignmentOf4", R"("alignmentExponent": 2)"),
                                         std::make_pair("AlignmentOf1024", R"("alignmentExponent": 10)"),
                                         std::make_pair("AlignmentOf4096", R"("alignmentExponent": 12)"),
                                         std::make_pair("AlignmentCheckedOnlyAtTheStart",
                                                        R"("alignmentExponent": 12, "lateAlignmentCheck": true)"),
                                         std::make_pair("AbsurdAlignment", R"("alignmentExponent": 40)")),
                         [](const auto& instance) { return instance.param.first; });

TEST(PayloadSizeOfZero, IsRefusedWithAText) {
    VirtualBus bus(Registers(R"("zeroPayloadSize": true)"));
    auto camera = bus.Open();
    EXPECT_NE(ErrorOf([&] {
                  Tavix::IStreamGrabber& grabber = *camera->GetStreamGrabber(0);
                  grabber.Open();
                  GenApi::CIntegerPtr(grabber.GetNodeMap()->GetNode("MaxBufferSize"))->SetValue(100000);
                  grabber.PrepareGrab();
              }),
              "");
    EXPECT_EQ(Integer(camera->GetNodeMap(), "Width"), 1280) << "the camera is still usable";
}

class RefusedStart : public testing::TestWithParam<std::pair<const char*, unsigned int>> {};

TEST_P(RefusedStart, IsTriedAgain) {
    VirtualBus bus(Faults(R"("refuseStreamEnable": 1, "streamEnableStatus": )" + std::to_string(GetParam().second)));
    ExpectGoodFrames(*bus.Open());
}

INSTANTIATE_TEST_SUITE_P(Each, RefusedStart,
                         testing::Values(std::make_pair("EndpointHalted", 0xA002u),
                                         std::make_pair("SizeNotAligned", 0xA003u),
                                         std::make_pair("RegistersInconsistent", 0xA004u),
                                         std::make_pair("UnspecifiedError", 0x8FFFu)),
                         [](const auto& instance) { return instance.param.first; });

TEST(CameraThatIsMuteAfterAStop, IsClearedBeforeEachStart) {
    VirtualBus bus(Faults(R"("muteUntilClearHalt": true)"));
    auto camera = bus.Open();
    for (int round = 0; round < 3; ++round)
        ExpectGoodFrames(*camera);
}

TEST(CameraThatHaltsWhenItIsStopped, StartsAgain) {
    VirtualBus bus(Faults(R"("haltOnStreamDisable": true)"));
    auto camera = bus.Open();
    for (int round = 0; round < 3; ++round)
        ExpectGoodFrames(*camera);
}

TEST(CameraThatDiesOfAHalt, IsNeverHaltedByTheHost) {
    VirtualBus bus(Faults(R"("dieOnSetHalt": true, "stream": [{"fault": "LostTrailer", "frame": 3}],
                             "control": [{"fault": "WrongPrefix", "skip": 40}])"));
    auto camera = bus.Open();
    GrabRun run(*camera);
    run.Start();
    for (unsigned int good = 0; good < 10;) {
        const Frame frame = run.Next();
        ASSERT_NE(frame.result.Status(), Tavix::_UndefinedGrabStatus);
        if (frame.result.Succeeded()) ++good;
    }
    run.Stop();
    EXPECT_EQ(bus.Cameras().size(), 1u);
}

TEST(LargeTransfers, ThatACameraCannotServeAreAvoidedByTheSetting) {
    VirtualBus bus(Registers(R"("largestTransfer": 65536)"));
    auto camera = bus.Open();
    Set(camera->GetStreamGrabber(0)->GetNodeMap(), "MaxTransferSize", "65536");
    ExpectGoodFrames(*camera, 20);
}

/// The camera's register that switches its stream on and off.
std::uint32_t StreamControl(Tavix::ITavixDevice& camera) {
    std::uint32_t value = 0xFFFFFFFF;
    GenApi::CPortPtr(camera.GetNodeMap()->GetNode("Device"))->Read(&value, 0x20004, sizeof value);
    return value;
}

TEST(SingleFrameAcquisition, StopsByItselfWhileTheStreamStaysOnAndStartsAgain) {
    VirtualBus bus(CameraWith(R"("serial": "1")"));
    auto camera = bus.Open();
    Set(camera->GetNodeMap(), "AcquisitionMode", "SingleFrame");
    GrabRun run(*camera);
    for (int round = 0; round < 3; ++round) {
        run.Start();
        ASSERT_TRUE(run.Next().result.Succeeded());
        Tavix::GrabResult more;
        EXPECT_FALSE(run.Grabber().RetrieveResult(more));
        EXPECT_EQ(StreamControl(*camera), 1u) << "the stream stays on until the host ends the grab";
    }
    run.Grabber().CancelGrab();
    run.Drain();
    run.Grabber().FinishGrab();
    EXPECT_EQ(StreamControl(*camera), 0u);
}

// --- speed and memory

TEST(HighSpeedLink, StreamsToo) {
    VirtualBus bus(CameraWith(R"("speed": "High")"));
    auto camera = bus.Open();
    Set(camera->GetNodeMap(), "Width", "640");
    ExpectGoodFrames(*camera);
}

TEST(ShortTransferMemory, MakesTheQueueShorterAndLosesNothing) {
    for (const char* limit : {"2097152", "4194304", "16777216"}) {
        VirtualBus bus(CameraWith(R"("serial": "1")"), std::string("\"transferMemoryLimit\": ") + limit);
        auto camera = bus.Open();
        Set(camera->GetStreamGrabber(0)->GetNodeMap(), "MaxTransferSize", "262144");
        GrabRun run(*camera, 8);
        run.Start();
        for (const Frame& frame : run.Next(30))
            ASSERT_TRUE(frame.result.Succeeded()) << limit << ": " << frame.result.GetErrorDescription().c_str();
        run.Stop();
    }
}

// --- control

TEST(EndpointsOfDifferentNumbers, AreTakenFromTheDescriptors) {
    VirtualBus bus(Registers(R"("asymmetricEndpoints": true)"));
    ExpectGoodFrames(*bus.Open());
}

TEST(CameraThatSleepsAfterPowerOn, IsAskedAgain) {
    VirtualBus bus(Registers(R"("bootMs": 1200)"));
    EXPECT_EQ(ErrorOf([&] { bus.Open(); }), "");
}

TEST(ControlChannelDeadAfterACrash, IsRevivedAtTheOpening) {
    VirtualBus bus(Faults(R"("control": [{"fault": "Deaf"}])"));
    EXPECT_EQ(ErrorOf([&] { bus.Open(); }), "");
}

/// Opens the first camera with short limits; each opening's status in turn.
std::vector<vexlo::VxStatus> OpeningsOfADeadCamera(const char* settings, std::size_t openings) {
    const auto cameras = PlugIn(settings);
    EXPECT_EQ(vexlo::Init(), vexlo::VX_OK);
    std::vector<vexlo::VxStatus> statuses;
    while (statuses.size() < openings) {
        const DevicePointer device = NewDevice();
        for (const auto timeout :
             {vexlo::CVxDevice::Property_ConnectTimeout, vexlo::CVxDevice::Property_ControlTimeout})
            EXPECT_EQ(SetProperty<std::uint32_t>(*device, timeout, 200), vexlo::VX_OK);
        statuses.push_back(device->Open(Discovered().at(0)));
        if (statuses.back() != vexlo::VX_OK) continue;
        std::uint32_t version = 0;
        unsigned long count = sizeof version;
        EXPECT_EQ(device->ReadMem(&version, 0, &count), vexlo::VX_OK);
    }
    vexlo::Exit();
    return statuses;
}

class ControlChannelDeadToClearing : public testing::Test {
protected:
    std::atomic<int> resets{0};
    const Tavix::LogSink sink{[this](const char*, unsigned int, const char* text) {
        if (std::string(text).find("it is reset now") != std::string::npos) ++resets;
    }};
};

TEST_F(ControlChannelDeadToClearing, IsRevivedByAResetOfThePort) {
    EXPECT_EQ(OpeningsOfADeadCamera(R"({"cameras": [{"faults": {"control": [{"fault": "Deaf", "value": 1}]}}]})", 1),
              (std::vector<vexlo::VxStatus>{vexlo::VX_OK}));
    EXPECT_EQ(resets, 1);
}

// The reset is still owed when the camera falls silent after it had answered the opening's first question.
TEST_F(ControlChannelDeadToClearing, IsRevivedByTheNextOpeningWhenItDiesDuringOne) {
    const auto statuses = OpeningsOfADeadCamera(
        R"({"cameras": [{"faults": {"control": [{"fault": "Deaf", "value": 1, "skip": 2}]}}]})", 2);
    EXPECT_EQ(statuses.at(0), vexlo::VX_E_TIMEOUT);
    EXPECT_EQ(statuses.at(1), vexlo::VX_OK);
    EXPECT_EQ(resets, 1);
}

TEST(ControlChannelThatDies, IsRevivedByTheNextRead) {
    VirtualBus bus(Faults(R"("control": [{"fault": "Deaf", "address": 388, "command": 2048}])"));
    auto camera = bus.Open();
    GenApi::CStringPtr name(camera->GetNodeMap()->GetNode("DeviceUserID"));
    EXPECT_EQ(ErrorOf([&] { name->GetValue(false, true); }), "");
}

TEST(ResponseTimeOfAMinute, IsNotWaitedFor) {
    VirtualBus bus(CameraWith(R"("registers": {"responseTime": 60000},
        "faults": {"control": [{"fault": "NoAnswer", "address": 388, "command": 2048}]})"));
    auto camera = bus.Open();
    GenApi::CStringPtr name(camera->GetNodeMap()->GetNode("DeviceUserID"));
    EXPECT_LT(Seconds([&] { EXPECT_EQ(ErrorOf([&] { name->GetValue(false, true); }), ""); }), 20.0);
}

TEST(ResponseTimeThatIsTooShort, HasAFloor) {
    VirtualBus bus(CameraWith(R"("registers": {"responseTime": 1},
        "faults": {"control": [{"fault": "Late", "value": 300, "address": 388}]})"));
    auto camera = bus.Open();
    EXPECT_EQ(ErrorOf([&] { Set(camera->GetNodeMap(), "DeviceUserID", "slow"); }), "");
}

TEST(ResponseTimeOfZero, HasAFloor) {
    VirtualBus bus(Registers(R"("responseTime": 0)"));
    ExpectGoodFrames(*bus.Open());
}

class PacketLimits : public testing::TestWithParam<std::pair<unsigned int, unsigned int>> {};

TEST_P(PacketLimits, AreObeyedInBothDirections) {
    VirtualBus bus(Registers("\"maximumCommand\": " + std::to_string(GetParam().first) +
                             ", \"maximumAcknowledge\": " + std::to_string(GetParam().second)));
    auto camera = bus.Open();
    GenApi::CRegisterPtr table(camera->GetNodeMap()->GetNode("LUTValueAll"));
    ASSERT_TRUE(table.IsValid());
    std::vector<std::uint8_t> wanted(static_cast<std::size_t>(table->GetLength())), seen(wanted.size());
    for (std::size_t i = 0; i < wanted.size(); ++i)
        wanted[i] = static_cast<std::uint8_t>(i % 4 == 0 ? i / 16 : 0);
    table->Get(wanted.data(), table->GetLength());
    EXPECT_EQ(ErrorOf([&] { table->Set(wanted.data(), table->GetLength()); }), "");
    EXPECT_EQ(ErrorOf([&] { table->Get(seen.data(), table->GetLength(), false, true); }), "");
    EXPECT_EQ(seen, wanted);
}

INSTANTIATE_TEST_SUITE_P(Each, PacketLimits,
                         testing::Values(std::make_pair(1024u, 1024u), std::make_pair(1024u, 16384u),
                                         std::make_pair(16384u, 1024u), std::make_pair(65536u, 65536u),
                                         std::make_pair(0u, 0u)));

TEST(LongReads, ThatAreRefusedAreTakenInSmallerPieces) {
    VirtualBus bus(Registers(R"("largestRead": 64)"));
    EXPECT_EQ(ErrorOf([&] { bus.Open(); }), "");
}

TEST(WriteAcknowledge, WithoutALengthOrWithNoneIsGood) {
    for (const char* fault : {"MissingScd", "ZeroWritten"}) {
        VirtualBus bus(Faults(std::string(R"("control": [{"command": 2050, "count": 0, "fault": ")") + fault + "\"}]"));
        auto camera = bus.Open();
        EXPECT_EQ(ErrorOf([&] { Set(camera->GetNodeMap(), "DeviceUserID", "left"); }), "") << fault;
        ExpectGoodFrames(*camera);
    }
}

TEST(ControlChannel, KeepsTheCommandsOfManyThreadsApart) {
    VirtualBus bus(CameraWith(R"("serial": "1")"));
    auto camera = bus.Open();
    std::atomic<int> wrong{0};
    const auto work = [&](const char* name, const char* other) {
        for (int i = 0; i < 100; ++i) {
            const std::string value = std::to_string(i % 2 == 0 ? 0 : 16);
            if (!ErrorOf([&] { Set(camera->GetNodeMap(), name, value.c_str()); }).empty()) ++wrong;
            if (Integer(camera->GetNodeMap(), name) != std::stoi(value)) ++wrong;
            if (Integer(camera->GetNodeMap(), other) != 1024) ++wrong;
        }
    };
    Set(camera->GetNodeMap(), "Width", "640");
    std::thread first(work, "OffsetX", "Height"), second(work, "BlackLevelRaw", "SensorHeight");
    first.join();
    second.join();
    EXPECT_EQ(wrong, 0);
}

// --- identity

TEST(CamerasWithOneSerialNumber, AreToldApartAndBothOpen) {
    VirtualBus bus(R"([{"serial": "7", "guid": "120900000001"}, {"serial": "7", "guid": "120900000002"}])");
    const auto list = bus.Cameras();
    ASSERT_EQ(list.size(), 2u);
    EXPECT_NE(list[0].GetFullName(), list[1].GetFullName());
    auto first = bus.Open(0), second = bus.Open(1);
    EXPECT_TRUE(first->IsOpen() && second->IsOpen());
}

TEST(CamerasWithOneGuid, AreToldApartAndBothOpen) {
    VirtualBus bus(R"([{"serial": "7", "guid": "120900000001"}, {"serial": "7", "guid": "120900000001"}])");
    const auto list = bus.Cameras();
    ASSERT_EQ(list.size(), 2u);
    EXPECT_NE(list[0].GetFullName(), list[1].GetFullName());
    auto first = bus.Open(0), second = bus.Open(1);
    EXPECT_TRUE(first->IsOpen() && second->IsOpen());
}

TEST(TextsOfACamera, MayFillTheirRegistersAndHaveOddCharacters) {
    const std::string longName(64, 'x');
    VirtualBus bus(CameraWith("\"vendor\": \"" + longName + "\", \"model\": \"Gr\\u00fcn\""));
    const auto list = bus.Cameras();
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(list[0].GetVendorName(), longName.c_str());
    EXPECT_FALSE(list[0].GetModelName().empty());
    auto camera = bus.Open();
    EXPECT_EQ(GenApi::CStringPtr(camera->GetNodeMap()->GetNode("DeviceVendorName"))->GetValue(), longName.c_str());
}

TEST(StringsThatCannotBeRead, DoNotHideTheCamera) {
    VirtualBus bus(Registers(R"("unreadableStrings": true)"));
    ASSERT_EQ(bus.Cameras().size(), 1u);
    EXPECT_EQ(ErrorOf([&] { bus.Open(); }), "");
}

TEST(FamilyNameOfIndexZero, IsEmpty) {
    VirtualBus bus(CameraWith(R"("family": "")"));
    ASSERT_EQ(bus.Cameras().size(), 1u);
    EXPECT_EQ(ErrorOf([&] { bus.Open(); }), "");
}

TEST(DeviceInfoOfALaterRevision, IsUnderstood) {
    VirtualBus bus(Registers(R"("longDeviceInfo": true)"));
    ASSERT_EQ(bus.Cameras().size(), 1u);
    ExpectGoodFrames(*bus.Open());
}

TEST(OptionalRegisters, MayBeMissing) {
    VirtualBus bus(Registers(R"("missingOptional": true)"));
    ExpectGoodFrames(*bus.Open());
}

TEST(OptionalRegisters, MayFailThoughTheyAreAnnounced) {
    // Family name, user-defined name and byte order.
    VirtualBus bus(Faults(R"("control": [{"fault": "Status", "value": 32774, "count": 0, "address": 132},
                                         {"fault": "Status", "value": 32774, "count": 0, "address": 388},
                                         {"fault": "Status", "value": 32774, "count": 0, "address": 524}])"));
    ExpectGoodFrames(*bus.Open());
}

TEST(StreamThatOnlyRegisterOrDescriptorKnows, CannotBeOpenedAndDoesNoHarm) {
    for (const char* odd : {R"("streamCount": 0)", R"("noStreamInterface": true)"}) {
        VirtualBus bus(Registers(odd));
        auto camera = bus.Open();
        EXPECT_NE(ErrorOf([&] { camera->GetStreamGrabber(0)->Open(); }), "") << odd;
        EXPECT_EQ(Integer(camera->GetNodeMap(), "Width"), 1280) << odd;
    }
}

TEST(CameraThatResetsItself, IsARemovalAndAnArrivalWithTheSameIdentity) {
    VirtualBus bus(CameraWith(R"("guid": "120900000007")"));
    std::atomic<int> calls{0};
    auto callback = Tavix::MakeCallback<Tavix::ITavixDevice*>([&](Tavix::ITavixDevice*) { ++calls; });
    auto camera = bus.Open();
    camera->RegisterRemovalCallback(callback);
    Execute(camera->GetNodeMap(), "DeviceReset");
    const Tavix::WaitObjectEx pause = Tavix::WaitObjectEx::Create();
    for (int i = 0; i < 500 && calls == 0; ++i)
        (void)Tavix::WaitObject(pause).Wait(10);
    EXPECT_EQ(calls, 1);
    camera.reset();
    for (int i = 0; i < 500 && bus.Cameras().empty(); ++i)
        (void)Tavix::WaitObject(pause).Wait(10);
    ASSERT_EQ(bus.Cameras().size(), 1u);
    GenICam::gcstring guid;
    ASSERT_TRUE(bus.Cameras()[0].GetPropertyValue("DeviceGUID", guid));
    EXPECT_EQ(guid, "120900000007");
    ExpectGoodFrames(*bus.Open());
}

} // namespace
