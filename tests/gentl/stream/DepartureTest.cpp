// The bus may say that a camera has left before the camera's last transfers have ended.

#include "gentl/support/ScriptedCameras.h"

#include <array>
#include <vector>

namespace {

using scripted::Bytes;

constexpr std::uint32_t kWidth = 64, kHeight = 16;
constexpr std::size_t kPayload = std::size_t{kWidth} * kHeight;
constexpr std::uint64_t kPatience = 60000; // ms; whoever waits so long is not told

class Departure : public scripted::OnTwoCameras {
protected:
    void SetUp() override {
        OnTwoCameras::SetUp();
        leftCamera.Set64(scripted::kSirm + 8, kPayload);
        ASSERT_EQ(left.Open(&device), GC_ERR_SUCCESS);
        ASSERT_EQ(GCRegisterEvent(device, EVENT_MODULE, &departures), GC_ERR_SUCCESS);
        ASSERT_EQ(DevOpenDataStream(device, "Stream0", &stream), GC_ERR_SUCCESS);
        ASSERT_EQ(GCRegisterEvent(stream, EVENT_NEW_BUFFER, &event), GC_ERR_SUCCESS);
        for (std::size_t i = 0; i < buffers.size(); ++i) {
            ASSERT_EQ(DSAnnounceBuffer(stream, &memory[i * kPayload], kPayload, nullptr, &buffers[i]), GC_ERR_SUCCESS);
            ASSERT_EQ(DSQueueBuffer(stream, buffers[i]), GC_ERR_SUCCESS);
        }
        ASSERT_EQ(DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE), GC_ERR_SUCCESS);
        ASSERT_TRUE(leftCamera.WaitFor([&] { return leftCamera.Queued(scripted::kStreamIn) >= kTransfers * 2; }));
    }
    /// The producer has heard of it when this returns.
    void AnnounceDeparture() {
        leftCamera.BeginUnplug();
        std::uint64_t id = 0;
        std::size_t size = sizeof id;
        ASSERT_EQ(EventGetData(departures, &id, &size, kPatience), GC_ERR_SUCCESS);
    }
    void SendImage(std::uint64_t id) {
        leftCamera.Send(scripted::kStreamIn, {scripted::ImageLeader(id, kWidth, kHeight), scripted::Pattern(kPayload),
                                              scripted::ImageTrailer(id, kPayload, kHeight)});
    }
    GC_ERROR Next(std::uint64_t timeout) {
        EVENT_NEW_BUFFER_DATA data{};
        std::size_t size = sizeof data;
        return EventGetData(event, &data, &size, timeout);
    }
    std::future<GC_ERROR> Waiter() {
        return std::async(std::launch::async, [this] { return Next(kPatience); });
    }

    static constexpr std::size_t kTransfers = 3; // of an image

    DEV_HANDLE device = nullptr;
    DS_HANDLE stream = nullptr;
    EVENT_HANDLE departures = nullptr, event = nullptr;
    std::vector<std::uint8_t> memory = std::vector<std::uint8_t>(2 * kPayload);
    std::vector<BUFFER_HANDLE> buffers = std::vector<BUFFER_HANDLE>(2);
};

TEST_F(Departure, LeavesTheImagesThatAreStillOnTheirWay) {
    ASSERT_NO_FATAL_FAILURE(AnnounceDeparture());
    EXPECT_EQ(Next(0), GC_ERR_TIMEOUT);
    SendImage(0);
    EXPECT_EQ(Next(kPatience), GC_ERR_SUCCESS);
    EXPECT_EQ(Next(0), GC_ERR_TIMEOUT);
    auto waiter = Waiter();
    leftCamera.Unplug(/*announce=*/false);
    EXPECT_EQ(waiter.get(), GC_ERR_IO);
    EXPECT_EQ(Next(kPatience), GC_ERR_IO);
}

TEST_F(Departure, IsToldWhenNoBufferIsLeftForAnImage) {
    ASSERT_NO_FATAL_FAILURE(AnnounceDeparture());
    SendImage(0);
    SendImage(1);
    EXPECT_EQ(Next(kPatience), GC_ERR_SUCCESS);
    EXPECT_EQ(Next(kPatience), GC_ERR_SUCCESS);
    EXPECT_EQ(Next(kPatience), GC_ERR_IO);
}

TEST_F(Departure, IsToldToAllWhenOneTakesTheLastImage) {
    ASSERT_NO_FATAL_FAILURE(AnnounceDeparture());
    std::array<std::future<GC_ERROR>, 4> waiters;
    for (auto& waiter : waiters)
        waiter = Waiter();
    SendImage(0);
    SendImage(1);
    int images = 0, ends = 0;
    for (auto& waiter : waiters) {
        const GC_ERROR code = waiter.get();
        images += code == GC_ERR_SUCCESS;
        ends += code == GC_ERR_IO;
    }
    EXPECT_EQ(images, 2);
    EXPECT_EQ(ends, 2);
}

TEST_F(Departure, IsToldWhenBuffersAreFlushed) {
    ASSERT_NO_FATAL_FAILURE(AnnounceDeparture());
    auto waiter = Waiter();
    EXPECT_EQ(DSFlushQueue(stream, ACQ_QUEUE_ALL_DISCARD), GC_ERR_SUCCESS);
    EXPECT_EQ(waiter.get(), GC_ERR_IO);
}

TEST_F(Departure, IsToldWhenTheStreamIsStopped) {
    ASSERT_NO_FATAL_FAILURE(AnnounceDeparture());
    auto waiter = Waiter();
    EXPECT_EQ(DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
    EXPECT_EQ(waiter.get(), GC_ERR_IO);
}

TEST_F(Departure, IsToldAtOnceWhereNothingIsOnTheBus) {
    EXPECT_EQ(DSFlushQueue(stream, ACQ_QUEUE_ALL_DISCARD), GC_ERR_SUCCESS);
    auto waiter = Waiter();
    ASSERT_NO_FATAL_FAILURE(AnnounceDeparture());
    EXPECT_EQ(waiter.get(), GC_ERR_IO);
}

} // namespace
