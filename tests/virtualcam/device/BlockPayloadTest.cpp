#include "virtualcam/device/channel/BlockPayload.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using virtualcam::BlockPayload;
using virtualcam::Bytes;
using virtualcam::Chunk;
using virtualcam::Frame;

/// 8 lines of 16 bytes.
Frame SmallFrame() {
    const auto look = std::make_shared<virtualcam::Look>();
    for (auto& colour : look->map)
        for (std::size_t i = 0; i < colour.size(); ++i)
            colour[i] = static_cast<std::uint16_t>(i);
    Frame frame;
    frame.geometry.width = 16;
    frame.geometry.height = 8;
    frame.look = look;
    return frame;
}

Frame WithCrc() {
    Frame frame = SmallFrame();
    frame.chunks.active = true;
    frame.chunks.enabled = 1U << static_cast<unsigned>(Chunk::Image) | 1U << static_cast<unsigned>(Chunk::Timestamp) |
                           1U << static_cast<unsigned>(Chunk::PayloadCrc16);
    return frame;
}

Bytes TakeAll(BlockPayload& payload, std::size_t portion) {
    Bytes bytes(payload.Size());
    while (payload.Rest() != 0)
        payload.Take(bytes.data() + payload.Sent(), std::min(portion, payload.Rest()));
    return bytes;
}

TEST(BlockPayload, IsTheSameInOnePortionAndInMany) {
    BlockPayload payload(/*view=*/0);
    payload.Begin(WithCrc(), 0);
    const Bytes whole = TakeAll(payload, payload.Size());
    for (const std::size_t portion : {1, 7, 16, 127, 129}) {
        payload.Begin(WithCrc(), 0);
        EXPECT_EQ(TakeAll(payload, portion), whole) << portion;
    }
}

TEST(BlockPayload, BearsTheChecksumOfAllBeforeIt) {
    BlockPayload payload(/*view=*/0);
    payload.Begin(WithCrc(), 0);
    const Bytes bytes = TakeAll(payload, 50);
    // Behind the value its tag: 4 bytes each of id and length.
    const std::size_t at = bytes.size() - 12;
    std::uint16_t crc = 0;
    for (std::size_t i = 0; i < at; ++i) {
        crc = static_cast<std::uint16_t>(crc ^ bytes[i] << 8);
        for (int bit = 0; bit < 8; ++bit)
            crc = static_cast<std::uint16_t>(crc << 1 ^ ((crc & 0x8000) != 0 ? 0x1021 : 0));
    }
    EXPECT_NE(crc, 0);
    EXPECT_EQ(virtualcam::Load<std::uint32_t>(bytes.data() + at), crc);
}

TEST(BlockPayload, HasZerosBehindAnImageWithoutChunksOnly) {
    BlockPayload payload(/*view=*/0);
    payload.Begin(WithCrc(), 0);
    const std::size_t withChunks = payload.Size();
    payload.Begin(WithCrc(), 5);
    EXPECT_EQ(payload.Size(), withChunks);
    payload.Begin(SmallFrame(), 5);
    ASSERT_EQ(payload.Size(), 16U * 8 + 5);
    const Bytes bytes = TakeAll(payload, 100);
    EXPECT_EQ(Bytes(bytes.end() - 5, bytes.end()), Bytes(5, 0));
}

TEST(BlockPayload, EndsWhereItIsCut) {
    BlockPayload payload(/*view=*/0);
    payload.Begin(SmallFrame(), 0);
    payload.Cut(1000);
    EXPECT_EQ(payload.Size(), 128U) << "it was shorter";
    payload.Cut(20);
    EXPECT_EQ(payload.Rest(), 20U);
    Bytes bytes(24, 0xEE);
    payload.Take(bytes.data(), bytes.size());
    EXPECT_EQ(Bytes(bytes.begin() + 20, bytes.end()), Bytes(4, 0));
    EXPECT_EQ(payload.Rest(), 0U);
}

TEST(BlockPayload, GoesOnBehindWhatIsSkipped) {
    BlockPayload payload(/*view=*/0);
    payload.Begin(SmallFrame(), 0);
    const Bytes whole = TakeAll(payload, 128);
    payload.Begin(SmallFrame(), 0);
    payload.Skip(33);
    const Bytes rest = [&] {
        Bytes bytes(10);
        payload.Take(bytes.data(), bytes.size());
        return bytes;
    }();
    EXPECT_EQ(rest, Bytes(whole.begin() + 33, whole.begin() + 43));
    payload.Skip(1000);
    EXPECT_EQ(payload.Rest(), 0U);
}

} // namespace
