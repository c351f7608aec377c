#pragma once
// A USB/IP client in a few lines: what it sends is bytes, what comes is bytes.

#include <chrono>

#include <gtest/gtest.h>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "virtualcam/remote/Channel.h"
#include "virtualcam/support/DeviceClient.h"

namespace virtualcam::usbip::test {

using virtualcam::test::Hex;
using virtualcam::test::StatusOf;
using virtualcam::test::ToHex;
using virtualcam::test::WriteCommand;

/// Head of a reply and the data behind it.
struct Reply {
    std::uint32_t code = 0, number = 0;
    std::int32_t status = 0;
    std::uint32_t actual = 0;
    Bytes data;
};

/// Owns its socket. Bound to a thread.
class UsbipClient {
public:
    explicit UsbipClient(Descriptor socket) : m_Socket(std::move(socket)) {}

    void Send(const Bytes& bytes) {
        ASSERT_EQ(send(m_Socket.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
    }
    void Send(const std::string& digits) { Send(Hex(digits)); }
    /// Exactly so many bytes, or fewer when the server closes or is silent for too long.
    Bytes Receive(std::size_t count, int timeoutMs = 5000) {
        Bytes bytes(count);
        std::size_t done = 0;
        pollfd polled{m_Socket.Get(), POLLIN, 0};
        while (done < count && poll(&polled, 1, timeoutMs) > 0) {
            const ssize_t got = recv(m_Socket.Get(), bytes.data() + done, count - done, 0);
            if (got <= 0) break;
            done += static_cast<std::size_t>(got);
        }
        bytes.resize(done);
        return bytes;
    }
    bool IsSilent() {
        pollfd polled{m_Socket.Get(), POLLIN, 0};
        return poll(&polled, 1, 20) == 0;
    }
    /// True when the server closes the connection without another byte.
    bool IsClosed() {
        std::uint8_t byte = 0;
        pollfd polled{m_Socket.Get(), POLLIN, 0};
        return poll(&polled, 1, 5000) > 0 && recv(m_Socket.Get(), &byte, 1, 0) <= 0;
    }
    void Close() { m_Socket.Close(); }
    void Shut() { shutdown(m_Socket.Get(), SHUT_WR); }

    void Submit(std::uint32_t number, bool in, std::uint32_t endpoint, std::uint32_t length, const Bytes& data = {},
                const std::string& setup = "0000000000000000") {
        Bytes bytes;
        for (const std::uint32_t word : {1u, number, 0x00010002u, in ? 1u : 0u, endpoint, 0u, length, 0u, 0u, 0u})
            AppendWord(bytes, word);
        const Bytes last = Hex(setup);
        bytes.insert(bytes.end(), last.begin(), last.end());
        bytes.insert(bytes.end(), data.begin(), data.end());
        Send(bytes);
    }
    void Unlink(std::uint32_t number, std::uint32_t victim) {
        Bytes bytes;
        for (const std::uint32_t word : {2u, number, 0x00010002u, 0u, 0u, victim, 0u, 0u, 0u, 0u, 0u, 0u})
            AppendWord(bytes, word);
        Send(bytes);
    }
    /// A reply; with data when it answers an IN submit.
    Reply Next(bool in) {
        const Bytes head = Receive(48);
        Reply reply;
        if (head.size() != 48) return reply;
        reply.code = Word(head, 0);
        reply.number = Word(head, 4);
        reply.status = static_cast<std::int32_t>(Word(head, 20));
        reply.actual = Word(head, 24);
        if (in) reply.data = Receive(reply.actual);
        return reply;
    }
    /// A control transfer IN.
    Reply Ask(const std::string& setup, std::uint32_t length) {
        Submit(0xC0, /*in=*/true, 0, length, {}, setup);
        return Next(/*in=*/true);
    }
    /// A command of the control channel and its acknowledge.
    Bytes Command(const Bytes& command) {
        Submit(0xC1, /*in=*/false, 1, static_cast<std::uint32_t>(command.size()), command);
        EXPECT_EQ(Next(/*in=*/false).status, 0);
        Submit(0xC2, /*in=*/true, 1, 1024);
        return Next(/*in=*/true).data;
    }
    void Write32(std::uint64_t address, std::uint32_t value) {
        EXPECT_EQ(StatusOf(Command(WriteCommand(++m_Request, address, value))), 0) << "write to " << address;
    }

private:
    Descriptor m_Socket;
    std::uint16_t m_Request = 0;

    static void AppendWord(Bytes& to, std::uint32_t word) {
        for (int shift = 24; shift >= 0; shift -= 8)
            to.push_back(static_cast<std::uint8_t>(word >> shift));
    }
    static std::uint32_t Word(const Bytes& bytes, std::size_t at) {
        return static_cast<std::uint32_t>(bytes[at]) << 24 | static_cast<std::uint32_t>(bytes[at + 1]) << 16 |
               static_cast<std::uint32_t>(bytes[at + 2]) << 8 | bytes[at + 3];
    }
};

} // namespace virtualcam::usbip::test
