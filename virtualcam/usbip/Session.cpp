#include "virtualcam/usbip/Session.h"

#include <cerrno>
#include <new>
#include <utility>

namespace virtualcam::usbip {
namespace {

constexpr std::uint32_t kNoPackets = 0xFFFFFFFF;

std::int32_t ErrorOf(PipeStatus status) {
    switch (status) {
    case PipeStatus::Stall:
        return -EPIPE;
    case PipeStatus::Overflow:
        return -EOVERFLOW;
    case PipeStatus::Error:
        return -EPROTO;
    case PipeStatus::NoMemory:
        return -ENOMEM;
    case PipeStatus::Gone:
        return -ESHUTDOWN;
    default:
        return 0;
    }
}

usb::ControlSetup SetupOf(const std::array<std::uint8_t, 8>& bytes) {
    usb::ControlSetup setup;
    setup.requestType = bytes[0];
    setup.request = bytes[1];
    setup.value = Load<std::uint16_t>(bytes.data() + 2);
    setup.index = Load<std::uint16_t>(bytes.data() + 4);
    setup.length = Load<std::uint16_t>(bytes.data() + 6);
    return setup;
}

} // namespace

Session::Session(RemoteCamera& camera, int socket, milliseconds timeout)
    : m_Camera(camera), m_Timeout(timeout), m_Channel(socket, camera.EndFd()),
      m_Transfers(camera.GetDevice(), *this, kBudget) {}

SessionEnd Session::Run() {
    try {
        m_SpeakBy = Clock::Now() + m_Timeout;
        while (Serve()) {
        }
    } catch (const std::bad_alloc&) {
        return SessionEnd::MemoryShort;
    }
    if (m_Violated) return SessionEnd::ProtocolViolated;
    if (m_CameraGone || m_Channel.HasEnded()) return SessionEnd::CameraGone;
    return m_Channel.HasTimedOut() ? SessionEnd::ClientSlow : SessionEnd::ClientGone;
}

// One step; false at the end.
bool Session::Serve() {
    m_Channel.SetDeadline(m_SpeakBy);
    switch (m_Channel.Wait(m_Camera.WakeFd())) {
    case Channel::Event::Ended:
        return false;
    case Channel::Event::Woken:
        ServeReady();
        break;
    case Channel::Event::Readable:
        m_SpeakBy.reset(); // from now on it may have no use for its camera for as long as it likes
        Expect(kHeaderSize);
        if (!ReadCommand()) return false;
        break;
    }
    return !m_ClientGone && !m_CameraGone;
}

void Session::ServeReady() {
    EndpointSet ready = m_Camera.TakeReady();
    while (!ready.IsEmpty())
        m_Transfers.Serve(ready.TakeFirst());
}

bool Session::Violation() {
    m_Violated = true;
    return false;
}

bool Session::ReadCommand() {
    Header header;
    if (!m_Channel.Receive(header.data(), header.size())) return false;
    const Command command = DecodeCommand(header);
    if (command.code == CommandCode::Unlink) return Unlink(command);
    return command.code == CommandCode::Submit ? Submit(command) : Violation();
}

bool Session::Submit(const Command& command) {
    const bool isochronous = command.packets != 0 && command.packets != kNoPackets;
    if (isochronous || command.endpoint > 15 || command.length > kMaximumTransfer) return Violation();
    if (m_Transfers.Count() >= kMaximumQueued) return Violation();
    if (!command.in && !m_Transfers.HasRoomFor(command.length)) return Refuse(command);
    Bytes data;
    if (!command.in && !ReceiveData(command, data)) return false;
    if (!command.in && data.size() != command.length) return Reply(command.number, PipeStatus::NoMemory, nullptr, 0);
    if (command.endpoint == 0) return SubmitControl(command, std::move(data));
    RemoteTransfer transfer;
    transfer.number = command.number;
    transfer.endpoint = static_cast<std::uint8_t>(command.endpoint | (command.in ? 0x80 : 0));
    transfer.length = command.length;
    transfer.data = std::move(data);
    m_Transfers.Submit(std::move(transfer));
    return true;
}

// A transfer for which there is no room is read all the same: the next command comes behind it.
bool Session::Refuse(const Command& command) {
    Expect(command.length);
    return m_Channel.Skip(command.length) && Reply(command.number, PipeStatus::NoMemory, nullptr, 0);
}

// False when the client has gone; without memory fewer bytes are there than were sent.
bool Session::ReceiveData(const Command& command, Bytes& data) {
    Expect(command.length);
    try {
        return m_Channel.Receive(data, command.length);
    } catch (const std::bad_alloc&) {
        const std::size_t left = command.length - data.size();
        data = {};
        return m_Channel.Skip(left);
    }
}

bool Session::SubmitControl(const Command& command, Bytes data) {
    const usb::ControlSetup setup = SetupOf(command.setup);
    if (((setup.requestType & 0x80) != 0) != command.in && setup.length != 0) return Violation();
    PipeAnswer answer = RemoteControl(m_Camera.GetDevice(), setup, data);
    if (answer.bytes > command.length) answer = {PipeStatus::Overflow, 0};
    return Reply(command.number, answer.status, command.in ? data.data() : nullptr, answer.bytes);
}

bool Session::Unlink(const Command& command) {
    const std::int32_t status = m_Transfers.Cancel(command.victim).has_value() ? -ECONNRESET : 0;
    const Header header = UnlinkReply(command.number, status);
    Expect(header.size());
    return m_Channel.Send(header.data(), header.size());
}

void Session::Finished(const RemoteTransfer& transfer, const RemoteOutcome& outcome) {
    if (!Reply(static_cast<std::uint32_t>(transfer.number), outcome.status, outcome.data, outcome.bytes))
        m_ClientGone = true;
}

// Nothing is said of transfers that a vanished camera leaves: the end of the connection says it.
bool Session::Reply(std::uint32_t number, PipeStatus status, const std::uint8_t* data, std::size_t moved) {
    if (status == PipeStatus::Gone) {
        m_CameraGone = true;
        return false;
    }
    const bool refused = status == PipeStatus::NoMemory; // whatever had come for it is not complete
    const std::size_t bytes = refused ? 0 : moved;
    const Header header = SubmitReply(number, ErrorOf(status), static_cast<std::uint32_t>(bytes));
    Expect(header.size() + bytes);
    return m_Channel.Send(header.data(), header.size(), data, data ? bytes : 0);
}

} // namespace virtualcam::usbip
