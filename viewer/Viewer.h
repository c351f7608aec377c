#pragma once
// The door from the browser: a server that shows cameras on a page of its own.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace viewer {

/// What an examination of the system brought to light.
struct Finding {
    std::string severity; ///< "good", "note", "problem"
    std::string about;
    std::string text;
    std::string command; ///< that mends it; empty when none does
};

struct ViewerOptions {
    std::string address = "127.0.0.1"; ///< to listen at
    std::uint16_t port = 0;            ///< 0: a free one
    std::string folder = "recordings"; ///< where series go, each in a folder of its own
    std::vector<std::string> open;     ///< cameras to open at once, by their names
    std::size_t connections = 64;      ///< at a time, with a key; and as many of strangers, who are in nobody's way
    std::chrono::milliseconds timeout{10000};      ///< with a browser that sends or takes nothing
    std::function<std::vector<Finding>()> examine; ///< the doctor; empty: there is none
};

/// Listens from its construction on and answers while Run() runs. Bound to a thread, but for Stop and Invite.
class Viewer {
public:
    /// Throws std::runtime_error when the address cannot be had.
    explicit Viewer(const ViewerOptions& options);
    ~Viewer();
    Viewer(const Viewer&) = delete;
    Viewer& operator=(const Viewer&) = delete;

    std::uint16_t Port() const;
    /// Whether others than this computer can reach it.
    bool IsOpenToOthers() const;
    /// An address that lets one browser in, once. Thread-safe.
    std::string Invite();
    /// Returns after Stop().
    void Run();
    /// Thread-safe, and may be called before Run().
    void Stop();

private:
    struct Impl;
    std::unique_ptr<Impl> m_Impl;
};

/// Lets virtual cameras be added while the program runs, should the environment not ask for some. Before the first
/// camera is looked for.
void PrepareVirtualCameras();

} // namespace viewer
