#include "u3v/Constants.h"

#include <gtest/gtest.h>

#include <ostream>

namespace {

using namespace u3v;

struct Constant {
    const char* name;
    std::uint64_t value;
    std::uint64_t literal;
};

std::ostream& operator<<(std::ostream& out, const Constant& row) {
    return out << row.name;
}

class EveryConstant : public testing::TestWithParam<Constant> {};

TEST_P(EveryConstant, HasTheNumberOfTheWire) {
    EXPECT_EQ(GetParam().value, GetParam().literal);
}

// clang-format off
const Constant kRows[] = {
    {"kControlMagic", kControlMagic, 0x43563355},
    {"kEventMagic", kEventMagic, 0x45563355},
    {"kLeaderMagic", kLeaderMagic, 0x4C563355},
    {"kTrailerMagic", kTrailerMagic, 0x54563355},
    {"control::kHeaderSize", control::kHeaderSize, 12},
    {"control::kMagicOffset", control::kMagicOffset, 0},
    {"control::kFlagsOffset", control::kFlagsOffset, 4},
    {"control::kStatusOffset", control::kStatusOffset, 4},
    {"control::kCommandOffset", control::kCommandOffset, 6},
    {"control::kLengthOffset", control::kLengthOffset, 8},
    {"control::kRequestIdOffset", control::kRequestIdOffset, 10},
    {"control::kDataOffset", control::kDataOffset, 12},
    {"control::kFlagRequestAck", control::kFlagRequestAck, 0x4000},
    {"control::kFlagResend", control::kFlagResend, 0x8000},
    {"control::kReadMemCommandSize", control::kReadMemCommandSize, 24},
    {"control::kWriteMemHeaderSize", control::kWriteMemHeaderSize, 20},
    {"control::kWriteMemAckSize", control::kWriteMemAckSize, 16},
    {"control::kSmallestAckTransfer", control::kSmallestAckTransfer, 16},
    {"control::kMaxReadLength", control::kMaxReadLength, 65535},
    {"control::kMaxWriteLength", control::kMaxWriteLength, 65527},
    {"kReadMemCommand", kReadMemCommand, 0x0800},
    {"kReadMemAck", kReadMemAck, 0x0801},
    {"kWriteMemCommand", kWriteMemCommand, 0x0802},
    {"kWriteMemAck", kWriteMemAck, 0x0803},
    {"kPendingAck", kPendingAck, 0x0805},
    {"kEventCommand", kEventCommand, 0x0C00},
    {"status::kSuccess", status::kSuccess, 0},
    {"status::kNotImplemented", status::kNotImplemented, 0x8001},
    {"status::kInvalidParameter", status::kInvalidParameter, 0x8002},
    {"status::kInvalidAddress", status::kInvalidAddress, 0x8003},
    {"status::kWriteProtect", status::kWriteProtect, 0x8004},
    {"status::kBadAlignment", status::kBadAlignment, 0x8005},
    {"status::kAccessDenied", status::kAccessDenied, 0x8006},
    {"status::kBusy", status::kBusy, 0x8007},
    {"status::kMessageTimeout", status::kMessageTimeout, 0x800B},
    {"status::kInvalidHeader", status::kInvalidHeader, 0x800E},
    {"status::kWrongConfiguration", status::kWrongConfiguration, 0x800F},
    {"status::kError", status::kError, 0x8FFF},
    {"status::kResendNotSupported", status::kResendNotSupported, 0xA001},
    {"status::kStreamEndpointHalted", status::kStreamEndpointHalted, 0xA002},
    {"status::kPayloadSizeNotAligned", status::kPayloadSizeNotAligned, 0xA003},
    {"status::kStreamRegistersInconsistent", status::kStreamRegistersInconsistent, 0xA004},
    {"status::kEventEndpointHalted", status::kEventEndpointHalted, 0xA005},
    {"status::kDataDiscarded", status::kDataDiscarded, 0xA100},
    {"status::kDataOverrun", status::kDataOverrun, 0xA101},
    {"status::kErrorBit", status::kErrorBit, 0x8000},
    {"status::kNamespaceMask", status::kNamespaceMask, 0x6000},
    {"status::kNamespaceGenCp", status::kNamespaceGenCp, 0},
    {"status::kNamespaceUsb3Vision", status::kNamespaceUsb3Vision, 0x2000},
    {"status::kNamespaceDevice", status::kNamespaceDevice, 0x4000},
    {"abrm::kGenCpVersion", abrm::kGenCpVersion, 0x0000},
    {"abrm::kManufacturerName", abrm::kManufacturerName, 0x0004},
    {"abrm::kModelName", abrm::kModelName, 0x0044},
    {"abrm::kFamilyName", abrm::kFamilyName, 0x0084},
    {"abrm::kDeviceVersion", abrm::kDeviceVersion, 0x00C4},
    {"abrm::kManufacturerInfo", abrm::kManufacturerInfo, 0x0104},
    {"abrm::kSerialNumber", abrm::kSerialNumber, 0x0144},
    {"abrm::kUserDefinedName", abrm::kUserDefinedName, 0x0184},
    {"abrm::kDeviceCapability", abrm::kDeviceCapability, 0x01C4},
    {"abrm::kMaximumDeviceResponseTime", abrm::kMaximumDeviceResponseTime, 0x01CC},
    {"abrm::kManifestTableAddress", abrm::kManifestTableAddress, 0x01D0},
    {"abrm::kSbrmAddress", abrm::kSbrmAddress, 0x01D8},
    {"abrm::kTimestamp", abrm::kTimestamp, 0x01F0},
    {"abrm::kTimestampLatch", abrm::kTimestampLatch, 0x01F8},
    {"abrm::kTimestampIncrement", abrm::kTimestampIncrement, 0x01FC},
    {"abrm::kImplementationEndianness", abrm::kImplementationEndianness, 0x020C},
    {"abrm::kReserved", abrm::kReserved, 0x0250},
    {"abrm::kEnd", abrm::kEnd, 0x10000},
    {"abrm::kStringSize", abrm::kStringSize, 64},
    {"sbrm::kU3vVersion", sbrm::kU3vVersion, 0x00},
    {"sbrm::kCapability", sbrm::kCapability, 0x04},
    {"sbrm::kConfiguration", sbrm::kConfiguration, 0x0C},
    {"sbrm::kMaxCommandTransferLength", sbrm::kMaxCommandTransferLength, 0x14},
    {"sbrm::kMaxAcknowledgeTransferLength", sbrm::kMaxAcknowledgeTransferLength, 0x18},
    {"sbrm::kNumberOfStreamChannels", sbrm::kNumberOfStreamChannels, 0x1C},
    {"sbrm::kSirmAddress", sbrm::kSirmAddress, 0x20},
    {"sbrm::kSirmLength", sbrm::kSirmLength, 0x28},
    {"sbrm::kEirmAddress", sbrm::kEirmAddress, 0x2C},
    {"sbrm::kReserved", sbrm::kReserved, 0x44},
    {"sbrm::kEnd", sbrm::kEnd, 0x10000},
    {"sbrm::kCapSirm", sbrm::kCapSirm, 0x1},
    {"sbrm::kCapEirm", sbrm::kCapEirm, 0x2},
    {"sirm::kInfo", sirm::kInfo, 0x00},
    {"sirm::kControl", sirm::kControl, 0x04},
    {"sirm::kRequiredPayloadSize", sirm::kRequiredPayloadSize, 0x08},
    {"sirm::kRequiredLeaderSize", sirm::kRequiredLeaderSize, 0x10},
    {"sirm::kRequiredTrailerSize", sirm::kRequiredTrailerSize, 0x14},
    {"sirm::kMaximumLeaderSize", sirm::kMaximumLeaderSize, 0x18},
    {"sirm::kPayloadTransferSize", sirm::kPayloadTransferSize, 0x1C},
    {"sirm::kPayloadTransferCount", sirm::kPayloadTransferCount, 0x20},
    {"sirm::kPayloadFinalTransfer1Size", sirm::kPayloadFinalTransfer1Size, 0x24},
    {"sirm::kPayloadFinalTransfer2Size", sirm::kPayloadFinalTransfer2Size, 0x28},
    {"sirm::kMaximumTrailerSize", sirm::kMaximumTrailerSize, 0x2C},
    {"sirm::kPayloadMode", sirm::kPayloadMode, 0x34},
    {"sirm::kLength", sirm::kLength, 0x30},
    {"sirm::kInfoPayloadModes", sirm::kInfoPayloadModes, 0x1},
    {"sirm::kInfoAlignmentShift", sirm::kInfoAlignmentShift, 24},
    {"sirm::kControlStreamEnable", sirm::kControlStreamEnable, 0x1},
    {"sirm::kPayloadModeStandard", sirm::kPayloadModeStandard, 0x1},
    {"eirm::kControl", eirm::kControl, 0x00},
    {"eirm::kMaximumEventTransferLength", eirm::kMaximumEventTransferLength, 0x04},
    {"eirm::kEventTestControl", eirm::kEventTestControl, 0x08},
    {"eirm::kLength", eirm::kLength, 0x0C},
    {"eirm::kControlEventEnable", eirm::kControlEventEnable, 0x1},
    {"eirm::kTriggerEventTest", eirm::kTriggerEventTest, 0x1},
    {"manifest::kCountSize", manifest::kCountSize, 8},
    {"manifest::kEntrySize", manifest::kEntrySize, 64},
    {"manifest::kFileVersionOffset", manifest::kFileVersionOffset, 0},
    {"manifest::kSchemaOffset", manifest::kSchemaOffset, 4},
    {"manifest::kAddressOffset", manifest::kAddressOffset, 8},
    {"manifest::kSizeOffset", manifest::kSizeOffset, 16},
    {"manifest::kSha1Offset", manifest::kSha1Offset, 24},
    {"manifest::kSha1Size", manifest::kSha1Size, 20},
    {"manifest::kFileTypeMask", manifest::kFileTypeMask, 7},
    {"manifest::kFileTypeCameraXml", manifest::kFileTypeCameraXml, 0},
    {"manifest::kFormatShift", manifest::kFormatShift, 10},
    {"manifest::kFormatMask", manifest::kFormatMask, 0x3F},
    {"manifest::kFormatZip", manifest::kFormatZip, 1},
    {"manifest::kSchemaMinorShift", manifest::kSchemaMinorShift, 16},
    {"manifest::kSchemaMajorShift", manifest::kSchemaMajorShift, 24},
    {"kPayloadImage", kPayloadImage, 0x0001},
    {"kPayloadImageExtendedChunk", kPayloadImageExtendedChunk, 0x4001},
    {"kPayloadChunk", kPayloadChunk, 0x4000},
    {"kPayloadGenDcContainer", kPayloadGenDcContainer, 0x1001},
    {"leader::kGenericSize", leader::kGenericSize, 20},
    {"leader::kImageSize", leader::kImageSize, 52},
    {"leader::kChunkSize", leader::kChunkSize, 28},
    {"leader::kSizeOffset", leader::kSizeOffset, 6},
    {"leader::kBlockIdOffset", leader::kBlockIdOffset, 8},
    {"leader::kPayloadTypeOffset", leader::kPayloadTypeOffset, 18},
    {"leader::kTimestampOffset", leader::kTimestampOffset, 20},
    {"leader::kPixelFormatOffset", leader::kPixelFormatOffset, 28},
    {"leader::kSizeXOffset", leader::kSizeXOffset, 32},
    {"leader::kSizeYOffset", leader::kSizeYOffset, 36},
    {"leader::kOffsetXOffset", leader::kOffsetXOffset, 40},
    {"leader::kOffsetYOffset", leader::kOffsetYOffset, 44},
    {"leader::kPaddingXOffset", leader::kPaddingXOffset, 48},
    {"trailer::kGenericSize", trailer::kGenericSize, 28},
    {"trailer::kImageSize", trailer::kImageSize, 32},
    {"trailer::kImageExtendedChunkSize", trailer::kImageExtendedChunkSize, 36},
    {"trailer::kChunkSize", trailer::kChunkSize, 32},
    {"trailer::kSizeOffset", trailer::kSizeOffset, 6},
    {"trailer::kBlockIdOffset", trailer::kBlockIdOffset, 8},
    {"trailer::kStatusOffset", trailer::kStatusOffset, 16},
    {"trailer::kValidPayloadSizeOffset", trailer::kValidPayloadSizeOffset, 20},
    {"trailer::kSizeYOffset", trailer::kSizeYOffset, 28},
    {"trailer::kExtendedChunkLayoutIdOffset", trailer::kExtendedChunkLayoutIdOffset, 32},
    {"trailer::kChunkLayoutIdOffset", trailer::kChunkLayoutIdOffset, 28},
    {"event::kHeaderSize", event::kHeaderSize, 12},
    {"event::kEntryHeaderSize", event::kEntryHeaderSize, 12},
    {"event::kSmallestSize", event::kSmallestSize, 24},
    {"event::kSizeOffset", event::kSizeOffset, 12},
    {"event::kTimestampOffset", event::kTimestampOffset, 16},
    {"event::kDataOffset", event::kDataOffset, 24},
    {"chunk::kTrailerSize", chunk::kTrailerSize, 8},
    {"chunk::kIdFromEnd", chunk::kIdFromEnd, 8},
    {"chunk::kLengthFromEnd", chunk::kLengthFromEnd, 4},
    {"descriptor::kTypeDevice", descriptor::kTypeDevice, 0x01},
    {"descriptor::kTypeConfiguration", descriptor::kTypeConfiguration, 0x02},
    {"descriptor::kTypeInterface", descriptor::kTypeInterface, 0x04},
    {"descriptor::kTypeEndpoint", descriptor::kTypeEndpoint, 0x05},
    {"descriptor::kTypeInterfaceAssociation", descriptor::kTypeInterfaceAssociation, 0x0B},
    {"descriptor::kTypeClassInterface", descriptor::kTypeClassInterface, 0x24},
    {"descriptor::kDeviceSize", descriptor::kDeviceSize, 0x12},
    {"descriptor::kConfigurationSize", descriptor::kConfigurationSize, 9},
    {"descriptor::kInterfaceAssociationSize", descriptor::kInterfaceAssociationSize, 8},
    {"descriptor::kInterfaceSize", descriptor::kInterfaceSize, 9},
    {"descriptor::kEndpointSize", descriptor::kEndpointSize, 7},
    {"descriptor::kDeviceInfoSize", descriptor::kDeviceInfoSize, 0x14},
    {"descriptor::kClassMiscellaneous", descriptor::kClassMiscellaneous, 0xEF},
    {"descriptor::kSubclassUsb3Vision", descriptor::kSubclassUsb3Vision, 0x05},
    {"descriptor::kProtocolControl", descriptor::kProtocolControl, 0x00},
    {"descriptor::kProtocolEvent", descriptor::kProtocolEvent, 0x01},
    {"descriptor::kProtocolStream", descriptor::kProtocolStream, 0x02},
    {"descriptor::kDeviceInfoSubtype", descriptor::kDeviceInfoSubtype, 0x01},
    {"descriptor::kEndpointIn", descriptor::kEndpointIn, 0x80},
    {"descriptor::kAttributesTransferTypeMask", descriptor::kAttributesTransferTypeMask, 0x03},
    {"descriptor::kAttributesBulk", descriptor::kAttributesBulk, 0x02},
    {"descriptor::kSuperSpeedPacket", descriptor::kSuperSpeedPacket, 1024},
    {"descriptor::kInfoGenCpVersionOffset", descriptor::kInfoGenCpVersionOffset, 3},
    {"descriptor::kInfoU3vVersionOffset", descriptor::kInfoU3vVersionOffset, 7},
    {"descriptor::kInfoGuidOffset", descriptor::kInfoGuidOffset, 11},
    {"descriptor::kInfoVendorNameOffset", descriptor::kInfoVendorNameOffset, 12},
    {"descriptor::kInfoModelNameOffset", descriptor::kInfoModelNameOffset, 13},
    {"descriptor::kInfoFamilyNameOffset", descriptor::kInfoFamilyNameOffset, 14},
    {"descriptor::kInfoDeviceVersionOffset", descriptor::kInfoDeviceVersionOffset, 15},
    {"descriptor::kInfoManufacturerInfoOffset", descriptor::kInfoManufacturerInfoOffset, 16},
    {"descriptor::kInfoSerialNumberOffset", descriptor::kInfoSerialNumberOffset, 17},
    {"descriptor::kInfoUserDefinedNameOffset", descriptor::kInfoUserDefinedNameOffset, 18},
    {"descriptor::kInfoSpeedSupportOffset", descriptor::kInfoSpeedSupportOffset, 19},
    {"descriptor::kSpeedLow", descriptor::kSpeedLow, 0x01},
    {"descriptor::kSpeedFull", descriptor::kSpeedFull, 0x02},
    {"descriptor::kSpeedHigh", descriptor::kSpeedHigh, 0x04},
    {"descriptor::kSpeedSuper", descriptor::kSpeedSuper, 0x08},
    {"descriptor::kSpeedSuperPlusGen2x1", descriptor::kSpeedSuperPlusGen2x1, 0x10},
    {"descriptor::kSpeedSuperPlusGen1x2", descriptor::kSpeedSuperPlusGen1x2, 0x20},
    {"descriptor::kSpeedSuperPlusGen2x2", descriptor::kSpeedSuperPlusGen2x2, 0x40},
    {"descriptor::kRequestTypeEndpointOut", descriptor::kRequestTypeEndpointOut, 0x02},
    {"descriptor::kRequestSetFeature", descriptor::kRequestSetFeature, 0x03},
    {"descriptor::kFeatureEndpointHalt", descriptor::kFeatureEndpointHalt, 0x0000},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Table, EveryConstant, testing::ValuesIn(kRows));

TEST(StatusCode, IsAnErrorOnlyWithBitFifteen) {
    EXPECT_FALSE(status::IsError(0x0000));
    EXPECT_FALSE(status::IsError(0x2001));
    EXPECT_TRUE(status::IsError(0x8001));
    EXPECT_TRUE(status::IsError(0xA100));
}

TEST(PixelFormatCode, CarriesItsBitsPerPixel) {
    EXPECT_EQ(BitsPerPixel(0x01080001), 8u);
    EXPECT_EQ(BitsPerPixel(0x010C0047), 12u);
    EXPECT_EQ(BitsPerPixel(0x01010037), 1u);
    EXPECT_EQ(BitsPerPixel(0x026000C0), 96u);
}

TEST(PixelFormatCode, IsCustomWithBitThirtyOne) {
    EXPECT_FALSE(IsCustomPixelFormat(0x01080001));
    EXPECT_TRUE(IsCustomPixelFormat(0x81080001));
}

} // namespace
