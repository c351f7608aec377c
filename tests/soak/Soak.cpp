// Grabs from many virtual cameras at once, with events, chunk checks and feature writes, for as long as asked. Prints
// what it counted; exit status 0 when no frame and no event was lost, everything agrees and memory stayed flat.

#include "SoakCamera.h"

#include "core/WaitObject.h"
#include "integration/support/VirtualBus.h"

#include <CLI/CLI.hpp>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <future>
#include <string>

#include <unistd.h>

namespace {

using Cameras = std::vector<std::unique_ptr<soak::SoakCamera>>;

/// The system gives the signal to any thread.
std::atomic<bool> g_Interrupted{false};

/// What the process holds in memory at this moment.
long ResidentKiB() {
    std::ifstream file("/proc/self/statm");
    long total = 0, resident = 0;
    file >> total >> resident;
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

double ProcessorSeconds() {
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

std::string BusOf(const soak::Settings& settings) {
    std::string text = "[";
    for (unsigned int i = 0; i < settings.cameras; ++i) {
        char camera[160];
        std::snprintf(
            camera, sizeof camera,
            "%s{\"serial\": \"%u\", \"guid\": \"12090000%04u\", \"bufferedFrames\": 16, \"queuedEvents\": 1024}",
            i ? "," : "", i, i);
        text += camera;
    }
    return text + "]";
}

std::uint64_t Images(const Cameras& cameras) {
    std::uint64_t sum = 0;
    for (const auto& camera : cameras)
        sum += camera->Images();
    return sum;
}

/// Memory at the beginning, once everything has been used, and at the end.
struct Memory {
    long early = 0, late = 0;
};

/// Looks after the run until all images are there, none have come for a while, or somebody interrupts it.
Memory Watch(const Cameras& cameras, const soak::Settings& settings) {
    const std::uint64_t wanted = std::uint64_t(settings.frames) * settings.cameras;
    Memory memory;
    std::uint64_t images = 0;
    unsigned int idle = 0;
    for (unsigned int tenths = 1; images < wanted && idle < 100 && !g_Interrupted; ++tenths) {
        Tavix::WaitObject::Sleep(100);
        const std::uint64_t before = images;
        images = Images(cameras);
        idle = images == before ? idle + 1 : 0;
        memory.late = ResidentKiB();
        // By then buffers, heaps and stacks have seen what they will see.
        if (memory.early == 0 && images >= std::min(wanted / 2, std::uint64_t(4000))) memory.early = memory.late;
        if (tenths % 300 != 0) continue;
        std::printf("%4u s: %llu images, %.1f s of processor time, %ld KiB resident\n", tenths / 10,
                    static_cast<unsigned long long>(images), ProcessorSeconds(), memory.late);
        std::fflush(stdout);
    }
    return memory;
}

void Print(const soak::Counts& c) {
    const auto number = [](std::uint64_t value) { return static_cast<unsigned long long>(value); };
    std::printf("images %llu (lost %llu, failed %llu), checksums wrong %llu, frame ids wrong %llu\n", number(c.images),
                number(c.lost), number(c.failed), number(c.badChecksums), number(c.badFrameIds));
    std::printf("stream counters: total %llu, failed %llu, missed %llu, resynchronised %llu\n", number(c.totalBuffers),
                number(c.failedBuffers), number(c.missedFrames), number(c.resyncs));
    std::printf("events %llu (lost %llu), event counters: total %llu, failed %llu\n", number(c.events),
                number(c.lostEvents), number(c.totalEvents), number(c.failedEvents));
    std::printf("feature writes %llu, read back wrong %llu\n", number(c.writes), number(c.badReads));
}

void GrabWith(soak::SoakCamera& camera, const std::atomic<bool>& stop) {
    camera.Start();
    while (!stop)
        camera.Take(100);
    camera.Finish();
}

void WriteTo(const Cameras& cameras, const std::atomic<bool>& stop) {
    for (std::size_t i = 0; !stop; i = (i + 1) % cameras.size()) {
        cameras[i]->Write();
        Tavix::WaitObject::Sleep(5);
    }
}

soak::Counts Run(const soak::Settings& settings, Memory& memory) {
    integration::VirtualBus bus(BusOf(settings));
    Cameras cameras;
    for (unsigned int i = 0; i < settings.cameras; ++i)
        cameras.push_back(std::make_unique<soak::SoakCamera>(bus.Open(i), settings, /*ownChunkMap=*/i % 2 == 1));
    std::atomic<bool> stop{false};
    std::vector<std::future<void>> threads;
    for (auto& camera : cameras)
        threads.push_back(std::async(std::launch::async, [&] { GrabWith(*camera, stop); }));
    threads.push_back(std::async(std::launch::async, [&] { WriteTo(cameras, stop); }));
    memory = Watch(cameras, settings);
    stop = true;
    for (auto& thread : threads)
        thread.wait();
    soak::Counts sum;
    for (auto& camera : cameras)
        sum += camera->Result();
    for (auto& thread : threads)
        thread.get(); // throws what the thread threw
    return sum;
}

} // namespace

int main(int argc, char** argv) try {
    soak::Settings settings;
    unsigned int seconds = 10;
    CLI::App app("Grabs from many virtual cameras at once and counts what was lost.");
    app.add_option("--seconds", seconds, "how long, at the given rate")->capture_default_str();
    app.add_option("--rate", settings.frameRate, "frames a second of each camera, 0 for no limit")
        ->capture_default_str();
    app.add_option("--frames", settings.frames, "of each camera, instead of --seconds");
    app.add_option("--cameras", settings.cameras, "how many")->check(CLI::Range(1, 64))->capture_default_str();
    app.add_option("--width", settings.width, "pixels")->capture_default_str();
    app.add_option("--height", settings.height, "pixels")->capture_default_str();
    app.add_option("--buffers", settings.buffers, "of each camera")->capture_default_str();
    CLI11_PARSE(app, argc, argv);
    if (app.count("--frames") == 0) settings.frames = std::max(1u, seconds * settings.frameRate);
    std::signal(SIGINT, [](int) { g_Interrupted = true; });

    Memory memory;
    const soak::Counts counts = Run(settings, memory);
    Print(counts);
    std::printf("resident %ld KiB early, %ld KiB late, %.1f s of processor time\n", memory.early, memory.late,
                ProcessorSeconds());
    const bool addsUp = counts.AddUp(std::uint64_t(settings.frames) * settings.cameras);
    const bool isFlat = settings.frames < 1000 || memory.late - memory.early < 2048; // short runs tell nothing
    if (!addsUp) std::printf("the counters do not add up\n");
    if (!isFlat) std::printf("the memory grows\n");
    return addsUp && isFlat ? 0 : 1;
} catch (const std::exception& e) {
    std::fprintf(stderr, "%s\n", e.what());
    return 1;
}
