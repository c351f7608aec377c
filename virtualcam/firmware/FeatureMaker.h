#pragma once
// Words in which the feature groups describe their registers.

#include <functional>
#include <initializer_list>
#include <vector>

#include "virtualcam/firmware/CameraRegisters.h"
#include "virtualcam/firmware/RegisterSpace.h"

namespace virtualcam {

/// Makes feature registers in a register space. Bound to a thread; the space's owner locks.
class FeatureMaker {
public:
    /// `locked` tells whether size-changing features are locked just now.
    FeatureMaker(RegisterSpace& registers, std::function<bool()> locked)
        : m_Registers(registers), m_Locked(std::move(locked)) {}

    RegisterSpace& Registers() const { return m_Registers; }

    /// A 32-bit setting from `low` to `high` in steps of `step` above `low`.
    Register& Range(std::uint64_t address, std::uint32_t value, std::uint32_t low, std::uint32_t high,
                    std::uint32_t step = 1) const;
    /// A 32-bit setting with a list of values.
    Register& Choice(std::uint64_t address, std::uint32_t value, std::vector<std::uint32_t> values) const;
    /// A 32-bit setting of 0 or 1.
    Register& Switch(std::uint64_t address, bool on = false) const { return Choice(address, on ? 1 : 0, {0, 1}); }
    Register& Float(std::uint64_t address, float value, float low, float high) const;
    Register& Double(std::uint64_t address, double value, double low, double high) const;
    /// A self-clearing command register.
    Register& Command(std::uint64_t address, std::function<void()> execute) const;
    /// A 32-bit register that is worked out at each read.
    Register& Reading(std::uint64_t address, std::function<std::uint32_t()> read) const;
    /// Lets writes fail while features are locked.
    Register& Lockable(Register& entry) const;

private:
    RegisterSpace& m_Registers;
    const std::function<bool()> m_Locked;
};

} // namespace virtualcam
