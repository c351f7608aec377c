// What a frame costs in a loop over the camera class: the loop that python_loop.py is measured against.
#include <tavix/camera/Camera.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <unistd.h>

namespace {

double Seconds(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

} // namespace

int main(int count, char** arguments) {
    const std::uint64_t frames = count > 1 ? std::strtoull(arguments[1], nullptr, 10) : 5000;
    auto camera = Tavix::Camera::Open();
    camera["TestPattern"] = "Checkerboard";
    Tavix::GrabOptions options;
    options.count = frames;
    options.buffers = 256;
    std::uint64_t sum = 0, missed = 0;
    double thread = 0, process = 0, begin = 0;
    auto stream = camera.Grab(options);
    for (Tavix::Image& image : stream) {
        if (image.Number() == 0) { // what the start takes is not measured
            thread = Seconds(CLOCK_THREAD_CPUTIME_ID), process = Seconds(CLOCK_PROCESS_CPUTIME_ID);
            begin = Seconds(CLOCK_MONOTONIC);
        }
        sum += image.Data().data[0] + image.Width();
        missed += image.MissedBefore();
    }
    const double rest = static_cast<double>(frames - 1);
    std::printf("{\"thread_us\": %.2f, \"process_us\": %.2f, \"rate\": %.1f, \"lost\": %llu, \"sum\": %llu}\n",
                (Seconds(CLOCK_THREAD_CPUTIME_ID) - thread) * 1e6 / rest,
                (Seconds(CLOCK_PROCESS_CPUTIME_ID) - process) * 1e6 / rest, rest / (Seconds(CLOCK_MONOTONIC) - begin),
                static_cast<unsigned long long>(missed + stream.Counts().failed), static_cast<unsigned long long>(sum));
}
