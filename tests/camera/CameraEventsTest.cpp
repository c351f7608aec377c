#include "camera/CameraTest.h"

#include <tavix/Device.h>
#include <tavix/EventGrabber.h>

#include <gmock/gmock.h>

#include <condition_variable>
#include <future>
#include <mutex>
#include <optional>
#include <set>
#include <thread>

namespace {

using namespace cameratest;
using namespace std::chrono_literals;
using testing::HasSubstr;

/// Events as they come. Thread-safe.
class Inbox {
public:
    void operator()(const Tavix::CameraEvent& event) {
        const std::lock_guard<std::mutex> guard(m_Mutex);
        m_Events.push_back(event);
        m_Changed.notify_all();
    }
    std::vector<Tavix::CameraEvent> Await(std::size_t count) {
        std::unique_lock<std::mutex> guard(m_Mutex);
        EXPECT_TRUE(m_Changed.wait_for(guard, 20s, [&] { return m_Events.size() >= count; }));
        return m_Events;
    }

private:
    std::mutex m_Mutex;
    std::condition_variable m_Changed;
    std::vector<Tavix::CameraEvent> m_Events;
};

TEST(CameraEvents, IsDeliveredWithItsValues) {
    VirtualBus bus(kPaced);
    Inbox inbox;
    Tavix::Camera camera = Tavix::Camera::Open();
    camera.OnEvent("ExposureEnd", std::ref(inbox));
    Tavix::ImageStream stream = camera.Grab();
    const auto events = inbox.Await(3);
    for (const Tavix::CameraEvent& event : events) {
        EXPECT_EQ(event.name, "ExposureEnd");
        EXPECT_GT(event["Timestamp"].Int(), 0);
        EXPECT_EQ(event["EventExposureEndTimestamp"].Int(), event["Timestamp"].Int());
    }
    EXPECT_EQ(events[1]["FrameID"].Int(), events[0]["FrameID"].Int() + 1);
    ErrorOf<Tavix::NotFound>([&] { events[0]["Weather"]; });
}

TEST(CameraEvents, GoesToThoseWhoAskedForIt) {
    VirtualBus bus(kPaced);
    Inbox starts, ends;
    Tavix::Camera camera = Tavix::Camera::Open();
    camera.OnEvent("FrameStart", std::ref(starts));
    camera.OnEvent("ExposureEnd", std::ref(ends));
    Tavix::ImageStream stream = camera.Grab();
    for (const Tavix::CameraEvent& event : starts.Await(3))
        EXPECT_EQ(event.name, "FrameStart");
    for (const Tavix::CameraEvent& event : ends.Await(3))
        EXPECT_EQ(event.name, "ExposureEnd");
}

TEST(CameraEvents, OfAnyKindGoesToThoseWhoAskedForAll) {
    VirtualBus bus(kPaced);
    Inbox inbox;
    Tavix::Camera camera = Tavix::Camera::Open();
    camera.OnEvent("", std::ref(inbox));
    Tavix::ImageStream stream = camera.Grab();
    std::set<std::string> names;
    for (const Tavix::CameraEvent& event : inbox.Await(6)) {
        names.insert(event.name);
        ASSERT_GE(event.message.size(), 16U);
        EXPECT_EQ(event.message[14] | event.message[15] << 8, event.values.at("Event" + event.name).Int());
    }
    EXPECT_THAT(names, testing::IsSupersetOf({"ExposureEnd", "FrameStart"}));
}

TEST(CameraEvents, LeavesANotificationThatWasOn) {
    VirtualBus bus(kPaced);
    Tavix::Camera camera = Tavix::Camera::Open();
    camera["EventSelector"] = "ExposureEnd";
    camera["EventNotification"] = "On";
    camera.OnEvent("", [](const Tavix::CameraEvent&) {});
    camera.Close();
    camera = Tavix::Camera::Open();
    camera["EventSelector"] = "ExposureEnd";
    EXPECT_EQ(camera["EventNotification"].Text(), "On");
    camera["EventSelector"] = "FrameStart";
    EXPECT_EQ(camera["EventNotification"].Text(), "Off");
}

TEST(CameraEvents, LeavesTheSelectorAsItWas) {
    VirtualBus bus(kPaced);
    Tavix::Camera camera = Tavix::Camera::Open();
    camera["EventSelector"] = "FrameStart";
    camera.OnEvent("ExposureEnd", [](const Tavix::CameraEvent&) {});
    EXPECT_EQ(camera["EventSelector"].Text(), "FrameStart");
    camera["EventSelector"] = "ExposureEnd";
    EXPECT_EQ(camera["EventNotification"].Text(), "On");
}

TEST(CameraEvents, OfAChannelThatHasFailedMayStillBeAskedFor) {
    VirtualBus bus(kPaced);
    Tavix::Camera camera = Tavix::Camera::Open();
    camera["EventSelector"] = "ExposureEnd";
    camera.OnEvent("ExposureEnd", [](const Tavix::CameraEvent&) {});
    camera.Device().GetEventGrabber()->Close(); // what waits for events meets an exception
    for (int i = 0; i < 30; ++i) {
        ASSERT_EQ(camera["EventNotification"].Text(), "On") << "the thread has let the device go";
        std::this_thread::sleep_for(10ms);
    }
    camera.OnEvent("FrameStart", [](const Tavix::CameraEvent&) {});
    camera["EventSelector"] = "FrameStart";
    EXPECT_EQ(camera["EventNotification"].Text(), "On");
    camera.Close();
    EXPECT_EQ(Tavix::Camera::Open()["EventNotification"].Text(), "Off");
}

TEST(CameraEvents, OfAnUnknownNameIsRefusedWithThoseThatThereAre) {
    VirtualBus bus(kPaced);
    Tavix::Camera camera = Tavix::Camera::Open();
    try {
        camera.OnEvent("ExposureEn", [](const Tavix::CameraEvent&) {});
        FAIL();
    } catch (const Tavix::NotFound& e) {
        EXPECT_THAT(e.what(), HasSubstr("FrameStart"));
        ASSERT_FALSE(e.Suggestions().empty());
        EXPECT_EQ(e.Suggestions().front(), "ExposureEnd");
    }
}

TEST(CameraEvents, LetsItsCallbackReadFeaturesAndEndItself) {
    VirtualBus bus(kPaced);
    Inbox inbox;
    Tavix::Camera camera = Tavix::Camera::Open();
    Tavix::Subscription subscription;
    std::mutex mutex;
    std::unique_lock<std::mutex> guard(mutex);
    subscription = camera.OnEvent("ExposureEnd", [&](const Tavix::CameraEvent& event) {
        const std::lock_guard<std::mutex> known(mutex);
        EXPECT_EQ(camera["Width"].Int(), 64);
        subscription.End();
        inbox(event);
    });
    guard.unlock();
    Tavix::ImageStream stream = camera.Grab(10);
    while (stream.Next())
        continue;
    EXPECT_EQ(inbox.Await(1).size(), 1U);
}

TEST(CameraEvents, LetsItsCallbackCloseTheCamera) {
    VirtualBus bus(kPaced);
    Inbox inbox;
    Tavix::Camera camera = Tavix::Camera::Open();
    camera.OnEvent("", [&](const Tavix::CameraEvent& event) {
        camera.Close();
        inbox(event);
    });
    Tavix::ImageStream stream = camera.Grab();
    while (stream.Next())
        continue;
    inbox.Await(1);
    EXPECT_FALSE(camera.IsOpen());
    camera.Close(); // now it is given back
    Tavix::Camera::Open()["Width"] = 32;
    EXPECT_EQ(inbox.Await(1).size(), 1U) << "events of a camera that is closed";
}

TEST(CameraEvents, LetsItsCallbackDestroyTheCamera) {
    VirtualBus bus(kPaced);
    std::promise<void> alone, gone;
    std::shared_ptr<void> last(nullptr, [&](void*) { gone.set_value(); }); // goes with the callback, after all the rest
    std::optional<Tavix::Camera> camera(Tavix::Camera::Open());
    auto destroy = [&, last, isAlone = alone.get_future().share()](const Tavix::CameraEvent&) mutable {
        isAlone.wait();
        camera.reset(); // with all that belongs to it, since no stream holds it any more
    };
    camera->OnEvent("ExposureEnd", std::move(destroy));
    EXPECT_TRUE(camera->Grab().Next());
    last.reset();
    alone.set_value();
    EXPECT_EQ(gone.get_future().wait_for(20s), std::future_status::ready);
    EXPECT_FALSE(camera);
}

} // namespace
