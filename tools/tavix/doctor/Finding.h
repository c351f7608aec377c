#pragma once
// What an examination of the system brought to light.

#include <string>
#include <vector>

namespace tool {

enum class Severity {
    Good,
    Note,   ///< worth knowing; works without a change
    Problem ///< costs frames, or keeps a camera from working
};

/// Re-entrant.
struct Finding {
    Severity severity = Severity::Good;
    std::string id;      ///< of the check, for programs: "transfer-memory"
    std::string about;   ///< for people: "transfer memory", or the name of a camera
    std::string text;    ///< what is so, and what it means
    std::string command; ///< that mends it, to be pasted into a shell; empty when none does
};
using Findings = std::vector<Finding>;

} // namespace tool
