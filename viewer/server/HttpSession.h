#pragma once
// A connection until it becomes a socket for messages, or ends.

#include "viewer/room/Hub.h"
#include "viewer/server/Gate.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

namespace viewer {

/// What all connections share. Bound to the server's thread, but for the gate.
struct House {
    House(const ViewerOptions& options, bool others) : settings(options), gate(others) {}

    const ViewerOptions settings;
    Gate gate;
    std::string cookie; ///< its name, which tells servers of one computer apart
    std::unique_ptr<Hub> hub;
    std::size_t connections = 0;
    std::uint64_t lastClient = 0;
};

/// Counts as a connection while it lives. Move-only.
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
    void Send(Response response);
    void Close();

    boost::beast::tcp_stream m_Stream;
    const std::shared_ptr<House> m_House;
    Seat m_Seat;
    boost::beast::flat_buffer m_Buffer;
    std::optional<boost::beast::http::request_parser<boost::beast::http::empty_body>> m_Parser;
};

} // namespace viewer
