#include "Error.h"
#include "cameras/CameraChoice.h"
#include "grabs/Distribution.h"
#include "grabs/GrabReport.h"
#include "line/Commands.h"
#include "output/Json.h"
#include "output/Table.h"

#include <cstdio>
#include <cstdlib>
#include <optional>

namespace tool {
namespace {

/// Takes down when frames come and measures what the process spends meanwhile. Bound to the thread of the grab while
/// that runs.
class Stopwatch final : public FrameObserver {
public:
    const ProcessCost& Cost() const { return m_Cost; }
    /// Milliseconds from one good frame to the next.
    const Distribution& Intervals() const { return m_Intervals; }
    /// Milliseconds from a frame's timestamp to its arrival; empty when the camera's clock cannot be read.
    const Distribution& Latencies() const { return m_Latencies; }

private:
    using Clock = std::chrono::steady_clock;

    static double Milliseconds(Clock::duration time) { return std::chrono::duration<double, std::milli>(time).count(); }

    void OnReady(Tavix::Camera& camera) override {
        m_CanLatch = camera.HasFeature("TimestampLatch") && camera.HasFeature("TimestampLatchValue");
        m_Before = MeasureProcess();
    }
    void OnImage(const Tavix::Image& image) override {
        if (m_Last) m_Intervals.Add(Milliseconds(image.Arrival() - *m_Last));
        m_Last = image.Arrival();
        const Tavix::HostTime time = image.Time();
        if (m_CanLatch && time.IsKnown()) m_Latencies.Add(Milliseconds(*m_Last - time.monotonic));
    }
    void OnEnd() override { m_Cost = MeasureProcess() - m_Before; }

    bool m_CanLatch = false;
    ProcessCost m_Before, m_Cost;
    std::optional<Clock::time_point> m_Last; // arrival
    Distribution m_Intervals, m_Latencies;
};

nlohmann::json Figures(const CameraGrab& grab, const Stopwatch& stopwatch) {
    const GrabFigures& f = grab.Figures();
    const double frames = static_cast<double>(f.good);
    return {{"camera", grab.Name()},
            {"frames", f.good.load()},
            {"failed", f.failed.load()},
            {"missed", f.missed.load()},
            {"seconds", f.seconds},
            {"framesPerSecond", FramesPerSecond(f)},
            {"megabytesPerSecond", MegabytesPerSecond(f)},
            {"cpuMsPerFrame", 1e3 * stopwatch.Cost().cpuSeconds / frames},
            {"contextSwitchesPerFrame", static_cast<double>(stopwatch.Cost().contextSwitches) / frames},
            {"intervalMs", stopwatch.Intervals().Json()},
            {"latencyMs", stopwatch.Latencies().Json()}};
}

std::string Number(const nlohmann::json& value, const char* format) {
    char text[48];
    std::snprintf(text, sizeof text, format, value.get<double>());
    return text;
}

std::string Spread(const nlohmann::json& values) {
    if (values.is_null()) return "unknown: the camera's clock cannot be read";
    return "median " + Number(values["median"], "%.3f") + " ms, 99 % within " + Number(values["p99"], "%.3f") +
           " ms, longest " + Number(values["max"], "%.3f") + " ms";
}

void PrintFigures(const nlohmann::json& figures) {
    Table table;
    table.Add({"camera", figures["camera"].get<std::string>()});
    table.Add({"frames", figures["frames"].dump() + " in " + Number(figures["seconds"], "%.2f s")});
    table.Add({"lost", figures["failed"].dump() + " failed, " + figures["missed"].dump() + " never came"});
    table.Add({"rate", Number(figures["framesPerSecond"], "%.1f frames/s, ") +
                           Number(figures["megabytesPerSecond"], "%.1f MB/s")});
    table.Add({"processor", Number(figures["cpuMsPerFrame"], "%.3f ms and ") +
                                Number(figures["contextSwitchesPerFrame"], "%.1f context switches a frame") +
                                (secure_getenv("TAVIX_VIRTUAL_CAMERAS") ? ", the virtual camera's included" : "")});
    table.Add({"interval", Spread(figures["intervalMs"])});
    table.Add({"latency", Spread(figures["latencyMs"])});
    table.Print();
}

} // namespace

int Bench(const GrabOptions& options) {
    Stopwatch stopwatch;
    CameraGrab grab(ChooseCamera(options), options, &stopwatch);
    RunGrab(grab);
    if (grab.Figures().good > 0) {
        const nlohmann::json figures = Figures(grab, stopwatch);
        options.json ? PrintJson(figures) : PrintFigures(figures);
    }
    ThrowIfFramesAreLost(grab);
    return kDone;
}

} // namespace tool
