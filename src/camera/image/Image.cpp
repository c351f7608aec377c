#include "camera/feature/FeatureSource.h"
#include "camera/image/ChunkReader.h"
#include "camera/image/Frame.h"

#include <tavix/camera/Error.h>
#include <tavix/camera/Image.h>

namespace Tavix {
[[gnu::hot]] detail::Frame& Image::Checked() const {
    if (!m_Frame) throw StateError("the image is empty: none was taken, or it was moved away");
    return *m_Frame;
}

std::uint64_t Image::Number() const {
    return Checked().number;
}

std::uint64_t Image::BlockId() const {
    return Checked().blockId;
}

std::uint64_t Image::MissedBefore() const {
    return Checked().missedBefore;
}

std::chrono::nanoseconds Image::GapBefore() const {
    return Checked().gapBefore;
}

std::uint32_t Image::Width() const {
    return Checked().width;
}

std::uint32_t Image::Height() const {
    return Checked().height;
}

std::uint32_t Image::OffsetX() const {
    return Checked().offsetX;
}

std::uint32_t Image::OffsetY() const {
    return Checked().offsetY;
}

std::size_t Image::Stride() const {
    return Checked().stride;
}

std::string Image::PixelFormat() const {
    return imaging::NameOf(Checked().format);
}

std::uint32_t Image::PixelFormatCode() const {
    return static_cast<std::uint32_t>(Checked().format);
}

imaging::PictureView Image::Picture() const {
    const detail::Frame& frame = Checked();
    imaging::PictureView view;
    view.data = frame.Bytes();
    view.size = frame.PixelBytes();
    view.format = frame.format;
    view.width = frame.width;
    view.height = frame.height;
    view.stride = frame.givenStride;
    return view;
}

ByteView Image::Data() const {
    return {Checked().Bytes(), m_Frame->PixelBytes()};
}

ByteView Image::Payload() const {
    return {Checked().Bytes(), m_Frame->payloadSize};
}

std::shared_ptr<void> Image::Memory() const {
    return Checked().memory;
}

bool Image::IsWhole() const {
    return Checked().defect.empty();
}

std::string Image::Defect() const {
    return Checked().defect;
}

std::size_t Image::MissingBytes() const {
    return Checked().missingBytes;
}

std::uint64_t Image::CameraTime() const {
    return Checked().cameraTime;
}

HostTime Image::Time() const {
    return Checked().time;
}

std::chrono::steady_clock::time_point Image::Arrival() const {
    return Checked().arrival;
}

std::vector<std::string> Image::ChunkNames() const {
    std::vector<std::string> names;
    for (const auto& [name, value] : detail::ChunksOf(Checked()).values)
        names.push_back(name);
    return names;
}

Value Image::Chunk(const std::string& name) const {
    const auto& values = detail::ChunksOf(Checked()).values;
    auto found = values.find(name);
    if (found == values.end()) found = values.find("Chunk" + name);
    if (found != values.end()) return found->second;
    throw NotFound("the image holds no chunk '" + name + "'" +
                       (values.empty() ? "; switch chunks on before the stream starts" : ""),
                   name, detail::NearestNames(name, ChunkNames()));
}

Checksum Image::ChunkChecksum() const {
    return detail::ChunksOf(Checked()).checksum;
}

} // namespace Tavix
