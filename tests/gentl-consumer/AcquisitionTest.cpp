// Starting and stopping, in every order.
#include "gentl-consumer/support/Session.h"

#include <gtest/gtest.h>

namespace {

using namespace consumer;

class Acquisition : public testing::Test {
protected:
    GC_ERROR StartStream(std::uint64_t count = GENTL_INFINITE) {
        return m_Session->DSStartAcquisition(m_Session.Stream(), ACQ_START_DEFAULT, count);
    }
    GC_ERROR StopStream(std::int32_t flags = ACQ_STOP_DEFAULT) {
        return m_Session->DSStopAcquisition(m_Session.Stream(), flags);
    }
    void ExpectFrames(int count) {
        for (int i = 0; i < count; ++i) {
            const BUFFER_HANDLE buffer = m_Session.Next();
            ASSERT_NE(buffer, nullptr);
            EXPECT_EQ(m_Session.BufferInfo(buffer, BUFFER_INFO_IS_INCOMPLETE).Number(), 0u);
            EXPECT_EQ(m_Session->DSQueueBuffer(m_Session.Stream(), buffer), GC_ERR_SUCCESS);
        }
    }
    void Prepare(std::size_t buffers = 4) {
        m_Session.Announce(buffers);
        m_Session.QueueAll();
        (void)m_Session.NewBuffers();
    }
    std::uint64_t Info(Command what) { return m_Session.StreamInfo(what).Number(); }

    Session m_Session;
};

TEST_F(Acquisition, BeginsAndEndsManyTimes) {
    Prepare();
    for (int round = 0; round < 20; ++round) {
        ASSERT_EQ(m_Session->DSFlushQueue(m_Session.Stream(), ACQ_QUEUE_ALL_TO_INPUT), GC_ERR_SUCCESS);
        m_Session.Start();
        EXPECT_EQ(Info(STREAM_INFO_IS_GRABBING), 1u);
        ExpectFrames(5);
        EXPECT_GE(Info(STREAM_INFO_NUM_DELIVERED), 5u);
        m_Session.Stop(round % 2 == 0 ? ACQ_STOP_DEFAULT : ACQ_STOP_KILL);
        EXPECT_EQ(Info(STREAM_INFO_IS_GRABBING), 0u);
        EXPECT_EQ(Info(STREAM_INFO_NUM_ANNOUNCED), 4u) << "buffers outlive stop and start";
    }
}

TEST_F(Acquisition, CountsDeliveredBuffersSinceItsLastStart) {
    Prepare();
    m_Session.Start();
    ExpectFrames(10);
    m_Session.Stop();
    EXPECT_GE(Info(STREAM_INFO_NUM_DELIVERED), 10u);
    ASSERT_EQ(StartStream(), GC_ERR_SUCCESS);
    EXPECT_EQ(Info(STREAM_INFO_NUM_DELIVERED), 0u);
}

TEST_F(Acquisition, OfANumberOfBuffersEndsWithTheLast) {
    Prepare(8);
    m_Session.Start(5);
    for (int i = 0; i < 5; ++i)
        ASSERT_NE(m_Session.Next(), nullptr) << i;
    EXPECT_EQ(m_Session.Next(100), nullptr);
    EXPECT_EQ(Info(STREAM_INFO_NUM_DELIVERED), 5u);
    EXPECT_TRUE(Eventually([&] { return Info(STREAM_INFO_IS_GRABBING) == 0; }));
    m_Session.Write32(kAcquisitionStop, 1);
    (void)StopStream();
    ASSERT_EQ(m_Session->DSFlushQueue(m_Session.Stream(), ACQ_QUEUE_ALL_TO_INPUT), GC_ERR_SUCCESS);
    m_Session.Start();
    ExpectFrames(10);
}

TEST_F(Acquisition, BeforeAnyBufferIsQueuedWaitsForOne) {
    m_Session.Announce(3);
    m_Session.Start();
    EXPECT_EQ(m_Session.Next(50), nullptr);
    m_Session.QueueAll();
    ExpectFrames(10);
}

TEST_F(Acquisition, MayBeginWithTheCamera) {
    Prepare();
    m_Session.Write32(kAcquisitionStart, 1);
    ASSERT_EQ(StartStream(), GC_ERR_SUCCESS);
    ExpectFrames(10);
}

TEST_F(Acquisition, MayEndBeforeTheCamera) {
    Prepare();
    for (const std::int32_t flags : {ACQ_STOP_DEFAULT, ACQ_STOP_KILL}) {
        ASSERT_EQ(m_Session->DSFlushQueue(m_Session.Stream(), ACQ_QUEUE_ALL_TO_INPUT), GC_ERR_SUCCESS);
        m_Session.Start();
        ExpectFrames(5);
        EXPECT_EQ(StopStream(flags), GC_ERR_SUCCESS);
        m_Session.Write32(kAcquisitionStop, 1);
    }
}

TEST_F(Acquisition, IsNotBegunTwice) {
    Prepare();
    ASSERT_EQ(StartStream(), GC_ERR_SUCCESS);
    EXPECT_EQ(StartStream(), GC_ERR_RESOURCE_IN_USE);
    m_Session.Write32(kAcquisitionStart, 1);
    ExpectFrames(3);
}

TEST_F(Acquisition, IsNotEndedTwice) {
    EXPECT_EQ(StopStream(), GC_ERR_RESOURCE_IN_USE);
    EXPECT_EQ(StopStream(ACQ_STOP_KILL), GC_ERR_RESOURCE_IN_USE);
    Prepare();
    ASSERT_EQ(StartStream(), GC_ERR_SUCCESS);
    EXPECT_EQ(StopStream(), GC_ERR_SUCCESS);
    EXPECT_EQ(StopStream(), GC_ERR_RESOURCE_IN_USE);
}

TEST_F(Acquisition, ThatIsKilledLeavesBuffersInTheInputPool) {
    Prepare(3);
    ASSERT_EQ(StartStream(), GC_ERR_SUCCESS); // the camera sends nothing
    EXPECT_EQ(StopStream(ACQ_STOP_KILL), GC_ERR_SUCCESS);
    EXPECT_EQ(Info(STREAM_INFO_NUM_QUEUED), 3u);
    EXPECT_EQ(Info(STREAM_INFO_NUM_AWAIT_DELIVERY), 0u);
}

TEST_F(Acquisition, KeepsWhatWasDeliveredBeforeItsEnd) {
    Prepare(3);
    m_Session.Start();
    ASSERT_TRUE(m_Session.Reaches(STREAM_INFO_NUM_AWAIT_DELIVERY, 3));
    m_Session.Stop();
    EXPECT_EQ(Info(STREAM_INFO_NUM_AWAIT_DELIVERY), 3u);
    for (std::uint64_t id = 0; id < 3; ++id) {
        const BUFFER_HANDLE buffer = m_Session.Next(0);
        ASSERT_NE(buffer, nullptr);
        EXPECT_EQ(m_Session.BufferInfo(buffer, BUFFER_INFO_FRAMEID).Number(), id);
    }
}

TEST_F(Acquisition, EndsWithTheStreamTheDeviceOrTheLibrary) {
    for (int way = 0; way < 3; ++way) {
        Prepare();
        m_Session.Start();
        ExpectFrames(3);
        if (way == 0) m_Session.CloseStream();
        if (way == 1) m_Session.CloseDevice();
    }
}

TEST_F(Acquisition, GoesOnWithoutAnyEvent) {
    m_Session.Announce(3);
    m_Session.QueueAll();
    ASSERT_EQ(StartStream(), GC_ERR_SUCCESS);
    m_Session.Write32(kAcquisitionStart, 1);
    EXPECT_TRUE(m_Session.Reaches(STREAM_INFO_NUM_AWAIT_DELIVERY, 3));
    m_Session.Stop();
}

} // namespace
