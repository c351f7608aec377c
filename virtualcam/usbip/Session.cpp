#include "virtualcam/usbip/Session.h"

#include <cerrno>
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

Session::Session(RemoteCamera& camera, int socket)
    : m_Camera(camera), m_Channel(socket, camera.EndFd()),
      m_Transfers(camera.GetDevice(), [this](const RemoteTransfer& transfer, const RemoteOutcome& outcome) {
          Finished(transfer, outcome);
      }) {}

SessionEnd Session::Run() {
    while (Serve()) {
    }
    if (m_Violated) return SessionEnd::ProtocolViolated;
    return m_CameraGone || m_Channel.HasEnded() ? SessionEnd::CameraGone : SessionEnd::ClientGone;
}

// One step; false at the end.
bool Session::Serve() {
    switch (m_Channel.Wait(m_Camera.WakeFd())) {
    case Channel::Event::Ended:
        return false;
    case Channel::Event::Woken:
        for (const std::uint8_t endpoint : m_Camera.TakeReady())
            m_Transfers.Serve(endpoint);
        break;
    case Channel::Event::Readable:
        if (!ReadCommand()) return false;
        break;
    }
    return !m_ClientGone && !m_CameraGone;
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
    Bytes data;
    if (!command.in) {
        data.resize(command.length);
        if (!m_Channel.Receive(data.data(), data.size())) return false;
    }
    if (command.endpoint == 0) return SubmitControl(command, std::move(data));
    if (m_Transfers.Count() >= kMaximumQueued) return Violation();
    RemoteTransfer transfer;
    transfer.number = command.number;
    transfer.endpoint = static_cast<std::uint8_t>(command.endpoint | (command.in ? 0x80 : 0));
    transfer.length = command.length;
    transfer.data = std::move(data);
    m_Transfers.Submit(std::move(transfer));
    return true;
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
    return m_Channel.Send(header.data(), header.size());
}

void Session::Finished(const RemoteTransfer& transfer, const RemoteOutcome& outcome) {
    if (m_ClientGone || m_CameraGone) return;
    if (!Reply(static_cast<std::uint32_t>(transfer.number), outcome.status, outcome.data, outcome.bytes))
        m_ClientGone = true;
}

// Nothing is said of transfers that a vanished camera leaves: the end of the connection says it.
bool Session::Reply(std::uint32_t number, PipeStatus status, const std::uint8_t* data, std::size_t moved) {
    if (status == PipeStatus::Gone) {
        m_CameraGone = true;
        return false;
    }
    const Header header = SubmitReply(number, ErrorOf(status), static_cast<std::uint32_t>(moved));
    return m_Channel.Send(header.data(), header.size(), data, data ? moved : 0);
}

} // namespace virtualcam::usbip
