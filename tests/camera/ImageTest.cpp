#include "camera/CameraTest.h"
#include "camera/image/ChunkReader.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <thread>
#include <vector>

#include <stdlib.h>
#include <unistd.h>

namespace {

using namespace cameratest;
using testing::HasSubstr;

Tavix::Image OneImage(const std::string& pixelFormat) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    camera["PixelFormat"] = pixelFormat;
    return camera.GrabOne();
}

class ConvertedImage : public testing::TestWithParam<const char*> {};

TEST_P(ConvertedImage, IsAPictureInMemoryOfItsOwn) {
    const Tavix::Image image = OneImage(GetParam());
    EXPECT_EQ(image.PixelFormat(), GetParam());
    const Tavix::Image converted = image.Convert("BGR8");
    EXPECT_EQ(converted.PixelFormat(), "BGR8");
    EXPECT_EQ(converted.Stride(), 64U * 3);
    EXPECT_EQ(converted.Data().size, 64U * 64 * 3);
    EXPECT_EQ(converted.BlockId(), image.BlockId());
    EXPECT_EQ(converted.CameraTime(), image.CameraTime());
}
INSTANTIATE_TEST_SUITE_P(Formats, ConvertedImage, testing::Values("Mono8", "Mono12p", "BayerRG8", "RGB8"));

TEST(Image, RefusesAPixelFormatThatIsNone) {
    const Tavix::Image image = OneImage("Mono8");
    EXPECT_THAT(ErrorOf<Tavix::ValueError>([&] { image.Convert("Mono9"); }), HasSubstr("Mono9"));
    EXPECT_THAT(ErrorOf<Tavix::ValueError>([&] { image.Convert("Coord3D_ABC32f"); }), HasSubstr("Mono8"));
}

TEST(Image, IsSavedAsTheEndingOfItsNameSays) {
    char folder[] = "/tmp/tavix-images-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    const Tavix::Image image = OneImage("Mono8");
    const std::string path = std::string(folder) + "/image.png";
    image.Save(path);
    std::string head(8, ' ');
    std::ifstream(path, std::ios::binary).read(head.data(), 8);
    EXPECT_EQ(head, "\x89PNG\r\n\x1a\n");
    ErrorOf<Tavix::Error>([&] { image.Save(std::string(folder) + "/image.nonsense"); });
    ErrorOf<Tavix::Error>([&] { image.Save("/nowhere/at/all.png"); });
    std::remove(path.c_str());
    rmdir(folder);
}

std::string FileOf(const Tavix::Image& image, const Tavix::imaging::FileOptions& options) {
    char path[] = "/tmp/tavix-image-XXXXXX.ppm";
    close(mkstemps(path, /*suffixlen=*/4));
    image.Save(path, options);
    std::ifstream file(path, std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(file)), {});
    std::remove(path);
    return bytes;
}

std::string PixelsOf(const Tavix::Image& image) {
    return {image.Data().begin(), image.Data().end()};
}

TEST(Image, TellsItsChunksToSeveralThreadsAtOnce) {
    VirtualBus bus(kFast);
    Tavix::Camera camera = Tavix::Camera::Open();
    camera["ChunkModeActive"] = true;
    camera["ChunkSelector"] = "ExposureTime";
    camera["ChunkEnable"] = true;
    for (const Tavix::Image& image : camera.Grab(20)) {
        constexpr std::size_t kThreads = 4;
        std::atomic<std::size_t> ready{0};
        const void* told[kThreads] = {};
        std::vector<std::thread> threads;
        for (const void*& place : told) {
            threads.emplace_back([&] {
                for (++ready; ready < kThreads;)
                    std::this_thread::yield();
                place = &Tavix::detail::ChunksOf(image.Inside());
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_THAT(told, testing::Each(told[0])) << "one would go while another looks at it";
        EXPECT_GT(image.Chunk("ExposureTime").Float(), 0);
    }
}

TEST(Image, FindsColoursAsItIsAsked) {
    using Tavix::imaging::Demosaicing;
    const Tavix::Image image = OneImage("BayerRG8");
    const std::string plain = PixelsOf(image.Convert("RGB8", {Demosaicing::Bilinear}));
    const std::string careful = PixelsOf(image.Convert("RGB8", {Demosaicing::EdgeAware}));
    EXPECT_NE(plain, careful);
    EXPECT_EQ(PixelsOf(image.Convert("RGB8")), plain);
    Tavix::imaging::FileOptions options;
    options.facts = false;
    const std::string saved = FileOf(image, options);
    EXPECT_EQ(saved.substr(saved.size() - careful.size()), careful);
    options.demosaicing = Demosaicing::Bilinear;
    const std::string other = FileOf(image, options);
    EXPECT_EQ(other.substr(other.size() - plain.size()), plain);
}

} // namespace
