#include "EngineBench.h"

#include <algorithm>
#include <chrono>
#include <cstring>

namespace streamtest {
namespace {

constexpr unsigned int kTimeoutMs = 20000;

u3v::TransferPlan MakePlan(const Sizes& sizes) {
    u3v::TransferNeeds needs;
    needs.payloadSize = sizes.payload;
    needs.packetSize = static_cast<std::uint16_t>(sizes.packet);
    needs.maxTransferSize = sizes.transfer;
    return u3v::MakeTransferPlan(needs).value();
}

} // namespace

EngineBench::EngineBench(const Sizes& wanted) : sizes(wanted), plan(MakePlan(wanted)), bus(wanted.packet) {
    const auto size = sizes.bufferSize ? sizes.bufferSize : static_cast<std::size_t>(sizes.payload);
    pool.Prepare(sizes.buffers, size);
    pool.SetWaitObject(Tavix::ShareWaitObject(m_Wait));
    for (std::size_t i = 0; i < sizes.buffers; ++i) {
        m_Memory.emplace_back(size + 2 * kGuard, kUntouched);
        BufferHandle_s* handle = nullptr;
        EXPECT_EQ(pool.Register(m_Memory.back().data() + kGuard, size, &handle), VX_OK);
        m_Handles.push_back(handle);
    }
    EngineSettings settings;
    settings.channel = FakeCamera::Channel(sizes.packet);
    settings.plan = plan;
    settings.maxBuffers = sizes.buffers;
    settings.maxQueuedTransfers = sizes.maxQueued;
    settings.silence = sizes.silence;
    engine = std::make_unique<StreamEngine>(StreamEngine::Parts{camera, bus, pool, statistics}, settings);
}

EngineBench::~EngineBench() {
    Stop();
    CVxStream::GrabResult result{};
    while (pool.Retrieve(&result, nullptr) == VX_OK)
        EXPECT_EQ(m_Out.erase(result.Handle), 1u) << "a buffer came back twice";
    EXPECT_TRUE(m_Out.empty()) << m_Out.size() << " buffers are lost";
    for (const Bytes& memory : m_Memory) {
        const auto untouched = [](std::uint8_t byte) { return byte == kUntouched; };
        EXPECT_TRUE(std::all_of(memory.begin(), memory.begin() + kGuard, untouched));
        EXPECT_TRUE(std::all_of(memory.end() - kGuard, memory.end(), untouched));
    }
    for (const std::string& offence : bus.Offences())
        ADD_FAILURE() << offence;
}

void EngineBench::StartWithoutBuffers() {
    EXPECT_EQ(engine->Start(), VX_OK);
}

void EngineBench::Start() {
    StartWithoutBuffers();
    QueueAll();
}

void EngineBench::Queue(std::size_t index) {
    ASSERT_EQ(pool.Queue(m_Handles[index], &m_Memory[index]), VX_OK);
    m_Out.insert(m_Handles[index]);
}

void EngineBench::QueueAll() {
    for (std::size_t i = 0; i < m_Handles.size(); ++i)
        Queue(i);
}

CVxStream::GrabResult EngineBench::Next() {
    CVxStream::GrabResult result{};
    while (pool.Retrieve(&result, nullptr) != VX_OK) {
        if (m_Wait.Wait(kTimeoutMs)) continue;
        ADD_FAILURE() << "no buffer came back in time";
        return EmptyResult(VX_E_TIMEOUT);
    }
    EXPECT_EQ(m_Out.erase(result.Handle), 1u) << "a buffer came back that was not queued";
    ++m_Returned;
    return result;
}

CVxStream::GrabResult EngineBench::NextAndQueue() {
    const CVxStream::GrabResult result = Next();
    if (result.Handle) (void)Requeue(result);
    return result;
}

VxStatus EngineBench::Requeue(const CVxStream::GrabResult& result) {
    const VxStatus status = pool.Queue(result.Handle, result.Context);
    if (status == VX_OK) m_Out.insert(result.Handle);
    return status;
}

bool EngineBench::WaitForResultOtherThan(VxStatus status, unsigned int timeoutMs) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (std::chrono::steady_clock::now() < end) {
        if (m_Wait.Wait(timeoutMs) && Next().Status != status) return true;
    }
    return false;
}

bool EngineBench::IsRefused() {
    // A handle that nobody knows is found out only by a pool that takes buffers.
    return pool.Queue(nullptr, nullptr) != VX_E_INVALID_HANDLE;
}

void EngineBench::DrainFailed(VxStatus status) {
    while (!IsEmpty())
        EXPECT_EQ(Next().Status, status);
}

bool EngineBench::IsEmpty() {
    return !m_Wait.Wait(0);
}

void EngineBench::Stop() {
    engine->Stop();
}

void EngineBench::Check(const CVxStream::GrabResult& result, std::uint64_t id) {
    EXPECT_EQ(result.Status, VX_OK);
    EXPECT_EQ(result.BlockId, id);
    EXPECT_EQ(result.Timestamp, 1000 + id);
    ASSERT_EQ(result.PayloadSize, sizes.payload);
    const Bytes wanted = Pixels(id, static_cast<std::size_t>(sizes.payload));
    EXPECT_EQ(std::memcmp(result.Buffer, wanted.data(), wanted.size()), 0) << "pixels of block " << id;
}

void EngineBench::ExpectGood(std::uint64_t id) {
    // The buffer is read before it is queued again.
    const CVxStream::GrabResult result = Next();
    if (result.Status == VX_E_TIMEOUT) return;
    Check(result, id);
    (void)Requeue(result);
}

void EngineBench::ExpectRecovery(std::uint64_t id, unsigned int worst) {
    unsigned int failed = 0;
    for (std::uint64_t last = id + 10; id < last; ++id)
        bus.Send(Good(id));
    std::uint64_t good = 0;
    std::uint64_t seen = 0;
    while (seen != id - 1) {
        const CVxStream::GrabResult result = Next();
        if (result.Status == VX_E_TIMEOUT) return;
        if (result.Status == VX_OK) {
            Check(result, result.BlockId);
            EXPECT_TRUE(good == 0 || result.BlockId == seen + 1) << "a block after the recovery is lost";
            ++good;
            seen = result.BlockId;
        } else {
            EXPECT_EQ(good, 0u) << "a buffer failed after the recovery";
            ++failed;
        }
        (void)Requeue(result);
    }
    EXPECT_LE(failed, worst);
    EXPECT_GE(good, 9u);
}

} // namespace streamtest
