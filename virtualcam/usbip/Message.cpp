#include "virtualcam/usbip/Message.h"

#include <algorithm>

namespace virtualcam::usbip {
namespace {

constexpr std::size_t kPathSize = 256;
constexpr std::uint32_t kSubmitReply = 3;
constexpr std::uint32_t kUnlinkReply = 4;

template<class T>
T LoadBig(const std::uint8_t* from) {
    T value = 0;
    for (std::size_t i = 0; i < sizeof(T); ++i)
        value = static_cast<T>(static_cast<T>(value << 8) | from[i]);
    return value;
}

template<class T>
void StoreBig(std::uint8_t* to, T value) {
    for (std::size_t i = 0; i < sizeof(T); ++i)
        to[i] = static_cast<std::uint8_t>(value >> (8 * (sizeof(T) - 1 - i)));
}

template<class T>
void AppendBig(Bytes& to, T value) {
    to.resize(to.size() + sizeof(T));
    StoreBig<T>(to.data() + to.size() - sizeof(T), value);
}

// A field of text always has a zero at its end.
void AppendText(Bytes& to, const std::string& text, std::size_t size) {
    to.resize(to.size() + size);
    StoreText(to.data() + to.size() - size, size - 1, text);
}

void AppendClass(Bytes& to, const InterfaceClass& triplet) {
    to.insert(to.end(), {triplet.classCode, triplet.subclass, triplet.protocol});
}

Bytes Reply(Operation operation, OperationStatus status) {
    Bytes reply;
    AppendBig<std::uint16_t>(reply, kProtocolVersion);
    AppendBig<std::uint16_t>(reply, static_cast<std::uint16_t>(operation));
    AppendBig<std::uint32_t>(reply, static_cast<std::uint32_t>(status));
    return reply;
}

void AppendDevice(Bytes& to, const ExportedDevice& device) {
    AppendText(to, device.path, kPathSize);
    AppendText(to, device.busId, kBusIdSize);
    AppendBig<std::uint32_t>(to, device.bus);
    AppendBig<std::uint32_t>(to, device.address);
    AppendBig<std::uint32_t>(to, device.speed);
    AppendBig<std::uint16_t>(to, device.vendor);
    AppendBig<std::uint16_t>(to, device.product);
    AppendBig<std::uint16_t>(to, device.release);
    AppendClass(to, device.device);
    to.push_back(device.configurationValue);
    to.push_back(device.configurationCount);
    to.push_back(static_cast<std::uint8_t>(device.interfaces.size()));
}

} // namespace

std::optional<Operation> DecodeOperation(const std::array<std::uint8_t, kOperationSize>& header) {
    if (LoadBig<std::uint16_t>(header.data()) != kProtocolVersion) return std::nullopt;
    return static_cast<Operation>(LoadBig<std::uint16_t>(header.data() + 2));
}

std::string DecodeBusId(const std::array<std::uint8_t, kBusIdSize>& field) {
    return LoadText(field.data(), field.size());
}

Bytes ListReply(const std::vector<ExportedDevice>& devices) {
    Bytes reply = Reply(Operation::ListReply, OperationStatus::Ok);
    AppendBig<std::uint32_t>(reply, static_cast<std::uint32_t>(devices.size()));
    for (const ExportedDevice& device : devices) {
        AppendDevice(reply, device);
        for (const InterfaceClass& triplet : device.interfaces) {
            AppendClass(reply, triplet);
            reply.push_back(0);
        }
    }
    return reply;
}

Bytes ImportReply(const ExportedDevice& device) {
    Bytes reply = Reply(Operation::ImportReply, OperationStatus::Ok);
    AppendDevice(reply, device);
    return reply;
}

Bytes ImportRefusal(OperationStatus status) {
    return Reply(Operation::ImportReply, status);
}

Command DecodeCommand(const Header& header) {
    const auto word = [&header](std::size_t offset) { return LoadBig<std::uint32_t>(header.data() + offset); };
    Command command;
    command.code = static_cast<CommandCode>(word(0));
    command.number = word(4);
    command.device = word(8);
    command.in = word(12) != 0;
    command.endpoint = word(16);
    if (command.code == CommandCode::Unlink) {
        command.victim = word(20);
        return command;
    }
    command.flags = word(20);
    command.length = word(24);
    command.packets = word(32);
    std::copy_n(header.begin() + 40, command.setup.size(), command.setup.begin());
    return command;
}

Header SubmitReply(std::uint32_t number, std::int32_t status, std::uint32_t actual) {
    Header header{};
    StoreBig<std::uint32_t>(header.data(), kSubmitReply);
    StoreBig<std::uint32_t>(header.data() + 4, number);
    StoreBig<std::uint32_t>(header.data() + 20, static_cast<std::uint32_t>(status));
    StoreBig<std::uint32_t>(header.data() + 24, actual);
    return header;
}

Header UnlinkReply(std::uint32_t number, std::int32_t status) {
    Header header{};
    StoreBig<std::uint32_t>(header.data(), kUnlinkReply);
    StoreBig<std::uint32_t>(header.data() + 4, number);
    StoreBig<std::uint32_t>(header.data() + 20, static_cast<std::uint32_t>(status));
    return header;
}

} // namespace virtualcam::usbip
