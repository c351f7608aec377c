#include "camera/CameraTest.h"

#include <gmock/gmock.h>

#include <atomic>
#include <condition_variable>
#include <future>
#include <mutex>
#include <optional>

namespace {

using namespace cameratest;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr char kGoes[] = R"([{"serial": "7", "sensorWidth": 64, "sensorHeight": 64, "frameRate": 200,
    "faults": {"stream": [{"fault": "Unplug", "frame": 5, "value": 100}]}}])";
constexpr char kComesBack[] = R"([{"serial": "7", "sensorWidth": 64, "sensorHeight": 64, "frameRate": 200,
    "faults": {"stream": [{"fault": "Unplug", "frame": 5, "value": 100}], "replugAfterMs": 200}}])";

Tavix::GrabOptions Reconnecting(std::chrono::milliseconds timeout) {
    Tavix::GrabOptions options;
    options.reconnect = timeout;
    return options;
}

TEST(CameraRemoval, EndsAStreamThatDoesNotWait) {
    VirtualBus bus(kGoes);
    Tavix::Camera camera = Tavix::Camera::Open();
    Tavix::ImageStream stream = camera.Grab();
    EXPECT_THAT(ErrorOf<Tavix::Removed>([&] {
                    while (stream.Next())
                        continue;
                }),
                HasSubstr("unplugged"));
    EXPECT_TRUE(stream.HasEnded());
    EXPECT_LE(stream.Counts().delivered, 5U);
    EXPECT_EQ(stream.FirstDefect().find("removed"), std::string::npos) << "buffers that waited are no damaged images";
    ErrorOf<Tavix::Removed>([&] { camera["ExposureTime"] = 1.0; });
}

TEST(CameraRemoval, LeavesTheImagesThatCameBefore) {
    VirtualBus bus(kGoes);
    Tavix::Camera camera = Tavix::Camera::Open();
    camera["TriggerMode"] = "On";
    camera["TriggerSource"] = "Software";
    std::promise<void> gone;
    const Tavix::Subscription removal = camera.OnRemoval([&](bool) { gone.set_value(); });
    Tavix::ImageStream stream = camera.Grab();
    for (int i = 0; i < 5; ++i)
        camera.Trigger();
    try {
        camera.Trigger();
    } catch (const Tavix::Removed&) { // this one may already hear of it
    }
    ASSERT_EQ(gone.get_future().wait_for(20s), std::future_status::ready);
    for (std::uint64_t i = 0; i < 5; ++i)
        EXPECT_EQ(stream.Next().BlockId(), i);
    ErrorOf<Tavix::Removed>([&] { stream.Next(); });
    EXPECT_EQ(stream.Counts().delivered, 5U);
}

constexpr char kGoesWhileItIsAsked[] = R"([{"serial": "7", "faults": {"control": [{"fault": "Unplug", "skip": 60}]}}])";

TEST(CameraRemoval, IsToldByTheAccessThatFailsEvenIfTheNoticeIsStillToCome) {
    VirtualBus bus(kGoesWhileItIsAsked);
    Tavix::Camera camera = Tavix::Camera::Open();
    EXPECT_THAT(ErrorOf<Tavix::Removed>([&] {
                    for (double time = 1000;; ++time)
                        camera["ExposureTime"] = time;
                }),
                HasSubstr("unplugged"));
}

TEST(CameraRemoval, IsToldToNobodyAnyMoreOnceTheCameraIsClosed) {
    VirtualBus bus(kGoesWhileItIsAsked);
    Tavix::Camera camera = Tavix::Camera::Open();
    std::promise<void> entered, mayReturn;
    std::atomic<bool> hasReturned{false};
    const Tavix::Subscription removal = camera.OnRemoval([&](bool) {
        entered.set_value();
        mayReturn.get_future().wait();
        hasReturned = true;
    });
    ErrorOf<Tavix::Removed>([&] {
        for (double time = 1000;; ++time)
            camera["ExposureTime"] = time;
    });
    ASSERT_EQ(entered.get_future().wait_for(20s), std::future_status::ready);
    std::future<bool> closed = std::async(std::launch::async, [&] {
        camera.Close();
        return hasReturned.load();
    });
    EXPECT_EQ(closed.wait_for(300ms), std::future_status::timeout) << "the callback runs";
    mayReturn.set_value();
    EXPECT_TRUE(closed.get());
}

constexpr char kResets[] = R"([{"serial": "7", "faults": {"control": [{"fault": "Unplug", "address": 1048580)";

TEST(CameraRemoval, ByAResetIsWhatWasAskedForHoweverSoonItComes) {
    for (const char* moment :
         {R"(, "command": 2050}]}}])", R"(, "command": 2048}]}}])"}) { // written, or asked whether done
        VirtualBus bus(std::string(kResets) + moment);
        const Tavix::Camera camera = Tavix::Camera::Open();
        EXPECT_NO_THROW(camera["DeviceReset"].Execute()) << moment;
        ErrorOf<Tavix::Removed>([&] { camera["ExposureTime"].Float(); });
    }
}

TEST(CameraRemoval, LeavesNoSettingsThatOneCouldKeep) {
    VirtualBus bus(kGoesWhileItIsAsked);
    const Tavix::Camera camera = Tavix::Camera::Open();
    std::vector<Tavix::RefusedSetting> unread;
    ErrorOf<Tavix::Removed>([&] { camera.ReadSettings(&unread); });
    EXPECT_TRUE(unread.empty());
}

TEST(CameraRemoval, IsSurvivedByAStreamThatWaits) {
    VirtualBus bus(kComesBack);
    Tavix::Camera camera = Tavix::Camera::Open();
    camera["ExposureTime"] = 1234.0;
    camera["Width"] = 32;
    Tavix::ImageStream stream = camera.Grab(Reconnecting(20s));
    std::chrono::nanoseconds gap{0};
    int gaps = 0;
    for (const Tavix::Image& image : stream) {
        EXPECT_EQ(image.Width(), 32U);
        if (image.GapBefore().count() > 0) {
            ++gaps;
            gap = image.GapBefore();
        }
        if (gaps > 0 && image.Number() > 10) break;
    }
    EXPECT_EQ(gaps, 1);
    EXPECT_GE(gap, 200ms);
    EXPECT_EQ(stream.Counts().reconnects, 1U);
    EXPECT_EQ(camera["ExposureTime"].Float(), 1234.0);
}

TEST(CameraRemoval, SetsACameraThatIsBackInTheApplicationsOrder) {
    VirtualBus bus(kComesBack);
    Tavix::Camera camera = Tavix::Camera::Open();
    camera["Width"] = 32;
    camera["OffsetX"] = 32; // there is no room for it before
    camera["EventSelector"] = "ExposureEnd";
    camera["EventNotification"] = "On";
    camera["EventSelector"] = "FrameStart";
    Tavix::ImageStream stream = camera.Grab(Reconnecting(20s));
    while (stream.Next().GapBefore().count() == 0)
        continue;
    EXPECT_EQ(camera["OffsetX"].Int(), 32);
    EXPECT_EQ(camera["EventSelector"].Text(), "FrameStart");
    camera["EventSelector"] = "ExposureEnd";
    EXPECT_EQ(camera["EventNotification"].Text(), "On");
}

TEST(CameraRemoval, EndsAStreamWhoseCameraStaysAway) {
    VirtualBus bus(kGoes);
    Tavix::Camera camera = Tavix::Camera::Open();
    Tavix::ImageStream stream = camera.Grab(Reconnecting(300ms));
    EXPECT_THAT(ErrorOf<Tavix::Removed>([&] {
                    while (stream.Next())
                        continue;
                }),
                HasSubstr("did not come back within 300 ms"));
}

/// Leaves on the command that switches its stream on, or on the next one, and comes back.
std::string GoesWhileItStarts(const char* moment) {
    return std::string(R"([{"serial": "7", "sensorWidth": 64, "sensorHeight": 64, "frameRate": 200,
        "faults": {"control": [{"fault": "Unplug", )") +
           moment + R"(}], "replugAfterMs": 20}}])";
}

constexpr const char* kMomentsOfTheStart[] = {R"("command": 2050, "address": 131076)", R"("whileStreaming": true)"};

TEST(CameraRemoval, WhileAStreamStartsIsSurvivedByOneThatWaits) {
    for (const char* moment : kMomentsOfTheStart) {
        VirtualBus bus(GoesWhileItStarts(moment));
        Tavix::Camera camera = Tavix::Camera::Open();
        camera["Width"] = 32;
        Tavix::ImageStream stream = camera.Grab(Reconnecting(20s));
        const Tavix::Image first = stream.Next();
        EXPECT_EQ(first.Width(), 32U) << moment;
        EXPECT_GT(first.GapBefore().count(), 0) << moment;
        EXPECT_EQ(stream.Counts().reconnects, 1U) << moment;
    }
}

TEST(CameraRemoval, WhileAStreamWithACallbackStartsIsSurvivedByOneThatWaits) {
    for (const char* moment : kMomentsOfTheStart) {
        VirtualBus bus(GoesWhileItStarts(moment));
        Tavix::Camera camera = Tavix::Camera::Open();
        Tavix::GrabOptions options = Reconnecting(20s);
        options.count = 3;
        int images = 0;
        Tavix::ImageStream stream = camera.Grab(options, [&](const Tavix::Image&) { ++images; });
        EXPECT_TRUE(stream.Join(20s)) << moment;
        EXPECT_EQ(images, 3) << moment;
    }
}

TEST(CameraRemoval, WhileAStreamStartsEndsOneThatDoesNotWait) {
    VirtualBus bus(GoesWhileItStarts(kMomentsOfTheStart[0]));
    Tavix::Camera camera = Tavix::Camera::Open();
    EXPECT_THAT(ErrorOf<Tavix::Removed>([&] { camera.Grab(); }), HasSubstr("unplugged"));
}

TEST(CameraRemoval, LeavesAWaitForTheCameraCancellable) {
    VirtualBus bus(kGoes);
    Tavix::Camera camera = Tavix::Camera::Open();
    Tavix::ImageStream stream = camera.Grab(Reconnecting(-1ms));
    while (stream.Wait(500ms))
        continue; // the camera is away, and the time given is kept all the same
    EXPECT_FALSE(stream.HasEnded());
    stream.Cancel();
    EXPECT_FALSE(stream.Next());
}

TEST(CameraRemoval, IsToldAndSoIsTheReturn) {
    VirtualBus bus(kComesBack);
    std::mutex mutex;
    std::vector<bool> told;
    std::condition_variable changed;
    Tavix::Camera camera = Tavix::Camera::Open();
    camera.OnRemoval([&](bool isBack) {
        const std::lock_guard<std::mutex> guard(mutex);
        told.push_back(isBack);
        changed.notify_all();
    });
    int changes = 0;
    camera["ExposureTime"].OnChange([&](const Tavix::Feature&) { ++changes; });
    Tavix::ImageStream stream = camera.Grab(Reconnecting(20s));
    while (stream.Next().GapBefore().count() == 0)
        continue;
    std::unique_lock<std::mutex> guard(mutex);
    EXPECT_TRUE(changed.wait_for(guard, 20s, [&] { return told.size() == 2; }));
    EXPECT_THAT(told, ElementsAre(false, true));
    guard.unlock();
    changes = 0;
    camera["ExposureTime"] = 777.0;
    EXPECT_EQ(changes, 1);
}

TEST(CameraRemoval, LetsItsCallbackCloseTheCameraThatIsBack) {
    VirtualBus bus(kComesBack);
    Tavix::Camera camera = Tavix::Camera::Open();
    camera.OnRemoval([&](bool isBack) {
        if (isBack) camera.Close();
    });
    Tavix::ImageStream stream = camera.Grab(Reconnecting(20s));
    while (stream.Next())
        continue;
    EXPECT_TRUE(stream.HasEnded());
    EXPECT_FALSE(camera.IsOpen());
}

TEST(CameraRemoval, LeavesKeptImagesAsTheyWere) {
    VirtualBus bus(kComesBack);
    Tavix::Camera camera = Tavix::Camera::Open();
    Tavix::ImageStream stream = camera.Grab(Reconnecting(20s));
    const Tavix::Image before = stream.Next();
    const Tavix::Image copy = before.Clone();
    while (stream.Next().GapBefore().count() == 0)
        continue;
    EXPECT_TRUE(std::equal(before.Data().begin(), before.Data().end(), copy.Data().begin(), copy.Data().end()));
}

TEST(CameraWatch, TellsOfCamerasThatGoAndComeBack) {
    VirtualBus bus(kComesBack);
    std::mutex mutex;
    std::vector<bool> told;
    std::condition_variable changed;
    Tavix::CameraWatch watch([&](const Tavix::CameraInfo& info, bool arrived) {
        EXPECT_EQ(info.serial, "7");
        const std::lock_guard<std::mutex> guard(mutex);
        told.push_back(arrived);
        changed.notify_all();
    });
    std::unique_lock<std::mutex> guard(mutex);
    EXPECT_TRUE(changed.wait_for(guard, 20s, [&] { return told.size() == 1; }));
    EXPECT_THAT(told, ElementsAre(true));
}

TEST(CameraWatch, MayBeEndedByItsCallback) {
    VirtualBus bus(R"([{"serial": "7"}, {"serial": "8"}])");
    std::optional<Tavix::CameraWatch> watch;
    std::promise<void> made, ended;
    int calls = 0;
    watch.emplace([&, isMade = made.get_future().share()](const Tavix::CameraInfo&, bool) {
        isMade.wait();
        EXPECT_EQ(++calls, 1) << "the watch had ended";
        watch.reset();
        ended.set_value();
    });
    made.set_value();
    EXPECT_EQ(ended.get_future().wait_for(20s), std::future_status::ready);
}

TEST(CameraWatch, TellsOfKnownCamerasThatWentBeforeItLooked) {
    VirtualBus bus(kPaced);
    Tavix::CameraInfo gone = Tavix::FindCamera("7");
    gone.path += " of yesterday";
    std::mutex mutex;
    std::vector<std::pair<std::string, bool>> told;
    std::condition_variable changed;
    Tavix::CameraWatch watch(
        [&](const Tavix::CameraInfo& info, bool arrived) {
            const std::lock_guard<std::mutex> guard(mutex);
            told.emplace_back(info.path, arrived);
            changed.notify_all();
        },
        {gone});
    std::unique_lock<std::mutex> guard(mutex);
    EXPECT_TRUE(changed.wait_for(guard, 20s, [&] { return told.size() == 2; }));
    EXPECT_THAT(told, ElementsAre(testing::Pair(gone.path, false), testing::Pair(Tavix::FindCamera("7").path, true)));
}

} // namespace
