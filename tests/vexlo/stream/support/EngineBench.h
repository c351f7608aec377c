#pragma once
// A stream engine between a scripted endpoint and an application's buffers.

#include "Blocks.h"
#include "FakeCamera.h"
#include "PacketBus.h"

#include "core/WaitObject.h"
#include "vexlo/stream/engine/StreamEngine.h"

#include <gtest/gtest.h>

#include <set>

namespace streamtest {

using namespace vexlo;

/// Sizes of a run.
struct Sizes {
    std::uint64_t payload = 3000;
    std::uint32_t transfer = 1024; ///< largest
    std::uint32_t packet = 1024;
    std::size_t buffers = 4;
    std::size_t bufferSize = 0; ///< 0: as large as the payload
    std::uint32_t maxQueued = 64;
    std::chrono::milliseconds silence{0}; ///< before the first block that is too long; 0: none is
};

/// Its destructor stops the engine and checks what must hold after every run: each queued buffer came back once,
/// nothing was written beside the buffers, and the bus was treated as its rules say. Bound to a thread.
class EngineBench {
public:
    explicit EngineBench(const Sizes& sizes = {});
    ~EngineBench();
    EngineBench(const EngineBench&) = delete;
    EngineBench& operator=(const EngineBench&) = delete;

    /// Starts the engine and queues all buffers.
    void Start();
    void StartWithoutBuffers();
    void Queue(std::size_t index);
    void QueueAll();
    /// The next result, not requeued. A failure of the test when none comes in time.
    CVxStream::GrabResult Next();
    /// The next result; its buffer is queued again.
    CVxStream::GrabResult NextAndQueue();
    VxStatus Requeue(const CVxStream::GrabResult& result);
    /// True when nothing is completed.
    bool IsEmpty();
    /// False when no result with another status came in time. Takes those with this status.
    bool WaitForResultOtherThan(VxStatus status, unsigned int timeoutMs);
    /// The stream has ended and takes no buffers any more.
    bool IsRefused();
    /// All that is completed; expects this status of each.
    void DrainFailed(VxStatus status);
    /// Results that Next and its kind gave.
    unsigned int Returned() const { return m_Returned; }
    void Stop();

    /// A good block with this id.
    std::vector<Bytes> Good(std::uint64_t id) const { return Block(id, plan); }
    /// Expects a good block with these pixels.
    void ExpectGood(std::uint64_t id);
    /// Sends blocks one by one from `id` on, until a good one comes back; expects no more than `worst` failed buffers,
    /// counting those that are pending, and good blocks only for some time afterwards.
    void ExpectRecovery(std::uint64_t id, unsigned int worst);
    void Check(const CVxStream::GrabResult& result, std::uint64_t id);

    const Sizes sizes;
    u3v::TransferPlan plan;
    PacketBus bus;
    FakeCamera camera{bus};
    BufferPool pool;
    StreamStatistics statistics;
    std::unique_ptr<StreamEngine> engine;

private:
    static constexpr std::size_t kGuard = 64;
    static constexpr std::uint8_t kUntouched = 0xEE;

    std::vector<Bytes> m_Memory;
    std::vector<BufferHandle_s*> m_Handles;
    std::set<BufferHandle_s*> m_Out; // queued and not yet back
    unsigned int m_Returned = 0;
    Tavix::WaitObjectEx m_Wait = Tavix::WaitObjectEx::Create();
};

} // namespace streamtest
