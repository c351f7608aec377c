#include "camera/CameraTest.h"

#include <tavix/camera/Group.h>

#include <gmock/gmock.h>

#include <thread>

namespace {

using namespace cameratest;
using namespace std::chrono_literals;
using testing::HasSubstr;

constexpr char kThree[] = R"([{"serial": "1", "sensorWidth": 64, "sensorHeight": 64, "frameRate": 100},
                              {"serial": "2", "sensorWidth": 64, "sensorHeight": 64, "frameRate": 100},
                              {"serial": "3", "sensorWidth": 64, "sensorHeight": 64, "frameRate": 100}])";

Tavix::GroupOptions Triggered() {
    Tavix::GroupOptions options;
    options.by = Tavix::GroupBy::BlockId;
    return options;
}

void AwaitSoftware(Tavix::Group& group) {
    group.Set("TriggerSource", "Software");
    group.Set("TriggerMode", "On");
}

TEST(Group, OpensAllOrThoseThatAreNamed) {
    VirtualBus bus(kThree);
    EXPECT_EQ(Tavix::Group::Open().Size(), 3U);
    Tavix::Group two = Tavix::Group::Open({"3", "1"});
    EXPECT_EQ(two[0].Info().serial, "3");
    EXPECT_EQ(two.Size(), 2U);
}

TEST(Group, OpensNoneIfOneCannotBeHad) {
    VirtualBus bus(kThree);
    ErrorOf<Tavix::NotFound>([] { Tavix::Group::Open({"1", "2", "nobody"}); });
    EXPECT_EQ(Tavix::Group::Open().Size(), 3U);
}

TEST(Group, GivesSetsOfOneTriggerByBlockId) {
    VirtualBus bus(kThree);
    Tavix::Group group = Tavix::Group::Open();
    AwaitSoftware(group);
    Tavix::GroupStream stream = group.Grab(Triggered());
    for (std::uint64_t i = 0; i < 5; ++i) {
        group.Trigger();
        const Tavix::ImageSet set = stream.Next();
        ASSERT_TRUE(set.IsComplete());
        for (const Tavix::Image& image : set.images)
            EXPECT_EQ(image.BlockId(), i);
    }
}

TEST(Group, LeavesItsCamerasAloneOnceItsStreamHasEnded) {
    VirtualBus bus(kThree);
    Tavix::Group group = Tavix::Group::Open();
    Tavix::GroupOptions options;
    options.grab.count = 2;
    Tavix::GroupStream stream = group.Grab(options);
    while (!stream.Next().images.empty())
        continue;
    group.Set("Width", "32"); // locked while a camera streams
    EXPECT_EQ(stream.Counts().size(), 3U);
    Tavix::GroupStream other = group.Grab();
    other.Cancel();
    EXPECT_TRUE(other.Next().images.empty());
    group.Set("Width", "64");
}

TEST(Group, GivesSetsOfOneMoment) {
    VirtualBus bus(kThree);
    Tavix::Group group = Tavix::Group::Open();
    AwaitSoftware(group);
    Tavix::GroupOptions options;
    options.tolerance = 2s; // triggers one after the other, on a machine that may be busy
    Tavix::GroupStream stream = group.Grab(options);
    for (int i = 0; i < 3; ++i) {
        group.Trigger();
        EXPECT_TRUE(stream.Next().IsComplete());
    }
}

TEST(Group, LeavesThePlaceOfASilentCameraEmptyAndWaitsForItNoLongerThanItsTimeout) {
    VirtualBus bus(kThree);
    Tavix::Group group = Tavix::Group::Open();
    AwaitSoftware(group);
    Tavix::GroupOptions options = Triggered();
    options.setTimeout = 1s; // the two others come within it, also on a machine that is busy
    Tavix::GroupStream stream = group.Grab(options);
    group[0].Trigger();
    group[2].Trigger();
    const Tavix::ImageSet set = stream.Next();
    ASSERT_EQ(set.images.size(), 3U);
    EXPECT_FALSE(set.IsComplete());
    EXPECT_TRUE(set.images[0] && set.images[2]);
    EXPECT_TRUE(set.images[1].IsEmpty());
    EXPECT_THAT(set.gaps[1], HasSubstr("silent"));
}

TEST(Group, TellsOfACameraThatIsGone) {
    VirtualBus bus(R"([{"serial": "1", "sensorWidth": 64, "sensorHeight": 64, "frameRate": 100},
                       {"serial": "2", "sensorWidth": 64, "sensorHeight": 64, "frameRate": 100,
                        "faults": {"stream": [{"fault": "Unplug", "frame": 3, "value": 10}]}}])");
    Tavix::Group group = Tavix::Group::Open();
    Tavix::GroupOptions options;
    options.tolerance = 4ms;
    Tavix::GroupStream stream = group.Grab(options);
    Tavix::ImageSet set = stream.Next();
    while (set.gaps[1].find("unplugged") == std::string::npos)
        set = stream.Next();
    EXPECT_TRUE(stream.Next().images[0]);
}

TEST(Group, HasCompleteSetsByBlockIdAgainOnceACameraIsBack) {
    VirtualBus bus(R"([{"serial": "1", "sensorWidth": 64, "sensorHeight": 64, "frameRate": 100},
                       {"serial": "2", "sensorWidth": 64, "sensorHeight": 64, "frameRate": 100,
                        "faults": {"stream": [{"fault": "Unplug", "frame": 3, "value": 10}], "replugAfterMs": 20}}])");
    Tavix::Group group = Tavix::Group::Open();
    Tavix::GroupOptions options = Triggered();
    options.grab.reconnect = 20s;
    options.tolerance = 5ms; // half a period: each image has another one of its moment
    Tavix::GroupStream stream = group.Grab(options);
    Tavix::ImageSet set = stream.Next();
    for (int returns = 0; returns == 0 || !set.IsComplete(); set = stream.Next()) {
        ASSERT_FALSE(set.images.empty());
        returns = static_cast<int>(stream.Counts()[1].reconnects);
    }
    EXPECT_LT(set.images[1].BlockId(), set.images[0].BlockId());
}

TEST(Group, HandsOutTheNewestSetIfAskedFor) {
    VirtualBus bus(kThree);
    Tavix::Group group = Tavix::Group::Open();
    AwaitSoftware(group);
    Tavix::GroupOptions options = Triggered();
    options.grab.newestOnly = true;
    Tavix::GroupStream stream = group.Grab(options);
    for (int i = 0; i < 3; ++i)
        group.Trigger();
    while (stream.Counts()[2].dropped < 2)
        std::this_thread::yield();
    const Tavix::ImageSet set = stream.Next();
    ASSERT_TRUE(set.IsComplete());
    for (const Tavix::Image& image : set.images) {
        EXPECT_EQ(image.BlockId(), 2U);
        EXPECT_EQ(image.Number(), 0U);
    }
}

TEST(Group, EndsAfterAsManySetsAsAreAskedFor) {
    VirtualBus bus(kThree);
    Tavix::Group group = Tavix::Group::Open();
    Tavix::GroupOptions options;
    options.grab.count = 3;
    Tavix::GroupStream stream = group.Grab(options);
    int sets = 0;
    while (!stream.Next().images.empty())
        ++sets;
    EXPECT_EQ(sets, 3);
    EXPECT_TRUE(stream.HasEnded());
}

TEST(Group, TimesOutWhenNobodySendsAnything) {
    VirtualBus bus(kThree);
    Tavix::Group group = Tavix::Group::Open();
    AwaitSoftware(group);
    Tavix::GroupOptions options;
    options.grab.timeout = 10ms;
    Tavix::GroupStream stream = group.Grab(options);
    ErrorOf<Tavix::Timeout>([&] { stream.Next(); });
    EXPECT_TRUE(stream.Wait(1ms).images.empty());
    stream.Cancel();
    EXPECT_TRUE(stream.Next().images.empty());
}

TEST(Group, TakesTimesThatAreBeyondTheClockOrForEver) {
    VirtualBus bus(kThree);
    Tavix::Group group = Tavix::Group::Open();
    AwaitSoftware(group);
    for (const std::chrono::milliseconds time : {std::chrono::milliseconds::max(), std::chrono::milliseconds(-1)}) {
        Tavix::GroupOptions options = Triggered();
        options.setTimeout = options.grab.timeout = options.grab.reconnect = time;
        Tavix::GroupStream stream = group.Grab(options);
        group.Trigger(time);
        EXPECT_TRUE(stream.Wait(time).IsComplete());
    }
}

TEST(Group, SaysOfAStreamThatWasMovedAwayThatItWas) {
    VirtualBus bus(kThree);
    Tavix::Group group = Tavix::Group::Open();
    Tavix::GroupStream from = group.Grab();
    Tavix::GroupStream to = std::move(from);
    from.Cancel();
    ErrorOf<Tavix::StateError>([&] { from.Next(); });
    ErrorOf<Tavix::StateError>([&] { from.Wait(1ms); });
    ErrorOf<Tavix::StateError>([&] { from.HasEnded(); });
    ErrorOf<Tavix::StateError>([&] { from.Counts(); });
    EXPECT_FALSE(to.HasEnded());
}

} // namespace
