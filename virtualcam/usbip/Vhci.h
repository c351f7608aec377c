#pragma once
// Attaches virtual cameras to the virtual host controller of the kernel that this program runs on.

#include <string>
#include <thread>
#include <vector>

#include "core/Mutex.h"
#include "virtualcam/remote/Listener.h"
#include "virtualcam/remote/RemoteCamera.h"

namespace virtualcam::usbip {

/// Where the kernel module vhci_hcd shows itself.
inline constexpr const char* kVhciFolder = "/sys/devices/platform/vhci_hcd.0";

/// A free port for a device of this speed (as Linux counts it) among those that a status file lists; -1: none.
int FindFreePort(const std::string& status, std::uint32_t speed);

/// Attaches every camera, and again whenever it is plugged in again. Thread-safe.
class Vhci {
public:
    /// Throws std::runtime_error with what to do when the module is not there or this process may not use it. The
    /// cameras are borrowed, and closed by the destructor.
    Vhci(RemoteCameras& cameras, Notify notify, std::string folder = kVhciFolder);
    ~Vhci();

private:
    RemoteCameras& m_Cameras;
    const Notify m_Notify;
    const std::string m_Folder;
    Tavix::Mutex m_AttachLock; // from looking for a port to taking it
    std::vector<std::thread> m_Threads;

    void CheckAccess() const;
    void End();
    void Serve(RemoteCamera& camera);
    void Lend(TakenCamera camera);
    void Attach(const RemoteCamera& camera, int socket);
};

} // namespace virtualcam::usbip
