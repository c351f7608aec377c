#include "chunk/ChunkAdapterUsb.h"

#include "Failure.h"

#include <algorithm>

namespace GenApi {
namespace {

constexpr int64_t kTrailerSize = 8;

uint32_t Load32(const uint8_t* bytes) {
    return static_cast<uint32_t>(bytes[0]) | static_cast<uint32_t>(bytes[1]) << 8 |
           static_cast<uint32_t>(bytes[2]) << 16 | static_cast<uint32_t>(bytes[3]) << 24;
}

/// The trailer that ends at `end`. The caller has made sure that eight bytes lie before it.
struct Trailer {
    explicit Trailer(const uint8_t* end) : id(Load32(end - 8)), length(Load32(end - 4)) {}
    /// Bytes from the chunk's start to its end, in the 32 bits that the layout gives them.
    uint32_t Step() const { return length + static_cast<uint32_t>(kTrailerSize); }
    uint32_t id;
    uint32_t length;
};

/// The set of ports served in one pass, as flags beside the list of ports.
using Served = std::vector<bool>;

struct Chunk {
    uint8_t* base;
    int64_t offset;
    int64_t length;
    uint32_t id;
    bool cache;
};

void AttachToPorts(const std::vector<CChunkPort*>& ports, const Chunk& chunk, Served& served,
                   AttachStatistics_t& statistics) {
    uint8_t id[4] = {static_cast<uint8_t>(chunk.id >> 24), static_cast<uint8_t>(chunk.id >> 16),
                     static_cast<uint8_t>(chunk.id >> 8), static_cast<uint8_t>(chunk.id)};
    for (std::size_t i = 0; i < ports.size(); ++i) {
        if (!ports[i]->CheckChunkID(id, sizeof id)) continue;
        ports[i]->AttachChunk(chunk.base, chunk.offset, chunk.length, chunk.cache);
        served[i] = true;
        ++statistics.NumAttachedChunks;
    }
}

/// Callbacks of the application may throw anything; what is to be done is done before they run.
template<class Step>
void Silently(Step step) {
    try {
        step();
    } catch (const std::exception& e) {
        Tavix::LogTrace(Tavix::LogCategoryDevice(), Tavix::kLogWarning, "A callback of a chunk feature failed: %s",
                        e.what());
    } catch (...) {
        Tavix::LogTrace(Tavix::LogCategoryDevice(), Tavix::kLogWarning, "A callback of a chunk feature failed.");
    }
}

} // namespace

CChunkAdapterUsb::CChunkAdapterUsb(INodeMap* pNodeMap, int64_t maxChunkCacheSize)
    : CChunkAdapter(pNodeMap, maxChunkCacheSize) {}

bool CChunkAdapterUsb::CheckBufferLayout(uint8_t* pBuffer, int64_t length) {
    if (!pBuffer || length < kTrailerSize) return false;
    // Positions are kept as distances from the start, so that none can leave the buffer.
    int64_t end = length;
    while (end > 0) {
        if (end <= kTrailerSize) return false;
        const uint32_t step = Trailer(pBuffer + end).Step();
        // A step of nothing would never end.
        if (step == 0 || step > static_cast<uint32_t>(end)) return false;
        end -= step;
    }
    return true;
}

void CChunkAdapterUsb::AttachBuffer(uint8_t* pBuffer, int64_t length, AttachStatistics_t* pStatistics) {
    using Tavix::Here;
    if (!pBuffer) Tavix::Throw<GenICam::RuntimeException>(Here(), "Invalid buffer attached to chunk parser!");
    if (!CheckBufferLayout(pBuffer, length)) {
        Tavix::Throw<GenICam::RuntimeException>(Here(), "Invalid layout of buffer attached to chunk parser!");
    }
    AttachStatistics_t unwanted;
    AttachStatistics_t& statistics = pStatistics ? *pStatistics : unwanted;
    statistics = {static_cast<uint32_t>(m_ChunkPorts.size()), 0, 0};
    try {
        AttachChunks(pBuffer, length, statistics);
    } catch (...) {
        // The caller takes the buffer for one that is not attached, and so may free it.
        Silently([this] { DetachBuffer(); });
        throw;
    }
}

void CChunkAdapterUsb::AttachChunks(uint8_t* pBuffer, int64_t length, AttachStatistics_t& statistics) {
    Served served(m_ChunkPorts.size(), false);
    // A derived layout check may let pass what is none, so that less than a trailer is left in front.
    for (int64_t end = length; end >= kTrailerSize;) {
        const Trailer trailer(pBuffer + end);
        const int64_t offset = end - kTrailerSize - int64_t{trailer.length};
        const bool cache = m_MaxChunkCacheSize == -1 || m_MaxChunkCacheSize >= int64_t{trailer.length};
        // A length close to 2^32 wraps in the layout's arithmetic; its data would begin before the buffer.
        if (offset >= 0) {
            AttachToPorts(m_ChunkPorts, {pBuffer, offset, trailer.length, trailer.id, cache}, served, statistics);
        }
        ++statistics.NumChunks;
        // Nor does a step of nothing have to be refused by it.
        end -= std::max<int64_t>(trailer.Step(), 1);
    }
    for (std::size_t i = 0; i < m_ChunkPorts.size(); ++i) {
        if (!served[i]) m_ChunkPorts[i]->DetachChunk();
    }
}

void CChunkAdapterUsb::ConnectPorts() {
    for (CChunkPort* const pPort : m_ChunkPorts) {
        Silently([pPort] { dynamic_cast<IPortConstruct&>(*pPort->GetNode()).SetPortImpl(pPort); });
    }
}

} // namespace GenApi
