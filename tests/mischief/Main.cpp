// Applications stream from cameras below the real libusb while everything goes wrong at random moments. No call may
// hang, every queued buffer must come back exactly once, counters must add up, nothing may be left open, and in the end
// the cameras must stream as if nothing had been.
//
//   mischief [--seconds N] [--seed N] [--cameras N]
#include "Application.h"
#include "Mischief.h"

#include "integration/support/VirtualBus.h"
#include "support/usbfs/Bus.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <memory>
#include <random>
#include <thread>
#include <unistd.h>

namespace {

using namespace mischief;

constexpr double kLongestSilence = 90; // seconds

struct Options {
    unsigned int seconds = 4;
    unsigned int seed = std::random_device()();
    unsigned int cameras = 2;
};

Options Parse(int argc, char** argv) {
    Options options;
    for (int i = 1; i + 1 < argc; i += 2) {
        const auto value = static_cast<unsigned int>(std::strtoul(argv[i + 1], nullptr, 10));
        if (std::strcmp(argv[i], "--seconds") == 0) options.seconds = value;
        if (std::strcmp(argv[i], "--seed") == 0) options.seed = value;
        if (std::strcmp(argv[i], "--cameras") == 0) options.cameras = value;
    }
    return options;
}

std::string Settings(unsigned int cameras) {
    std::string text;
    for (unsigned int i = 0; i < cameras; ++i)
        text += std::string(text.empty() ? "[" : ", ") + "{\"sensorHeight\": 256, \"frameRate\": 400}";
    return text + "]";
}

std::size_t OpenFiles() {
    std::size_t count = 0;
    DIR* folder = ::opendir("/proc/self/fd");
    while (folder != nullptr && ::readdir(folder) != nullptr)
        ++count;
    if (folder != nullptr) ::closedir(folder);
    return count;
}

std::size_t ResidentKilobytes() {
    std::size_t total = 0, resident = 0;
    std::FILE* file = std::fopen("/proc/self/statm", "r");
    if (file == nullptr) return 0;
    if (std::fscanf(file, "%zu %zu", &total, &resident) != 2) resident = 0;
    std::fclose(file);
    return resident * (static_cast<std::size_t>(::sysconf(_SC_PAGESIZE)) / 1024);
}

/// Everybody at work on one camera.
struct Place {
    std::string serial;
    std::unique_ptr<Pulse> pulse;
    std::unique_ptr<Application> application;
    std::unique_ptr<Mischief> mischief;
    std::thread applicationThread;
    std::thread mischiefThread;
};

void CheckPulses(const std::vector<Place>& places, unsigned int seed) {
    for (const Place& place : places) {
        std::string doing;
        if (place.pulse->Silence(doing) < kLongestSilence) continue;
        std::fprintf(stderr, "HANG after seed %u: %s\n", seed, doing.c_str());
        std::abort();
    }
}

/// Watches until the time is over.
void Watch(const Options& options, const std::vector<Place>& places, const Ledger& ledger) {
    const auto start = std::chrono::steady_clock::now();
    for (unsigned int second = 1; second <= options.seconds; ++second) {
        std::this_thread::sleep_until(start + std::chrono::seconds(second));
        CheckPulses(places, options.seed);
        if (second % 60 != 0) continue;
        std::printf("%5u s, %zu kB, %zu files: ", second, ResidentKilobytes(), OpenFiles());
        ledger.Print();
    }
}

/// Waits for a thread that must end by itself.
void Await(std::thread& thread, const std::vector<Place>& places, unsigned int seed, const std::atomic<bool>& done) {
    while (!done) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        CheckPulses(places, seed);
    }
    thread.join();
}

void Run(const Options& options, integration::VirtualBus& bus, Ledger& ledger) {
    std::vector<Place> places(options.cameras);
    std::vector<std::atomic<bool>> done(options.cameras);
    std::atomic<bool> stop{false};
    for (unsigned int i = 0; i < options.cameras; ++i) {
        Place& place = places[i];
        place.serial = bus.Camera(i).Settings().serial;
        place.pulse = std::make_unique<Pulse>(place.serial);
        place.application =
            std::make_unique<Application>(bus.Layer(), place.serial, options.seed * 31 + i, ledger, *place.pulse);
        place.mischief = std::make_unique<Mischief>(bus.Camera(i), options.seed * 37 + i, ledger);
        place.applicationThread = std::thread([&, i] {
            place.application->RunUntil(stop);
            done[i] = true;
        });
        place.mischiefThread = std::thread([&] { place.mischief->RunUntil(stop); });
    }
    Watch(options, places, ledger);
    stop = true;
    for (unsigned int i = 0; i < options.cameras; ++i) {
        places[i].mischiefThread.join();
        Await(places[i].applicationThread, places, options.seed, done[i]);
    }
    for (Place& place : places)
        place.application->ProveThatAllIsWell();
}

} // namespace

int main(int argc, char** argv) {
    const Options options = Parse(argc, argv);
    std::printf("mischief: %u cameras, %u seconds, seed %u\n", options.cameras, options.seconds, options.seed);
    std::fflush(stdout);
    Ledger ledger;
    {
        integration::VirtualBus bus(Settings(options.cameras));
        const std::size_t files = OpenFiles();
        Run(options, bus, ledger);
        if (usbfs::Bus::Instance().OpenFileCount() != 0) ledger.Complain("bus", "a camera was left open");
        if (usbfs::Bus::Instance().Memory().Used() != 0) ledger.Complain("bus", "transfers were left queued");
        if (OpenFiles() > files + 4)
            ledger.Complain("process", std::to_string(OpenFiles()) + " open files, " + std::to_string(files) +
                                           " at the beginning");
    }
    std::printf("%zu kB at the end: ", ResidentKilobytes());
    ledger.Print();
    return ledger.complaints == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
