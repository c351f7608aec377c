// Images, chunk data and events as a consumer gets them.

#include "gentl/support/StreamSession.h"

#include <atomic>
#include <cstring>
#include <thread>

namespace {

using consumer::NumberOf;
using consumer::TextOf;

using GenTLStream = consumer::StreamSession;

TEST_F(GenTLStream, BringsWholeImagesInTheirOrder) {
    ASSERT_NO_FATAL_FAILURE(Announce(4));
    ASSERT_NO_FATAL_FAILURE(Start());
    uint64_t next = 0;
    for (int i = 0; i < 300; ++i) {
        EVENT_NEW_BUFFER_DATA data{};
        ASSERT_EQ(Next(data), GC_ERR_SUCCESS) << LastText();
        ASSERT_EQ(BufferNumber<bool8_t>(data.BufferHandle, BUFFER_INFO_IS_INCOMPLETE), 0);
        const auto frame = BufferNumber<uint64_t>(data.BufferHandle, BUFFER_INFO_FRAMEID);
        ASSERT_GE(frame, next);
        next = frame + 1;
        ASSERT_EQ(BufferNumber<size_t>(data.BufferHandle, BUFFER_INFO_WIDTH), static_cast<size_t>(Integer("Width")));
        ASSERT_EQ(BufferNumber<size_t>(data.BufferHandle, BUFFER_INFO_HEIGHT), static_cast<size_t>(Integer("Height")));
        ASSERT_EQ(BufferNumber<uint64_t>(data.BufferHandle, BUFFER_INFO_PIXELFORMAT), 0x01080001U);
        ASSERT_EQ(BufferNumber<size_t>(data.BufferHandle, BUFFER_INFO_PAYLOADTYPE), size_t(PAYLOAD_TYPE_IMAGE));
        ASSERT_EQ(BufferNumber<size_t>(data.BufferHandle, BUFFER_INFO_SIZE_FILLED),
                  static_cast<size_t>(Integer("PayloadSize")));
        ASSERT_EQ(gc.DSQueueBuffer(stream, data.BufferHandle), GC_ERR_SUCCESS);
    }
    EXPECT_EQ(StreamNumber<uint64_t>(STREAM_INFO_NUM_DELIVERED), 300U);
    ASSERT_NO_FATAL_FAILURE(Stop());
}

TEST_F(GenTLStream, TellsTheChunksOfAnImage) {
    Integer("ChunkModeActive", 1);
    ASSERT_NO_FATAL_FAILURE(Announce(3));
    ASSERT_NO_FATAL_FAILURE(Start());
    EVENT_NEW_BUFFER_DATA data{};
    ASSERT_EQ(Next(data), GC_ERR_SUCCESS);
    EXPECT_EQ(BufferNumber<bool8_t>(data.BufferHandle, BUFFER_INFO_CONTAINS_CHUNKDATA), 1);
    const auto layout = BufferNumber<uint64_t>(data.BufferHandle, BUFFER_INFO_CHUNKLAYOUTID);
    EXPECT_NE(layout, 0U);
    EXPECT_NE(layout, ~0ULL);
    size_t count = 0;
    ASSERT_EQ(gc.DSGetBufferChunkData(stream, data.BufferHandle, nullptr, &count), GC_ERR_SUCCESS) << LastText();
    ASSERT_GE(count, 1U);
    std::vector<SINGLE_CHUNK_DATA> chunks(count);
    ASSERT_EQ(gc.DSGetBufferChunkData(stream, data.BufferHandle, chunks.data(), &count), GC_ERR_SUCCESS);
    // They lie one behind the other, eight bytes of ID and length between them.
    ptrdiff_t at = 0;
    for (const SINGLE_CHUNK_DATA& chunk : chunks) {
        EXPECT_EQ(ptrdiff_t(chunk.ChunkOffset), at);
        at += static_cast<ptrdiff_t>(chunk.ChunkLength) + 8;
    }
    EXPECT_EQ(static_cast<size_t>(at), BufferNumber<size_t>(data.BufferHandle, BUFFER_INFO_SIZE_FILLED));
    ASSERT_NO_FATAL_FAILURE(Stop());
}

TEST_F(GenTLStream, EndsAfterTheNumberOfBuffersThatWasAskedFor) {
    ASSERT_NO_FATAL_FAILURE(Announce(4));
    ASSERT_NO_FATAL_FAILURE(Start(5));
    EVENT_NEW_BUFFER_DATA data{};
    for (int i = 0; i < 5; ++i) {
        ASSERT_EQ(Next(data), GC_ERR_SUCCESS);
        ASSERT_EQ(gc.DSQueueBuffer(stream, data.BufferHandle), GC_ERR_SUCCESS);
    }
    EXPECT_EQ(Next(data, 0), GC_ERR_TIMEOUT);
    EXPECT_EQ(StreamNumber<bool8_t>(STREAM_INFO_IS_GRABBING), 0);
    ASSERT_NO_FATAL_FAILURE(Stop());
}

TEST_F(GenTLStream, TellsThatItHasTheNumberOfBuffersAndStartsAgainThen) {
    EVENT_HANDLE changes = nullptr;
    ASSERT_NO_FATAL_FAILURE(Announce(4));
    ASSERT_NO_FATAL_FAILURE(Start(3));
    ASSERT_EQ(gc.GCRegisterEvent(stream, EVENT_FEATURE_INVALIDATE, &changes), GC_ERR_SUCCESS);
    EVENT_NEW_BUFFER_DATA data{};
    for (int round = 0; round < 3; ++round) {
        for (int i = 0; i < 3; ++i) {
            ASSERT_EQ(Next(data), GC_ERR_SUCCESS) << LastText();
            ASSERT_EQ(Queue(data), GC_ERR_SUCCESS);
        }
        char name[64] = "";
        size_t size = sizeof name;
        ASSERT_EQ(gc.EventGetData(changes, name, &size, 0), GC_ERR_SUCCESS) << "in round " << round;
        EXPECT_STREQ(name, "StreamIsGrabbing");
        size = sizeof name;
        EXPECT_EQ(gc.EventGetData(changes, name, &size, 0), GC_ERR_TIMEOUT);
        EXPECT_EQ(StreamNumber<bool8_t>(STREAM_INFO_IS_GRABBING), 0);
        ASSERT_EQ(gc.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, 3), GC_ERR_SUCCESS) << LastText();
        ASSERT_EQ(gc.EventFlush(changes), GC_ERR_SUCCESS);
    }
    ASSERT_NO_FATAL_FAILURE(Stop());
}

TEST_F(GenTLStream, TakesBuffersBackAndForthWhileItStartsAndStops) {
    ASSERT_NO_FATAL_FAILURE(Announce(4));
    Execute("AcquisitionStart");
    std::atomic<bool> isOver{false};
    std::thread starter([&] {
        for (int i = 0; i < 30; ++i) {
            EXPECT_EQ(gc.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE), GC_ERR_SUCCESS)
                << LastText();
            EXPECT_EQ(gc.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS) << LastText();
        }
        isOver = true;
    });
    std::thread announcer([&] {
        std::vector<uint8_t> other(static_cast<size_t>(Integer("PayloadSize")));
        while (!isOver) {
            BUFFER_HANDLE handle = nullptr;
            EXPECT_EQ(gc.DSAnnounceBuffer(stream, other.data(), other.size(), nullptr, &handle), GC_ERR_SUCCESS)
                << LastText();
            GC_ERROR code = 0;
            while ((code = gc.DSRevokeBuffer(stream, handle, nullptr, nullptr)) == GC_ERR_BUSY)
                std::this_thread::yield(); // a flush has queued it
            EXPECT_EQ(code, GC_ERR_SUCCESS) << LastText();
        }
    });
    const ACQ_QUEUE_TYPE flushes[] = {ACQ_QUEUE_INPUT_TO_OUTPUT, ACQ_QUEUE_ALL_DISCARD, ACQ_QUEUE_OUTPUT_DISCARD,
                                      ACQ_QUEUE_UNQUEUED_TO_INPUT, ACQ_QUEUE_ALL_TO_INPUT};
    for (unsigned int i = 0; !isOver; ++i) {
        EVENT_NEW_BUFFER_DATA data{};
        const GC_ERROR queued = Next(data, 1) == GC_ERR_SUCCESS ? Queue(data) : GC_ERR_SUCCESS;
        EXPECT_EQ(queued, GC_ERR_SUCCESS) << LastText();
        EXPECT_EQ(gc.DSFlushQueue(stream, flushes[i % 5]), GC_ERR_SUCCESS) << LastText();
        EXPECT_LE(StreamNumber<size_t>(STREAM_INFO_NUM_QUEUED), 5U);
    }
    starter.join();
    announcer.join();
    EXPECT_EQ(gc.DSFlushQueue(stream, ACQ_QUEUE_ALL_TO_INPUT), GC_ERR_SUCCESS) << LastText();
    EXPECT_EQ(StreamNumber<size_t>(STREAM_INFO_NUM_QUEUED), 4U);
    ASSERT_NO_FATAL_FAILURE(Start());
    EVENT_NEW_BUFFER_DATA data{};
    EXPECT_EQ(Next(data), GC_ERR_SUCCESS) << LastText();
    ASSERT_NO_FATAL_FAILURE(Stop());
}

TEST_F(GenTLStream, AnswersNoQuestionsInAStackOfNone) {
    ASSERT_NO_FATAL_FAILURE(Announce(1));
    EXPECT_EQ(gc.DSGetBufferInfoStacked(stream, buffers[0], nullptr, 0), GC_ERR_SUCCESS);
    EXPECT_EQ(gc.DSGetBufferPartInfoStacked(stream, buffers[0], nullptr, 0), GC_ERR_SUCCESS);
    EXPECT_EQ(gc.DSGetBufferInfoStacked(stream, buffers[0], nullptr, 1), GC_ERR_INVALID_PARAMETER);
}

TEST_F(GenTLStream, GivesTheNewestImageWhereThatIsWished) {
    consumer::Features module(gc, stream);
    GenApi::CEnumerationPtr(module.map._GetNode("StreamBufferHandlingMode"))->FromString("NewestOnly");
    ASSERT_NO_FATAL_FAILURE(Announce(3));
    ASSERT_NO_FATAL_FAILURE(Start());
    while (StreamNumber<uint64_t>(STREAM_INFO_NUM_STARTED) < 20)
        std::this_thread::yield();
    EVENT_NEW_BUFFER_DATA data{};
    ASSERT_EQ(Next(data), GC_ERR_SUCCESS);
    EXPECT_GE(BufferNumber<uint64_t>(data.BufferHandle, BUFFER_INFO_FRAMEID), 15U);
    ASSERT_NO_FATAL_FAILURE(Stop());
}

TEST_F(GenTLStream, KeepsOnlyTheNewestOfANumberOfImages) {
    consumer::Features module(gc, stream);
    GenApi::CEnumerationPtr(module.map._GetNode("StreamBufferHandlingMode"))->FromString("NewestOnly");
    ASSERT_NO_FATAL_FAILURE(Announce(4));
    ASSERT_NO_FATAL_FAILURE(Start(3));
    while (StreamNumber<bool8_t>(STREAM_INFO_IS_GRABBING) != 0)
        std::this_thread::yield();
    EXPECT_EQ(StreamNumber<size_t>(STREAM_INFO_NUM_AWAIT_DELIVERY), 1U);
    EXPECT_EQ(StreamNumber<size_t>(STREAM_INFO_NUM_QUEUED), 3U);
    EVENT_NEW_BUFFER_DATA data{};
    ASSERT_EQ(Next(data), GC_ERR_SUCCESS);
    EXPECT_EQ(BufferNumber<uint64_t>(data.BufferHandle, BUFFER_INFO_FRAMEID), 2U);
    EXPECT_EQ(Next(data, 0), GC_ERR_TIMEOUT);
    ASSERT_NO_FATAL_FAILURE(Stop());
}

TEST_F(GenTLStream, TakesBuffersAwayWhileItRuns) {
    ASSERT_NO_FATAL_FAILURE(Announce(2));
    ASSERT_NO_FATAL_FAILURE(Start());
    EVENT_NEW_BUFFER_DATA data{};
    ASSERT_EQ(Next(data), GC_ERR_SUCCESS);
    void* base = nullptr;
    void* user = nullptr;
    ASSERT_EQ(gc.DSRevokeBuffer(stream, data.BufferHandle, &base, &user), GC_ERR_SUCCESS) << LastText();
    EXPECT_EQ(user, data.pUserPointer);
    EXPECT_EQ(gc.DSQueueBuffer(stream, data.BufferHandle), GC_ERR_INVALID_HANDLE);
    ASSERT_NO_FATAL_FAILURE(Announce(1));
    EXPECT_EQ(StreamNumber<size_t>(STREAM_INFO_NUM_ANNOUNCED), 2U);
    ASSERT_NO_FATAL_FAILURE(Stop());
}

TEST_F(GenTLStream, TakesAwayAQueuedBufferThatIsNotNext) {
    consumer::Features module(gc, stream);
    GenApi::CIntegerPtr(module.map._GetNode("StreamQueuedTransferCount"))->SetValue(4);
    ASSERT_NO_FATAL_FAILURE(Announce(30));
    ASSERT_EQ(gc.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE), GC_ERR_SUCCESS) << LastText();
    EXPECT_EQ(gc.DSRevokeBuffer(stream, buffers[29], nullptr, nullptr), GC_ERR_SUCCESS) << LastText();
    EXPECT_EQ(gc.DSRevokeBuffer(stream, buffers[15], nullptr, nullptr), GC_ERR_SUCCESS) << LastText();
    EXPECT_EQ(StreamNumber<size_t>(STREAM_INFO_NUM_QUEUED), 28U);
    Execute("AcquisitionStart");
    for (int i = 0; i < 28; ++i) {
        EVENT_NEW_BUFFER_DATA data{};
        ASSERT_EQ(Next(data), GC_ERR_SUCCESS) << LastText();
        EXPECT_NE(data.BufferHandle, buffers[15]);
        EXPECT_NE(data.BufferHandle, buffers[29]);
    }
    ASSERT_NO_FATAL_FAILURE(Stop());
}

TEST_F(GenTLStream, FlushesInEveryWay) {
    ASSERT_NO_FATAL_FAILURE(Announce(3));
    ASSERT_EQ(gc.DSFlushQueue(stream, ACQ_QUEUE_INPUT_TO_OUTPUT), GC_ERR_SUCCESS);
    EXPECT_EQ(StreamNumber<size_t>(STREAM_INFO_NUM_AWAIT_DELIVERY), 3U);
    ASSERT_EQ(gc.DSFlushQueue(stream, ACQ_QUEUE_OUTPUT_DISCARD), GC_ERR_SUCCESS);
    EXPECT_EQ(StreamNumber<size_t>(STREAM_INFO_NUM_AWAIT_DELIVERY), 0U);
    EXPECT_EQ(StreamNumber<size_t>(STREAM_INFO_NUM_QUEUED), 0U);
    ASSERT_EQ(gc.DSFlushQueue(stream, ACQ_QUEUE_UNQUEUED_TO_INPUT), GC_ERR_SUCCESS);
    EXPECT_EQ(StreamNumber<size_t>(STREAM_INFO_NUM_QUEUED), 3U);
    ASSERT_EQ(gc.DSFlushQueue(stream, ACQ_QUEUE_ALL_DISCARD), GC_ERR_SUCCESS);
    EXPECT_EQ(StreamNumber<size_t>(STREAM_INFO_NUM_QUEUED), 0U);
    ASSERT_EQ(gc.DSFlushQueue(stream, ACQ_QUEUE_ALL_TO_INPUT), GC_ERR_SUCCESS);
    ASSERT_NO_FATAL_FAILURE(Start());
    EVENT_NEW_BUFFER_DATA data{};
    for (int i = 0; i < 20; ++i) {
        ASSERT_EQ(Next(data), GC_ERR_SUCCESS);
        ASSERT_EQ(gc.DSFlushQueue(stream, i % 2 == 0 ? ACQ_QUEUE_ALL_TO_INPUT : ACQ_QUEUE_UNQUEUED_TO_INPUT),
                  GC_ERR_SUCCESS)
            << LastText();
    }
    ASSERT_NO_FATAL_FAILURE(Stop());
}

TEST_F(GenTLStream, AllocatesBuffersThatGoWithTheirHandle) {
    const auto size = static_cast<size_t>(Integer("PayloadSize"));
    BUFFER_HANDLE handle = nullptr;
    ASSERT_EQ(gc.DSAllocAndAnnounceBuffer(stream, size, nullptr, &handle), GC_ERR_SUCCESS) << LastText();
    ASSERT_EQ(gc.DSQueueBuffer(stream, handle), GC_ERR_SUCCESS);
    ASSERT_NO_FATAL_FAILURE(Start());
    EVENT_NEW_BUFFER_DATA data{};
    ASSERT_EQ(Next(data), GC_ERR_SUCCESS);
    ASSERT_NO_FATAL_FAILURE(Stop());
    void* base = &base;
    ASSERT_EQ(gc.DSRevokeBuffer(stream, handle, &base, nullptr), GC_ERR_SUCCESS);
    EXPECT_EQ(base, nullptr);
}

TEST_F(GenTLStream, TurnsAwayWhoeverWaitsWhenTheEventIsKilledOrUnregistered) {
    const auto wait = [&] {
        EVENT_NEW_BUFFER_DATA data{};
        return Next(data, GENTL_INFINITE);
    };
    GC_ERROR result = 0;
    std::thread waiter([&] { result = wait(); });
    ASSERT_EQ(gc.EventKill(event), GC_ERR_SUCCESS);
    waiter.join();
    EXPECT_EQ(result, GC_ERR_ABORT);
    ASSERT_EQ(gc.EventKill(event), GC_ERR_SUCCESS); // stays pending for the next waiter
    EXPECT_EQ(wait(), GC_ERR_ABORT);
    std::thread last([&] { result = wait(); });
    ASSERT_EQ(gc.GCUnregisterEvent(stream, EVENT_NEW_BUFFER), GC_ERR_SUCCESS);
    last.join();
    EXPECT_TRUE(result == GC_ERR_ABORT || result == GC_ERR_INVALID_HANDLE) << result;
}

TEST_F(GenTLStream, DeliversTheCamerasEvents) {
    GenApi::CEnumerationPtr(features->map._GetNode("EventSelector"))->FromString("ExposureEnd");
    GenApi::CEnumerationPtr(features->map._GetNode("EventNotification"))->FromString("On");
    EVENT_HANDLE remote = nullptr;
    ASSERT_EQ(gc.GCRegisterEvent(device, EVENT_REMOTE_DEVICE, &remote), GC_ERR_SUCCESS) << LastText();
    ASSERT_NO_FATAL_FAILURE(Announce(3));
    ASSERT_NO_FATAL_FAILURE(Start());
    uint8_t message[1024];
    size_t size = sizeof message;
    ASSERT_EQ(gc.EventGetData(remote, message, &size, 5000), GC_ERR_SUCCESS) << LastText();
    const auto id = NumberOf<uint64_t>([&](void* value, size_t* bytes) {
        return gc.EventGetDataInfo(remote, message, size, EVENT_DATA_NUMID, nullptr, value, bytes);
    });
    char text[32];
    std::snprintf(text, sizeof text, "%llX", static_cast<unsigned long long>(id));
    EXPECT_EQ(TextOf([&](char* value, size_t* bytes) {
                  return gc.EventGetDataInfo(remote, message, size, EVENT_DATA_ID, nullptr, value, bytes);
              }),
              text);
    ASSERT_NO_FATAL_FAILURE(Stop());
}

TEST_F(GenTLStream, CountsBuffersThatAreTakenAndThatAreFlushed) {
    ASSERT_NO_FATAL_FAILURE(Announce(3));
    ASSERT_NO_FATAL_FAILURE(Start(3));
    while (EventNumber<size_t>(event, EVENT_NUM_IN_QUEUE) != 3)
        std::this_thread::yield();
    EXPECT_EQ(EventNumber<uint64_t>(event, EVENT_NUM_FIRED), 3U);
    EVENT_NEW_BUFFER_DATA data{};
    ASSERT_EQ(Next(data), GC_ERR_SUCCESS);
    EXPECT_EQ(EventNumber<size_t>(event, EVENT_NUM_IN_QUEUE), 2U);
    ASSERT_EQ(gc.EventFlush(event), GC_ERR_SUCCESS);
    EXPECT_EQ(EventNumber<size_t>(event, EVENT_NUM_IN_QUEUE), 0U);
    EXPECT_EQ(EventNumber<uint64_t>(event, EVENT_NUM_FIRED), 3U);
    ASSERT_NO_FATAL_FAILURE(Stop());
    ASSERT_EQ(gc.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, 1), GC_ERR_SUCCESS) << LastText();
    EXPECT_EQ(EventNumber<uint64_t>(event, EVENT_NUM_FIRED), 3U)
        << "a start counts its buffers anew, the event does not";
    ASSERT_EQ(gc.GCUnregisterEvent(stream, EVENT_NEW_BUFFER), GC_ERR_SUCCESS);
    ASSERT_EQ(gc.GCRegisterEvent(stream, EVENT_NEW_BUFFER, &event), GC_ERR_SUCCESS);
    EXPECT_EQ(EventNumber<uint64_t>(event, EVENT_NUM_FIRED), 0U);
}

TEST_F(GenTLStream, CountsTheCamerasEventsBeforeTheFirstIsTaken) {
    GenApi::CEnumerationPtr(features->map._GetNode("EventSelector"))->FromString("ExposureEnd");
    GenApi::CEnumerationPtr(features->map._GetNode("EventNotification"))->FromString("On");
    EVENT_HANDLE remote = nullptr;
    ASSERT_EQ(gc.GCRegisterEvent(device, EVENT_REMOTE_DEVICE, &remote), GC_ERR_SUCCESS) << LastText();
    ASSERT_NO_FATAL_FAILURE(Announce(3));
    ASSERT_NO_FATAL_FAILURE(Start());
    while (EventNumber<size_t>(remote, EVENT_NUM_IN_QUEUE) < 2)
        std::this_thread::yield();
    const auto fired = EventNumber<uint64_t>(remote, EVENT_NUM_FIRED);
    EXPECT_GE(fired, 2U);
    ASSERT_EQ(gc.EventFlush(remote), GC_ERR_SUCCESS);
    EXPECT_GE(EventNumber<uint64_t>(remote, EVENT_NUM_FIRED), fired);
    ASSERT_NO_FATAL_FAILURE(Stop());
}

TEST_F(GenTLStream, TellsAnEventThatCameWhileItStartedAndStopped) {
    consumer::Features module(gc, stream);
    GenApi::CEnumerationPtr(module.map._GetNode("StreamBufferHandlingMode"))->FromString("NewestOnly");
    ASSERT_NO_FATAL_FAILURE(Announce(3));
    std::atomic<bool> isOver{false};
    std::thread starter([&] {
        for (int i = 0; i < 10; ++i) {
            EXPECT_EQ(gc.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE), GC_ERR_SUCCESS);
            EXPECT_EQ(gc.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
        }
        isOver = true;
    });
    while (!isOver) {
        EXPECT_EQ(gc.GCUnregisterEvent(stream, EVENT_NEW_BUFFER), GC_ERR_SUCCESS);
        EXPECT_EQ(gc.GCRegisterEvent(stream, EVENT_NEW_BUFFER, &event), GC_ERR_SUCCESS);
    }
    starter.join();
    ASSERT_NO_FATAL_FAILURE(Start());
    EVENT_NEW_BUFFER_DATA data{};
    EXPECT_EQ(Next(data), GC_ERR_SUCCESS) << LastText();
    ASSERT_NO_FATAL_FAILURE(Stop());
}

TEST_F(GenTLStream, StartsOnceAndStopsOnlyWhatRuns) {
    EXPECT_EQ(gc.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_RESOURCE_IN_USE);
    ASSERT_EQ(gc.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE), GC_ERR_SUCCESS) << LastText();
    EXPECT_EQ(gc.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE), GC_ERR_RESOURCE_IN_USE);
    EXPECT_EQ(gc.DSStopAcquisition(stream, ACQ_STOP_FLAGS_KILL), GC_ERR_SUCCESS);
}

} // namespace
