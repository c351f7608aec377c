// Receives an event for each exposure.
#include <atomic>
#include <cstdio>

#include <tavix/camera/Camera.h>

int main() {
    auto camera = Tavix::Camera::Open();
    std::atomic<int> events{0};
    camera.OnEvent("ExposureEnd", [&](const Tavix::CameraEvent& event) {
        std::printf("exposure of frame %lld ended at %lld ns\n", static_cast<long long>(event["FrameID"].Int()),
                    static_cast<long long>(event["Timestamp"].Int()));
        ++events;
    });
    for (const Tavix::Image& image : camera.Grab()) {
        if (image.Number() >= 10 && events >= 10) break;
    }
}
