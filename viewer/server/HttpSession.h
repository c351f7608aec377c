#pragma once
// A connection until it becomes a socket for messages, or ends.

#include "viewer/room/Hub.h"
#include "viewer/server/Gate.h"

#include <chrono>
#include <list>
#include <memory>
#include <optional>
#include <string>

#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

namespace viewer {

class HttpSession;

/// What all connections share. Bound to the server's thread, but for the gate.
struct House {
    House(const ViewerOptions& options, bool others) : settings(options), gate(others) {}

    const ViewerOptions settings;
    Gate gate;
    std::string cookie; ///< its name, which tells servers of one computer apart
    std::unique_ptr<Hub> hub;
    std::list<HttpSession*> strangers; ///< connections that have shown no key yet, the oldest first
    std::list<HttpSession*> idle;      ///< those with a key that wait for a further request, the longest first
    std::size_t connections = 0;       ///< with a key
    std::uint64_t lastClient = 0;
};

/// Counts as a connection with a key while it lives. Move-only.
class Seat {
public:
    explicit Seat(std::shared_ptr<House> house) : m_House(std::move(house)) { ++m_House->connections; }
    ~Seat() {
        if (m_House) --m_House->connections;
    }
    Seat(Seat&&) noexcept = default;
    Seat& operator=(Seat&&) = delete;
    bool IsTooMany() const { return m_House->connections > m_House->settings.connections; }

private:
    std::shared_ptr<House> m_House;
};

/// Bound to the server's thread; lives as long as something is under way.
class HttpSession final : public std::enable_shared_from_this<HttpSession> {
public:
    HttpSession(boost::asio::ip::tcp::socket&& socket, std::shared_ptr<House> house);
    ~HttpSession();
    /// Where there are too many strangers, the oldest one is let go.
    void Run();

private:
    using Request = boost::beast::http::request<boost::beast::http::empty_body>;
    using Response = boost::beast::http::response<boost::beast::http::string_body>;

    void Read();
    void OnRead(boost::beast::error_code failed);
    /// Nothing when it became a socket for messages.
    std::optional<Response> AnswerTo(const Request& request);
    Response Make(boost::beast::http::status status, const std::string& text) const;
    Response LetIn(const std::string& token) const;
    /// Makes a friend of a stranger; for want of room the connection that has been idle for longest is let go. False
    /// when none is idle.
    bool TakeSeat();
    void Drop();
    void LeaveLists();
    void Send(Response response);
    void Close();

    boost::beast::tcp_stream m_Stream;
    const std::shared_ptr<House> m_House;
    std::optional<Seat> m_Seat; // nothing for a stranger
    boost::beast::flat_buffer m_Buffer;
    std::optional<boost::beast::http::request_parser<boost::beast::http::empty_body>> m_Parser;
};

} // namespace viewer
