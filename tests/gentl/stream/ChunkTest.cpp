// Chunks as they lie in a buffer, whole and broken.

#include "gentl/stream/Buffer.h"

#include <gtest/gtest.h>

#include <initializer_list>

namespace {

class Chunks : public testing::Test {
protected:
    void Add(std::uint32_t id, std::uint32_t length) {
        bytes.resize(bytes.size() + length, 0xAB);
        Word(id);
        Word(length);
    }
    void Word(std::uint32_t value) {
        for (int shift = 0; shift < 32; shift += 8)
            bytes.push_back(static_cast<std::uint8_t>(value >> shift));
    }
    std::vector<SINGLE_CHUNK_DATA> Parse() {
        gentl::Contents contents{};
        contents.record.hasData = true;
        contents.record.result.PayloadType = 0x4001;
        contents.record.result.PayloadSize = bytes.size();
        contents.data = bytes.data();
        contents.size = bytes.size();
        return gentl::ChunksOf(contents);
    }
    GC_ERROR Code() {
        return gentl::Guarded([&] { (void)Parse(); });
    }

    std::vector<std::uint8_t> bytes;
};

TEST_F(Chunks, AreToldInTheOrderInWhichTheyLie) {
    Add(0x11, 100);
    Add(0x22, 0);
    Add(0x33, 4);
    const auto chunks = Parse();
    ASSERT_EQ(chunks.size(), 3U);
    EXPECT_EQ(chunks[0].ChunkID, 0x11U);
    EXPECT_EQ(chunks[0].ChunkOffset, 0);
    EXPECT_EQ(chunks[0].ChunkLength, 100U);
    EXPECT_EQ(chunks[1].ChunkOffset, 108);
    EXPECT_EQ(chunks[1].ChunkLength, 0U);
    EXPECT_EQ(chunks[2].ChunkOffset, 116);
}

TEST_F(Chunks, OfABlockWithoutBytesAreNone) {
    EXPECT_TRUE(Parse().empty());
}

TEST_F(Chunks, WhoseLengthIsMoreThanIsThereAreBroken) {
    Add(0x11, 4);
    for (const std::uint32_t length : {5U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        bytes.resize(8);
        Word(length);
        EXPECT_EQ(Code(), GC_ERR_PARSING_CHUNK_DATA) << length;
    }
}

TEST_F(Chunks, OfWhichABeginningIsLeftAreBroken) {
    Add(0x11, 4);
    bytes.insert(bytes.begin(), 7, 0);
    EXPECT_EQ(Code(), GC_ERR_PARSING_CHUNK_DATA);
}

TEST_F(Chunks, AreNoMoreThanTheStreamSays) {
    for (std::size_t i = 0; i < gentl::kMostChunks; ++i)
        Add(1, 0);
    EXPECT_EQ(Parse().size(), gentl::kMostChunks);
    Add(1, 0);
    EXPECT_EQ(Code(), GC_ERR_PARSING_CHUNK_DATA) << "as a black image without chunks looks";
}

} // namespace
