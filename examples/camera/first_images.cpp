#include <tavix/camera/Camera.h>

int main() {
    auto camera = Tavix::Camera::Open();
    camera["ExposureTime"] = 5000.0; // us
    camera["PixelFormat"] = "Mono8";
    for (const Tavix::Image& image : camera.Grab(10)) // without a number: until broken off
        image.Save("image-" + std::to_string(image.Number()) + ".png");
}
