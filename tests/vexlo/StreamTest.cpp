#include "vexlo/support/StreamFixture.h"

namespace {

using namespace vexlotest;

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

} // namespace
