// Frames, byte for byte, and what is told of each.
#include "gentl-consumer/support/Pattern.h"
#include "gentl-consumer/support/Session.h"

#include <gtest/gtest.h>

namespace {

using namespace consumer;

constexpr std::uint64_t kMono8 = 0x01080001;

struct Told {
    Command command;
    INFO_DATATYPE type;
    std::uint64_t value;
};

void ExpectTold(Session& session, BUFFER_HANDLE buffer, const std::vector<Told>& all) {
    for (const Told& told : all) {
        const Answer answer = session.BufferInfo(buffer, told.command);
        EXPECT_EQ(answer.code, GC_ERR_SUCCESS) << told.command;
        EXPECT_EQ(answer.type, told.type) << told.command;
        EXPECT_EQ(answer.Number(), told.value) << told.command;
    }
}

TEST(ConsumerStream, TellsAllOfAPlainImage) {
    Session session;
    session.Write32(kWidth, 48);
    session.Write32(kHeight, 32);
    session.Write32(kOffsetX, 16);
    session.Write32(kOffsetY, 4);
    session.Announce(3);
    session.QueueAll();
    session.Start();
    std::uint64_t lastTime = 0;
    for (std::uint64_t frame = 0; frame < 3; ++frame) {
        const BUFFER_HANDLE buffer = session.Next();
        ASSERT_NE(buffer, nullptr);
        const auto* image = static_cast<const std::uint8_t*>(session.BufferInfo(buffer, BUFFER_INFO_BASE).Pointer());
        const Picture picture{48, 32, 16, 4, frame};
        EXPECT_EQ(picture.FirstDifference(image), 48u * 32u);
        ExpectTold(session, buffer,
                   {{BUFFER_INFO_SIZE, kSizeT, 48 * 32},
                    {BUFFER_INFO_SIZE_FILLED, kSizeT, 48 * 32},
                    {BUFFER_INFO_DATA_SIZE, kSizeT, 48 * 32},
                    {BUFFER_INFO_WIDTH, kSizeT, 48},
                    {BUFFER_INFO_HEIGHT, kSizeT, 32},
                    {BUFFER_INFO_DELIVERED_IMAGEHEIGHT, kSizeT, 32},
                    {BUFFER_INFO_XOFFSET, kSizeT, 16},
                    {BUFFER_INFO_YOFFSET, kSizeT, 4},
                    {BUFFER_INFO_XPADDING, kSizeT, 0},
                    {BUFFER_INFO_YPADDING, kSizeT, 0},
                    {BUFFER_INFO_FRAMEID, kUInt64, frame},
                    {BUFFER_INFO_IMAGEPRESENT, kBool8, 1},
                    {BUFFER_INFO_IMAGEOFFSET, kSizeT, 0},
                    {BUFFER_INFO_PAYLOADTYPE, kSizeT, PAYLOAD_TYPE_IMAGE},
                    {BUFFER_INFO_PIXELFORMAT, kUInt64, kMono8},
                    {BUFFER_INFO_PIXELFORMAT_NAMESPACE, kUInt64, PIXELFORMAT_NAMESPACE_PFNC_32BIT},
                    {BUFFER_INFO_NEW_DATA, kBool8, 1},
                    {BUFFER_INFO_IS_QUEUED, kBool8, 0},
                    {BUFFER_INFO_IS_ACQUIRING, kBool8, 0},
                    {BUFFER_INFO_IS_INCOMPLETE, kBool8, 0},
                    {BUFFER_INFO_DATA_LARGER_THAN_BUFFER, kBool8, 0},
                    {BUFFER_INFO_CONTAINS_CHUNKDATA, kBool8, 0},
                    {BUFFER_INFO_IS_COMPOSITE, kBool8, 0}});
        EXPECT_EQ(session.BufferInfo(buffer, BUFFER_INFO_TLTYPE).Text(), "U3V");
        EXPECT_EQ(session.BufferInfo(buffer, BUFFER_INFO_PIXEL_ENDIANNESS).type, kInt32);
        const std::uint64_t time = session.BufferInfo(buffer, BUFFER_INFO_TIMESTAMP).Number();
        EXPECT_GT(time, lastTime);
        EXPECT_EQ(session.BufferInfo(buffer, BUFFER_INFO_TIMESTAMP_NS).Number(), time) << "ticks are nanoseconds";
        EXPECT_EQ(session.BufferInfo(buffer, BUFFER_INFO_FILENAME).code, GC_ERR_NOT_AVAILABLE);
        lastTime = time;
    }
    session.Stop();
    EXPECT_EQ(session.StreamInfo(STREAM_INFO_NUM_DELIVERED).Number(), 3u);
}

/// The number in a larger picture is black and white, all else is the ramp.
TEST(ConsumerStream, ShowsTheNumberInALargerPicture) {
    Session session(Session::SmallCamera({}, "160x64"));
    session.Announce(1);
    session.QueueAll();
    session.Start();
    const BUFFER_HANDLE buffer = session.Next();
    ASSERT_NE(buffer, nullptr);
    const auto* image = static_cast<const std::uint8_t*>(session.BufferInfo(buffer, BUFFER_INFO_BASE).Pointer());
    const Picture picture{160, 64, 0, 0, 0};
    std::size_t inked = 0;
    for (std::size_t y = 0; y < 64; ++y)
        for (std::size_t x = 0; x < 160; ++x) {
            const std::uint8_t value = image[y * 160 + x];
            const bool box = x >= 10 && x < 10 + 74 && y >= 4 && y < 4 + 18;
            inked += box && value == 255;
            ASSERT_TRUE(box ? value == 0 || value == 255 : value == picture.At(x, y)) << x << " " << y;
        }
    EXPECT_EQ(inked, 6u * 19u * 4u) << "six times the figure 0, of 19 points";
}

TEST(ConsumerStream, StackedBufferInfosAreThoseAskedOneByOne) {
    Session session;
    session.Announce(1);
    session.QueueAll();
    session.Start();
    const BUFFER_HANDLE buffer = session.Next();
    ASSERT_NE(buffer, nullptr);
    std::size_t width = 0;
    std::uint64_t format = 0;
    std::uint8_t small = 0;
    DS_BUFFER_INFO_STACKED infos[] = {{BUFFER_INFO_WIDTH, -1, &width, sizeof width, -1},
                                      {999, -1, &small, sizeof small, 0},
                                      {BUFFER_INFO_HEIGHT, -1, &small, sizeof small, 0},
                                      {BUFFER_INFO_PIXELFORMAT, -1, &format, sizeof format, -1}};
    (void)session->DSGetBufferInfoStacked(session.Stream(), buffer, infos, 4);
    EXPECT_EQ(infos[0].iResult, GC_ERR_SUCCESS);
    EXPECT_EQ(infos[0].iType, kSizeT);
    EXPECT_EQ(infos[0].iSize, sizeof width);
    EXPECT_EQ(width, 64u);
    EXPECT_EQ(infos[1].iResult, GC_ERR_NOT_IMPLEMENTED);
    EXPECT_EQ(infos[2].iResult, GC_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(infos[3].iResult, GC_ERR_SUCCESS) << "those behind a failure are answered, too";
    EXPECT_EQ(format, kMono8);
    EXPECT_EQ(session->DSGetBufferInfoStacked(session.Stream(), buffer, infos, 1), GC_ERR_SUCCESS);
}

TEST(ConsumerStream, PartsAreWholeOrNotThereAtAll) {
    Session session;
    session.SwitchChunksOn();
    session.Announce(1);
    session.QueueAll();
    session.Start();
    const BUFFER_HANDLE buffer = session.Next();
    ASSERT_NE(buffer, nullptr);
    std::uint32_t count = 0;
    const GC_ERROR code = session->DSGetNumBufferParts(session.Stream(), buffer, &count);
    if (code != GC_ERR_SUCCESS) {
        EXPECT_TRUE(code == GC_ERR_NOT_IMPLEMENTED || code == GC_ERR_NO_DATA) << code;
        return;
    }
    ASSERT_EQ(count, 1u);
    const auto part = [&](Command what) {
        return Ask([&](INFO_DATATYPE* type, void* room, std::size_t* size) {
            return session->DSGetBufferPartInfo(session.Stream(), buffer, 0, what, type, room, size);
        });
    };
    EXPECT_EQ(part(BUFFER_PART_INFO_BASE).Pointer(), session.BufferInfo(buffer, BUFFER_INFO_BASE).Pointer());
    EXPECT_EQ(part(BUFFER_PART_INFO_DATA_SIZE).Number(), 4096u);
    EXPECT_EQ(part(BUFFER_PART_INFO_DATA_TYPE).Number(), PART_DATATYPE_2D_IMAGE);
    EXPECT_EQ(part(BUFFER_PART_INFO_DATA_FORMAT).Number(), kMono8);
    EXPECT_EQ(part(BUFFER_PART_INFO_DATA_FORMAT_NAMESPACE).Number(), PIXELFORMAT_NAMESPACE_PFNC_32BIT);
    EXPECT_EQ(part(BUFFER_PART_INFO_WIDTH).Number(), 64u);
    EXPECT_EQ(part(BUFFER_PART_INFO_HEIGHT).Number(), 64u);
    std::size_t width = 0;
    DS_BUFFER_PART_INFO_STACKED stacked{0, BUFFER_PART_INFO_WIDTH, -1, -1, &width, sizeof width};
    EXPECT_EQ(session->DSGetBufferPartInfoStacked(session.Stream(), buffer, &stacked, 1), GC_ERR_SUCCESS);
    EXPECT_EQ(width, 64u);
}

TEST(ConsumerStream, AFrameThatArrivesCutIsIncomplete) {
    Session session(
        Session::SmallCamera(R"("faults": {"stream": [{"fault": "Truncated", "frame": 1, "value": 1000}]})"));
    session.Announce(3);
    session.QueueAll();
    session.Start();
    for (std::uint64_t frame = 0; frame < 3; ++frame) {
        const BUFFER_HANDLE buffer = session.Next();
        ASSERT_NE(buffer, nullptr);
        EXPECT_EQ(session.BufferInfo(buffer, BUFFER_INFO_IS_INCOMPLETE).Number(), frame == 1);
        EXPECT_EQ(session.BufferInfo(buffer, BUFFER_INFO_SIZE_FILLED).Number(), frame == 1 ? 1000u : 4096u);
    }
}

TEST(ConsumerStream, ABufferThatIsTooSmallSaysSo) {
    Session session;
    std::vector<std::uint8_t> memory(1024 + 16, 0xEE);
    BUFFER_HANDLE buffer = nullptr;
    ASSERT_EQ(session->DSAnnounceBuffer(session.Stream(), memory.data(), 1024, nullptr, &buffer), GC_ERR_SUCCESS);
    ASSERT_EQ(session->DSQueueBuffer(session.Stream(), buffer), GC_ERR_SUCCESS);
    (void)session.NewBuffers();
    const GC_ERROR code = session->DSStartAcquisition(session.Stream(), ACQ_START_DEFAULT, GENTL_INFINITE);
    if (code != GC_ERR_SUCCESS) return; // a producer may refuse to begin so
    session.Write32(kAcquisitionStart, 1);
    const BUFFER_HANDLE filled = session.Next(2000);
    if (filled) {
        EXPECT_EQ(session.BufferInfo(filled, BUFFER_INFO_DATA_LARGER_THAN_BUFFER).Number(), 1u);
        EXPECT_EQ(session.BufferInfo(filled, BUFFER_INFO_IS_INCOMPLETE).Number(), 1u);
        EXPECT_LE(session.BufferInfo(filled, BUFFER_INFO_SIZE_FILLED).Number(), 1024u);
    }
    session.Stop(ACQ_STOP_KILL);
    EXPECT_EQ(memory[1024], 0xEE);
    EXPECT_EQ(memory[1039], 0xEE);
}

} // namespace
