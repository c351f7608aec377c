#pragma once
// A camera's image stream.

#include "gentl/module/ModulePort.h"
#include "gentl/stream/AcquisitionEngine.h"

#include <atomic>
#include <memory>

namespace gentl {

class Device;

/// The module: its engine, what it tells of itself, and its event. Lock order: TreeMutex(), the engine's. Thread-safe.
class Stream final : public Module, private AcquisitionObserver {
public:
    static constexpr Kinds kKinds{Kind::Stream};
    explicit Stream(std::shared_ptr<Device> device);
    ~Stream() override;

    gentl::Port* GetPort() override { return &m_Port; }
    const std::shared_ptr<Device>& Parent() const { return m_Device; }
    void Info(STREAM_INFO_CMD command, Answer& answer);
    /// Whose buffers are those of this stream.
    AcquisitionEngine& Engine() { return m_Engine; }

    SharedBuffer Announce(void* memory, size_t size, void* user);
    SharedBuffer Allocate(size_t size, void* user);
    /// BUSY while it is being filled. `memory` becomes null for memory of Allocate, which is gone then.
    void Revoke(const SharedBuffer& buffer, void** memory, void** user);
    void Queue(Buffer& buffer);
    void Start(std::uint64_t count);
    void Stop();

    std::shared_ptr<EventQueue> MakeEvent(EVENT_TYPE type) override;

    /// The camera left.
    void NoteLoss() noexcept;
    bool IsLost() const;
    /// IO: the stream ended for that reason, or the camera left.
    [[noreturn]] static void FailBecauseOfEnd(vexlo::VxStatus reason);

protected:
    void DoOpen() override TAVIX_EXCLUDES(TreeMutex());
    void DoEnd() noexcept override TAVIX_EXCLUDES(TreeMutex());

private:
    using Figures = AcquisitionEngine::Figures;

    void NoteGrabbing() noexcept override;
    void NoteEnd(vexlo::VxStatus reason) noexcept override;
    void BuildPort();
    void BuildCounters();
    void BuildSettings();
    ModulePort::GetNumber Figure(std::uint64_t Figures::*figure);
    std::uint64_t Property(vexlo::CVxStream::EPropertyValue id, size_t width);
    void SetProperty(vexlo::CVxStream::EPropertyValue id, size_t width, std::uint64_t value);
    void RequireUnlocked() const;
    std::uint64_t PayloadSize();
    std::uint64_t CountLost(const Figures& figures);
    void CheckOwn(const Buffer& buffer) const;

    const std::shared_ptr<Device> m_Device;
    ModulePort m_Port;
    vexlo::CVxStream& m_Vx; // owned by the device
    AcquisitionEngine m_Engine;
    std::atomic<bool> m_IsLocked{false}; // by TLParamsLocked
};

} // namespace gentl
