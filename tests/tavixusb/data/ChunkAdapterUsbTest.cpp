#include "chunk/ChunkAdapterUsb.h"

#include "ChunkBuffer.h"
#include "tavixusb/support/Description.h"

#include <GenApi/NodeCallback.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <random>

#include <sys/mman.h>

namespace {

using GenApi::CChunkAdapterUsb;
using support::ChunkBuffer;

bool IsValid(ChunkBuffer& buffer) {
    return CChunkAdapterUsb().CheckBufferLayout(buffer.Data(), buffer.Size());
}

struct ChunkAdapterUsb : testing::Test {
    void Attach(ChunkBuffer& buffer) { adapter.AttachBuffer(buffer.Data(), buffer.Size(), &statistics); }
    std::string Refusal(std::uint8_t* data, std::int64_t size) {
        try {
            adapter.AttachBuffer(data, size);
        } catch (const GenICam::RuntimeException& e) {
            return e.GetDescription();
        }
        return "attached";
    }

    support::DescribedMap map{support::kChunkNodes};
    CChunkAdapterUsb adapter{map.Get()};
    GenApi::AttachStatistics_t statistics{9, 9, 9};
};

TEST(ChunkLayout, RefusesSevenBytes) {
    ChunkBuffer buffer;
    buffer.Bytes({0, 0, 0, 0, 0, 0, 0});
    EXPECT_FALSE(IsValid(buffer));
}

TEST(ChunkLayout, RefusesEightBytes) {
    ChunkBuffer buffer;
    buffer.Chunk(1, {});
    EXPECT_FALSE(IsValid(buffer));
}

TEST(ChunkLayout, RefusesAnEmptyBuffer) {
    std::uint8_t byte = 0;
    EXPECT_FALSE(CChunkAdapterUsb().CheckBufferLayout(&byte, 0));
}

TEST(ChunkLayout, RefusesWhatIsNoBuffer) {
    EXPECT_FALSE(CChunkAdapterUsb().CheckBufferLayout(nullptr, 100));
    std::uint8_t byte = 0;
    EXPECT_FALSE(CChunkAdapterUsb().CheckBufferLayout(&byte, -1));
}

TEST(ChunkLayout, AcceptsOneChunkOfOneByte) {
    ChunkBuffer buffer;
    buffer.Chunk(1, {7});
    EXPECT_TRUE(IsValid(buffer));
}

TEST(ChunkLayout, AcceptsAnEmptyChunkBehindAnother) {
    ChunkBuffer buffer;
    buffer.Chunk(1, {7}).Chunk(2, {}).Chunk(3, {1, 2});
    EXPECT_TRUE(IsValid(buffer));
}

TEST(ChunkLayout, RefusesAnEmptyChunkInFront) {
    ChunkBuffer buffer;
    buffer.Chunk(2, {}).Chunk(1, {7});
    EXPECT_FALSE(IsValid(buffer));
}

TEST(ChunkLayout, RefusesALengthThatReachesBeforeTheBuffer) {
    ChunkBuffer buffer;
    buffer.Bytes({1, 2, 3}).Word(1).Word(4);
    EXPECT_FALSE(IsValid(buffer));
}

TEST(ChunkLayout, RefusesBytesInFrontOfTheFirstChunk) {
    ChunkBuffer buffer;
    buffer.Bytes({1}).Chunk(1, {7});
    EXPECT_FALSE(IsValid(buffer));
}

TEST(ChunkLayout, RefusesALengthWhoseStepIsNothing) {
    ChunkBuffer buffer;
    buffer.Bytes({1, 2, 3, 4}).Word(1).Word(0xFFFFFFF8);
    EXPECT_FALSE(IsValid(buffer));
}

TEST(ChunkLayout, StepsBackByTheWrappedSum) {
    // A length of 0xFFFFFFFC steps back by four bytes, onto a chunk of one byte that fills the rest.
    ChunkBuffer buffer;
    buffer.Bytes({1}).Word(2).Bytes({1, 0, 0, 0}).Bytes({0xFC, 0xFF, 0xFF, 0xFF});
    EXPECT_TRUE(IsValid(buffer));
}

class WrappedLength : public testing::TestWithParam<std::uint32_t> {};

TEST_P(WrappedLength, EndsAndReadsNothingOutside) {
    ChunkBuffer buffer;
    buffer.Bytes({1, 2, 3, 4, 5, 6, 7, 8, 9}).Word(1).Word(GetParam());
    support::DescribedMap map{support::kChunkNodes};
    CChunkAdapterUsb adapter(map.Get());
    if (!adapter.CheckBufferLayout(buffer.Data(), buffer.Size())) return;
    adapter.AttachBuffer(buffer.Data(), buffer.Size());
    EXPECT_EQ(map.Access("ImageByte"), GenApi::NA);
}

INSTANTIATE_TEST_SUITE_P(AllStepsBelowATrailer, WrappedLength,
                         testing::Values(0xFFFFFFF8, 0xFFFFFFF9, 0xFFFFFFFA, 0xFFFFFFFB, 0xFFFFFFFC, 0xFFFFFFFD,
                                         0xFFFFFFFE, 0xFFFFFFFF));

TEST_F(ChunkAdapterUsb, MakesChunksReadableByFeature) {
    ChunkBuffer buffer;
    buffer.Chunk(1, {0x83, 0, 0, 0}).Chunk(0x0A0B0C0D, {0x78, 0x56, 0x34, 0x12});
    Attach(buffer);
    EXPECT_EQ(map.Integer("ImageByte"), 0x83);
    EXPECT_EQ(map.Integer("Counter"), 0x12345678);
}

TEST_F(ChunkAdapterUsb, CountsPortsChunksAndAttachments) {
    ChunkBuffer buffer;
    buffer.Chunk(1, {1}).Chunk(0x99, {2}).Chunk(0x0A0B0C0D, {1, 2, 3, 4});
    Attach(buffer);
    EXPECT_EQ(statistics.NumChunkPorts, 3u);
    EXPECT_EQ(statistics.NumChunks, 3u);
    EXPECT_EQ(statistics.NumAttachedChunks, 2u);
}

TEST_F(ChunkAdapterUsb, CountsWhileItWalks) {
    const auto handle = GenApi::Register(map->GetNode("ImageByte"), [](GenApi::INode*) { throw 1; });
    ChunkBuffer buffer;
    buffer.Chunk(1, {1}).Chunk(0x0A0B0C0D, {1, 2, 3, 4}).Chunk(0x99, {2});
    EXPECT_THROW(Attach(buffer), int);
    EXPECT_EQ(statistics.NumChunkPorts, 3u);
    EXPECT_EQ(statistics.NumChunks, 2u);
    EXPECT_EQ(statistics.NumAttachedChunks, 1u);
    GenApi::Deregister(handle);
}

TEST_F(ChunkAdapterUsb, LeavesTheStatisticsOfARefusedBufferAlone) {
    std::uint8_t bad[9] = {};
    EXPECT_THROW(adapter.AttachBuffer(bad, sizeof bad, &statistics), GenICam::RuntimeException);
    EXPECT_THROW(adapter.AttachBuffer(nullptr, 9, &statistics), GenICam::RuntimeException);
    EXPECT_EQ(statistics.NumChunkPorts, 9u);
    EXPECT_EQ(statistics.NumChunks, 9u);
}

TEST_F(ChunkAdapterUsb, ComparesAllFourBytesOfTheId) {
    for (const std::uint32_t id : {0x0A0B0C0Eu, 0x0A0B0D0Du, 0x0A0C0C0Du, 0x0B0B0C0Du, 0x0D0C0B0Au}) {
        ChunkBuffer buffer;
        buffer.Chunk(id, {1, 2, 3, 4});
        Attach(buffer);
        EXPECT_EQ(statistics.NumAttachedChunks, 0u) << std::hex << id;
        EXPECT_EQ(map.Access("Counter"), GenApi::NA);
    }
}

TEST_F(ChunkAdapterUsb, WorksWithoutStatistics) {
    ChunkBuffer buffer;
    buffer.Chunk(1, {5});
    adapter.AttachBuffer(buffer.Data(), buffer.Size());
    EXPECT_EQ(map.Integer("ImageByte"), 5);
}

TEST_F(ChunkAdapterUsb, OfTwoChunksWithOneIdReadsTheOneNearerTheStart) {
    ChunkBuffer buffer;
    buffer.Chunk(1, {11}).Chunk(1, {22});
    Attach(buffer);
    EXPECT_EQ(map.Integer("ImageByte"), 11);
    EXPECT_EQ(statistics.NumAttachedChunks, 2u);
}

TEST_F(ChunkAdapterUsb, DetachesPortsWhoseChunkIsMissing) {
    ChunkBuffer first, second;
    first.Chunk(1, {1}).Chunk(0x0A0B0C0D, {1, 0, 0, 0});
    second.Chunk(1, {2});
    Attach(first);
    Attach(second);
    EXPECT_EQ(map.Integer("ImageByte"), 2);
    EXPECT_EQ(map.Access("Counter"), GenApi::NA);
    EXPECT_THROW(map.Integer("Counter"), GenICam::AccessException);
}

TEST_F(ChunkAdapterUsb, AttachesOneChunkToSeveralPorts) {
    support::DescribedMap twins(R"(
        <Port Name="A"><ChunkID>05</ChunkID></Port><Port Name="B"><ChunkID>00000005</ChunkID></Port>
        <IntReg Name="OfA"><Address>0</Address><Length>1</Length><AccessMode>RO</AccessMode><pPort>A</pPort></IntReg>
        <IntReg Name="OfB"><Address>1</Address><Length>1</Length><AccessMode>RO</AccessMode><pPort>B</pPort></IntReg>)");
    CChunkAdapterUsb both(twins.Get());
    ChunkBuffer buffer;
    buffer.Chunk(5, {7, 8});
    both.AttachBuffer(buffer.Data(), buffer.Size(), &statistics);
    EXPECT_EQ(twins.Integer("OfA"), 7);
    EXPECT_EQ(twins.Integer("OfB"), 8);
    EXPECT_EQ(statistics.NumAttachedChunks, 2u);
}

TEST_F(ChunkAdapterUsb, RefusesANullBuffer) {
    EXPECT_EQ(Refusal(nullptr, 20), "Invalid buffer attached to chunk parser!");
}

TEST_F(ChunkAdapterUsb, RefusesABadLayoutAndLeavesEveryPortAsItWas) {
    ChunkBuffer good, bad;
    good.Chunk(1, {42});
    bad.Bytes({0, 0, 0}).Word(1).Word(400);
    Attach(good);
    EXPECT_EQ(Refusal(bad.Data(), bad.Size()), "Invalid layout of buffer attached to chunk parser!");
    EXPECT_EQ(map.Integer("ImageByte"), 42);
}

TEST_F(ChunkAdapterUsb, AsksTheVirtualLayoutCheck) {
    struct Strict : CChunkAdapterUsb {
        using CChunkAdapterUsb::CChunkAdapterUsb;
        bool CheckBufferLayout(uint8_t*, int64_t) override { return false; }
    } strict(map.Get());
    ChunkBuffer buffer;
    buffer.Chunk(1, {1});
    EXPECT_THROW(strict.AttachBuffer(buffer.Data(), buffer.Size()), GenICam::RuntimeException);
}

TEST_F(ChunkAdapterUsb, NamesItsSourceFile) {
    try {
        adapter.AttachBuffer(nullptr, 0);
        FAIL() << "a null buffer was attached";
    } catch (const GenICam::RuntimeException& e) {
        EXPECT_STREQ(e.GetSourceFileName(), "ChunkAdapterUsb.cpp");
        EXPECT_GT(e.GetSourceLine(), 0u);
    }
}

TEST_F(ChunkAdapterUsb, ReadsNothingInFrontOfABufferThatADerivedCheckLetsPass) {
    struct Lenient : CChunkAdapterUsb {
        using CChunkAdapterUsb::CChunkAdapterUsb;
        bool CheckBufferLayout(uint8_t*, int64_t) override { return true; }
    } lenient(map.Get());
    for (std::int64_t size = 0; size < 40; ++size) {
        for (const std::uint32_t length : {0u, 1u, 5u, 400u, 0xFFFFFFF8u, 0xFFFFFFFFu}) {
            // Exactly as long as it says, so that the address sanitizer sees a read in front of it.
            std::unique_ptr<std::uint8_t[]> bytes(new std::uint8_t[static_cast<std::size_t>(size) + 1]());
            if (size >= 4) std::memcpy(&bytes[static_cast<std::size_t>(size) - 4], &length, 4);
            EXPECT_NO_THROW(lenient.AttachBuffer(bytes.get(), size, &statistics)) << size << " " << length;
        }
    }
    adapter.DetachBuffer();
    lenient.DetachBuffer();
}

TEST_F(ChunkAdapterUsb, CountsAnEmptyChunkInFrontThatADerivedCheckLetsPass) {
    struct LetsPass : CChunkAdapterUsb {
        using CChunkAdapterUsb::CChunkAdapterUsb;
        bool CheckBufferLayout(uint8_t*, int64_t) override { return true; }
    } letsPass(map.Get());
    ChunkBuffer empty;
    empty.Chunk(5, {});
    letsPass.AttachBuffer(empty.Data(), empty.Size(), &statistics);
    EXPECT_EQ(statistics.NumChunks, 1u);
    letsPass.DetachBuffer();
}

/// What is copied does not change any more when the buffer does.
bool Copies(std::int64_t maxChunkCacheSize) {
    support::DescribedMap cached(R"(<Port Name="P"><ChunkID>05</ChunkID><CacheChunkData>Yes</CacheChunkData></Port>
        <IntReg Name="Value"><Address>0</Address><Length>1</Length><AccessMode>RO</AccessMode><pPort>P</pPort>
          <Cachable>NoCache</Cachable></IntReg>)");
    CChunkAdapterUsb adapter(cached.Get(), maxChunkCacheSize);
    ChunkBuffer buffer;
    buffer.Chunk(5, {1, 2, 3, 4});
    adapter.AttachBuffer(buffer.Data(), buffer.Size());
    buffer.Data()[0] = 99;
    const std::int64_t read = cached.Integer("Value");
    EXPECT_TRUE(read == 1 || read == 99);
    return read == 1;
}

TEST(ChunkCache, TakesChunksUpToItsSizeAndEveryChunkWithoutOne) {
    EXPECT_TRUE(Copies(-1));
    EXPECT_FALSE(Copies(0));
    EXPECT_FALSE(Copies(3));
    EXPECT_TRUE(Copies(4));
    EXPECT_TRUE(Copies(5));
    EXPECT_FALSE(Copies(-2));
}

TEST_F(ChunkAdapterUsb, AttachesAnEmptyChunk) {
    ChunkBuffer buffer;
    buffer.Chunk(0x99, {1}).Chunk(1, {});
    Attach(buffer);
    EXPECT_EQ(statistics.NumChunks, 2u);
    EXPECT_EQ(statistics.NumAttachedChunks, 1u);
    EXPECT_THROW(map.Integer("ImageByte"), GenICam::OutOfRangeException);
}

TEST_F(ChunkAdapterUsb, CountsAChunkOfAWrappedLengthAndAttachesItNowhere) {
    ChunkBuffer buffer;
    buffer.Bytes({1}).Word(1).Bytes({1, 0, 0, 0}).Bytes({0xFC, 0xFF, 0xFF, 0xFF}); // as in StepsBackByTheWrappedSum
    Attach(buffer);
    EXPECT_EQ(statistics.NumChunks, 2u);
    EXPECT_EQ(statistics.NumAttachedChunks, 1u);
    EXPECT_EQ(map.Integer("ImageByte"), 1);
}

/// The rule of the layout as it reads, with pointers.
bool IsLayout(const std::uint8_t* start, const std::uint8_t* end) {
    if (end - start < 8) return false;
    while (true) {
        if (start >= end - 8) return false;
        const std::uint32_t length = end[-4] | end[-3] << 8 | end[-2] << 16 | std::uint32_t(end[-1]) << 24;
        const std::uint32_t step = length + 8;
        if (step > static_cast<std::uint32_t>(end - start) || step == 0) return false;
        end -= step;
        if (end <= start) return end == start;
    }
}

TEST(ChunkLayout, IsJudgedAsTheRuleReads) {
    std::mt19937 random(3);
    int valid = 0;
    for (int round = 0; round < 200000; ++round) {
        std::vector<std::uint8_t> bytes(random() % 48);
        for (auto& byte : bytes) {
            // Mostly bytes of short and of wrapped lengths.
            const unsigned int kind = random() % 8;
            byte = kind < 5 ? 0 : kind == 5 ? 0xFF : static_cast<std::uint8_t>(random() % 32 + (kind == 6 ? 0 : 0xF0));
        }
        const bool expected = IsLayout(bytes.data(), bytes.data() + bytes.size());
        ASSERT_EQ(CChunkAdapterUsb().CheckBufferLayout(bytes.data(), std::int64_t(bytes.size())), expected) << round;
        valid += expected;
    }
    EXPECT_GT(valid, 100) << "hardly anything was valid";
}

TEST(ChunkLayout, TakesTheRemainingSizeTo32Bits) {
    // Address space only; nothing but the last page is touched.
    const std::size_t size = (std::size_t(1) << 32) + 16;
    void* const memory =
        mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED) GTEST_SKIP() << "no address space";
    auto* const bytes = static_cast<std::uint8_t*>(memory);
    bytes[size - 4] = 9; // a step of 17 fits the buffer, but not its size's low 32 bits
    EXPECT_FALSE(CChunkAdapterUsb().CheckBufferLayout(bytes, std::int64_t(size)));
    munmap(memory, size);
}

} // namespace
