// Cameras that leave, streams that end by themselves, and other faults, under those who wait.

#include "gentl/support/StreamSession.h"

#include <array>
#include <future>
#include <thread>

namespace {

constexpr uint64_t kPatience = 60000; // ms; whoever waits so long is not told

/// Each test has a camera with a fault of its own, by its serial number: who leaves does not come back.
constexpr const char* kCameras = R"({"cameras": [
    {"serial": "Unplug0", "faults": {"stream": [{"fault": "Unplug", "frame": 12, "value": 10000}]}},
    {"serial": "Unplug1", "faults": {"stream": [{"fault": "Unplug", "frame": 12, "value": 10000}]}},
    {"serial": "Unplug2", "faults": {"stream": [{"fault": "Unplug", "frame": 12, "value": 10000}]}},
    {"serial": "Unplug3", "faults": {"stream": [{"fault": "Unplug", "frame": 12, "value": 10000}]}},
    {"serial": "Unplug4", "faults": {"stream": [{"fault": "Unplug", "frame": 12, "value": 10000}]}},
    {"serial": "Unplug5", "faults": {"stream": [{"fault": "Unplug", "frame": 1}]}},
    {"serial": "Talkative", "faults": {"events": [{"fault": "MaximumLength", "count": 0}]}},
    {"serial": "Halted", "faults": {"stream": [{"fault": "Stall", "count": 0, "frame": 3, "value": 10000}]}},
    {"serial": "Slow", "faults": {"control": [{"fault": "NoAnswer", "count": 0, "whileStreaming": true}]}},
    {"serial": "Recovering0", "faults": {
        "control": [{"fault": "NoAnswer", "count": 0, "skip": 1, "command": 2050, "address": 131076}],
        "stream": [{"fault": "Stall", "frame": 3, "value": 10000}]}},
    {"serial": "Recovering1", "faults": {
        "control": [{"fault": "NoAnswer", "count": 0, "skip": 1, "command": 2050, "address": 131076}],
        "stream": [{"fault": "Stall", "frame": 3, "value": 10000}]}},
    {"serial": "Recovering2", "faults": {
        "control": [{"fault": "NoAnswer", "count": 0, "skip": 1, "command": 2050, "address": 131076}],
        "stream": [{"fault": "Stall", "frame": 3, "value": 10000}]}},
    {"serial": "Recovering3", "faults": {
        "control": [{"fault": "NoAnswer", "count": 0, "skip": 1, "command": 2050, "address": 131076}],
        "stream": [{"fault": "Stall", "frame": 3, "value": 10000}]}}
]})";

class GenTLStreamEnd : public consumer::StreamSession {
protected:
    void SetUp() override {
        ::setenv("TAVIX_VIRTUAL_CAMERAS", kCameras, 1);
        Session::SetUp(); // NOLINT(bugprone-parent-virtual-call): each test begins with a camera of its own
    }
    void Begin(const std::string& serial) {
        ASSERT_NO_FATAL_FAILURE(SelectDevice(serial));
        ASSERT_NO_FATAL_FAILURE(BeginStream());
    }
    /// The camera may be gone before it has acknowledged.
    void StartTheLastTime() {
        ASSERT_EQ(gc.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE), GC_ERR_SUCCESS) << LastText();
        try {
            Execute("AcquisitionStart");
        } catch (const std::exception&) {
            return;
        }
    }
    void Handle(const char* mode) {
        consumer::Features module(gc, stream);
        GenApi::CEnumerationPtr(module.map._GetNode("StreamBufferHandlingMode"))->FromString(mode);
    }
    /// Why there are no more images, with the text; takes them until then, and may give them back.
    std::string TakeAll(bool andQueue) {
        for (;;) {
            EVENT_NEW_BUFFER_DATA data{};
            if (const GC_ERROR code = Next(data, kPatience)) return std::to_string(code) + " " + LastText();
            if (andQueue) (void)Queue(data);
        }
    }
    template<class T, class Query>
    static T NumberOf(Query&& query) {
        return consumer::NumberOf<T>(query);
    }
    static bool IsOver(const std::future<std::string>& waiter) {
        return waiter.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    }
    std::future<std::string> Taker(bool andQueue = true) {
        return std::async(std::launch::async, [this, andQueue] { return TakeAll(andQueue); });
    }
};

constexpr const char* kUnplugged = "-1010 the camera was unplugged";

TEST_F(GenTLStreamEnd, TellsOfAnUnplugToAllWhoWaitForTheCamerasEvents) {
    ASSERT_NO_FATAL_FAILURE(Begin("Unplug0"));
    EVENT_HANDLE remote = nullptr;
    ASSERT_EQ(gc.GCRegisterEvent(device, EVENT_REMOTE_DEVICE, &remote), GC_ERR_SUCCESS) << LastText();
    ASSERT_NO_FATAL_FAILURE(Announce(3));
    std::array<std::future<std::string>, 6> waiters;
    for (auto& waiter : waiters)
        waiter = std::async(std::launch::async, [&] {
            uint8_t message[1024];
            size_t size = sizeof message;
            const GC_ERROR code = gc.EventGetData(remote, message, &size, kPatience);
            return std::to_string(code) + " " + LastText();
        });
    ASSERT_NO_FATAL_FAILURE(StartTheLastTime());
    EXPECT_EQ(TakeAll(true), kUnplugged);
    for (auto& waiter : waiters)
        EXPECT_EQ(waiter.get(), kUnplugged);
}

TEST_F(GenTLStreamEnd, DeliversNoBuffersThatAnUnplugLeftEmpty) {
    ASSERT_NO_FATAL_FAILURE(Begin("Unplug4"));
    ASSERT_NO_FATAL_FAILURE(Announce(4));
    ASSERT_NO_FATAL_FAILURE(StartTheLastTime());
    uint64_t taken = 0;
    for (EVENT_NEW_BUFFER_DATA data{}; Next(data, kPatience) == GC_ERR_SUCCESS; ++taken) {
        EXPECT_EQ(BufferNumber<uint64_t>(data.BufferHandle, BUFFER_INFO_FRAMEID), taken);
        (void)Queue(data);
    }
    while (StreamNumber<bool8_t>(STREAM_INFO_IS_GRABBING) != 0)
        std::this_thread::yield();
    EXPECT_LE(taken, StreamNumber<uint64_t>(STREAM_INFO_NUM_STARTED));
    EXPECT_LE(StreamNumber<uint64_t>(STREAM_INFO_NUM_STARTED), 13U) << "with the one that had begun";
}

TEST_F(GenTLStreamEnd, KeepsTheNewestImageThroughAnUnplug) {
    ASSERT_NO_FATAL_FAILURE(Begin("Unplug5"));
    ASSERT_NO_FATAL_FAILURE(Handle("NewestOnly"));
    ASSERT_NO_FATAL_FAILURE(Announce(4));
    ASSERT_NO_FATAL_FAILURE(StartTheLastTime());
    while (StreamNumber<bool8_t>(STREAM_INFO_IS_GRABBING) != 0)
        std::this_thread::yield();
    EVENT_NEW_BUFFER_DATA data{};
    ASSERT_EQ(Next(data), GC_ERR_SUCCESS) << LastText();
    EXPECT_EQ(BufferNumber<size_t>(data.BufferHandle, BUFFER_INFO_WIDTH), 1280U);
    EXPECT_EQ(Next(data), GC_ERR_IO);
}

struct Mode {
    const char* name;
    const char* serial;
};

TEST_F(GenTLStreamEnd, LosesNoMessageThatIsAsLongAsTheCameraAnnounces) {
    ASSERT_NO_FATAL_FAILURE(Begin("Talkative"));
    GenApi::CEnumerationPtr(features->map._GetNode("EventSelector"))->FromString("ExposureEnd");
    GenApi::CEnumerationPtr(features->map._GetNode("EventNotification"))->FromString("On");
    EVENT_HANDLE remote = nullptr;
    ASSERT_EQ(gc.GCRegisterEvent(device, EVENT_REMOTE_DEVICE, &remote), GC_ERR_SUCCESS) << LastText();
    const auto largest = EventNumber<size_t>(remote, EVENT_SIZE_MAX);
    ASSERT_NO_FATAL_FAILURE(Announce(3));
    ASSERT_NO_FATAL_FAILURE(Start());
    std::vector<uint8_t> message(largest);
    size_t size = message.size();
    ASSERT_EQ(gc.EventGetData(remote, message.data(), &size, kPatience), GC_ERR_SUCCESS) << LastText();
    EXPECT_GT(size, 576U);
    EXPECT_LE(size, largest);
    ASSERT_NO_FATAL_FAILURE(Stop());
}

TEST_F(GenTLStreamEnd, TellsOfAStreamThatEndsByItself) {
    ASSERT_NO_FATAL_FAILURE(Begin("Halted"));
    EVENT_HANDLE errors = nullptr, changes = nullptr;
    ASSERT_EQ(gc.GCRegisterEvent(stream, EVENT_ERROR, &errors), GC_ERR_SUCCESS);
    ASSERT_NO_FATAL_FAILURE(Announce(4));
    ASSERT_NO_FATAL_FAILURE(Start());
    ASSERT_EQ(gc.GCRegisterEvent(stream, EVENT_FEATURE_INVALIDATE, &changes), GC_ERR_SUCCESS);
    std::array<std::future<std::string>, 3> waiters;
    for (auto& waiter : waiters)
        waiter = Taker();
    const std::string reason = waiters.front().get();
    EXPECT_EQ(reason.rfind("-1010 the stream has ended: ", 0), 0U) << reason;
    for (std::size_t i = 1; i < waiters.size(); ++i)
        EXPECT_EQ(waiters[i].get(), reason);
    EXPECT_EQ(StreamNumber<bool8_t>(STREAM_INFO_IS_GRABBING), 0);
    char data[512] = "";
    size_t size = sizeof data;
    ASSERT_EQ(gc.EventGetData(errors, data, &size, kPatience), GC_ERR_SUCCESS);
    EXPECT_EQ(std::to_string(NumberOf<int32_t>([&](void* value, size_t* bytes) {
                  return gc.EventGetDataInfo(errors, data, size, EVENT_DATA_ID, nullptr, value, bytes);
              })) +
                  " " + consumer::TextOf([&](char* text, size_t* bytes) {
                      return gc.EventGetDataInfo(errors, data, size, EVENT_DATA_VALUE, nullptr, text, bytes);
                  }),
              reason);
    size = sizeof data;
    ASSERT_EQ(gc.EventGetData(changes, data, &size, kPatience), GC_ERR_SUCCESS);
    EXPECT_STREQ(data, "StreamIsGrabbing");
    EXPECT_EQ(gc.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS) << LastText();
}

TEST_F(GenTLStreamEnd, AnswersWhileASlowCameraIsStopped) {
    ASSERT_NO_FATAL_FAILURE(Begin("Slow"));
    ASSERT_NO_FATAL_FAILURE(Announce(2));
    ASSERT_EQ(gc.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE), GC_ERR_SUCCESS) << LastText();
    auto stop = std::async(std::launch::async, [&] { return gc.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT); });
    while (StreamNumber<bool8_t>(STREAM_INFO_IS_GRABBING) != 0)
        std::this_thread::yield();
    EVENT_NEW_BUFFER_DATA data{};
    EXPECT_EQ(Next(data, 1), GC_ERR_TIMEOUT);
    EXPECT_EQ(StreamNumber<size_t>(STREAM_INFO_NUM_QUEUED), 2U);
    EXPECT_EQ(gc.DSStartAcquisition(nullptr, ACQ_START_FLAGS_DEFAULT, 1), GC_ERR_INVALID_HANDLE);
    EXPECT_NE(stop.wait_for(std::chrono::seconds(0)), std::future_status::ready) << "the camera takes two seconds";
    EXPECT_EQ(stop.get(), GC_ERR_SUCCESS);
}

/// Its stream's thread waits for answers to what switches the stream off and on, which do not come.
class GenTLStreamRecovery : public GenTLStreamEnd {
protected:
    void BeginToRecover(const std::string& serial, uint64_t count = GENTL_INFINITE) {
        ASSERT_NO_FATAL_FAILURE(Begin(serial));
        ASSERT_NO_FATAL_FAILURE(Announce(8));
        ASSERT_EQ(gc.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, count), GC_ERR_SUCCESS) << LastText();
        constexpr uint64_t acquisitionStart = 0x102004;
        const uint32_t one = 1;
        size_t size = sizeof one;
        ASSERT_EQ(gc.GCWritePort(port, acquisitionStart, &one, &size), GC_ERR_SUCCESS) << LastText();
        for (bool isWhole = true; isWhole;) {
            EVENT_NEW_BUFFER_DATA data{};
            ASSERT_EQ(Next(data, kPatience), GC_ERR_SUCCESS) << LastText();
            isWhole = BufferNumber<bool8_t>(data.BufferHandle, BUFFER_INFO_IS_INCOMPLETE) == 0;
        }
    }
    /// A flush that was under way before and after `during`, as it only is while the camera keeps the stream's thread.
    template<class During>
    std::future<GC_ERROR> FlushAround(ACQ_QUEUE_TYPE operation, During&& during) {
        for (;;) {
            EXPECT_EQ(gc.DSFlushQueue(stream, ACQ_QUEUE_ALL_TO_INPUT), GC_ERR_SUCCESS) << LastText();
            auto flush = std::async(std::launch::async, [=] { return gc.DSFlushQueue(stream, operation); });
            during();
            if (flush.wait_for(std::chrono::seconds(0)) != std::future_status::ready || HasFailure()) return flush;
            EXPECT_EQ(flush.get(), GC_ERR_SUCCESS);
        }
    }
    void AsksOtherThings() {
        for (int i = 0; i < 50; ++i) {
            EVENT_NEW_BUFFER_DATA data{};
            const GC_ERROR code = Next(data, 1);
            ASSERT_TRUE(code == GC_ERR_TIMEOUT || code == GC_ERR_SUCCESS) << LastText();
            ASSERT_EQ(StreamNumber<size_t>(STREAM_INFO_NUM_ANNOUNCED), 8U);
        }
    }
};

TEST_F(GenTLStreamRecovery, AnswersWhileBuffersAreCalledOff) {
    ASSERT_NO_FATAL_FAILURE(BeginToRecover("Recovering0"));
    auto flush = FlushAround(ACQ_QUEUE_ALL_DISCARD, [&] { AsksOtherThings(); });
    EXPECT_EQ(flush.get(), GC_ERR_SUCCESS);
    EXPECT_EQ(StreamNumber<size_t>(STREAM_INFO_NUM_QUEUED), 0U);
    EXPECT_EQ(gc.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS) << LastText();
}

TEST_F(GenTLStreamRecovery, FlushesWhatIsQueuedWhileBuffersAreCalledOff) {
    ASSERT_NO_FATAL_FAILURE(BeginToRecover("Recovering1"));
    size_t queued = 0;
    auto flush = FlushAround(ACQ_QUEUE_INPUT_TO_OUTPUT, [&] {
        EXPECT_EQ(gc.DSFlushQueue(stream, ACQ_QUEUE_UNQUEUED_TO_INPUT), GC_ERR_SUCCESS);
        queued = StreamNumber<size_t>(STREAM_INFO_NUM_QUEUED);
    });
    EXPECT_EQ(flush.get(), GC_ERR_SUCCESS);
    EXPECT_EQ(queued, 8U);
    EXPECT_EQ(StreamNumber<size_t>(STREAM_INFO_NUM_AWAIT_DELIVERY), 8U);
    EXPECT_EQ(StreamNumber<size_t>(STREAM_INFO_NUM_QUEUED), 0U);
    EXPECT_EQ(gc.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS) << LastText();
}

TEST_F(GenTLStreamRecovery, StopsWhileBuffersAreCalledOff) {
    ASSERT_NO_FATAL_FAILURE(BeginToRecover("Recovering2"));
    auto flush = FlushAround(ACQ_QUEUE_ALL_DISCARD, [&] { AsksOtherThings(); });
    EXPECT_EQ(gc.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS) << LastText();
    EXPECT_EQ(flush.get(), GC_ERR_SUCCESS);
    EXPECT_EQ(StreamNumber<size_t>(STREAM_INFO_NUM_QUEUED), 0U);
}

TEST_F(GenTLStreamRecovery, RevokesBuffersThatANumberOfImagesDidNotNeed) {
    ASSERT_NO_FATAL_FAILURE(BeginToRecover("Recovering3", 4));
    EXPECT_EQ(StreamNumber<bool8_t>(STREAM_INFO_IS_GRABBING), 0);
    for (BUFFER_HANDLE buffer : buffers)
        EXPECT_EQ(gc.DSRevokeBuffer(stream, buffer, nullptr, nullptr), GC_ERR_SUCCESS) << LastText();
    EXPECT_EQ(gc.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS) << LastText();
}

/// In each way to handle buffers.
class GenTLStreamEndIn : public GenTLStreamEnd, public testing::WithParamInterface<Mode> {};

INSTANTIATE_TEST_SUITE_P(Modes, GenTLStreamEndIn,
                         testing::Values(Mode{"OldestFirst", "Unplug1"}, Mode{"OldestFirstOverwrite", "Unplug2"},
                                         Mode{"NewestOnly", "Unplug3"}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_P(GenTLStreamEndIn, TellsOfAnUnplugToAllWhoWaitForImages) {
    ASSERT_NO_FATAL_FAILURE(Begin(GetParam().serial));
    ASSERT_NO_FATAL_FAILURE(Handle(GetParam().name));
    ASSERT_NO_FATAL_FAILURE(Announce(3));
    std::array<std::future<std::string>, 4> waiters;
    for (auto& waiter : waiters)
        waiter = Taker();
    ASSERT_NO_FATAL_FAILURE(StartTheLastTime());
    while (StreamNumber<size_t>(STREAM_INFO_NUM_ANNOUNCED) == 3 && !IsOver(waiters.front()))
        std::this_thread::yield();
    for (auto& waiter : waiters)
        EXPECT_EQ(waiter.get(), kUnplugged);
    EXPECT_EQ(StreamNumber<size_t>(STREAM_INFO_NUM_ANNOUNCED), 3U) << LastText();
}

} // namespace
