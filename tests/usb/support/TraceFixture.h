#pragma once
// A trace on the disk, and what a test reads back from it.
#include "usb/trace/TraceFile.h"

#include "virtualcam/support/DeviceClient.h"

#include <gmock/gmock.h>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace tracetest {

using usb::CaptureEvent;
using usb::CaptureRecord;
using usb::Result;
using virtualcam::test::Hex;
using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kHeader = 64;

template<class T>
T Number(const Bytes& bytes, std::size_t at) {
    T value{};
    std::memcpy(&value, bytes.data() + at, sizeof value);
    return value;
}

/// A trace in a file of its own and what can be read from it.
class TraceTest : public testing::Test {
protected:
    struct Packet {
        Bytes bytes;
        std::size_t onTheWire = 0;
        char Event() const { return static_cast<char>(bytes[8]); }
        bool IsControl() const { return bytes[9] == 2; }
        unsigned Endpoint() const { return bytes[10]; }
        std::uint64_t Id() const { return Number<std::uint64_t>(bytes, 0); }
        std::int32_t Status() const { return Number<std::int32_t>(bytes, 28); }
        Bytes Data() const { return Bytes(bytes.begin() + kHeader, bytes.end()); }
    };

    ~TraceTest() override { std::remove(m_Path.c_str()); }

    std::vector<Packet> Packets() const {
        std::ifstream file(m_Path, std::ios::binary);
        const Bytes all(std::istreambuf_iterator<char>(file), {});
        std::vector<Packet> packets;
        for (std::size_t at = 0; at + 12 <= all.size(); at += Number<std::uint32_t>(all, at + 4)) {
            if (Number<std::uint32_t>(all, at) != 6) continue;
            const auto first = all.begin() + static_cast<std::ptrdiff_t>(at) + 28;
            packets.push_back(
                {Bytes(first, first + Number<std::uint32_t>(all, at + 20)), Number<std::uint32_t>(all, at + 24)});
        }
        return packets;
    }

    /// Appends each as what a stream has sent.
    void AppendPayload(const std::vector<Bytes>& packets) {
        for (const Bytes& data : packets) {
            CaptureRecord record;
            record.endpoint = 0x83;
            record.length = record.captured = data.size();
            record.data = data.data();
            m_Trace->Append(record);
        }
        m_Trace->Flush();
    }

    const std::string m_Path = testing::TempDir() + "trace-" + std::to_string(::getpid()) + ".pcapng";
    std::shared_ptr<usb::TraceFile> m_Trace = usb::TraceFile::Create(m_Path, 8);
};

} // namespace tracetest
