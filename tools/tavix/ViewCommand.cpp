#include "Error.h"
#include "Interrupt.h"
#include "line/Commands.h"
#include "output/Text.h"

#ifdef TAVIX_VIEWER
#include "doctor/Examination.h"
#include "viewer/Viewer.h"

#include "core/Threads.h"

#include <cstdlib>
#include <filesystem>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace tool {

#ifdef TAVIX_VIEWER
namespace {

constexpr int kStepMs = 50;

std::vector<viewer::Finding> ExamineForPage() {
    std::vector<viewer::Finding> findings;
    for (const Finding& finding : ExamineThisComputer())
        findings.push_back({Name(finding.severity), finding.about, finding.text, finding.command});
    return findings;
}

/// It is made when the first series is recorded, when it is too late to choose another.
void RequireFolder(const std::string& folder) {
    namespace fs = std::filesystem;
    std::error_code failed;
    fs::path nearest = fs::absolute(folder, failed);
    while (!fs::exists(nearest, failed) && nearest.has_relative_path())
        nearest = nearest.parent_path();
    if (!fs::is_directory(nearest, failed))
        throw Error("series cannot be recorded in " + folder + ": " + nearest.string() +
                    " is no folder; choose another --output");
}

/// With a desktop only: elsewhere a browser would take the terminal.
void OpenBrowser(const std::string& address) {
    if (!secure_getenv("DISPLAY") && !secure_getenv("WAYLAND_DISPLAY")) return;
    const char* const arguments[] = {"xdg-open", address.c_str(), nullptr};
    posix_spawn_file_actions_t quiet;
    posix_spawn_file_actions_init(&quiet);
    posix_spawn_file_actions_addopen(&quiet, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&quiet, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    const bool runs = posix_spawnp(&child, "xdg-open", &quiet, nullptr, const_cast<char**>(arguments), environ) == 0;
    posix_spawn_file_actions_destroy(&quiet);
    if (runs) Tavix::NewThread([child] { waitpid(child, nullptr, 0); }).detach();
}

/// Waits for the interrupt. Enter prints another address meanwhile.
void WaitForEnd(viewer::Viewer& server) {
    pollfd input{STDIN_FILENO, POLLIN, 0};
    while (!IsInterrupted()) {
        if (poll(&input, 1, kStepMs) <= 0) continue;
        char bytes[256];
        if (read(STDIN_FILENO, bytes, sizeof bytes) > 0)
            PrintLineNow("  " + server.Invite());
        else
            input.fd = -1; // nobody can press a key
    }
    server.Stop();
}

} // namespace

int View(const ViewOptions& options) {
    RequireFolder(options.folder);
    viewer::PrepareVirtualCameras();
    viewer::ViewerOptions settings;
    settings.address = options.address;
    settings.port = options.port;
    settings.folder = options.folder;
    settings.examine = ExamineForPage;
    viewer::Viewer server(settings);
    const std::string address = server.Invite();
    PrintLine("Open this address in a browser; it lets one in, once. Enter prints another one, Ctrl-C ends.");
    PrintLineNow("  " + address);
    if (server.IsOpenToOthers())
        std::fputs("tavix: warning: other computers can reach this page, and what it sends can be read on the way; "
                   "ssh -L is safer\n",
                   stderr);
    if (!options.noBrowser) OpenBrowser(address);
    std::thread waiting = Tavix::NewThread([&] { WaitForEnd(server); });
    server.Run();
    waiting.join();
    return kDone;
}
#else
int View(const ViewOptions&) {
    throw Error("this program was built without its viewer; install libjs-chart.js and build again");
}
#endif

} // namespace tool
