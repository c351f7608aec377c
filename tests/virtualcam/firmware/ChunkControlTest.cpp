#include "virtualcam/firmware/control/ChunkControl.h"

#include <gtest/gtest.h>

#include "virtualcam/support/StreamClient.h"

namespace {

using virtualcam::Bytes;
using virtualcam::Chunk;
using virtualcam::ChunkPlan;
using virtualcam::Load;
using virtualcam::test::Block;
using virtualcam::test::DeviceClient;
using virtualcam::test::Hex;
using virtualcam::test::StreamClient;

// The checksum bit by bit, without tables.
std::uint16_t SlowCrc(const std::uint8_t* data, std::size_t length) {
    std::uint32_t crc = 0;
    for (std::size_t i = 0; i < length; ++i) {
        crc ^= static_cast<std::uint32_t>(data[i]) << 8;
        for (int bit = 0; bit < 8; ++bit)
            crc = ((crc << 1) ^ ((crc & 0x8000) != 0 ? 0x1021 : 0)) & 0xFFFF;
    }
    return static_cast<std::uint16_t>(crc);
}

TEST(ChunkChecksum, HasItsCheckValue) {
    const Bytes digits = Hex("31 32 33 34 35 36 37 38 39");
    EXPECT_EQ(virtualcam::Crc16(0, digits.data(), digits.size()), 0x31C3);
    EXPECT_EQ(SlowCrc(digits.data(), digits.size()), 0x31C3);
}

TEST(ChunkChecksum, ContinuesWhereItStopped) {
    Bytes data(1000);
    for (std::size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<std::uint8_t>(i * i + i / 7);
    for (const std::size_t cut : {0, 1, 7, 8, 9, 500, 1000}) {
        const std::uint16_t head = virtualcam::Crc16(0, data.data(), cut);
        EXPECT_EQ(virtualcam::Crc16(head, data.data() + cut, data.size() - cut), SlowCrc(data.data(), data.size()));
    }
}

TEST(ChunkPlan, LaysChunksOutBehindTheImage) {
    ChunkPlan plan;
    plan.active = true;
    plan.enabled = 1 << static_cast<int>(Chunk::CounterValue) | 1 << static_cast<int>(Chunk::Timestamp);
    virtualcam::ChunkValues values;
    values.counterValue = 8;
    values.timestamp = 0x1122334455667788;
    EXPECT_EQ(plan.Tail(1, values), Hex("000000 01004D5A 04000000"
                                        "8877665544332211 02004D5A 08000000"
                                        "08000000 06004D5A 04000000"));
    EXPECT_EQ(plan.PayloadBytes(1), 1u + 3 + 8 + 16 + 12);
}

struct ChunkControlTest : testing::Test {
    static virtualcam::CameraSettings Small() {
        virtualcam::CameraSettings settings;
        settings.sensorWidth = 128;
        settings.sensorHeight = 64;
        settings.frameRateEnable = false;
        return settings;
    }
    virtualcam::Device device{Small()};
    DeviceClient client{device};
    StreamClient stream{client};

    ChunkControlTest() {
        EXPECT_EQ(client.Write32(0x109000, 1), 0);
        for (std::uint64_t i = 1; i < 8; ++i)
            EXPECT_EQ(client.Write32(0x109010 + 4 * i, 1), 0);
    }
    Block Grab() {
        EXPECT_EQ(stream.Start(4096, 2, 1024), 0);
        stream.StartAcquisition();
        return stream.Read();
    }
    // Finds a chunk by walking the payload from its end.
    static Bytes Find(const Bytes& payload, std::uint32_t id) {
        std::size_t end = payload.size();
        while (end >= 8) {
            const std::uint32_t length = Load<std::uint32_t>(payload.data() + end - 4);
            const std::uint32_t here = Load<std::uint32_t>(payload.data() + end - 8);
            if (length > end - 8) return {};
            end -= 8 + length;
            const auto begin = payload.begin() + static_cast<std::ptrdiff_t>(end);
            if (here == id) return Bytes(begin, begin + length);
        }
        return {};
    }
};

TEST_F(ChunkControlTest, AddsChunksToTheRequiredPayload) {
    EXPECT_EQ(client.Read(0x20008, 8), 8192u + 8 + 4 * 16 + 3 * 12);
    ASSERT_EQ(client.Write32(0x109000, 0), 0);
    EXPECT_EQ(client.Read(0x20008, 8), 8192u);
}

TEST_F(ChunkControlTest, SendsTheExtendedChunkPayload) {
    const Block block = Grab();
    EXPECT_EQ(Load<std::uint16_t>(block.Leader().data() + 18), 0x4001);
    ASSERT_EQ(block.Trailer().size(), 36u);
    EXPECT_EQ(Load<std::uint16_t>(block.Trailer().data() + 6), 36);
    EXPECT_EQ(Load<std::uint32_t>(block.Trailer().data() + 28), 64u);
    EXPECT_NE(Load<std::uint32_t>(block.Trailer().data() + 32), 0u);
    EXPECT_EQ(block.ValidBytes(), block.Payload().size());
    EXPECT_EQ(Find(block.Payload(), 0x5A4D0001).size(), 8192u);
}

TEST_F(ChunkControlTest, SaysInItsChunksWhatItDid) {
    ASSERT_EQ(client.Write32(0x103004, 35), 0);
    device.SetInput(0, true);
    const Block block = Grab();
    const Bytes payload = block.Payload();
    const auto value = [&payload](std::uint32_t id) { return Load<std::uint64_t>(Find(payload, id).data()); };
    EXPECT_EQ(value(0x5A4D0002), block.Timestamp());
    EXPECT_EQ(value(0x5A4D0003), 0u);
    EXPECT_EQ(virtualcam::FromFloatBits(value(0x5A4D0004)), 10000.0);
    EXPECT_EQ(virtualcam::FromFloatBits(value(0x5A4D0005)), 3.5);
    EXPECT_EQ(Find(payload, 0x5A4D0007), Hex("01000000"));
}

TEST_F(ChunkControlTest, EndsThePayloadByItsChecksum) {
    const Bytes payload = Grab().Payload();
    EXPECT_EQ(Load<std::uint32_t>(payload.data() + payload.size() - 8), 0x5A4D00FFu);
    const std::uint32_t sum = Load<std::uint32_t>(payload.data() + payload.size() - 12);
    EXPECT_EQ(sum, SlowCrc(payload.data(), payload.size() - 12));
    EXPECT_NE(sum, 0u);
}

TEST_F(ChunkControlTest, ChangesItsLayoutIdWithTheChunks) {
    const Bytes first = Grab().Trailer();
    const Bytes again = stream.Read().Trailer();
    stream.Stop();
    ASSERT_EQ(client.Write32(0x109010 + 4, 0), 0);
    const Bytes other = Grab().Trailer();
    const auto layout = [](const Bytes& trailer) { return Load<std::uint32_t>(trailer.data() + 32); };
    EXPECT_EQ(layout(first), layout(again));
    EXPECT_NE(layout(first), layout(other));
}

TEST_F(ChunkControlTest, AlwaysKeepsTheImage) {
    EXPECT_EQ(client.Write32(0x109010, 0), 0x8002);
    EXPECT_EQ(client.Read(0x109010, 4), 1u);
}

TEST_F(ChunkControlTest, LocksChunksWhileStreaming) {
    Grab();
    EXPECT_EQ(client.Write32(0x109000, 0), 0x8006);
    EXPECT_EQ(client.Write32(0x109014, 0), 0x8006);
}

} // namespace
