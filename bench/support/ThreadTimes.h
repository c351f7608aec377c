#pragma once
// Processor time, context switches and system calls of this process, thread by thread.

#include <chrono>
#include <cstdint>

namespace bench {

struct Cost {
    double cameraSeconds = 0;        ///< processor time of the virtual cameras' threads, and of their bus
    double hostSeconds = 0;          ///< processor time of all others: the library and the application
    double ownSeconds = 0;           ///< of that, what measuring took, which a difference leaves out
    double ioctlSeconds = 0;         ///< of that, in the ioctls of the emulated bus where it has been preloaded
    std::uint64_t hostSwitches = 0;  ///< context switches of those others
    std::uint64_t hostTransfers = 0; ///< their system calls that read or wrote, as the kernel counts them
};

/// Threads whose names begin with "vcam" belong to virtual cameras, "usbfs" to the emulated bus; these are to live as
/// long as anything is measured. Reads and writes of threads that have ended are not counted.
Cost MeasureThreads();
Cost operator-(const Cost& after, const Cost& before);

/// A line with what one frame cost: microseconds of the host's processor time above the bus and in the bus's ioctls,
/// its context switches, microseconds of the cameras; frames a second and how many were lost.
void Print(const Cost& cost, unsigned int frames, std::chrono::steady_clock::duration time, unsigned int lost);

} // namespace bench
