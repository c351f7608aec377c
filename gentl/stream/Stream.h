#pragma once
// A camera's image stream and its buffers.

#include "gentl/module/ModulePort.h"
#include "gentl/stream/Buffer.h"

#include "core/Mutex.h"
#include "core/WaitObject.h"

#include <atomic>
#include <deque>
#include <memory>
#include <thread>
#include <vector>

namespace gentl {

class Device;
class NewBufferEvent;

/// What to do when images come faster than the consumer takes them. The default is OldestFirst.
enum class Handling : std::uint64_t { Default = 0, OldestFirstOverwrite = 1, NewestOnly = 2, OldestFirst = 3 };

/// Completed buffers stay with the USB access library until somebody asks for them, so that an image costs one wake-up,
/// that of the consumer. Only handling modes that overwrite need a thread that takes images whether they are asked for
/// or not. Lock order: TreeMutex(), the stream's, the slots'. Thread-safe.
class Stream final : public Module {
public:
    static bool IsOne(Kind kind) { return kind == Kind::Stream; }
    explicit Stream(std::shared_ptr<Device> device);
    ~Stream() override;

    gentl::Port* GetPort() override { return &m_Port; }
    const std::shared_ptr<Device>& Parent() const { return m_Device; }
    void Info(STREAM_INFO_CMD command, Answer& answer);

    std::shared_ptr<Buffer> Announce(void* memory, size_t size, void* user);
    std::shared_ptr<Buffer> Allocate(size_t size, void* user);
    /// BUSY while it is being filled. `memory` becomes null for memory of Allocate, which is gone then.
    void Revoke(const std::shared_ptr<Buffer>& buffer, void** memory, void** user);
    /// INVALID_INDEX.
    BUFFER_HANDLE BufferAt(size_t index);
    void Queue(const std::shared_ptr<Buffer>& buffer);
    void Flush(ACQ_QUEUE_TYPE operation);
    /// `count` is GENTL_INFINITE or a number of buffers.
    void Start(std::uint64_t count);
    void Stop(ACQ_STOP_FLAGS flags);

    // With TreeMutex() held.
    void Open();
    void Close() noexcept override;
    std::shared_ptr<EventQueue> MakeEvent(EVENT_TYPE type) override;
    void ForgetEvent(EVENT_TYPE type) noexcept override;

    /// The camera left.
    void NoteLoss() noexcept;

    // For the event.
    /// The oldest buffer of the output queue, now delivered; null when there is none. `left` becomes how many are in
    /// it still.
    std::shared_ptr<Buffer> TakeOutput(size_t& left);
    size_t CountOutput();
    void DiscardOutput();
    bool IsLost() const;

private:
    using List = std::deque<std::shared_ptr<Buffer>>;

    void BuildPort();
    void BuildSettings();
    std::uint64_t Property(vexlo::CVxStream::EPropertyValue id, size_t width);
    void SetProperty(vexlo::CVxStream::EPropertyValue id, size_t width, std::uint64_t value);
    void RequireUnlocked() const; // m_Mutex held
    std::uint64_t PayloadSize();

    // With m_Mutex held.
    void CheckOwn(const std::shared_ptr<Buffer>& buffer) const;
    std::shared_ptr<Buffer> Add(const std::shared_ptr<Buffer>& buffer);
    void RegisterOnBus(Buffer& buffer);
    void QueueOnBus(const std::shared_ptr<Buffer>& buffer);
    void PutIntoInput(const std::shared_ptr<Buffer>& buffer);
    /// Takes it out of input pool or output queue, wherever it is. BUSY when it is being filled.
    void TakeOut(const std::shared_ptr<Buffer>& buffer);
    void PutAside(const std::shared_ptr<Buffer>& buffer);
    void Drain();
    void Sort(const vexlo::CVxStream::GrabResult& result);
    void Accept(const std::shared_ptr<Buffer>& buffer, const vexlo::CVxStream::GrabResult& result);
    void Overwrite();
    void Recall();
    void StopLocked();
    void FlushInputToOutput();
    std::shared_ptr<Buffer> FindFilled(const vexlo::CVxStream::GrabResult& result) const;

    void StartPump();
    void StopPump() noexcept;
    void Pump() noexcept;
    void BindWaitObject() noexcept;

    const std::shared_ptr<Device> m_Device;
    ModulePort m_Port;
    vexlo::CVxStream* m_Vx = nullptr; // constant after Open; owned by the device
    Tavix::Mutex m_Mutex;
    std::vector<std::shared_ptr<Buffer>> m_Buffers; // all announced ones; guarded by m_Mutex
    List m_Input;                                   // in the input pool; guarded by m_Mutex
    List m_Output;                                  // guarded by m_Mutex
    bool m_IsRunning = false;                       // guarded by m_Mutex
    bool m_IsLocked = false;                        // by TLParamsLocked; guarded by m_Mutex
    std::uint64_t m_Left = 0;                       // buffers still to acquire; guarded by m_Mutex
    std::uint64_t m_Started = 0;                    // guarded by m_Mutex
    std::uint64_t m_Delivered = 0;                  // guarded by m_Mutex
    std::uint64_t m_Overwritten = 0;                // guarded by m_Mutex
    Handling m_Handling = Handling::Default;        // guarded by m_Mutex
    std::weak_ptr<NewBufferEvent> m_Event;          // guarded by m_Mutex
    Tavix::WaitObjectEx m_PumpWait;                 // constant after Open
    std::thread m_Pump;                             // guarded by m_PumpMutex
    Tavix::Mutex m_PumpMutex;                       // before m_Mutex: starting and stopping
    std::atomic<bool> m_PumpEnds{false};
};

/// "A buffer is in the output queue." Lives within its stream. Thread-safe.
class NewBufferEvent final : public EventQueue {
public:
    explicit NewBufferEvent(const std::shared_ptr<Stream>& stream);
    void DataInfo(const void* data, size_t size, EVENT_DATA_INFO_CMD command, Answer& answer) const override;
    void Flush() override;

    const Tavix::WaitObjectEx& Wait() const { return WaitObject(); }

protected:
    Taken TryTake(void* buffer, size_t& size) override;
    size_t CountPending() override;
    size_t LargestData() const override { return sizeof(EVENT_NEW_BUFFER_DATA); }

private:
    std::shared_ptr<Stream> Owner() const;

    const std::weak_ptr<Object> m_Stream;
};

} // namespace gentl
