// Cameras whose registers, descriptors or transfers are odd, as an application sees them.
#include "integration/support/GoodFrames.h"
#include "integration/support/VirtualBus.h"

#include <core/LogSink.h>

#include <gtest/gtest.h>

#include <atomic>

namespace {

using namespace integration;

std::string Odd(const std::string& registers, const std::string& others = {}) {
    return "[{\"frameRateEnable\": false, \"registers\": {" + registers + "}" + others + "}]";
}

/// Counts log lines that hold a text.
class LinesWith {
public:
    explicit LinesWith(std::string wanted)
        : m_Sink([this, wanted = std::move(wanted)](const char*, unsigned int, const char* text) {
              if (std::string(text).find(wanted) != std::string::npos) ++m_Count;
          }) {}
    int Count() const { return m_Count; }

private:
    std::atomic<int> m_Count{0};
    const Tavix::LogSink m_Sink;
};

TEST(BrokenLargeTransfers, AreGivenUpAfterThreeFramesAndThoseUnderWay) {
    VirtualBus bus(Odd(R"("largestTransfer": 65536)"));
    auto camera = bus.Open();
    const LinesWith given("the camera is given 65536 bytes from now on");
    {
        GrabRun run(*camera);
        run.Start();
        unsigned int broken = 0;
        for (; !run.Next().result.Succeeded(); ++broken)
            ASSERT_LT(broken, 9u);
        EXPECT_GE(broken, 3u);
        for (const Frame& frame : run.Next(20))
            ASSERT_TRUE(frame.result.Succeeded()) << frame.result.GetErrorDescription().c_str();
        run.Stop();
    }
    EXPECT_EQ(given.Count(), 1);
    ExpectGoodFrames(*camera); // from the first one on
    EXPECT_EQ(given.Count(), 1);
}

TEST(PayloadLongerThanItsImage, IsDeliveredWholeWithTheSizeOfTheImage) {
    VirtualBus bus(Odd(R"("extraPayload": 1000)"));
    auto camera = bus.Open();
    Set(camera->GetNodeMap(), "Width", "640");
    Set(camera->GetNodeMap(), "Height", "480");
    ASSERT_EQ(Integer(camera->GetNodeMap(), "PayloadSize"), 640 * 480 + 1000);
    GrabRun run(*camera);
    run.Start();
    for (const Frame& frame : run.Next(5)) {
        ASSERT_TRUE(frame.result.Succeeded()) << frame.result.GetErrorDescription().c_str();
        EXPECT_EQ(frame.result.GetSizeX(), 640);
        EXPECT_EQ(frame.result.GetSizeY(), 480);
        EXPECT_EQ(frame.result.GetPayloadSize64(), 640u * 480u + 1000u);
    }
    run.Stop();
}

TEST(RegistersThatAreReadOneByOne, AreEnough) {
    VirtualBus bus(Odd(R"("singleRegisterReads": true)"));
    auto camera = bus.Open();
    EXPECT_EQ(camera->GetDeviceInfo().GetModelName(), "VC-1300");
    ExpectGoodFrames(*camera);
}

class AbsentRegister : public testing::TestWithParam<std::pair<const char*, unsigned int>> {};

TEST_P(AbsentRegister, IsDoneWithout) {
    VirtualBus bus(Odd("\"absent\": [" + std::to_string(GetParam().second) + "]"));
    ExpectGoodFrames(*bus.Open());
}

INSTANTIATE_TEST_SUITE_P(Each, AbsentRegister,
                         testing::Values(std::make_pair("FamilyName", 0x84u), std::make_pair("UserDefinedName", 0x184u),
                                         std::make_pair("Timestamp", 0x1F0u),
                                         std::make_pair("TimestampIncrement", 0x1FCu),
                                         std::make_pair("ByteOrder", 0x20Cu)),
                         [](const auto& instance) { return instance.param.first; });

TEST(DeviceInfoThatNamesNoString, DoesNotHideTheCamera) {
    VirtualBus bus(Odd(R"("stringIndexZero": true)"));
    ASSERT_EQ(bus.Cameras().size(), 1u);
    EXPECT_FALSE(bus.Cameras()[0].GetFullName().empty());
    ExpectGoodFrames(*bus.Open());
}

TEST(CamerasWithoutSerialNumbers, AreToldApartAndBothOpen) {
    VirtualBus bus(R"([{"serial": "", "guid": "120900000001"}, {"serial": "", "guid": "120900000002"}])");
    ASSERT_EQ(bus.Cameras().size(), 2u);
    auto first = bus.Open(0), second = bus.Open(1);
    EXPECT_NE(first->GetDeviceInfo().GetFullName(), second->GetDeviceInfo().GetFullName());
    Set(first->GetNodeMap(), "Width", "640");
    Set(second->GetNodeMap(), "Width", "320");
    EXPECT_EQ(Integer(first->GetNodeMap(), "Width"), 640) << "they are two";
}

TEST(SuperSpeedCameraOnASlowPort, IsWarnedOf) {
    const LinesWith slow("is a SuperSpeed camera on a slower link");
    VirtualBus bus(R"([{"speed": "High"}])");
    auto camera = bus.Open();
    EXPECT_GE(slow.Count(), 1);
    ExpectGoodFrames(*camera);
}

TEST(SuperSpeedCameraOnItsPort, IsNotWarnedOf) {
    const LinesWith slow("link");
    VirtualBus bus(R"([{"speed": "Super"}])");
    auto camera = bus.Open();
    EXPECT_EQ(slow.Count(), 0);
}

TEST(StartThatIsRefusedTwice, IsHelpedByAReset) {
    const LinesWith reset("it is reset now");
    VirtualBus bus(R"([{"frameRateEnable": false, "faults": {"refuseStreamEnable": 2, "streamEnableStatus": 36863}}])");
    auto camera = bus.Open();
    ExpectGoodFrames(*camera);
    EXPECT_EQ(reset.Count(), 1);
}

std::int64_t PipeResets(Tavix::ITavixDevice& camera) {
    camera.GetTLNodeMap()->InvalidateNodes();
    return Integer(camera.GetTLNodeMap(), "Statistic_Read_Pipe_Reset_Count");
}

/// Reads the user-defined name while images come, with this trouble.
void ExpectReadAndFrames(const std::string& trouble, std::int64_t pipeResets) {
    VirtualBus bus(R"([{"frameRateEnable": false, "userName": "left", "faults": {"control": [
        {"address": 388, "command": 2048, "whileStreaming": true, )" +
                   trouble + "}]}}]");
    auto camera = bus.Open();
    GrabRun run(*camera);
    run.Start();
    EXPECT_TRUE(run.Next().result.Succeeded());
    const std::int64_t before = PipeResets(*camera);
    EXPECT_EQ(GenApi::CStringPtr(camera->GetNodeMap()->GetNode("DeviceUserID"))->GetValue(false, true), "left");
    EXPECT_EQ(PipeResets(*camera) - before, pipeResets);
    for (const Frame& frame : run.Next(20))
        EXPECT_TRUE(frame.result.Succeeded()) << frame.result.GetErrorDescription().c_str();
    run.Stop();
}

TEST(ReadWhileStreaming, HasMoreTimeThanOthers) {
    ExpectReadAndFrames(R"("fault": "Late", "value": 800)", 0); // 600 ms without a stream
}

TEST(ReadWhileStreaming, IsRepeatedWhenItFailsAndCostsNoFrame) {
    ExpectReadAndFrames(R"("fault": "StallIn", "count": 2)", 2);
}

} // namespace
