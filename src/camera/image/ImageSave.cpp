// Images as files.
#include "camera/Failure.h"
#include "camera/image/Frame.h"
#include "camera/image/WholePicture.h"

#include <tavix/camera/Image.h>

namespace Tavix {
namespace {

imaging::Metadata MetadataOf(const Image& image) {
    const detail::Frame& frame = image.Inside();
    imaging::Metadata metadata;
    if (frame.origin) metadata.camera = frame.origin->camera;
    if (frame.time.real.time_since_epoch().count() != 0) metadata.time = frame.time.real;
    metadata.cameraTime = frame.cameraTime;
    if (frame.blockId != ~std::uint64_t(0)) metadata.blockId = frame.blockId;
    for (const std::string& name : image.ChunkNames())
        metadata.more[name] = image.Chunk(name).Text();
    const auto exposure = metadata.more.find("ChunkExposureTime");
    if (exposure != metadata.more.end()) metadata.exposure = image.Chunk("ChunkExposureTime").Float();
    return metadata;
}

} // namespace

void Image::Save(const std::string& path, const imaging::FileOptions& options) const {
    Checked();
    try {
        imaging::Save(path, detail::WholePicture(*this).View(), MetadataOf(*this), options);
    } catch (const imaging::Error& e) {
        throw Error("cannot save an image as " + path + ": " + detail::Reason(e));
    }
}

} // namespace Tavix
