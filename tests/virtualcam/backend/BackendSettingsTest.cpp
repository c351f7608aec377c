#include "virtualcam/settings/BackendSettings.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>

#include <sys/stat.h>
#include <unistd.h>

#include "virtualcam/backend/Backend.h"
#include "virtualcam/settings/FaultNames.h"

namespace {

using virtualcam::BackendSettings;

struct SettingsTest : testing::Test {
    BackendSettings settings;
    std::string error;
};

TEST_F(SettingsTest, MakeANumberOfDistinctCameras) {
    ASSERT_TRUE(virtualcam::ReadSettings("2", settings, error));
    ASSERT_EQ(settings.cameras.size(), 2u);
    EXPECT_EQ(settings.cameras[0].serial, "40000001");
    EXPECT_EQ(settings.cameras[1].guid, "120940000002");
}

TEST_F(SettingsTest, RefuseFilesThatAreNotThere) {
    EXPECT_FALSE(virtualcam::ReadSettings("/no/such/file", settings, error));
    EXPECT_NE(error.find("/no/such/file"), std::string::npos);
}

TEST_F(SettingsTest, RefuseFolders) {
    EXPECT_FALSE(virtualcam::ReadSettings("/", settings, error));
    EXPECT_EQ(error, "\"/\" is neither a number of cameras nor a file that can be read: it is no regular file");
}

TEST_F(SettingsTest, RefuseWhatIsNoFileOfSettingsWithoutWaiting) {
    const std::string pipe = testing::TempDir() + "tavix-settings-pipe-" + std::to_string(getpid());
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string& path : {pipe, std::string("/dev/zero"), std::string("/dev/tty")}) {
        EXPECT_FALSE(virtualcam::ReadSettings(path, settings, error));
        EXPECT_EQ(error.rfind("\"" + path + "\" is neither a number of cameras nor a file that can be read: ", 0), 0u)
            << error;
    }
    std::remove(pipe.c_str());
}

TEST_F(SettingsTest, RefuseFilesThatAreLargerThanAnySettings) {
    const std::string path = testing::TempDir() + "tavix-settings-large-" + std::to_string(getpid());
    std::ofstream(path) << std::string((1u << 20) + 1, ' ');
    EXPECT_FALSE(virtualcam::ReadSettings(path, settings, error));
    EXPECT_NE(error.find("it is larger than 1048576 bytes"), std::string::npos) << error;
    std::remove(path.c_str());
}

TEST_F(SettingsTest, RefuseDescriptionsThatAreNoFiles) {
    const std::string path = testing::TempDir() + "tavix-description-" + std::to_string(getpid());
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(
        virtualcam::CreateBackend(R"({"cameras": [{"registers": {"descriptionPath": ")" + path + R"("}}]})", error),
        nullptr);
    EXPECT_EQ(error, "cannot read the description file " + path + ": it is no regular file");
    std::remove(path.c_str());
}

TEST_F(SettingsTest, SayWhatIsWrongWithANumber) {
    for (const char* number : {"33", "1000", "99999999999999999999999"}) {
        EXPECT_FALSE(virtualcam::ReadSettings(number, settings, error)) << number;
        EXPECT_EQ(error, "there may be at most 32 cameras");
    }
    EXPECT_FALSE(virtualcam::ReadSettings("abc", settings, error));
    EXPECT_EQ(error, "\"abc\" is neither a number of cameras nor a file that can be read: No such file or directory");
}

TEST_F(SettingsTest, ReadCamerasWithTheirFaults) {
    ASSERT_TRUE(virtualcam::ParseSettings(R"({"transferMemoryLimit": 1000, "cameras": [
        {"model": "M", "guid": "ABCD00000009", "sensorWidth": 640, "speed": "High", "frameRateEnable": false,
         "registers": {"responseTime": 50, "manifest": "PlainXml", "silentAboveTransfer": 65536},
         "streams": 3, "faults": {"refuseClaims": 2, "replugAfterMs": 5,
                    "control": [{"fault": "Late", "value": 30, "command": 2048, "address": 4}],
                    "stream": [{"fault": "IdGap", "frame": 3, "value": 2, "stream": 1}]}}, {}]})",
                                          settings, error))
        << error;
    ASSERT_EQ(settings.cameras.size(), 2u);
    const virtualcam::CameraSettings& camera = settings.cameras[0];
    EXPECT_EQ(settings.transferMemoryLimit, 1000u);
    EXPECT_EQ(camera.model, "M");
    EXPECT_EQ(camera.speed, usb::Speed::High);
    EXPECT_EQ(camera.streams, 3u);
    EXPECT_EQ(settings.cameras[1].streams, 1u);
    EXPECT_EQ(camera.registers.responseTime, 50u);
    EXPECT_EQ(camera.registers.manifest, virtualcam::ManifestFault::PlainXml);
    EXPECT_EQ(camera.registers.silentAboveTransfer, 65536u);
    EXPECT_EQ(camera.faults.refuseClaims, 2u);
    EXPECT_EQ(camera.faults.control.at(0).fault, virtualcam::ControlFault::Late);
    EXPECT_EQ(camera.faults.control.at(0).command, std::uint16_t{2048});
    EXPECT_EQ(camera.faults.stream.at(0).fault, virtualcam::StreamFault::IdGap);
    EXPECT_EQ(camera.faults.stream.at(0).stream, 1u);
    EXPECT_EQ(settings.cameras[1].serial, "40000002");
}

TEST_F(SettingsTest, RefuseWhatTheyDoNotUnderstand) {
    const char* const texts[] = {"{",
                                 "[]",
                                 R"({"camera": []})",
                                 R"({"cameras": [{"colour": 1}]})",
                                 R"({"cameras": [{"guid": "12"}]})",
                                 R"({"cameras": [{"sensorWidth": 1}]})",
                                 R"({"cameras": [{"frameRate": -1}]})",
                                 R"({"cameras": [{"speed": "Warp"}]})",
                                 R"({"cameras": [{"faults": {"stream": [{"fault": "Bad"}]}}]})"};
    for (const char* text : texts) {
        EXPECT_FALSE(virtualcam::ParseSettings(text, settings, error)) << text;
        EXPECT_FALSE(error.empty());
    }
}

struct BadSettings {
    const char* name;
    const char* text;
    const char* error;
};

void PrintTo(const BadSettings& bad, std::ostream* out) {
    *out << bad.name;
}

TEST_F(SettingsTest, TakeTheLastValueOfEachRange) {
    for (const char* members :
         {R"("sensorWidth": 64, "sensorHeight": 16384)", R"("frameRate": 0.1, "streams": 1)",
          R"("frameRate": 10000, "streams": 4)", R"("clock": {"driftPpm": -100000})",
          R"("clock": {"driftPpm": 100000})", R"("faults": {"stream": [{"fault": "LongLeader", "value": 67108864}]})",
          R"("faults": {"control": [{"fault": "Oversize", "value": 67108864}]})",
          R"("faults": {"control": [{"fault": "Pending", "value": 1000}]})",
          R"("registers": {"extraPayload": 67108864, "alignmentExponent": 255})", R"("guid": "0123456789aF")"})
        EXPECT_TRUE(virtualcam::ParseSettings(std::string("{\"cameras\": [{") + members + "}]}", settings, error))
            << error;
}

TEST_F(SettingsTest, TakeAsManyCamerasAsThereMayBe) {
    std::string cameras = "{}";
    for (int i = 1; i < 32; ++i)
        cameras += ", {}";
    EXPECT_TRUE(virtualcam::ParseSettings("{\"cameras\": [" + cameras + "]}", settings, error)) << error;
    EXPECT_EQ(settings.cameras.size(), 32u);
    EXPECT_FALSE(virtualcam::ParseSettings("{\"cameras\": [{}, " + cameras + "]}", settings, error));
    EXPECT_EQ(error, "cameras: there may be at most 32 cameras");
    EXPECT_TRUE(virtualcam::ReadSettings("32", settings, error)) << error;
    EXPECT_FALSE(virtualcam::ReadSettings("33", settings, error));
    EXPECT_EQ(error, "there may be at most 32 cameras");
}

class SettingsErrorTest : public testing::TestWithParam<BadSettings> {};

TEST_P(SettingsErrorTest, NamesTheKeyAndWhatIsAllowed) {
    BackendSettings settings;
    std::string error;
    EXPECT_FALSE(virtualcam::ParseSettings(GetParam().text, settings, error));
    EXPECT_EQ(error, GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(
    Each, SettingsErrorTest,
    testing::Values(
        BadSettings{"Syntax", "{\"cameras\": [}", "no valid JSON at byte 14"},
        BadSettings{"NoObject", "[]", "the whole: an object {...} is expected"},
        BadSettings{"NoArray", R"({"cameras": 3})", "cameras: an array [...] is expected"},
        BadSettings{"UnknownKey", R"({"camera": []})",
                    "camera: there is no such key; the keys are transferMemoryLimit, cameras"},
        BadSettings{"UnknownName", R"({"cameras": [{}, {"speed": "Warp"}]})",
                    "cameras[1].speed: \"Warp\" is none of High, Super, SuperPlus"},
        BadSettings{"Text", R"({"cameras": [{"serial": 7}]})",
                    "cameras[0].serial: a text in quotes is expected, not 7"},
        BadSettings{"Switch", R"({"cameras": [{"frameRateEnable": 1}]})",
                    "cameras[0].frameRateEnable: true or false is expected, not 1"},
        BadSettings{"TooLarge", R"({"cameras": [{"productId": 65536}]})",
                    "cameras[0].productId: a whole number from 0 to 65535 is expected, not 65536"},
        BadSettings{"Negative", R"({"cameras": [{"faults": {"stream": [{"fault": "Stall", "value": -1}]}}]})",
                    "cameras[0].faults.stream[0].value: a whole number from 0 to 4294967295 is expected, not -1"},
        BadSettings{"Fraction", R"({"cameras": [{"queuedEvents": 1.5}]})",
                    "cameras[0].queuedEvents: a whole number from 0 to 4294967295 is expected, not 1.5"},
        BadSettings{"Guid", R"({"cameras": [{"guid": "12"}]})",
                    "cameras[0].guid: 12 hexadecimal digits are expected, not \"12\""},
        BadSettings{"GuidOfOtherLetters", R"({"cameras": [{"guid": "12094000000g"}]})",
                    "cameras[0].guid: 12 hexadecimal digits are expected, not \"12094000000g\""},
        BadSettings{"TooSmall", R"({"cameras": [{"sensorWidth": 48}]})",
                    "cameras[0].sensorWidth: a multiple of 16 from 64 to 16384 is expected, not 48"},
        BadSettings{"TooLargeSensor", R"({"cameras": [{"sensorHeight": 16400}]})",
                    "cameras[0].sensorHeight: a multiple of 16 from 64 to 16384 is expected, not 16400"},
        BadSettings{"TooSlow", R"({"cameras": [{"frameRate": 0.09}]})",
                    "cameras[0].frameRate: 0.1 to 10000 is expected"},
        BadSettings{"TooFast", R"({"cameras": [{"frameRate": 10001}]})",
                    "cameras[0].frameRate: 0.1 to 10000 is expected"},
        BadSettings{"DriftBack", R"({"cameras": [{"clock": {"driftPpm": -100001}}]})",
                    "cameras[0].clock.driftPpm: -100000 to 100000 is expected"},
        BadSettings{"Alignment", R"({"cameras": [{"registers": {"alignmentExponent": 256}}]})",
                    "cameras[0].registers.alignmentExponent: 0 to 255 is expected"},
        BadSettings{"NoStreams", R"({"cameras": [{"streams": 0}]})", "cameras[0].streams: 1 to 4 is expected"},
        BadSettings{"TooManyStreams", R"({"cameras": [{"streams": 5}]})", "cameras[0].streams: 1 to 4 is expected"},
        BadSettings{"Drift", R"({"cameras": [{"clock": {"driftPpm": 1e6}}]})",
                    "cameras[0].clock.driftPpm: -100000 to 100000 is expected"},
        BadSettings{"EndlessLeader",
                    R"({"cameras": [{"faults": {"stream": [{"fault": "LongLeader", "value": 67108865}]}}]})",
                    "cameras[0].faults.stream[0].value: at most 67108864 is expected"},
        BadSettings{"EndlessAnswer",
                    R"({"cameras": [{"faults": {"control": [{"fault": "Oversize", "value": 67108865}]}}]})",
                    "cameras[0].faults.control[0].value: at most 67108864 is expected"},
        BadSettings{"EndlessPending",
                    R"({"cameras": [{"faults": {"control": [{"fault": "Pending", "value": 1001}]}}]})",
                    "cameras[0].faults.control[0].value: at most 1000 is expected"},
        BadSettings{"EndlessPayload", R"({"cameras": [{"registers": {"extraPayload": 67108865}}]})",
                    "cameras[0].registers.extraPayload: at most 67108864 is expected"},
        BadSettings{"Size", R"({"cameras": [{"sensorWidth": 100}]})",
                    "cameras[0].sensorWidth: a multiple of 16 from 64 to 16384 is expected, not 100"}),
    [](const auto& instance) { return instance.param.name; });

TEST_F(SettingsTest, NameTheFileThatIsWrong) {
    const std::string path = testing::TempDir() + "tavix-bad-settings.json";
    std::ofstream(path) << "{\"cameras\": [{\"colour\": 1}]}";
    EXPECT_FALSE(virtualcam::ReadSettings(path, settings, error));
    EXPECT_EQ(error.rfind(path + ": cameras[0].colour: there is no such key; the keys are vendor, model, ", 0), 0u)
        << error;
    std::remove(path.c_str());
}

TEST_F(SettingsTest, TakeTheTextItselfInPlaceOfAFile) {
    ASSERT_TRUE(virtualcam::ReadSettings(R"({"cameras": [{"serial": "9"}]})", settings, error)) << error;
    EXPECT_EQ(settings.cameras.at(0).serial, "9");
}

TEST_F(SettingsTest, NameEachFaultAsItsEnumerationDoes) {
    EXPECT_EQ(virtualcam::kControlFaults.count, 21u);
    EXPECT_EQ(virtualcam::kStreamFaults.count, 23u);
    EXPECT_EQ(virtualcam::kEventFaults.count, 9u);
    for (const auto& row : virtualcam::kEventFaults)
        EXPECT_STRNE(row.text, "");
}

} // namespace
