// Ten thousand frames: each byte, each chunk, each event of them.
#include "gentl-consumer/support/Pattern.h"
#include "gentl-consumer/support/Session.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <set>

namespace {

using namespace consumer;

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

/// The two events that a camera sends with each frame. Bound to a thread.
class FrameEvents {
public:
    explicit FrameEvents(Session& session) : m_Session(session) {
        for (int event = 0; event < 2; ++event)
            session.Write32(kEventNotification + 4 * event, 1); // the end of the exposure, the beginning of the frame
        m_Event = session.Register(session.Device(), EVENT_REMOTE_DEVICE);
    }

    /// Takes what comes until both of a frame have come.
    void Await(std::uint64_t frame) {
        while (m_Frames[0].count(frame) + m_Frames[1].count(frame) < 2 && !testing::Test::HasFatalFailure())
            Take(frame);
    }
    std::size_t Count() const { return m_Frames[0].size() + m_Frames[1].size(); }

private:
    /// Each bears its number, its time and the frame.
    void Take(std::uint64_t frame) {
        std::uint8_t data[2048];
        std::size_t size = sizeof data;
        ASSERT_EQ(m_Session->EventGetData(m_Event, data, &size, 10000), GC_ERR_SUCCESS) << "of frame " << frame;
        const auto ask = [&](Command what) {
            return Ask([&](INFO_DATATYPE* type, void* room, std::size_t* length) {
                return m_Session->EventGetDataInfo(m_Event, data, size, what, type, room, length);
            });
        };
        const Answer id = ask(EVENT_DATA_ID), number = ask(EVENT_DATA_NUMID), value = ask(EVENT_DATA_VALUE);
        ASSERT_EQ(id.type, kString);
        ASSERT_TRUE(id.Text() == "9001" || id.Text() == "9002") << id.Text();
        ASSERT_EQ(number.type, kUInt64);
        ASSERT_EQ(number.Number(), std::stoull(id.Text(), nullptr, 16));
        ASSERT_EQ(value.bytes.size(), 20u);
        ASSERT_EQ(At<std::uint16_t>(value.bytes.data() + 2), number.Number()) << "laid out for the event node";
        const std::uint64_t of = At<std::uint64_t>(value.bytes.data() + 12);
        ASSERT_TRUE(m_Frames[number.Number() - 0x9001].insert(of).second) << "twice, of frame " << of;
    }

    Session& m_Session;
    EVENT_HANDLE m_Event = nullptr;
    std::array<std::set<std::uint64_t>, 2> m_Frames; ///< that each kind of event came of
};

/// Frames of 64x64 pixels with chunks and events. Bound to a thread.
class CheckedRun {
public:
    explicit CheckedRun(Session& session) : m_Session(session), m_Events(session) {
        session.Write32(kFrameRateEnable, 0);
        session.Write32(kWidth, 64);
        session.Write32(kHeight, 64);
        session.SwitchChunksOn();
        // The camera makes a frame when it is asked for one, so that no more events wait than there is room for.
        session.Announce(16);
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
        m_Events.Await(id);
        ASSERT_EQ(m_Session->DSQueueBuffer(m_Session.Stream(), buffer), GC_ERR_SUCCESS);
    }

    std::uint64_t Lost() const { return m_Lost; }
    std::uint64_t Chunks() const { return m_Chunks; }
    std::uint64_t Events() const { return m_Events.Count(); }

private:
    static constexpr std::size_t kBytes = 4096 + 8 + 16 + 16 + 12;

    void ExpectChunks(BUFFER_HANDLE buffer, const std::uint8_t* bytes, std::uint64_t id, std::uint64_t time) {
        const std::vector<SINGLE_CHUNK_DATA> chunks = ::Chunks(m_Session, buffer);
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
        m_Chunks += chunks.size();
    }

    Session& m_Session;
    FrameEvents m_Events;
    std::uint64_t m_LastId = 0, m_Lost = 0, m_Chunks = 0;
};

constexpr std::uint64_t kFrames = 10000;

TEST(FrameRun, OfTenThousandFramesWithChunksAndEventsIsWhole) {
    Session session;
    CheckedRun run(session);
    for (std::uint64_t frame = 0; frame < kFrames && !testing::Test::HasFatalFailure(); ++frame)
        run.Frame(frame);
    session.Stop();
    EXPECT_EQ(run.Chunks(), 4 * kFrames);
    EXPECT_GE(run.Events(), 2 * kFrames) << "those of frames that were not waited for come as well";
    EXPECT_EQ(session.StreamInfo(STREAM_INFO_NUM_DELIVERED).type, kUInt64);
    EXPECT_GE(session.StreamInfo(STREAM_INFO_NUM_DELIVERED).Number(), kFrames);
    EXPECT_EQ(run.Lost() == 0, session.StreamInfo(STREAM_INFO_NUM_UNDERRUN).Number() == 0) << run.Lost();
}

} // namespace
