// Triggers by software, each trigger an image.
#include <cstdio>

#include <tavix/camera/Camera.h>

int main() {
    auto camera = Tavix::Camera::Open();
    camera["TriggerSource"] = "Software";
    camera["TriggerMode"] = "On";
    {
        Tavix::ImageStream stream = camera.Grab();
        for (int i = 0; i < 5; ++i) {
            camera.Trigger(); // waits until the camera is ready for it
            std::printf("image %llu\n", static_cast<unsigned long long>(stream.Next().BlockId()));
        }
    }
    return camera.GrabOne().IsWhole() ? 0 : 1; // one more, triggered as well
}
