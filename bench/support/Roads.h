#pragma once
// Several ways to have the same images, measured in turn.

#include <functional>
#include <string>
#include <vector>

namespace bench {

/// What a frame cost the host in one round.
struct FrameCost {
    double rate = 0;         ///< frames a second
    double microseconds = 0; ///< processor time of all threads but the cameras'
    double above = 0;        ///< of that, what was not spent in the ioctls of the emulated bus
    double switches = 0;     ///< of context, of the same threads
    double transfers = 0;    ///< their system calls that read or wrote
    unsigned int lost = 0;   ///< of all frames of the round
};

/// What `take` does, which takes so many frames.
FrameCost MeasureFrames(unsigned int frames, const std::function<void()>& take);

/// How often a program measures: its first argument, 9 without one. Throws std::invalid_argument for no such number.
unsigned int RoundsOf(int argc, char** argv);

struct Road {
    std::string name;
    std::function<FrameCost()> measure;
};

/// One road after the other, again and again, there and back, so that all meet the same machine. Prints the median and
/// the quartiles of each road's time, and of its ratio to the first road in the same round; then the same for what it
/// takes above the bus. With words, only the roads whose names hold one of them are measured.
void MeasureInTurn(const std::vector<Road>& roads, unsigned int rounds, const std::vector<std::string>& words = {});

} // namespace bench
