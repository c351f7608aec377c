// The engine under random load: faults, cancels and stops from one thread, buffers round and round from another.

#include "vexlo/stream/support/Blocks.h"
#include "vexlo/stream/support/FakeCamera.h"

#include "core/WaitObject.h"
#include "vexlo/stream/engine/StreamEngine.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <random>
#include <thread>

using namespace streamtest;
using namespace vexlo;

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kBuffers = 6;
constexpr std::size_t kStressPayload = 5000;
constexpr std::chrono::seconds kDuration{2};

std::uint32_t Seed() {
    const char* given = std::getenv("TAVIX_STRESS_SEED");
    return given ? static_cast<std::uint32_t>(std::strtoul(given, nullptr, 0)) : std::random_device{}();
}

u3v::TransferPlan StressPlan() {
    return *u3v::MakeTransferPlan({kStressPayload, 0, 0, 0, 1024, 2048});
}

/// What a consumer that queues and retrieves has seen. Bound to its thread until that is joined.
class Consumer {
public:
    Consumer(BufferPool& pool, std::uint32_t seed) : m_Pool(pool), m_Random(seed) {
        pool.SetWaitObject(Tavix::ShareWaitObject(m_Wait));
        m_Memory.resize(kBuffers, Bytes(kStressPayload));
        for (Bytes& memory : m_Memory) {
            Buffer buffer;
            EXPECT_EQ(pool.Register(memory.data(), memory.size(), &buffer.handle), VX_OK);
            m_Buffers.push_back(buffer);
        }
    }
    void Run() {
        while (!m_End) {
            for (Buffer& buffer : m_Buffers) {
                if (!buffer.out && m_Random() % 4 != 0) Queue(buffer);
            }
            if (m_Wait.Wait(1)) Take(m_Random() % 3 + 1);
        }
    }
    void End() { m_End = true; }
    /// After the stream was stopped: what is left, and whether all came back.
    void Finish() {
        Take(kBuffers);
        for (const Buffer& buffer : m_Buffers)
            EXPECT_FALSE(buffer.out) << "a buffer is lost";
    }

    std::uint64_t good = 0, failed = 0, cancelled = 0, twice = 0, damaged = 0;

private:
    struct Buffer {
        BufferHandle_s* handle = nullptr;
        bool out = false;
    };

    void Queue(Buffer& buffer) {
        if (m_Pool.Queue(buffer.handle, &buffer) == VX_OK) buffer.out = true;
    }
    void Take(unsigned int most) {
        CVxStream::GrabResult result{};
        for (unsigned int i = 0; i < most && m_Pool.Retrieve(&result, nullptr) == VX_OK; ++i)
            Note(result);
    }
    void Note(const CVxStream::GrabResult& result) {
        for (Buffer& buffer : m_Buffers) {
            if (buffer.handle != result.Handle) continue;
            twice += !buffer.out || result.Context != &buffer;
            buffer.out = false;
        }
        if (result.Status == VX_E_CANCELLED) {
            ++cancelled;
        } else if (result.Status != VX_OK) {
            ++failed;
        } else {
            ++good;
            const Bytes wanted = Pixels(result.BlockId, kStressPayload);
            damaged += !std::equal(wanted.begin(), wanted.end(), static_cast<const std::uint8_t*>(result.Buffer));
        }
    }

    BufferPool& m_Pool;
    std::mt19937 m_Random;
    Tavix::WaitObjectEx m_Wait = Tavix::WaitObjectEx::Create();
    std::vector<Bytes> m_Memory;
    std::vector<Buffer> m_Buffers;
    std::atomic<bool> m_End{false};
};

/// Sends blocks, some of them damaged such that it can be noticed, and pulls at the line.
class Mischief {
public:
    Mischief(PacketBus& bus, std::uint32_t seed) : m_Bus(bus), m_Random(seed), m_Plan(StressPlan()) {}

    void Step() {
        if (m_Bus.Unsent() > 200) return std::this_thread::yield();
        std::vector<Bytes> block = Block(m_Id++, m_Plan);
        const unsigned int dice = m_Random() % 30;
        const std::size_t at = m_Random() % block.size();
        const auto place = block.begin() + static_cast<std::ptrdiff_t>(at);
        if (dice == 0) block.erase(place);
        if (dice == 1) block.insert(place, Bytes());
        if (dice == 2) block[at].assign(m_Random() % 900, 0x33);
        if (dice == 3) std::swap(block.front(), block.back());
        if (dice == 4) block.insert(place, block[m_Random() % block.size()]);
        if (dice == 5 && at != block.size() - 2) block[at].assign(1024, 0x44);
        for (std::size_t i = 0; i < block.size(); ++i) {
            if (dice == 6 && i == at) m_Bus.Fail(kFaults[m_Random() % 3]);
            m_Bus.Send(block[i]);
        }
        if (dice == 7) m_Bus.AllowTransfers(m_Random() % 12 + 1);
        if (dice == 8) m_Bus.AllowTransfers(SIZE_MAX);
        if (dice == 9) m_Id += m_Random() % 5;
        if (dice == 10) m_Bus.FailEvents(usb::Result::Io);
        if (dice == 11 || dice == 12) m_Bus.FailEvents(usb::Result::Ok);
    }
    void MakePeace() {
        m_Bus.AllowTransfers(SIZE_MAX);
        m_Bus.FailEvents(usb::Result::Ok);
    }
    void SendGood() {
        if (m_Bus.Unsent() < 50) m_Bus.Send(Block(m_Id++, m_Plan));
    }

private:
    static constexpr usb::TransferStatus kFaults[] = {usb::TransferStatus::Stall, usb::TransferStatus::Error,
                                                      usb::TransferStatus::Overflow};
    PacketBus& m_Bus;
    std::mt19937 m_Random;
    const u3v::TransferPlan m_Plan;
    std::uint64_t m_Id = 0;
};

EngineSettings Settings(std::mt19937& random) {
    EngineSettings settings;
    settings.channel = FakeCamera::Channel(1024);
    settings.plan = StressPlan();
    settings.maxBuffers = kBuffers;
    settings.maxQueuedTransfers = random() % 20 + 1;
    return settings;
}

TEST(StreamStress, BringsEveryBufferBackOnceAndAlwaysRecovers) {
    const std::uint32_t seed = Seed();
    SCOPED_TRACE("TAVIX_STRESS_SEED=" + std::to_string(seed));
    std::cout << "TAVIX_STRESS_SEED=" << seed << std::endl;
    std::mt19937 random(seed);
    const auto end = Clock::now() + kDuration;
    unsigned int rounds = 0, recovered = 0;
    std::uint64_t good = 0;
    for (; Clock::now() < end; ++rounds) {
        PacketBus bus;
        FakeCamera camera(bus);
        BufferPool pool;
        StreamStatistics statistics;
        pool.Prepare(kBuffers, kStressPayload);
        StreamEngine engine({camera, bus, pool, statistics}, Settings(random));
        Consumer consumer(pool, random());
        Mischief mischief(bus, random());
        ASSERT_EQ(engine.Start(), VX_OK);
        std::thread thread([&] { consumer.Run(); });
        for (unsigned int i = random() % 300; i > 0; --i) {
            mischief.Step();
            if (random() % 50 != 0) continue;
            bus.FailEvents(usb::Result::Ok); // no transfer ends without
            engine.Cancel();
        }
        mischief.MakePeace();
        const bool unplugged = random() % 3 == 0;
        if (unplugged) bus.Unplug();
        if (random() % 3 == 0) engine.Cancel();
        if (!unplugged && random() % 2 == 0) {
            const std::uint64_t before = statistics.totalBuffers - statistics.failedBuffers;
            const bool isGood = bus.WaitFor([&] {
                mischief.SendGood();
                const bool isDead = pool.Queue(nullptr, nullptr) != VX_E_INVALID_HANDLE;
                return isDead || statistics.totalBuffers - statistics.failedBuffers > before + 3;
            });
            EXPECT_TRUE(isGood) << "nothing good comes any more";
            recovered += isGood;
        }
        engine.Stop();
        consumer.End();
        thread.join();
        consumer.Finish();
        ASSERT_EQ(consumer.twice, 0u);
        ASSERT_EQ(consumer.damaged, 0u);
        ASSERT_EQ(statistics.totalBuffers, consumer.good + consumer.failed);
        ASSERT_EQ(statistics.failedBuffers, consumer.failed);
        ASSERT_EQ(bus.Offences(), std::vector<std::string>());
        ASSERT_EQ(bus.Queued(), 0u);
        ASSERT_LE(camera.TimesLost(), 1u);
        if (testing::Test::HasFailure()) break;
        good += consumer.good;
    }
    std::cout << rounds << " rounds, " << good << " good blocks, " << recovered << " recoveries" << std::endl;
    EXPECT_GT(good, 0u);
}

} // namespace
