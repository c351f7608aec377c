#pragma once
// A browser's connection for messages.

#include "viewer/server/Client.h"
#include "viewer/server/HttpSession.h"

#include <chrono>
#include <deque>
#include <memory>
#include <string>

#include <boost/beast/core.hpp>
#include <boost/beast/websocket.hpp>

namespace viewer {

/// Bound to the server's thread; lives as long as something is under way.
class SocketSession final : public Client, public std::enable_shared_from_this<SocketSession> {
public:
    SocketSession(boost::beast::tcp_stream&& stream, std::shared_ptr<House> house, Seat seat);
    ~SocketSession() override;
    void Run(const boost::beast::http::request<boost::beast::http::empty_body>& request);

    std::uint64_t Id() const override { return m_Id; }
    void SendText(std::shared_ptr<const std::string> text) override { Queue({std::move(text), false}); }
    void SendImage(std::shared_ptr<const std::string> message) override { Queue({std::move(message), true}); }

private:
    struct Message {
        std::shared_ptr<const std::string> bytes;
        bool isBinary;
    };

    void Read();
    void Queue(Message message);
    void Write();
    void End();

    boost::beast::websocket::stream<boost::beast::tcp_stream> m_Socket;
    const std::shared_ptr<House> m_House;
    Seat m_Seat;
    const std::uint64_t m_Id;
    bool m_HasJoined = false, m_HasEnded = false;
    boost::beast::flat_buffer m_Buffer;
    std::deque<Message> m_Queue; // the first is being written
    std::size_t m_QueuedBytes = 0;
    boost::asio::steady_timer m_Deadline; // of the message that is being written
};

} // namespace viewer
