#pragma once
// The camera's event messages.

#include "gentl/event/EventQueue.h"

#include "core/Mutex.h"
#include "vexlo/VxDevice.h"
#include "vexlo/VxEventStream.h"

namespace gentl {

/// Runs the camera's event channel while it lives; the messages stay where the USB access library keeps them until they
/// are taken. Lives within its device. Thread-safe.
class RemoteEvent final : public EventQueue {
public:
    /// Throws Failure when the camera has no event channel.
    explicit RemoteEvent(vexlo::CVxDevice& device);
    ~RemoteEvent() override;
    /// Ends the event channel, too, which must not outlive the device: who waits here may hold the last share of this.
    void Close() noexcept override TAVIX_REQUIRES(TreeMutex());

    /// The camera left: who waits gets an error instead of waiting for ever.
    void NoteLoss() noexcept;

    void DataInfo(const void* data, size_t size, EVENT_DATA_INFO_CMD command, Answer& answer) const override;
    void Flush() override;

protected:
    Taken TryTake(void* buffer, size_t& size) override;
    size_t CountPending() override;
    std::uint64_t CountFired() override;
    size_t LargestData() const override { return m_LargestData; }

private:
    void Stop() noexcept;
    /// Throws when the camera left or its event channel has ended.
    void CheckEnd() const TAVIX_REQUIRES(m_StreamMutex);

    size_t m_LargestData = 0; // constant after construction
    Tavix::Mutex m_StreamMutex;
    vexlo::CVxEventStream* m_Stream TAVIX_GUARDED_BY(m_StreamMutex) = nullptr; // owned by the device, null once stopped
    vexlo::VxStatus m_End TAVIX_GUARDED_BY(m_StreamMutex) = vexlo::VX_OK;      // why the event channel ended by itself
    std::uint64_t m_Fired TAVIX_GUARDED_BY(m_StreamMutex) = 0;                 // as it was told last
    std::atomic<bool> m_IsLost{false};
};

} // namespace gentl
