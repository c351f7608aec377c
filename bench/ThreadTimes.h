#pragma once
// Processor time, context switches and system calls of this process, thread by thread.

#include <cstdint>

namespace bench {

struct Cost {
    double cameraSeconds = 0;        ///< processor time of the virtual cameras' threads, and of their bus
    double hostSeconds = 0;          ///< processor time of all others: the library and the application
    std::uint64_t hostSwitches = 0;  ///< context switches of those others
    std::uint64_t hostTransfers = 0; ///< their system calls that read or wrote, as the kernel counts them
};

/// Threads whose names begin with "vcam" belong to virtual cameras, "usbfs" to the emulated bus. Threads that have
/// ended are not counted.
Cost MeasureThreads();
Cost operator-(const Cost& after, const Cost& before);

} // namespace bench
