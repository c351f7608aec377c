#include "tavixusb/support/StreamGrabberFixture.h"

#include <thread>
#include <vector>

namespace {

/// What a sink was told.
struct Sink final : Tavix::IStreamResultSink {
    void OnResult(const Tavix::GrabResult& result) noexcept override {
        ids.push_back(result.GetBlockID());
        if (then) then();
    }
    std::vector<std::uint64_t> ids;
    std::function<void()> then;
};

class StreamSink : public StreamGrabber {
protected:
    Tavix::IStreamCallback& Callbacks() { return dynamic_cast<Tavix::IStreamCallback&>(grabber()); }
    void PrepareWithSink() {
        Open();
        grabber().Open();
        Callbacks().SetResultSink(&sink);
        grabber().PrepareGrab();
    }
    void Complete(std::uint64_t id) {
        vexlo::CVxStream::GrabResult result{};
        result.BlockId = id;
        bus.PushResult(result);
    }

    Sink sink;
};

TEST_F(StreamSink, GetsTheResultsInsteadOfWhoRetrieves) {
    PrepareWithSink();
    Complete(1);
    Complete(2);
    Tavix::GrabResult result;
    EXPECT_FALSE(grabber().RetrieveResult(result));
    bus.stream.listener();
    EXPECT_EQ(sink.ids, (std::vector<std::uint64_t>{1, 2}));
}

TEST_F(StreamSink, IsNotChangedWhileAGrabIsPrepared) {
    PrepareWithSink();
    RefusesIn("Grabbing", "SetResultSink", [&] { Callbacks().SetResultSink(nullptr); });
}

TEST_F(StreamSink, IsLeftForTheRoadOfRetrievingAgain) {
    PrepareWithSink();
    grabber().FinishGrab();
    Callbacks().SetResultSink(nullptr);
    grabber().PrepareGrab();
    EXPECT_FALSE(bus.stream.listener);
    Complete(3);
    Tavix::GrabResult result;
    EXPECT_TRUE(grabber().RetrieveResult(result));
    EXPECT_TRUE(sink.ids.empty());
}

/// The stream's thread must not wait for who waits for it.
TEST_F(StreamSink, QueuesBuffersWhileTheGrabberIsLocked) {
    PrepareWithSink();
    const auto handle = grabber().RegisterBuffer(image, sizeof image);
    sink.then = [&] { grabber().QueueBuffer(handle); };
    Complete(1);
    const boost::unique_lock<boost::recursive_mutex> locked(dynamic_cast<Tavix::CTavixUsbStream&>(grabber()).GetLock());
    std::thread(bus.stream.listener).join();
    EXPECT_EQ(sink.ids.size(), 1U);
}

/// A thread of the application may later have the same id.
TEST_F(StreamSink, LeavesTheThreadThatDeliveredWithoutPrivileges) {
    PrepareWithSink();
    const auto handle = grabber().RegisterBuffer(image, sizeof image);
    Complete(1);
    bus.stream.listener();
    ASSERT_EQ(sink.ids.size(), 1U);
    grabber().FinishGrab();
    RefusesIn("Open", "QueueBuffer", [&] { grabber().QueueBuffer(handle); });
}

} // namespace
