#include "virtualcam/usbredir/Session.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <utility>

#include <poll.h>

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

Session::Session(RemoteCamera& camera, int socket, int end, const Notify& notify, Bytes greeting, milliseconds timeout)
    : m_Camera(camera), m_End(end), m_Notify(notify), m_Wire(socket, std::move(greeting), timeout),
      m_Transfers(camera.GetDevice(), *this, kBudget), m_Parser(usbredirparser_create()) {
    if (!m_Parser) throw std::bad_alloc();
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
    bool goesOn = ServeSocket(POLLIN); // the greeting is here already
    while (goesOn)
        goesOn = Serve();
    if (m_Broken) m_Notify("a connection was closed, since memory is short");
}

// One round; false at the end of the connection. Only a connected camera's end concerns us: one that is unplugged is
// waited for.
bool Session::Serve() {
    if (IsCongested()) m_Wire.Pause();
    m_Wire.SetUnread(Unread() != 0);
    const std::optional<TimePoint> deadline = m_Wire.Deadline();
    const int events = (IsCongested() ? 0 : POLLIN) | (Unread() != 0 ? POLLOUT : 0);
    pollfd polled[4] = {{m_Wire.Socket(), static_cast<short>(events), 0},
                        {m_End, POLLIN, 0},
                        {m_Camera.WakeFd(), POLLIN, 0},
                        {m_Connected ? m_Camera.EndFd() : -1, POLLIN, 0}};
    if (poll(polled, 4, PollTime(deadline)) < 0) return errno == EINTR;
    if (polled[1].revents != 0 || (deadline && Clock::Now() >= *deadline)) return false;
    if (polled[3].revents != 0) Disconnect();
    if (polled[2].revents != 0) ServeCamera();
    return ServeSocket(polled[0].revents);
}

bool Session::ServeSocket(short events) {
    const bool readable = (events & ~POLLOUT) != 0;
    if (readable && usbredirparser_do_read(m_Parser.get()) != 0) return false;
    if (m_HasPeer && !m_Connected) Connect();
    if (!Flush()) return false;
    if (m_Held && !IsCongested()) {
        m_Held = false;
        m_Transfers.ServeAll();
    }
    return !m_Broken;
}

void Session::ServeCamera() {
    EndpointSet ready = m_Camera.TakeReady();
    while (m_Connected && !ready.IsEmpty())
        m_Transfers.Serve(ready.TakeFirst());
}

bool Session::Flush() {
    return Unread() == 0 || usbredirparser_do_write(m_Parser.get()) == 0;
}

// Whoever does not read what there is gets nothing more.
bool Session::HasRoom() {
    m_Held = m_Held || IsCongested();
    return !IsCongested() && !m_Broken;
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
    const std::uint64_t before = Unread();
    usbredirparser_send_control_packet(m_Parser.get(), id, &header, bytes.empty() ? nullptr : bytes.data(),
                                       static_cast<int>(bytes.size()));
    m_Broken = m_Broken || Unread() == before; // it says nothing when it has no memory
}

void Session::Bulk(std::uint64_t id, const usb_redir_bulk_packet_header& header, const std::uint8_t* data, int length) {
    RemoteTransfer transfer;
    transfer.number = id;
    transfer.endpoint = header.endpoint;
    transfer.length = header.length | static_cast<std::size_t>(header.length_high) << 16;
    const std::size_t out = (header.endpoint & kDirectionIn) == 0 ? static_cast<std::size_t>(length) : 0;
    if (transfer.length > kMaximumTransfer || m_Transfers.Count() >= kMaximumQueued) {
        SendBulk(transfer, usb_redir_inval, nullptr, 0);
        return;
    }
    if (!m_Connected || !m_Transfers.HasRoomFor(out)) {
        SendBulk(transfer, usb_redir_ioerror, nullptr, 0);
        return;
    }
    transfer.data.assign(data, data + out);
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
    const std::uint64_t before = Unread();
    usbredirparser_send_bulk_packet(m_Parser.get(), transfer.number, &header,
                                    hasData ? const_cast<std::uint8_t*>(data) : nullptr,
                                    hasData ? static_cast<int>(bytes) : 0);
    m_Broken = m_Broken || Unread() == before;
}

} // namespace virtualcam::usbredir
