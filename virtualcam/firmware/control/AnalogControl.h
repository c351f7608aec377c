#pragma once
// Exposure, gain, black level, gamma, white balance and look-up table: what makes light of a scene into numbers.

#include <array>
#include <cstdint>
#include <memory>

#include "virtualcam/firmware/FeatureMaker.h"

namespace virtualcam {

/// Maps a 12-bit brightness of the scene to the 12-bit value of a pixel, for red, green and blue.
struct Look {
    std::array<std::array<std::uint16_t, reg::kLutEntries>, 3> map;
};

/// Bound to a thread; the register space's owner locks.
class AnalogControl {
public:
    explicit AnalogControl(const FeatureMaker& make);

    double ExposureMicroseconds() const;
    double GainDecibels() const;
    /// Lets the automatic functions take a step; once for each frame.
    void Adjust();
    /// The present mapping; another object after each change.
    std::shared_ptr<const Look> CurrentLook();
    void Changed() { m_Look.reset(); }

private:
    RegisterSpace& m_Registers;
    std::shared_ptr<const Look> m_Look; // null: to be made

    std::uint32_t Value(std::uint64_t address) const { return m_Registers.Get<std::uint32_t>(address); }
    void AddLut(const FeatureMaker& make);
    bool Approach(std::uint64_t address, std::uint64_t mode, std::uint32_t target);
    std::uint16_t Expose(double light) const;
};

} // namespace virtualcam
