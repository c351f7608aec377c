// One camera below the real libusb, grabbed from by our host; beside TheirGrab.cpp, which does the same with another.
//
//   bench_our_grab FRAMES RATE, with rate 0 for as fast as the host takes them; prints the figures of a frame

#include "support/BenchCamera.h"
#include "support/StreamGrab.h"
#include "support/ThreadTimes.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>

#include <GenApi/GenApi.h>

int main(int argc, char** argv) {
    if (argc != 3) return EXIT_FAILURE;
    const auto frames = static_cast<unsigned int>(std::strtoul(argv[1], nullptr, 10));
    try {
        bench::BenchCamera camera;
        camera.Set("Width", "1920");
        camera.Set("Height", "1080");
        const bool isPaced = std::strcmp(argv[2], "0") != 0;
        camera.Set("AcquisitionFrameRateEnable", isPaced ? "1" : "0");
        if (isPaced) camera.Set("AcquisitionFrameRate", argv[2]);
        bench::StreamGrab grab(camera);
        grab.Frames(16);
        const bench::Cost before = bench::MeasureThreads();
        const auto start = std::chrono::steady_clock::now();
        grab.Frames(frames);
        bench::Print(bench::MeasureThreads() - before, frames, std::chrono::steady_clock::now() - start, grab.lost);
        return grab.lost == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (const GenICam::GenericException& problem) {
        std::fprintf(stderr, "bench_our_grab: %s\n", problem.GetDescription());
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "bench_our_grab: %s\n", problem.what());
    }
    return EXIT_FAILURE;
}
