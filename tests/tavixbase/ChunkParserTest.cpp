#include "tavix/ChunkParser.h"

#include "tavixbase/support/Expect.h"

#include <GenApi/ChunkAdapter.h>

#include <vector>

namespace Tavix {
namespace {

// Refuses what it is told to, and counts its own end. Bound to a thread.
class FakeAdapter final : public GenApi::CChunkAdapter {
public:
    explicit FakeAdapter(int& destroyed) : m_Destroyed(destroyed) {}
    ~FakeAdapter() override { ++m_Destroyed; }
    bool CheckBufferLayout(uint8_t*, int64_t length) override { return length != 0; }
    void AttachBuffer(uint8_t* pBuffer, int64_t length, GenApi::AttachStatistics_t* pStatistics) override {
        if (!CheckBufferLayout(pBuffer, length))
            throw RUNTIME_EXCEPTION("Invalid layout of buffer attached to chunk parser!");
        buffer = pBuffer;
        if (pStatistics) *pStatistics = {3, 2, 1};
    }
    uint8_t* buffer = nullptr;

private:
    int& m_Destroyed;
};

class Parser final : public CChunkParser {
public:
    explicit Parser(GenApi::CChunkAdapter* pAdapter) : CChunkParser(pAdapter) {}
    using CChunkParser::GetBuffer;
    using CChunkParser::GetBufferLength;
    using CChunkParser::IsBufferAttached;
};

class ChunkParser : public testing::Test {
protected:
    int destroyed = 0;
    FakeAdapter* const pAdapter = new FakeAdapter(destroyed);
    std::unique_ptr<Parser> parser = std::make_unique<Parser>(pAdapter);
    const std::vector<std::uint8_t> buffer = std::vector<std::uint8_t>(16);
    const std::vector<std::uint8_t> other = std::vector<std::uint8_t>(16);
};

} // namespace

TEST_F(ChunkParser, OwnsItsAdapter) {
    parser.reset();
    EXPECT_EQ(destroyed, 1);
}

TEST_F(ChunkParser, NeedsAnAdapter) {
    EXPECT_THROW(Parser(nullptr), GenICam::InvalidArgumentException);
}

TEST_F(ChunkParser, HandsBufferAndStatisticsToTheAdapter) {
    GenApi::AttachStatistics_t statistics = {};
    parser->AttachBuffer(buffer.data(), 16, &statistics);
    EXPECT_EQ(pAdapter->buffer, buffer.data());
    EXPECT_EQ(statistics.NumChunks, 2U);
    EXPECT_TRUE(parser->IsBufferAttached());
    EXPECT_EQ(parser->GetBuffer(), buffer.data());
    EXPECT_EQ(parser->GetBufferLength(), 16);
}

TEST_F(ChunkParser, StaysAttachedToTheOldBufferWhenANewOneIsRefused) {
    EXPECT_THROW(parser->AttachBuffer(other.data(), 0), GenICam::RuntimeException);
    EXPECT_FALSE(parser->IsBufferAttached());
    parser->AttachBuffer(buffer.data(), 16);
    EXPECT_THROW(parser->AttachBuffer(other.data(), 0), GenICam::RuntimeException);
    EXPECT_TRUE(parser->IsBufferAttached());
    EXPECT_EQ(parser->GetBuffer(), buffer.data());
}

TEST_F(ChunkParser, ForgetsADetachedBuffer) {
    parser->AttachBuffer(buffer.data(), 16);
    parser->DetachBuffer();
    EXPECT_FALSE(parser->IsBufferAttached());
    EXPECT_EQ(parser->GetBuffer(), nullptr);
    EXPECT_EQ(parser->GetBufferLength(), 0);
    parser->DetachBuffer();
}

TEST_F(ChunkParser, FollowsABufferThatMoves) {
    parser->AttachBuffer(buffer.data(), 16);
    parser->UpdateBuffer(other.data());
    EXPECT_EQ(parser->GetBuffer(), other.data());
    EXPECT_EQ(parser->GetBufferLength(), 16);
    EXPECT_THROW(parser->UpdateBuffer(nullptr), GenICam::InvalidArgumentException);
}

TEST_F(ChunkParser, NeedsABufferForEverythingElse) {
    EXPECT_THROW_TEXT(LogicalErrorException, parser->UpdateBuffer(buffer.data()), "No buffer attached.");
    EXPECT_THROW_TEXT(LogicalErrorException, (void)parser->HasCRC(), "No buffer attached.");
    EXPECT_THROW_TEXT(LogicalErrorException, parser->CheckCRC(), "No buffer attached.");
}

TEST_F(ChunkParser, HasNoChecksumOfItsOwn) {
    parser->AttachBuffer(buffer.data(), 16);
    EXPECT_FALSE(parser->HasCRC());
    EXPECT_THROW_TEXT(LogicalErrorException, parser->CheckCRC(), "CRC data is not available.");
}

} // namespace Tavix
