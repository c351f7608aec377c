#pragma once
// The port of chunk features.

#include <GenApi/Export.h>
#include <GenApi/IChunkPort.h>

#include <memory>

namespace GenApi {

/// Reads and writes one chunk of a payload buffer. Access is RW while a chunk is attached, else NA. Its state belongs
/// to the lock of the node map it is attached to. thread-safe
class TAVIX_GENAPI_API CChunkPort : virtual public IChunkPort {
public:
    /// Attaches at once when the node is given.
    explicit CChunkPort(IPort* pPortNode = nullptr);
    virtual ~CChunkPort();
    CChunkPort(const CChunkPort&) = delete;
    CChunkPort& operator=(const CChunkPort&) = delete;

    /// Becomes the implementation of the Port node; false when it is no Port node with a chunk ID.
    bool AttachPort(IPort* pPortNode);
    /// Detaches the data and leaves the node, unless another port has taken its place.
    void DetachPort();

    void AttachChunk(uint8_t* pBaseAddress, int64_t ChunkOffset, int64_t Length, bool Cache) override;
    void DetachChunk() override;
    void UpdateBuffer(uint8_t* pBaseAddress) override;
    void ClearCache() override;
    uint8_t GetChunkIDLength() override;
    bool CheckChunkID(uint8_t* pChunkIDBuffer, uint8_t ChunkIDLength) override;
    bool CheckChunkID(uint64_t ChunkID) override;
    /// Null while it is not attached.
    INode* GetNode();

    EAccessMode GetAccessMode() const override;
    void Read(void* pBuffer, int64_t Address, int64_t Length) override;
    void Write(const void* pBuffer, int64_t Address, int64_t Length) override;

private:
    struct State;
    std::unique_ptr<State> m_pState;
};

} // namespace GenApi
