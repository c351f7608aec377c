#include "camera/CameraTest.h"

#include <gmock/gmock.h>

#include <atomic>
#include <condition_variable>
#include <list>
#include <mutex>
#include <thread>

#include <pthread.h>

namespace {

using namespace cameratest;
using namespace std::chrono_literals;
using testing::HasSubstr;

TEST(Stream, LoopsOverAsManyImagesAsAreAskedFor) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    camera["PixelFormat"] = "Mono8";
    std::uint64_t count = 0;
    for (const Tavix::Image& image : camera.Grab(10)) {
        EXPECT_EQ(image.Number(), count++);
        EXPECT_EQ(image.Width(), 64U);
        EXPECT_EQ(image.Height(), 64U);
        EXPECT_EQ(image.Stride(), 64U);
        EXPECT_EQ(image.PixelFormat(), "Mono8");
        EXPECT_EQ(image.Data().size, 64U * 64U);
        EXPECT_TRUE(image.IsWhole()) << image.Defect();
        EXPECT_GT(image.CameraTime(), 0U);
    }
    EXPECT_EQ(count, 10U);
}

TEST(Stream, EndsWhenTheLoopIsBrokenOff) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    for (const Tavix::Image& image : camera.Grab())
        if (image.Number() == 3) break;
    for (const Tavix::Image& image : camera.Grab(1)) // which needs that the first one has gone
        EXPECT_EQ(image.Number(), 0U);
}

TEST(Stream, RefusesASecondOneOfTheSameCamera) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    const Tavix::ImageStream stream = camera.Grab();
    EXPECT_THAT(ErrorOf<Tavix::StateError>([&] { camera.Grab(); }), HasSubstr("streams already"));
}

TEST(Stream, RefusesImagesThatAreLargerThanAllowed) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    camera["PixelFormat"] = "Mono8";
    Tavix::GrabOptions options;
    options.buffers = 3;
    options.count = 1;
    options.memoryLimit = 3 * 64 * 64 - 1;
    EXPECT_THAT(ErrorOf<Tavix::Error>([&] { camera.Grab(options); }),
                HasSubstr("3 buffers for images of 4096 bytes take more than the 12287 bytes of memoryLimit"));
    ++options.memoryLimit;
    for (const Tavix::Image& image : camera.Grab(options))
        EXPECT_TRUE(image.IsWhole()) << image.Defect();
}

TEST(Stream, IsNotFrozenByImagesThatAreKept) {
    VirtualBus bus(kPaced);
    Tavix::Camera camera = Tavix::Camera::Open();
    Tavix::GrabOptions options;
    options.buffers = 4;
    Tavix::ImageStream stream = camera.Grab(options);
    std::vector<Tavix::Image> kept;
    while (kept.size() < 30)
        kept.push_back(stream.Next());
    EXPECT_EQ(stream.Counts().starved, 0U);
    EXPECT_GE(stream.Counts().buffers, 30U);
    for (std::size_t i = 0; i < kept.size(); ++i)
        EXPECT_EQ(kept[i].Number(), i);
}

TEST(Stream, StopsAtTheBudgetAndGoesOnOnceAnImageIsGivenBack) {
    VirtualBus bus(kPaced);
    Tavix::Camera camera = Tavix::Camera::Open();
    Tavix::GrabOptions options;
    options.buffers = 2;
    options.keepBudget = 0;
    options.timeout = 100ms;
    Tavix::ImageStream stream = camera.Grab(options);
    Tavix::Image first = stream.Next(), second = stream.Next();
    ErrorOf<Tavix::Timeout>([&] { stream.Next(); });
    EXPECT_EQ(stream.Counts().starved, 1U);
    EXPECT_EQ(stream.Counts().buffers, 2U);
    first = Tavix::Image();
    std::uint64_t missed = 0;
    while (missed == 0) // behind those that the camera itself could keep
        missed = stream.Next().MissedBefore();
    EXPECT_EQ(stream.Counts().missed, missed);
}

TEST(Stream, IsWokenByAnImageThatAnotherThreadGivesBack) {
    VirtualBus bus(kPaced);
    Tavix::Camera camera = Tavix::Camera::Open();
    Tavix::GrabOptions options;
    options.buffers = 1;
    options.keepBudget = 0;
    Tavix::ImageStream stream = camera.Grab(options);
    Tavix::Image only = stream.Next();
    std::thread other([image = std::move(only)]() mutable { image = Tavix::Image(); });
    EXPECT_TRUE(stream.Next());
    other.join();
}

TEST(Stream, LeavesImagesWhoeverGoesFirst) {
    Tavix::Image image;
    {
        VirtualBus bus(kFast);
        Tavix::Camera camera = Tavix::Camera::Open();
        Tavix::ImageStream stream = camera.Grab();
        image = stream.Next();
    }
    std::uint64_t sum = 0;
    for (std::uint8_t byte : image.Data())
        sum += byte;
    EXPECT_GT(sum, 0U);
    image = Tavix::Image();
    EXPECT_TRUE(image.IsEmpty());
    ErrorOf<Tavix::StateError>([&] { image.Width(); });
}

TEST(Stream, EndsWithItsCamera) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    Tavix::ImageStream stream = camera.Grab();
    const Tavix::Image image = stream.Next();
    camera.Close();
    EXPECT_FALSE(stream.Next());
    EXPECT_TRUE(stream.HasEnded());
    EXPECT_TRUE(image.IsWhole());
}

TEST(Stream, ReturnsEmptyFromAWaitThatIsCancelled) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    camera["TriggerMode"] = "On";
    Tavix::ImageStream stream = camera.Grab();
    std::thread other([&] { stream.Cancel(); });
    EXPECT_FALSE(stream.Wait(-1ms));
    other.join();
    EXPECT_TRUE(stream.HasEnded());
}

TEST(Stream, EndsInATimeoutThatEndsNothing) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    camera["TriggerSource"] = "Software";
    camera["TriggerMode"] = "On";
    Tavix::GrabOptions options;
    options.timeout = 10ms;
    Tavix::ImageStream stream = camera.Grab(options);
    ErrorOf<Tavix::Timeout>([&] { stream.Next(); });
    EXPECT_FALSE(stream.Wait(1ms));
    EXPECT_FALSE(stream.HasEnded());
    camera["TriggerSoftware"].Execute();
    EXPECT_TRUE(stream.Wait(10s));
}

TEST(Stream, CallsForEachImageInOrder) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    Tavix::GrabOptions options;
    options.count = 20;
    std::vector<std::uint64_t> numbers;
    Tavix::ImageStream stream = camera.Grab(options, [&](Tavix::Image image) { numbers.push_back(image.Number()); });
    EXPECT_TRUE(stream.Join());
    ASSERT_EQ(numbers.size(), 20U);
    for (std::size_t i = 0; i < numbers.size(); ++i)
        EXPECT_EQ(numbers[i], i);
    EXPECT_TRUE(stream.HasEnded());
}

TEST(Stream, CallsOnTheThreadThatTookTheTransfers) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    Tavix::GrabOptions options;
    options.count = 5;
    std::string thread;
    Tavix::ImageStream stream = camera.Grab(options, [&](Tavix::Image) {
        char name[16] = {};
        pthread_getname_np(pthread_self(), name, sizeof name);
        thread = name;
        EXPECT_EQ(camera["Width"].Int(), 64); // no lock is held
    });
    stream.Join();
    EXPECT_EQ(thread, "vx-stream");
}

TEST(Stream, GoesOnWithACallbackThatKeepsImagesForAWhile) {
    VirtualBus bus(kPaced);
    Tavix::Camera camera = Tavix::Camera::Open();
    Tavix::GrabOptions options;
    options.buffers = 2;
    options.keepBudget = 0;
    std::mutex mutex;
    std::vector<Tavix::Image> kept;
    std::condition_variable changed;
    Tavix::ImageStream stream = camera.Grab(options, [&](Tavix::Image image) {
        const std::lock_guard<std::mutex> guard(mutex);
        kept.push_back(std::move(image));
        changed.notify_all();
    });
    for (int i = 0; i < 5; ++i) { // each time there is no buffer left, and nobody but this thread to give one back
        std::unique_lock<std::mutex> guard(mutex);
        EXPECT_TRUE(changed.wait_for(guard, 20s, [&] { return kept.size() == 2; }));
        kept.clear();
    }
}

// The grabber's thread would wait for the grabber, and that for its thread when somebody finishes the grab.
TEST(Stream, MakesFurtherBuffersForACallbackOnAnotherThread) {
    VirtualBus bus(kPaced);
    Tavix::Camera camera = Tavix::Camera::Open();
    Tavix::GrabOptions options;
    options.buffers = 2;
    options.count = 12;
    std::atomic<int> allocatedByGrabber{0};
    options.allocator = [&](std::size_t bytes) {
        char name[16] = {};
        pthread_getname_np(pthread_self(), name, sizeof name);
        if (name == std::string("vx-stream")) ++allocatedByGrabber;
        return std::shared_ptr<void>(::operator new(bytes), [](void* p) { ::operator delete(p); });
    };
    std::vector<Tavix::Image> kept;
    Tavix::ImageStream stream = camera.Grab(options, [&](Tavix::Image image) { kept.push_back(std::move(image)); });
    EXPECT_TRUE(stream.Join());
    EXPECT_EQ(kept.size(), 12U);
    EXPECT_GE(stream.Counts().buffers, 12U);
    EXPECT_EQ(allocatedByGrabber, 0);
}

TEST(Stream, EndsWithACallbackWhoseCameraIsSilent) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    camera["TriggerMode"] = "On";
    Tavix::GrabOptions options;
    options.timeout = 20ms;
    Tavix::ImageStream stream = camera.Grab(options, [](Tavix::Image) {});
    ErrorOf<Tavix::Timeout>([&] { stream.Join(); });
}

TEST(Stream, GivesWhatACallbackThrowsToWhoJoins) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    Tavix::ImageStream stream = camera.Grab(Tavix::GrabOptions(), [](Tavix::Image) { throw std::logic_error("mine"); });
    EXPECT_EQ(ErrorOf<std::logic_error>([&] { stream.Join(); }), "mine");
}

TEST(Stream, HandsOutTheNewestImageAndCountsTheOthers) {
    VirtualBus bus(kPaced);
    Tavix::Camera camera = Tavix::Camera::Open();
    Tavix::GrabOptions options;
    options.newestOnly = true;
    Tavix::ImageStream stream = camera.Grab(options);
    const Tavix::Image first = stream.Next();
    const std::uint64_t before = stream.Counts().dropped;
    while (stream.Counts().dropped < before + 20)
        std::this_thread::yield();
    const Tavix::Image next = stream.Next();
    EXPECT_EQ(next.Number(), first.Number() + 1);
    EXPECT_GE(next.MissedBefore(), 20U);
    EXPECT_EQ(next.BlockId(), first.BlockId() + next.MissedBefore() + 1);
}

TEST(Stream, TellsOfImagesThatNeverCame) {
    VirtualBus bus(R"([{"sensorWidth": 64, "sensorHeight": 64, "frameRateEnable": false,
                        "faults": {"stream": [{"fault": "IdGap", "frame": 3, "value": 2}]}}])");
    Tavix::Camera camera = Tavix::Camera::Open();
    Tavix::ImageStream stream = camera.Grab(8);
    std::uint64_t missed = 0;
    for (const Tavix::Image& image : stream)
        missed += image.MissedBefore();
    EXPECT_EQ(missed, 2U);
    EXPECT_EQ(stream.Counts().missed, 2U);
}

constexpr char kDamaged[] = R"([{"sensorWidth": 64, "sensorHeight": 64, "frameRateEnable": false,
                                "faults": {"stream": [{"fault": "Truncated", "frame": 3, "value": 1000}]}}])";

TEST(Stream, LeavesOutDamagedImagesAndCountsThem) {
    VirtualBus bus(kDamaged);
    Tavix::Camera camera = Tavix::Camera::Open();
    Tavix::ImageStream stream = camera.Grab(8);
    std::uint64_t missed = 0;
    for (const Tavix::Image& image : stream) {
        EXPECT_TRUE(image.IsWhole());
        missed += image.MissedBefore();
    }
    EXPECT_EQ(stream.Counts().failed, 1U);
    EXPECT_EQ(stream.Counts().missed, 0U);
    EXPECT_EQ(missed, 1U);
}

TEST(Stream, HandsOutDamagedImagesIfAskedFor) {
    VirtualBus bus(kDamaged);
    Tavix::Camera camera = Tavix::Camera::Open();
    Tavix::GrabOptions options;
    options.count = 8;
    options.incomplete = true;
    int damaged = 0;
    for (const Tavix::Image& image : camera.Grab(options)) {
        if (image.IsWhole()) continue;
        ++damaged;
        EXPECT_NE(image.Defect(), "");
        EXPECT_GT(image.MissingBytes(), 0U);
        EXPECT_EQ(image.MissingBytes() + image.Payload().size, 64U * 64U);
    }
    EXPECT_EQ(damaged, 1);
}

TEST(Stream, TakesMemoryFromAnAllocator) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    std::list<std::weak_ptr<void>> given;
    Tavix::GrabOptions options;
    options.count = 5;
    options.allocator = [&](std::size_t bytes) {
        std::shared_ptr<void> memory(::operator new(bytes), [](void* p) { ::operator delete(p); });
        given.push_back(memory);
        return memory;
    };
    for (const Tavix::Image& image : camera.Grab(options)) {
        EXPECT_TRUE(std::any_of(given.begin(), given.end(),
                                [&](const auto& memory) { return memory.lock() == image.Memory(); }));
    }
    EXPECT_TRUE(std::all_of(given.begin(), given.end(), [](const auto& memory) { return memory.expired(); }));
}

TEST(Stream, FailsToStartWithoutMemoryAndCanBeStartedAgain) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    Tavix::GrabOptions options;
    options.allocator = [](std::size_t) { return nullptr; };
    EXPECT_THAT(ErrorOf<Tavix::Error>([&] { camera.Grab(options); }), HasSubstr("no memory"));
    EXPECT_TRUE(camera.Grab(1).Next());
}

TEST(Stream, ReadsChunksOfEachImageAlsoWithoutTheCamera) {
    Tavix::Image image;
    {
        VirtualBus bus(kFast);
        Tavix::Camera camera = Tavix::Camera::Open();
        camera["ExposureTime"] = 5000.0;
        camera["ChunkModeActive"] = true;
        for (const std::string& chunk : camera["ChunkSelector"].Entries()) {
            camera["ChunkSelector"] = chunk;
            if (camera["ChunkEnable"].IsWritable()) camera["ChunkEnable"] = true;
        }
        image = camera.Grab(1).Next();
    }
    EXPECT_EQ(image.Chunk("ExposureTime").Float(), 5000.0);
    EXPECT_EQ(image.Chunk("ChunkExposureTime").Float(), 5000.0);
    EXPECT_EQ(image.ChunkChecksum(), Tavix::Checksum::Right);
    EXPECT_EQ(image.Data().size, 64U * 64U);
    EXPECT_GT(image.Payload().size, image.Data().size);
    EXPECT_THAT(ErrorOf<Tavix::NotFound>([&] { image.Chunk("ExposureTim"); }), HasSubstr("ExposureTim"));
}

TEST(Stream, HasNoChunksUnlessTheyAreOn) {
    VirtualBus bus(kFast);
    const Tavix::Image image = Tavix::Camera::Open().Grab(1).Next();
    EXPECT_TRUE(image.ChunkNames().empty());
    EXPECT_EQ(image.ChunkChecksum(), Tavix::Checksum::None);
}

TEST(Stream, ClonesAnImageIntoMemoryOfItsOwn) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    Tavix::Image image = camera.Grab(1).Next();
    const Tavix::Image copy = image.Clone();
    EXPECT_NE(copy.Data().data, image.Data().data);
    EXPECT_TRUE(std::equal(copy.Data().begin(), copy.Data().end(), image.Data().begin(), image.Data().end()));
    EXPECT_EQ(copy.BlockId(), image.BlockId());
    EXPECT_EQ(copy.PixelFormat(), image.PixelFormat());
}

} // namespace
