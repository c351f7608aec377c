#include "viewer/server/SocketSession.h"

#include <utility>

namespace viewer {
namespace {

namespace websocket = boost::beast::websocket;
using boost::beast::error_code;

// What may wait for one browser. Images are no danger: two are on their way at most, for each camera.
constexpr std::size_t kMostQueued = 2000;
constexpr std::size_t kMostQueuedBytes = std::size_t(192) << 20;

} // namespace

SocketSession::SocketSession(boost::beast::tcp_stream&& stream, std::shared_ptr<House> house, Seat seat)
    : m_Socket(std::move(stream)), m_House(std::move(house)), m_Seat(std::move(seat)), m_Id(++m_House->lastClient),
      m_Deadline(m_Socket.get_executor()) {}

SocketSession::~SocketSession() {
    End();
}

void SocketSession::Run(const boost::beast::http::request<boost::beast::http::empty_body>& request) {
    boost::beast::get_lowest_layer(m_Socket).expires_never();
    websocket::stream_base::timeout limits{};
    limits.handshake_timeout = m_House->settings.timeout;
    limits.idle_timeout = m_House->settings.timeout * 2;
    limits.keep_alive_pings = true;
    m_Socket.set_option(limits);
    m_Socket.read_message_max(kLongestRequest);
    m_Socket.auto_fragment(false);
    m_Socket.async_accept(request, [self = shared_from_this()](error_code failed) {
        if (failed) return;
        self->m_HasJoined = true;
        self->m_House->hub->Join(*self);
        self->Read();
    });
}

void SocketSession::Read() {
    m_Socket.async_read(m_Buffer, [self = shared_from_this()](error_code failed, std::size_t) {
        if (failed || self->m_HasEnded) return self->End();
        if (!self->m_Socket.got_text()) return self->End();
        const auto bytes = self->m_Buffer.cdata();
        self->m_House->hub->Receive(self->m_Id, {static_cast<const char*>(bytes.data()), bytes.size()});
        self->m_Buffer.consume(self->m_Buffer.size());
        self->Read();
    });
}

void SocketSession::Queue(Message message) {
    if (m_HasEnded) return;
    m_QueuedBytes += message.bytes->size();
    m_Queue.push_back(std::move(message));
    if (m_Queue.size() > kMostQueued || m_QueuedBytes > kMostQueuedBytes) return End();
    if (m_Queue.size() == 1) Write();
}

void SocketSession::Write() {
    const Message& next = m_Queue.front();
    m_Socket.binary(next.isBinary);
    m_Deadline.expires_after(m_House->settings.timeout);
    m_Deadline.async_wait([weak = weak_from_this()](error_code cancelled) {
        const auto self = weak.lock();
        if (self && !cancelled) self->End();
    });
    m_Socket.async_write(boost::asio::buffer(*next.bytes),
                         [self = shared_from_this(), bytes = next.bytes](error_code failed, std::size_t) {
                             self->m_Deadline.cancel();
                             if (failed || self->m_HasEnded) return self->End();
                             self->m_QueuedBytes -= bytes->size();
                             self->m_Queue.pop_front();
                             if (!self->m_Queue.empty()) self->Write();
                         });
}

void SocketSession::End() {
    if (m_HasEnded) return;
    m_HasEnded = true;
    if (m_HasJoined && m_House->hub) m_House->hub->Leave(m_Id);
    m_Deadline.cancel();
    error_code ignored;
    boost::beast::get_lowest_layer(m_Socket).socket().close(ignored);
}

} // namespace viewer
