#include "virtualcam/usbip/Server.h"

#include <utility>

#include "virtualcam/usbip/Export.h"

namespace virtualcam::usbip {

std::string EndText(const RemoteCamera& camera, SessionEnd end) {
    const std::string name = "camera " + BusIdOf(camera) + " (serial number " + camera.Settings().serial + ")";
    switch (end) {
    case SessionEnd::CameraGone:
        return name + " was unplugged";
    case SessionEnd::ProtocolViolated:
        return name + " was detached, since its client does not keep to the protocol";
    case SessionEnd::ClientSlow:
        return name + " was detached, since its client was silent for too long";
    case SessionEnd::MemoryShort:
        return name + " was detached, since memory is short";
    default:
        return name + " was detached";
    }
}

Server::Server(RemoteCameras& cameras, const ServerSettings& settings, Notify notify)
    : m_Cameras(cameras), m_Notify(std::move(notify)), m_Timeout(settings.timeout) {
    m_Listener = std::make_unique<Listener>(
        Listener::OpenTcp(settings.address, settings.port), [this](Connection& connection) { Answer(connection); },
        m_Notify);
}

Server::~Server() {
    for (const auto& camera : m_Cameras)
        camera->Close();
    m_Listener.reset();
}

// One connection: a question and its answer, and the whole session if that was an import.
void Server::Answer(Connection& connection) {
    Channel channel(connection.Socket(), connection.End());
    channel.SetDeadline(Clock::Now() + m_Timeout);
    std::array<std::uint8_t, kOperationSize> header{};
    if (!channel.Receive(header.data(), header.size())) return;
    const std::optional<Operation> operation = DecodeOperation(header);
    if (operation == Operation::ListRequest)
        channel.Send(ListReply(FreeCameras()));
    else if (operation == Operation::ImportRequest)
        Import(channel, connection);
}

std::vector<ExportedDevice> Server::FreeCameras() {
    std::vector<ExportedDevice> free;
    for (const auto& camera : m_Cameras)
        if (camera->IsFree()) free.push_back(DescribeCamera(*camera));
    return free;
}

OperationStatus Server::Take(const std::string& busId, TakenCamera& taken) {
    for (const auto& camera : m_Cameras) {
        if (BusIdOf(*camera) != busId) continue;
        if (!camera->GetDevice().IsPlugged()) return OperationStatus::NoDevice;
        if (camera->GetDevice().RefusesOpen()) return OperationStatus::NotAvailable;
        if (!camera->Take()) return OperationStatus::Busy;
        taken.reset(camera.get());
        return OperationStatus::Ok;
    }
    return OperationStatus::NoDevice;
}

void Server::Import(Channel& channel, Connection& connection) {
    std::array<std::uint8_t, kBusIdSize> field{};
    if (!channel.Receive(field.data(), field.size())) return;
    TakenCamera camera;
    const OperationStatus status = Take(DecodeBusId(field), camera);
    if (status != OperationStatus::Ok) {
        channel.Send(ImportRefusal(status));
        return;
    }
    connection.Keep();
    if (!channel.Send(ImportReply(DescribeCamera(*camera)))) return;
    m_Notify("camera " + BusIdOf(*camera) + " (serial number " + camera->Settings().serial + ") was attached");
    m_Notify(EndText(*camera, Session(*camera, connection.Socket(), m_Timeout).Run()));
}

} // namespace virtualcam::usbip
