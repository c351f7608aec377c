#pragma once
// The image stream of a camera.

#include "core/WaitObject.h"
#include "vexlo/Export.h"
#include "vexlo/Status.h"

#include <cstdint>
#include <functional>
#include <memory>

namespace vexlo {

/// Opaque handle of a registered buffer.
struct BufferHandle_s;

/// Owned by its CVxDevice. Thread-safe.
///
///   closed --Open--> open --PrepareGrab--> prepared --StartStreaming--> streaming
///   streaming, prepared --FinishGrab--> open --Close--> closed
///
/// Buffers are registered from PrepareGrab on and belong to the caller; they must stay valid until deregistered.
/// FinishGrab completes every queued buffer with VX_E_CANCELLED; completed buffers stay retrievable until Close.
class TAVIX_VEXLO_API CVxStream {
public:
    /// Identifiers for GetProperty and SetProperty; widths are exact.
    enum EPropertyValue : unsigned int {
        Property_NumMaxQueuedUrbs = 0x200,              ///< 4 bytes, read/write: transfers queued at the driver at once
        Property_NumMaxQueuedUrbsMax = 0x208,           ///< 4 bytes, read
        Property_MaxTransferSize = 0x300,               ///< 4 bytes, read/write: largest transfer in bytes
        Property_MaxTransferSizeMax = 0x308,            ///< 4 bytes, read
        Property_MaxTransferSizeMin = 0x310,            ///< 4 bytes, read
        Property_MaxTransferSizeInc = 0x318,            ///< 4 bytes, read
        Property_TotalBufferCount = 0x400,              ///< 8 bytes, read: buffers processed since PrepareGrab
        Property_FailedBufferCount = 0x500,             ///< 8 bytes, read: of these, with an error status
        Property_MissedFrameCount = 0x600,              ///< 8 bytes, read: bad or missed frames between good ones
        Property_ResynchronizationCount = 0x700,        ///< 8 bytes, read
        Property_LastBlockId = 0x800,                   ///< 8 bytes, read: block id of the last good buffer
        Property_LastFailedBufferStatus = 0x900,        ///< 4 bytes, read
        Property_TransferLoopThreadPriority = 0xA00,    ///< 4 bytes, read/write, signed: 0 ordinary, 1..99 real-time
        Property_TransferLoopThreadPriorityMax = 0xA08, ///< 4 bytes, read, signed
        Property_TransferLoopThreadPriorityMin = 0xA10, ///< 4 bytes, read, signed
        Property_CopiedByteCount = 0xB00, ///< 8 bytes, read: payload bytes copied above the bus since PrepareGrab
        /// 4 bytes, read/write: ms without any data, since the application wrote to the camera last, after which
        /// smaller transfers are tried; 0, as at first: never. Not for cameras that wait for a trigger, since the
        /// stream is switched off and on by it. It matters until the camera has brought something with transfers of
        /// this size.
        Property_FirstDataTimeout = 0xC00
    };

    /// A completed buffer.
    struct GrabResult {
        BufferHandle_s* Handle;      ///< from RegisterBuffer
        void* Buffer;                ///< from RegisterBuffer
        const void* Context;         ///< from QueueBuffer
        std::uint32_t Status;        ///< 0, VX_E_CANCELLED or a failure; a failed buffer holds the bytes that arrived
        std::uint16_t PayloadType;   ///< payload type of the leader; 0 when there was none
        std::uint64_t PayloadSize;   ///< valid bytes in the buffer
        std::uint64_t Timestamp;     ///< ns, the camera's clock
        std::uint32_t PixelFormat;   ///< PFNC code
        std::uint32_t G1;            ///< size y in lines, as delivered
        std::uint32_t G2;            ///< size x in pixels
        std::uint32_t G3;            ///< offset x
        std::uint32_t G4;            ///< offset y
        std::uint16_t H1;            ///< padding y
        std::uint16_t H2;            ///< padding x
        std::uint64_t BlockId;       ///< of the leader, else of the trailer; all ones when there was neither
        std::uint64_t SizeUnknown;   ///< non-zero when PayloadSize means nothing
        std::uint32_t ChunkLayoutId; ///< of the trailer; 0 for payloads without chunks
        std::uint32_t AnnouncedG1;   ///< size y in lines, as the leader announced it
    };

    [[nodiscard]] VxStatus Open();
    [[nodiscard]] VxStatus Close();
    bool IsOpen() const;

    /// Binds the wait object that is signalled while completed buffers are pending. Null unbinds. The library keeps a
    /// share of its state, so the caller may drop its own at any time.
    [[nodiscard]] VxStatus RegisterWaitObject(Tavix::_WaitObjectPosix_t* waitObject);

    /// Called on the stream's thread, no lock held, whenever it has completed buffers, which are then there for
    /// RetrieveBuffer; empty for none. To be set while the stream is not prepared. It may queue buffers and must not
    /// stop the stream; once FinishGrab has returned it is not called any more. With a listener the wait object tells
    /// of no buffers.
    void SetCompletionListener(std::function<void()> listener);

    /// Called on the stream's thread, no lock held, when the stream has ended by itself, with the reason: the camera is
    /// gone or does not come to its senses. All buffers have completed by then and none is taken any more until the
    /// stream is finished and started anew. Empty for none. To be set while the stream is not prepared. It must not
    /// call the stream; once FinishGrab has returned it is not called any more.
    void SetEndListener(std::function<void(VxStatus)> listener);

    /// Sizes and allocates for `maxBuffers` buffers of at most `maxBufferSize` bytes, and programs the camera's stream
    /// registers. VX_E_PAYLOAD_SIZE when the camera's payload is 0.
    [[nodiscard]] VxStatus PrepareGrab(unsigned long maxBuffers, unsigned long maxBufferSize);
    bool IsPrepared() const;
    [[nodiscard]] VxStatus StartStreaming();
    [[nodiscard]] VxStatus FinishGrab();
    /// Completes every queued buffer with VX_E_CANCELLED, in the order of queuing. Streaming goes on.
    [[nodiscard]] VxStatus CancelGrab();
    /// As CancelGrab, but returns at once: the buffers complete when the stream's thread comes to it, which may be
    /// seconds later on a camera that does not answer. The wait object and the listener tell.
    [[nodiscard]] VxStatus BeginCancelGrab();

    /// Memory for buffers, for applications that have none of their own: mapped by the kernel where it can, so that the
    /// data comes without a copy, else ordinary memory. From Open on; Close frees what is left, so buffers in it must
    /// have been deregistered by then.
    [[nodiscard]] VxStatus AllocateMemory(unsigned long size, void** ppMemory);
    /// VX_E_BUFFER_QUEUED while a registered buffer lies in it, VX_E_NOT_FOUND when it is not of AllocateMemory.
    [[nodiscard]] VxStatus FreeMemory(void* memory);
    /// Memory that the kernel maps, which lives as long as a share of it, also after Close; null when the kernel gives
    /// none, or when mapped memory takes half of what the bus allows. From Open on, best after PrepareGrab, whose
    /// transfers it is laid out for. The application deregisters buffers in it before it lets go of it.
    std::shared_ptr<void> ShareMemory(unsigned long size);
    [[nodiscard]] VxStatus RegisterBuffer(void* buffer, unsigned long size, BufferHandle_s** ppHandle);
    /// VX_E_BUFFER_QUEUED while the buffer is queued. `ppBuffer` receives the pointer given at registration.
    [[nodiscard]] VxStatus DeregisterBuffer(BufferHandle_s* handle, void** ppBuffer);
    [[nodiscard]] VxStatus QueueBuffer(BufferHandle_s* handle, const void* context);
    /// The buffer is queued no more and does not complete. VX_E_BUFFER_QUEUED when transfers are planned for it, which
    /// only CancelGrab takes back; VX_E_BUFFER_COMPLETED when it waits to be retrieved.
    [[nodiscard]] VxStatus TakeBackBuffer(BufferHandle_s* handle);
    /// Takes the oldest completed buffer. VX_E_NO_DATA when there is none. `pCount`, when not null, receives the number
    /// of completed buffers left.
    [[nodiscard]] VxStatus RetrieveBuffer(GrabResult* result, unsigned long* pCount);

    [[nodiscard]] VxStatus GetProperty(EPropertyValue id, void* buffer, unsigned long size);
    [[nodiscard]] VxStatus SetProperty(EPropertyValue id, const void* buffer, unsigned long size);

    CVxStream(const CVxStream&) = delete;
    CVxStream& operator=(const CVxStream&) = delete;

    struct Impl;
    explicit CVxStream(std::unique_ptr<Impl> impl);
    ~CVxStream();

private:
    std::unique_ptr<Impl> m_Impl; // constant after construction
};

} // namespace vexlo
