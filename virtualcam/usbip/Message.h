#pragma once
// The records of USB/IP. All numbers are big-endian on the wire.
//
//   management:  version(2) code(2) status(4), then what belongs to the code
//   transfers:   48 bytes of header, then the bytes of an OUT submit or of an IN reply

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "virtualcam/Bytes.h"

namespace virtualcam::usbip {

inline constexpr std::uint16_t kProtocolVersion = 0x0111;
inline constexpr std::uint16_t kDefaultPort = 3240;
inline constexpr std::size_t kOperationSize = 8;
inline constexpr std::size_t kBusIdSize = 32;
inline constexpr std::size_t kHeaderSize = 48;

enum class Operation : std::uint16_t {
    ImportReply = 0x0003,
    ListReply = 0x0005,
    ImportRequest = 0x8003,
    ListRequest = 0x8005
};

/// Status of a management reply.
enum class OperationStatus : std::uint32_t { Ok = 0, NotAvailable = 1, Busy = 2, Error = 3, NoDevice = 4 };

struct InterfaceClass {
    std::uint8_t classCode = 0, subclass = 0, protocol = 0;
};

/// What a client learns of a device before it imports it.
struct ExportedDevice {
    std::string path;
    std::string busId;
    std::uint32_t bus = 0, address = 0;
    std::uint32_t speed = 0;
    std::uint16_t vendor = 0, product = 0, release = 0;
    InterfaceClass device;
    std::uint8_t configurationValue = 0, configurationCount = 0;
    std::vector<InterfaceClass> interfaces;
};

/// The operation that a management header asks for; nothing when its version is not ours.
std::optional<Operation> DecodeOperation(const std::array<std::uint8_t, kOperationSize>& header);
/// The bus id of an import request.
std::string DecodeBusId(const std::array<std::uint8_t, kBusIdSize>& field);
Bytes ListReply(const std::vector<ExportedDevice>& devices);
Bytes ImportReply(const ExportedDevice& device);
Bytes ImportRefusal(OperationStatus status);

enum class CommandCode : std::uint32_t { Submit = 1, Unlink = 2 };

/// Header of what the client sends once it has a device.
struct Command {
    CommandCode code = CommandCode::Submit; ///< unchecked
    std::uint32_t number = 0;
    std::uint32_t device = 0;
    bool in = false;
    std::uint32_t endpoint = 0; ///< number without the direction; unchecked
    std::uint32_t flags = 0;
    std::uint32_t length = 0;  ///< of the data; unchecked
    std::uint32_t packets = 0; ///< of an isochronous transfer; 0 or 0xFFFFFFFF for others
    std::array<std::uint8_t, 8> setup{};
    std::uint32_t victim = 0; ///< the number to unlink
};

using Header = std::array<std::uint8_t, kHeaderSize>;
Command DecodeCommand(const Header& header);
/// `status` is 0 or a negative error number of Linux; `actual` bytes were moved and follow when the transfer is IN.
Header SubmitReply(std::uint32_t number, std::int32_t status, std::uint32_t actual);
Header UnlinkReply(std::uint32_t number, std::int32_t status);

} // namespace virtualcam::usbip
