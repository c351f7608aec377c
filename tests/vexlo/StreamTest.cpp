#include "vexlo/Fixture.h"

#include "core/WaitObject.h"

#include <cstring>
#include <thread>

namespace {

using namespace vexlotest;
using namespace scripted;

constexpr std::uint32_t kWidth = 92;
constexpr std::uint32_t kHeight = 366;
constexpr std::uint32_t kTransfer = 16384;
constexpr std::size_t kPayload = kWidth * kHeight; ///< 33672: two transfers and a tail of 904 bytes
constexpr std::uint32_t kPartLines = 200;
constexpr std::size_t kPart = kWidth * kPartLines; ///< 18400: ends within the second transfer
static_assert(kPayload == 2 * kTransfer + 904);

/// A stream of blocks of five transfers: leader, 16384, 16384, 1024 at most, trailer.
class Stream : public OnScriptedCamera {
protected:
    Stream() {
        EXPECT_EQ(device->GetStream(&stream), VX_OK);
        EXPECT_EQ(stream->RegisterWaitObject(wait), VX_OK);
        SetTransferSize(kTransfer);
        camera.Set64(kSirm + 8, kPayload);
    }
    ~Stream() override {
        if (stream->IsPrepared()) (void)stream->FinishGrab(); // before the buffers go away
    }

    void SetTransferSize(std::uint32_t size) {
        EXPECT_EQ(stream->SetProperty(CVxStream::Property_MaxTransferSize, &size, 4), VX_OK);
    }
    void Prepare(unsigned long buffers = 16, unsigned long size = 65536) {
        ASSERT_EQ(device->IsOpen() ? VX_OK : Open(), VX_OK);
        ASSERT_EQ(stream->IsOpen() ? VX_OK : stream->Open(), VX_OK);
        ASSERT_EQ(stream->PrepareGrab(buffers, size), VX_OK);
        ASSERT_EQ(stream->StartStreaming(), VX_OK);
    }
    BufferHandle_s* Register(std::size_t size = kPayload) {
        memory.push_back(Bytes(size + 16, 0xEE)); // guard bytes behind the buffer
        BufferHandle_s* handle = nullptr;
        EXPECT_EQ(stream->RegisterBuffer(memory.back().data(), size, &handle), VX_OK);
        sizes.push_back(size);
        return handle;
    }
    void Queue(int count, std::size_t size = kPayload) {
        for (int i = 0; i < count; ++i) {
            handles.push_back(Register(size));
            ASSERT_EQ(stream->QueueBuffer(handles.back(), &memory.back()), VX_OK);
        }
    }
    /// Streams into `count` buffers, all queued.
    void Start(int count, std::size_t size = kPayload) {
        Prepare();
        Queue(count, size);
        EXPECT_TRUE(camera.WaitFor([&] { return camera.Queued(kStreamIn) >= AtOnce(count); }));
    }
    /// Transfers that are queued for so many buffers, when nothing but the settings limits them.
    std::size_t AtOnce(int buffers) {
        const auto limit = Property<std::uint32_t>(*stream, CVxStream::Property_NumMaxQueuedUrbs);
        return std::min({static_cast<std::size_t>(buffers) * 5, std::size_t{limit}, transferLimit});
    }

    /// A block as the camera of this plan sends it.
    static std::vector<Bytes> Block(std::uint64_t id) {
        const Bytes data = Pattern(kPayload, static_cast<unsigned int>(id));
        return Block(id, data);
    }
    static std::vector<Bytes> Block(std::uint64_t id, const Bytes& data) {
        std::vector<Bytes> transfers = {ImageLeader(id, kWidth, kHeight)};
        for (std::size_t offset = 0; offset < kPayload;) {
            const std::size_t size = offset < 2 * kTransfer ? kTransfer : kPayload - offset;
            const std::size_t from = std::min(offset, data.size()), to = std::min(offset + size, data.size());
            transfers.emplace_back(data.begin() + static_cast<std::ptrdiff_t>(from),
                                   data.begin() + static_cast<std::ptrdiff_t>(to));
            offset += size;
        }
        transfers.push_back(ImageTrailer(id, data.size(), kHeight));
        return transfers;
    }
    void Send(const std::vector<Bytes>& transfers) { camera.Send(kStreamIn, transfers); }

    CVxStream::GrabResult Next() {
        CVxStream::GrabResult result{};
        EXPECT_TRUE(wait.Wait(20000));
        EXPECT_EQ(stream->RetrieveBuffer(&result, nullptr), VX_OK);
        return result;
    }
    static Bytes Contents(const CVxStream::GrabResult& result) {
        const auto* bytes = static_cast<const std::uint8_t*>(result.Buffer);
        return Bytes(bytes, bytes + result.PayloadSize);
    }
    void ExpectGood(std::uint64_t id) {
        const CVxStream::GrabResult result = Next();
        EXPECT_EQ(result.Status, VX_OK) << std::hex << result.Status;
        EXPECT_EQ(result.BlockId, id);
        EXPECT_EQ(Contents(result), Pattern(kPayload, static_cast<unsigned int>(id)));
    }
    /// Takes results until the block comes, whole.
    bool FindGood(std::uint64_t id) {
        for (std::size_t i = 0; i < handles.size(); ++i) {
            const CVxStream::GrabResult result = Next();
            if (result.Status != VX_OK || result.BlockId != id) continue;
            return Contents(result) == Pattern(kPayload, static_cast<unsigned int>(id));
        }
        return false;
    }
    bool GuardsAreWhole() const {
        for (std::size_t i = 0; i < memory.size(); ++i)
            for (std::size_t k = sizes[i]; k < memory[i].size(); ++k)
                if (memory[i][k] != 0xEE) return false;
        return true;
    }
    std::uint64_t Count(CVxStream::EPropertyValue id) { return Property<std::uint64_t>(*stream, id); }

    std::size_t transferLimit = SIZE_MAX; ///< of the system
    CVxStream* stream = nullptr;
    Tavix::WaitObjectEx wait = Tavix::WaitObjectEx::Create();
    std::deque<Bytes> memory; ///< of the registered buffers
    std::vector<std::size_t> sizes;
    std::vector<BufferHandle_s*> handles;
};

TEST_F(Stream, ProgramsTheCameraBeforeItEnablesTheStream) {
    Prepare();
    EXPECT_EQ(camera.Get32(kSirm + 0x18), 1024u);
    EXPECT_EQ(camera.Get32(kSirm + 0x1C), kTransfer);
    EXPECT_EQ(camera.Get32(kSirm + 0x20), 2u);
    EXPECT_EQ(camera.Get32(kSirm + 0x24), 0u);
    EXPECT_EQ(camera.Get32(kSirm + 0x28), 1024u);
    EXPECT_EQ(camera.Get32(kSirm + 0x2C), 1024u);
    EXPECT_EQ(camera.WritesTo(kSirm + 4).back(), 1u);
    EXPECT_GE(camera.HaltsCleared(kStreamIn), 1u);
}

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

TEST_F(Stream, DeliversABlockWithAllThatLeaderAndTrailerTell) {
    Start(1);
    Send(Block(7));
    const CVxStream::GrabResult result = Next();
    EXPECT_EQ(result.Status, VX_OK);
    EXPECT_EQ(result.Handle, handles[0]);
    EXPECT_EQ(result.Buffer, memory[0].data());
    EXPECT_EQ(result.Context, &memory[0]);
    EXPECT_EQ(result.PayloadType, 1);
    EXPECT_EQ(result.PayloadSize, kPayload);
    EXPECT_EQ(result.Timestamp, 1000u);
    EXPECT_EQ(result.PixelFormat, 0x01080001u);
    EXPECT_EQ(result.G1, kHeight);
    EXPECT_EQ(result.G2, kWidth);
    EXPECT_EQ(result.G3, 5u);
    EXPECT_EQ(result.G4, 6u);
    EXPECT_EQ(result.BlockId, 7u);
    EXPECT_EQ(result.SizeUnknown, 0u);
    EXPECT_EQ(Contents(result), Pattern(kPayload, 7));
    EXPECT_TRUE(GuardsAreWhole());
}

TEST_F(Stream, ReceivesStraightIntoTheBuffer) {
    Start(1);
    ASSERT_TRUE(camera.WaitFor([&] { return camera.Queued(kStreamIn) == 5; }));
    const auto buffers = camera.QueuedBuffers(kStreamIn);
    EXPECT_EQ(buffers[1], memory[0].data());
    EXPECT_EQ(buffers[2], memory[0].data() + kTransfer);
    EXPECT_EQ(camera.QueuedLengths(kStreamIn), (std::vector<std::size_t>{1024, kTransfer, kTransfer, 1024, 1024}));
}

TEST_F(Stream, KeepsTheNextBlocksQueuedWhileOneCompletes) {
    Start(4);
    ASSERT_TRUE(camera.WaitFor([&] { return camera.Queued(kStreamIn) >= 10; })) << "two blocks at least";
    Send({ImageLeader(0, kWidth, kHeight)});
    EXPECT_GE(camera.Queued(kStreamIn), 9u);
}

TEST_F(Stream, DeliversBlocksOneAfterTheOther) {
    Start(8);
    for (std::uint64_t id = 0; id < 8; ++id)
        Send(Block(id));
    for (std::uint64_t id = 0; id < 8; ++id)
        ExpectGood(id);
    EXPECT_EQ(Count(CVxStream::Property_TotalBufferCount), 8u);
    EXPECT_EQ(Count(CVxStream::Property_FailedBufferCount), 0u);
    EXPECT_EQ(Count(CVxStream::Property_MissedFrameCount), 0u);
    EXPECT_EQ(Count(CVxStream::Property_LastBlockId), 7u);
}

TEST_F(Stream, GoesOnWithBuffersThatAreQueuedAgain) {
    Start(2);
    for (std::uint64_t id = 0; id < 50; ++id) {
        Send(Block(id));
        const CVxStream::GrabResult result = Next();
        ASSERT_EQ(result.Status, VX_OK);
        ASSERT_EQ(result.BlockId, id);
        ASSERT_EQ(Contents(result), Pattern(kPayload, static_cast<unsigned int>(id)));
        ASSERT_EQ(stream->QueueBuffer(result.Handle, result.Context), VX_OK);
    }
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

TEST_F(Stream, WaitsForABufferAndContinuesInPlace) {
    Prepare();
    Send(Block(0));
    Send(Block(1));
    EXPECT_EQ(camera.Queued(kStreamIn), 0u);
    Queue(2);
    ExpectGood(0);
    ExpectGood(1);
}

TEST_F(Stream, NeverLeavesABlockPartlySubmitted) {
    const std::uint32_t three = 3;
    EXPECT_EQ(stream->SetProperty(CVxStream::Property_NumMaxQueuedUrbs, &three, 4), VX_OK);
    Start(1);
    ASSERT_TRUE(camera.WaitFor([&] { return camera.Queued(kStreamIn) == 3; }));
    Send(Block(0));
    ExpectGood(0);
    EXPECT_EQ(camera.Queued(kStreamIn), 0u);
}

TEST_F(Stream, UsesALargerBufferToItsPayload) {
    Start(1, kPayload + 3000);
    Send(Block(3));
    ExpectGood(3);
    for (std::size_t i = 2 * kTransfer + 1024; i < memory[0].size(); ++i)
        ASSERT_EQ(memory[0][i], 0xEE);
}

TEST_F(Stream, FailsABufferThatIsTooSmallAndKeepsItsPlace) {
    Prepare();
    Queue(1, kPart);
    Queue(1);
    Send(Block(0));
    Send(Block(1));
    EXPECT_EQ(Next().Status, VX_E_BUFFER_TOO_SMALL);
    ExpectGood(1);
    EXPECT_EQ(Count(CVxStream::Property_ResynchronizationCount), 0u);
    EXPECT_TRUE(GuardsAreWhole());
}

TEST_F(Stream, FailsAnIncompleteBlockWithTheBytesThatArrived) {
    Start(2);
    std::vector<Bytes> block = Block(0, Pattern(kPart, 0)); // the second payload transfer is short, the third empty
    block.back() = ImageTrailer(0, kPart, kHeight, 0xA100);
    Send(block);
    Send(Block(1));
    const CVxStream::GrabResult result = Next();
    EXPECT_EQ(result.Status, VX_E_DATA_DISCARDED);
    EXPECT_EQ(result.PayloadSize, kPart);
    EXPECT_EQ(Contents(result), Pattern(kPart, 0));
    ExpectGood(1);
    EXPECT_EQ(Count(CVxStream::Property_FailedBufferCount), 1u);
    EXPECT_EQ(Property<VxStatus>(*stream, CVxStream::Property_LastFailedBufferStatus), VX_E_DATA_DISCARDED);
}

TEST_F(Stream, FailsABlockThatOverranItsTransfers) {
    Start(1);
    std::vector<Bytes> block = Block(0);
    block.back() = ImageTrailer(0, kPayload, kHeight, 0xA101);
    Send(block);
    EXPECT_EQ(Next().Status, VX_E_DATA_OVERRUN);
}

TEST_F(Stream, FailsABlockWhoseTrailerClaimsMoreThanArrived) {
    Start(1);
    std::vector<Bytes> block = Block(0, Pattern(kPart, 0));
    block.back() = ImageTrailer(0, kPayload, kHeight);
    Send(block);
    EXPECT_EQ(Next().Status, VX_E_INCOMPLETE);
}

TEST_F(Stream, BelievesTheTrailerInHeightAndValidSize) {
    Start(1);
    std::vector<Bytes> block = Block(0, Pattern(kPart, 0));
    block.back() = ImageTrailer(0, kPart, kPartLines);
    Send(block);
    const CVxStream::GrabResult result = Next();
    EXPECT_EQ(result.Status, VX_OK);
    EXPECT_EQ(result.G1, kPartLines);
    EXPECT_EQ(result.PayloadSize, kPart);
}

TEST_F(Stream, LeavesPaddingOutOfTheValidSize) {
    camera.Set64(kSirm + 8, kPayload + 100);
    Start(1, kPayload + 100);
    std::vector<Bytes> block = Block(0);
    block[3].resize(1004, 0xFF); // padded up to the required size
    Send(block);
    EXPECT_EQ(Next().PayloadSize, kPayload);
}

TEST_F(Stream, CountsBlocksThatTheCameraLeftOut) {
    Start(2);
    Send(Block(4));
    Send(Block(9));
    ExpectGood(4);
    ExpectGood(9);
    EXPECT_EQ(Count(CVxStream::Property_MissedFrameCount), 4u);
}

TEST_F(Stream, StaysInPlaceAfterADamagedLeader) {
    Start(2);
    std::vector<Bytes> block = Block(0);
    block[0][0] ^= 0xFF;
    Send(block);
    Send(Block(1));
    EXPECT_EQ(Next().Status, VX_E_BAD_LEADER);
    ExpectGood(1);
    EXPECT_EQ(Count(CVxStream::Property_ResynchronizationCount), 0u);
}

TEST_F(Stream, StaysInPlaceAfterADamagedOrEmptyTrailer) {
    Start(3);
    std::vector<Bytes> block = Block(0);
    block.back()[0] ^= 0xFF;
    Send(block);
    block = Block(1);
    block.back().clear();
    Send(block);
    Send(Block(2));
    EXPECT_EQ(Next().Status, VX_E_BAD_TRAILER);
    EXPECT_EQ(Next().Status, VX_E_BAD_TRAILER);
    ExpectGood(2);
}

TEST_F(Stream, FailsABlockWithTheTrailerOfAnother) {
    Start(2);
    std::vector<Bytes> block = Block(0);
    block.back() = ImageTrailer(5, kPayload, kHeight);
    Send(block);
    Send(Block(1));
    EXPECT_EQ(Next().Status, VX_E_BAD_TRAILER);
    ExpectGood(1);
}

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

TEST_F(LostPlace, IsFoundAgainWithoutATrailer) {
    std::vector<Bytes> block = Block(1);
    block.pop_back();
    ExpectRecovery(block);
}

TEST_F(LostPlace, IsFoundAgainWithoutAPayloadTransfer) {
    std::vector<Bytes> block = Block(1);
    block.erase(block.begin() + 1);
    ExpectRecovery(block);
}

TEST_F(LostPlace, IsFoundAgainAfterOnePayloadTransferTooMany) {
    std::vector<Bytes> block = Block(1);
    block.insert(block.begin() + 1, Pattern(kTransfer));
    ExpectRecovery(block);
}

TEST_F(LostPlace, IsFoundAgainAfterLeaderAndTrailerChangedPlaces) {
    std::vector<Bytes> block = Block(1);
    std::swap(block.front(), block.back());
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
