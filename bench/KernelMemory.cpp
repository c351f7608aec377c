// What a frame costs the system with memory that the kernel maps and with ordinary memory, on the cameras of this
// computer's own kernel: tests/system/kernel_xhci.sh runs it in a virtual machine. Figures only.
#include <tavix/camera/Camera.h>

#include <chrono>
#include <cstdio>
#include <exception>
#include <fstream>
#include <string>

#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr unsigned int kRounds = 3;
constexpr std::size_t kBuffers = 6;

struct Size {
    int width, height;
    std::uint64_t frames;
};

/// Seconds of processors and of the clock. Bound to a thread.
struct Times {
    double system = 0, user = 0; ///< of this program
    double all = 0;              ///< of the whole machine, what it did in interrupts included
    double clock = 0;

    static Times Now() {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        const auto seconds = [](const timeval& time) {
            return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
        };
        const auto now = std::chrono::steady_clock::now().time_since_epoch();
        return {seconds(usage.ru_stime), seconds(usage.ru_utime), Machine(),
                std::chrono::duration<double>(now).count()};
    }

private:
    static double Machine() {
        std::ifstream file("/proc/stat");
        std::string name;
        double user = 0, nice = 0, system = 0, idle = 0, waiting = 0, irq = 0, softIrq = 0;
        file >> name >> user >> nice >> system >> idle >> waiting >> irq >> softIrq;
        return (user + nice + system + irq + softIrq) / static_cast<double>(sysconf(_SC_CLK_TCK));
    }
};

/// Of all rounds.
struct Sum {
    Times times;
    std::uint64_t frames = 0, bytes = 0, lost = 0;
    std::size_t mapped = 0; ///< bytes of the last stream
};

std::shared_ptr<void> Ordinary(std::size_t bytes) {
    return std::shared_ptr<void>(new std::uint8_t[bytes], std::default_delete<std::uint8_t[]>());
}

void Measure(Tavix::Camera& camera, const Size& size, bool isMapped, Sum& sum) {
    Tavix::GrabOptions options;
    options.count = size.frames + 1;
    options.buffers = kBuffers;
    options.keepBudget = 0;
    options.timeout = std::chrono::seconds(60);
    if (!isMapped) options.allocator = Ordinary;
    Tavix::ImageStream stream = camera.Grab(options);
    Times begin;
    for (const Tavix::Image& image : stream) {
        if (image.Number() == 0) { // what the start takes is not measured
            begin = Times::Now();
            continue;
        }
        sum.bytes += image.Payload().size;
        ++sum.frames;
    }
    const Times end = Times::Now();
    sum.times.system += end.system - begin.system;
    sum.times.user += end.user - begin.user;
    sum.times.all += end.all - begin.all;
    sum.times.clock += end.clock - begin.clock;
    sum.lost += stream.Counts().missed + stream.Counts().failed;
    sum.mapped = stream.Counts().mapped;
}

void Print(const Size& size, const char* memory, const Sum& sum) {
    const auto frames = static_cast<double>(sum.frames) / 1e3; // milliseconds a frame
    std::printf("%4dx%-4d %-9s %8.2f %8.2f %8.2f %8.1f %6llu %8zu\n", size.width, size.height, memory,
                sum.times.system / frames, sum.times.user / frames, sum.times.all / frames,
                static_cast<double>(sum.bytes) / sum.times.clock * 1e-6, static_cast<unsigned long long>(sum.lost),
                sum.mapped >> 20);
}

void Run() {
    Tavix::Camera camera = Tavix::Camera::Open();
    camera["PixelFormat"] = "Mono8";
    camera["AcquisitionFrameRateEnable"] = false;
    std::printf("processor time of a frame in ms, mean of %u rounds in turn\n", kRounds);
    std::printf("%-9s %-9s %8s %8s %8s %8s %6s %8s\n", "", "", "system", "user", "machine", "MB/s", "lost", "MiB map.");
    for (const Size& size : {Size{1920, 1080, 60}, Size{4096, 3000, 15}}) {
        camera["Width"] = size.width;
        camera["Height"] = size.height;
        Sum mapped, ordinary;
        for (unsigned int round = 0; round < kRounds; ++round) {
            Measure(camera, size, /*isMapped=*/true, mapped);
            Measure(camera, size, /*isMapped=*/false, ordinary);
        }
        Print(size, "mapped", mapped);
        Print(size, "ordinary", ordinary);
    }
}

} // namespace

int main() {
    try {
        Run();
        return 0;
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "bench_kernel_memory: %s\n", problem.what());
    }
    return 1;
}
