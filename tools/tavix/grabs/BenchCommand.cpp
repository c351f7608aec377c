#include "Error.h"
#include "cameras/CameraClock.h"
#include "grabs/Distribution.h"
#include "grabs/GrabReport.h"
#include "line/Commands.h"
#include "output/Json.h"
#include "output/Table.h"

#include <cstdio>
#include <cstdlib>

namespace tool {
namespace {

/// Takes down when frames come and measures what the process spends meanwhile. Bound to the thread of the grab while
/// that runs.
class Stopwatch final : public FrameObserver {
public:
    const ProcessCost& Cost() const { return m_Cost; }
    /// Milliseconds from one good frame to the next.
    Distribution Intervals() const {
        Distribution intervals;
        for (std::size_t i = 1; i < m_Arrivals.size(); ++i)
            intervals.Add(Milliseconds(m_Arrivals[i].host - m_Arrivals[i - 1].host));
        return intervals;
    }
    /// Milliseconds from a frame's timestamp to its arrival; empty when the camera's clock cannot be read.
    Distribution Latencies() const {
        Distribution latencies;
        for (const Arrival& arrival : m_Arrivals) {
            if (const auto sent = m_Clock.ToHost(arrival.timestamp)) latencies.Add(Milliseconds(arrival.host - *sent));
        }
        return latencies;
    }

private:
    struct Arrival {
        std::int64_t host;
        std::uint64_t timestamp;
    };

    static double Milliseconds(std::int64_t nanoseconds) { return static_cast<double>(nanoseconds) * 1e-6; }

    void OnReady(Camera& camera) override {
        m_Clock.Read(camera);
        m_Before = MeasureProcess();
    }
    void OnFrame(const Tavix::GrabResult& result, ChunkCheck) override {
        m_Arrivals.push_back({HostNanoseconds(), result.GetTimeStamp()});
    }
    void OnEnd(Camera& camera) override {
        m_Cost = MeasureProcess() - m_Before;
        m_Clock.Read(camera);
    }

    CameraClock m_Clock;
    ProcessCost m_Before, m_Cost;
    std::vector<Arrival> m_Arrivals;
};

nlohmann::json Figures(const GrabSession& session, const Stopwatch& stopwatch) {
    const GrabFigures& f = session.Figures();
    const double frames = static_cast<double>(f.good);
    return {{"camera", session.Name()},
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
    GrabSession session(ChooseCamera(options), options, &stopwatch);
    RunSession(session);
    if (session.Figures().good > 0) {
        const nlohmann::json figures = Figures(session, stopwatch);
        options.json ? PrintJson(figures) : PrintFigures(figures);
    }
    ThrowIfFramesAreLost(session);
    return kDone;
}

} // namespace tool
