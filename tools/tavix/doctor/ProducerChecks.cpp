#include "Examination.h"

#include <algorithm>
#include <cstdlib>

namespace tool {
namespace {

constexpr const char* kId = "gentl-producer";
constexpr const char* kAbout = "GenTL";

std::string ExportCommand(const std::string& own) {
    return std::string("export ") + kProducerPath + "=" + own.substr(0, own.rfind('/')) + "${" + kProducerPath +
           ":+:$" + kProducerPath + "}";
}

void ExamineOwn(const GentlProducers& producers, Findings& findings) {
    const auto& checks = producers.checks;
    const auto ours = std::find_if(checks.begin(), checks.end(), [](const ProducerCheck& c) { return c.isOurs; });
    if (ours == checks.end()) {
        if (producers.own.empty()) return; // not installed, so nobody misses it
        findings.push_back({Severity::Note, kId, kAbout,
                            std::string("other programs do not find the cameras: ") + kProducerPath +
                                " does not name the folder of " + producers.own,
                            ExportCommand(producers.own)});
        return;
    }
    if (ours == checks.begin()) return;
    findings.push_back({Severity::Note, kId, kAbout,
                        "programs that take the first producer get " + checks.front().path + ", not " + ours->path,
                        ExportCommand(ours->path)});
}

void ExamineEach(const GentlProducers& producers, Findings& findings) {
    for (const ProducerCheck& check : producers.checks) {
        if (check.failure.empty())
            findings.push_back({Severity::Good, kId, kAbout, check.path + " works", ""});
        else // a stranger's producer is not ours to mend
            findings.push_back({check.isOurs ? Severity::Problem : Severity::Note, kId, kAbout,
                                check.path + (check.worksInPart ? " " : " does not work: ") + check.failure,
                                "tavix gentl '" + check.path + "'"});
    }
}

void ExaminePath(const ProducerPathFaults& faults, Findings& findings) {
    const std::string command = faults.mended.empty()
                                    ? std::string("unset ") + kProducerPath
                                    : std::string("export ") + kProducerPath + "='" + faults.mended + "'";
    const auto tell = [&](const std::vector<std::string>& entries, const char* what) {
        for (const std::string& entry : entries)
            findings.push_back({Severity::Note, "gentl-path", kAbout,
                                std::string(kProducerPath) + " names " + entry + ", " + what, command});
    };
    tell(faults.missing, "which does not exist");
    tell(faults.repeated, "and what is there before it, too: programs that load a producer twice get an error");
}

} // namespace

void ExamineProducers(const Patient& patient, Findings& findings) {
    if (!patient.producers) return;
    ExamineEach(*patient.producers, findings);
    ExamineOwn(*patient.producers, findings);
    ExaminePath(patient.producers->faults, findings);
}

} // namespace tool
