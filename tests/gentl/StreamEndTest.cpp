// Cameras that leave, and streams that end by themselves, under those who wait.

#include "StreamSession.h"

#include <future>
#include <thread>

namespace {

constexpr uint64_t kPatience = 60000; // ms; whoever waits so long is not told

/// Each test has a camera with a fault of its own, by its serial number: who leaves does not come back.
constexpr const char* kCameras = R"({"cameras": [
    {"serial": "Unplug0", "faults": {"stream": [{"fault": "Unplug", "frame": 12, "value": 10000}]}},
    {"serial": "Unplug1", "faults": {"stream": [{"fault": "Unplug", "frame": 12, "value": 10000}]}},
    {"serial": "Unplug2", "faults": {"stream": [{"fault": "Unplug", "frame": 12, "value": 10000}]}},
    {"serial": "Unplug3", "faults": {"stream": [{"fault": "Unplug", "frame": 12, "value": 10000}]}}
]})";

class GenTLStreamEnd : public consumer::StreamSession {
protected:
    void SetUp() override {
        ::setenv("TAVIX_VIRTUAL_CAMERAS", kCameras, 1);
        Session::SetUp();
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
    std::vector<std::future<std::string>> waiters;
    for (int i = 0; i < 6; ++i)
        waiters.push_back(std::async(std::launch::async, [&] {
            uint8_t message[1024];
            size_t size = sizeof message;
            const GC_ERROR code = gc.EventGetData(remote, message, &size, kPatience);
            return std::to_string(code) + " " + LastText();
        }));
    ASSERT_NO_FATAL_FAILURE(StartTheLastTime());
    EXPECT_EQ(TakeAll(true), kUnplugged);
    for (auto& waiter : waiters)
        EXPECT_EQ(waiter.get(), kUnplugged);
}

struct Mode {
    const char* name;
    const char* serial;
};

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
    std::vector<std::future<std::string>> waiters;
    for (int i = 0; i < 4; ++i)
        waiters.push_back(Taker());
    ASSERT_NO_FATAL_FAILURE(StartTheLastTime());
    while (StreamNumber<size_t>(STREAM_INFO_NUM_ANNOUNCED) == 3 && !IsOver(waiters.front()))
        std::this_thread::yield();
    for (auto& waiter : waiters)
        EXPECT_EQ(waiter.get(), kUnplugged);
    EXPECT_EQ(StreamNumber<size_t>(STREAM_INFO_NUM_ANNOUNCED), 3U) << LastText();
}

} // namespace
