// What a stream keeps its images in.
#include "camera/CameraTest.h"

#include <gmock/gmock.h>

#include <atomic>
#include <condition_variable>
#include <fstream>
#include <iterator>
#include <list>
#include <mutex>
#include <thread>

#include <pthread.h>
#include <unistd.h>

namespace {

using namespace cameratest;
using namespace std::chrono_literals;
using testing::HasSubstr;

TEST(ImageMemory, RefusesImagesThatAreLargerThanAllowed) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    camera["PixelFormat"] = "Mono8";
    Tavix::GrabOptions options;
    options.buffers = 3;
    options.count = 1;
    options.memoryLimit = 3 * 64 * 64 - 1;
    EXPECT_THAT(
        ErrorOf<Tavix::Error>([&] { camera.Grab(options); }),
        HasSubstr("3 buffers for images of 4096 bytes take more than the 12287 bytes of memoryLimit; 2 would fit"));
    ++options.memoryLimit;
    for (const Tavix::Image& image : camera.Grab(options))
        EXPECT_TRUE(image.IsWhole()) << image.Defect();
}

TEST(ImageMemory, IsNotFrozenByImagesThatAreKept) {
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

TEST(ImageMemory, StopsAtTheBudgetAndGoesOnOnceAnImageIsGivenBack) {
    VirtualBus bus(kPaced);
    Tavix::Camera camera = Tavix::Camera::Open();
    Tavix::GrabOptions options;
    options.buffers = 2;
    options.keepBudget = 0;
    options.timeout = 100ms;
    Tavix::ImageStream stream = camera.Grab(options);
    Tavix::Image first = stream.Next(), second = stream.Next();
    EXPECT_THAT(ErrorOf<Tavix::Timeout>([&] { stream.Next(); }),
                HasSubstr("all 2 images that there is memory for are kept"));
    EXPECT_EQ(stream.Counts().starved, 1U);
    EXPECT_EQ(stream.Counts().buffers, 2U);
    first = Tavix::Image();
    std::uint64_t missed = 0;
    while (missed == 0) // behind those that the camera itself could keep
        missed = stream.Next().MissedBefore();
    EXPECT_EQ(stream.Counts().missed, missed);
}

TEST(ImageMemory, IsWokenByAnImageThatAnotherThreadGivesBack) {
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

TEST(ImageMemory, GoesOnWithACallbackThatKeepsImagesForAWhile) {
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
TEST(ImageMemory, MakesFurtherBuffersForACallbackOnAnotherThread) {
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

TEST(ImageMemory, TakesMemoryFromAnAllocator) {
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

TEST(ImageMemory, FailsToStartWithoutMemoryAndCanBeStartedAgain) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    Tavix::GrabOptions options;
    options.allocator = [](std::size_t) { return nullptr; };
    EXPECT_THAT(ErrorOf<Tavix::Error>([&] { camera.Grab(options); }), HasSubstr("no memory"));
    EXPECT_TRUE(camera.Grab(1).Next());
}

TEST(ImageMemory, TellsWhatItsAllocatorThrew) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    Tavix::GrabOptions options;
    options.allocator = [](std::size_t) -> std::shared_ptr<void> { throw std::runtime_error("the card is full."); };
    EXPECT_THAT(ErrorOf<Tavix::Error>([&] { camera.Grab(options); }), testing::EndsWith("images: the card is full"));
    options.allocator = [](std::size_t) -> std::shared_ptr<void> { throw 7; };
    EXPECT_THAT(ErrorOf<Tavix::Error>([&] { camera.Grab(options); }), HasSubstr("no memory"));
    EXPECT_TRUE(camera.Grab(1).Next());
}

/// A file of one's own, removed at the end of its scope.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& text) {
        close(mkstemp(m_Path));
        std::ofstream(m_Path) << text;
    }
    ~TemporaryFile() { std::remove(m_Path); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    std::string Path() const { return m_Path; }

private:
    char m_Path[32] = "/tmp/tavix-camera-XXXXXX";
};

TEST(ImageMemory, IsAsLargeAsTheStreamSaysWhateverAFeatureSays) {
    std::ifstream file(TAVIX_VIRTUAL_CAMERA_XML);
    std::string xml{std::istreambuf_iterator<char>(file), {}};
    const std::string link = "<pValue>PayloadSize_Reg</pValue>";
    ASSERT_NE(xml.find(link), std::string::npos);
    xml.replace(xml.find(link), link.size(), "<Value>536870912</Value>");
    const TemporaryFile description(xml);
    VirtualBus bus(R"([{"sensorWidth": 64, "sensorHeight": 64, "frameRateEnable": false,
                        "registers": {"descriptionPath": ")" +
                   description.Path() + "\"}}]");
    Tavix::Camera camera = Tavix::Camera::Open();
    camera["PixelFormat"] = "Mono8";
    ASSERT_EQ(camera["PayloadSize"].Int(), 536870912);
    Tavix::GrabOptions options;
    options.buffers = 3;
    Tavix::ImageStream stream = camera.Grab(options);
    EXPECT_TRUE(stream.Next());
    EXPECT_EQ(stream.Counts().memory, 3U * 64 * 64);
}

} // namespace
