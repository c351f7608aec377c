// What a buffer tells of frames that came whole, short, or without their leader.

#include "gentl/stream/Buffer.h"

#include <gtest/gtest.h>

namespace {

using gentl::Answer;

/// 100 lines of 100 pixels of 8 bit, 20 bytes of chunks behind them, in a buffer that is a little larger.
class BufferInfo : public testing::Test {
protected:
    BufferInfo() {
        record.hasData = true;
        record.result.PayloadType = 0x4001;
        record.result.PayloadSize = 10020;
        record.result.PixelFormat = 0x01080001;
        record.result.AnnouncedG1 = record.result.G1 = record.result.G2 = 100;
        record.result.BlockId = 7;
        record.result.Timestamp = 5;
    }
    /// The number, or the code of the refusal.
    std::int64_t Ask(BUFFER_INFO_CMD command) {
        return Number([&](Answer& answer) { gentl::BufferInfo(buffer, record, command, answer); });
    }
    std::int64_t AskPart(BUFFER_PART_INFO_CMD command) {
        return Number([&](Answer& answer) { gentl::BufferPartInfo(buffer, record, 0, command, answer); });
    }
    template<class Question>
    static std::int64_t Number(Question&& question) {
        std::int64_t value = 0;
        size_t size = sizeof value;
        Answer answer(nullptr, &value, &size);
        const GC_ERROR code = gentl::Guarded([&] { question(answer); });
        return code == GC_ERR_SUCCESS ? value : code;
    }

    std::uint8_t memory[1] = {};
    const gentl::Buffer buffer{nullptr, memory, 11000, nullptr};
    gentl::Buffer::Record record;
};

TEST_F(BufferInfo, OfAFrameWithoutLeaderNamesNoNumberAndNoTime) {
    EXPECT_EQ(Ask(BUFFER_INFO_FRAMEID), 7);
    EXPECT_EQ(Ask(BUFFER_INFO_TIMESTAMP), 5);
    record.result.PayloadType = 0;
    record.result.Timestamp = 0;
    EXPECT_EQ(Ask(BUFFER_INFO_FRAMEID), 7) << "the trailer told it";
    record.result.BlockId = ~std::uint64_t(0);
    EXPECT_EQ(Ask(BUFFER_INFO_FRAMEID), GC_ERR_NOT_AVAILABLE);
    EXPECT_EQ(Ask(BUFFER_INFO_TIMESTAMP), GC_ERR_NOT_AVAILABLE);
    EXPECT_EQ(Ask(BUFFER_INFO_TIMESTAMP_NS), GC_ERR_NOT_AVAILABLE);
}

TEST_F(BufferInfo, OfAnUnknownPayloadNamesNoTime) {
    record.result.PayloadType = 5;
    record.result.Timestamp = 0;
    EXPECT_EQ(Ask(BUFFER_INFO_FRAMEID), 7);
    EXPECT_EQ(Ask(BUFFER_INFO_TIMESTAMP_NS), GC_ERR_NOT_AVAILABLE);
}

TEST_F(BufferInfo, OfAShorterFrameTellsWhatWasAnnouncedAndWhatCame) {
    record.result.G1 = 40;
    record.result.PayloadSize = 4020;
    EXPECT_EQ(Ask(BUFFER_INFO_HEIGHT), 100);
    EXPECT_EQ(Ask(BUFFER_INFO_DELIVERED_IMAGEHEIGHT), 40);
    EXPECT_EQ(AskPart(BUFFER_PART_INFO_HEIGHT), 100);
    EXPECT_EQ(AskPart(BUFFER_PART_INFO_DELIVERED_IMAGEHEIGHT), 40);
    EXPECT_EQ(AskPart(BUFFER_PART_INFO_DATA_SIZE), 4000) << "without the chunks";
}

TEST_F(BufferInfo, OfAnIncompleteFrameTellsWhatArrived) {
    record.result.Status = vexlo::VX_E_DATA_DISCARDED;
    record.result.G1 = 0; // as the trailer says
    record.result.PayloadSize = 1050;
    EXPECT_EQ(Ask(BUFFER_INFO_SIZE_FILLED), 1050);
    EXPECT_EQ(Ask(BUFFER_INFO_HEIGHT), 100);
    EXPECT_EQ(Ask(BUFFER_INFO_DELIVERED_IMAGEHEIGHT), 10);
    EXPECT_EQ(AskPart(BUFFER_PART_INFO_DATA_SIZE), 1050);
    EXPECT_EQ(AskPart(BUFFER_PART_INFO_DELIVERED_IMAGEHEIGHT), 10);
}

TEST_F(BufferInfo, OfAnIncompleteFrameOfAFormatWithoutSizeBelievesTheTrailer) {
    record.result.Status = vexlo::VX_E_INCOMPLETE;
    record.result.PixelFormat = 0x81080001;
    record.result.G1 = 33;
    EXPECT_EQ(Ask(BUFFER_INFO_DELIVERED_IMAGEHEIGHT), 33);
    EXPECT_EQ(AskPart(BUFFER_PART_INFO_DATA_SIZE), 10020);
}

} // namespace
