// What the camera class costs: a frame at 100 frames a second beside the least that a host can do, the loop over images
// beside the grabber below it. Figures only.
//
//   bench_camera [ROUNDS [WORD...]]
//
// With words, only the frames at 100 frames a second are measured, on these roads: raw, callback, wait, loop; with the
// word "ready", only images that are ready.

#include "support/RawHost.h"
#include "support/Roads.h"
#include "support/StreamBus.h"
#include "support/StreamGrab.h"
#include "support/Turnstile.h"

#include <tavix/camera/Camera.h>

#include <GenApi/GenApi.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include <time.h>

namespace {

constexpr unsigned int kFrames = 300, kWarmUp = 20;

template<class Set>
void SetUp(Set set) {
    set("PixelFormat", "Mono8");
    set("Width", "1920");
    set("Height", "1080");
    set("AcquisitionFrameRateEnable", "1");
    set("AcquisitionFrameRate", "100");
}

bench::FrameCost MeasureRawHost() {
    bench::BenchCamera camera;
    SetUp([&](const char* name, const char* value) { camera.Set(name, value); });
    bench::RawHost host(camera);
    host.Frames(kWarmUp);
    return bench::MeasureFrames(kFrames, [&] { host.Frames(kFrames); });
}

bench::FrameCost MeasureWaitObject() {
    bench::BenchCamera camera;
    SetUp([&](const char* name, const char* value) { camera.Set(name, value); });
    bench::StreamGrab grab(camera);
    grab.Frames(kWarmUp);
    return bench::MeasureFrames(kFrames, [&] { grab.Frames(kFrames); });
}

Tavix::Camera OpenCamera() {
    Tavix::Camera camera = Tavix::Camera::Open();
    SetUp([&](const char* name, const char* value) { camera[name].SetText(value); });
    return camera;
}

bench::FrameCost MeasureCallback() {
    Tavix::Camera camera = OpenCamera();
    bench::Turnstile frames;
    Tavix::ImageStream stream = camera.Grab(Tavix::GrabOptions(), [&](Tavix::Image) { frames.Pass(); });
    frames.Await(kWarmUp);
    return bench::MeasureFrames(kFrames, [&] { frames.Await(kFrames); });
}

bench::FrameCost MeasureLoop() {
    Tavix::Camera camera = OpenCamera();
    Tavix::ImageStream stream = camera.Grab();
    const auto take = [&](unsigned int count) {
        for (unsigned int i = 0; i < count; ++i)
            stream.Next();
    };
    take(kWarmUp);
    return bench::MeasureFrames(kFrames, [&] { take(kFrames); });
}

void MeasureRoads(unsigned int rounds, const std::vector<std::string>& words) {
    std::printf("1920 x 1080 at 100 frames/s; with what the emulated bus takes in its calls\n");
    bench::MeasureInTurn({{"raw libusb, one thread, only resubmits", MeasureRawHost},
                          {"camera class by callback", MeasureCallback},
                          {"stream grabber by wait object", MeasureWaitObject},
                          {"camera class by loop", MeasureLoop}},
                         rounds, words);
}

constexpr unsigned int kReady = 200; // images that wait before they are taken
constexpr unsigned int kRounds = 20;

double ThreadSeconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// Nanoseconds of the calling thread for each image, the least of several rounds over images that are ready.
template<class Take>
double EachReady(Take take) {
    double least = std::numeric_limits<double>::max();
    for (unsigned int round = 0; round < kRounds; ++round) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50)); // until all buffers are full
        const double before = ThreadSeconds();
        for (unsigned int i = 0; i < kReady; ++i)
            take();
        least = std::min(least, (ThreadSeconds() - before) / kReady * 1e9);
    }
    return least;
}

void SetSmall(Tavix::Camera& camera) {
    camera["PixelFormat"] = "Mono8";
    camera["Width"] = 64;
    camera["Height"] = 64;
    camera["AcquisitionFrameRateEnable"] = false;
}

double EachOfGrabber(Tavix::Camera& camera) {
    Tavix::IStreamGrabber& grabber = *camera.Device().GetStreamGrabber(0);
    std::vector<std::vector<std::uint8_t>> memory(kReady, std::vector<std::uint8_t>(4096));
    std::vector<Tavix::StreamBufferHandle> handles;
    grabber.Open();
    GenApi::CIntegerPtr(grabber.GetNodeMap()->GetNode("MaxNumBuffer"))->SetValue(kReady);
    GenApi::CIntegerPtr(grabber.GetNodeMap()->GetNode("MaxBufferSize"))->SetValue(4096);
    grabber.PrepareGrab();
    for (auto& one : memory) {
        handles.push_back(grabber.RegisterBuffer(one.data(), one.size()));
        grabber.QueueBuffer(handles.back());
    }
    camera["AcquisitionStart"].Execute();
    const double each = EachReady([&] {
        Tavix::GrabResult result;
        if (grabber.RetrieveResult(result)) grabber.QueueBuffer(result.Handle());
    });
    camera["AcquisitionStop"].Execute();
    grabber.CancelGrab();
    for (Tavix::GrabResult result; grabber.RetrieveResult(result);) {
    }
    grabber.FinishGrab();
    for (Tavix::StreamBufferHandle handle : handles)
        grabber.DeregisterBuffer(handle);
    grabber.Close();
    return each;
}

double EachOfLoop(Tavix::Camera& camera) {
    Tavix::GrabOptions options;
    options.buffers = kReady;
    Tavix::ImageStream stream = camera.Grab(options);
    return EachReady([&] { stream.Next(); });
}

void MeasureReadyImages(unsigned int rounds) {
    Tavix::Camera camera = Tavix::Camera::Open();
    SetSmall(camera);
    double below = std::numeric_limits<double>::max(), loop = below;
    for (unsigned int round = 0; round < rounds; ++round) {
        below = std::min(below, EachOfGrabber(camera));
        loop = std::min(loop, EachOfLoop(camera));
    }
    std::printf(
        "\nImages that are ready, ns of the application's thread each: RetrieveResult and QueueBuffer %.0f, the "
        "loop over images %.0f: %.0f more\n",
        below, loop, loop - below);
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv + std::min(argc, 2), argv + argc);
    try {
        const unsigned int rounds = bench::RoundsOf(argc, argv);
        const bench::StreamBus bus(bench::BusKind::BelowLibusb, 1);
        const bool isReadyWanted = words.empty() || words.front() == "ready";
        if (words.empty() || !isReadyWanted) MeasureRoads(rounds, words);
        if (!isReadyWanted) return 0;
        MeasureReadyImages(rounds);
        return 0;
    } catch (const std::exception& problem) {
        std::printf("FAILED: %s\n", problem.what());
        return 1;
    }
}
