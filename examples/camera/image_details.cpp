// What an image tells of itself, its chunk data included.
#include <cstdio>

#include <tavix/camera/Camera.h>

int main() {
    Tavix::Image last;
    {
        auto camera = Tavix::Camera::Open();
        camera["ChunkModeActive"] = true;
        for (const char* chunk : {"ExposureTime", "PayloadCRC16"}) {
            camera["ChunkSelector"] = chunk;
            camera["ChunkEnable"] = true;
        }
        Tavix::GrabOptions options;
        options.count = 10;
        options.incomplete = true;
        for (Tavix::Image& image : camera.Grab(options)) {
            std::printf("%llu: %u x %u %s, %s\n", static_cast<unsigned long long>(image.BlockId()), image.Width(),
                        image.Height(), image.PixelFormat().c_str(),
                        image.IsWhole() ? "whole" : image.Defect().c_str());
            last = std::move(image); // kept: no copy, and the stream goes on
        }
    } // the camera is closed, the image is not
    const bool isRight = last.ChunkChecksum() == Tavix::Checksum::Right;
    std::printf("exposed for %g us, checksum %s\n", last.Chunk("ExposureTime").Float(), isRight ? "right" : "wrong");
    return isRight ? 0 : 1;
}
