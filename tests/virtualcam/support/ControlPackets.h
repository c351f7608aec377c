#pragma once
// Packets of the control channel as a host writes and reads them, byte by byte and without the library's help.

#include "virtualcam/Bytes.h"

#include <cstdint>
#include <string>

namespace virtualcam::test {

/// Bytes from hexadecimal digits; blanks separate fields as the reader likes.
inline Bytes Hex(const std::string& digits) {
    Bytes bytes;
    std::string clean;
    for (const char c : digits)
        if (c != ' ' && c != '\n') clean.push_back(c);
    for (std::size_t i = 0; i + 1 < clean.size(); i += 2)
        bytes.push_back(static_cast<std::uint8_t>(std::stoul(clean.substr(i, 2), nullptr, 16)));
    return bytes;
}

/// Asks for the version of the protocol, number 9, and what a camera in order answers.
inline constexpr const char* kRead = "55335643 0040 0008 0C00 0900 0000000000000000 0000 0400";
inline constexpr const char* kReadAck = "55335643 0000 0108 0400 0900 03000100";

/// Asks for `length` bytes.
inline Bytes ReadCommand(std::uint16_t id, std::uint64_t address, std::size_t length) {
    Bytes command = Hex("55335643 0040 0008 0C00");
    Append(command, id);
    Append(command, address);
    Append<std::uint16_t>(command, 0);
    Append(command, static_cast<std::uint16_t>(length));
    return command;
}

inline Bytes WriteCommand(std::uint16_t id, std::uint64_t address, const Bytes& data) {
    Bytes command = Hex("55335643 0040 0208");
    Append(command, static_cast<std::uint16_t>(8 + data.size()));
    Append(command, id);
    Append(command, address);
    command.insert(command.end(), data.begin(), data.end());
    return command;
}

inline Bytes WriteCommand(std::uint16_t id, std::uint64_t address, std::uint32_t value) {
    Bytes data;
    Append(data, value);
    return WriteCommand(id, address, data);
}

/// The status that an acknowledge gives; 0xFFFF for what is too short to be one.
inline std::uint16_t StatusOf(const Bytes& acknowledge) {
    return acknowledge.size() < 12 ? std::uint16_t{0xFFFF} : Load<std::uint16_t>(acknowledge.data() + 4);
}

} // namespace virtualcam::test
