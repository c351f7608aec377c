#include "PixelConversion.h"

#include <utility>

#include <tavix/imaging/Convert.h>

namespace tool {
namespace {

namespace imaging = Tavix::imaging;

/// Results state the SDK's pixel type, which for some formats is older than the code.
const imaging::PixelFormatInfo* InfoOf(const ImageView& view) {
    const auto* known = imaging::FindPixelType(static_cast<std::int32_t>(view.pixelFormat));
    return known ? known : imaging::FindPixelFormat(imaging::PixelFormat{view.pixelFormat});
}

/// What files hold: grey stays grey, and more than 8 bits become 16.
imaging::PixelFormat TargetOf(const imaging::PixelFormatInfo& info) {
    const bool isDeep = info.bits > 8;
    if (info.model == imaging::ColourModel::Mono)
        return isDeep ? imaging::PixelFormat::Mono16 : imaging::PixelFormat::Mono8;
    return isDeep ? imaging::PixelFormat::RGB16 : imaging::PixelFormat::RGB8;
}

imaging::PictureView ViewOf(const ImageView& view, imaging::PixelFormat format) {
    imaging::PictureView source;
    source.data = view.data;
    source.size = view.size;
    source.format = format;
    source.width = view.width;
    source.height = view.height;
    source.stride = imaging::StrideOf(format, view.width, view.paddingX);
    return source;
}

void SwapBytes(std::vector<std::uint8_t>& samples) {
    for (std::size_t i = 0; i + 1 < samples.size(); i += 2)
        std::swap(samples[i], samples[i + 1]);
}

} // namespace

bool Convert(const ImageView& view, Picture& picture) {
    const imaging::PixelFormatInfo* info = InfoOf(view);
    if (!info) return false;
    const imaging::PixelFormat target = TargetOf(*info);
    try {
        const imaging::Picture converted =
            imaging::Convert(ViewOf(view, info->format), target, {imaging::Demosaicing::EdgeAware});
        picture.samples.assign(converted.Data(), converted.Data() + converted.Size());
    } catch (const imaging::Error&) {
        return false;
    }
    picture.width = view.width;
    picture.height = view.height;
    picture.channels = info->model == imaging::ColourModel::Mono ? 1 : 3;
    picture.depth = info->bits > 8 ? 16 : 8;
    if (picture.depth == 16) SwapBytes(picture.samples);
    return true;
}

} // namespace tool
