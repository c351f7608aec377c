#pragma once
// Names of image files.

#include "core/NewFile.h"

#include <cstdint>
#include <string>
#include <vector>

#include <tavix/camera/CameraInfo.h>

namespace tool {

/// What the names of a camera's images begin with: model and serial number, and what it takes to tell the camera from
/// all the others of the list.
std::string ImagePrefix(const Tavix::CameraInfo& camera, const std::vector<Tavix::CameraInfo>& all);

/// Finds places for the images of one grab from one camera: PREFIX_NUMBER.EXTENSION, with -2, -3 ... behind the number
/// where that is taken. An image never takes the place of another one of the same grab, and that of an earlier grab
/// only when asked to overwrite. Bound to a thread.
class ImageNames {
public:
    explicit ImageNames(std::string prefix, bool overwrites = false)
        : m_Prefix(std::move(prefix)), m_Overwrites(overwrites) {}

    /// The name of the image with that block id where nothing is in its way.
    std::string Wanted(std::uint64_t blockId, const std::string& extension) const {
        return Name(blockId, 1, extension);
    }
    /// Closes the file in a place of its own, and gives that.
    std::string Place(Tavix::NewFile& file, std::uint64_t blockId, const std::string& extension);

private:
    std::string Name(std::uint64_t blockId, std::uint64_t copy, const std::string& extension) const;
    bool IsFirst(std::uint64_t blockId);

    const std::string m_Prefix;
    const bool m_Overwrites;
    std::uint64_t m_Copy = 1; // kept from name to name, so that the images of a second grab all end with -2
    bool m_HasOne = false;
    std::uint64_t m_Highest = 0; // block id so far
};

} // namespace tool
