// What the camera class costs: a frame at 100 frames a second beside the least that a host can do, and the loop over
// images beside the grabber below it. Figures only.

#include "RawHost.h"
#include "StreamBus.h"
#include "StreamGrab.h"
#include "ThreadTimes.h"

#include <tavix/camera/Camera.h>

#include <GenApi/GenApi.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <exception>
#include <thread>
#include <vector>

#include <time.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned int kFrames = 500;

template<class Set>
void SetUp(Set set) {
    set("PixelFormat", "Mono8");
    set("Width", "1920");
    set("Height", "1080");
    set("AcquisitionFrameRateEnable", "1");
    set("AcquisitionFrameRate", "100");
}

/// Prints what the frames cost that `take` waits for; gives the host's microseconds a frame.
template<class Take>
double Measure(const char* name, double least, Take take) {
    const bench::Cost before = bench::MeasureThreads();
    const auto start = Clock::now();
    take();
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    const bench::Cost cost = bench::MeasureThreads() - before;
    const double each = cost.hostSeconds / kFrames * 1e6;
    std::printf("%-40s %8.1f %8.1f %8.2f %8.2f\n", name, kFrames / seconds, each,
                static_cast<double>(cost.hostSwitches) / kFrames, least > 0 ? each / least : 1.0);
    return each;
}

double MeasureRawHost() {
    bench::BenchCamera camera;
    SetUp([&](const char* name, const char* value) { camera.Set(name, value); });
    bench::RawHost host(camera);
    host.Frames(20);
    return Measure("raw libusb, one thread, only resubmits", 0, [&] { host.Frames(kFrames); });
}

void MeasureWaitObject(double least) {
    bench::BenchCamera camera;
    SetUp([&](const char* name, const char* value) { camera.Set(name, value); });
    bench::StreamGrab grab(camera);
    grab.Frames(20);
    Measure("stream grabber by wait object", least, [&] { grab.Frames(kFrames); });
}

Tavix::Camera OpenCamera() {
    Tavix::Camera camera = Tavix::Camera::Open();
    SetUp([&](const char* name, const char* value) { camera[name].SetText(value); });
    return camera;
}

void MeasureCallback(double least) {
    Tavix::Camera camera = OpenCamera();
    std::atomic<unsigned int> frames{0};
    const auto reach = [&](unsigned int count) {
        for (unsigned int seen = frames; seen < count; seen = frames)
            std::this_thread::sleep_for(std::chrono::milliseconds(500)); // not in the frames' cost
    };
    Tavix::ImageStream stream = camera.Grab(Tavix::GrabOptions(), [&](Tavix::Image) { ++frames; });
    reach(20);
    const unsigned int first = frames;
    Measure("camera class by callback", least, [&] {
        while (frames < first + kFrames)
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
    });
}

void MeasureLoop(double least) {
    Tavix::Camera camera = OpenCamera();
    Tavix::ImageStream stream = camera.Grab();
    for (int i = 0; i < 20; ++i)
        stream.Next();
    Measure("camera class by loop", least, [&] {
        for (unsigned int i = 0; i < kFrames; ++i)
            stream.Next();
    });
}

void MeasureFrames() {
    std::printf("%-40s %8s %8s %8s %8s\n", "1920 x 1080 at 100 frames/s", "frames/s", "host us", "switch", "ratio");
    const double least = MeasureRawHost();
    MeasureCallback(least);
    MeasureWaitObject(least);
    MeasureLoop(least);
}

constexpr unsigned int kReady = 200; // images that wait before they are taken
constexpr unsigned int kRounds = 40;

double ThreadSeconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// Nanoseconds of the calling thread for each image, the median of several rounds over images that are ready.
template<class Take>
double EachReady(Take take) {
    std::vector<double> rounds;
    for (unsigned int round = 0; round < kRounds; ++round) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50)); // until all buffers are full
        const double before = ThreadSeconds();
        for (unsigned int i = 0; i < kReady; ++i)
            take();
        rounds.push_back((ThreadSeconds() - before) / kReady * 1e9);
    }
    std::sort(rounds.begin(), rounds.end());
    return rounds[rounds.size() / 2];
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

void MeasureReadyImages() {
    Tavix::Camera camera = Tavix::Camera::Open();
    SetSmall(camera);
    const double below = EachOfGrabber(camera);
    Tavix::GrabOptions options;
    options.buffers = kReady;
    Tavix::ImageStream stream = camera.Grab(options);
    const double loop = EachReady([&] { stream.Next(); });
    std::printf(
        "\nImages that are ready, ns of the application's thread each: RetrieveResult and QueueBuffer %.0f, the "
        "loop over images %.0f: %.0f more\n",
        below, loop, loop - below);
}

} // namespace

int main() {
    try {
        const bench::StreamBus bus(bench::BusKind::BelowLibusb, 1);
        MeasureFrames();
        MeasureReadyImages();
        return 0;
    } catch (const std::exception& problem) {
        std::printf("FAILED: %s\n", problem.what());
        return 1;
    }
}
