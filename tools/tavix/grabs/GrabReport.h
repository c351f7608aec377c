#pragma once
// What a grab says at its end.

#include "grabs/RunGrabs.h"

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace tool {

/// Processor time and context switches of this process so far.
struct ProcessCost {
    double cpuSeconds = 0;
    std::uint64_t contextSwitches = 0;
};
ProcessCost MeasureProcess();
ProcessCost operator-(const ProcessCost& after, const ProcessCost& before);

/// Good frames a second between the first and the last of them; 0 for fewer than two.
double FramesPerSecond(const GrabFigures& figures);
double MegabytesPerSecond(const GrabFigures& figures);

/// `failures` are what the command will complain of.
nlohmann::json ReportJson(const Grabs& grabs, const ProcessCost& cost, const std::vector<std::string>& failures);
void PrintReport(const Grabs& grabs, const ProcessCost& cost, const GrabOptions& options);

} // namespace tool
