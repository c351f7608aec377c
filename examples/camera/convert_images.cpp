// Colours and files of an image of Bayer pixels.
#include <cstdio>

#include <tavix/camera/Camera.h>
#include <tavix/imaging/Convert.h>

int main() {
    auto camera = Tavix::Camera::Open();
    camera["PixelFormat"] = "BayerRG8";
    const Tavix::Image image = camera.GrabOne();
    image.Save("colours.png"); // with camera, time and block id inside
    image.Save("colours.jpg");
    const Tavix::Image pixels = image.Convert("BGR8");
    std::printf("%zu bytes a line of %s\n", pixels.Stride(), pixels.PixelFormat().c_str());

    namespace imaging = Tavix::imaging; // the functions below do without a camera
    imaging::ConvertOptions options;
    options.demosaicing = imaging::Demosaicing::EdgeAware;
    const imaging::Picture best = imaging::Convert(image.Picture(), imaging::PixelFormat::BGR8, options);
    std::printf("%u x %u pixels\n", best.Width(), best.Height());
}
