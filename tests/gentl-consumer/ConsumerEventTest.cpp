// Events: registering, waiting, killing, and what they bring.
#include "gentl-consumer/support/Description.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <future>

namespace {

using namespace consumer;

GC_ERROR Wait(Session& session, EVENT_HANDLE event, std::uint64_t timeout) {
    std::uint8_t data[2048];
    std::size_t size = sizeof data;
    return session->EventGetData(event, data, &size, timeout);
}

TEST(ConsumerEvent, IsRegisteredOnce) {
    Session session;
    EVENT_HANDLE first = nullptr, second = nullptr;
    EXPECT_EQ(session->GCRegisterEvent(session.Stream(), EVENT_NEW_BUFFER, &first), GC_ERR_SUCCESS);
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(session->GCRegisterEvent(session.Stream(), EVENT_NEW_BUFFER, &second), GC_ERR_RESOURCE_IN_USE);
    EXPECT_EQ(session->GCUnregisterEvent(session.Stream(), EVENT_NEW_BUFFER), GC_ERR_SUCCESS);
    EXPECT_NE(session->GCUnregisterEvent(session.Stream(), EVENT_NEW_BUFFER), GC_ERR_SUCCESS);
    EXPECT_EQ(Wait(session, first, 0), GC_ERR_INVALID_HANDLE);
    EXPECT_EQ(session->GCRegisterEvent(session.Stream(), EVENT_NEW_BUFFER, &second), GC_ERR_SUCCESS);
}

TEST(ConsumerEvent, OfErrorsAndModulesIsThereOnEveryModule) {
    Session session;
    for (EVENTSRC_HANDLE source : {session.System(), session.Interface(), session.Device(), session.Stream()})
        for (const std::int32_t type : {EVENT_ERROR, EVENT_MODULE, EVENT_FEATURE_INVALIDATE, EVENT_FEATURE_CHANGE}) {
            EVENT_HANDLE event = nullptr;
            const GC_ERROR code = session->GCRegisterEvent(source, type, &event);
            EXPECT_TRUE(code == GC_ERR_SUCCESS || code == GC_ERR_NOT_IMPLEMENTED) << type << ": " << code;
            if (code != GC_ERR_SUCCESS) continue;
            EXPECT_EQ(session.EventInfo(event, EVENT_TYPE_INFO).Number(), static_cast<std::uint32_t>(type));
            EXPECT_EQ(Wait(session, event, 0), GC_ERR_TIMEOUT);
            EXPECT_EQ(session->GCUnregisterEvent(source, type), GC_ERR_SUCCESS);
        }
}

TEST(ConsumerEvent, ThatNobodyHasIsRefused) {
    Session session;
    EVENT_HANDLE event = nullptr;
    for (const std::int32_t type : {-1, 6, 999})
        EXPECT_NE(session->GCRegisterEvent(session.Stream(), type, &event), GC_ERR_SUCCESS) << type;
    EXPECT_NE(session->GCRegisterEvent(session.Device(), EVENT_NEW_BUFFER, &event), GC_ERR_SUCCESS);
    EXPECT_NE(session->GCRegisterEvent(session.Stream(), EVENT_REMOTE_DEVICE, &event), GC_ERR_SUCCESS);
}

TEST(ConsumerEvent, TimesOutWhenNothingComes) {
    Session session;
    EXPECT_EQ(Wait(session, session.NewBuffers(), 0), GC_ERR_TIMEOUT);
    EXPECT_EQ(Wait(session, session.NewBuffers(), 20), GC_ERR_TIMEOUT);
}

TEST(ConsumerEvent, LosesNoBufferToTooLittleRoom) {
    Session session;
    session.Announce(2);
    session.QueueAll();
    session.Start();
    ASSERT_TRUE(session.Reaches(STREAM_INFO_NUM_AWAIT_DELIVERY, 2));
    std::uint8_t small[4];
    std::size_t size = sizeof small;
    EXPECT_EQ(session->EventGetData(session.NewBuffers(), small, &size, 1000), GC_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(session.EventInfo(session.NewBuffers(), EVENT_NUM_IN_QUEUE).Number(), 2u);
    EXPECT_NE(session.Next(), nullptr);
    EXPECT_NE(session.Next(), nullptr);
}

TEST(ConsumerEvent, OfANewBufferTellsHandleAndUserPointer) {
    Session session;
    const BUFFER_HANDLE announced = session.Announce(1).front();
    session.QueueAll();
    session.Start();
    EVENT_NEW_BUFFER_DATA data{};
    std::size_t size = sizeof data;
    ASSERT_EQ(session->EventGetData(session.NewBuffers(), &data, &size, 10000), GC_ERR_SUCCESS);
    EXPECT_EQ(size, sizeof data);
    EXPECT_EQ(data.BufferHandle, announced);
    EXPECT_EQ(data.pUserPointer, reinterpret_cast<void*>(1));
    const auto info = [&](Command what) {
        return Ask([&](INFO_DATATYPE* type, void* room, std::size_t* length) {
            return session->EventGetDataInfo(session.NewBuffers(), &data, size, what, type, room, length);
        });
    };
    EXPECT_EQ(info(EVENT_DATA_ID).type, kPtr);
    EXPECT_EQ(info(EVENT_DATA_ID).Pointer(), announced);
    EXPECT_EQ(info(EVENT_DATA_VALUE).type, kPtr);
    EXPECT_EQ(info(EVENT_DATA_VALUE).Pointer(), reinterpret_cast<void*>(1));
    EXPECT_EQ(info(999).code, GC_ERR_NOT_IMPLEMENTED);
    EXPECT_EQ(session.EventInfo(session.NewBuffers(), EVENT_NUM_FIRED).Number(), 1u);
}

TEST(ConsumerEvent, OfTheCameraReachesItsNodeMap) {
    Session session;
    const EVENT_HANDLE event = session.Register(session.Device(), EVENT_REMOTE_DEVICE);
    Module camera(session, session.Remote());
    GenApi::CEventAdapterGeneric adapter(camera.Nodes()._Ptr);
    camera.Execute("TestEventGenerate");
    std::uint8_t data[2048];
    std::size_t size = sizeof data;
    ASSERT_EQ(session->EventGetData(event, data, &size, 10000), GC_ERR_SUCCESS);
    const auto info = [&](Command what) {
        return Ask([&](INFO_DATATYPE* type, void* room, std::size_t* length) {
            return session->EventGetDataInfo(event, data, size, what, type, room, length);
        });
    };
    EXPECT_EQ(info(EVENT_DATA_ID).Text(), "4FFF");
    EXPECT_EQ(info(EVENT_DATA_NUMID).Number(), 0x4FFFu);
    const Answer value = info(EVENT_DATA_VALUE);
    ASSERT_TRUE(value.Ok());
    adapter.DeliverMessage(value.bytes.data(), static_cast<std::uint32_t>(value.bytes.size()),
                           info(EVENT_DATA_NUMID).Number());
    EXPECT_EQ(camera.Integer("EventTest"), 0x4FFF);
    EXPECT_GT(camera.Integer("EventTestTimestamp"), 0);
}

TEST(ConsumerEvent, IsFlushed) {
    Session session;
    session.Announce(3);
    session.QueueAll();
    session.Start();
    ASSERT_TRUE(session.Reaches(STREAM_INFO_NUM_AWAIT_DELIVERY, 3));
    session.Stop();
    EXPECT_EQ(session->EventFlush(session.NewBuffers()), GC_ERR_SUCCESS);
    EXPECT_EQ(session.EventInfo(session.NewBuffers(), EVENT_NUM_IN_QUEUE).Number(), 0u);
    EXPECT_EQ(Wait(session, session.NewBuffers(), 0), GC_ERR_TIMEOUT);
    EXPECT_EQ(session->DSFlushQueue(session.Stream(), ACQ_QUEUE_ALL_TO_INPUT), GC_ERR_SUCCESS);
    session.Start();
    EXPECT_NE(session.Next(), nullptr);
}

// --- waiters and those who send them away

TEST(Waiting, IsEndedByAKillFromAnotherThread) {
    Session session;
    const EVENT_HANDLE event = session.NewBuffers();
    for (int round = 0; round < 50; ++round) {
        auto waiter = std::async(std::launch::async, [&] { return Wait(session, event, GENTL_INFINITE); });
        EXPECT_EQ(session->EventKill(event), GC_ERR_SUCCESS);
        EXPECT_EQ(waiter.get(), GC_ERR_ABORT);
    }
    EXPECT_EQ(Wait(session, event, 0), GC_ERR_TIMEOUT) << "each kill ends one wait";
}

TEST(Waiting, IsEndedByAnEarlierKill) {
    Session session;
    EXPECT_EQ(session->EventKill(session.NewBuffers()), GC_ERR_SUCCESS);
    EXPECT_EQ(Wait(session, session.NewBuffers(), 1000), GC_ERR_ABORT);
    EXPECT_EQ(Wait(session, session.NewBuffers(), 0), GC_ERR_TIMEOUT);
}

TEST(Waiting, OfSeveralIsEndedOneByOne) {
    Session session;
    const EVENT_HANDLE event = session.NewBuffers();
    std::vector<std::future<GC_ERROR>> waiters;
    for (int i = 0; i < 4; ++i)
        waiters.push_back(std::async(std::launch::async, [&] { return Wait(session, event, GENTL_INFINITE); }));
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(session->EventKill(event), GC_ERR_SUCCESS);
    for (auto& waiter : waiters)
        EXPECT_EQ(waiter.get(), GC_ERR_ABORT);
}

/// A waiter returns with what its handle allows: it was sent away, or came too late.
void ExpectAway(GC_ERROR code) {
    EXPECT_TRUE(code == GC_ERR_ABORT || code == GC_ERR_INVALID_HANDLE || code == GC_ERR_NOT_INITIALIZED) << code;
}

TEST(Waiting, IsEndedWithItsEventItsModuleAndTheLibrary) {
    for (int way = 0; way < 5; ++way) {
        Session session;
        const EVENT_HANDLE event = session.NewBuffers();
        std::promise<void> ready;
        auto waiter = std::async(std::launch::async, [&] {
            ready.set_value();
            return Wait(session, event, GENTL_INFINITE);
        });
        ready.get_future().wait();
        if (way == 0) session.Must(session->GCUnregisterEvent(session.Stream(), EVENT_NEW_BUFFER), "way");
        if (way == 1) session.CloseStream();
        if (way == 2) session.CloseDevice();
        if (way == 3) session.Must(session->TLClose(session.System()), "way");
        if (way == 4) session.Must(session->GCCloseLib(), "way");
        ExpectAway(waiter.get());
    }
}

TEST(Waiting, ForTheCamerasEventsOutlivesItsDevice) {
    for (int round = 0; round < 50; ++round) {
        Session session;
        const EVENT_HANDLE event = session.Register(session.Device(), EVENT_REMOTE_DEVICE);
        std::promise<void> ready;
        auto waiter = std::async(std::launch::async, [&] {
            ready.set_value();
            return Wait(session, event, GENTL_INFINITE);
        });
        ready.get_future().wait();
        session.CloseDevice();
        ExpectAway(waiter.get());
    }
}

TEST(Waiting, SeesFramesWhileOthersFlushAndAsk) {
    Session session;
    session.Announce(8);
    session.QueueAll();
    session.Start();
    const DS_HANDLE stream = session.Stream();
    const EVENT_HANDLE event = session.NewBuffers();
    auto other = std::async(std::launch::async, [&] {
        for (int i = 0; i < 500; ++i) {
            std::size_t count = 0, size = sizeof count;
            (void)session->EventGetInfo(event, EVENT_NUM_IN_QUEUE, nullptr, &count, &size);
            if (i % 10 == 0) (void)session->EventFlush(event);
            if (i % 10 == 0) (void)session->DSFlushQueue(stream, ACQ_QUEUE_ALL_TO_INPUT);
        }
    });
    int seen = 0;
    while (other.wait_for(std::chrono::seconds(0)) != std::future_status::ready)
        if (const BUFFER_HANDLE buffer = session.Next(10)) {
            ++seen;
            (void)session->DSQueueBuffer(stream, buffer);
        }
    ASSERT_EQ(session->DSFlushQueue(stream, ACQ_QUEUE_ALL_TO_INPUT), GC_ERR_SUCCESS);
    EXPECT_NE(session.Next(), nullptr) << seen << " before";
}

/// Asking for figures brings what the bus has completed into the output queue.
TEST(Waiting, MissesNoFrameThatAnotherThreadHasLookedAt) {
    Session session;
    session.Write32(kAcquisitionMode, 1); // so many frames
    session.Write32(kFrameCount, 1);
    session.Announce(2);
    session.QueueAll();
    const EVENT_HANDLE event = session.NewBuffers();
    session.Start();
    std::atomic<bool> stop{false};
    auto asker = std::async(std::launch::async, [&, stream = session.Stream()] {
        std::size_t count = 0, size = sizeof count;
        while (!stop)
            (void)session->DSGetInfo(stream, STREAM_INFO_NUM_AWAIT_DELIVERY, nullptr, &count, &size);
    });
    for (int frame = 0; frame < 100; ++frame) {
        if (frame != 0) session.Write32(kAcquisitionStart, 1);
        EVENT_NEW_BUFFER_DATA data{};
        std::size_t size = sizeof data;
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_EQ(session->EventGetData(event, &data, &size, 20000), GC_ERR_SUCCESS) << frame;
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20)) << "found when the time was over";
        (void)session->DSQueueBuffer(session.Stream(), data.BufferHandle);
        if (HasFailure()) break;
    }
    stop = true;
    asker.get();
}

} // namespace
