#pragma once
// One buffer of a stream, and what the image in it is.

#include "tavix/Result.h"

#include <tavix/camera/HostTime.h>
#include <tavix/camera/Image.h>
#include <tavix/imaging/PixelFormat.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

namespace Tavix::detail {

class ChunkReader;
class FramePool;
struct ChunkValues;

/// What stays the same for all images of a stream.
struct FrameOrigin {
    std::string camera;                  ///< as people call it
    std::shared_ptr<ChunkReader> chunks; ///< null when the camera describes none
};

/// The block id of what came without leader and trailer.
inline constexpr std::uint64_t kUnknownBlock = ~std::uint64_t(0);

/// What is known of an image. Re-entrant.
struct ImageFacts {
    std::shared_ptr<const FrameOrigin> origin;
    std::uint64_t number = 0, blockId = 0, missedBefore = 0, cameraTime = 0;
    std::uint32_t width = 0, height = 0, offsetX = 0, offsetY = 0, paddingX = 0;
    imaging::PixelFormat format = imaging::PixelFormat::Undefined;
    std::size_t stride = 0;       ///< from line to line, padding included; 0 when lines do not begin at whole bytes
    std::size_t givenStride = 0;  ///< as imaging takes it: 0 without padding
    std::size_t wholeBytes = 0;   ///< of all pixels; 0 when the format does not tell
    std::size_t payloadSize = 0;  ///< bytes that came
    std::size_t missingBytes = 0; ///< bytes that did not
    std::string defect;           ///< empty for a whole image
    unsigned int errorCode = 0;   ///< of the transport layer
    EPayloadType payloadType = PayloadType_Undefined;
    std::chrono::nanoseconds gapBefore{0};
    std::chrono::steady_clock::time_point arrival{};
    HostTime time;

    /// Works out strides and bytes, anew when format, size or padding are others.
    void MeasureLines();
    /// The part of the payload that is pixels.
    std::size_t PixelBytes() const { return wholeBytes == 0 ? payloadSize : std::min(wholeBytes, payloadSize); }
};

/// Bound to a thread at a time: the stream's, then the image's, then the stream's again.
struct Frame : ImageFacts {
    std::shared_ptr<void> memory;
    std::size_t size = 0; ///< bytes of memory
    bool isMapped = false;
    StreamBufferHandle handle = nullptr;
    Frame* next = nullptr;                      ///< in the pool's list of those that came back
    EPixelType pixelType = PixelType_Undefined; ///< of the image that was here last, whose format is known
    std::atomic<bool> isLent{false};            ///< see FramePool::m_IsRetired for its order
    std::atomic<bool> isReleased{false};        ///< an exchange: one of two comes first
    std::shared_ptr<FramePool> home;            ///< set while an image has it; null for copies, which have none
    /// Owned; null until somebody asks, and several may ask at once.
    std::atomic<const ChunkValues*> chunkValues{nullptr};

    Frame();
    ~Frame();
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;

    const std::uint8_t* Bytes() const { return static_cast<const std::uint8_t*>(memory.get()); }
    /// Takes over what the result says of the image; `expected` are the bytes of a whole payload.
    void Describe(const GrabResult& result, std::size_t expected);

private:
    void DescribeLines(const GrabResult& result);
};

} // namespace Tavix::detail
