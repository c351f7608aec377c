#include "camera/CameraTest.h"

#include "core/LogSink.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <future>
#include <optional>
#include <thread>

#include <pthread.h>

namespace {

using namespace cameratest;
using namespace std::chrono_literals;
using testing::HasSubstr;

TEST(ImageStream, LoopsOverAsManyImagesAsAreAskedFor) {
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

TEST(ImageStream, EndsWhenTheLoopIsBrokenOff) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    for (const Tavix::Image& image : camera.Grab())
        if (image.Number() == 3) break;
    for (const Tavix::Image& image : camera.Grab(1)) // which needs that the first one has gone
        EXPECT_EQ(image.Number(), 0U);
}

TEST(ImageStream, RefusesASecondOneOfTheSameCamera) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    const Tavix::ImageStream stream = camera.Grab();
    EXPECT_THAT(ErrorOf<Tavix::StateError>([&] { camera.Grab(); }), HasSubstr("streams already"));
}

TEST(ImageStream, LeavesImagesWhoeverGoesFirst) {
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

TEST(ImageStream, EndsWithItsCamera) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    Tavix::ImageStream stream = camera.Grab();
    const Tavix::Image image = stream.Next();
    camera.Close();
    EXPECT_FALSE(stream.Next());
    EXPECT_TRUE(stream.HasEnded());
    EXPECT_TRUE(image.IsWhole());
}

TEST(ImageStream, LeavesTheCameraAloneOnceItIsCancelled) {
    VirtualBus bus(kPaced);
    Tavix::Camera camera = Tavix::Camera::Open();
    Tavix::ImageStream stream = camera.Grab();
    ASSERT_TRUE(stream.Next());
    stream.Cancel();
    EXPECT_FALSE(stream.Next());
    EXPECT_TRUE(camera.Grab().Next());
}

TEST(ImageStream, ReturnsEmptyFromAWaitThatIsCancelled) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    camera["TriggerMode"] = "On";
    Tavix::ImageStream stream = camera.Grab();
    std::thread other([&] { stream.Cancel(); });
    EXPECT_FALSE(stream.Wait(-1ms));
    other.join();
    EXPECT_TRUE(stream.HasEnded());
}

TEST(ImageStream, EndsInATimeoutThatEndsNothing) {
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

TEST(ImageStream, CallsForEachImageInOrder) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    std::vector<std::uint64_t> numbers;
    Tavix::ImageStream stream = camera.Grab(20, [&](Tavix::Image image) { numbers.push_back(image.Number()); });
    EXPECT_TRUE(stream.Join());
    ASSERT_EQ(numbers.size(), 20U);
    for (std::size_t i = 0; i < numbers.size(); ++i)
        EXPECT_EQ(numbers[i], i);
    EXPECT_TRUE(stream.HasEnded());
}

TEST(ImageStream, CallsOnTheThreadThatTookTheTransfers) {
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

TEST(ImageStream, GivesItsThreadThePriorityThatIsAskedFor) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    const GenApi::CIntegerPtr priority(
        camera.Device().GetStreamGrabber(0)->GetNodeMap()->GetNode("TransferLoopThreadPriority"));
    const std::int64_t usual = priority->GetValue();
    const auto grab = [&](unsigned int asked) {
        Tavix::GrabOptions options;
        options.threadPriority = asked;
        const Tavix::ImageStream stream = camera.Grab(options);
        return priority->GetValue();
    };
    EXPECT_EQ(grab(0), usual);
    EXPECT_EQ(grab(7), 7);
    EXPECT_THROW(grab(100), Tavix::ValueError) << "the highest is 99";
}

TEST(ImageStream, NamesTheOptionThatCannotBe) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    const auto refusal = [&](auto option, auto value) {
        Tavix::GrabOptions options;
        options.*option = value;
        return ErrorOf<Tavix::ValueError>([&] { camera.Grab(options); });
    };
    EXPECT_THAT(refusal(&Tavix::GrabOptions::transferSize, 1U), HasSubstr("transferSize cannot be 1: "));
    EXPECT_THAT(refusal(&Tavix::GrabOptions::transferSize, SIZE_MAX), testing::Not(HasSubstr("-1")));
    EXPECT_THAT(refusal(&Tavix::GrabOptions::threadPriority, 100U), HasSubstr("threadPriority cannot be 100: "));
}

TEST(ImageStream, EndsWithACallbackWhoseCameraIsSilent) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    camera["TriggerMode"] = "On";
    Tavix::GrabOptions options;
    options.timeout = 20ms;
    Tavix::ImageStream stream = camera.Grab(options, [](Tavix::Image) {});
    ErrorOf<Tavix::Timeout>([&] { stream.Join(); });
}

TEST(ImageStream, GivesWhatACallbackThrowsToWhoJoins) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    Tavix::ImageStream stream = camera.Grab(Tavix::GrabOptions(), [](Tavix::Image) { throw std::logic_error("mine"); });
    EXPECT_EQ(ErrorOf<std::logic_error>([&] { stream.Join(); }), "mine");
}

TEST(ImageStream, TakesTimesThatAreBeyondTheClock) {

    VirtualBus bus(kPaced);
    Tavix::Camera camera = Tavix::Camera::Open();
    Tavix::GrabOptions options;
    options.timeout = options.reconnect = std::chrono::milliseconds::max();
    options.count = 2;
    {
        Tavix::ImageStream stream = camera.Grab(options);
        EXPECT_TRUE(stream.Next());
        EXPECT_TRUE(stream.Wait(std::chrono::milliseconds::max()));
    }
    EXPECT_TRUE(camera.Grab(options, [](Tavix::Image) {}).Join(std::chrono::milliseconds::max()));
}

TEST(ImageStream, LetsItsCallbackCloseTheCamera) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    int calls = 0;
    Tavix::ImageStream stream = camera.Grab(Tavix::GrabOptions(), [&](const Tavix::Image& image) {
        ++calls;
        camera.Close();
        EXPECT_TRUE(image.IsWhole()) << "images live on";
    });
    EXPECT_TRUE(stream.Join());
    EXPECT_EQ(calls, 1);
    EXPECT_FALSE(camera.IsOpen());
    EXPECT_TRUE(Tavix::Camera::Open().Grab(1).Next()) << "it was given back";
}

TEST(ImageStream, LetsItsCallbackEndIt) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    std::optional<Tavix::ImageStream> stream;
    std::promise<void> made, ended;
    const auto kept = std::make_shared<int>(0);
    stream.emplace(camera.Grab(Tavix::GrabOptions(), [&, kept, isMade = made.get_future().share()](Tavix::Image) {
        isMade.wait();
        EXPECT_EQ(++*kept, 1) << "the stream had ended";
        stream.reset();
        EXPECT_EQ(*kept, 1) << "what the callback holds stays until it returns";
        ended.set_value();
    }));
    made.set_value();
    ASSERT_EQ(ended.get_future().wait_for(20s), std::future_status::ready);
    camera.Close(); // which waits until the stream has stopped
    EXPECT_TRUE(Tavix::Camera::Open().Grab(1).Next());
}

TEST(ImageStream, CannotBeJoinedByItsCallback) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    std::optional<Tavix::ImageStream> stream;
    std::promise<void> made;
    stream.emplace(camera.Grab(Tavix::GrabOptions(), [&, isMade = made.get_future().share()](Tavix::Image) {
        isMade.wait();
        stream->Join();
    }));
    made.set_value();
    EXPECT_THAT(ErrorOf<Tavix::StateError>([&] { stream->Join(); }), HasSubstr("cancel the stream"));
}

TEST(ImageStream, TellsOfImagesThatNeverCame) {
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

TEST(ImageStream, LeavesOutDamagedImagesAndCountsThem) {
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
    ASSERT_NE(stream.FirstDefect(), "");
    EXPECT_NE(stream.FirstDefect().back(), '.') << "it becomes part of sentences";
}

TEST(ImageStream, HandsOutDamagedImagesIfAskedFor) {
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

TEST(ImageStream, ConvertsAndSavesDamagedImagesWithBlackForWhatIsMissing) {
    for (const char* format : {"Mono8", "YCbCr422_8"}) {
        VirtualBus bus(kDamaged);
        Tavix::Camera camera = Tavix::Camera::Open();
        camera["PixelFormat"] = format;
        Tavix::GrabOptions options;
        options.count = 8;
        options.incomplete = true;
        Tavix::Image damaged;
        for (Tavix::Image& image : camera.Grab(options))
            if (!image.IsWhole()) damaged = image.Clone();
        ASSERT_TRUE(damaged);
        const Tavix::Image colours = damaged.Convert("RGB8");
        ASSERT_EQ(colours.Data().size, 64U * 64U * 3U);
        const std::uint8_t* last = colours.Data().data + 63U * 64U * 3U;
        EXPECT_TRUE(std::all_of(last, colours.Data().end(), [](std::uint8_t byte) { return byte == 0; })) << format;
        EXPECT_FALSE(std::all_of(colours.Data().begin(), last, [](std::uint8_t byte) { return byte == 0; })) << format;
        EXPECT_FALSE(colours.IsWhole());
        EXPECT_EQ(colours.MissingBytes(), damaged.MissingBytes());
        const std::string path = testing::TempDir() + "damaged-" + format + ".png";
        EXPECT_NO_THROW(damaged.Save(path));
        std::remove(path.c_str());
    }
}

TEST(ImageStream, ReadsChunksOfEachImageAlsoWithoutTheCamera) {
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

TEST(ImageStream, HasNoChunksUnlessTheyAreOn) {
    VirtualBus bus(kFast);
    const Tavix::Image image = Tavix::Camera::Open().Grab(1).Next();
    std::atomic<int> searches{0};
    const Tavix::LogSink sink([&](const char*, unsigned int, const char* text) {
        if (std::string(text).find("without chunks") != std::string::npos) ++searches;
    });
    EXPECT_TRUE(image.ChunkNames().empty());
    EXPECT_EQ(image.ChunkChecksum(), Tavix::Checksum::None);
    EXPECT_EQ(searches, 0) << "the camera said that there are none";
}

TEST(ImageStream, TellsOfChunksThatCannotBeMadeOut) {
    VirtualBus bus(R"([{"serial": "7", "sensorWidth": 64, "sensorHeight": 64, "frameRateEnable": false,
                        "faults": {"stream": [{"fault": "Truncated", "value": 4000}]}}])");
    Tavix::Camera camera = Tavix::Camera::Open();
    camera["ChunkModeActive"] = true;
    Tavix::GrabOptions options;
    options.incomplete = true;
    const Tavix::Image image = camera.Grab(options).Next();
    EXPECT_FALSE(image.IsWhole());
    EXPECT_EQ(image.ChunkChecksum(), Tavix::Checksum::Damaged);
    EXPECT_TRUE(image.ChunkNames().empty());
}

TEST(ImageStream, ClonesAnImageIntoMemoryOfItsOwn) {
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
