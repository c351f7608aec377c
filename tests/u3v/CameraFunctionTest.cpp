#include "Bytes.h"

#include "u3v/CameraFunction.h"

#include <gtest/gtest.h>

namespace {

using namespace u3v;
using namespace u3vtest;

const Packet kDevice = Hex("12 01 00 03 EF 02 01 09 34 12 CD AB 00 01 01 02 03 01");
const Packet kAssociation = Hex("08 0B 00 03 EF 05 00 0C");
const Packet kControl = Hex("09 04 00 00 02 EF 05 00 00");
const Packet kInfo = Hex("14 24 01 03 00 01 00 02 00 01 00 04 05 06 07 08 09 0A 0B 0C");
const Packet kCompanion = Hex("06 30 00 00 00 00");
const Packet kOut = Hex("07 05 01 02 00 04 00");
const Packet kIn = Hex("07 05 81 02 00 04 00");
const Packet kEvent = Hex("09 04 01 00 01 EF 05 01 00 07 05 82 02 00 04 00 06 30 00 00 00 00");
const Packet kStream = Hex("09 04 02 00 01 EF 05 02 00 07 05 83 02 00 04 00 06 30 0F 00 00 00");
const Packet kHead = Hex("09 02 74 00 03 01 00 80 70");

const Packet kControlGroup = kControl + kInfo + kOut + kCompanion + kIn + kCompanion;
const Packet kWhole = kHead + kAssociation + kControlGroup + kEvent + kStream;

/// The bytes of an interface and its endpoint moved to other numbers.
Packet Moved(Packet bytes, std::uint8_t interfaceNumber, std::uint8_t endpoint) {
    bytes[2] = interfaceNumber;
    bytes[11] = endpoint;
    return bytes;
}

TEST(DeviceDescriptor, IsDecoded) {
    const auto identity = DecodeDeviceDescriptor(kDevice);
    ASSERT_TRUE(identity);
    EXPECT_EQ(identity->usbVersion, 0x0300);
    EXPECT_EQ(identity->vendorId, 0x1234);
    EXPECT_EQ(identity->productId, 0xABCD);
    EXPECT_EQ(identity->manufacturerIndex, 1);
    EXPECT_EQ(identity->productIndex, 2);
    EXPECT_EQ(identity->serialNumberIndex, 3);
}

TEST(DeviceDescriptor, IsNothingAtEveryTruncation) {
    for (std::size_t size = 0; size < kDevice.size(); ++size)
        EXPECT_FALSE(DecodeDeviceDescriptor(Cut(kDevice, size)));
}

TEST(DeviceDescriptor, IsNothingWhenItStatesLessThanItsLength) {
    EXPECT_FALSE(DecodeDeviceDescriptor(With(kDevice, 0, 17)));
}

TEST(DeviceInfo, IsDecoded) {
    const auto info = DecodeDeviceInfo(kInfo);
    ASSERT_TRUE(info);
    EXPECT_EQ(info->genCpVersion, 0x00010003u);
    EXPECT_EQ(info->u3vVersion, 0x00010002u);
    EXPECT_EQ(info->guidIndex, 4);
    EXPECT_EQ(info->vendorNameIndex, 5);
    EXPECT_EQ(info->modelNameIndex, 6);
    EXPECT_EQ(info->familyNameIndex, 7);
    EXPECT_EQ(info->deviceVersionIndex, 8);
    EXPECT_EQ(info->manufacturerInfoIndex, 9);
    EXPECT_EQ(info->serialNumberIndex, 10);
    EXPECT_EQ(info->userDefinedNameIndex, 11);
    EXPECT_EQ(info->speedSupport, 0x0C);
}

TEST(DeviceInfo, MayBeLonger) {
    EXPECT_TRUE(DecodeDeviceInfo(With(kInfo, 0, 0x16) + Hex("0102")));
}

TEST(DeviceInfo, IsNothingAtEveryTruncation) {
    for (std::size_t size = 0; size < kInfo.size(); ++size)
        EXPECT_FALSE(DecodeDeviceInfo(Cut(kInfo, size)));
}

TEST(DeviceInfo, IsNothingWhenItStatesLessThanItsLength) {
    EXPECT_FALSE(DecodeDeviceInfo(With(kInfo, 0, 19)));
}

TEST(CameraFunction, IsFoundWithItsInterfaces) {
    const auto functions = FindCameraFunctions(kWhole);
    ASSERT_EQ(functions.size(), 1u);
    const CameraFunction& function = functions[0];
    EXPECT_EQ(function.configurationValue, 1);
    EXPECT_EQ(function.controlInterface, 0);
    EXPECT_EQ(function.controlOut.address, 0x01);
    EXPECT_EQ(function.controlIn.address, 0x81);
    EXPECT_EQ(function.controlIn.packetSize, 1024);
    ASSERT_TRUE(function.event);
    EXPECT_EQ(function.event->number, 1);
    EXPECT_EQ(function.event->in.address, 0x82);
    ASSERT_EQ(function.streams.size(), 1u);
    EXPECT_EQ(function.streams[0].number, 2);
    EXPECT_EQ(function.streams[0].in.address, 0x83);
}

TEST(CameraFunction, MayHaveEndpointsOfDifferentNumbers) {
    const auto functions =
        FindCameraFunctions(kHead + kAssociation + kControl + kInfo + kOut + Moved(kIn + kCompanion, 0x85, 0));
    ASSERT_EQ(functions.size(), 1u);
    EXPECT_EQ(functions[0].controlOut.address, 0x01);
    EXPECT_EQ(functions[0].controlIn.address, 0x85);
}

TEST(CameraFunction, MayHaveItsDeviceInfoBehindAnEndpoint) {
    EXPECT_EQ(FindCameraFunctions(kHead + kAssociation + kControl + kOut + kCompanion + kInfo + kIn).size(), 1u);
    EXPECT_EQ(FindCameraFunctions(kHead + kAssociation + kControl + kOut + kIn + kCompanion + kInfo + kStream).size(),
              1u);
}

TEST(CameraFunction, MayHaveALongerDeviceInfo) {
    EXPECT_EQ(
        FindCameraFunctions(kHead + kAssociation + kControl + With(kInfo, 0, 0x17) + Hex("010203") + kOut + kIn).size(),
        1u);
}

TEST(CameraFunction, TakesAllInterfacesWithoutAnAssociation) {
    const auto functions = FindCameraFunctions(kHead + kControlGroup + kEvent + kStream);
    ASSERT_EQ(functions.size(), 1u);
    EXPECT_TRUE(functions[0].event);
    EXPECT_EQ(functions[0].streams.size(), 1u);
}

TEST(CameraFunction, IsOneOfSeveralWithAnAssociationEach) {
    const Packet second = With(With(kAssociation, 2, 3), 3, 2) + With(kControlGroup, 2, 3) + Moved(kStream, 4, 0x84);
    const auto functions = FindCameraFunctions(kWhole + second);
    ASSERT_EQ(functions.size(), 2u);
    ASSERT_EQ(functions[0].streams.size(), 1u);
    EXPECT_EQ(functions[0].streams[0].number, 2);
    ASSERT_EQ(functions[1].streams.size(), 1u);
    EXPECT_EQ(functions[1].streams[0].number, 4);
    EXPECT_FALSE(functions[1].event);
}

TEST(CameraFunction, LeavesOutTheInterfaceBehindItsAssociation) {
    const auto functions = FindCameraFunctions(kWhole + Moved(kStream, 3, 0x84));
    ASSERT_EQ(functions.size(), 1u);
    ASSERT_EQ(functions[0].streams.size(), 1u);
    EXPECT_EQ(functions[0].streams[0].number, 2);
}

TEST(CameraFunction, TakesNoAssociationThatStandsBeforeAnotherInterface) {
    const Packet foreign = Hex("09 04 07 00 00 FF 01 02 00");
    const auto functions =
        FindCameraFunctions(kHead + With(kAssociation, 3, 1) + foreign + kControlGroup + kEvent + kStream);
    ASSERT_EQ(functions.size(), 1u);
    EXPECT_TRUE(functions[0].event);
    EXPECT_EQ(functions[0].streams.size(), 1u);
}

TEST(CameraFunction, TakesItsFirstEventInterface) {
    const auto functions = FindCameraFunctions(kHead + kControlGroup + kEvent + Moved(kEvent, 4, 0x84));
    ASSERT_EQ(functions.size(), 1u);
    ASSERT_TRUE(functions[0].event);
    EXPECT_EQ(functions[0].event->number, 1);
}

TEST(CameraFunction, TakesItsFirstDeviceInfo) {
    const auto functions = FindCameraFunctions(kHead + kControl + kInfo + With(kInfo, 11, 0x44) + kOut + kIn);
    ASSERT_EQ(functions.size(), 1u);
    EXPECT_EQ(functions[0].info.guidIndex, 4);
}

TEST(CameraFunction, LeavesOutStreamsOfAnotherClass) {
    const auto functions = FindCameraFunctions(kHead + kControlGroup + With(kStream, 5, 0xFF) + With(kEvent, 6, 0x06));
    ASSERT_EQ(functions.size(), 1u);
    EXPECT_TRUE(functions[0].streams.empty());
    EXPECT_FALSE(functions[0].event);
}

TEST(CameraFunction, LeavesOutAlternateSettingsOfItsStreams) {
    const auto functions = FindCameraFunctions(kHead + kControlGroup + kStream + With(kStream, 3, 1));
    ASSERT_EQ(functions.size(), 1u);
    EXPECT_EQ(functions[0].streams.size(), 1u);
}

TEST(CameraFunction, LeavesOutEndpointsWithoutAPacketSize) {
    const Packet silent = With(With(kIn, 2, 0x84), 5, 0);
    EXPECT_TRUE(FindCameraFunctions(kHead + kControl + kInfo + kOut + silent).empty());
    const auto functions = FindCameraFunctions(kHead + kControl + kInfo + kOut + silent + kIn);
    ASSERT_EQ(functions.size(), 1u);
    EXPECT_EQ(functions[0].controlIn.address, 0x81);
}

TEST(CameraFunction, ReadsThePacketSizeWithoutTheBitsAboveIt) {
    const auto functions = FindCameraFunctions(kHead + kControl + kInfo + kOut + With(kIn, 5, 0x1C));
    ASSERT_EQ(functions.size(), 1u);
    EXPECT_EQ(functions[0].controlIn.packetSize, 1024);
}

TEST(CameraFunction, KeepsSeveralStreamsInTheirOrder) {
    const auto functions = FindCameraFunctions(kHead + With(kAssociation, 3, 9) + kControlGroup +
                                               Moved(kStream, 5, 0x85) + Moved(kStream, 3, 0x83));
    ASSERT_EQ(functions.size(), 1u);
    ASSERT_EQ(functions[0].streams.size(), 2u);
    EXPECT_EQ(functions[0].streams[0].number, 5);
    EXPECT_EQ(functions[0].streams[1].number, 3);
}

TEST(CameraFunction, ToleratesForeignInterfaces) {
    const Packet foreign = Hex("09 04 02 00 00 FF 01 02 00 05 24 01 00 00");
    EXPECT_EQ(FindCameraFunctions(kHead + kAssociation + kControlGroup + foreign).size(), 1u);
}

TEST(CameraFunction, NeedsItsTwoBulkEndpointsAndItsDeviceInfo) {
    EXPECT_TRUE(FindCameraFunctions(kHead + kAssociation + kControl + kInfo + kOut).empty());
    EXPECT_TRUE(FindCameraFunctions(kHead + kAssociation + kControl + kInfo + kIn).empty());
    EXPECT_TRUE(FindCameraFunctions(kHead + kAssociation + kControl + kOut + kIn).empty());
    EXPECT_TRUE(FindCameraFunctions(kHead + kAssociation + kControl + kInfo + kOut + With(kIn, 3, 0x03)).empty());
}

TEST(CameraFunction, IgnoresAlternateSettings) {
    EXPECT_TRUE(FindCameraFunctions(kHead + kAssociation + With(kControlGroup, 3, 1)).empty());
}

TEST(CameraFunction, IsReadSafelyFromEveryTruncation) {
    for (std::size_t size = 0; size < kWhole.size(); ++size) {
        const Packet cut = Cut(kWhole, size);
        EXPECT_LE(FindCameraFunctions(cut).size(), 1u);
    }
}

TEST(CameraFunction, IsReadSafelyWithEveryLengthByteChanged) {
    for (std::size_t offset = 0; offset < kWhole.size(); ++offset)
        for (const int value : {0, 1, 2, 255}) {
            const Packet changed = With(kWhole, offset, static_cast<std::uint8_t>(value));
            EXPECT_LE(FindCameraFunctions(changed).size(), 2u);
        }
}

} // namespace
