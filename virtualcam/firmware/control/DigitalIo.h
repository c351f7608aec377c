#pragma once
// Input and output lines, timers and counters.

#include <array>
#include <cstdint>
#include <functional>

#include "virtualcam/firmware/Clock.h"
#include "virtualcam/firmware/FeatureMaker.h"

namespace virtualcam {

/// Things that happen in the camera and that timers and counters can wait for.
enum class Signal : std::uint32_t { None = 0, FrameStart = 1, FrameBurstStart = 2, ExposureEnd = 3, FrameTrigger = 4 };

enum class LineSource : std::uint32_t {
    Off = 0,
    ExposureActive = 1,
    FrameTriggerWait = 2,
    UserOutput1 = 3,
    Timer1Active = 4,
    FrameBurstTriggerWait = 5
};

/// Bound to a thread; the register space's owner locks.
class DigitalIo {
public:
    /// `source` answers the level of those line sources that are not this class' own.
    DigitalIo(const FeatureMaker& make, std::function<bool(LineSource)> source);

    /// Sets the level outside of an input; true when the camera sees an edge at it, whose new level is Level().
    bool SetInput(std::uint32_t line, bool high);
    bool Level(std::uint32_t line) const;
    std::uint32_t AllLevels() const;
    void Happened(Signal signal);
    std::uint32_t CounterValue(std::uint32_t counter) const;

private:
    RegisterSpace& m_Registers;
    const std::function<bool(LineSource)> m_Source;
    std::array<bool, reg::kLines> m_Outside{};
    std::array<TimePoint, reg::kTimers> m_TimerStart{}; // the epoch: never started

    static std::uint64_t Line(std::uint32_t line) { return reg::kLine + line * reg::kLineStride; }
    static std::uint64_t Timer(std::uint32_t timer) { return reg::kTimer + timer * reg::kTimerStride; }
    static std::uint64_t Counter(std::uint32_t counter) { return reg::kCounter + counter * reg::kCounterStride; }
    std::uint32_t Value(std::uint64_t address) const { return m_Registers.Get<std::uint32_t>(address); }
    void AddLines(const FeatureMaker& make);
    void AddTimers(const FeatureMaker& make);
    void AddCounters(const FeatureMaker& make);
    bool IsTimerActive(std::uint32_t timer) const;
    void Count(std::uint32_t counter);
};

} // namespace virtualcam
