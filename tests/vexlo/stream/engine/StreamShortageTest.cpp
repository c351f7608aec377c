// Memory and threads that run out while a stream starts and while it runs: no end, no lost buffer, and the stream goes
// on.
#include "vexlo/stream/support/EngineBench.h"

#include "support/Shortage.h"

#include <functional>
#include <new>

using namespace streamtest;
using shortage::AmpleMemory;
using shortage::MemoryShortage;
using shortage::ThreadShortage;
using shortage::Whose;

namespace {

/// Sends blocks until one comes back whole.
void ExpectToGoOn(EngineBench& bench) {
    constexpr std::uint64_t kFirst = 1000;
    std::uint64_t id = kFirst;
    const auto sendUntilSomethingComes = [&] {
        if (bench.bus.Unsent() == 0) bench.bus.Send(bench.Good(id++));
        return !bench.IsEmpty();
    };
    while (bench.bus.WaitFor(sendUntilSomethingComes)) {
        const CVxStream::GrabResult result = bench.NextAndQueue();
        if (result.Status == VX_OK && result.BlockId >= kFirst) return;
    }
    ADD_FAILURE() << "nothing comes any more";
}

/// Runs the scenario with the first allocation of the stream's thread failing, then with the second, until there is
/// none left to fail. Each time good blocks must come afterwards; the bench itself looks that every buffer came back.
void FailEachAllocationOf(const std::function<void(EngineBench&)>& scenario, const Sizes& sizes = {}) {
    const AmpleMemory ours; // the stream's thread has none
    constexpr long kMany = 1000;
    for (long allocation = 0; allocation < kMany; ++allocation) {
        SCOPED_TRACE("allocation " + std::to_string(allocation));
        EngineBench bench(sizes);
        bench.Start();
        bool wasMet = false;
        {
            const MemoryShortage shortage(Whose::All, allocation);
            scenario(bench);
            wasMet = shortage.WasMet();
        }
        ExpectToGoOn(bench);
        if (testing::Test::HasFailure() || !wasMet) return;
    }
    FAIL() << "more than " << kMany << " allocations";
}

/// Whole blocks around one that lacks a part, so that the plan is left with blocks to be found again.
void SendDamage(EngineBench& bench) {
    bench.bus.Send(bench.Good(1));
    std::vector<Bytes> damaged = bench.Good(2);
    damaged.erase(damaged.begin() + 1);
    bench.bus.Send(damaged);
    bench.bus.Send(bench.Good(3));
    bench.bus.Send(bench.Good(4));
    for (int i = 0; i < 3; ++i)
        (void)bench.NextAndQueue();
}

TEST(StreamShortage, CostsTheStreamNothingInOrder) {
    FailEachAllocationOf([](EngineBench& bench) {
        for (std::uint64_t id = 1; id < 9; ++id) {
            bench.bus.Send(bench.Good(id));
            bench.ExpectGood(id);
        }
    });
}

TEST(StreamShortage, CostsNoBufferWhileThePlaceIsLookedFor) {
    FailEachAllocationOf(SendDamage);
}

TEST(StreamShortage, CostsNoBufferWhileBuffersAreTooSmall) {
    Sizes sizes;
    sizes.bufferSize = 1500; // a transfer goes over its end
    const AmpleMemory ours;
    EngineBench bench(sizes);
    bench.Start();
    const MemoryShortage shortage(Whose::All, 0);
    bench.bus.Send(bench.Good(1));
    EXPECT_EQ(bench.NextAndQueue().Status, VX_E_BUFFER_TOO_SMALL);
    EXPECT_FALSE(shortage.WasMet());
}

TEST(StreamShortage, CostsNoBufferWhenAllAreCancelled) {
    FailEachAllocationOf([](EngineBench& bench) {
        bench.engine->Cancel();
        bench.DrainFailed(VX_E_CANCELLED);
        bench.QueueAll();
    });
}

TEST(StreamShortage, CostsNoBufferWhileTheStreamIsSwitchedOffAndOn) {
    FailEachAllocationOf([](EngineBench& bench) {
        bench.bus.Send(bench.Good(1));
        bench.bus.Fail(usb::TransferStatus::Stall);
        bench.bus.WaitFor([&] { return bench.engine->WasRestarted(); });
    });
}

TEST(StreamShortage, CostsNoBufferWhileSmallerTransfersAreTried) {
    Sizes sizes;
    sizes.payload = 300000;
    sizes.transfer = 256 << 10;
    FailEachAllocationOf(
        [](EngineBench& bench) {
            bench.camera.Set(0x00, 0x0A000000); // alignment 1024
            bench.camera.Set(0x08, 300000);
            for (std::uint64_t id = 1; id < 4; ++id) {
                std::vector<Bytes> damaged = bench.Good(id);
                damaged.pop_back();
                bench.bus.Send(damaged);
            }
            bench.bus.Send(bench.Good(5));
            for (int i = 0; i < 3; ++i)
                (void)bench.NextAndQueue();
        },
        sizes);
}

TEST(StreamShortage, CostsNoBufferWhenTheCameraGoes) {
    const AmpleMemory ours;
    EngineBench bench;
    bench.Start();
    const MemoryShortage shortage(Whose::All, 0);
    bench.bus.Unplug();
    for (std::size_t i = 0; i < bench.sizes.buffers; ++i)
        EXPECT_EQ(bench.Next().Status, VX_E_USB_NO_DEVICE);
}

TEST(StreamShortage, OfThreadsLeavesNothingQueuedAndTakesNoBuffers) {
    EngineBench bench;
    {
        const ThreadShortage shortage;
        EXPECT_EQ(bench.engine->Start(), VX_E_NO_THREAD);
    }
    EXPECT_EQ(bench.bus.Queued(), 0u);
    EXPECT_TRUE(bench.IsRefused());
    EXPECT_EQ(bench.engine->Start(), VX_OK) << "there are threads again";
    bench.QueueAll();
    bench.bus.Send(bench.Good(1));
    bench.ExpectGood(1);
}

} // namespace
