#pragma once
// A peer that redirects a camera into a virtual machine, by the usbredir protocol.

#include <memory>

#include <usbredirparser.h>

#include "virtualcam/remote/Connections.h"
#include "virtualcam/remote/RemoteCamera.h"
#include "virtualcam/remote/RemoteTransfers.h"
#include "virtualcam/usbredir/Wire.h"

namespace virtualcam::usbredir {

/// Most transfers at a time that a peer may ask for; beyond that they are refused as invalid.
inline constexpr std::size_t kMaximumQueued = 4096;
/// Bytes that its transfers may hold; and bytes that may wait for the peer to read them before it is asked and answered
/// no more. With a packet that is coming in, and an answer on top of those that wait, a connection stays near 64 MiB.
inline constexpr std::size_t kBudget = kMaximumTransfer;
inline constexpr std::size_t kMostUnread = 8u << 20;

/// Connects the camera to the peer whenever it is plugged, for as long as the connection lasts. The socket, the camera
/// and `end`, which ends it by becoming readable, belong to the caller. Bound to a thread.
class Session final : private RemoteHost {
public:
    /// `greeting` was read of the socket already. `timeout` is for the rest of each packet, and for the peer to read
    /// what it is sent; see TimeFor.
    Session(RemoteCamera& camera, int socket, int end, const Notify& notify, Bytes greeting = {},
            milliseconds timeout = kTimeout);
    ~Session();

    void Run();

private:
    struct Destroy {
        void operator()(usbredirparser* parser) const { usbredirparser_destroy(parser); }
    };

    RemoteCamera& m_Camera;
    const int m_End;
    const Notify& m_Notify;
    Wire m_Wire;
    RemoteTransfers m_Transfers;
    std::unique_ptr<usbredirparser, Destroy> m_Parser;
    bool m_HasPeer = false;   // its hello came
    bool m_Connected = false; // the camera is ours and the peer knows it
    bool m_Held = false;      // transfers wait until the peer has read what there is
    bool m_Broken = false;    // memory was short, and something is lost

    // the parser's callbacks
    void SetCallbacks();
    void SetTransferCallbacks();
    void SetRefusals();
    template<class F>
    static void Guarded(void* self, F&& call);

    bool Serve();
    bool ServeSocket(short events);
    void ServeCamera();
    bool Flush();
    std::uint64_t Unread() const { return usbredirparser_get_bufferered_output_size(m_Parser.get()); }
    bool IsCongested() const { return Unread() >= kMostUnread; }
    void Connect();
    void Disconnect();
    void SendInterfaces();
    void SendEndpoints();

    void Hello();
    void Reset();
    void Control(std::uint64_t id, usb_redir_control_packet_header header, const std::uint8_t* data, int length);
    void Bulk(std::uint64_t id, const usb_redir_bulk_packet_header& header, const std::uint8_t* data, int length);
    void Cancel(std::uint64_t id);
    void SetConfiguration(std::uint64_t id, std::uint8_t configuration);
    void GetConfiguration(std::uint64_t id);
    void Alternate(std::uint64_t id, std::uint8_t interfaceNumber, std::uint8_t alternate);
    void Finished(const RemoteTransfer& transfer, const RemoteOutcome& outcome) override;
    bool HasRoom() override;
    void SendBulk(const RemoteTransfer& transfer, std::uint8_t status, const std::uint8_t* data, std::size_t bytes);
};

} // namespace virtualcam::usbredir
