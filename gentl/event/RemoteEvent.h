#pragma once
// The camera's event messages.

#include "gentl/event/EventQueue.h"

#include "core/Mutex.h"
#include "vexlo/VxDevice.h"
#include "vexlo/VxEventStream.h"

namespace gentl {

/// Runs the camera's event channel while it is open; the messages stay where the USB access library keeps them until
/// they are taken. Who waits here may have the last share of it when its device is gone. Thread-safe.
class RemoteEvent final : public EventQueue {
public:
    using EndListener = std::function<void(vexlo::VxStatus)>;
    /// Of a device that ends it before itself. The listener is told, on a thread of the USB access library, when the
    /// channel has ended by itself.
    RemoteEvent(vexlo::CVxDevice& device, EndListener onEnd);

    /// The camera left: who waits gets an error instead of waiting for ever.
    void NoteLoss() noexcept;

    void DataInfo(const void* data, size_t size, EVENT_DATA_INFO_CMD command, Answer& answer) const override;
    void Flush() override;

protected:
    /// Throws Failure when the camera has no event channel, or does not answer.
    void DoOpen() override TAVIX_EXCLUDES(TreeMutex());
    void DoBegin() override TAVIX_REQUIRES(TreeMutex());
    void DoLeave() noexcept override TAVIX_REQUIRES(TreeMutex());
    void DoEnd() noexcept override;
    Taken TryTake(void* buffer, size_t& size) override;
    size_t CountPending() override;
    std::uint64_t CountFired() override;
    size_t LargestData() const override { return m_LargestData; }

private:
    /// Throws when the camera left or its event channel has ended.
    void CheckEnd() const TAVIX_REQUIRES(m_StreamMutex);

    vexlo::CVxDevice& m_Device; // not after it has ended
    const EndListener m_OnEnd;
    vexlo::CVxEventStream* m_Channel = nullptr; // owned by the device; for who opens and ends this, null unless open
    size_t m_LargestData = 0;                   // constant once it has its handle
    Tavix::Mutex m_StreamMutex;
    vexlo::CVxEventStream* m_Stream TAVIX_GUARDED_BY(m_StreamMutex) = nullptr; // the channel, from DoBegin to DoLeave
    vexlo::VxStatus m_End TAVIX_GUARDED_BY(m_StreamMutex) = vexlo::VX_OK;      // why the event channel ended by itself
    std::uint64_t m_Fired TAVIX_GUARDED_BY(m_StreamMutex) = 0;                 // as it was told last
    std::atomic<bool> m_IsLost{false};
};

} // namespace gentl
