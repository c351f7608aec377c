// Keeps more images than there are buffers, in memory of its own.
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <tavix/camera/Camera.h>

int main() {
    auto camera = Tavix::Camera::Open();
    Tavix::GrabOptions options;
    options.count = 50;
    options.buffers = 4;
    options.keepBudget = std::size_t(200) << 20; // bytes beyond the four
    options.allocator = [](std::size_t bytes) {
        constexpr std::size_t kPage = 4096;
        return std::shared_ptr<void>(std::aligned_alloc(kPage, (bytes + kPage - 1) / kPage * kPage), std::free);
    };
    std::vector<Tavix::Image> kept;
    Tavix::ImageStream stream = camera.Grab(options);
    for (Tavix::Image& image : stream)
        kept.push_back(std::move(image));
    const Tavix::GrabCounts counts = stream.Counts();
    std::printf("%zu images in %zu buffers, %zu MiB; missed %llu\n", kept.size(), counts.buffers, counts.memory >> 20,
                static_cast<unsigned long long>(counts.missed));
    return kept.size() == 50 ? 0 : 1;
}
