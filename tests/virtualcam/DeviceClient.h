#pragma once
// A host in a few lines, for tests of the device model: commands are bytes, answers are bytes.

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <initializer_list>
#include <string>
#include <thread>
#include <vector>

#include "virtualcam/Device.h"

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

inline std::string ToHex(const Bytes& bytes) {
    std::string text;
    char digits[3];
    for (const std::uint8_t byte : bytes) {
        std::snprintf(digits, sizeof digits, "%02X", byte);
        text += digits;
    }
    return text;
}

/// Speaks to one device without any bus. Bound to a thread.
class DeviceClient {
public:
    explicit DeviceClient(Device& device) : m_Device(device) {}

    PipeStatus Send(const Bytes& command) { return m_Device.Out(0x01, command.data(), command.size()).status; }
    /// One IN transfer; waits for its end until the deadline, then gives what came so far with NotYet.
    PipeStatus Receive(std::uint8_t endpoint, std::size_t room, Bytes& bytes, int timeoutMs = 2000) {
        bytes.assign(room, 0xCD);
        std::size_t done = 0;
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
        PipeAnswer answer;
        do {
            answer = m_Device.In(endpoint, bytes.data() + done, room - done);
            done += answer.bytes;
            if (answer.status == PipeStatus::NotYet) std::this_thread::yield();
        } while (answer.status == PipeStatus::NotYet && std::chrono::steady_clock::now() < deadline);
        bytes.resize(done);
        return answer.status;
    }
    /// Sends a command and receives one answer; empty when none comes at once.
    Bytes Ask(const Bytes& command, int timeoutMs = 0) {
        Bytes answer;
        if (Send(command) != PipeStatus::Complete) return {};
        Receive(0x81, 1024, answer, timeoutMs);
        return answer;
    }
    Bytes Ask(const std::string& command, int timeoutMs = 0) { return Ask(Hex(command), timeoutMs); }

    std::uint16_t Write(std::uint64_t address, const Bytes& data) {
        Bytes command;
        Append<std::uint32_t>(command, 0x43563355);
        Append<std::uint16_t>(command, 0x4000);
        Append<std::uint16_t>(command, 0x0802);
        Append<std::uint16_t>(command, static_cast<std::uint16_t>(8 + data.size()));
        Append<std::uint16_t>(command, NextId());
        Append<std::uint64_t>(command, address);
        command.insert(command.end(), data.begin(), data.end());
        const Bytes answer = Ask(command, 2000);
        return answer.size() < 12 ? 0xFFFF : Load<std::uint16_t>(answer.data() + 4);
    }
    std::uint16_t Write32(std::uint64_t address, std::uint32_t value) {
        Bytes data;
        Append(data, value);
        return Write(address, data);
    }
    std::uint16_t Read(std::uint64_t address, std::size_t length, Bytes& data) {
        Bytes command;
        Append<std::uint32_t>(command, 0x43563355);
        Append<std::uint16_t>(command, 0x4000);
        Append<std::uint16_t>(command, 0x0800);
        Append<std::uint16_t>(command, 12);
        Append<std::uint16_t>(command, NextId());
        Append<std::uint64_t>(command, address);
        Append<std::uint16_t>(command, 0);
        Append<std::uint16_t>(command, static_cast<std::uint16_t>(length));
        if (Send(command) != PipeStatus::Complete) return 0xFFFE;
        Bytes answer;
        Receive(0x81, 12 + length, answer);
        if (answer.size() < 12) return 0xFFFF;
        data.assign(answer.begin() + 12, answer.end());
        return Load<std::uint16_t>(answer.data() + 4);
    }
    /// The register's value; dies loudly by the test when the read fails.
    std::uint64_t Read(std::uint64_t address, std::size_t length) {
        Bytes data;
        if (Read(address, length, data) != 0 || data.size() != length) return 0xDEADBEEFDEADBEEF;
        data.resize(8);
        return Load<std::uint64_t>(data.data());
    }

private:
    Device& m_Device;
    std::uint16_t m_Id = 0;
    std::uint16_t NextId() { return m_Id = static_cast<std::uint16_t>(m_Id == 0xFFFF ? 1 : m_Id + 1); }
};

} // namespace virtualcam::test
