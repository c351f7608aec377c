// What the camera class costs: a frame at 100 frames a second beside the least that a host can do, the loop over images
// beside the grabber below it, and images that another thread drops. Figures only.
//
//   bench_camera [ROUNDS]

#include "support/LockWaits.h"
#include "support/RawHost.h"
#include "support/StreamBus.h"
#include "support/StreamGrab.h"
#include "support/ThreadTimes.h"
#include "support/Turnstile.h"

#include <tavix/camera/Camera.h>

#include <GenApi/GenApi.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <limits>
#include <thread>
#include <utility>
#include <vector>

#include <time.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned int kFrames = 300, kWarmUp = 20;

template<class Set>
void SetUp(Set set) {
    set("PixelFormat", "Mono8");
    set("Width", "1920");
    set("Height", "1080");
    set("AcquisitionFrameRateEnable", "1");
    set("AcquisitionFrameRate", "100");
}

/// What a frame cost the host.
struct Figures {
    double rate = 0, microseconds = 0, switches = 0;
};

template<class Take>
Figures Measure(Take take) {
    const bench::Cost before = bench::MeasureThreads();
    const auto start = Clock::now();
    take();
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    const bench::Cost cost = bench::MeasureThreads() - before;
    return {kFrames / seconds, cost.hostSeconds / kFrames * 1e6, static_cast<double>(cost.hostSwitches) / kFrames};
}

Figures MeasureRawHost() {
    bench::BenchCamera camera;
    SetUp([&](const char* name, const char* value) { camera.Set(name, value); });
    bench::RawHost host(camera);
    host.Frames(kWarmUp);
    return Measure([&] { host.Frames(kFrames); });
}

Figures MeasureWaitObject() {
    bench::BenchCamera camera;
    SetUp([&](const char* name, const char* value) { camera.Set(name, value); });
    bench::StreamGrab grab(camera);
    grab.Frames(kWarmUp);
    return Measure([&] { grab.Frames(kFrames); });
}

Tavix::Camera OpenCamera() {
    Tavix::Camera camera = Tavix::Camera::Open();
    SetUp([&](const char* name, const char* value) { camera[name].SetText(value); });
    return camera;
}

Figures MeasureCallback() {
    Tavix::Camera camera = OpenCamera();
    bench::Turnstile frames;
    Tavix::ImageStream stream = camera.Grab(Tavix::GrabOptions(), [&](Tavix::Image) { frames.Pass(); });
    frames.Await(kWarmUp);
    return Measure([&] { frames.Await(kFrames); });
}

Figures MeasureLoop() {
    Tavix::Camera camera = OpenCamera();
    Tavix::ImageStream stream = camera.Grab();
    const auto take = [&](unsigned int count) {
        for (unsigned int i = 0; i < count; ++i)
            stream.Next();
    };
    take(kWarmUp);
    return Measure([&] { take(kFrames); });
}

/// One way to have images, and the least that a frame cost on it.
struct Road {
    const char* name;
    Figures (*measure)();
    Figures best{0, std::numeric_limits<double>::max(), 0};
};

/// In turn, again and again: what others do on the machine adds to the figures and never takes anything from them.
void MeasureFrames(unsigned int rounds) {
    Road roads[] = {{"raw libusb, one thread, only resubmits", MeasureRawHost},
                    {"camera class by callback", MeasureCallback},
                    {"stream grabber by wait object", MeasureWaitObject},
                    {"camera class by loop", MeasureLoop}};
    for (unsigned int round = 0; round < rounds; ++round) {
        for (Road& road : roads) {
            const Figures figures = road.measure();
            if (figures.microseconds < road.best.microseconds) road.best = figures;
        }
    }
    std::printf("1920 x 1080 at 100 frames/s, the best of %u rounds; with what the emulated bus takes in its calls\n",
                rounds);
    std::printf("%-40s %8s %8s %8s %8s\n", "", "frames/s", "host us", "switches", "ratio");
    for (const Road& road : roads)
        std::printf("%-40s %8.1f %8.1f %8.2f %8.2f\n", road.name, road.best.rate, road.best.microseconds,
                    road.best.switches, road.best.microseconds / roads[0].best.microseconds);
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

/// From the callback, which never waits, to the thread that drops them.
class Chute {
public:
    ~Chute() {
        m_IsClosed = true;
        m_Thread.join();
    }
    /// Drops the image at once when the other thread has not come round.
    void Put(Tavix::Image image) {
        Place& place = m_Places[m_Next++ % kPlaces];
        if (place.isFull) return;
        place.image = std::move(image);
        place.isFull = true;
    }
    unsigned int Dropped() const { return m_Dropped; }

    static constexpr std::size_t kPlaces = 64;

private:
    struct Place {
        Tavix::Image image;
        std::atomic<bool> isFull{false};
    };

    void Run() {
        for (std::size_t i = 0; !m_IsClosed;) {
            Place& place = m_Places[i % kPlaces];
            if (!place.isFull) {
                std::this_thread::yield();
                continue;
            }
            place.image = Tavix::Image();
            place.isFull = false;
            ++m_Dropped;
            ++i;
        }
    }

    Place m_Places[kPlaces];
    std::size_t m_Next = 0; // of the callback's thread
    std::atomic<unsigned int> m_Dropped{0};
    std::atomic<bool> m_IsClosed{false};
    std::thread m_Thread{[this] { Run(); }};
};

/// How often and how long the stream's thread waits for locks while another one drops its images as fast as they come.
void MeasureImagesDroppedElsewhere() {
    constexpr unsigned int kImages = 20000;
    Tavix::Camera camera = Tavix::Camera::Open();
    SetSmall(camera);
    bench::Turnstile frames;
    Chute chute;
    Tavix::GrabOptions options;
    options.buffers = 4 * Chute::kPlaces; // enough from the start, or another thread would add some meanwhile
    Tavix::ImageStream stream = camera.Grab(options, [&](Tavix::Image image) {
        bench::WatchLocksOfThisThread();
        chute.Put(std::move(image));
        frames.Pass();
    });
    frames.Await(kWarmUp);
    const bench::LockWaits before = bench::CountLockWaits();
    const unsigned int dropped = chute.Dropped();
    frames.Await(kImages);
    const bench::LockWaits after = bench::CountLockWaits();
    std::printf(
        "\n%u images, %u of them dropped on another thread; waits of the stream's thread for locks of ours %llu, "
        "of libusb and the emulated bus %llu\n",
        kImages, chute.Dropped() - dropped, static_cast<unsigned long long>(after.ours - before.ours),
        static_cast<unsigned long long>(after.others - before.others));
}

} // namespace

int main(int argc, char** argv) {
    const auto rounds = static_cast<unsigned int>(argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 3);
    try {
        const bench::StreamBus bus(bench::BusKind::BelowLibusb, 1);
        MeasureFrames(rounds);
        MeasureReadyImages(rounds);
        MeasureImagesDroppedElsewhere();
        return 0;
    } catch (const std::exception& problem) {
        std::printf("FAILED: %s\n", problem.what());
        return 1;
    }
}
