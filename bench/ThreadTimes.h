#pragma once
// Processor time and context switches of this process, thread by thread.

#include <cstdint>

namespace bench {

struct Cost {
    double cameraSeconds = 0;       ///< processor time of the virtual cameras' threads
    double hostSeconds = 0;         ///< processor time of all others: the library and the application
    std::uint64_t hostSwitches = 0; ///< context switches of those others
};

/// Threads whose names begin with "vcam" belong to virtual cameras. Threads that have ended are not counted.
Cost MeasureThreads();
Cost operator-(const Cost& after, const Cost& before);

} // namespace bench
