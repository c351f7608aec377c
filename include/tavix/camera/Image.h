#pragma once
// One image.

#include <tavix/camera/Export.h>
#include <tavix/camera/HostTime.h>
#include <tavix/camera/Value.h>
#include <tavix/imaging/Convert.h>
#include <tavix/imaging/ImageFile.h>
#include <tavix/imaging/Picture.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Tavix {

namespace detail {
struct Frame;
struct TAVIX_CAMERA_API FrameReturn {
    void operator()(Frame* frame) const noexcept;
};
using FramePtr = std::unique_ptr<Frame, FrameReturn>;
} // namespace detail

/// Bytes that somebody else owns.
struct ByteView {
    const std::uint8_t* data = nullptr;
    std::size_t size = 0;
    const std::uint8_t* begin() const { return data; }
    const std::uint8_t* end() const { return data + size; }
};

/// What the checksum that came with an image says.
enum class Checksum {
    Right,
    Wrong,
    None,   ///< there is none
    Damaged ///< there should be chunk data, and it cannot be made out
};

/// One image in memory of its stream, which nobody writes to while the image lives. It goes back to the stream when the
/// image goes: on any thread, without waiting, and also after stream, camera and factory went. Moving is cheap, and a
/// moved-from image is empty; every call on it but IsEmpty throws StateError. Bound to a thread at a time, as a value
/// is; several may ask it at once.
class TAVIX_CAMERA_API Image {
public:
    Image() = default; ///< empty
    explicit Image(detail::FramePtr frame) : m_Frame(std::move(frame)) {}

    bool IsEmpty() const { return m_Frame == nullptr; }
    explicit operator bool() const { return !IsEmpty(); }

    /// Counts the images of a stream as they are handed out, from 0.
    std::uint64_t Number() const;
    /// The camera's count since its stream began; a gap is an image that never came.
    std::uint64_t BlockId() const;
    /// Images that were sent, or should have been, between the one handed out before and this one, and did not get
    /// here: lost, damaged, dropped for a newer one, or for want of memory.
    std::uint64_t MissedBefore() const;
    /// How long the camera was away just before this image; 0 when it was not.
    std::chrono::nanoseconds GapBefore() const;

    /// Columns and lines of pixels; 0 for data that is no image.
    std::uint32_t Width() const;
    std::uint32_t Height() const;
    std::uint32_t OffsetX() const;
    std::uint32_t OffsetY() const;
    /// Bytes from one line to the next, padding included; 0 when lines do not begin at whole bytes.
    std::size_t Stride() const;
    /// "Mono8", "BayerRG12p", ...; "0x" and eight digits for one that the table does not have.
    std::string PixelFormat() const;
    std::uint32_t PixelFormatCode() const;
    /// For the functions of tavix/imaging. Valid as long as the image.
    imaging::PictureView Picture() const;
    /// The pixels, line by line, without chunk data. Valid as long as the image.
    ByteView Data() const;
    /// The whole of what came, chunk data included.
    ByteView Payload() const;
    /// A share of the memory that Data() points into. It keeps the bytes alive, not the place in the stream: the stream
    /// writes to them again once the image has gone.
    std::shared_ptr<void> Memory() const;

    /// Whether all of it came. Others are handed out only if GrabOptions asks for them.
    bool IsWhole() const;
    /// What is missing, in words without a full stop; empty for a whole image.
    std::string Defect() const;
    /// Bytes that did not come, as far as is known; 0 for a whole image.
    std::size_t MissingBytes() const;

    /// Nanoseconds of the camera's clock.
    std::uint64_t CameraTime() const;
    /// The same moment on the host's clocks.
    HostTime Time() const;
    /// When the host had all of it, on the monotonic clock.
    std::chrono::steady_clock::time_point Arrival() const;

    /// Names of the chunk values that came with this image, with their prefix "Chunk". Empty when chunks are off.
    std::vector<std::string> ChunkNames() const;
    /// A chunk value by its name, with or without the prefix. NotFound when the image does not hold it.
    Value Chunk(const std::string& name) const;
    Checksum ChunkChecksum() const;

    /// A copy in memory of its own, which does not belong to the stream.
    Image Clone() const;
    /// A copy in another pixel format, by its name: Mono8, Mono16, RGB8, BGR8, RGBa8, BGRa8 from every format of the
    /// table. Black where a damaged image has nothing, as IsWhole() and MissingBytes() of the copy still tell.
    /// ValueError for what cannot be converted.
    Image Convert(const std::string& pixelFormat, const imaging::ConvertOptions& options = {}) const;
    /// Writes a file whose kind is told by the ending: .png .tif .jpg .pgm .ppm .raw. What a file cannot hold as it is
    /// is converted, and what a damaged image lacks is black. Error when it cannot be written.
    void Save(const std::string& path, const imaging::FileOptions& options = {}) const;

    /// For the library.
    detail::Frame& Inside() const { return Checked(); }

private:
    detail::Frame& Checked() const;

    detail::FramePtr m_Frame;
};

} // namespace Tavix
