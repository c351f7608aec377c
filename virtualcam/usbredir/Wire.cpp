#include "virtualcam/usbredir/Wire.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/socket.h>
#include <usbredirproto.h>

namespace virtualcam::usbredir {
namespace {

constexpr std::size_t kFirstHeader = 12; // type, length, and an id of four bytes as long as nothing else is agreed
constexpr std::size_t kMostCapabilities = 16;
constexpr std::size_t kLargestPacket = kMaximumTransfer + 4096;
constexpr std::size_t kProgress = 1u << 20;

} // namespace

Bytes ReceiveGreeting(Channel& channel) {
    Bytes greeting(kFirstHeader);
    if (!channel.Receive(greeting.data(), greeting.size())) return {};
    const std::uint32_t type = Load<std::uint32_t>(greeting.data());
    const std::uint32_t length = Load<std::uint32_t>(greeting.data() + 4);
    const std::size_t smallest = sizeof(usb_redir_hello_header);
    if (type != usb_redir_hello || length < smallest || length > smallest + 4 * kMostCapabilities) return {};
    Bytes rest;
    if (!channel.Receive(rest, length)) return {};
    greeting.insert(greeting.end(), rest.begin(), rest.end());
    return greeting;
}

Wire::Wire(int socket, Bytes greeting, milliseconds timeout)
    : m_Socket(socket), m_Timeout(timeout), m_Greeting(std::move(greeting)) {
    fcntl(m_Socket, F_SETFL, fcntl(m_Socket, F_GETFL) | O_NONBLOCK);
}

int Wire::Read(std::uint8_t* to, std::size_t count) {
    if (!m_Greeting.empty()) {
        const std::size_t part = std::min(count, m_Greeting.size());
        std::copy_n(m_Greeting.begin(), part, to);
        m_Greeting.erase(m_Greeting.begin(), m_Greeting.begin() + static_cast<std::ptrdiff_t>(part));
        return Account(part);
    }
    const ssize_t got = recv(m_Socket, to, count, 0);
    if (got > 0) return Account(static_cast<std::size_t>(got));
    return got < 0 && (errno == EAGAIN || errno == EINTR) ? 0 : -1;
}

int Wire::Account(std::size_t count) {
    if (m_Unparsed == 0) m_PacketBegan = Clock::Now();
    m_Unparsed += count;
    return m_Unparsed <= kLargestPacket ? static_cast<int>(count) : -1;
}

int Wire::Write(const std::uint8_t* from, std::size_t count) {
    const ssize_t sent = send(m_Socket, from, count, MSG_NOSIGNAL);
    if (sent < 0) return errno == EAGAIN || errno == EINTR ? 0 : -1;
    m_Taken += static_cast<std::size_t>(sent);
    if (m_Taken >= kProgress) SetUnread(false); // it begins anew with what is left
    return static_cast<int>(sent);
}

void Wire::SetUnread(bool unread) {
    if (unread && m_UnreadSince) return;
    m_Taken = 0;
    m_UnreadSince.reset();
    if (unread) m_UnreadSince = Clock::Now();
}

std::optional<TimePoint> Wire::Deadline() const {
    std::optional<TimePoint> deadline;
    if (m_Unparsed != 0) deadline = m_PacketBegan + TimeFor(m_Timeout, m_Unparsed);
    if (m_UnreadSince) deadline = Earlier(deadline, *m_UnreadSince + m_Timeout);
    return deadline;
}

} // namespace virtualcam::usbredir
