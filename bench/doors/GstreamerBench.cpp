// What a frame costs in `tavixsrc ! fakesink` above a loop over the camera class, on one camera of 640 x 480.
//
//   bench_gstreamer [FRAMES [RATE]]; GST_PLUGIN_PATH names the folder of libgsttavix.so

#include "support/ThreadTimes.h"

#include <tavix/camera/Camera.h>

#include <gst/gst.h>

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <limits>
#include <mutex>
#include <stdexcept>
#include <string>

#include <unistd.h>

namespace {

constexpr unsigned int kWarmUp = 100;
constexpr unsigned int kBuffers = 256; // as many as a busy machine needs at a thousand images a second
constexpr unsigned int kRounds = 5;

/// The file with the camera's settings, as long as this lives.
class Settings {
public:
    explicit Settings(unsigned int rate) : m_Path("/tmp/tavix-bench-gst-" + std::to_string(getpid()) + ".json") {
        std::ofstream(m_Path) << "{\"cameras\": [{\"sensorWidth\": 640, \"sensorHeight\": 480, "
                                 "\"bufferedFrames\": 1000, \"frameRate\": "
                              << rate << "}]}";
        setenv("TAVIX_VIRTUAL_CAMERAS", m_Path.c_str(), /*overwrite=*/1);
    }
    ~Settings() { std::remove(m_Path.c_str()); }
    Settings(const Settings&) = delete;
    Settings& operator=(const Settings&) = delete;

private:
    const std::string m_Path;
};

/// Measures between two moments of a stream.
class Meter {
public:
    void Begin() {
        m_Before = bench::MeasureThreads();
        m_Start = std::chrono::steady_clock::now();
    }
    double End(const char* name, unsigned int frames, std::uint64_t lost) {
        const bench::Cost cost = bench::MeasureThreads() - m_Before;
        std::printf("%-24s ", name);
        bench::Print(cost, frames, std::chrono::steady_clock::now() - m_Start, static_cast<unsigned int>(lost));
        return cost.hostSeconds * 1e6 / frames;
    }

private:
    bench::Cost m_Before;
    std::chrono::steady_clock::time_point m_Start;
};

double RunLoop(unsigned int frames) {
    Tavix::Camera camera = Tavix::Camera::Open();
    Tavix::GrabOptions options;
    options.buffers = kBuffers;
    Tavix::ImageStream stream = camera.Grab(options);
    Meter meter;
    for (unsigned int i = 0; i < frames + kWarmUp; ++i) {
        if (i == kWarmUp) meter.Begin();
        stream.Next();
    }
    return meter.End("camera class", frames, stream.Counts().missed + stream.Counts().failed);
}

/// Counts the buffers that come to a pad, and wakes who waits for some of them.
class Counter {
public:
    explicit Counter(GstPad* pad) {
        gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_BUFFER, &Counter::OnBuffer, this, nullptr);
    }
    void Await(unsigned int count) {
        std::unique_lock lock(m_Mutex);
        m_Awaited = count;
        m_Reached.wait(lock, [&] { return m_Count >= count; });
    }

private:
    static GstPadProbeReturn OnBuffer(GstPad*, GstPadProbeInfo*, gpointer self) {
        auto& counter = *static_cast<Counter*>(self);
        const std::lock_guard lock(counter.m_Mutex);
        if (++counter.m_Count == counter.m_Awaited) counter.m_Reached.notify_all();
        return GST_PAD_PROBE_OK;
    }

    std::mutex m_Mutex;
    std::condition_variable m_Reached;
    unsigned int m_Count = 0, m_Awaited = 0; // guarded by m_Mutex
};

guint64 Stat(GstElement* source, const char* name) {
    GstStructure* stats = nullptr;
    guint64 value = 0;
    g_object_get(source, "stats", &stats, nullptr);
    gst_structure_get_uint64(stats, name, &value);
    gst_structure_free(stats);
    return value;
}

double RunPipeline(unsigned int frames) {
    GstElement* pipeline = gst_parse_launch(
        ("tavixsrc name=src buffers=" + std::to_string(kBuffers) + " ! fakesink name=sink").c_str(), nullptr);
    if (pipeline == nullptr) throw std::runtime_error("no pipeline: set GST_PLUGIN_PATH");
    GstElement* source = gst_bin_get_by_name(GST_BIN(pipeline), "src");
    GstElement* sink = gst_bin_get_by_name(GST_BIN(pipeline), "sink");
    GstPad* pad = sink ? gst_element_get_static_pad(sink, "sink") : nullptr;
    if (source == nullptr || pad == nullptr) throw std::runtime_error("no tavixsrc: set GST_PLUGIN_PATH");
    Counter counter(pad);
    gst_element_set_state(pipeline, GST_STATE_PLAYING);
    Meter meter;
    counter.Await(kWarmUp);
    meter.Begin();
    counter.Await(kWarmUp + frames);
    const double cost = meter.End("tavixsrc ! fakesink", frames, Stat(source, "missed") + Stat(source, "failed"));
    std::printf("bytes of payload that tavixsrc copied: %llu\n",
                static_cast<unsigned long long>(Stat(source, "copied")));
    gst_element_set_state(pipeline, GST_STATE_NULL);
    gst_object_unref(pad);
    gst_object_unref(sink);
    gst_object_unref(source);
    gst_object_unref(pipeline);
    return cost;
}

} // namespace

int main(int argc, char** argv) {
    const auto frames = static_cast<unsigned int>(argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 5000);
    const auto rate = static_cast<unsigned int>(argc > 2 ? std::strtoul(argv[2], nullptr, 10) : 1000);
    try {
        const Settings settings(rate);
        gst_init(nullptr, nullptr);
        std::printf("%-24s %8s %9s %9s %9s %8s %6s\n", "", "host us", "ioctl us", "switches", "cam us", "frames/s",
                    "lost");
        double loop = std::numeric_limits<double>::max(), pipeline = loop;
        for (unsigned int round = 0; round < kRounds; ++round) { // others' work adds to the figures, and takes nothing
            loop = std::min(loop, RunLoop(frames));
            pipeline = std::min(pipeline, RunPipeline(frames));
        }
        std::printf("least processor time of a frame above that of the loop: %.1f us\n", pipeline - loop);
        return EXIT_SUCCESS;
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "bench_gstreamer: %s\n", problem.what());
    }
    return EXIT_FAILURE;
}
