// A callback for each image, and the newest image whenever there is time for one.
#include <atomic>
#include <cstdio>

#include <tavix/camera/Camera.h>

int main() {
    auto camera = Tavix::Camera::Open();
    Tavix::GrabOptions options;
    options.count = 20;
    std::atomic<int> images{0};
    Tavix::ImageStream recorded = camera.Grab(options, [&](Tavix::Image) { ++images; });
    recorded.Join();

    options.count = 3;
    options.newestOnly = true;
    Tavix::ImageStream live = camera.Grab(options);
    while (Tavix::Image image = live.Next())
        std::printf("image %llu, %llu older ones left out\n", static_cast<unsigned long long>(image.BlockId()),
                    static_cast<unsigned long long>(image.MissedBefore()));
    return images == 20 ? 0 : 1;
}
