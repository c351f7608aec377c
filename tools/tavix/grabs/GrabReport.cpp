#include "grabs/GrabReport.h"

#include "output/Table.h"
#include "output/Text.h"

#include <cstdio>
#include <cstdlib>

#include <sys/resource.h>

namespace tool {
namespace {

double Seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

std::uint64_t AllFrames(const Grabs& grabs) {
    std::uint64_t frames = 0;
    for (const auto& grab : grabs)
        frames += grab->Figures().good;
    return frames;
}

unsigned long long Plain(std::uint64_t number) {
    return number;
}

std::string Fixed(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", value);
    return text;
}

void PrintFigures(const Grabs& grabs) {
    constexpr auto kLeft = Table::Align::Left, kRight = Table::Align::Right;
    Table table({kLeft, kRight, kRight, kRight, kRight, kRight});
    table.Add({"camera", "frames", "failed", "missed", "frames/s", "MB/s"});
    for (const auto& grab : grabs) {
        const GrabFigures& f = grab->Figures();
        table.Add({grab->Name(), std::to_string(f.good), std::to_string(f.failed), std::to_string(f.missed),
                   Fixed(FramesPerSecond(f)), Fixed(MegabytesPerSecond(f))});
    }
    table.Print();
}

void PrintNotes(const CameraGrab& grab) {
    const GrabFigures& f = grab.Figures();
    const char* name = grab.Name().c_str();
    if (f.checksumRight + f.checksumWrong + f.checksumMissing > 0) {
        std::printf("%s: checksum of the chunk data right in %llu frames, wrong in %llu, missing in %llu\n", name,
                    Plain(f.checksumRight), Plain(f.checksumWrong), Plain(f.checksumMissing));
    }
    if (!f.firstError.empty()) PrintLine(grab.Name() + ": first failure: " + f.firstError);
}

} // namespace

double FramesPerSecond(const GrabFigures& figures) {
    return figures.good > 1 && figures.seconds > 0 ? static_cast<double>(figures.good - 1) / figures.seconds : 0;
}

double MegabytesPerSecond(const GrabFigures& figures) {
    if (figures.good <= 1) return 0;
    const double bytesPerFrame = static_cast<double>(figures.bytes) / static_cast<double>(figures.good);
    return FramesPerSecond(figures) * bytesPerFrame * 1e-6;
}

ProcessCost MeasureProcess() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return {Seconds(usage.ru_utime) + Seconds(usage.ru_stime),
            static_cast<std::uint64_t>(usage.ru_nvcsw + usage.ru_nivcsw)};
}

ProcessCost operator-(const ProcessCost& after, const ProcessCost& before) {
    return {after.cpuSeconds - before.cpuSeconds, after.contextSwitches - before.contextSwitches};
}

nlohmann::json ReportJson(const Grabs& grabs, const ProcessCost& cost, const std::vector<std::string>& failures) {
    nlohmann::json cameras = nlohmann::json::array();
    for (const auto& grab : grabs) {
        const GrabFigures& f = grab->Figures();
        cameras.push_back({{"camera", grab->Name()},
                           {"number", grab->Info().number},
                           {"path", grab->Info().path},
                           {"frames", f.good.load()},
                           {"failed", f.failed.load()},
                           {"missed", f.missed.load()},
                           {"bytes", f.bytes.load()},
                           {"seconds", f.seconds},
                           {"framesPerSecond", FramesPerSecond(f)},
                           {"megabytesPerSecond", MegabytesPerSecond(f)},
                           {"checksumRight", f.checksumRight},
                           {"checksumWrong", f.checksumWrong},
                           {"checksumMissing", f.checksumMissing},
                           {"images", f.images},
                           {"firstError", f.firstError}});
    }
    return {{"cameras", cameras},
            {"cpuSeconds", cost.cpuSeconds},
            {"contextSwitches", cost.contextSwitches},
            {"errors", failures}};
}

void PrintReport(const Grabs& grabs, const ProcessCost& cost, const GrabOptions& options) {
    PrintFigures(grabs);
    std::uint64_t images = 0, unconverted = 0;
    for (const auto& grab : grabs) {
        PrintNotes(*grab);
        images += grab->Figures().images;
        unconverted += grab->Figures().unconverted;
    }
    if (images > 0) PrintLine(std::to_string(images) + " images in " + options.folder);
    if (unconverted > 0) {
        std::printf("%llu of them hold the camera's bytes (.raw): their pixel format cannot be converted\n",
                    Plain(unconverted));
    }
    const std::uint64_t frames = AllFrames(grabs);
    if (frames == 0) return;
    std::printf("processor time %.2f s: %.3f ms and %.1f context switches a frame%s\n", cost.cpuSeconds,
                1e3 * cost.cpuSeconds / static_cast<double>(frames),
                static_cast<double>(cost.contextSwitches) / static_cast<double>(frames),
                secure_getenv("TAVIX_VIRTUAL_CAMERAS") ? ", those of the virtual cameras included" : "");
}

} // namespace tool
