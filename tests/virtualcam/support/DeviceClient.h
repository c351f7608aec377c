#pragma once
// A host in a few lines, for tests of the device model: commands are bytes, answers are bytes.

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <initializer_list>
#include <string>
#include <thread>
#include <vector>

#include "virtualcam/device/Device.h"
#include "virtualcam/support/ControlPackets.h"

namespace virtualcam::test {

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
        return StatusOf(Ask(WriteCommand(NextId(), address, data), 2000));
    }
    std::uint16_t Write32(std::uint64_t address, std::uint32_t value) {
        Bytes data;
        Append(data, value);
        return Write(address, data);
    }
    std::uint16_t Read(std::uint64_t address, std::size_t length, Bytes& data) {
        if (Send(ReadCommand(NextId(), address, length)) != PipeStatus::Complete) return 0xFFFE;
        Bytes answer;
        Receive(0x81, 12 + length, answer);
        if (answer.size() < 12) return 0xFFFF;
        data.assign(answer.begin() + 12, answer.end());
        return StatusOf(answer);
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
