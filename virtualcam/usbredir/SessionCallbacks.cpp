// What the parser calls. It is C code, through which nothing may be thrown.

#include <cstdlib>
#include <new>

#include "virtualcam/usbredir/Session.h"

namespace virtualcam::usbredir {
namespace {

/// A packet's data, which the parser leaves to its callbacks.
struct FreeData {
    usbredirparser* parser;
    void operator()(std::uint8_t* data) const { usbredirparser_free_packet_data(parser, data); }
};
using PacketData = std::unique_ptr<std::uint8_t, FreeData>;

} // namespace

template<class F>
void Session::Guarded(void* self, F&& call) {
    Session& session = *static_cast<Session*>(self);
    session.m_Wire.PacketEnded();
    try {
        call(session);
    } catch (const std::bad_alloc&) {
        session.m_Broken = true;
    }
}

void Session::SetCallbacks() {
    usbredirparser& parser = *m_Parser;
    parser.priv = this;
    parser.log_func = [](void*, int, const char*) {};
    parser.read_func = [](void* self, std::uint8_t* to, int count) {
        Session& session = *static_cast<Session*>(self);
        if (session.m_Broken) return -1;
        return session.IsCongested() ? 0 : session.m_Wire.Read(to, static_cast<std::size_t>(count));
    };
    parser.write_func = [](void* self, std::uint8_t* from, int count) {
        return static_cast<Session*>(self)->m_Wire.Write(from, static_cast<std::size_t>(count));
    };
    parser.hello_func = [](void* self, usb_redir_hello_header*) {
        Guarded(self, [](Session& session) { session.Hello(); });
    };
    parser.reset_func = [](void* self) { Guarded(self, [](Session& session) { session.Reset(); }); };
    SetTransferCallbacks();
    parser.set_configuration_func = [](void* self, std::uint64_t id, usb_redir_set_configuration_header* header) {
        Guarded(self, [=](Session& session) { session.SetConfiguration(id, header->configuration); });
    };
    parser.get_configuration_func = [](void* self, std::uint64_t id) {
        Guarded(self, [=](Session& session) { session.GetConfiguration(id); });
    };
    parser.set_alt_setting_func = [](void* self, std::uint64_t id, usb_redir_set_alt_setting_header* header) {
        Guarded(self, [=](Session& session) { session.Alternate(id, header->interface, header->alt); });
    };
    parser.get_alt_setting_func = [](void* self, std::uint64_t id, usb_redir_get_alt_setting_header* header) {
        Guarded(self, [=](Session& session) { session.Alternate(id, header->interface, 0); });
    };
    SetRefusals();
}

void Session::SetTransferCallbacks() {
    usbredirparser& parser = *m_Parser;
    parser.control_packet_func = [](void* self, std::uint64_t id, usb_redir_control_packet_header* header,
                                    std::uint8_t* data, int length) {
        Guarded(self, [=](Session& session) {
            const PacketData owned(data, {session.m_Parser.get()});
            session.Control(id, *header, data, length);
        });
    };
    parser.bulk_packet_func = [](void* self, std::uint64_t id, usb_redir_bulk_packet_header* header, std::uint8_t* data,
                                 int length) {
        Guarded(self, [=](Session& session) {
            const PacketData owned(data, {session.m_Parser.get()});
            session.Bulk(id, *header, data, length);
        });
    };
    parser.cancel_data_packet_func = [](void* self, std::uint64_t id) {
        Guarded(self, [=](Session& session) { session.Cancel(id); });
    };
}

// The camera has bulk endpoints only. Each of these has to be there: the parser calls what it finds.
void Session::SetRefusals() {
    usbredirparser& parser = *m_Parser;
    parser.start_iso_stream_func = [](void* self, std::uint64_t id, usb_redir_start_iso_stream_header* header) {
        Guarded(self, [=](Session& session) {
            usb_redir_iso_stream_status_header status{usb_redir_stall, header->endpoint};
            usbredirparser_send_iso_stream_status(session.m_Parser.get(), id, &status);
        });
    };
    parser.stop_iso_stream_func = [](void* self, std::uint64_t id, usb_redir_stop_iso_stream_header* header) {
        Guarded(self, [=](Session& session) {
            usb_redir_iso_stream_status_header status{usb_redir_stall, header->endpoint};
            usbredirparser_send_iso_stream_status(session.m_Parser.get(), id, &status);
        });
    };
    parser.start_interrupt_receiving_func = [](void* self, std::uint64_t id,
                                               usb_redir_start_interrupt_receiving_header* header) {
        Guarded(self, [=](Session& session) {
            usb_redir_interrupt_receiving_status_header status{usb_redir_stall, header->endpoint};
            usbredirparser_send_interrupt_receiving_status(session.m_Parser.get(), id, &status);
        });
    };
    parser.stop_interrupt_receiving_func = [](void* self, std::uint64_t id,
                                              usb_redir_stop_interrupt_receiving_header* header) {
        Guarded(self, [=](Session& session) {
            usb_redir_interrupt_receiving_status_header status{usb_redir_stall, header->endpoint};
            usbredirparser_send_interrupt_receiving_status(session.m_Parser.get(), id, &status);
        });
    };
    const auto ignore = [](void* self, std::uint64_t, auto*) { Guarded(self, [](Session&) {}); };
    parser.alloc_bulk_streams_func = ignore;
    parser.free_bulk_streams_func = ignore;
    parser.start_bulk_receiving_func = ignore;
    parser.stop_bulk_receiving_func = ignore;
    const auto drop = [](void* self, std::uint64_t, auto*, std::uint8_t* data, int) {
        Guarded(self, [=](Session& session) { usbredirparser_free_packet_data(session.m_Parser.get(), data); });
    };
    parser.iso_packet_func = drop;
    parser.interrupt_packet_func = drop;
    parser.device_disconnect_ack_func = [](void* self) { Guarded(self, [](Session&) {}); };
    parser.filter_reject_func = [](void* self) { Guarded(self, [](Session&) {}); };
    parser.filter_filter_func = [](void* self, usbredirfilter_rule* rules, int) {
        Guarded(self, [=](Session&) { free(rules); });
    };
}

} // namespace virtualcam::usbredir
