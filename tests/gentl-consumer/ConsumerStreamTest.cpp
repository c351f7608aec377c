// Frames, byte for byte, and what is told of each.
#include "Pattern.h"
#include "Session.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

namespace {

using namespace consumer;

constexpr std::uint64_t kMono8 = 0x01080001;

template<class Number>
Number At(const std::uint8_t* bytes) {
    Number number;
    std::memcpy(&number, bytes, sizeof number);
    return number;
}

std::vector<SINGLE_CHUNK_DATA> Chunks(Session& session, BUFFER_HANDLE buffer) {
    std::size_t count = 0;
    EXPECT_EQ(session->DSGetBufferChunkData(session.Stream(), buffer, nullptr, &count), GC_ERR_SUCCESS);
    std::vector<SINGLE_CHUNK_DATA> chunks(count);
    EXPECT_EQ(session->DSGetBufferChunkData(session.Stream(), buffer, chunks.data(), &count), GC_ERR_SUCCESS);
    EXPECT_EQ(count, chunks.size());
    return chunks;
}

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

void SwitchChunksOn(Session& session) {
    session.Write32(kChunkModeActive, 1);
    session.Write32(kChunkEnable + 4 * 1, 1); // time stamp
    session.Write32(kChunkEnable + 4 * 2, 1); // frame number
    session.Write32(kChunkEnable + 4 * 7, 1); // checksum
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

/// Ten thousand frames with chunks and events, each byte of each.
class CheckedRun {
public:
    explicit CheckedRun(Session& session) : m_Session(session) {
        session.Write32(kFrameRateEnable, 0);
        session.Write32(kWidth, 64);
        session.Write32(kHeight, 64);
        SwitchChunksOn(session);
        for (int event = 0; event < 2; ++event)
            session.Write32(kEventNotification + 4 * event, 1); // the end of the exposure, the beginning of the frame
        session.Must(session->GCRegisterEvent(session.Device(), EVENT_REMOTE_DEVICE, &m_Events), "GCRegisterEvent");
        session.Announce(32);
        session.QueueAll();
        session.Start();
    }

    void Frame(std::uint64_t frame) {
        const BUFFER_HANDLE buffer = m_Session.Next();
        ASSERT_NE(buffer, nullptr) << "frame " << frame;
        const auto info = [&](Command what) { return m_Session.BufferInfo(buffer, what).Number(); };
        const std::uint64_t id = info(BUFFER_INFO_FRAMEID);
        ASSERT_TRUE(frame == 0 || id > m_LastId);
        m_Lost += id - (frame == 0 ? 0 : m_LastId + 1);
        m_LastId = id;
        ASSERT_EQ(info(BUFFER_INFO_IS_INCOMPLETE), 0u);
        ASSERT_EQ(info(BUFFER_INFO_SIZE_FILLED), kBytes);
        ASSERT_EQ(info(BUFFER_INFO_DATA_SIZE), kBytes);
        ASSERT_EQ(info(BUFFER_INFO_CONTAINS_CHUNKDATA), 1u);
        ASSERT_EQ(info(BUFFER_INFO_PAYLOADTYPE), PAYLOAD_TYPE_IMAGE);
        const auto* bytes = static_cast<const std::uint8_t*>(m_Session.BufferInfo(buffer, BUFFER_INFO_BASE).Pointer());
        ASSERT_EQ((Picture{64, 64, 0, 0, id}.FirstDifference(bytes)), 4096u) << "frame " << id;
        ExpectChunks(buffer, bytes, id, info(BUFFER_INFO_TIMESTAMP));
        TakeEvents();
        ASSERT_EQ(m_Session->DSQueueBuffer(m_Session.Stream(), buffer), GC_ERR_SUCCESS);
    }

    std::uint64_t LastId() const { return m_LastId; }
    std::uint64_t Lost() const { return m_Lost; }
    std::uint64_t Events() const { return m_Count; }

private:
    static constexpr std::size_t kBytes = 4096 + 8 + 16 + 16 + 12;
    Session& m_Session;
    EVENT_HANDLE m_Events = nullptr;
    std::uint64_t m_LastId = 0, m_Lost = 0, m_Count = 0;

    void ExpectChunks(BUFFER_HANDLE buffer, const std::uint8_t* bytes, std::uint64_t id, std::uint64_t time) {
        const std::vector<SINGLE_CHUNK_DATA> chunks = Chunks(m_Session, buffer);
        ASSERT_EQ(chunks.size(), 4u);
        const SINGLE_CHUNK_DATA wanted[] = {
            {0x5A4D0001, 0, 4096}, {0x5A4D0002, 4104, 8}, {0x5A4D0003, 4120, 8}, {0x5A4D00FF, 4136, 4}};
        for (const SINGLE_CHUNK_DATA& one : wanted) {
            bool found = false;
            for (const SINGLE_CHUNK_DATA& chunk : chunks)
                found |= std::memcmp(&chunk, &one, sizeof one) == 0;
            ASSERT_TRUE(found) << std::hex << one.ChunkID;
        }
        ASSERT_EQ(At<std::uint64_t>(bytes + 4104), time);
        ASSERT_EQ(At<std::uint64_t>(bytes + 4120), id);
        ASSERT_EQ(At<std::uint32_t>(bytes + 4100), 4096u) << "length behind the image";
        ASSERT_EQ(At<std::uint32_t>(bytes + 4140), 0x5A4D00FFu);
    }

    /// All that are there: each bears its number, its time and the frame.
    void TakeEvents() {
        std::uint8_t data[2048];
        std::size_t size = sizeof data;
        while (m_Session->EventGetData(m_Events, data, &size, 0) == GC_ERR_SUCCESS) {
            const Answer id = Ask([&](INFO_DATATYPE* type, void* room, std::size_t* length) {
                return m_Session->EventGetDataInfo(m_Events, data, size, EVENT_DATA_ID, type, room, length);
            });
            const Answer number = Ask([&](INFO_DATATYPE* type, void* room, std::size_t* length) {
                return m_Session->EventGetDataInfo(m_Events, data, size, EVENT_DATA_NUMID, type, room, length);
            });
            const Answer value = Ask([&](INFO_DATATYPE* type, void* room, std::size_t* length) {
                return m_Session->EventGetDataInfo(m_Events, data, size, EVENT_DATA_VALUE, type, room, length);
            });
            ASSERT_EQ(id.type, kString);
            ASSERT_TRUE(id.Text() == "9001" || id.Text() == "9002") << id.Text();
            ASSERT_EQ(number.type, kUInt64);
            ASSERT_EQ(number.Number(), std::stoull(id.Text(), nullptr, 16));
            ASSERT_GE(value.bytes.size(), 20u);
            ASSERT_EQ(At<std::uint16_t>(value.bytes.data() + 2), number.Number()) << "laid out for the event node";
            ++m_Count;
            size = sizeof data;
        }
    }
};

/// Ten thousand; fewer where a machine is emulated.
std::uint64_t FrameCount() {
    const char* count = std::getenv("TAVIX_CONSUMER_FRAMES");
    return count ? std::strtoull(count, nullptr, 10) : 10000;
}

TEST(ConsumerStream, OfTenThousandFramesWithChunksAndEventsIsWhole) {
    const std::uint64_t count = FrameCount();
    Session session;
    CheckedRun run(session);
    for (std::uint64_t frame = 0; frame < count && !testing::Test::HasFatalFailure(); ++frame)
        run.Frame(frame);
    session.Stop();
    EXPECT_GT(run.Events(), count / 100);
    EXPECT_EQ(session.StreamInfo(STREAM_INFO_NUM_DELIVERED).type, kUInt64);
    EXPECT_GE(session.StreamInfo(STREAM_INFO_NUM_DELIVERED).Number(), count);
    EXPECT_EQ(run.Lost() == 0, session.StreamInfo(STREAM_INFO_NUM_UNDERRUN).Number() == 0) << run.Lost();
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
    SwitchChunksOn(session);
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
