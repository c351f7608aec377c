#include "viewer/Viewer.h"

#include "viewer/server/HttpSession.h"

#include <stdexcept>
#include <utility>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/host_name.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>

namespace viewer {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

constexpr std::chrono::milliseconds kTick{500};
constexpr std::chrono::milliseconds kPause{100}; // when no descriptor is left for a connection

asio::ip::address AddressOf(const std::string& text) {
    error_code failed;
    const asio::ip::address address = asio::ip::make_address(text, failed);
    if (failed) throw std::runtime_error("'" + text + "' is no address in figures, such as 127.0.0.1 or 0.0.0.0");
    return address;
}

} // namespace

struct Viewer::Impl {
    explicit Impl(const ViewerOptions& options)
        : address(AddressOf(options.address)), house(std::make_shared<House>(options, !address.is_loopback())),
          acceptor(io), timer(io), pause(io) {
        Listen(options.port);
        house->cookie = "tavix-" + std::to_string(acceptor.local_endpoint().port());
        house->hub = std::make_unique<Hub>(
            options, [this](std::function<void()> task) { asio::post(io, std::move(task)); },
            [this] { return Invite(); });
        Accept();
        Tick();
    }
    ~Impl() {
        io.stop();
        house->hub.reset(); // before the connections, whose last breath would reach for it
    }

    void Listen(std::uint16_t wanted) try {
        const tcp::endpoint endpoint(address, wanted);
        acceptor.open(endpoint.protocol());
        acceptor.set_option(asio::socket_base::reuse_address(true));
        acceptor.bind(endpoint);
        acceptor.listen();
    } catch (const boost::system::system_error& e) {
        throw std::runtime_error("cannot listen at " + address.to_string() + ", port " + std::to_string(wanted) + ": " +
                                 e.code().message() + "; choose another --port or --listen");
    }

    void Accept() {
        acceptor.async_accept([this](error_code failed, tcp::socket socket) {
            if (failed == asio::error::operation_aborted) return;
            if (failed) return AcceptLater();
            std::make_shared<HttpSession>(std::move(socket), house)->Run();
            Accept();
        });
    }
    void AcceptLater() {
        pause.expires_after(kPause);
        pause.async_wait([this](error_code cancelled) {
            if (!cancelled) Accept();
        });
    }
    void Tick() {
        timer.expires_after(kTick);
        timer.async_wait([this](error_code cancelled) {
            if (cancelled) return;
            house->hub->Tick();
            Tick();
        });
    }
    std::string Invite() {
        const bool isAny = address.is_unspecified();
        const std::string host = isAny ? asio::ip::host_name() : address.to_string();
        const std::string name = address.is_v6() && !isAny ? "[" + host + "]" : host;
        return "http://" + name + ":" + std::to_string(port) + "/?token=" + house->gate.MakeToken();
    }

    asio::io_context io{1};
    const asio::ip::address address;
    const std::shared_ptr<House> house;
    tcp::acceptor acceptor;
    asio::steady_timer timer, pause;
    std::uint16_t port = 0; // constant after construction
};

Viewer::Viewer(const ViewerOptions& options) : m_Impl(std::make_unique<Impl>(options)) {
    m_Impl->port = m_Impl->acceptor.local_endpoint().port();
}

Viewer::~Viewer() = default;

std::uint16_t Viewer::Port() const {
    return m_Impl->port;
}

bool Viewer::IsOpenToOthers() const {
    return !m_Impl->address.is_loopback();
}

std::string Viewer::Invite() {
    return m_Impl->Invite();
}

void Viewer::Run() {
    m_Impl->io.run();
}

void Viewer::Stop() {
    m_Impl->io.stop();
}

} // namespace viewer
