// When each image was taken, by the host's clock, and how long it was under way.
#include <cstdio>

#include <tavix/camera/Camera.h>

int main() {
    using Milliseconds = std::chrono::duration<double, std::milli>;
    auto camera = Tavix::Camera::Open();
    for (const Tavix::Image& image : camera.Grab(10)) {
        const Tavix::HostTime time = image.Time();
        if (!time.IsKnown()) return 1;
        std::printf("image %llu: %.3f ms under way, at most %.3f ms more or less\n",
                    static_cast<unsigned long long>(image.BlockId()),
                    Milliseconds(image.Arrival() - time.monotonic).count(), Milliseconds(time.bound).count());
    }
}
