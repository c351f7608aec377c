#pragma once
// What a grab says at its end.

#include "GrabSession.h"

#include <memory>
#include <vector>

#include <nlohmann/json.hpp>

namespace tool {

/// Processor time and context switches of this process so far.
struct ProcessCost {
    double cpuSeconds = 0;
    std::uint64_t contextSwitches = 0;
};
ProcessCost MeasureProcess();

using Sessions = std::vector<std::unique_ptr<GrabSession>>;
nlohmann::json ReportJson(const Sessions& sessions, const ProcessCost& cost);
void PrintReport(const Sessions& sessions, const ProcessCost& cost);

} // namespace tool
