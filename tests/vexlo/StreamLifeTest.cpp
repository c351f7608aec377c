#include "vexlo/support/StreamFixture.h"

#include <atomic>
#include <thread>

namespace {

using namespace vexlotest;

TEST_F(Stream, FinishesWithTheStreamSwitchedOffAndNothingQueued) {
    Start(4);
    EXPECT_EQ(stream->FinishGrab(), VX_OK);
    EXPECT_EQ(camera.Get32(kSirm + 4), 0u);
    EXPECT_EQ(camera.Queued(kStreamIn), 0u);
    EXPECT_FALSE(stream->IsPrepared());
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(Next().Status, VX_E_CANCELLED);
    EXPECT_FALSE(wait.Wait(0));
}

TEST_F(Stream, StaysSignalledWhileResultsArePending) {
    Start(3);
    Send(Block(0));
    Send(Block(1));
    ASSERT_TRUE(camera.WaitFor([&] { return Count(CVxStream::Property_TotalBufferCount) == 2; }));
    CVxStream::GrabResult result;
    unsigned long left = 0;
    EXPECT_TRUE(wait.Wait(10000));
    EXPECT_EQ(stream->RetrieveBuffer(&result, &left), VX_OK);
    EXPECT_TRUE(wait.Wait(10000));
    EXPECT_EQ(stream->RetrieveBuffer(&result, &left), VX_OK);
    EXPECT_EQ(left, 0u);
    EXPECT_FALSE(wait.Wait(0));
    EXPECT_EQ(stream->RetrieveBuffer(&result, &left), VX_E_NO_DATA);
}

TEST_F(Stream, CancelsAllBuffersInTheirOrderAndGoesOn) {
    Start(4);
    EXPECT_EQ(stream->CancelGrab(), VX_OK);
    for (int i = 0; i < 4; ++i) {
        const CVxStream::GrabResult result = Next();
        EXPECT_EQ(result.Status, VX_E_CANCELLED);
        EXPECT_EQ(result.Handle, handles[static_cast<std::size_t>(i)]);
    }
    EXPECT_EQ(stream->QueueBuffer(handles[0], nullptr), VX_OK);
    Send(Block(0));
    ExpectGood(0);
}

TEST_F(Stream, FindsBackAfterACancelInTheMidstOfABlock) {
    Start(2);
    const std::vector<Bytes> block = Block(0);
    Send({block[0], block[1]});
    EXPECT_EQ(stream->CancelGrab(), VX_OK);
    EXPECT_EQ(Next().Status, VX_E_CANCELLED);
    EXPECT_EQ(Next().Status, VX_E_CANCELLED);
    EXPECT_EQ(stream->QueueBuffer(handles[0], nullptr), VX_OK);
    EXPECT_EQ(stream->QueueBuffer(handles[1], nullptr), VX_OK);
    Send({block[2], block[3], block[4]}); // the rest of the block is nobody's
    ASSERT_TRUE(camera.WaitFor([&] { return camera.QueuedLengths(kStreamIn).size() >= 5; }));
    Send(Block(1));
    EXPECT_TRUE(FindGood(1));
}

TEST_F(Stream, GivesEveryBufferBackOnceWhenItIsCancelledAnywhere) {
    const std::vector<Bytes> block = Block(0);
    for (std::size_t sent = 0; sent <= block.size(); ++sent) {
        Start(3);
        for (std::size_t i = 0; i < sent; ++i)
            Send({block[i]});
        EXPECT_EQ(stream->CancelGrab(), VX_OK);
        EXPECT_EQ(stream->FinishGrab(), VX_OK);
        std::size_t returned = 0;
        for (CVxStream::GrabResult result; stream->RetrieveBuffer(&result, nullptr) == VX_OK;)
            ++returned;
        EXPECT_EQ(returned, 3u) << "after " << sent << " transfers";
        for (BufferHandle_s* handle : handles) {
            void* where = nullptr;
            EXPECT_EQ(stream->DeregisterBuffer(handle, &where), VX_OK);
        }
        handles.clear();
        EXPECT_EQ(stream->Close(), VX_OK);
    }
}

TEST_F(Stream, StartsAgainAndAgain) {
    for (std::uint64_t run = 0; run < 5; ++run) {
        Start(2);
        Send(Block(run));
        ExpectGood(run);
        EXPECT_EQ(stream->FinishGrab(), VX_OK);
        EXPECT_EQ(Next().Status, VX_E_CANCELLED);
        handles.clear();
    }
}

TEST_F(Stream, SwitchesOnOnceMoreWhenTheCameraComplainsOfAHalt) {
    camera.OnCommand([refused = false](const Command& command) mutable -> std::optional<std::vector<Bytes>> {
        const bool enabling = command.Id() == 0x0802 && command.Address() == kSirm + 4 && command.Data()[0] == 1;
        if (refused || !enabling) return std::nullopt;
        refused = true;
        return std::vector<Bytes>{Ack(0xA002, 0x0803, command.RequestId(), {})};
    });
    Start(1);
    Send(Block(0));
    ExpectGood(0);
}

TEST_F(Stream, RefusesToStartWhenTheCameraDoes) {
    ASSERT_EQ(Open(), VX_OK);
    ASSERT_EQ(stream->Open(), VX_OK);
    ASSERT_EQ(stream->PrepareGrab(4, 65536), VX_OK);
    camera.OnCommand([](const Command& command) -> std::optional<std::vector<Bytes>> {
        const bool enabling = command.Id() == 0x0802 && command.Address() == kSirm + 4 && command.Data()[0] == 1;
        if (!enabling) return std::nullopt;
        return std::vector<Bytes>{Ack(0xA004, 0x0803, command.RequestId(), {})};
    });
    EXPECT_EQ(stream->StartStreaming(), VX_E_DEVICE_STATUS_BASE | 0xA004);
    EXPECT_EQ(stream->FinishGrab(), VX_OK);
}

TEST_F(Stream, NeedsAPayload) {
    camera.Set64(kSirm + 8, 0);
    ASSERT_EQ(Open(), VX_OK);
    ASSERT_EQ(stream->Open(), VX_OK);
    EXPECT_EQ(stream->PrepareGrab(4, 65536), VX_E_PAYLOAD_SIZE);
    EXPECT_FALSE(stream->IsPrepared());
}

TEST_F(Stream, HoldsBuffersToWhatWasAnnounced) {
    Prepare(2, kPayload);
    Bytes large(kPayload + 1);
    BufferHandle_s* handle = nullptr;
    EXPECT_EQ(stream->RegisterBuffer(large.data(), kPayload + 1, &handle), VX_E_INVALID_SIZE);
    EXPECT_EQ(stream->RegisterBuffer(nullptr, kPayload, &handle), VX_E_INVALID_PARAMETER);
    Register();
    Register();
    EXPECT_EQ(stream->RegisterBuffer(large.data(), kPayload, &handle), VX_E_TOO_MANY_BUFFERS);
}

TEST_F(Stream, RefusesBuffersThatAreQueuedOrUnknown) {
    Prepare();
    Queue(1);
    void* where = nullptr;
    EXPECT_EQ(stream->QueueBuffer(handles[0], nullptr), VX_E_BUFFER_QUEUED);
    EXPECT_EQ(stream->DeregisterBuffer(handles[0], &where), VX_E_BUFFER_QUEUED);
    EXPECT_EQ(stream->QueueBuffer(reinterpret_cast<BufferHandle_s*>(&where), nullptr), VX_E_INVALID_HANDLE);
    EXPECT_EQ(stream->DeregisterBuffer(nullptr, &where), VX_E_INVALID_HANDLE);
}

TEST_F(Stream, RefusesWhatDoesNotFitItsState) {
    EXPECT_EQ(stream->PrepareGrab(1, 1), VX_E_NOT_OPEN);
    EXPECT_EQ(stream->Open(), VX_E_NOT_OPEN) << "the device is closed";
    ASSERT_EQ(Open(), VX_OK);
    ASSERT_EQ(stream->Open(), VX_OK);
    EXPECT_EQ(stream->Open(), VX_E_ALREADY_OPEN);
    EXPECT_EQ(stream->StartStreaming(), VX_E_INVALID_STATE);
    EXPECT_EQ(stream->FinishGrab(), VX_E_INVALID_STATE);
    EXPECT_EQ(stream->PrepareGrab(0, 1), VX_E_INVALID_PARAMETER);
    Prepare();
    EXPECT_EQ(stream->PrepareGrab(1, 1), VX_E_INVALID_STATE);
    EXPECT_EQ(stream->StartStreaming(), VX_E_INVALID_STATE);
}

TEST_F(Stream, ClosesWithTheDevice) {
    Start(4);
    EXPECT_EQ(device->Close(), VX_OK);
    EXPECT_FALSE(stream->IsOpen());
    EXPECT_EQ(camera.Queued(kStreamIn), 0u);
}

TEST_F(Stream, QueuesRetrievesAndCancelsOnSeveralThreads) {
    Start(6);
    std::atomic<bool> stop{false};
    std::thread sender([&] {
        for (std::uint64_t id = 0; !stop; ++id) {
            Send(Block(id));
            camera.WaitFor([&] { return stop || camera.Queued(kStreamIn) != 0; });
        }
    });
    std::thread canceller([&] {
        for (int i = 0; i < 20; ++i)
            EXPECT_EQ(stream->CancelGrab(), VX_OK);
    });
    int good = 0;
    for (int i = 0; i < 200; ++i) {
        const CVxStream::GrabResult result = Next();
        if (result.Status == VX_OK) {
            ++good;
            EXPECT_EQ(Contents(result), Pattern(kPayload, static_cast<unsigned int>(result.BlockId)));
        }
        ASSERT_EQ(stream->QueueBuffer(result.Handle, result.Context), VX_OK);
    }
    canceller.join();
    for (int i = 0; i < 50 && good == 0; ++i) {
        const CVxStream::GrabResult result = Next();
        good += result.Status == VX_OK;
        ASSERT_EQ(stream->QueueBuffer(result.Handle, result.Context), VX_OK);
    }
    stop = true;
    sender.join();
    EXPECT_GT(good, 0);
    EXPECT_TRUE(GuardsAreWhole());
}

} // namespace
