#pragma once
// The producers that GenTL programs on this machine find.

#include <string>
#include <vector>

namespace tool {

/// The variable whose folders GenTL programs search.
inline constexpr const char* kProducerPath = "GENICAM_GENTL64_PATH";

/// What a producer does that calls exit() or the like.
inline constexpr const char* kEndsTheProcess = "ends the process that calls it";

/// How a producer bears a look at it, in a process of its own. Re-entrant.
struct ProducerCheck {
    std::string path;
    bool isOurs = false;
    bool worksInPart = false;
    std::string failure; ///< what it does instead of working, or what of it fails; empty when all of it works
};

/// What is wrong with the entries of the variable. Re-entrant.
struct ProducerPathFaults {
    std::vector<std::string> missing;  ///< that name nothing
    std::vector<std::string> repeated; ///< that name what one before them names, too
    std::string mended;                ///< the variable's value with nothing but what leads to further producers
};

/// The files that programs find, in their order; of a folder by name. One that the variable leads to twice is there
/// once.
std::vector<std::string> FindProducers();
ProducerPathFaults FindProducerPathFaults();
/// Where this library's own producer lies; empty when it is not installed.
std::string OwnProducer();
/// Lets `program` (this one) look at the producer, for ten seconds at most.
ProducerCheck CheckProducer(const std::string& program, const std::string& path);

} // namespace tool
