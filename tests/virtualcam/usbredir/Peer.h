#pragma once
// The other side of a usbredir connection, as a virtual machine has it.

#include <deque>
#include <memory>
#include <optional>
#include <string>

#include <poll.h>
#include <sys/socket.h>
#include <usbredirparser.h>

#include "virtualcam/remote/Channel.h"
#include "virtualcam/support/DeviceClient.h"

namespace virtualcam::usbredir::test {

/// A packet that the camera's side sent.
struct Packet {
    std::string kind; ///< "connect", "control", "bulk", ...; empty when none came in time
    std::uint64_t id = 0;
    int status = 0;
    Bytes data;
};

/// Bound to a thread.
class Peer {
public:
    explicit Peer(Descriptor socket) : m_Socket(std::move(socket)), m_Parser(usbredirparser_create()) {
        usbredirparser& parser = *m_Parser;
        parser.priv = this;
        parser.log_func = [](void*, int, const char*) {};
        parser.read_func = Read;
        parser.write_func = Write;
        SetCallbacks(parser);
        std::uint32_t capabilities[USB_REDIR_CAPS_SIZE] = {};
        for (const int capability : {usb_redir_cap_connect_device_version, usb_redir_cap_ep_info_max_packet_size,
                                     usb_redir_cap_64bits_ids, usb_redir_cap_32bits_bulk_length})
            usbredirparser_caps_set_cap(capabilities, capability);
        char name[] = "test";
        usbredirparser_init(&parser, name, capabilities, USB_REDIR_CAPS_SIZE, 0);
    }

    usbredirparser* Parser() { return m_Parser.get(); }
    /// Sends what was queued.
    void Flush() {
        while (usbredirparser_has_data_to_write(Parser()) != 0 && usbredirparser_do_write(Parser()) == 0) {
        }
    }
    /// The same without waiting for the other side; false when it takes no more.
    bool FlushNow() {
        m_Waits = false;
        const bool done = usbredirparser_do_write(Parser()) == 0 && usbredirparser_has_data_to_write(Parser()) == 0;
        m_Waits = true;
        return done;
    }
    /// The next packet.
    Packet Next(int timeoutMs = 5000) {
        Flush();
        pollfd polled{m_Socket.Get(), POLLIN, 0};
        while (m_Packets.empty() && poll(&polled, 1, timeoutMs) > 0)
            if (usbredirparser_do_read(Parser()) != 0) break;
        if (m_Packets.empty()) return {};
        Packet packet = std::move(m_Packets.front());
        m_Packets.pop_front();
        return packet;
    }
    /// The next packet of a kind; others are dropped.
    Packet Next(const std::string& kind) {
        Packet packet = Next();
        while (!packet.kind.empty() && packet.kind != kind)
            packet = Next();
        return packet;
    }
    bool IsSilent(int timeoutMs = 20) { return Next(timeoutMs).kind.empty(); }
    bool IsClosed() {
        while (!Next(2000).kind.empty()) {
        }
        std::uint8_t byte = 0;
        pollfd polled{m_Socket.Get(), POLLIN, 0};
        return poll(&polled, 1, 5000) > 0 && recv(m_Socket.Get(), &byte, 1, MSG_DONTWAIT) <= 0;
    }
    void SendRaw(const Bytes& bytes) {
        Flush();
        (void)send(m_Socket.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    }
    void Shut() {
        Flush();
        shutdown(m_Socket.Get(), SHUT_WR);
    }

    void SendControl(std::uint64_t id, const usb::ControlSetup& setup, Bytes data = {}) {
        usb_redir_control_packet_header header{};
        header.endpoint = setup.requestType & 0x80;
        header.requesttype = setup.requestType;
        header.request = setup.request;
        header.value = setup.value;
        header.index = setup.index;
        header.length = setup.length;
        usbredirparser_send_control_packet(Parser(), id, &header, data.empty() ? nullptr : data.data(),
                                           static_cast<int>(data.size()));
    }
    void SendBulk(std::uint64_t id, std::uint8_t endpoint, std::uint32_t length, Bytes data = {}) {
        usb_redir_bulk_packet_header header{};
        header.endpoint = endpoint;
        header.length = static_cast<std::uint16_t>(length);
        header.length_high = static_cast<std::uint16_t>(length >> 16);
        usbredirparser_send_bulk_packet(Parser(), id, &header, data.empty() ? nullptr : data.data(),
                                        static_cast<int>(data.size()));
    }
    /// A command of the control channel and its acknowledge.
    Bytes Command(const Bytes& command) {
        SendBulk(0xC1, 0x01, static_cast<std::uint32_t>(command.size()), command);
        SendBulk(0xC2, 0x81, 1024);
        Packet packet = Next("bulk");
        while (!packet.kind.empty() && packet.id != 0xC2)
            packet = Next("bulk");
        return packet.data;
    }
    std::uint16_t Write32(std::uint64_t address, std::uint32_t value) {
        return virtualcam::test::StatusOf(Command(virtualcam::test::WriteCommand(++m_Request, address, value)));
    }

private:
    struct Destroy {
        void operator()(usbredirparser* parser) const { usbredirparser_destroy(parser); }
    };

    Descriptor m_Socket;
    std::unique_ptr<usbredirparser, Destroy> m_Parser;
    std::deque<Packet> m_Packets;
    std::uint16_t m_Request = 0;
    bool m_Waits = true;

    static Peer& Of(void* self) { return *static_cast<Peer*>(self); }
    static int Read(void* self, std::uint8_t* to, int count) {
        const ssize_t got = recv(Of(self).m_Socket.Get(), to, static_cast<std::size_t>(count), MSG_DONTWAIT);
        return got > 0 ? static_cast<int>(got) : got < 0 && errno == EAGAIN ? 0 : -1;
    }
    static int Write(void* self, std::uint8_t* from, int count) {
        const int flags = MSG_NOSIGNAL | (Of(self).m_Waits ? 0 : MSG_DONTWAIT);
        const ssize_t sent = send(Of(self).m_Socket.Get(), from, static_cast<std::size_t>(count), flags);
        return sent >= 0 ? static_cast<int>(sent) : errno == EAGAIN ? 0 : -1;
    }
    void Add(const char* kind, std::uint64_t id, int status, const void* data = nullptr, std::size_t size = 0) {
        const std::uint8_t* const bytes = static_cast<const std::uint8_t*>(data);
        m_Packets.push_back({kind, id, status, size != 0 ? Bytes(bytes, bytes + size) : Bytes()});
    }
    static void SetCallbacks(usbredirparser& parser) {
        parser.hello_func = [](void*, usb_redir_hello_header*) {};
        parser.device_connect_func = [](void* self, usb_redir_device_connect_header* header) {
            Of(self).Add("connect", 0, header->speed, header, sizeof *header);
        };
        parser.device_disconnect_func = [](void* self) { Of(self).Add("disconnect", 0, 0); };
        parser.interface_info_func = [](void* self, usb_redir_interface_info_header* header) {
            Of(self).Add("interfaces", 0, static_cast<int>(header->interface_count), header, sizeof *header);
        };
        parser.ep_info_func = [](void* self, usb_redir_ep_info_header* header) {
            Of(self).Add("endpoints", 0, 0, header, sizeof *header);
        };
        parser.configuration_status_func = [](void* self, std::uint64_t id,
                                              usb_redir_configuration_status_header* header) {
            Of(self).Add("configuration", id, header->status, &header->configuration, 1);
        };
        parser.alt_setting_status_func = [](void* self, std::uint64_t id, usb_redir_alt_setting_status_header* header) {
            Of(self).Add("alternate", id, header->status);
        };
        parser.iso_stream_status_func = [](void* self, std::uint64_t id, usb_redir_iso_stream_status_header* header) {
            Of(self).Add("isochronous", id, header->status);
        };
        parser.interrupt_receiving_status_func = [](void* self, std::uint64_t id,
                                                    usb_redir_interrupt_receiving_status_header* header) {
            Of(self).Add("interrupt", id, header->status);
        };
        parser.control_packet_func = [](void* self, std::uint64_t id, usb_redir_control_packet_header* header,
                                        std::uint8_t* data, int length) {
            Of(self).Add("control", id, header->status, data, static_cast<std::size_t>(length));
            usbredirparser_free_packet_data(Of(self).Parser(), data);
        };
        parser.bulk_packet_func = [](void* self, std::uint64_t id, usb_redir_bulk_packet_header* header,
                                     std::uint8_t* data, int length) {
            Of(self).Add("bulk", id, header->status, data, static_cast<std::size_t>(length));
            usbredirparser_free_packet_data(Of(self).Parser(), data);
        };
    }
};

} // namespace virtualcam::usbredir::test
