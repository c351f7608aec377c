#pragma once
// A browser made of a plain socket, so that it can be as rude as it likes.

#include <chrono>
#include <cstdint>
#include <string>

namespace viewertest {

/// Bound to a thread.
class Wire {
public:
    explicit Wire(std::uint16_t port);
    ~Wire();
    Wire(const Wire&) = delete;
    Wire& operator=(const Wire&) = delete;

    /// False when the other end has closed.
    bool Send(const std::string& bytes);
    /// All that comes until the other end closes.
    std::string ReadAll();
    /// Head of an answer and its body, as far as Content-Length goes.
    std::string ReadAnswer();
    /// A message of the server, without its frame; empty when it has closed.
    std::string ReadMessage();
    /// Sends a text message in a frame.
    bool SendMessage(const std::string& text);

private:
    /// Waits for more; false at the end.
    bool Fill();
    bool FillTo(std::size_t size);

    int m_Socket;
    std::string m_Buffer;
};

/// A request as browsers make it, with further lines.
std::string Get(const std::string& target, const std::string& more = {}, const std::string& host = "127.0.0.1");
/// The request that turns a connection into a socket for messages.
std::string Upgrade(const std::string& cookie, const std::string& origin = "http://127.0.0.1");
/// "401" of "HTTP/1.1 401 Unauthorized...".
std::string StatusOf(const std::string& answer);

} // namespace viewertest
