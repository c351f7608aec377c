#include "virtualcam/device/endpoint/Pipe.h"

#include <gtest/gtest.h>

namespace {

using virtualcam::Bytes;
using virtualcam::Pipe;
using virtualcam::PipeAnswer;
using virtualcam::PipeStatus;

PipeAnswer Take(Pipe& pipe, std::size_t room) {
    Bytes buffer(room + 1);
    return pipe.Take(buffer.data(), room);
}

TEST(Pipe, HasNothingYetWhenEmpty) {
    Pipe pipe(1024);
    const PipeAnswer answer = Take(pipe, 1024);
    EXPECT_EQ(answer.status, PipeStatus::NotYet);
    EXPECT_EQ(answer.bytes, 0u);
}

TEST(Pipe, EndsATransferByAShortPacket) {
    Pipe pipe(1024);
    pipe.Push(Bytes(1500));
    const PipeAnswer answer = Take(pipe, 4096);
    EXPECT_EQ(answer.status, PipeStatus::Complete);
    EXPECT_EQ(answer.bytes, 1500u);
    EXPECT_EQ(pipe.Size(), 0u);
}

TEST(Pipe, LeavesATransferOpenAfterWholePackets) {
    Pipe pipe(1024);
    pipe.Push(Bytes(1024));
    const PipeAnswer answer = Take(pipe, 2048);
    EXPECT_EQ(answer.status, PipeStatus::NotYet);
    EXPECT_EQ(answer.bytes, 1024u);
}

TEST(Pipe, EndsATerminatedMessageOfWholePacketsByAnEmptyOne) {
    Pipe pipe(1024);
    pipe.Push(Bytes(1024), /*terminated=*/true);
    EXPECT_EQ(Take(pipe, 2048).status, PipeStatus::Complete);
    EXPECT_EQ(pipe.Size(), 0u);
}

TEST(Pipe, GivesTheEmptyPacketToTheNextTransferWhenTheFirstIsFull) {
    Pipe pipe(1024);
    pipe.Push(Bytes(1024), /*terminated=*/true);
    EXPECT_EQ(Take(pipe, 1024).bytes, 1024u);
    const PipeAnswer second = Take(pipe, 1024);
    EXPECT_EQ(second.status, PipeStatus::Complete);
    EXPECT_EQ(second.bytes, 0u);
}

TEST(Pipe, SpreadsALongMessageOverTransfersOfWholePackets) {
    Pipe pipe(512);
    pipe.Push(Bytes(1200));
    EXPECT_EQ(Take(pipe, 1024).bytes, 1024u);
    const PipeAnswer rest = Take(pipe, 1024);
    EXPECT_EQ(rest.status, PipeStatus::Complete);
    EXPECT_EQ(rest.bytes, 176u);
}

TEST(Pipe, OverflowsATransferThatIsNoMultipleOfThePacketSize) {
    Pipe pipe(1024);
    pipe.Push(Bytes(1024));
    const PipeAnswer answer = Take(pipe, 100);
    EXPECT_EQ(answer.status, PipeStatus::Overflow);
    EXPECT_EQ(answer.bytes, 100u);
    EXPECT_EQ(pipe.Size(), 0u) << "the packet is lost";
}

TEST(Pipe, FillsATransferOfExactlyTheMessage) {
    Pipe pipe(1024);
    pipe.Push(Bytes(76));
    const PipeAnswer answer = Take(pipe, 76);
    EXPECT_EQ(answer.status, PipeStatus::Complete);
    EXPECT_EQ(answer.bytes, 76u);
}

TEST(Pipe, SendsAnEmptyMessageAsAnEmptyPacket) {
    Pipe pipe(1024);
    pipe.Push({});
    const PipeAnswer answer = Take(pipe, 1024);
    EXPECT_EQ(answer.status, PipeStatus::Complete);
    EXPECT_EQ(answer.bytes, 0u);
}

} // namespace
