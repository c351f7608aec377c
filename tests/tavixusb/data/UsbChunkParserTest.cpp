#include "chunk/UsbChunkParser.h"
#include "chunk/SelfReliantUsbChunkParser.h"

#include "ChunkBuffer.h"
#include "tavixusb/support/Description.h"
#include "u3v/Crc16.h"

#include <boost/make_shared.hpp>
#include <boost/weak_ptr.hpp>
#include <gtest/gtest.h>

#include <GenApi/NodeCallback.h>

#include <cstring>
#include <stdexcept>

namespace {

using support::ChunkBuffer;
using Tavix::CUsbChunkParser;

/// A payload whose last chunk is its checksum.
ChunkBuffer Checked() {
    ChunkBuffer buffer;
    buffer.Chunk(1, {1, 2, 3, 4, 5, 6, 7, 8});
    const std::uint16_t crc = u3v::Crc16ByteTable(buffer.Data(), static_cast<std::size_t>(buffer.Size()));
    buffer.Word(crc).Word(0xC1).Word(4);
    return buffer;
}

template<class Call>
std::string LogicalError(Call call) {
    try {
        call();
    } catch (const GenICam::LogicalErrorException& e) {
        return e.GetDescription();
    }
    return "no error";
}

struct UsbChunkParser : testing::Test {
    support::DescribedMap map{support::kChunkNodes};
    CUsbChunkParser parser{map.Get()};
};

TEST_F(UsbChunkParser, FindsTheChecksumRight) {
    ChunkBuffer buffer = Checked();
    parser.AttachBuffer(buffer.Data(), buffer.Size());
    EXPECT_TRUE(parser.HasCRC());
    EXPECT_TRUE(parser.CheckCRC());
}

TEST_F(UsbChunkParser, FindsTheChecksumOfNothingRight) {
    for (const std::uint32_t crc : {0u, 1u}) {
        ChunkBuffer buffer;
        buffer.Word(crc).Word(0xC1).Word(4);
        parser.AttachBuffer(buffer.Data(), buffer.Size());
        EXPECT_EQ(crc == 0, parser.CheckCRC());
    }
}

/// A callback of a chunk feature that throws.
struct UsbChunkParserWithThrowingCallback : UsbChunkParser {
    UsbChunkParserWithThrowingCallback() {
        parser.AttachBuffer(first.Data(), first.Size());
        handle =
            GenApi::Register(map->GetNode("ImageByte"), [](GenApi::INode*) { throw std::runtime_error("not now"); });
    }
    void ExpectNothingAttached() {
        for (const char* name : {"ImageByte", "Counter", "ChunkPayloadCRC16"})
            EXPECT_EQ(map.Access(name), GenApi::NA) << name;
        EXPECT_EQ(LogicalError([&] { parser.HasCRC(); }), "No buffer attached.");
        GenApi::Deregister(handle);
        parser.AttachBuffer(second.Data(), second.Size());
        EXPECT_TRUE(parser.CheckCRC());
    }
    ChunkBuffer first = Checked(), second = Checked();
    GenApi::CallbackHandleType handle;
};

TEST_F(UsbChunkParserWithThrowingCallback, HasNoBufferAfterAnAttachmentThatFailed) {
    EXPECT_THROW(parser.AttachBuffer(second.Data(), second.Size()), std::runtime_error);
    ExpectNothingAttached();
}

TEST_F(UsbChunkParserWithThrowingCallback, HasNoBufferAfterAnUpdateThatFailed) {
    EXPECT_THROW(parser.UpdateBuffer(second.Data()), std::runtime_error);
    ExpectNothingAttached();
}

TEST_F(UsbChunkParserWithThrowingCallback, HasNoBufferAfterADetachmentThatFailed) {
    EXPECT_THROW(parser.DetachBuffer(), std::runtime_error);
    ExpectNothingAttached();
}

TEST_F(UsbChunkParserWithThrowingCallback, KeepsItsBufferWhenItRefusesAnother) {
    EXPECT_THROW(parser.AttachBuffer(second.Data(), second.Size() - 1), GenICam::RuntimeException);
    EXPECT_THROW(parser.AttachBuffer(nullptr, 12), GenICam::RuntimeException);
    EXPECT_TRUE(parser.CheckCRC());
    GenApi::Deregister(handle);
}

TEST_F(UsbChunkParser, FindsAnyChangedByteInFrontOfTheChecksum) {
    ChunkBuffer buffer = Checked();
    for (std::int64_t i = 0; i < 8; ++i) {
        buffer.Data()[i] ^= 0x10;
        parser.AttachBuffer(buffer.Data(), buffer.Size());
        EXPECT_FALSE(parser.CheckCRC()) << i;
        buffer.Data()[i] ^= 0x10;
    }
}

TEST_F(UsbChunkParser, ComparesTheWholeChecksumValue) {
    ChunkBuffer buffer = Checked();
    buffer.Data()[buffer.Size() - 12 + 2] = 1; // third byte of the four: above the sixteen bits
    parser.AttachBuffer(buffer.Data(), buffer.Size());
    EXPECT_FALSE(parser.CheckCRC());
}

TEST_F(UsbChunkParser, HasNoChecksumWithoutItsChunk) {
    ChunkBuffer buffer;
    buffer.Chunk(1, {1, 2, 3, 4});
    parser.AttachBuffer(buffer.Data(), buffer.Size());
    EXPECT_FALSE(parser.HasCRC());
    EXPECT_EQ(LogicalError([&] { parser.CheckCRC(); }), "CRC data is not available.");
}

TEST_F(UsbChunkParser, HasNoChecksumWithoutItsFeature) {
    support::DescribedMap bare(R"(<Port Name="P"><ChunkID>01</ChunkID></Port>)");
    CUsbChunkParser other(bare.Get());
    ChunkBuffer buffer = Checked();
    other.AttachBuffer(buffer.Data(), buffer.Size());
    EXPECT_FALSE(other.HasCRC());
}

TEST_F(UsbChunkParser, HasNoChecksumWithoutANodeMap) {
    CUsbChunkParser other(nullptr);
    ChunkBuffer buffer = Checked();
    other.AttachBuffer(buffer.Data(), buffer.Size());
    EXPECT_FALSE(other.HasCRC());
}

TEST_F(UsbChunkParser, RefusesChecksumQuestionsWithoutABuffer) {
    EXPECT_EQ(LogicalError([&] { (void)parser.HasCRC(); }), "No buffer attached.");
    EXPECT_EQ(LogicalError([&] { parser.CheckCRC(); }), "No buffer attached.");
}

TEST_F(UsbChunkParser, RefusesChecksumQuestionsAfterDetaching) {
    ChunkBuffer buffer = Checked();
    parser.AttachBuffer(buffer.Data(), buffer.Size());
    parser.DetachBuffer();
    EXPECT_EQ(LogicalError([&] { (void)parser.HasCRC(); }), "No buffer attached.");
    EXPECT_EQ(map.Access("ImageByte"), GenApi::NA);
}

TEST_F(UsbChunkParser, SpeaksOfARangeWhenTheBufferIsTooShort) {
    // The checksum's feature reads from another chunk here, so that so short a buffer has one.
    support::DescribedMap odd(R"(<Port Name="P"><ChunkID>01</ChunkID></Port>
        <IntReg Name="ChunkPayloadCRC16"><Address>0</Address><Length>1</Length><AccessMode>RO</AccessMode><pPort>P</pPort></IntReg>)");
    CUsbChunkParser other(odd.Get());
    ChunkBuffer buffer;
    buffer.Chunk(1, {1, 2, 3});
    other.AttachBuffer(buffer.Data(), buffer.Size());
    EXPECT_EQ(LogicalError([&] { other.CheckCRC(); }), "Buffer length 1164d exceeds range of unsigned long"); // sic
}

TEST_F(UsbChunkParser, ChecksABufferThatIsNothingButItsChecksum) {
    ChunkBuffer right, wrong;
    right.Word(0).Word(0xC1).Word(4);
    wrong.Word(1).Word(0xC1).Word(4);
    parser.AttachBuffer(right.Data(), right.Size());
    EXPECT_TRUE(parser.CheckCRC()) << "nothing sums up to 0";
    parser.AttachBuffer(wrong.Data(), wrong.Size());
    EXPECT_FALSE(parser.CheckCRC());
}

TEST_F(UsbChunkParser, ChecksBytesThatWereSummedUpByHand) {
    // "123456789" and the trailer of a chunk of that size: 0x31C3 goes on over the eight trailer bytes.
    std::uint32_t crc = 0;
    ChunkBuffer buffer;
    buffer.Chunk(1, {'1', '2', '3', '4', '5', '6', '7', '8', '9'});
    for (std::int64_t i = 0; i < buffer.Size(); ++i) {
        crc ^= std::uint32_t(buffer.Data()[i]) << 8;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 0x8000 ? crc << 1 ^ 0x1021 : crc << 1) & 0xFFFF;
    }
    buffer.Word(crc).Word(0xC1).Word(4);
    parser.AttachBuffer(buffer.Data(), buffer.Size());
    EXPECT_TRUE(parser.CheckCRC());
    EXPECT_EQ(parser.CRC16(buffer.Data(), 17), crc);
    EXPECT_EQ(parser.CRC16(buffer.Data(), 0), 0u);
}

TEST_F(UsbChunkParser, AsksItsVirtualHasCRC) {
    struct Without : CUsbChunkParser {
        using CUsbChunkParser::CUsbChunkParser;
        bool HasCRC() const override { return false; }
    } without(map.Get());
    ChunkBuffer buffer = Checked();
    without.AttachBuffer(buffer.Data(), buffer.Size());
    EXPECT_EQ(LogicalError([&] { without.CheckCRC(); }), "CRC data is not available.");
}

TEST_F(UsbChunkParser, FollowsABufferThatMoved) {
    ChunkBuffer buffer = Checked(), moved = Checked();
    parser.AttachBuffer(buffer.Data(), buffer.Size());
    std::memset(buffer.Data(), 0, static_cast<std::size_t>(buffer.Size()));
    parser.UpdateBuffer(moved.Data());
    EXPECT_EQ(map.Integer("ImageByte"), 1);
    EXPECT_TRUE(parser.CheckCRC());
}

TEST_F(UsbChunkParser, RebindsWhenAttachedAgain) {
    ChunkBuffer first = Checked(), second;
    second.Chunk(1, {99});
    parser.AttachBuffer(first.Data(), first.Size());
    parser.AttachBuffer(second.Data(), second.Size());
    EXPECT_EQ(map.Integer("ImageByte"), 99);
    EXPECT_FALSE(parser.HasCRC());
}

TEST_F(UsbChunkParser, AsksForTheChecksumBeforeTheLength) {
    ChunkBuffer buffer;
    buffer.Chunk(1, {1});
    parser.AttachBuffer(buffer.Data(), buffer.Size());
    EXPECT_EQ(LogicalError([&] { parser.CheckCRC(); }), "CRC data is not available.");
}

TEST_F(UsbChunkParser, WantsAnIntegerForItsChecksum) {
    support::DescribedMap odd(R"(<Port Name="P"><ChunkID>C1</ChunkID></Port>
        <Float Name="ChunkPayloadCRC16"><Value>1</Value></Float>)");
    CUsbChunkParser other(odd.Get());
    ChunkBuffer buffer = Checked();
    other.AttachBuffer(buffer.Data(), buffer.Size());
    EXPECT_FALSE(other.HasCRC());
}

struct ChecksumAccess : testing::TestWithParam<std::pair<const char*, bool>> {};

TEST_P(ChecksumAccess, DecidesWhetherThereIsAChecksum) {
    support::DescribedMap odd("<Integer Name=\"Availability\"><Value>1</Value></Integer><Port Name=\"P\">"
                              "<ChunkID>C1</ChunkID></Port>" +
                              std::string(GetParam().first));
    CUsbChunkParser other(odd.Get());
    ChunkBuffer buffer = Checked();
    other.AttachBuffer(buffer.Data(), buffer.Size());
    EXPECT_EQ(other.HasCRC(), GetParam().second);
}

constexpr char kWriteOnly[] = "<IntReg Name=\"ChunkPayloadCRC16\"><Address>0</Address><Length>4</Length>"
                              "<AccessMode>WO</AccessMode><pPort>P</pPort></IntReg>";
constexpr char kReadWrite[] = "<IntReg Name=\"ChunkPayloadCRC16\"><Address>0</Address><Length>4</Length>"
                              "<AccessMode>RW</AccessMode><pPort>P</pPort></IntReg>";
constexpr char kReadOnly[] = "<IntReg Name=\"ChunkPayloadCRC16\"><Address>0</Address><Length>4</Length>"
                             "<AccessMode>RO</AccessMode><pPort>P</pPort></IntReg>";
constexpr char kNotImplemented[] = "<Integer Name=\"None\"><Value>0</Value></Integer>"
                                   "<IntReg Name=\"ChunkPayloadCRC16\"><pIsImplemented>None</pIsImplemented>"
                                   "<Address>0</Address><Length>4</Length><AccessMode>RO</AccessMode>"
                                   "<pPort>P</pPort></IntReg>";
constexpr char kNotAvailable[] = "<Integer Name=\"None\"><Value>0</Value></Integer>"
                                 "<IntReg Name=\"ChunkPayloadCRC16\"><pIsAvailable>None</pIsAvailable>"
                                 "<Address>0</Address><Length>4</Length><AccessMode>RO</AccessMode>"
                                 "<pPort>P</pPort></IntReg>";

INSTANTIATE_TEST_SUITE_P(EachMode, ChecksumAccess,
                         testing::Values(std::make_pair(kWriteOnly, true), std::make_pair(kReadOnly, true),
                                         std::make_pair(kReadWrite, true), std::make_pair(kNotImplemented, false),
                                         std::make_pair(kNotAvailable, false)));

TEST_F(UsbChunkParser, StaysWithItsBufferWhenAnotherIsRefused) {
    ChunkBuffer buffer = Checked();
    parser.AttachBuffer(buffer.Data(), buffer.Size());
    std::uint8_t bad[9] = {};
    EXPECT_THROW(parser.AttachBuffer(bad, sizeof bad), GenICam::RuntimeException);
    EXPECT_THROW(parser.AttachBuffer(nullptr, 20), GenICam::RuntimeException);
    EXPECT_TRUE(parser.CheckCRC());
}

TEST_F(UsbChunkParser, TellsWhatItAttached) {
    ChunkBuffer buffer = Checked();
    GenApi::AttachStatistics_t statistics = {9, 9, 9};
    static_cast<Tavix::IChunkParser&>(parser).AttachBuffer(buffer.Data(), buffer.Size(), &statistics);
    EXPECT_EQ(statistics.NumChunkPorts, 3u);
    EXPECT_EQ(statistics.NumChunks, 2u);
    EXPECT_EQ(statistics.NumAttachedChunks, 2u);
}

TEST_F(UsbChunkParser, CachesEveryChunkThatMayBeCached) {
    support::DescribedMap cached(R"(<Port Name="P"><ChunkID>01</ChunkID><CacheChunkData>Yes</CacheChunkData></Port>
        <IntReg Name="Value"><Address>0</Address><Length>1</Length><AccessMode>RO</AccessMode><pPort>P</pPort>
          <Cachable>NoCache</Cachable></IntReg>)");
    CUsbChunkParser other(cached.Get());
    ChunkBuffer buffer;
    buffer.Chunk(1, std::vector<std::uint8_t>(100000, 7));
    other.AttachBuffer(buffer.Data(), buffer.Size());
    buffer.Data()[0] = 8;
    EXPECT_EQ(cached.Integer("Value"), 7);
}

TEST_F(UsbChunkParser, ReadsTheChecksumWithoutAnotherLookAtTheBuffer) {
    ChunkBuffer buffer = Checked();
    parser.AttachBuffer(buffer.Data(), buffer.Size());
    EXPECT_TRUE(parser.CheckCRC());
    buffer.Data()[buffer.Size() - 12] ^= 1; // its cached value is allowed
    EXPECT_TRUE(parser.CheckCRC());
}

TEST_F(UsbChunkParser, ComputesTheCheckValue) {
    EXPECT_EQ(parser.CRC16("123456789", 9), 0x31C3u);
}

TEST(SelfReliantUsbChunkParser, KeepsItsNodeMapUntilItIsDestroyed) {
    auto reference = boost::make_shared<GenApi::CNodeMapRef>("Device");
    reference->_LoadXMLFromString(support::Description(support::kChunkNodes).c_str());
    const boost::weak_ptr<GenApi::CNodeMapRef> watched = reference;
    auto* parser = new Tavix::CSelfReliantUsbChunkParser(reference);
    EXPECT_EQ(parser->GetChunkDataNodeMap(), reference->_Ptr);
    reference.reset();
    ChunkBuffer buffer = Checked();
    parser->AttachBuffer(buffer.Data(), buffer.Size());
    EXPECT_TRUE(parser->CheckCRC());
    EXPECT_FALSE(watched.expired());
    parser->Destroy();
    EXPECT_TRUE(watched.expired());
}

} // namespace
