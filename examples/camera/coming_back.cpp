// Grabs on when the camera is unplugged and plugged in again.
#include <cstdio>

#include <tavix/camera/Camera.h>

int main() {
    using namespace std::chrono_literals;
    auto camera = Tavix::Camera::Open();
    camera.OnRemoval([](bool isBack) { std::puts(isBack ? "the camera is back" : "the camera has gone"); });
    camera["ExposureTime"] = 1234.0;
    Tavix::GrabOptions options;
    options.count = 20;
    options.reconnect = 30s;
    for (const Tavix::Image& image : camera.Grab(options)) {
        if (image.GapBefore() > 0s)
            std::printf("after %.1f s\n", std::chrono::duration<double>(image.GapBefore()).count());
    }
    return camera["ExposureTime"].Float() == 1234.0 ? 0 : 1; // as it was set before
}
