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

struct FeatureOptions : CommonOptions {
    std::vector<std::string> names; ///< feature names; NAME=VALUE or a command's name for set; a part of a name for
                                    ///< features
    bool everything = false;        ///< also features that are not implemented, and all visibilities
};

/// For commands that need no camera.
struct FileOptions {
    std::string path;
    bool json = false;
};

enum class ImageFormat { Png, Pgm, Raw };

struct GrabOptions : CommonOptions {
    std::uint64_t frames = 100; ///< per camera
    std::string folder;         ///< where images go; empty for none
    ImageFormat format = ImageFormat::Png;
    std::uint64_t every = 1; ///< save every n-th frame
    unsigned int buffers = 8;
    unsigned int timeoutMs = 5000;     ///< longest wait for a frame
    std::vector<std::string> settings; ///< NAME=VALUE, applied before the grab
    bool quiet = false;                ///< no progress bar
    bool checkChunks = false;          ///< every chunk on, the payload's checksum checked
};

} // namespace tool
