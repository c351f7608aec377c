#include "virtualcam/Settings.h"

#include <gtest/gtest.h>

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

TEST_F(SettingsTest, ReadCamerasWithTheirFaults) {
    ASSERT_TRUE(virtualcam::ParseSettings(R"({"transferMemoryLimit": 1000, "cameras": [
        {"model": "M", "guid": "ABCD00000009", "sensorWidth": 640, "speed": "High", "frameRateEnable": false,
         "registers": {"responseTime": 50, "manifest": "PlainXml"},
         "faults": {"refuseClaims": 2, "replugAfterMs": 5,
                    "control": [{"fault": "Late", "value": 30, "command": 2048, "address": 4}],
                    "stream": [{"fault": "IdGap", "frame": 3, "value": 2}]}}, {}]})",
                                          settings, error))
        << error;
    ASSERT_EQ(settings.cameras.size(), 2u);
    const virtualcam::CameraSettings& camera = settings.cameras[0];
    EXPECT_EQ(settings.transferMemoryLimit, 1000u);
    EXPECT_EQ(camera.model, "M");
    EXPECT_EQ(camera.speed, usb::Speed::High);
    EXPECT_EQ(camera.registers.responseTime, 50u);
    EXPECT_EQ(camera.registers.manifest, virtualcam::ManifestFault::PlainXml);
    EXPECT_EQ(camera.faults.refuseClaims, 2u);
    EXPECT_EQ(camera.faults.control.at(0).fault, virtualcam::ControlFault::Late);
    EXPECT_EQ(camera.faults.control.at(0).command, std::uint16_t{2048});
    EXPECT_EQ(camera.faults.stream.at(0).fault, virtualcam::StreamFault::IdGap);
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

} // namespace
