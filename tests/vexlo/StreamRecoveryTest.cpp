#include "vexlo/support/StreamFixture.h"

namespace {

using namespace vexlotest;

/// The stream finds back after `damage` was done to a block in the midst of good ones.
class LostPlace : public Stream {
protected:
    /// Looks at all results and queues their buffers again.
    void QueueAgain(std::uint64_t& good) {
        for (CVxStream::GrabResult result; stream->RetrieveBuffer(&result, nullptr) == VX_OK;) {
            if (result.Status == VX_OK) {
                good = result.BlockId;
                EXPECT_EQ(Contents(result), Pattern(kPayload, static_cast<unsigned int>(good)));
            }
            ASSERT_EQ(stream->QueueBuffer(result.Handle, result.Context), VX_OK);
        }
    }
    void ExpectRecovery(const std::vector<Bytes>& damaged) {
        Start(8);
        Send(Block(0));
        ExpectGood(0);
        Send(damaged);
        // The camera goes on; it takes a block or two to find back.
        std::uint64_t good = UINT64_MAX;
        for (std::uint64_t id = 2; id < 40 && good == UINT64_MAX; ++id) {
            Send(Block(id));
            ASSERT_TRUE(camera.WaitFor([&] {
                QueueAgain(good);
                return good != UINT64_MAX || camera.Queued(kStreamIn) != 0;
            }));
        }
        ASSERT_TRUE(camera.WaitFor([&] {
            QueueAgain(good);
            return good != UINT64_MAX;
        })) << "no good block ever again";
        EXPECT_GE(Count(CVxStream::Property_ResynchronizationCount), 1u);
        EXPECT_TRUE(GuardsAreWhole());
    }
};

TEST_F(LostPlace, IsFoundAgainWithoutALeader) {
    std::vector<Bytes> block = Block(1);
    block.erase(block.begin());
    ExpectRecovery(block);
}

TEST_F(LostPlace, IsFoundAgainAfterDataOfAnEarlierRun) {
    ExpectRecovery({Pattern(kTransfer), Pattern(1024), Pattern(300)});
}

class BadLink : public Stream {
protected:
    /// The stream goes on after the oldest transfer ended this way.
    void ExpectRestart(usb::TransferStatus status, VxStatus expected) {
        Start(4);
        Send({ImageLeader(0, kWidth, kHeight)});
        const std::size_t enabled = camera.WritesTo(kSirm + 4).size();
        camera.Fail(kStreamIn, status);
        ASSERT_TRUE(camera.WaitFor([&] {
            const auto writes = camera.WritesTo(kSirm + 4);
            return writes.size() > enabled && writes.back() == 1 && camera.Queued(kStreamIn) != 0;
        }));
        EXPECT_EQ(Next().Status, expected);
        Send(Block(0));
        ExpectGood(0);
    }
};

TEST_F(BadLink, RestartsAfterAHalt) {
    ExpectRestart(usb::TransferStatus::Stall, VX_E_USB_STALL);
}

TEST_F(BadLink, RestartsAfterAnError) {
    ExpectRestart(usb::TransferStatus::Error, VX_E_USB_IO);
}

TEST_F(BadLink, RestartsAfterAnOverflow) {
    ExpectRestart(usb::TransferStatus::Overflow, VX_E_USB_OVERFLOW);
}

TEST_F(BadLink, CompletesAllBuffersWhenTheCameraIsGone) {
    Start(4);
    camera.Unplug(/*announce=*/false);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(Next().Status, VX_E_USB_NO_DEVICE);
    CVxStream::GrabResult result;
    EXPECT_EQ(stream->RetrieveBuffer(&result, nullptr), VX_E_NO_DATA);
    (void)stream->FinishGrab(); // tells that the camera is gone, or nothing at all
    EXPECT_FALSE(stream->IsPrepared());
}

TEST_F(Stream, ShrinksItsQueueWhenMemoryIsShort) {
    camera.AllowTransfers(transferLimit = 4);
    Start(4);
    for (std::uint64_t id = 0; id < 4; ++id) {
        Send(Block(id));
        ExpectGood(id);
    }
}

TEST_F(Stream, WaitsForMemoryWhenThereIsNone) {
    Prepare();
    camera.AllowTransfers(0);
    Queue(2);
    camera.AllowTransfers(SIZE_MAX);
    Send(Block(0));
    ExpectGood(0);
}

} // namespace
