#pragma once
// Numbers of USB3 Vision: magics, command identifiers, status codes, register offsets, payload types, descriptors.
// The host's numbers: the virtual camera writes down its own, so that a mistake here cannot hide behind the same one
// there. ConstantsTest.cpp holds every number against a literal.

#include <cstddef>
#include <cstdint>

namespace u3v {

// Magic numbers, as little-endian 32-bit values.
inline constexpr std::uint32_t kControlMagic = 0x43563355; ///< "U3VC", commands and acknowledges
inline constexpr std::uint32_t kEventMagic = 0x45563355;   ///< "U3VE"
inline constexpr std::uint32_t kLeaderMagic = 0x4C563355;  ///< "U3VL"
inline constexpr std::uint32_t kTrailerMagic = 0x54563355; ///< "U3VT"

/// Control packets: magic, flags or status, command id, length of what follows, request id.
namespace control {
inline constexpr std::size_t kHeaderSize = 12;
inline constexpr std::size_t kMagicOffset = 0;
inline constexpr std::size_t kFlagsOffset = 4;
inline constexpr std::size_t kStatusOffset = 4;
inline constexpr std::size_t kCommandOffset = 6;
inline constexpr std::size_t kLengthOffset = 8;
inline constexpr std::size_t kRequestIdOffset = 10;
inline constexpr std::size_t kDataOffset = 12;

inline constexpr std::uint16_t kFlagRequestAck = 0x4000;
inline constexpr std::uint16_t kFlagResend = 0x8000;

inline constexpr std::size_t kReadMemCommandSize = 24;
inline constexpr std::size_t kWriteMemHeaderSize = 20; ///< write command without its data
inline constexpr std::size_t kWriteMemAckSize = 16;
inline constexpr std::size_t kSmallestAckTransfer = 16; ///< room for a pending acknowledge
inline constexpr std::size_t kMaxReadLength = 65535;
inline constexpr std::size_t kMaxWriteLength = 65527;
} // namespace control

enum Command : std::uint16_t {
    kReadMemCommand = 0x0800,
    kReadMemAck = 0x0801,
    kWriteMemCommand = 0x0802,
    kWriteMemAck = 0x0803,
    kPendingAck = 0x0805,
    kEventCommand = 0x0C00
};

/// Status codes of acknowledges and trailers. Bit 15 is the error bit, bits 13 and 14 the name space.
namespace status {
inline constexpr std::uint16_t kSuccess = 0x0000;
inline constexpr std::uint16_t kNotImplemented = 0x8001;
inline constexpr std::uint16_t kInvalidParameter = 0x8002;
inline constexpr std::uint16_t kInvalidAddress = 0x8003;
inline constexpr std::uint16_t kWriteProtect = 0x8004;
inline constexpr std::uint16_t kBadAlignment = 0x8005;
inline constexpr std::uint16_t kAccessDenied = 0x8006;
inline constexpr std::uint16_t kBusy = 0x8007;
inline constexpr std::uint16_t kMessageTimeout = 0x800B;
inline constexpr std::uint16_t kInvalidHeader = 0x800E;
inline constexpr std::uint16_t kWrongConfiguration = 0x800F;
inline constexpr std::uint16_t kError = 0x8FFF;
inline constexpr std::uint16_t kResendNotSupported = 0xA001;
inline constexpr std::uint16_t kStreamEndpointHalted = 0xA002;
inline constexpr std::uint16_t kPayloadSizeNotAligned = 0xA003;
inline constexpr std::uint16_t kStreamRegistersInconsistent = 0xA004;
inline constexpr std::uint16_t kEventEndpointHalted = 0xA005;
inline constexpr std::uint16_t kDataDiscarded = 0xA100; ///< trailer only
inline constexpr std::uint16_t kDataOverrun = 0xA101;   ///< trailer only

inline constexpr std::uint16_t kErrorBit = 0x8000;
inline constexpr std::uint16_t kNamespaceMask = 0x6000;
inline constexpr std::uint16_t kNamespaceGenCp = 0x0000;
inline constexpr std::uint16_t kNamespaceUsb3Vision = 0x2000;
inline constexpr std::uint16_t kNamespaceDevice = 0x4000;

/// False for success and for warnings, which mean that the command was executed.
constexpr bool IsError(std::uint16_t code) {
    return (code & kErrorBit) != 0;
}
} // namespace status

/// Technology-agnostic bootstrap registers, absolute addresses.
namespace abrm {
inline constexpr std::uint64_t kGenCpVersion = 0x0000;
inline constexpr std::uint64_t kManufacturerName = 0x0004;
inline constexpr std::uint64_t kModelName = 0x0044;
inline constexpr std::uint64_t kFamilyName = 0x0084;
inline constexpr std::uint64_t kDeviceVersion = 0x00C4;
inline constexpr std::uint64_t kManufacturerInfo = 0x0104;
inline constexpr std::uint64_t kSerialNumber = 0x0144;
inline constexpr std::uint64_t kUserDefinedName = 0x0184;
inline constexpr std::uint64_t kDeviceCapability = 0x01C4;
inline constexpr std::uint64_t kMaximumDeviceResponseTime = 0x01CC;
inline constexpr std::uint64_t kManifestTableAddress = 0x01D0;
inline constexpr std::uint64_t kSbrmAddress = 0x01D8;
inline constexpr std::uint64_t kTimestamp = 0x01F0;
inline constexpr std::uint64_t kTimestampLatch = 0x01F8;
inline constexpr std::uint64_t kTimestampIncrement = 0x01FC;
inline constexpr std::uint64_t kImplementationEndianness = 0x020C;
inline constexpr std::uint64_t kReserved = 0x0250;
inline constexpr std::uint64_t kEnd = 0x10000;

inline constexpr std::size_t kStringSize = 64;
} // namespace abrm

/// USB3 Vision bootstrap registers, offsets from the SBRM address.
namespace sbrm {
inline constexpr std::uint64_t kU3vVersion = 0x00;
inline constexpr std::uint64_t kCapability = 0x04;
inline constexpr std::uint64_t kConfiguration = 0x0C;
inline constexpr std::uint64_t kMaxCommandTransferLength = 0x14;
inline constexpr std::uint64_t kMaxAcknowledgeTransferLength = 0x18;
inline constexpr std::uint64_t kNumberOfStreamChannels = 0x1C;
inline constexpr std::uint64_t kSirmAddress = 0x20;
inline constexpr std::uint64_t kSirmLength = 0x28;
inline constexpr std::uint64_t kEirmAddress = 0x2C;
inline constexpr std::uint64_t kReserved = 0x44;
inline constexpr std::uint64_t kEnd = 0x10000;

inline constexpr std::uint64_t kCapSirm = 1u << 0;
inline constexpr std::uint64_t kCapEirm = 1u << 1;
} // namespace sbrm

/// Stream interface registers, offsets from the address of the stream's block.
namespace sirm {
inline constexpr std::uint64_t kInfo = 0x00;
inline constexpr std::uint64_t kControl = 0x04;
inline constexpr std::uint64_t kRequiredPayloadSize = 0x08;
inline constexpr std::uint64_t kRequiredLeaderSize = 0x10;
inline constexpr std::uint64_t kRequiredTrailerSize = 0x14;
inline constexpr std::uint64_t kMaximumLeaderSize = 0x18;
inline constexpr std::uint64_t kPayloadTransferSize = 0x1C;
inline constexpr std::uint64_t kPayloadTransferCount = 0x20;
inline constexpr std::uint64_t kPayloadFinalTransfer1Size = 0x24;
inline constexpr std::uint64_t kPayloadFinalTransfer2Size = 0x28;
inline constexpr std::uint64_t kMaximumTrailerSize = 0x2C;
inline constexpr std::uint64_t kPayloadMode = 0x34;
inline constexpr std::uint64_t kLength = 0x30; ///< of a block without payload modes

inline constexpr std::uint32_t kInfoPayloadModes = 1u << 0;
inline constexpr std::uint32_t kInfoAlignmentShift = 24;
inline constexpr std::uint32_t kControlStreamEnable = 1u << 0;
inline constexpr std::uint32_t kPayloadModeStandard = 1u << 0;
} // namespace sirm

/// Event interface registers, offsets from the EIRM address.
namespace eirm {
inline constexpr std::uint64_t kControl = 0x00;
inline constexpr std::uint64_t kMaximumEventTransferLength = 0x04;
inline constexpr std::uint64_t kEventTestControl = 0x08;
inline constexpr std::uint64_t kLength = 0x0C;

inline constexpr std::uint32_t kControlEventEnable = 1u << 0;
inline constexpr std::uint32_t kTriggerEventTest = 1u << 0;
} // namespace eirm

/// Manifest table: a 64-bit count and entries of 64 bytes; offsets within an entry.
namespace manifest {
inline constexpr std::size_t kCountSize = 8;
inline constexpr std::size_t kEntrySize = 64;
inline constexpr std::size_t kFileVersionOffset = 0;
inline constexpr std::size_t kSchemaOffset = 4;
inline constexpr std::size_t kAddressOffset = 8;
inline constexpr std::size_t kSizeOffset = 16;
inline constexpr std::size_t kSha1Offset = 24;
inline constexpr std::size_t kSha1Size = 20;

inline constexpr std::uint32_t kFileTypeMask = 0x7;
inline constexpr std::uint32_t kFileTypeCameraXml = 0;
inline constexpr std::uint32_t kFormatShift = 10;
inline constexpr std::uint32_t kFormatMask = 0x3F;
inline constexpr std::uint32_t kFormatZip = 1;
inline constexpr std::uint32_t kSchemaMinorShift = 16;
inline constexpr std::uint32_t kSchemaMajorShift = 24;
} // namespace manifest

enum PayloadType : std::uint16_t {
    kPayloadImage = 0x0001,
    kPayloadImageExtendedChunk = 0x4001,
    kPayloadChunk = 0x4000,
    kPayloadGenDcContainer = 0x1001
};

/// Leader: magic, size, block id, payload type, then what the payload type adds.
namespace leader {
inline constexpr std::size_t kGenericSize = 20;
inline constexpr std::size_t kImageSize = 52;
inline constexpr std::size_t kChunkSize = 28;
inline constexpr std::size_t kSizeOffset = 6;
inline constexpr std::size_t kBlockIdOffset = 8;
inline constexpr std::size_t kPayloadTypeOffset = 18;
inline constexpr std::size_t kTimestampOffset = 20;
inline constexpr std::size_t kPixelFormatOffset = 28;
inline constexpr std::size_t kSizeXOffset = 32;
inline constexpr std::size_t kSizeYOffset = 36;
inline constexpr std::size_t kOffsetXOffset = 40;
inline constexpr std::size_t kOffsetYOffset = 44;
inline constexpr std::size_t kPaddingXOffset = 48;
} // namespace leader

/// Trailer: magic, size, block id, status, valid payload size, then what the payload type adds.
namespace trailer {
inline constexpr std::size_t kGenericSize = 28;
inline constexpr std::size_t kImageSize = 32;
inline constexpr std::size_t kImageExtendedChunkSize = 36;
inline constexpr std::size_t kChunkSize = 32;
inline constexpr std::size_t kSizeOffset = 6;
inline constexpr std::size_t kBlockIdOffset = 8;
inline constexpr std::size_t kStatusOffset = 16;
inline constexpr std::size_t kValidPayloadSizeOffset = 20;
inline constexpr std::size_t kSizeYOffset = 28;                 ///< image and extended chunk
inline constexpr std::size_t kExtendedChunkLayoutIdOffset = 32; ///< extended chunk
inline constexpr std::size_t kChunkLayoutIdOffset = 28;         ///< chunk
} // namespace trailer

/// Event messages; offsets from the start of the packet.
namespace event {
inline constexpr std::size_t kHeaderSize = 12;
inline constexpr std::size_t kEntryHeaderSize = 12;
inline constexpr std::size_t kSmallestSize = 24;
inline constexpr std::size_t kSizeOffset = 12; ///< event_size, 0 unless multi-event is enabled
inline constexpr std::size_t kTimestampOffset = 16;
inline constexpr std::size_t kDataOffset = 24;
} // namespace event

/// Chunk trailers: data, id, length; read from the end of the payload.
namespace chunk {
inline constexpr std::size_t kTrailerSize = 8;
inline constexpr std::size_t kIdFromEnd = 8;
inline constexpr std::size_t kLengthFromEnd = 4;
} // namespace chunk

/// USB descriptors and standard requests.
namespace descriptor {
inline constexpr std::uint8_t kTypeDevice = 0x01;
inline constexpr std::uint8_t kTypeConfiguration = 0x02;
inline constexpr std::uint8_t kTypeInterface = 0x04;
inline constexpr std::uint8_t kTypeEndpoint = 0x05;
inline constexpr std::uint8_t kTypeInterfaceAssociation = 0x0B;
inline constexpr std::uint8_t kTypeClassInterface = 0x24;

inline constexpr std::size_t kDeviceSize = 18;
inline constexpr std::size_t kConfigurationSize = 9;
inline constexpr std::size_t kInterfaceAssociationSize = 8;
inline constexpr std::size_t kInterfaceSize = 9;
inline constexpr std::size_t kEndpointSize = 7;
inline constexpr std::size_t kDeviceInfoSize = 20;

inline constexpr std::uint8_t kClassMiscellaneous = 0xEF;
inline constexpr std::uint8_t kSubclassUsb3Vision = 0x05;
inline constexpr std::uint8_t kProtocolControl = 0x00;
inline constexpr std::uint8_t kProtocolEvent = 0x01;
inline constexpr std::uint8_t kProtocolStream = 0x02;
inline constexpr std::uint8_t kDeviceInfoSubtype = 0x01;

inline constexpr std::uint8_t kEndpointIn = 0x80;
inline constexpr std::uint8_t kAttributesTransferTypeMask = 0x03;
inline constexpr std::uint8_t kAttributesBulk = 0x02;
inline constexpr std::uint16_t kSuperSpeedPacket = 1024;

// Device Info descriptor.
inline constexpr std::size_t kInfoGenCpVersionOffset = 3;
inline constexpr std::size_t kInfoU3vVersionOffset = 7;
inline constexpr std::size_t kInfoGuidOffset = 11;
inline constexpr std::size_t kInfoVendorNameOffset = 12;
inline constexpr std::size_t kInfoModelNameOffset = 13;
inline constexpr std::size_t kInfoFamilyNameOffset = 14;
inline constexpr std::size_t kInfoDeviceVersionOffset = 15;
inline constexpr std::size_t kInfoManufacturerInfoOffset = 16;
inline constexpr std::size_t kInfoSerialNumberOffset = 17;
inline constexpr std::size_t kInfoUserDefinedNameOffset = 18;
inline constexpr std::size_t kInfoSpeedSupportOffset = 19;

// Bits of bmSpeedSupport and of the Current Speed register.
inline constexpr std::uint8_t kSpeedLow = 1u << 0;
inline constexpr std::uint8_t kSpeedFull = 1u << 1;
inline constexpr std::uint8_t kSpeedHigh = 1u << 2;
inline constexpr std::uint8_t kSpeedSuper = 1u << 3;
inline constexpr std::uint8_t kSpeedSuperPlusGen2x1 = 1u << 4;
inline constexpr std::uint8_t kSpeedSuperPlusGen1x2 = 1u << 5;
inline constexpr std::uint8_t kSpeedSuperPlusGen2x2 = 1u << 6;

// Standard requests to an endpoint.
inline constexpr std::uint8_t kRequestTypeEndpointOut = 0x02;
inline constexpr std::uint8_t kRequestSetFeature = 0x03;
inline constexpr std::uint16_t kFeatureEndpointHalt = 0x0000;
} // namespace descriptor

/// Bits per pixel of a PFNC code; padding bits included.
constexpr std::uint32_t BitsPerPixel(std::uint32_t pixelFormat) {
    return (pixelFormat >> 16) & 0xFF;
}

/// True for vendor-specific codes, whose other bits have no known structure.
constexpr bool IsCustomPixelFormat(std::uint32_t pixelFormat) {
    return (pixelFormat >> 31) != 0;
}

} // namespace u3v
