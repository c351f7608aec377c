#pragma once
// What the command line asked for.

#include <cstdint>
#include <string>
#include <vector>

namespace tool {

/// Options that every command understands.
struct CommonOptions {
    std::vector<std::string> cameras; ///< how the user named cameras; empty for the first one
    bool all = false;                 ///< every camera found
    bool json = false;
};

struct ListOptions : CommonOptions {
    bool namesOnly = false; ///< print what --camera takes, a line for each
};

struct FeatureOptions : CommonOptions {
    std::vector<std::string> names; ///< feature names; NAME=VALUE or a command's name for set; a part of a name for
                                    ///< features
    bool everything = false;        ///< also features that are not implemented, and all visibilities
    bool namesOnly = false;         ///< print names and nothing else
};

/// For commands that need no camera.
struct FileOptions {
    std::string path;
    bool json = false;
    bool lint = false; ///< tells what is wrong with the file instead of what it offers
};

enum class ImageFormat { Png, Pgm, Raw };

/// What images of a camera that wait for the disk may take beside its buffers, in MiB.
constexpr std::uint64_t kWaitingMegabytes = 512;

struct GrabOptions : CommonOptions {
    std::uint64_t frames = 100; ///< per camera
    std::string folder;         ///< where images go; empty for none
    ImageFormat format = ImageFormat::Png;
    std::uint64_t every = 1; ///< save every n-th frame
    bool overwrite = false;  ///< images of an earlier grab may be replaced
    unsigned int buffers = 8;
    std::uint64_t memoryMegabytes = 2048; ///< most that the buffers of a camera may take, in MiB
    unsigned int timeoutMs = 5000;        ///< longest wait for a frame
    std::uint64_t transferSize = 0;       ///< longest USB transfer in bytes; 0 for the library's choice
    std::vector<std::string> settings;    ///< NAME=VALUE, applied before the grab
    bool quiet = false;                   ///< no progress bar
    bool checkChunks = false;             ///< every chunk on, the payload's checksum checked
    std::string trace;                    ///< file for what goes over the wire; empty for none
};

struct EventsOptions : CommonOptions {
    std::vector<std::string> names; ///< events; empty for all
    std::uint64_t count = 0;        ///< end after so many; 0 for no end
    unsigned int timeoutMs = 0;     ///< longest wait for an event; 0 for any
    bool grab = false;              ///< grab images meanwhile
    std::vector<std::string> settings;
};

struct WatchOptions {
    std::uint64_t count = 0; ///< end after so many changes; 0 for no end
    unsigned int timeoutMs = 0;
    unsigned int intervalMs = 500;
    bool json = false;
};

struct SettingsFileOptions : CommonOptions {
    std::string path;
};

struct DoctorOptions {
    std::string root = "/"; ///< of the files that the kernel tells by
    bool udevRule = false;  ///< print the rule and nothing else
    bool json = false;
};

struct ViewOptions {
    std::string address = "127.0.0.1"; ///< to listen at
    std::uint16_t port = 0;            ///< 0: a free one
    std::string folder = "recordings"; ///< where series go
    bool noBrowser = false;            ///< only prints the address
};

} // namespace tool
