// Images in memory of their own.
#include "camera/Failure.h"
#include "camera/image/ChunkReader.h"
#include "camera/image/Frame.h"
#include "camera/image/WholePicture.h"

#include <tavix/camera/Error.h>
#include <tavix/camera/Image.h>

#include <cstring>

namespace Tavix {
namespace {

/// A frame that belongs to no stream, with the facts of another.
detail::FramePtr MakeCopy(const detail::ImageFacts& facts, std::shared_ptr<void> memory, std::size_t size) {
    auto copy = std::make_unique<detail::Frame>();
    static_cast<detail::ImageFacts&>(*copy) = facts;
    copy->memory = std::move(memory);
    copy->size = copy->payloadSize = size;
    return detail::FramePtr(copy.release());
}

} // namespace

Image Image::Clone() const {
    const detail::Frame& from = Checked();
    const std::shared_ptr<std::uint8_t[]> bytes(new std::uint8_t[from.payloadSize + 1]);
    std::memcpy(bytes.get(), from.Bytes(), from.payloadSize);
    return Image(MakeCopy(from, std::shared_ptr<void>(bytes, bytes.get()), from.payloadSize));
}

Image Image::Convert(const std::string& pixelFormat, const imaging::ConvertOptions& options) const {
    const detail::Frame& from = Checked();
    const imaging::PixelFormatInfo* target = imaging::FindPixelFormat(pixelFormat);
    if (!target)
        throw ValueError("there is no pixel format '" + pixelFormat +
                         "'; images are converted to Mono8, Mono16, RGB8, BGR8, RGBa8 and BGRa8");
    try {
        const detail::WholePicture whole(*this);
        auto picture = std::make_shared<imaging::Picture>(imaging::Convert(whole.View(), target->format, options));
        Image image(MakeCopy(from, std::shared_ptr<void>(picture, picture->Data()), picture->Size()));
        image.m_Frame->format = target->format;
        image.m_Frame->paddingX = 0;
        image.m_Frame->MeasureLines();
        // Read from the payload, which the copy does not have.
        image.m_Frame->chunkValues = new detail::ChunkValues(detail::ChunksOf(*m_Frame));
        return image;
    } catch (const imaging::Error& e) {
        throw ValueError("cannot convert " + PixelFormat() + " to " + pixelFormat + ": " + detail::Reason(e));
    }
}

} // namespace Tavix
