#pragma once
// Chunk data: which chunks an image carries, and their bytes.

#include <cstdint>
#include <functional>

#include "virtualcam/firmware/FeatureMaker.h"

namespace virtualcam {

/// Selector entries, in the order of the chunks in memory.
enum class Chunk : std::uint32_t {
    Image = 0,
    Timestamp,
    FrameId,
    ExposureTime,
    Gain,
    CounterValue,
    LineStatusAll,
    PayloadCrc16,
    Count
};

/// What the chunks of one frame say.
struct ChunkValues {
    std::uint64_t timestamp = 0;
    std::uint64_t frameId = 0;
    double exposureTime = 0;
    double gain = 0;
    std::uint32_t counterValue = 0;
    std::uint32_t lineStatusAll = 0;
};

/// Which chunks are on, frozen for one frame.
struct ChunkPlan {
    bool active = false;
    std::uint32_t enabled = 0; ///< a bit for each Chunk

    bool Has(Chunk chunk) const { return (enabled >> static_cast<std::uint32_t>(chunk) & 1) != 0; }
    /// Bytes of the whole payload with an image of this size.
    std::size_t PayloadBytes(std::size_t imageBytes) const;
    /// Bytes between the image and the end of the payload. The CRC's value is left 0; it is the last chunk's.
    Bytes Tail(std::size_t imageBytes, const ChunkValues& values) const;
    /// Changes with presence and order of the chunks, never 0.
    std::uint32_t LayoutId() const { return 0x100 | enabled; }
};

/// Bytes behind the CRC's value, at the end of the payload.
inline constexpr std::size_t kChunkTagSize = 8;
inline constexpr std::size_t kCrcChunkSize = 4 + kChunkTagSize;

/// The checksum of the payload: polynomial 0x1021, start 0, most significant bit first. Continues from `crc`.
std::uint16_t Crc16(std::uint16_t crc, const std::uint8_t* data, std::size_t length);

/// Bound to a thread; the register space's owner locks.
class ChunkControl {
public:
    ChunkControl(const FeatureMaker& make, const std::function<void()>& changed);
    ChunkPlan Plan() const;

private:
    RegisterSpace& m_Registers;
};

} // namespace virtualcam
