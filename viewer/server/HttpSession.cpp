#include "viewer/server/HttpSession.h"

#include "viewer/Page.h"
#include "viewer/server/SocketSession.h"

#include <utility>

#include <boost/beast/websocket.hpp>

namespace viewer {
namespace {

namespace http = boost::beast::http;
using boost::beast::error_code;

constexpr std::uint32_t kLongestHeader = 8192;
constexpr const char* kPolicy = "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; "
                                "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'";
constexpr const char* kWhoAreYou =
    "This page opens with the address that 'tavix view' printed when it was started. Each such address lets one "
    "browser "
    "in, once. Press Enter in the terminal where it runs for a new one, or use \"Invite\" on a page that is open.\n";

std::string_view View(boost::beast::string_view text) {
    return {text.data(), text.size()};
}

http::status StatusOf(error_code failed) {
    if (failed == http::error::header_limit) return http::status::request_header_fields_too_large;
    if (failed == http::error::body_limit) return http::status::payload_too_large;
    return http::status::bad_request;
}

} // namespace

HttpSession::HttpSession(boost::asio::ip::tcp::socket&& socket, std::shared_ptr<House> house)
    : m_Stream(std::move(socket)), m_House(std::move(house)) {}

HttpSession::~HttpSession() {
    LeaveLists();
}

void HttpSession::LeaveLists() {
    m_House->strangers.remove(this);
    m_House->idle.remove(this);
}

/// What is under way for it fails, and ends it.
void HttpSession::Drop() {
    LeaveLists();
    m_Seat.reset();
    m_Stream.close();
}

void HttpSession::Run() {
    auto& strangers = m_House->strangers;
    strangers.push_back(this);
    if (strangers.size() > m_House->settings.connections) strangers.front()->Drop();
    Read();
}

bool HttpSession::TakeSeat() {
    if (m_Seat) return true;
    m_House->strangers.remove(this);
    m_Seat.emplace(m_House);
    if (!m_Seat->IsTooMany()) return true;
    if (m_House->idle.empty()) return false;
    m_House->idle.front()->Drop();
    return true;
}

void HttpSession::Read() {
    m_Parser.emplace();
    m_Parser->header_limit(kLongestHeader);
    m_Parser->body_limit(0);
    m_Stream.expires_after(m_House->settings.timeout);
    if (m_Seat) m_House->idle.push_back(this);
    http::async_read(m_Stream, m_Buffer, *m_Parser,
                     [self = shared_from_this()](error_code failed, std::size_t) { self->OnRead(failed); });
}

void HttpSession::OnRead(error_code failed) {
    m_House->idle.remove(this);
    if (!m_Stream.socket().is_open()) return; // it was dropped, also when the request was there already
    if (failed == http::error::end_of_stream || failed == boost::beast::error::timeout) return Close();
    if (failed && failed.category() != make_error_code(http::error::bad_method).category()) return Close();
    if (failed) return Send(Make(StatusOf(failed), "This is no request that a browser makes.\n"));
    std::optional<Response> response = AnswerTo(m_Parser->get());
    if (response) Send(std::move(*response));
}

HttpSession::Response HttpSession::Make(http::status status, const std::string& text) const {
    Response response(status, 11);
    response.set(http::field::content_type, "text/plain; charset=utf-8");
    response.set("Content-Security-Policy", kPolicy);
    response.set(http::field::cache_control, "no-store");
    response.set("X-Content-Type-Options", "nosniff");
    response.set("Referrer-Policy", "no-referrer");
    response.set("Cross-Origin-Resource-Policy", "same-origin");
    response.body() = text;
    return response;
}

/// The token is gone from the address bar, and from the history, once the key is there.
HttpSession::Response HttpSession::LetIn(const std::string& token) const {
    const std::string key = m_House->gate.Exchange(token);
    if (key.empty()) return Make(http::status::unauthorized, kWhoAreYou);
    Response response = Make(http::status::see_other, "");
    response.set(http::field::location, "/");
    response.set(http::field::set_cookie, m_House->cookie + "=" + key + "; Path=/; HttpOnly; SameSite=Strict");
    return response;
}

std::optional<HttpSession::Response> HttpSession::AnswerTo(const Request& request) {
    const std::string_view host = View(request[http::field::host]);
    if (!m_House->gate.IsHostAllowed(host))
        return Make(http::status::misdirected_request, "This server is not called so.\n");
    if (request.method() != http::verb::get && request.method() != http::verb::head)
        return Make(http::status::method_not_allowed, "There is nothing here that can be written.\n");
    const std::string_view target = View(request.target());
    const std::string token = TokenOf(target);
    if (!token.empty()) return LetIn(token);
    if (!m_House->gate.IsKey(CookieOf(View(request[http::field::cookie]), m_House->cookie)))
        return Make(http::status::unauthorized, kWhoAreYou);
    if (!TakeSeat()) return Make(http::status::service_unavailable, "There are too many connections. Close a page.\n");
    if (target == "/socket") {
        if (!boost::beast::websocket::is_upgrade(request))
            return Make(http::status::upgrade_required, "This is where messages go.\n");
        if (!m_House->gate.IsOriginAllowed(View(request[http::field::origin]), host))
            return Make(http::status::forbidden, "Another page's scripts have no business here.\n");
        std::make_shared<SocketSession>(std::move(m_Stream), m_House, std::move(*m_Seat))->Run(request);
        return std::nullopt;
    }
    const PageFile* const file = FindPageFile(target);
    if (!file) return Make(http::status::not_found, "There is no such page.\n");
    Response response = Make(http::status::ok, std::string(file->content));
    response.set(http::field::content_type, boost::beast::string_view(file->type.data(), file->type.size()));
    return response;
}

void HttpSession::Send(Response response) {
    const bool goesOn =
        m_Parser && m_Parser->is_done() && m_Parser->get().keep_alive() && response.result() == http::status::ok;
    const bool isHead = m_Parser && m_Parser->is_done() && m_Parser->get().method() == http::verb::head;
    response.keep_alive(goesOn);
    response.prepare_payload();
    if (isHead) response.body().clear();
    auto kept = std::make_shared<Response>(std::move(response));
    m_Stream.expires_after(m_House->settings.timeout);
    http::async_write(m_Stream, *kept, [self = shared_from_this(), kept, goesOn](error_code failed, std::size_t) {
        if (failed || !goesOn) return self->Close();
        self->Read();
    });
}

void HttpSession::Close() {
    error_code ignored;
    m_Stream.socket().shutdown(boost::asio::ip::tcp::socket::shutdown_send, ignored);
}

} // namespace viewer
