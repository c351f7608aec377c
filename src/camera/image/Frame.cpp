#include "camera/image/Frame.h"

#include "camera/Failure.h"
#include "camera/image/ChunkReader.h"

#include <tavix/imaging/Picture.h>

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

void ImageFacts::MeasureLines() {
    givenStride = stride = imaging::StrideOf(format, width, paddingX);
    wholeBytes = imaging::BytesOf(format, width, height, givenStride);
    if (givenStride != 0) return;
    const std::uint64_t bits = std::uint64_t(imaging::BitsPerPixel(format)) * width;
    stride = bits % 8 == 0 ? static_cast<std::size_t>(bits / 8) : 0;
}

Frame::Frame() = default;
Frame::~Frame() {
    delete chunkValues.load();
}

/// They seldom differ from those of the image that was here before, and looking them up takes time.
[[gnu::hot]] void Frame::DescribeLines(const GrabResult& result) {
    const std::uint32_t newWidth = Known(result.GetSizeX()), newHeight = Known(result.GetSizeY());
    const std::uint32_t newPadding = Known(result.GetPaddingX());
    const bool isSameFormat = pixelType == result.GetPixelType();
    if (isSameFormat && width == newWidth && height == newHeight && paddingX == newPadding) return;
    width = newWidth;
    height = newHeight;
    paddingX = newPadding;
    pixelType = result.GetPixelType();
    if (!isSameFormat) format = FormatOf(pixelType);
    MeasureLines();
}

[[gnu::hot]] void Frame::Describe(const GrabResult& result, std::size_t expected) {
    const std::uint64_t bytes = result.GetPayloadSize64();
    payloadSize = bytes == ~std::uint64_t(0) ? 0 : std::min<std::size_t>(size, bytes);
    blockId = result.GetBlockID();
    cameraTime = result.GetTimeStamp();
    offsetX = Known(result.GetOffsetX());
    offsetY = Known(result.GetOffsetY());
    DescribeLines(result);
    payloadType = result.GetPayloadType();
    defect.clear();
    errorCode = result.GetErrorCode();
    missingBytes = 0;
    gapBefore = {};
    if (chunkValues.load()) delete chunkValues.exchange(nullptr);
    if (result.Succeeded()) return;
    defect = WithoutFullStop(Text(result.GetErrorDescription()));
    if (defect.empty()) defect = "it is damaged";
    missingBytes = expected - std::min(expected, payloadSize);
}

} // namespace Tavix::detail
