#pragma once
// A peer that redirects a camera into a virtual machine, by the usbredir protocol.

#include <memory>

#include <usbredirparser.h>

#include "virtualcam/remote/Listener.h"
#include "virtualcam/remote/RemoteCamera.h"
#include "virtualcam/remote/RemoteTransfers.h"

namespace virtualcam::usbredir {

/// Largest transfer and most transfers at a time that a peer may ask for; beyond that they are refused as invalid.
inline constexpr std::size_t kMaximumTransfer = 64u << 20;
inline constexpr std::size_t kMaximumQueued = 4096;

/// Connects the camera to the peer whenever it is plugged, for as long as the connection lasts. The socket, the camera
/// and `end`, which ends it by becoming readable, belong to the caller. Bound to a thread.
class Session {
public:
    Session(RemoteCamera& camera, int socket, int end, const Notify& notify);
    ~Session();

    void Run();

private:
    struct Destroy {
        void operator()(usbredirparser* parser) const { usbredirparser_destroy(parser); }
    };

    RemoteCamera& m_Camera;
    const int m_Socket;
    const int m_End;
    const Notify& m_Notify;
    RemoteTransfers m_Transfers;
    std::unique_ptr<usbredirparser, Destroy> m_Parser;
    bool m_HasPeer = false;   // its hello came
    bool m_Connected = false; // the camera is ours and the peer knows it

    void SetCallbacks();
    void Refuse();
    bool Serve();
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
    void Finished(const RemoteTransfer& transfer, const RemoteOutcome& outcome);
    void SendBulk(const RemoteTransfer& transfer, std::uint8_t status, const std::uint8_t* data, std::size_t bytes);
};

} // namespace virtualcam::usbredir
