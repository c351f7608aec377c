#pragma once
// Makes the chunk data of a buffer readable through a node map.

#include "tavix/Export.h"
#include "tavix/Types.h"

#include <memory>

namespace GenApi {
struct INodeMap;
struct AttachStatistics_t;
class CChunkAdapter;
} // namespace GenApi

namespace Tavix {

/// The buffer stays the caller's and must be valid while attached. Bound to a thread.
///
/// The chunk features of a camera show the buffer of one parser. A second parser of the same device takes them; until
/// it is destroyed, all calls of the first one but DetachBuffer throw LogicalErrorException. A parser with a node map
/// of its own stands in nobody's way.
class TAVIX_BASE_API IChunkParser {
public:
    /// RuntimeException when the buffer does not hold chunks; it then changes nothing. Attaching again binds to the new
    /// buffer and lets go of what it does not hold. What a callback of a feature throws passes on; then no buffer is
    /// attached, as with UpdateBuffer.
    virtual void AttachBuffer(const void* pBuffer, std::int64_t length,
                              GenApi::AttachStatistics_t* pStatistics = nullptr) = 0;
    virtual void DetachBuffer() = 0;
    /// The same content at another address. LogicalErrorException without a buffer.
    virtual void UpdateBuffer(const void* pBuffer) = 0;
    /// LogicalErrorException without a buffer.
    virtual bool HasCRC() const = 0;
    /// LogicalErrorException without a buffer or without a checksum.
    virtual bool CheckCRC() = 0;

    virtual ~IChunkParser() = default;
};

/// A chunk parser with a node map of its own, which lives at least as long. Bound to a thread.
class TAVIX_BASE_API ISelfReliantChunkParser : public virtual IChunkParser {
public:
    virtual GenApi::INodeMap* GetChunkDataNodeMap() = 0;
    virtual void Destroy() = 0;
};

/// The part that all chunk layouts share: it keeps the buffer and the adapter that knows the layout, and has no
/// checksum. Bound to a thread.
class TAVIX_BASE_API CChunkParser : public virtual IChunkParser {
public:
    CChunkParser(const CChunkParser&) = delete;
    CChunkParser& operator=(const CChunkParser&) = delete;
    ~CChunkParser() override;

    void AttachBuffer(const void* pBuffer, std::int64_t length,
                      GenApi::AttachStatistics_t* pStatistics = nullptr) override;
    void DetachBuffer() override;
    void UpdateBuffer(const void* pBuffer) override;
    bool HasCRC() const override;
    bool CheckCRC() override;

protected:
    /// Takes the adapter over.
    explicit CChunkParser(GenApi::CChunkAdapter* pAdapter);
    /// LogicalErrorException "No buffer attached." when there is none.
    void RequireBuffer() const;
    const void* GetBuffer() const { return m_pBuffer; }
    std::int64_t GetBufferLength() const { return m_BufferLength; }
    bool IsBufferAttached() const { return m_IsBufferAttached; }

private:
    void LetGo();

    const void* m_pBuffer = nullptr; // borrowed
    std::int64_t m_BufferLength = 0;
    bool m_IsBufferAttached = false;
    std::unique_ptr<GenApi::CChunkAdapter> m_pAdapter;
};

} // namespace Tavix
