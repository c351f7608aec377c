#pragma once
// The chunk values of images.

#include "core/Mutex.h"

#include <tavix/camera/Image.h>

#include <map>
#include <memory>
#include <string>

namespace GenApi {
struct INode;
}

namespace Tavix {
class ISelfReliantChunkParser;
class ITavixDevice;
} // namespace Tavix

namespace Tavix::detail {

/// What the chunks of one image say.
struct ChunkValues {
    std::map<std::string, Value> values; ///< by the features' names
    Checksum checksum = Checksum::None;
};

/// Reads with a node map of its own, so that it works without the camera. Thread-safe.
class ChunkReader {
public:
    /// Null when the camera describes no chunk data.
    static std::shared_ptr<ChunkReader> Create(ITavixDevice& device);
    ~ChunkReader();
    ChunkReader(const ChunkReader&) = delete;
    ChunkReader& operator=(const ChunkReader&) = delete;

    /// False for a payload in which no chunks can be found.
    bool Read(ByteView payload, ChunkValues& values);

private:
    explicit ChunkReader(ISelfReliantChunkParser* parser) : m_Parser(parser) {}
    void ReadAttached(ChunkValues& values) TAVIX_REQUIRES(m_Mutex);

    Mutex m_Mutex;
    ISelfReliantChunkParser* const m_Parser; // owned; its use guarded by m_Mutex
};

/// Those of a frame, read when somebody asks for the first time.
const ChunkValues& ChunksOf(Frame& frame);
/// The present value of a node that can be read.
Value ReadNode(GenApi::INode& node);

} // namespace Tavix::detail
