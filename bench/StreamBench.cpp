// What a frame costs, how the stream is kept going between two blocks, and how long a frame takes to its application:
// one camera and eight, on the bus in this process and below the real libusb. Figures only; it fails when a frame is
// lost or a byte of payload copied.

#include "support/StreamBus.h"
#include "support/StreamGrab.h"
#include "support/ThreadTimes.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

namespace {

using bench::BusKind;
using bench::StreamBus;
using bench::StreamGrab;
using Clock = std::chrono::steady_clock;

constexpr const char* kLegend =
    "A frame's cost to the host is all that this process does except for the cameras' threads and the emulated bus:\n"
    "processor time, context switches, system calls. Of these r/w are reads and writes, as the kernel counts them for\n"
    "each thread (most of them signal wait objects); submit, reap, vain (nothing to reap yet) and other are the\n"
    "ioctls that libusb makes of usbfs. Polls and waits for locks are not counted as calls; they show as switches.\n"
    "Gap: from the end of a block until the host's next transfer is with the camera, as the camera sees it. Half of\n"
    "the gaps, and 99 in 100, stay below the figure, a power of two of nanoseconds. The bus' own way from one\n"
    "transfer to the next is in it; and a camera without a frame rate sends far faster than any cable, so that the\n"
    "host may come late by its own reaction. Ready: all such waiting in a frame, also between its transfers. Latency:\n"
    "from a frame's last byte to the return of the wait for it, half of the frames and 99 in 100. / copy: the host's\n"
    "time as a part of what copying the frame once takes.\n";

struct Case {
    const char* name;
    const char* width;
    const char* height;
    unsigned int frames; ///< of each camera
    unsigned int cameras;
    const char* rate = nullptr; ///< frames a second; as fast as the host takes them without
};

struct Row {
    double seconds = 0;
    double frames = 0;
    std::size_t size = 0;
    bench::Cost cost;
    StreamBus::Ioctls ioctls;
    bench::Waits waits;
    std::vector<double> latencies;
    unsigned int lost = 0;
    std::uint64_t skipped = 0;
    std::uint64_t copied = 0;
};

using Grabs = std::vector<std::unique_ptr<StreamGrab>>;

/// Runs a job for each grab on a thread of its own. All threads live until `measure` has run behind the last job.
template<class Job, class Measure>
void OnThreads(const Grabs& grabs, Job job, Measure measure) {
    std::mutex lock;
    std::condition_variable changed;
    std::size_t busy = grabs.size();
    bool leave = false;
    std::vector<std::thread> threads;
    for (const auto& grab : grabs)
        threads.emplace_back([&, mine = grab.get()] {
            job(*mine);
            std::unique_lock<std::mutex> held(lock);
            --busy;
            changed.notify_all();
            changed.wait(held, [&leave] { return leave; });
        });
    {
        std::unique_lock<std::mutex> held(lock);
        changed.wait(held, [&busy] { return busy == 0; });
        measure();
        leave = true;
        changed.notify_all();
    }
    for (std::thread& thread : threads)
        thread.join();
}

StreamBus::Ioctls Difference(const StreamBus::Ioctls& after, const StreamBus::Ioctls& before) {
    return {after.submits - before.submits, after.reaps - before.reaps, after.vain - before.vain,
            after.others - before.others};
}

void SetUp(bench::BenchCamera& camera, const Case& c) {
    camera.Set("PixelFormat", "Mono8");
    camera.Set("Width", c.width);
    camera.Set("Height", c.height);
    camera.Set("AcquisitionFrameRateEnable", c.rate ? "1" : "0");
    if (c.rate) camera.Set("AcquisitionFrameRate", c.rate);
}

void MeasureCost(const Grabs& grabs, unsigned int frames, Row& row) {
    const bench::Cost cost = bench::MeasureThreads();
    const StreamBus::Ioctls ioctls = StreamBus::Count();
    const auto start = Clock::now();
    OnThreads(
        grabs, [frames](StreamGrab& grab) { grab.Frames(frames); },
        [&] {
            row.seconds = std::chrono::duration<double>(Clock::now() - start).count();
            row.cost = bench::MeasureThreads() - cost;
            row.ioctls = Difference(StreamBus::Count(), ioctls);
        });
}

/// Apart from the cost, because here the camera's registers are read.
void MeasureTimes(const Grabs& grabs, const Case& c, Row& row) {
    std::mutex lock;
    const auto measure = [&](StreamGrab& grab) {
        const bench::Waits waits = grab.WaitsIn(c.frames);
        const std::vector<double> latencies = c.rate ? grab.Latencies(c.frames) : std::vector<double>();
        const std::lock_guard<std::mutex> held(lock);
        row.waits.Add(waits);
        row.latencies.insert(row.latencies.end(), latencies.begin(), latencies.end());
    };
    OnThreads(grabs, measure, [] {});
    std::sort(row.latencies.begin(), row.latencies.end());
}

Row Measure(const Case& c) {
    std::vector<std::unique_ptr<bench::BenchCamera>> cameras;
    Grabs grabs;
    for (unsigned int i = 0; i < c.cameras; ++i) {
        cameras.push_back(std::make_unique<bench::BenchCamera>(i));
        SetUp(*cameras.back(), c);
    }
    for (const auto& camera : cameras)
        grabs.push_back(std::make_unique<StreamGrab>(*camera));
    OnThreads(
        grabs, [](StreamGrab& grab) { grab.Frames(8); }, [] {});
    Row row;
    row.frames = double(c.frames) * c.cameras;
    row.size = grabs[0]->Size();
    MeasureCost(grabs, c.frames, row);
    MeasureTimes(grabs, c, row);
    for (const auto& grab : grabs) {
        row.lost += grab->lost;
        row.skipped += grab->skipped;
        row.copied += grab->CopiedBytes();
    }
    return row;
}

/// Seconds that copying a frame once takes, into memory that is not in the cache.
double CopySeconds(std::size_t size) {
    std::vector<std::uint8_t> from(size, 1), to(size * 8);
    const auto start = Clock::now();
    constexpr int kTimes = 64;
    for (int i = 0; i < kTimes; ++i)
        std::memcpy(&to[std::size_t(i % 8) * size], from.data(), size);
    return std::chrono::duration<double>(Clock::now() - start).count() / kTimes;
}

void PrintHead(bool paced) {
    std::printf("%-32s %8s %8s %7s %7s %6s %6s %6s %6s %6s %6s | %8s %8s %7s | %18s | %4s %7s %6s\n",
                paced ? "at a frame rate" : "as fast as the host takes them", "frames/s", "MB/s", "host us", "cam us",
                "switch", "r/w", "submit", "reap", "vain", "other", "gap us", "99 %", "ready",
                paced ? "latency us    99 %" : "/ copy", "lost", "skipped", "copied");
}

void Print(const Case& c, const Row& row) {
    const auto each = [&row](std::uint64_t count) { return double(count) / row.frames; };
    std::printf("%-32s %8.1f %8.0f %7.1f %7.1f %6.2f %6.2f %6.2f %6.2f %6.2f %6.2f | %8.1f %8.1f %7.1f | ", c.name,
                row.frames / row.seconds, row.frames * double(row.size) / row.seconds * 1e-6,
                row.cost.hostSeconds / row.frames * 1e6, row.cost.cameraSeconds / row.frames * 1e6,
                each(row.cost.hostSwitches), each(row.cost.hostTransfers), each(row.ioctls.submits),
                each(row.ioctls.reaps), each(row.ioctls.vain), each(row.ioctls.others), row.waits.Gap(0.5) * 1e6,
                row.waits.Gap(0.99) * 1e6, row.waits.seconds / double(row.waits.blocks) * 1e6);
    const std::size_t count = row.latencies.size();
    if (count != 0)
        std::printf("%10.1f %7.1f", row.latencies[count / 2] * 1e6, row.latencies[count * 99 / 100] * 1e6);
    else if (c.rate)
        std::printf("%18s", "always late");
    else
        std::printf("%18.3f", row.cost.hostSeconds / row.frames / CopySeconds(row.size));
    std::printf(" | %4u %7llu %6llu\n", row.lost, static_cast<unsigned long long>(row.skipped),
                static_cast<unsigned long long>(row.copied));
}

/// A camera that makes a frame when the host asks for one skips none; at a frame rate it does on a machine that is
/// late.
bool IsGood(const Case& c, const Row& row) {
    return row.lost == 0 && row.copied == 0 && (c.rate || row.skipped == 0);
}

bool MeasureAll(const std::vector<Case>& cases) {
    PrintHead(cases.front().rate != nullptr);
    bool good = true;
    std::vector<double> hostSeconds;
    for (const Case& c : cases) {
        const Row row = Measure(c);
        Print(c, row);
        std::fflush(stdout);
        hostSeconds.push_back(row.cost.hostSeconds / row.frames);
        good = good && IsGood(c, row);
    }
    std::printf("A frame of eight cameras costs the host %.2f of one camera's.\n\n",
                hostSeconds.back() / hostSeconds.front());
    return good;
}

int Run(BusKind kind) {
    try {
        const StreamBus bus(kind, 8);
        std::printf("%s\n\n", StreamBus::Name(kind));
        const bool fast = MeasureAll({{"1920 x 1080, one camera", "1920", "1080", 1500, 1},
                                      {"4096 x 3000, one camera", "4096", "3000", 300, 1},
                                      {"1920 x 1080, eight cameras", "1920", "1080", 200, 8}});
        const bool paced = MeasureAll({{"1920 x 1080, one, 100/s", "1920", "1080", 200, 1, "100"},
                                       {"1920 x 1080, eight, 12.5/s each", "1920", "1080", 25, 8, "12.5"}});
        if (!fast || !paced) std::printf("FAILED: frames were lost, or bytes copied\n");
        return fast && paced ? 0 : 1;
    } catch (const std::exception& problem) {
        std::printf("FAILED: %s\n", problem.what());
        return 1;
    }
}

} // namespace

// Each bus has a process of its own: the transport layer opens the buses that it finds when it is first asked.
int main() {
    std::printf("%s\n", kLegend);
    bool good = true;
    for (const BusKind kind : {BusKind::InProcess, BusKind::BelowLibusb}) {
        std::fflush(stdout);
        const pid_t child = fork();
        if (child == 0) std::exit(Run(kind));
        int status = 1;
        good = child > 0 && waitpid(child, &status, 0) == child && status == 0 && good;
    }
    return good ? 0 : 1;
}
