// One record of a capture, and the blocks of the file that it goes to.
#include "usb/trace/CapturePacket.h"

#include <cerrno>
#include <string>

namespace usb {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint16_t kUsbLinuxMmapped = 220;
constexpr std::uint8_t kControlType = 2;
constexpr std::uint8_t kBulkType = 3;
constexpr std::uint64_t kNanoseconds = 1000000000;

constexpr std::uint32_t kSectionHeader = 0x0A0D0D0A;
constexpr std::uint32_t kByteOrderMagic = 0x1A2B3C4D;
constexpr std::uint32_t kInterfaceDescription = 1;
constexpr std::uint32_t kEnhancedPacket = 6;
constexpr std::uint16_t kOptionEnd = 0;
constexpr std::uint16_t kOptionApplication = 4;
constexpr std::uint16_t kOptionInterfaceName = 2;
constexpr std::uint16_t kOptionTimeResolution = 9;

template<class T>
void Append(Bytes& to, T value) {
    for (std::size_t i = 0; i < sizeof(T); ++i)
        to.push_back(static_cast<std::uint8_t>(static_cast<std::uint64_t>(value) >> (8 * i)));
}

void Pad(Bytes& to) {
    while (to.size() % 4 != 0)
        to.push_back(0);
}

void AppendOption(Bytes& to, std::uint16_t code, const std::string& value) {
    Append<std::uint16_t>(to, code);
    Append<std::uint16_t>(to, static_cast<std::uint16_t>(value.size()));
    to.insert(to.end(), value.begin(), value.end());
    Pad(to);
}

Bytes Block(std::uint32_t type, const Bytes& body) {
    const auto length = static_cast<std::uint32_t>(body.size() + 12);
    Bytes block;
    block.reserve(length);
    Append(block, type);
    Append(block, length);
    block.insert(block.end(), body.begin(), body.end());
    Append(block, length);
    return block;
}

/// What the kernel would report.
int ErrnoOf(TransferStatus status) {
    switch (status) {
    case TransferStatus::Completed:
        return 0;
    case TransferStatus::TimedOut:
    case TransferStatus::Cancelled:
        return -ENOENT;
    case TransferStatus::Stall:
        return -EPIPE;
    case TransferStatus::NoDevice:
        return -ESHUTDOWN;
    case TransferStatus::Overflow:
        return -EOVERFLOW;
    case TransferStatus::Error:
        break;
    }
    return -EPROTO;
}

void AppendSetup(Bytes& to, const ControlSetup* setup) {
    if (setup == nullptr) {
        Append<std::uint64_t>(to, 0);
        return;
    }
    to.push_back(setup->requestType);
    to.push_back(setup->request);
    Append(to, setup->value);
    Append(to, setup->index);
    Append(to, setup->length);
}

} // namespace

//   0 id   8 event   9 type   10 endpoint   11 device   12 bus   14 no setup   15 no data   16 seconds   24
//   microseconds 28 status   32 length   36 captured   40 setup   48 interval   52 start frame   56 flags   60
//   descriptors   64 data
Bytes EncodeCapture(const CaptureRecord& record, std::uint64_t nanoseconds) {
    const bool in = (record.endpoint & kDirectionIn) != 0;
    const bool submitted = record.event == CaptureEvent::Submitted;
    Bytes packet;
    packet.reserve(64 + record.captured);
    Append(packet, record.id);
    Append(packet, static_cast<std::uint8_t>(record.event));
    Append(packet, record.isControl ? kControlType : kBulkType);
    Append(packet, record.endpoint);
    Append(packet, record.address);
    Append<std::uint16_t>(packet, record.bus);
    Append<std::uint8_t>(packet, record.setup != nullptr ? 0 : '-');
    Append<std::uint8_t>(packet, record.data != nullptr ? 0 : in ? '<' : '>');
    Append(packet, nanoseconds / kNanoseconds);
    Append(packet, static_cast<std::uint32_t>(nanoseconds % kNanoseconds / 1000));
    Append(packet, static_cast<std::uint32_t>(submitted ? -EINPROGRESS : ErrnoOf(record.status)));
    Append(packet, static_cast<std::uint32_t>(record.length));
    Append(packet, static_cast<std::uint32_t>(record.captured));
    AppendSetup(packet, record.setup);
    Append<std::uint64_t>(packet, 0); // interval and start frame
    Append<std::uint64_t>(packet, 0); // flags and descriptors
    if (record.data != nullptr) packet.insert(packet.end(), record.data, record.data + record.captured);
    return packet;
}

Bytes SectionHeaderBlock() {
    Bytes body;
    Append(body, kByteOrderMagic);
    Append<std::uint16_t>(body, 1); // version 1.0
    Append<std::uint16_t>(body, 0);
    Append(body, ~std::uint64_t{0}); // the section's length is not known
    AppendOption(body, kOptionApplication, "tavix");
    AppendOption(body, kOptionEnd, {});
    return Block(kSectionHeader, body);
}

Bytes InterfaceBlock() {
    Bytes body;
    Append(body, kUsbLinuxMmapped);
    Append<std::uint16_t>(body, 0);
    Append<std::uint32_t>(body, 0); // no limit to the length of packets
    AppendOption(body, kOptionInterfaceName, "tavix");
    AppendOption(body, kOptionTimeResolution, std::string(1, '\x09')); // nanoseconds
    AppendOption(body, kOptionEnd, {});
    return Block(kInterfaceDescription, body);
}

Bytes PacketBlock(const Bytes& packet, std::size_t missing, std::uint64_t nanoseconds) {
    Bytes body;
    body.reserve(packet.size() + 24);
    Append<std::uint32_t>(body, 0); // the one interface
    Append(body, static_cast<std::uint32_t>(nanoseconds >> 32));
    Append(body, static_cast<std::uint32_t>(nanoseconds));
    Append(body, static_cast<std::uint32_t>(packet.size()));
    Append(body, static_cast<std::uint32_t>(packet.size() + missing));
    body.insert(body.end(), packet.begin(), packet.end());
    Pad(body);
    return Block(kEnhancedPacket, body);
}

} // namespace usb
