#pragma once
// A port that reads from a piece of a buffer.

#include <GenApi/Export.h>
#include <GenApi/IPort.h>

namespace GenApi {

/// thread-safe
struct TAVIX_GENAPI_API IChunkPort : virtual public IPort {
    /// The data lie Length bytes long at pBaseAddress + ChunkOffset and stay there while attached, unless Cache and
    /// the Port node's description both allow a copy.
    virtual void AttachChunk(uint8_t* pBaseAddress, int64_t ChunkOffset, int64_t Length, bool Cache) = 0;
    /// Access becomes NA; nodes that depend on the port are invalidated and their callbacks fire.
    virtual void DetachChunk() = 0;
    /// Another buffer of the same layout.
    virtual void UpdateBuffer(uint8_t* pBaseAddress) = 0;
    /// Forgets the copy, if there is one.
    virtual void ClearCache() = 0;
    /// In bytes.
    virtual uint8_t GetChunkIDLength() = 0;
    /// The bytes stand most significant first; IDs are compared as numbers.
    virtual bool CheckChunkID(uint8_t* pChunkIDBuffer, uint8_t ChunkIDLength) = 0;
    virtual bool CheckChunkID(uint64_t ChunkID) = 0;
};

} // namespace GenApi
