#include "Error.h"
#include "doctor/Demand.h"
#include "doctor/Examination.h"
#include "line/Commands.h"
#include "output/Json.h"
#include "output/Text.h"

#include <algorithm>
#include <cstdio>

#include <libusb.h>

namespace tool {
namespace {

std::string LibusbVersion() {
    const libusb_version* version = libusb_get_version();
    return std::to_string(version->major) + "." + std::to_string(version->minor) + "." + std::to_string(version->micro);
}

/// Each is loaded by a process of its own: whatever a stranger's file does, it does not end this one.
GentlProducers LookForProducers() {
    GentlProducers producers{OwnProducer(), {}, FindProducerPathFaults()};
    for (const std::string& path : FindProducers())
        producers.checks.push_back(CheckProducer("/proc/self/exe", path));
    return producers;
}

nlohmann::json ToJson(const Findings& findings) {
    nlohmann::json json = nlohmann::json::array();
    for (const Finding& finding : findings) {
        json.push_back({{"severity", Name(finding.severity)},
                        {"id", finding.id},
                        {"about", finding.about},
                        {"text", finding.text},
                        {"command", finding.command}});
    }
    return json;
}

void Print(const Findings& findings) {
    for (const Finding& finding : findings) {
        std::printf("%-8s ", Name(finding.severity));
        PrintLine(finding.about + ": " + finding.text);
        if (!finding.command.empty()) PrintLine("         $ " + finding.command);
    }
}

void AskComputer(Patient& patient) {
    patient.libusbVersion = LibusbVersion();
    patient.transportLayers = FindTransportLayers();
    if (patient.transportLayers->virtualCameras.empty()) patient.demands = AskCameras();
    patient.producers = LookForProducers();
}

} // namespace

const char* Name(Severity severity) {
    switch (severity) {
    case Severity::Good:
        return "good";
    case Severity::Note:
        return "note";
    default:
        return "problem";
    }
}

Findings ExamineThisComputer() {
    Patient patient{SystemFiles("/")};
    AskComputer(patient);
    return Examine(patient);
}

int Doctor(const DoctorOptions& options) {
    if (options.udevRule) {
        std::fputs(UdevRule(), stdout);
        return kDone;
    }
    Patient patient{SystemFiles(options.root)};
    if (patient.files.IsHere()) {
        AskComputer(patient);
    } else if (!patient.files.Exists("/")) {
        throw Error("there is no folder " + options.root);
    }
    const Findings findings = Examine(patient);
    options.json ? PrintJson(ToJson(findings)) : Print(findings);
    const auto problems = std::count_if(findings.begin(), findings.end(),
                                        [](const Finding& f) { return f.severity == Severity::Problem; });
    if (problems == 0) return kDone;
    throw Error(std::to_string(problems) + (problems == 1 ? " problem" : " problems") + " found, see above", kPartly);
}

} // namespace tool
