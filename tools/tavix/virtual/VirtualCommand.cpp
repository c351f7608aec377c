#include "virtual/VirtualCommand.h"

#include "Error.h"
#include "Interrupt.h"
#include "output/Text.h"
#include "virtual/FaultCommand.h"

#include "virtualcam/remote/Addresses.h"
#include "virtualcam/remote/RemoteCamera.h"
#include "virtualcam/settings/BackendSettings.h"
#include "virtualcam/usbip/Export.h"
#include "virtualcam/usbip/Server.h"
#include "virtualcam/usbip/Vhci.h"
#ifdef TAVIX_USBREDIR
#include "virtualcam/usbredir/Server.h"
#endif

#include <cstdio>
#include <memory>
#include <new>
#include <sstream>

#include <poll.h>
#include <unistd.h>

namespace tool {
namespace {

using namespace virtualcam;

void Say(const std::string& line) {
    std::printf("%s\n", Printable(line).c_str());
    std::fflush(stdout);
}

RemoteCameras MakeCameras(const ServeOptions& options) {
    BackendSettings settings;
    std::string error;
    if (!ParseSettings(SettingsWithFaults(options.cameras, options.faults), settings, error))
        throw Error("virtual cameras: " + error);
    if (settings.cameras.empty()) throw Error("there is no camera to serve");
    return MakeRemoteCameras(settings);
}

/// What serves the cameras; one of them is there. Re-entrant.
struct Servers {
    std::unique_ptr<usbip::Server> usbip;
    std::unique_ptr<usbip::Vhci> vhci;
#ifdef TAVIX_USBREDIR
    std::unique_ptr<usbredir::Server> usbredir;
#endif
};

void StartUsbip(Servers& servers, RemoteCameras& cameras, const ServeOptions& options) {
    usbip::ServerSettings settings;
    settings.address = options.listen;
    settings.port = *options.usbip;
    servers.usbip = std::make_unique<usbip::Server>(cameras, settings, Say);
    const std::string port = std::to_string(servers.usbip->Port());
    const std::string tool = servers.usbip->Port() == usbip::kDefaultPort ? "usbip" : "usbip --tcp-port " + port;
    Say("serving " + std::to_string(cameras.size()) + " virtual camera(s) by USB/IP on " + options.listen + ", port " +
        port + "; attach with:");
    Say("  sudo modprobe vhci-hcd");
    const char* where = "";
    for (const std::string& address : ReachableAddresses(options.listen)) {
        for (const auto& camera : cameras)
            Say("  sudo " + tool + " attach --remote " + address + " --busid " + usbip::BusIdOf(*camera) + where);
        where = "   # from another computer"; // the first address is this one's own, if there are several
    }
}

void StartUsbredir([[maybe_unused]] Servers& servers, [[maybe_unused]] RemoteCameras& cameras,
                   [[maybe_unused]] const ServeOptions& options) {
#ifdef TAVIX_USBREDIR
    servers.usbredir = std::make_unique<usbredir::Server>(cameras, options.usbredir, Say);
    Say("serving " + std::to_string(cameras.size()) + " virtual camera(s) by usbredir on " + options.usbredir +
        "; start a virtual machine with:");
    Say("  qemu-system-x86_64 ... -device qemu-xhci -chardev socket,id=camera,path=" + options.usbredir +
        " -device usb-redir,chardev=camera");
#else
    throw Error("this program was built without libusbredirparser; install libusbredirparser-dev and build again");
#endif
}

/// A server that cannot listen says where and why; what to do about it depends on who asked.
template<class Starter>
void Try(Starter start, const char* advice) {
    try {
        start();
    } catch (const Error&) {
        throw; // it has an advice
    } catch (const std::runtime_error& e) {
        throw Error(Reason(e) + advice);
    }
}

Servers Start(RemoteCameras& cameras, const ServeOptions& options) {
    Servers servers;
    if (options.usbip)
        Try([&] { StartUsbip(servers, cameras, options); },
            "; choose another --listen, or another port behind --usbip");
    if (!options.usbredir.empty())
        Try([&] { StartUsbredir(servers, cameras, options); }, "; choose another --usbredir");
    if (options.vhci) servers.vhci = std::make_unique<usbip::Vhci>(cameras, Say);
    return servers;
}

/// A camera by its number, from 1; without one the first.
RemoteCamera* Find(RemoteCameras& cameras, std::istream& words) {
    std::size_t number = 1;
    if (!words.eof() && !(words >> std::ws).eof()) words >> number;
    return !words.fail() && number >= 1 && number <= cameras.size() ? cameras[number - 1].get() : nullptr;
}

void Plug(RemoteCamera& camera) {
    try {
        camera.GetDevice().Plug();
    } catch (const std::bad_alloc&) {
        Say("memory is short; try again");
    }
}

/// False to end.
bool Obey(RemoteCameras& cameras, const std::string& line) {
    std::istringstream words(line);
    std::string verb;
    if (!(words >> verb)) return true;
    if (verb == "quit") return false;
    RemoteCamera* const camera = Find(cameras, words);
    if (!camera)
        Say("there is no such camera");
    else if (verb == "unplug")
        camera->GetDevice().Unplug();
    else if (verb == "plug")
        Plug(*camera);
    else
        Say("'" + verb + "' is none of plug, unplug, quit");
    return true;
}

/// Lines of standard input as they come. Bound to a thread.
class Console {
public:
    /// False at the end of the input.
    template<class F>
    bool Read(F&& take) {
        char bytes[512];
        const ssize_t got = read(STDIN_FILENO, bytes, sizeof bytes);
        if (got <= 0) return false;
        m_Text.append(bytes, static_cast<std::size_t>(got));
        for (std::size_t end = m_Text.find('\n'); end != std::string::npos; end = m_Text.find('\n')) {
            const std::string line = m_Text.substr(0, end);
            m_Text.erase(0, end + 1);
            take(line);
        }
        return true;
    }

private:
    std::string m_Text;
};

void RunUntilEnd(RemoteCameras& cameras) {
    Console console;
    bool running = true;
    pollfd polled[2] = {{InterruptDescriptor(), POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    while (running) {
        if (poll(polled, 2, -1) < 0) continue;
        if (polled[0].revents != 0) return;
        if (polled[1].revents == 0) continue;
        const bool more = console.Read([&](const std::string& line) { running = Obey(cameras, line) && running; });
        if (!more) polled[1].fd = -1; // without a console it is the signals that end it
    }
}

} // namespace

int Serve(const ServeOptions& options) {
    RemoteCameras cameras = MakeCameras(options);
    const Servers servers = Start(cameras, options);
    RunUntilEnd(cameras);
    return kDone;
}

} // namespace tool
