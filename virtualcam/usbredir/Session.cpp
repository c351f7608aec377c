#include "virtualcam/usbredir/Session.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <stdexcept>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>

namespace virtualcam::usbredir {
namespace {

constexpr std::uint8_t kDirectionIn = 0x80;

std::uint8_t StatusOf(PipeStatus status) {
    switch (status) {
    case PipeStatus::Complete:
    case PipeStatus::NotYet:
        return usb_redir_success;
    case PipeStatus::Stall:
        return usb_redir_stall;
    case PipeStatus::Overflow:
        return usb_redir_babble;
    default:
        return usb_redir_ioerror;
    }
}

std::uint8_t SpeedOf(usb::Speed speed) {
    return speed == usb::Speed::High ? usb_redir_speed_high : usb_redir_speed_super;
}

} // namespace

Session::Session(RemoteCamera& camera, int socket, int end, const Notify& notify)
    : m_Camera(camera), m_Socket(socket), m_End(end), m_Notify(notify),
      m_Transfers(camera.GetDevice(), [this](const RemoteTransfer& transfer, const RemoteOutcome& outcome) {
          Finished(transfer, outcome);
      }) {
    fcntl(m_Socket, F_SETFL, fcntl(m_Socket, F_GETFL) | O_NONBLOCK);
    m_Parser.reset(usbredirparser_create());
    if (!m_Parser) throw std::runtime_error("no memory is left for a connection");
    SetCallbacks();
    std::uint32_t capabilities[USB_REDIR_CAPS_SIZE] = {};
    for (const int capability :
         {usb_redir_cap_connect_device_version, usb_redir_cap_device_disconnect_ack,
          usb_redir_cap_ep_info_max_packet_size, usb_redir_cap_64bits_ids, usb_redir_cap_32bits_bulk_length})
        usbredirparser_caps_set_cap(capabilities, capability);
    char name[] = "tavix virtual camera";
    usbredirparser_init(m_Parser.get(), name, capabilities, USB_REDIR_CAPS_SIZE, usbredirparser_fl_usb_host);
}

Session::~Session() {
    if (m_Connected) m_Camera.GiveBack();
}

void Session::Run() {
    while (Serve()) {
    }
}

// One round; false at the end of the connection. Only a connected camera's end concerns us: one that is unplugged is
// waited for.
bool Session::Serve() {
    usbredirparser* const parser = m_Parser.get();
    const short events = static_cast<short>(POLLIN | (usbredirparser_has_data_to_write(parser) != 0 ? POLLOUT : 0));
    pollfd polled[4] = {{m_Socket, events, 0},
                        {m_End, POLLIN, 0},
                        {m_Camera.WakeFd(), POLLIN, 0},
                        {m_Connected ? m_Camera.EndFd() : -1, POLLIN, 0}};
    if (poll(polled, 4, -1) < 0) return errno == EINTR;
    if (polled[1].revents != 0) return false;
    if (polled[3].revents != 0) Disconnect();
    if (polled[2].revents != 0) {
        for (const std::uint8_t endpoint : m_Camera.TakeReady())
            if (m_Connected) m_Transfers.Serve(endpoint);
    }
    if ((polled[0].revents & ~POLLOUT) != 0 && usbredirparser_do_read(parser) != 0) return false;
    if (m_HasPeer && !m_Connected) Connect();
    return usbredirparser_has_data_to_write(parser) == 0 || usbredirparser_do_write(parser) == 0;
}

// --- the camera's coming and going

void Session::Connect() {
    if (!m_Camera.Take()) return;
    m_Connected = true;
    SendInterfaces();
    SendEndpoints();
    const Bytes& device = m_Camera.GetDevice().GetDescriptors().Device();
    usb_redir_device_connect_header connect{};
    connect.speed = SpeedOf(m_Camera.Settings().speed);
    connect.device_class = device[4];
    connect.device_subclass = device[5];
    connect.device_protocol = device[6];
    connect.vendor_id = Load<std::uint16_t>(device.data() + 8);
    connect.product_id = Load<std::uint16_t>(device.data() + 10);
    connect.device_version_bcd = Load<std::uint16_t>(device.data() + 12);
    usbredirparser_send_device_connect(m_Parser.get(), &connect);
    m_Notify("camera with serial number " + m_Camera.Settings().serial + " was attached");
}

void Session::Disconnect() {
    m_Connected = false;
    m_Transfers.Clear();
    m_Camera.GiveBack();
    usbredirparser_send_device_disconnect(m_Parser.get());
    m_Notify("camera with serial number " + m_Camera.Settings().serial + " was unplugged");
}

void Session::SendInterfaces() {
    const Bytes& configuration = m_Camera.GetDevice().GetDescriptors().Configuration();
    usb_redir_interface_info_header info{};
    for (std::size_t at = 0; at + 9 <= configuration.size() && configuration[at] != 0; at += configuration[at]) {
        if (configuration[at + 1] != 0x04) continue;
        const std::uint32_t index = info.interface_count++;
        info.interface[index] = configuration[at + 2];
        info.interface_class[index] = configuration[at + 5];
        info.interface_subclass[index] = configuration[at + 6];
        info.interface_protocol[index] = configuration[at + 7];
    }
    usbredirparser_send_interface_info(m_Parser.get(), &info);
}

void Session::SendEndpoints() {
    const auto index = [](std::uint8_t endpoint) { return (endpoint & kDirectionIn) >> 3 | (endpoint & 0x0F); };
    usb_redir_ep_info_header info{};
    std::fill(std::begin(info.type), std::end(info.type), static_cast<std::uint8_t>(usb_redir_type_invalid));
    for (const std::uint8_t endpoint : {std::uint8_t{0x00}, std::uint8_t{0x80}}) {
        info.type[index(endpoint)] = usb_redir_type_control;
        info.max_packet_size[index(endpoint)] = m_Camera.Settings().speed == usb::Speed::High ? 64 : 512;
    }
    const Bytes& configuration = m_Camera.GetDevice().GetDescriptors().Configuration();
    std::uint8_t owner = 0;
    for (std::size_t at = 0; at + 7 <= configuration.size() && configuration[at] != 0; at += configuration[at]) {
        if (configuration[at + 1] == 0x04) owner = configuration[at + 2];
        if (configuration[at + 1] != 0x05) continue;
        const int place = index(configuration[at + 2]);
        info.type[place] = usb_redir_type_bulk;
        info.interface[place] = owner;
        info.max_packet_size[place] = Load<std::uint16_t>(configuration.data() + at + 4);
    }
    usbredirparser_send_ep_info(m_Parser.get(), &info);
}

// --- what the peer asks

void Session::Hello() {
    m_HasPeer = true;
}

void Session::Reset() {
    m_Transfers.Clear();
    if (m_Connected) m_Camera.GetDevice().BusReset();
}

void Session::Control(std::uint64_t id, usb_redir_control_packet_header header, const std::uint8_t* data, int length) {
    const usb::ControlSetup setup{header.requesttype, header.request, header.value, header.index, header.length};
    const bool in = (header.requesttype & kDirectionIn) != 0;
    Bytes bytes(data, data + (in ? 0 : length));
    PipeAnswer answer{PipeStatus::Gone, 0};
    if (m_Connected) answer = RemoteControl(m_Camera.GetDevice(), setup, bytes);
    header.status = StatusOf(answer.status);
    header.length = static_cast<std::uint16_t>(answer.bytes);
    usbredirparser_send_control_packet(m_Parser.get(), id, &header, bytes.empty() ? nullptr : bytes.data(),
                                       static_cast<int>(bytes.size()));
}

void Session::Bulk(std::uint64_t id, const usb_redir_bulk_packet_header& header, const std::uint8_t* data, int length) {
    RemoteTransfer transfer;
    transfer.number = id;
    transfer.endpoint = header.endpoint;
    transfer.length = header.length | static_cast<std::size_t>(header.length_high) << 16;
    if ((header.endpoint & kDirectionIn) == 0) transfer.data.assign(data, data + length);
    if (transfer.length > kMaximumTransfer || m_Transfers.Count() >= kMaximumQueued)
        SendBulk(transfer, usb_redir_inval, nullptr, 0);
    else if (!m_Connected)
        SendBulk(transfer, usb_redir_ioerror, nullptr, 0);
    else
        m_Transfers.Submit(std::move(transfer));
}

void Session::Cancel(std::uint64_t id) {
    if (const auto cancelled = m_Transfers.Cancel(id)) SendBulk(*cancelled, usb_redir_cancelled, nullptr, 0);
}

void Session::SetConfiguration(std::uint64_t id, std::uint8_t configuration) {
    const usb::ControlSetup setup{0x00, request::kSetConfiguration, configuration, 0, 0};
    Bytes none;
    const PipeAnswer answer = RemoteControl(m_Camera.GetDevice(), setup, none);
    usb_redir_configuration_status_header status{};
    status.status = StatusOf(answer.status);
    status.configuration = configuration;
    usbredirparser_send_configuration_status(m_Parser.get(), id, &status);
}

void Session::GetConfiguration(std::uint64_t id) {
    const usb::ControlSetup setup{0x80, request::kGetConfiguration, 0, 0, 1};
    Bytes value;
    const PipeAnswer answer = RemoteControl(m_Camera.GetDevice(), setup, value);
    usb_redir_configuration_status_header status{};
    status.status = StatusOf(answer.status);
    status.configuration = value.empty() ? 0 : value.front();
    usbredirparser_send_configuration_status(m_Parser.get(), id, &status);
}

void Session::Alternate(std::uint64_t id, std::uint8_t interfaceNumber, std::uint8_t alternate) {
    usb_redir_alt_setting_status_header status{};
    const std::uint8_t count = m_Camera.GetDevice().GetDescriptors().InterfaceCount();
    status.status = interfaceNumber < count && alternate == 0 ? usb_redir_success : usb_redir_stall;
    status.interface = interfaceNumber;
    usbredirparser_send_alt_setting_status(m_Parser.get(), id, &status);
}

// --- answers

void Session::Finished(const RemoteTransfer& transfer, const RemoteOutcome& outcome) {
    SendBulk(transfer, StatusOf(outcome.status), outcome.data, outcome.bytes);
}

void Session::SendBulk(const RemoteTransfer& transfer, std::uint8_t status, const std::uint8_t* data,
                       std::size_t bytes) {
    usb_redir_bulk_packet_header header{};
    header.endpoint = transfer.endpoint;
    header.status = status;
    header.length = static_cast<std::uint16_t>(bytes);
    header.length_high = static_cast<std::uint16_t>(bytes >> 16);
    const bool hasData = data != nullptr && bytes != 0;
    usbredirparser_send_bulk_packet(m_Parser.get(), transfer.number, &header,
                                    hasData ? const_cast<std::uint8_t*>(data) : nullptr,
                                    hasData ? static_cast<int>(bytes) : 0);
}

// --- the parser's callbacks

void Session::SetCallbacks() {
    usbredirparser& parser = *m_Parser;
    parser.priv = this;
    parser.log_func = [](void*, int, const char*) {};
    parser.read_func = [](void* self, std::uint8_t* to, int count) {
        const ssize_t got = recv(static_cast<Session*>(self)->m_Socket, to, static_cast<std::size_t>(count), 0);
        if (got > 0) return static_cast<int>(got);
        return got < 0 && (errno == EAGAIN || errno == EINTR) ? 0 : -1;
    };
    parser.write_func = [](void* self, std::uint8_t* from, int count) {
        const int socket = static_cast<Session*>(self)->m_Socket;
        const ssize_t sent = send(socket, from, static_cast<std::size_t>(count), MSG_NOSIGNAL);
        if (sent >= 0) return static_cast<int>(sent);
        return errno == EAGAIN || errno == EINTR ? 0 : -1;
    };
    parser.hello_func = [](void* self, usb_redir_hello_header*) { static_cast<Session*>(self)->Hello(); };
    parser.reset_func = [](void* self) { static_cast<Session*>(self)->Reset(); };
    parser.control_packet_func = [](void* self, std::uint64_t id, usb_redir_control_packet_header* header,
                                    std::uint8_t* data, int length) {
        Session& session = *static_cast<Session*>(self);
        session.Control(id, *header, data, length);
        usbredirparser_free_packet_data(session.m_Parser.get(), data);
    };
    parser.bulk_packet_func = [](void* self, std::uint64_t id, usb_redir_bulk_packet_header* header, std::uint8_t* data,
                                 int length) {
        Session& session = *static_cast<Session*>(self);
        session.Bulk(id, *header, data, length);
        usbredirparser_free_packet_data(session.m_Parser.get(), data);
    };
    parser.cancel_data_packet_func = [](void* self, std::uint64_t id) { static_cast<Session*>(self)->Cancel(id); };
    parser.set_configuration_func = [](void* self, std::uint64_t id, usb_redir_set_configuration_header* header) {
        static_cast<Session*>(self)->SetConfiguration(id, header->configuration);
    };
    parser.get_configuration_func = [](void* self, std::uint64_t id) {
        static_cast<Session*>(self)->GetConfiguration(id);
    };
    parser.set_alt_setting_func = [](void* self, std::uint64_t id, usb_redir_set_alt_setting_header* header) {
        static_cast<Session*>(self)->Alternate(id, header->interface, header->alt);
    };
    parser.get_alt_setting_func = [](void* self, std::uint64_t id, usb_redir_get_alt_setting_header* header) {
        static_cast<Session*>(self)->Alternate(id, header->interface, 0);
    };
    Refuse();
}

// The camera has bulk endpoints only. Each of these has to be there: the parser calls what it finds.
void Session::Refuse() {
    usbredirparser& parser = *m_Parser;
    static const auto getParser = [](void* self) { return static_cast<Session*>(self)->m_Parser.get(); };
    parser.start_iso_stream_func = [](void* self, std::uint64_t id, usb_redir_start_iso_stream_header* header) {
        usb_redir_iso_stream_status_header status{usb_redir_stall, header->endpoint};
        usbredirparser_send_iso_stream_status(getParser(self), id, &status);
    };
    parser.stop_iso_stream_func = [](void* self, std::uint64_t id, usb_redir_stop_iso_stream_header* header) {
        usb_redir_iso_stream_status_header status{usb_redir_stall, header->endpoint};
        usbredirparser_send_iso_stream_status(getParser(self), id, &status);
    };
    parser.start_interrupt_receiving_func = [](void* self, std::uint64_t id,
                                               usb_redir_start_interrupt_receiving_header* header) {
        usb_redir_interrupt_receiving_status_header status{usb_redir_stall, header->endpoint};
        usbredirparser_send_interrupt_receiving_status(getParser(self), id, &status);
    };
    parser.stop_interrupt_receiving_func = [](void* self, std::uint64_t id,
                                              usb_redir_stop_interrupt_receiving_header* header) {
        usb_redir_interrupt_receiving_status_header status{usb_redir_stall, header->endpoint};
        usbredirparser_send_interrupt_receiving_status(getParser(self), id, &status);
    };
    parser.alloc_bulk_streams_func = [](void*, std::uint64_t, usb_redir_alloc_bulk_streams_header*) {};
    parser.free_bulk_streams_func = [](void*, std::uint64_t, usb_redir_free_bulk_streams_header*) {};
    parser.start_bulk_receiving_func = [](void*, std::uint64_t, usb_redir_start_bulk_receiving_header*) {};
    parser.stop_bulk_receiving_func = [](void*, std::uint64_t, usb_redir_stop_bulk_receiving_header*) {};
    const auto drop = [](void* self, std::uint64_t, auto*, std::uint8_t* data, int) {
        usbredirparser_free_packet_data(getParser(self), data);
    };
    parser.iso_packet_func = drop;
    parser.interrupt_packet_func = drop;
    parser.device_disconnect_ack_func = [](void*) {};
    parser.filter_reject_func = [](void*) {};
    parser.filter_filter_func = [](void*, usbredirfilter_rule* rules, int) { free(rules); };
}

} // namespace virtualcam::usbredir
