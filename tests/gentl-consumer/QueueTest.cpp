// Where the buffers of a stream are: announced, in the input pool, in the output queue, with the consumer.
#include "gentl-consumer/support/Description.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace consumer;

struct Counts {
    std::uint64_t announced, queued, awaiting;
    bool operator==(const Counts& other) const {
        return announced == other.announced && queued == other.queued && awaiting == other.awaiting;
    }
};

void PrintTo(const Counts& counts, std::ostream* to) {
    *to << counts.announced << " announced, " << counts.queued << " queued, " << counts.awaiting << " awaiting";
}

Counts CountsOf(Session& session) {
    return {session.StreamInfo(STREAM_INFO_NUM_ANNOUNCED).Number(), session.StreamInfo(STREAM_INFO_NUM_QUEUED).Number(),
            session.StreamInfo(STREAM_INFO_NUM_AWAIT_DELIVERY).Number()};
}

GC_ERROR Revoke(Session& session, BUFFER_HANDLE buffer) {
    return session->DSRevokeBuffer(session.Stream(), buffer, nullptr, nullptr);
}

/// Delivers so many frames into fresh buffers and stops.
void Fill(Session& session, std::size_t count) {
    session.Announce(count);
    session.QueueAll();
    session.Start();
    ASSERT_TRUE(session.Reaches(STREAM_INFO_NUM_AWAIT_DELIVERY, count));
    session.Stop();
}

/// Frames come as ever, into all buffers.
void ExpectFrames(Session& session) {
    EXPECT_EQ(session->DSFlushQueue(session.Stream(), ACQ_QUEUE_ALL_TO_INPUT), GC_ERR_SUCCESS);
    session.Start();
    for (int i = 0; i < 20; ++i) {
        const BUFFER_HANDLE buffer = session.Next();
        ASSERT_NE(buffer, nullptr);
        EXPECT_EQ(session.BufferInfo(buffer, BUFFER_INFO_IS_INCOMPLETE).Number(), 0u);
        EXPECT_EQ(session->DSQueueBuffer(session.Stream(), buffer), GC_ERR_SUCCESS);
    }
    session.Stop();
}

// --- flushes

struct Flush {
    std::int32_t what;
    Counts after; // of two in the output queue, two in the input pool, and two with the consumer
};

void PrintTo(const Flush& flush, std::ostream* to) {
    *to << "flush " << flush.what;
}

class Flushes : public testing::TestWithParam<Flush> {};

TEST_P(Flushes, MoveBuffersWhileTheStreamStands) {
    Session session;
    Fill(session, 2);
    const std::vector<BUFFER_HANDLE> all = session.Announce(4);
    for (std::size_t i : {2, 3})
        ASSERT_EQ(session->DSQueueBuffer(session.Stream(), all[i]), GC_ERR_SUCCESS);
    ASSERT_EQ(CountsOf(session), (Counts{6, 2, 2}));
    EXPECT_EQ(session->DSFlushQueue(session.Stream(), GetParam().what), GC_ERR_SUCCESS);
    EXPECT_EQ(CountsOf(session), GetParam().after);
    EXPECT_EQ(session.EventInfo(session.NewBuffers(), EVENT_NUM_IN_QUEUE).Number(), GetParam().after.awaiting);
    std::uint64_t queued = 0; // by what each buffer tells of itself
    for (std::uint32_t i = 0; i < GetParam().after.announced; ++i) {
        BUFFER_HANDLE buffer = nullptr;
        ASSERT_EQ(session->DSGetBufferID(session.Stream(), i, &buffer), GC_ERR_SUCCESS);
        queued += session.BufferInfo(buffer, BUFFER_INFO_IS_QUEUED).Number();
    }
    EXPECT_EQ(queued, GetParam().after.queued);
    ExpectFrames(session);
}

TEST_P(Flushes, LoseNoBufferWhileTheStreamRuns) {
    Session session;
    session.Announce(6);
    session.QueueAll();
    session.Start();
    for (int round = 0; round < 30; ++round) {
        const BUFFER_HANDLE buffer = session.Next(round == 0 ? 5000 : 1);
        const GC_ERROR code = session->DSFlushQueue(session.Stream(), GetParam().what);
        EXPECT_TRUE(code == GC_ERR_SUCCESS || code == GC_ERR_BUSY || code == GC_ERR_RESOURCE_IN_USE) << code;
        if (buffer) (void)session->DSQueueBuffer(session.Stream(), buffer);
        EXPECT_EQ(session.StreamInfo(STREAM_INFO_NUM_ANNOUNCED).Number(), 6u);
    }
    session.Stop(ACQ_STOP_KILL);
    EXPECT_EQ(session->DSFlushQueue(session.Stream(), ACQ_QUEUE_ALL_TO_INPUT), GC_ERR_SUCCESS);
    EXPECT_EQ(CountsOf(session), (Counts{6, 6, 0}));
    ExpectFrames(session);
}

TEST_P(Flushes, OfAStreamWithoutBuffersDoNothing) {
    Session session;
    EXPECT_EQ(session->DSFlushQueue(session.Stream(), GetParam().what), GC_ERR_SUCCESS);
    EXPECT_EQ(CountsOf(session), (Counts{0, 0, 0}));
}

INSTANTIATE_TEST_SUITE_P(Of, Flushes,
                         testing::Values(Flush{ACQ_QUEUE_INPUT_TO_OUTPUT, {6, 0, 4}},
                                         Flush{ACQ_QUEUE_OUTPUT_DISCARD, {6, 2, 0}},
                                         Flush{ACQ_QUEUE_ALL_TO_INPUT, {6, 6, 0}},
                                         Flush{ACQ_QUEUE_UNQUEUED_TO_INPUT, {6, 4, 2}},
                                         Flush{ACQ_QUEUE_ALL_DISCARD, {6, 0, 0}}),
                         [](const auto& row) { return "Type" + std::to_string(row.param.what); });

TEST(Flushing, OfAnotherKindIsRefused) {
    Session session;
    for (const std::int32_t kind : {-1, 5, 1000})
        EXPECT_EQ(session->DSFlushQueue(session.Stream(), kind), GC_ERR_INVALID_PARAMETER) << kind;
}

// --- announcing and revoking

TEST(Buffers, AreFoundByTheirIndex) {
    Session session;
    const std::vector<BUFFER_HANDLE> all = session.Announce(3);
    for (std::uint32_t i = 0; i < 3; ++i) {
        BUFFER_HANDLE buffer = nullptr;
        EXPECT_EQ(session->DSGetBufferID(session.Stream(), i, &buffer), GC_ERR_SUCCESS);
        EXPECT_EQ(buffer, all[i]);
    }
    BUFFER_HANDLE none = nullptr;
    EXPECT_EQ(session->DSGetBufferID(session.Stream(), 3, &none), GC_ERR_INVALID_INDEX);
}

TEST(Buffers, GiveTheirMemoryBackWhenRevoked) {
    Session session;
    const BUFFER_HANDLE buffer = session.Announce(1).front();
    void* const base = session.BufferInfo(buffer, BUFFER_INFO_BASE).Pointer();
    void *memory = nullptr, *user = nullptr;
    EXPECT_EQ(session->DSRevokeBuffer(session.Stream(), buffer, &memory, &user), GC_ERR_SUCCESS);
    EXPECT_EQ(memory, base);
    EXPECT_EQ(user, reinterpret_cast<void*>(1));
    EXPECT_EQ(CountsOf(session), (Counts{0, 0, 0}));
    const GC_ERROR again = Revoke(session, buffer);
    EXPECT_TRUE(again == GC_ERR_INVALID_HANDLE || again == GC_ERR_INVALID_BUFFER) << again;
}

TEST(Buffers, OfTheProducersMemoryGiveNoneBack) {
    Session session;
    BUFFER_HANDLE buffer = nullptr;
    int user = 0;
    ASSERT_EQ(session->DSAllocAndAnnounceBuffer(session.Stream(), 4096, &user, &buffer), GC_ERR_SUCCESS);
    EXPECT_NE(session.BufferInfo(buffer, BUFFER_INFO_BASE).Pointer(), nullptr);
    EXPECT_EQ(session.BufferInfo(buffer, BUFFER_INFO_SIZE).Number(), 4096u);
    void *memory = &user, *back = nullptr;
    EXPECT_EQ(session->DSRevokeBuffer(session.Stream(), buffer, &memory, &back), GC_ERR_SUCCESS);
    EXPECT_EQ(memory, nullptr);
    EXPECT_EQ(back, &user);
}

TEST(Buffers, OfTheProducersMemoryAreFilled) {
    Session session;
    for (int i = 0; i < 4; ++i) {
        BUFFER_HANDLE buffer = nullptr;
        ASSERT_EQ(session->DSAllocAndAnnounceBuffer(session.Stream(), 4096, nullptr, &buffer), GC_ERR_SUCCESS);
    }
    ExpectFrames(session);
}

TEST(Buffers, ThatAreQueuedAreRevokedOrBusy) {
    Session session;
    const BUFFER_HANDLE buffer = session.Announce(1).front();
    session.QueueAll();
    const GC_ERROR code = Revoke(session, buffer);
    EXPECT_TRUE(code == GC_ERR_BUSY || code == GC_ERR_SUCCESS) << code;
    EXPECT_EQ(CountsOf(session).announced, code == GC_ERR_SUCCESS ? 0u : 1u);
}

TEST(Buffers, ComeAndGoWhileTheStreamRuns) {
    Session session;
    session.Announce(4);
    session.QueueAll();
    session.Start();
    std::vector<std::uint8_t> memory(4096);
    for (int round = 0; round < 50; ++round) {
        BUFFER_HANDLE more = nullptr;
        const GC_ERROR announced =
            session->DSAnnounceBuffer(session.Stream(), memory.data(), memory.size(), &memory, &more);
        if (announced == GC_ERR_RESOURCE_IN_USE) break; // a producer may want its buffers before
        ASSERT_EQ(announced, GC_ERR_SUCCESS);
        ASSERT_EQ(session->DSQueueBuffer(session.Stream(), more), GC_ERR_SUCCESS);
        BUFFER_HANDLE filled = nullptr;
        while (filled != more) {
            filled = session.Next();
            ASSERT_NE(filled, nullptr);
            if (filled != more) {
                ASSERT_EQ(session->DSQueueBuffer(session.Stream(), filled), GC_ERR_SUCCESS);
            }
        }
        ASSERT_EQ(Revoke(session, more), GC_ERR_SUCCESS);
    }
    session.Stop();
    EXPECT_EQ(CountsOf(session).announced, 4u);
}

TEST(Buffers, AreQueuedOnceOnly) {
    Session session;
    const BUFFER_HANDLE buffer = session.Announce(1).front();
    session.QueueAll();
    const GC_ERROR again = session->DSQueueBuffer(session.Stream(), buffer);
    EXPECT_TRUE(again == GC_ERR_RESOURCE_IN_USE || again == GC_ERR_BUSY || again == GC_ERR_SUCCESS) << again;
    EXPECT_EQ(CountsOf(session).queued, 1u);
}

TEST(Buffers, HaveNothingFilledOnceTheyAreQueuedAgain) {
    Session session;
    Fill(session, 1);
    const BUFFER_HANDLE buffer = session.Next();
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(session.BufferInfo(buffer, BUFFER_INFO_SIZE_FILLED).Number(), 4096u);
    ASSERT_EQ(session->DSQueueBuffer(session.Stream(), buffer), GC_ERR_SUCCESS);
    EXPECT_EQ(session.BufferInfo(buffer, BUFFER_INFO_SIZE_FILLED).Number(), 0u);
    EXPECT_EQ(session.BufferInfo(buffer, BUFFER_INFO_NEW_DATA).Number(), 0u);
    EXPECT_EQ(session.BufferInfo(buffer, BUFFER_INFO_IS_QUEUED).Number(), 1u);
}

TEST(Buffers, OfAnotherStreamAreRefused) {
    Session session(R"([{"serial": "Q1", "guid": "1209000000E1", "sensorWidth": 64, "sensorHeight": 64},
                        {"serial": "Q2", "guid": "1209000000E2", "sensorWidth": 64, "sensorHeight": 64}])");
    const BUFFER_HANDLE buffer = session.Announce(1).front();
    const Answer id = AskText(
        [&](char* text, std::size_t* size) { return session->IFGetDeviceID(session.Interface(), 1, text, size); });
    DEV_HANDLE device = nullptr;
    ASSERT_EQ(session->IFOpenDevice(session.Interface(), id.Text().c_str(), DEVICE_ACCESS_EXCLUSIVE, &device), 0);
    const Answer streamId =
        AskText([&](char* text, std::size_t* size) { return session->DevGetDataStreamID(device, 0, text, size); });
    DS_HANDLE other = nullptr;
    ASSERT_EQ(session->DevOpenDataStream(device, streamId.Text().c_str(), &other), 0);
    const GC_ERROR code = session->DSQueueBuffer(other, buffer);
    EXPECT_TRUE(code == GC_ERR_INVALID_HANDLE || code == GC_ERR_INVALID_BUFFER) << code;
}

TEST(Buffers, OfSegmentsAreThereOrNotImplemented) {
    Session session;
    std::vector<std::uint8_t> memory(4096);
    void* segments[] = {memory.data()};
    std::size_t sizes[] = {memory.size()};
    BUFFER_HANDLE buffer = nullptr;
    const GC_ERROR code = session->DSAnnounceCompositeBuffer(session.Stream(), 1, segments, sizes, nullptr, &buffer);
    EXPECT_TRUE(code == GC_ERR_SUCCESS || code == GC_ERR_NOT_IMPLEMENTED) << code;
}

} // namespace
