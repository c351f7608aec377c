#pragma once
// The event channel of a camera.

#include "core/WaitObject.h"
#include "vexlo/Export.h"
#include "vexlo/Status.h"

#include <functional>
#include <memory>

namespace vexlo {

/// Owned by its CVxDevice. Thread-safe.
class TAVIX_VEXLO_API CVxEventStream {
public:
    /// Identifiers for GetProperty and SetProperty; widths are exact.
    enum EPropertyValue : unsigned int {
        Property_NumBuffer = 0x200,                     ///< 4 bytes, read/write: event buffers in the ring
        Property_NumMaxQueuedUrbs = 0x300,              ///< 4 bytes, read/write: transfers queued at the driver at once
        Property_MaximumTransferLength = 0x400,         ///< 4 bytes, read: size of an event transfer
        Property_TotalEventCount = 0x500,               ///< 8 bytes, read: events processed since Open
        Property_FailedEventCount = 0x600,              ///< 8 bytes, read: of these, with an error status
        Property_LastFailedEventBufferStatus = 0x700,   ///< 4 bytes, read
        Property_TransferLoopThreadPriority = 0x800,    ///< 4 bytes, read/write, signed
        Property_TransferLoopThreadPriorityMax = 0x808, ///< 4 bytes, read, signed
        Property_TransferLoopThreadPriorityMin = 0x810, ///< 4 bytes, read, signed
        Property_GenerateNumTestEvents = 0x900,         ///< 1 byte, write: asks the camera for that many test events
        Property_MaximumMessageLength = 0xA00           ///< 4 bytes, read/write: longer messages are lost; 576 at first
    };

    [[nodiscard]] VxStatus Open();
    /// Messages that are still pending are dropped.
    [[nodiscard]] VxStatus Close();
    bool IsOpen() const;
    /// As CVxStream::RegisterWaitObject: signalled while events are pending.
    [[nodiscard]] VxStatus RegisterWaitObject(Tavix::_WaitObjectPosix_t* waitObject);
    /// Called on a thread of the library, no lock held, when the channel has ended by itself, with the reason: the
    /// camera is gone or does not come to its senses. It stays ended until it is closed and opened anew. Empty for
    /// none. To be set while the channel is closed. It must not call the channel; once Close has returned it is not
    /// called any more.
    void SetEndListener(std::function<void(VxStatus)> listener);
    /// Copies the oldest pending event message (prefix to data, one event) to `buffer` of *pSize bytes; *pSize becomes
    /// its length. VX_E_NO_DATA when none is pending; VX_E_INVALID_SIZE when it does not fit (it stays pending and
    /// *pSize tells its length). `pPending`, when not null, receives the number of events left.
    [[nodiscard]] VxStatus RetrieveEvent(void* buffer, unsigned long* pSize, unsigned long* pPending);

    [[nodiscard]] VxStatus GetProperty(EPropertyValue id, void* buffer, unsigned long size);
    [[nodiscard]] VxStatus SetProperty(EPropertyValue id, const void* buffer, unsigned long size);

    CVxEventStream(const CVxEventStream&) = delete;
    CVxEventStream& operator=(const CVxEventStream&) = delete;

    struct Impl;
    explicit CVxEventStream(std::unique_ptr<Impl> impl);
    ~CVxEventStream();

private:
    std::unique_ptr<Impl> m_Impl; // constant after construction
};

} // namespace vexlo
