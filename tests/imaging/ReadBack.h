#pragma once
// Image files, read by the libraries that everybody reads them with.

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace readback {

struct Image {
    bool isRead = false;
    std::uint32_t width = 0, height = 0;
    int depth = 0, channels = 0;
    std::vector<std::uint16_t> samples;
    std::map<std::string, std::string> texts; ///< comments and descriptions as "Comment"
};

using Bytes = std::vector<std::uint8_t>;

Image Png(const Bytes& file);
Image Jpeg(const Bytes& file);
/// From the disk.
Image Tiff(const std::string& path);

} // namespace readback
