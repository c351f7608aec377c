#pragma once
// Numbers of the wire and of the register space as the device knows them. They stand here a second time on purpose:
// the host's code has its own, so that a wrong number on either side is seen when the two meet.

#include <cstdint>

namespace virtualcam {

inline constexpr std::uint32_t kControlPrefix = 0x43563355;
inline constexpr std::uint32_t kEventPrefix = 0x45563355;
inline constexpr std::uint32_t kLeaderMagic = 0x4C563355;
inline constexpr std::uint32_t kTrailerMagic = 0x54563355;

inline constexpr std::uint16_t kFlagRequestAck = 0x4000;
inline constexpr std::uint16_t kFlagResend = 0x8000;
inline constexpr std::uint16_t kReadMem = 0x0800;
inline constexpr std::uint16_t kWriteMem = 0x0802;
inline constexpr std::uint16_t kPendingAck = 0x0805;
inline constexpr std::uint16_t kEventCommand = 0x0C00;
inline constexpr std::uint16_t kTestEvent = 0x4FFF;
inline constexpr std::size_t kHeaderSize = 12;

enum class Status : std::uint16_t {
    Success = 0x0000,
    NotImplemented = 0x8001,
    InvalidParameter = 0x8002,
    InvalidAddress = 0x8003,
    WriteProtect = 0x8004,
    BadAlignment = 0x8005,
    AccessDenied = 0x8006,
    Busy = 0x8007,
    ResendNotSupported = 0xA001,
    StreamEndpointHalted = 0xA002,
    SizeNotAligned = 0xA003,
    StreamRegistersInconsistent = 0xA004,
    EventEndpointHalted = 0xA005,
    DataDiscarded = 0xA100,
    DataOverrun = 0xA101
};

inline constexpr std::uint32_t kGenCpVersion = 0x00010003;
inline constexpr std::uint32_t kU3vVersion = 0x00010002;

/// Technology-agnostic bootstrap registers.
namespace abrm {
inline constexpr std::uint64_t kGenCpVersion = 0x0000;
inline constexpr std::uint64_t kManufacturerName = 0x0004;
inline constexpr std::uint64_t kModelName = 0x0044;
inline constexpr std::uint64_t kFamilyName = 0x0084;
inline constexpr std::uint64_t kDeviceVersion = 0x00C4;
inline constexpr std::uint64_t kManufacturerInfo = 0x0104;
inline constexpr std::uint64_t kSerialNumber = 0x0144;
inline constexpr std::uint64_t kUserDefinedName = 0x0184;
inline constexpr std::uint64_t kCapability = 0x01C4;
inline constexpr std::uint64_t kResponseTime = 0x01CC;
inline constexpr std::uint64_t kManifestAddress = 0x01D0;
inline constexpr std::uint64_t kSbrmAddress = 0x01D8;
inline constexpr std::uint64_t kConfiguration = 0x01E0;
inline constexpr std::uint64_t kTimestamp = 0x01F0;
inline constexpr std::uint64_t kTimestampLatch = 0x01F8;
inline constexpr std::uint64_t kTimestampIncrement = 0x01FC;
inline constexpr std::uint64_t kImplementationEndianness = 0x020C;
inline constexpr std::uint64_t kLast = 0xFFFF;
inline constexpr std::size_t kTextSize = 64;
} // namespace abrm

/// Where this device keeps everything else.
namespace memory {
inline constexpr std::uint64_t kSbrm = 0x10000;
inline constexpr std::uint64_t kSirm = 0x20000;
inline constexpr std::uint64_t kEirm = 0x30000;
inline constexpr std::uint64_t kManifest = 0x40000;
inline constexpr std::uint64_t kCamera = 0x100000;
inline constexpr std::uint64_t kDescription = 0x200000;
} // namespace memory

/// Registers of the stream interfaces, block after block.
namespace sirm {
inline constexpr std::uint64_t kInfo = memory::kSirm + 0x00;
inline constexpr std::uint64_t kControl = memory::kSirm + 0x04;
inline constexpr std::uint64_t kRequiredPayload = memory::kSirm + 0x08;
inline constexpr std::uint64_t kRequiredLeader = memory::kSirm + 0x10;
inline constexpr std::uint64_t kRequiredTrailer = memory::kSirm + 0x14;
inline constexpr std::uint64_t kMaximumLeader = memory::kSirm + 0x18;
inline constexpr std::uint64_t kTransferSize = memory::kSirm + 0x1C;
inline constexpr std::uint64_t kTransferCount = memory::kSirm + 0x20;
inline constexpr std::uint64_t kFinal1Size = memory::kSirm + 0x24;
inline constexpr std::uint64_t kFinal2Size = memory::kSirm + 0x28;
inline constexpr std::uint64_t kMaximumTrailer = memory::kSirm + 0x2C;
inline constexpr std::uint32_t kLength = 0x30;
/// The register of another stream; the addresses above are those of the first one.
constexpr std::uint64_t Of(unsigned stream, std::uint64_t address) {
    return address + std::uint64_t{stream} * kLength;
}
} // namespace sirm

namespace eirm {
inline constexpr std::uint64_t kControl = memory::kEirm + 0x00;
inline constexpr std::uint64_t kMaximumTransfer = memory::kEirm + 0x04;
inline constexpr std::uint64_t kTestControl = memory::kEirm + 0x08;
inline constexpr std::uint32_t kLength = 0x0C;
} // namespace eirm

/// Endpoint addresses. OUT and IN of the control channel differ in number: hosts must take both from the descriptors.
inline constexpr std::uint8_t kControlOut = 0x01;
inline constexpr std::uint8_t kControlIn = 0x81;
inline constexpr std::uint8_t kEventIn = 0x82;
inline constexpr std::uint8_t kStreamIn = 0x83;
inline constexpr std::uint8_t kControlInApart = 0x84; ///< in place of kControlIn, where the numbers differ

inline constexpr std::uint8_t kControlInterface = 0;
inline constexpr std::uint8_t kEventInterface = 1;
inline constexpr std::uint8_t kStreamInterface = 2; ///< of the first stream; the others follow

inline constexpr unsigned kMaximumStreams = 4;
/// The first stream's is kStreamIn; the others begin past kControlInApart.
constexpr std::uint8_t StreamEndpoint(unsigned stream) {
    return static_cast<std::uint8_t>(stream == 0 ? kStreamIn : kControlInApart + stream);
}
/// The stream of an endpoint; kMaximumStreams when it is none's.
constexpr unsigned StreamOf(std::uint8_t endpoint) {
    unsigned stream = 0;
    while (stream < kMaximumStreams && StreamEndpoint(stream) != endpoint)
        ++stream;
    return stream;
}
/// The interface that an endpoint belongs to.
constexpr std::uint8_t InterfaceOf(std::uint8_t endpoint) {
    if (endpoint == kControlOut || endpoint == kControlIn) return kControlInterface;
    return static_cast<std::uint8_t>(endpoint == kEventIn ? kEventInterface : kStreamInterface + StreamOf(endpoint));
}

} // namespace virtualcam
