#include "camera/Frame.h"

#include "camera/ChunkReader.h"
#include "camera/Failure.h"

#include <algorithm>

namespace Tavix::detail {
namespace {

std::uint32_t Known(std::int32_t value) {
    return static_cast<std::uint32_t>(std::max(value, 0));
}

imaging::PixelFormat FormatOf(std::int32_t pixelType) {
    if (pixelType == PixelType_Undefined) return imaging::PixelFormat::Undefined;
    const imaging::PixelFormatInfo* known = imaging::FindPixelType(pixelType);
    return known ? known->format : static_cast<imaging::PixelFormat>(pixelType);
}

} // namespace

Frame::Frame() = default;
Frame::~Frame() = default;

void Frame::Describe(const GrabResult& result, std::size_t expected) {
    const std::uint64_t bytes = result.GetPayloadSize64();
    payloadSize = bytes == ~std::uint64_t(0) ? 0 : std::min<std::size_t>(size, bytes);
    blockId = result.GetBlockID();
    cameraTime = result.GetTimeStamp();
    width = Known(result.GetSizeX());
    height = Known(result.GetSizeY());
    offsetX = Known(result.GetOffsetX());
    offsetY = Known(result.GetOffsetY());
    paddingX = Known(result.GetPaddingX());
    if (pixelType != result.GetPixelType()) { // seldom, and to look it up takes time
        pixelType = result.GetPixelType();
        format = FormatOf(pixelType);
    }
    payloadType = result.GetPayloadType();
    defect.clear();
    missingBytes = 0;
    gapBefore = {};
    chunkValues.reset();
    if (result.Succeeded()) return;
    defect = result.GetErrorDescription().empty() ? "it is damaged" : Text(result.GetErrorDescription());
    missingBytes = expected - std::min(expected, payloadSize);
}

} // namespace Tavix::detail
