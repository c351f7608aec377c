// The engine as long as the camera does what it should.

#include "vexlo/stream/support/EngineBench.h"

using namespace streamtest;

namespace {

struct Case {
    const char* name;
    Sizes sizes;
};
void PrintTo(const Case& each, std::ostream* out) {
    *out << each.name;
}

class EverySize : public testing::TestWithParam<Case> {};

TEST_P(EverySize, BringsEachBlockIntoABufferInOrder) {
    EngineBench bench(GetParam().sizes);
    bench.Start();
    for (std::uint64_t id = 0; id < 20; ++id) {
        bench.bus.Send(bench.Good(id));
        bench.ExpectGood(id);
    }
    EXPECT_EQ(bench.statistics.totalBuffers, 20u);
    EXPECT_EQ(bench.statistics.failedBuffers, 0u);
    EXPECT_EQ(bench.statistics.missedFrames, 0u);
    EXPECT_EQ(bench.statistics.resynchronizations, 0u);
    EXPECT_EQ(bench.statistics.lastBlockId, 19u);
}

TEST_P(EverySize, CopiesNoMoreThanTheTailOfABlock) {
    EngineBench bench(GetParam().sizes);
    bench.Start();
    const std::uint64_t size = bench.sizes.bufferSize ? bench.sizes.bufferSize : bench.sizes.payload;
    const std::uint64_t tail = size >= bench.plan.Capacity() ? 0 : bench.sizes.payload - bench.plan.DirectSize();
    for (std::uint64_t id = 0; id < 5; ++id) {
        bench.bus.Send(bench.Good(id));
        bench.ExpectGood(id);
    }
    EXPECT_EQ(bench.statistics.copiedBytes, 5 * tail);
    EXPECT_LT(tail, 1024u);
}

TEST_P(EverySize, TakesABurstOfBlocksThatWaitInTheCamera) {
    EngineBench bench(GetParam().sizes);
    for (std::uint64_t id = 0; id < 10; ++id)
        bench.bus.Send(bench.Good(id));
    bench.Start();
    for (std::uint64_t id = 0; id < 10; ++id)
        bench.ExpectGood(id);
}

Case Named(const char* name, std::uint64_t payload, std::uint32_t transfer, std::uint32_t packet,
           std::size_t buffers = 4, std::size_t bufferSize = 0, std::uint32_t maxQueued = 64) {
    return {name, {payload, transfer, packet, buffers, bufferSize, maxQueued}};
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, EverySize,
    testing::Values(Named("WithATail", 3000, 1024, 1024), Named("OfWholeTransfers", 4096, 2048, 1024),
                    Named("OfWholePacketsButNotTransfers", 5120, 2048, 1024), Named("OfOneByte", 1, 65536, 1024),
                    Named("OfLessThanATransfer", 700, 65536, 1024), Named("OfOnePacket", 1024, 65536, 1024),
                    Named("AtHighSpeed", 3000, 2048, 512), Named("WithOneBuffer", 3000, 1024, 1024, 1),
                    Named("WithTwoBuffers", 3000, 1024, 1024, 2),
                    Named("WithOneTransferAtATime", 3000, 1024, 1024, 4, 0, 1),
                    Named("WithThreeTransfersAtATime", 3000, 1024, 1024, 4, 0, 3),
                    Named("WithBuffersAsLargeAsTheTransfers", 3000, 1024, 1024, 4, 3072),
                    Named("WithMuchLargerBuffers", 3000, 1024, 1024, 4, 10000),
                    Named("OfManyTransfers", 300000, 1024, 1024)),
    [](const auto& instance) { return instance.param.name; });

TEST(StreamEngine, QueuesTheNextBlockBeforeABlockIsComplete) {
    EngineBench bench;
    bench.Start();
    // Leader, three of payload, trailer: four buffers make four blocks.
    ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.bus.Queued() == 20; }));
    const auto queued = bench.bus.QueuedTransfers();
    for (std::size_t i = 0; i < queued.size(); ++i)
        EXPECT_EQ(queued[i].length, 1024u) << i;
}

TEST(StreamEngine, PointsPayloadTransfersStraightIntoTheBuffer) {
    EngineBench bench({4096, 2048, 1024, 1});
    bench.Start();
    ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.bus.Queued() == 4; }));
    const auto queued = bench.bus.QueuedTransfers();
    EXPECT_EQ(queued[1].length, 2048u);
    EXPECT_EQ(queued[2].buffer, queued[1].buffer + 2048);
    bench.bus.Send(bench.Good(0));
    EXPECT_EQ(bench.Next().Buffer, queued[1].buffer);
}

TEST(StreamEngine, NeverQueuesMoreTransfersThanItMay) {
    EngineBench bench({3000, 1024, 1024, 4, 0, 7});
    bench.Start();
    ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.bus.Queued() == 7; }));
    for (std::uint64_t id = 0; id < 20; ++id) {
        bench.bus.Send(bench.Good(id));
        bench.ExpectGood(id);
    }
    EXPECT_EQ(bench.bus.MostQueued(), 7u);
}

TEST(StreamEngine, WaitsForBuffersAndGoesOnWhenTheyCome) {
    EngineBench bench;
    bench.StartWithoutBuffers();
    bench.bus.Send(bench.Good(0) + bench.Good(1) + bench.Good(2));
    for (std::uint64_t id = 0; id < 3; ++id) {
        bench.Queue(id);
        bench.Check(bench.Next(), id);
        EXPECT_TRUE(bench.bus.WaitFor([&] { return bench.bus.Queued() == 0; }));
    }
    bench.QueueAll();
    for (std::uint64_t id = 3; id < 10; ++id) {
        bench.bus.Send(bench.Good(id));
        bench.ExpectGood(id);
    }
    EXPECT_EQ(bench.statistics.resynchronizations, 0u);
}

TEST(StreamEngine, ReportsWhatDoesNotFitTheBuffer) {
    for (const std::size_t size : {1u, 1000u, 1024u, 1500u, 2048u, 2999u}) {
        EngineBench bench({3000, 1024, 1024, 3, size});
        bench.Start();
        for (std::uint64_t id = 0; id < 7; ++id) {
            bench.bus.Send(bench.Good(id));
            const CVxStream::GrabResult result = bench.Next();
            EXPECT_EQ(result.Status, VX_E_BUFFER_TOO_SMALL);
            EXPECT_EQ(result.BlockId, id);
            EXPECT_EQ(result.PayloadSize, size);
            const Bytes wanted = Pixels(id, 3000);
            EXPECT_TRUE(std::equal(wanted.begin(), wanted.begin() + static_cast<std::ptrdiff_t>(size),
                                   static_cast<const std::uint8_t*>(result.Buffer)));
            bench.Queue(id % 3);
        }
        EXPECT_EQ(bench.statistics.resynchronizations, 0u);
    }
}

TEST(StreamEngine, StaysInPlaceWithABlockThatEndsEarly) {
    EngineBench bench;
    bench.Start();
    bench.bus.Send(bench.Good(0));
    bench.ExpectGood(0);
    // 1000 bytes, then an empty packet for each transfer that the camera has nothing for.
    bench.bus.Send({Leader(1, 3000), Pixels(1, 1000), {}, {}, Trailer(1, 1000, 1, 0xA100)});
    const CVxStream::GrabResult result = bench.NextAndQueue();
    EXPECT_EQ(result.Status, VX_E_DATA_DISCARDED);
    EXPECT_EQ(result.PayloadSize, 1000u);
    bench.bus.Send(bench.Good(2));
    bench.ExpectGood(2);
    EXPECT_EQ(bench.statistics.resynchronizations, 0u);
    EXPECT_EQ(bench.statistics.missedFrames, 1u);
}

TEST(StreamEngine, IgnoresWhatFollowsAShortTransfer) {
    EngineBench bench;
    bench.Start();
    bench.bus.Send({Leader(0, 3000), Pixels(0, 1000), Pixels(7, 1024), Pixels(8, 10), Trailer(0, 2000)});
    const CVxStream::GrabResult result = bench.NextAndQueue();
    EXPECT_EQ(result.Status, VX_E_INCOMPLETE);
    EXPECT_EQ(result.PayloadSize, 1000u);
    bench.bus.Send(bench.Good(1));
    bench.ExpectGood(1);
}

TEST(StreamEngine, WaitsAsLongAsEverForTransfersThatTheSystemHadMemoryFor) {
    EngineBench bench;
    bench.bus.AllowTransfers(2);
    bench.Start();
    for (std::uint64_t id = 0; id < 3; ++id) {
        bench.bus.Send(bench.Good(id));
        bench.ExpectGood(id);
    }
    EXPECT_EQ(bench.bus.ShortestWait(), 1000u);
}

TEST(StreamEngine, CancelsInTheOrderOfQueuing) {
    EngineBench bench({3000, 1024, 1024, 8, 0, 7});
    bench.Start();
    ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.bus.Queued() == 7; }));
    bench.engine->Cancel();
    const void* last = nullptr;
    for (int i = 0; i < 8; ++i) {
        const CVxStream::GrabResult result = bench.Next();
        EXPECT_EQ(result.Status, VX_E_CANCELLED);
        EXPECT_GT(result.Context, last); // the buffers' records lie in an array
        last = result.Context;
    }
    EXPECT_EQ(bench.statistics.totalBuffers, 0u);
    EXPECT_EQ(bench.statistics.failedBuffers, 0u);
}

TEST(StreamEngine, LosesNoBlockToACancelBetweenBlocks) {
    EngineBench bench;
    bench.Start();
    bench.bus.Send(bench.Good(0));
    bench.Next();
    bench.engine->Cancel();
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(bench.Next().Status, VX_E_CANCELLED);
    bench.bus.Send(bench.Good(1));
    bench.QueueAll();
    bench.ExpectGood(1);
}

/// Everything that was sent of a block when the cancel comes: each packet once, and nothing.
TEST(StreamEngine, GoesOnWithTheNextBlockWhereverACancelCame) {
    for (std::size_t count = 0; count <= 5; ++count) {
        EngineBench bench({3000, 2048, 1024});
        bench.Start();
        bench.bus.Send(bench.Good(0));
        bench.ExpectGood(0);
        // One packet a step: leader, two of the first transfer, the tail, trailer.
        const std::vector<Bytes> packets{Leader(1, 3000), Bytes(1024, 1), Bytes(1024, 2), Bytes(952, 3),
                                         Trailer(1, 3000)};
        for (std::size_t i = 0; i < count; ++i)
            bench.bus.Send(packets[i]);
        // A cancel that comes before the engine has seen the leader may find the block whole behind it.
        ASSERT_TRUE(bench.bus.WaitFor([&] { return bench.bus.Unsent() == 0 && bench.bus.Ended() == 0; }));
        bench.engine->Cancel();
        for (std::size_t i = 0; i < 4; ++i) {
            const auto status = bench.NextAndQueue().Status;
            EXPECT_TRUE(status == VX_E_CANCELLED || (status == VX_OK && count == 5)) << count;
        }
        for (std::size_t i = count; i < packets.size(); ++i)
            bench.bus.Send(packets[i]);
        // Block 1 may still come whole when nothing of it had been sent.
        bench.bus.Send(bench.Good(2));
        CVxStream::GrabResult result = bench.NextAndQueue();
        if (count == 0) {
            EXPECT_EQ(result.BlockId, 1u);
            result = bench.NextAndQueue();
        }
        EXPECT_EQ(result.Status, VX_OK) << count;
        EXPECT_EQ(result.BlockId, 2u) << count;
        bench.bus.Send(bench.Good(3));
        bench.ExpectGood(3);
    }
}

TEST(StreamEngine, StopsWhereverTheStreamIs) {
    for (std::size_t count = 0; count <= 10; ++count) {
        EngineBench bench;
        bench.Start();
        const std::vector<Bytes> transfers = bench.Good(0) + bench.Good(1);
        for (std::size_t i = 0; i < count; ++i)
            bench.bus.Send(transfers[i]);
        bench.Stop();
        EXPECT_EQ(bench.bus.Queued(), 0u);
        bench.engine->Cancel(); // too late to do anything, and harmless
    }
}

} // namespace
