#include "imaging/files/Encoders.h"

namespace Tavix::imaging {

FileBytes EncodePnm(const PictureView& picture, const Facts& facts) {
    const bool isGrey = picture.format == PixelFormat::Mono8 || picture.format == PixelFormat::Mono16;
    const bool isDeep = picture.format == PixelFormat::Mono16 || picture.format == PixelFormat::RGB16;
    std::string head = isGrey ? "P5\n" : "P6\n";
    for (const auto& [name, value] : facts)
        head += "# " + name + ": " + value + "\n";
    head +=
        std::to_string(picture.width) + " " + std::to_string(picture.height) + "\n" + (isDeep ? "65535" : "255") + "\n";
    FileBytes bytes(head.begin(), head.end());
    bytes.insert(bytes.end(), picture.data, picture.data + picture.size);
    for (std::size_t i = head.size(); isDeep && i + 1 < bytes.size(); i += 2)
        std::swap(bytes[i], bytes[i + 1]); // the upper byte comes first
    return bytes;
}

} // namespace Tavix::imaging
