#include "virtualcam/remote/Channel.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

namespace virtualcam {
namespace {

constexpr std::size_t kPiece = 64u << 10;

} // namespace

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    if (this != &other) {
        Close();
        m_Descriptor = other.Release();
    }
    return *this;
}

Descriptor::~Descriptor() {
    Close();
}

int Descriptor::Release() {
    return std::exchange(m_Descriptor, -1);
}

void Descriptor::Close() {
    if (m_Descriptor >= 0) close(Release());
}

Channel::Channel(int socket, int end) : m_Socket(socket), m_End(end) {
    fcntl(m_Socket, F_SETFL, fcntl(m_Socket, F_GETFL) | O_NONBLOCK);
}

int PollTime(std::optional<TimePoint> until) {
    if (!until) return -1;
    const auto left = std::chrono::ceil<milliseconds>(*until - Clock::Now()).count();
    return static_cast<int>(std::clamp<decltype(left)>(left, 0, INT_MAX));
}

// False when the end has come or the time is over.
bool Channel::WaitFor(short events) {
    pollfd polled[2] = {{m_Socket, events, 0}, {m_End, POLLIN, 0}};
    int count = 0;
    do
        count = poll(polled, 2, PollTime(m_Deadline));
    while (count < 0 && errno == EINTR);
    m_TimedOut = m_TimedOut || count == 0;
    return count > 0 && polled[1].revents == 0;
}

Channel::Event Channel::Wait(int wake) {
    pollfd polled[3] = {{m_Socket, POLLIN, 0}, {m_End, POLLIN, 0}, {wake, POLLIN, 0}};
    int count = 0;
    do
        count = poll(polled, 3, PollTime(m_Deadline));
    while (count < 0 && errno == EINTR);
    m_TimedOut = m_TimedOut || count == 0;
    if (count <= 0 || polled[1].revents != 0) return Event::Ended;
    return polled[2].revents != 0 ? Event::Woken : Event::Readable;
}

bool Channel::HasEnded() const {
    pollfd end{m_End, POLLIN, 0};
    return poll(&end, 1, 0) > 0;
}

bool Channel::Receive(std::uint8_t* to, std::size_t count) {
    std::size_t done = 0;
    while (done < count) {
        if (!WaitFor(POLLIN)) return false;
        const ssize_t got = recv(m_Socket, to + done, count - done, 0);
        if (got > 0)
            done += static_cast<std::size_t>(got);
        else if (got == 0 || (errno != EAGAIN && errno != EINTR))
            return false;
    }
    return true;
}

bool Channel::Receive(Bytes& to, std::size_t count) {
    to.clear();
    while (to.size() < count) {
        const std::size_t before = to.size();
        const std::size_t wanted = before + std::min(count - before, std::max(kPiece, before));
        to.reserve(wanted); // no more than that
        to.resize(wanted);
        if (!Receive(to.data() + before, to.size() - before)) return false;
    }
    return true;
}

bool Channel::Skip(std::size_t count) {
    std::uint8_t piece[4096];
    for (std::size_t left = count; left != 0;) {
        const std::size_t part = std::min(left, sizeof piece);
        if (!Receive(piece, part)) return false;
        left -= part;
    }
    return true;
}

bool Channel::Send(const std::uint8_t* head, std::size_t headSize, const std::uint8_t* body, std::size_t bodySize) {
    iovec parts[2] = {{const_cast<std::uint8_t*>(head), headSize}, {const_cast<std::uint8_t*>(body), bodySize}};
    while (parts[0].iov_len + parts[1].iov_len != 0) {
        if (!WaitFor(POLLOUT)) return false;
        msghdr message{};
        message.msg_iov = parts;
        message.msg_iovlen = 2;
        const ssize_t sent = sendmsg(m_Socket, &message, MSG_NOSIGNAL);
        if (sent < 0 && errno != EAGAIN && errno != EINTR) return false;
        std::size_t rest = sent > 0 ? static_cast<std::size_t>(sent) : 0;
        for (iovec& part : parts) {
            const std::size_t taken = rest < part.iov_len ? rest : part.iov_len;
            part.iov_base = static_cast<std::uint8_t*>(part.iov_base) + taken;
            part.iov_len -= taken;
            rest -= taken;
        }
    }
    return true;
}

SocketPair::SocketPair() {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) throw std::runtime_error("no sockets are left");
    ours = Descriptor(ends[0]);
    theirs = Descriptor(ends[1]);
}

} // namespace virtualcam
