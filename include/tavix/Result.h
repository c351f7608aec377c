#pragma once
// Records that grabbers fill.

#include "tavix/Export.h"
#include "tavix/Types.h"

#include <cstring>

namespace Tavix {

/// A registered buffer.
using StreamBufferHandle = void*;

/// What became of a buffer.
enum EGrabStatus { _UndefinedGrabStatus = -1, Idle = 0, Queued = 1, Grabbed = 2, Canceled = 3, Failed = 4 };

/// What a buffer holds.
enum EPayloadType {
    PayloadType_Undefined = -1,
    PayloadType_Image = 0,
    PayloadType_RawData = 1,
    PayloadType_File = 2,
    PayloadType_ChunkData = 3,
    PayloadType_DeviceSpecific = 0x8000
};

/// Named in <tavix/imaging/PixelType.h>: a PFNC code, or the SDK's own where that is older. -1 when undefined.
using EPixelType = std::int32_t;
inline constexpr EPixelType PixelType_Undefined = -1;

/// One completed buffer of a stream grabber. The buffer stays the application's. Re-entrant.
class TAVIX_BASE_API GrabResult {
public:
    GrabResult() { Reset(); }

    /// Puts every field into its "nothing known" state.
    void Reset() {
        m_Handle = nullptr;
        m_pBuffer = nullptr;
        m_pContext = nullptr;
        m_Status = _UndefinedGrabStatus;
        ResetPayload();
    }

    /// The part of Reset that concerns what the buffer holds.
    void ResetPayload() {
        m_PayloadSize = 0;
        m_PayloadType = PayloadType_Undefined;
        m_PixelType = PixelType_Undefined;
        m_TimeStamp = 0;
        m_SizeX = m_SizeY = m_OffsetX = m_OffsetY = m_PaddingX = m_PaddingY = -1;
        m_BlockId = ~std::uint64_t(0);
        m_ErrorCode = 0;
        m_ErrorDescription.clear();
        m_PayloadSize64 = ~std::uint64_t(0);
    }

    bool Succeeded() const { return m_Status == Grabbed; }
    /// As registered; Context as queued.
    StreamBufferHandle Handle() const { return m_Handle; }
    void* Buffer() const { return m_pBuffer; }
    const void* Context() const { return m_pContext; }
    EGrabStatus Status() const { return m_Status; }
    EPayloadType GetPayloadType() const { return m_PayloadType; }
    EPixelType GetPixelType() const { return m_PixelType; }
    /// Nanoseconds of the camera's clock.
    std::uint64_t GetTimeStamp() const { return m_TimeStamp; }
    /// Sizes and offsets in pixels and lines, paddings in bytes; -1 when unknown.
    std::int32_t GetSizeX() const { return m_SizeX; }
    std::int32_t GetSizeY() const { return m_SizeY; }
    std::int32_t GetOffsetX() const { return m_OffsetX; }
    std::int32_t GetOffsetY() const { return m_OffsetY; }
    std::int32_t GetPaddingX() const { return m_PaddingX; }
    std::int32_t GetPaddingY() const { return m_PaddingY; }
    /// Counts from the start of the stream; a gap is a frame that never came. All ones when unknown.
    std::uint64_t GetBlockID() const { return m_BlockId; }
    /// Valid bytes in the buffer; all ones when unknown.
    std::uint32_t GetPayloadSize() const { return m_PayloadSize; }
    std::uint64_t GetPayloadSize64() const { return m_PayloadSize64; }
    /// 0 for a good frame.
    unsigned int GetErrorCode() const { return m_ErrorCode; }
    /// A sentence; empty for a good frame.
    const gcstring& GetErrorDescription() const { return m_ErrorDescription; }

    // Filled by stream grabbers.
    StreamBufferHandle m_Handle;
    void* m_pBuffer;
    const void* m_pContext;
    EGrabStatus m_Status;
    std::uint32_t m_PayloadSize;
    EPayloadType m_PayloadType;
    EPixelType m_PixelType;
    std::uint64_t m_TimeStamp;
    std::int32_t m_SizeX, m_SizeY, m_OffsetX, m_OffsetY, m_PaddingX, m_PaddingY;
    std::uint64_t m_BlockId;
    unsigned int m_ErrorCode;
    gcstring m_ErrorDescription;
    std::uint64_t m_PayloadSize64;
};

/// One event message. Re-entrant.
class TAVIX_BASE_API EventResult {
public:
    static constexpr std::size_t kBufferSize = 576;

    EventResult() { std::memset(m_Buffer, 0, sizeof m_Buffer); }
    bool Succeeded() const { return m_ErrorCode == 0; }
    unsigned int ErrorCode() const { return m_ErrorCode; }
    const gcstring& ErrorDescription() const { return m_ErrorDescription; }
    const unsigned char* Buffer() const { return m_Buffer; }

    // Filled by event grabbers.
    unsigned int m_ErrorCode = 0;
    gcstring m_ErrorDescription;
    unsigned char m_Buffer[kBufferSize];
};

} // namespace Tavix
