#include "viewer/Wire.h"

#include <stdexcept>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace viewertest {
namespace {

constexpr int kTimeoutMs = 60000;

} // namespace

Wire::Wire(std::uint16_t port) : m_Socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(m_Socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        throw std::runtime_error("nobody listens");
}

Wire::~Wire() {
    close(m_Socket);
}

bool Wire::Send(const std::string& bytes) {
    for (std::size_t sent = 0; sent < bytes.size();) {
        const ssize_t more = send(m_Socket, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (more <= 0) return false;
        sent += static_cast<std::size_t>(more);
    }
    return true;
}

bool Wire::Fill() {
    pollfd waited{m_Socket, POLLIN, 0};
    if (poll(&waited, 1, kTimeoutMs) != 1) throw std::runtime_error("nothing came for a minute");
    char bytes[65536];
    const ssize_t got = recv(m_Socket, bytes, sizeof bytes, 0);
    if (got <= 0) return false;
    m_Buffer.append(bytes, static_cast<std::size_t>(got));
    return true;
}

bool Wire::FillTo(std::size_t size) {
    while (m_Buffer.size() < size)
        if (!Fill()) return false;
    return true;
}

std::string Wire::ReadAll() {
    while (Fill()) {
    }
    return std::move(m_Buffer);
}

std::string Wire::ReadAnswer() {
    while (m_Buffer.find("\r\n\r\n") == std::string::npos)
        if (!Fill()) return std::move(m_Buffer);
    const std::size_t head = m_Buffer.find("\r\n\r\n") + 4, field = m_Buffer.find("Content-Length: ");
    const std::size_t body = field < head ? std::stoul(m_Buffer.substr(field + 16)) : 0;
    FillTo(head + body);
    const std::string answer = m_Buffer.substr(0, head + body);
    m_Buffer.erase(0, answer.size());
    return answer;
}

std::string Wire::ReadMessage() {
    if (!FillTo(2)) return {};
    std::size_t head = 2, size = static_cast<unsigned char>(m_Buffer[1]);
    const std::size_t more = size == 126 ? 2 : size == 127 ? 8 : 0;
    if (!FillTo(head + more)) return {};
    if (more > 0) size = 0;
    for (std::size_t i = 0; i < more; ++i)
        size = size << 8 | static_cast<unsigned char>(m_Buffer[2 + i]);
    head += more;
    const unsigned kind = static_cast<unsigned char>(m_Buffer[0]) & 0x0F;
    if (!FillTo(head + size) || kind == 8) return {};
    const std::string message = m_Buffer.substr(head, size);
    m_Buffer.erase(0, head + size);
    return kind == 9 ? ReadMessage() : message; // a ping is no message
}

bool Wire::SendMessage(const std::string& text) {
    std::string frame("\x81", 1);
    const std::size_t size = text.size();
    if (size < 126) {
        frame += static_cast<char>(0x80 | size);
    } else {
        const bool isShort = size < 65536;
        frame += static_cast<char>(0x80 | (isShort ? 126 : 127));
        for (int shift = isShort ? 8 : 56; shift >= 0; shift -= 8)
            frame += static_cast<char>(size >> shift & 0xFF);
    }
    return Send(frame + std::string(4, '\0') + text); // a mask of zeros leaves the bytes as they are
}

std::string Get(const std::string& target, const std::string& more, const std::string& host) {
    return "GET " + target + " HTTP/1.1\r\nHost: " + host + "\r\n" + more + "\r\n";
}

std::string Upgrade(const std::string& cookie, const std::string& origin) {
    return Get("/socket", "Upgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Version: 13\r\n"
                          "Sec-WebSocket-Key: AAAAAAAAAAAAAAAAAAAAAA==\r\n" +
                              (origin.empty() ? std::string() : "Origin: " + origin + "\r\n") + cookie);
}

std::string StatusOf(const std::string& answer) {
    return answer.size() > 12 ? answer.substr(9, 3) : answer;
}

} // namespace viewertest
