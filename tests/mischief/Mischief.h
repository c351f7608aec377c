#pragma once
// Whatever can befall a camera, at random moments.

#include "Ledger.h"

#include "virtualcam/device/Device.h"

#include <atomic>
#include <condition_variable>
#include <random>

namespace mischief {

/// Disturbs one camera. Bound to a thread.
class Mischief {
public:
    Mischief(virtualcam::Device& camera, unsigned int seed, Ledger& ledger)
        : m_Camera(camera), m_Random(seed), m_Ledger(ledger) {}

    /// Disturbs until `stop`, then leaves the camera plugged in and without a fault.
    void RunUntil(const std::atomic<bool>& stop);

private:
    void Disturb();
    virtualcam::FaultScript RandomFaults();
    void Pause(unsigned int mostMs);
    unsigned int Roll(unsigned int below) {
        return std::uniform_int_distribution<unsigned int>(0, below - 1)(m_Random);
    }

    virtualcam::Device& m_Camera;
    std::mt19937 m_Random;
    Ledger& m_Ledger;
    bool m_MayDie = true; ///< a camera that has to be reset twice in a row is given up until it is plugged in anew
};

} // namespace mischief
