#include "virtualcam/device/endpoint/Descriptors.h"

#include <gtest/gtest.h>

#include "virtualcam/support/DeviceClient.h"

namespace {

using virtualcam::CameraSettings;
using virtualcam::Descriptors;
using virtualcam::test::Hex;

TEST(Descriptors, AreThoseOfASuperSpeedCamera) {
    const Descriptors descriptors{CameraSettings{}};
    EXPECT_EQ(descriptors.Device(), Hex("12 01 00 03 EF 02 01 09 09 12 01 00 00 01 01 02 03 01"));
    EXPECT_EQ(descriptors.Configuration(), Hex("09 02 74 00 03 01 00 80 70"
                                               "08 0B 00 03 EF 05 00 0C"
                                               "09 04 00 00 02 EF 05 00 00"
                                               "14 24 01 03 00 01 00 02 00 01 00 04 05 06 07 08 09 0A 0B 0C"
                                               "07 05 01 02 00 04 00 06 30 00 00 00 00"
                                               "07 05 81 02 00 04 00 06 30 00 00 00 00"
                                               "09 04 01 00 01 EF 05 01 00"
                                               "07 05 82 02 00 04 00 06 30 00 00 00 00"
                                               "09 04 02 00 01 EF 05 02 00"
                                               "07 05 83 02 00 04 00 06 30 0F 00 00 00"));
    EXPECT_EQ(descriptors.BinaryObjectStore(),
              Hex("05 0F 16 00 02 07 10 02 02 00 00 00 0A 10 03 00 0C 00 02 0A FF 07"));
    EXPECT_EQ(descriptors.MaxPacketSize(), 1024);
}

TEST(Descriptors, HaveNoCompanionsAtHighSpeed) {
    CameraSettings settings;
    settings.speed = usb::Speed::High;
    const Descriptors descriptors{settings};
    EXPECT_EQ(descriptors.Configuration().size(), 92u);
    EXPECT_EQ(descriptors.Configuration()[2], 92);
    EXPECT_EQ(descriptors.Device()[7], 0x40);
    EXPECT_EQ(descriptors.Device()[3], 0x02);
    EXPECT_EQ(descriptors.MaxPacketSize(), 512);
}

TEST(Descriptors, GiveBothControlEndpointsOneNumberUnlessAskedNotTo) {
    CameraSettings settings;
    EXPECT_EQ(Descriptors{settings}.Configuration()[46 + 2], 0x01);
    EXPECT_EQ(Descriptors{settings}.Configuration()[59 + 2], 0x81);
    settings.registers.asymmetricEndpoints = true;
    EXPECT_EQ(Descriptors{settings}.Configuration()[46 + 2], 0x01);
    EXPECT_EQ(Descriptors{settings}.Configuration()[59 + 2], 0x84);
}

TEST(Descriptors, SayWhichStringsAreNotSupported) {
    CameraSettings settings;
    settings.family.clear();
    EXPECT_EQ(Descriptors{settings}.Configuration()[26 + 14], 0);
}

TEST(Descriptors, SpellStringsInTwoByteCharacters) {
    CameraSettings settings;
    settings.model = "AB";
    const Descriptors descriptors{settings};
    EXPECT_EQ(descriptors.String(0, ""), Hex("04 03 09 04"));
    EXPECT_EQ(descriptors.String(6, ""), Hex("06 03 41 00 42 00"));
    EXPECT_EQ(descriptors.String(11, "me"), Hex("06 03 6D 00 65 00"));
    EXPECT_TRUE(descriptors.String(200, "").empty());
}

} // namespace
