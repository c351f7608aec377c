#include "virtualcam/usbip/Vhci.h"

#include "core/Threads.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <new>
#include <sstream>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "virtualcam/usbip/Export.h"
#include "virtualcam/usbip/Server.h"

namespace virtualcam::usbip {
namespace {

constexpr int kPortFree = 4;

std::string ReadFile(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

// The kernel's files want their text in one write.
int WriteFile(const std::string& path, const std::string& text) {
    const Descriptor file(open(path.c_str(), O_WRONLY | O_CLOEXEC));
    if (file.Get() < 0) return errno;
    const ssize_t written = write(file.Get(), text.data(), text.size());
    return written == static_cast<ssize_t>(text.size()) ? 0 : errno;
}

} // namespace

// hub port sta spd dev      sockfd local_busid
// ss  0008 004 000 00000000 000000 0-0
int FindFreePort(const std::string& status, std::uint32_t speed) {
    const std::string wanted = speed >= kLinuxSuperSpeed ? "ss" : "hs";
    std::istringstream lines(status);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream fields(line);
        std::string hub;
        int port = -1, state = -1;
        if (fields >> hub >> port >> state && hub == wanted && state == kPortFree) return port;
    }
    return -1;
}

Vhci::Vhci(RemoteCameras& cameras, Notify notify, std::string folder)
    : m_Cameras(cameras), m_Notify(std::move(notify)), m_Folder(std::move(folder)) {
    CheckAccess();
    try {
        for (const auto& camera : m_Cameras)
            m_Threads.push_back(Tavix::NewThread([this, served = camera.get()] { Serve(*served); }));
    } catch (...) {
        End();
        throw;
    }
}

Vhci::~Vhci() {
    End();
}

void Vhci::End() {
    for (const auto& camera : m_Cameras)
        camera->Close();
    for (std::thread& thread : m_Threads)
        thread.join();
}

void Vhci::CheckAccess() const {
    if (access((m_Folder + "/status").c_str(), F_OK) != 0)
        throw std::runtime_error("the kernel has no virtual USB host controller; load it with: sudo modprobe vhci-hcd");
    if (access((m_Folder + "/attach").c_str(), W_OK) != 0)
        throw std::runtime_error("attaching cameras to this computer's kernel is root's business; run this with sudo");
}

void Vhci::Serve(RemoteCamera& camera) {
    std::uint64_t stay = 0;
    while (camera.AwaitStay(stay)) {
        try {
            if (camera.Take()) Lend(TakenCamera(&camera));
        } catch (const std::bad_alloc&) {
            continue; // too little even to tell of it
        }
    }
}

void Vhci::Lend(TakenCamera camera) {
    try {
        SocketPair sockets;
        Attach(*camera, sockets.theirs.Get());
        sockets.theirs.Close(); // the kernel has its own share of it
        m_Notify(EndText(*camera, Session(*camera, sockets.ours.Get()).Run()));
    } catch (const std::exception& trouble) {
        m_Notify("camera " + BusIdOf(*camera) + " cannot be attached: " + trouble.what());
    }
}

// Throws std::runtime_error with the reason.
void Vhci::Attach(const RemoteCamera& camera, int socket) {
    const Tavix::MutexLock lock(m_AttachLock);
    const int port = FindFreePort(ReadFile(m_Folder + "/status"), SpeedOf(camera));
    if (port < 0) throw std::runtime_error("no port of the virtual host controller is free");
    std::ostringstream text;
    text << port << ' ' << socket << ' ' << DeviceNumberOf(camera) << ' ' << SpeedOf(camera);
    const int error = WriteFile(m_Folder + "/attach", text.str());
    if (error != 0) throw std::runtime_error(std::strerror(error));
    m_Notify("camera " + BusIdOf(camera) + " (serial number " + camera.Settings().serial + ") was attached to port " +
             std::to_string(port));
}

} // namespace virtualcam::usbip
