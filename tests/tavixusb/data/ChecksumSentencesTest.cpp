// What the checksum question asks first, reads how, and covers.

#include "chunk/UsbChunkParser.h"

#include "ChunkBuffer.h"
#include "tavixusb/support/Description.h"
#include "u3v/Crc16.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <sys/mman.h>

namespace {

using support::ChunkBuffer;
using Tavix::CUsbChunkParser;

/// A payload whose last chunk is its checksum.
ChunkBuffer Checked(std::uint8_t first) {
    ChunkBuffer buffer;
    buffer.Chunk(1, {first, 2, 3, 4, 5, 6, 7, 8});
    const std::uint16_t crc = u3v::Crc16ByteTable(buffer.Data(), static_cast<std::size_t>(buffer.Size()));
    buffer.Word(crc).Word(0xC1).Word(4);
    return buffer;
}

struct ChecksumSentences : testing::Test {
    support::DescribedMap map{support::kChunkNodes};
    CUsbChunkParser parser{map.Get()};
    ChunkBuffer one = Checked(1), two = Checked(9);
};

TEST_F(ChecksumSentences, HoldForABufferAttachedAfterADetachment) {
    parser.AttachBuffer(one.Data(), one.Size());
    parser.DetachBuffer();
    parser.AttachBuffer(two.Data(), two.Size());
    EXPECT_TRUE(parser.HasCRC());
    EXPECT_TRUE(parser.CheckCRC());
    two.Data()[0] ^= 1;
    EXPECT_FALSE(parser.CheckCRC());
}

/// Says that there is a checksum, whatever is attached.
struct Confident final : CUsbChunkParser {
    using CUsbChunkParser::CUsbChunkParser;
    bool HasCRC() const override { return true; }
};

TEST_F(ChecksumSentences, BeginWithTheBuffer) {
    Confident confident(map.Get());
    try {
        confident.CheckCRC();
        ADD_FAILURE() << "there is no buffer";
    } catch (const GenICam::LogicalErrorException& e) {
        EXPECT_STREQ("No buffer attached.", e.GetDescription());
    }
}

/// A value that verification would refuse: it lies outside of the limits that the description states.
TEST_F(ChecksumSentences, AreSpokenWithoutVerification) {
    support::DescribedMap limited(R"(
        <Port Name="P"><ChunkID>000000C1</ChunkID></Port>
        <Integer Name="ChunkPayloadCRC16"><pValue>Reg</pValue><Min>70000</Min><Max>80000</Max></Integer>
        <IntReg Name="Reg"><Address>0</Address><Length>4</Length><AccessMode>RO</AccessMode><pPort>P</pPort>
          <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>)");
    const GenApi::CIntegerPtr checksum(limited->GetNode("ChunkPayloadCRC16"));
    CUsbChunkParser other(limited.Get());
    other.AttachBuffer(one.Data(), one.Size());
    EXPECT_TRUE(other.CheckCRC());
    EXPECT_THROW(checksum->GetValue(/*Verify=*/true), GenICam::GenericException) << "else this test shows nothing";
}

TEST_F(ChecksumSentences, FollowABufferThatMovedWithoutALookAtItsLayout) {
    parser.AttachBuffer(one.Data(), one.Size());
    two.Data()[two.Size() - 13] = 0xFF; // the length of the first chunk: no layout any more
    parser.UpdateBuffer(two.Data());
    EXPECT_EQ(9, map.Integer("ImageByte"));
    EXPECT_FALSE(parser.CheckCRC());
}

struct Unmap {
    std::size_t size;
    void operator()(void* memory) const { munmap(memory, size); }
};

/// Bytes that cost no memory as long as nobody writes to them.
std::unique_ptr<std::uint8_t, Unmap> Zeros(std::size_t size) {
    void* const memory =
        mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    return {memory == MAP_FAILED ? nullptr : static_cast<std::uint8_t*>(memory), Unmap{size}};
}

constexpr std::size_t kHalf = std::size_t{1} << 31;

TEST_F(ChecksumSentences, CoverMoreThanThirtyTwoBitsCanCount) {
    const std::size_t size = 2 * kHalf + 1;
    const auto memory = Zeros(size);
    if (!memory) GTEST_SKIP() << "no address space";
    memory.get()[size - 1] = 1;
    EXPECT_EQ(0x1021u, parser.CRC16(memory.get(), size)) << "leading zeros count for nothing";
}

} // namespace
