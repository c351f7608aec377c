#include "virtualcam/firmware/control/DigitalIo.h"

#include <utility>

namespace virtualcam {
namespace {

constexpr std::uint32_t kInputs = 2; // the other lines are outputs

} // namespace

DigitalIo::DigitalIo(const FeatureMaker& make, std::function<bool(LineSource)> source)
    : m_Registers(make.Registers()), m_Source(std::move(source)) {
    AddLines(make);
    AddTimers(make);
    AddCounters(make);
}

void DigitalIo::AddLines(const FeatureMaker& make) {
    make.Choice(reg::kLineSelector, 0, {0, 1, 2, 3});
    make.Reading(reg::kLineStatusAll, [this] { return AllLevels(); });
    make.Choice(reg::kUserOutputSelector, 0, {0});
    make.Switch(reg::kUserOutputValue);
    for (std::uint32_t line = 0; line < reg::kLines; ++line) {
        m_Registers.AddValue<std::uint32_t>(Line(line) + reg::kLineMode, Access::ReadOnly, line < kInputs ? 0 : 1);
        make.Switch(Line(line) + reg::kLineInverter);
        make.Reading(Line(line) + reg::kLineStatus, [this, line] { return Level(line) ? 1U : 0U; });
        make.Range(Line(line) + reg::kLineSource, 0, 0, line < kInputs ? 0 : 5);
        make.Float(Line(line) + reg::kLineDebouncer, 10.0F, 0.0F, 20000.0F);
    }
}

void DigitalIo::AddTimers(const FeatureMaker& make) {
    make.Choice(reg::kTimerSelector, 0, {0, 1});
    for (std::uint32_t timer = 0; timer < reg::kTimers; ++timer) {
        make.Range(Timer(timer) + reg::kTimerDuration, 1000, 1, 16777215);
        make.Range(Timer(timer) + reg::kTimerDelay, 0, 0, 16777215);
        make.Range(Timer(timer) + reg::kTimerTriggerSource, 0, 0, 4);
        make.Command(Timer(timer) + reg::kTimerReset, [this, timer] { m_TimerStart[timer] = {}; });
        make.Reading(Timer(timer) + reg::kTimerStatus, [this, timer] { return IsTimerActive(timer) ? 1U : 0U; });
    }
}

void DigitalIo::AddCounters(const FeatureMaker& make) {
    make.Choice(reg::kCounterSelector, 0, {0, 1});
    for (std::uint32_t counter = 0; counter < reg::kCounters; ++counter) {
        make.Range(Counter(counter) + reg::kCounterEventSource, 0, 0, 4);
        make.Registers().AddValue<std::uint32_t>(Counter(counter) + reg::kCounterValue, Access::ReadOnly, 0);
        make.Range(Counter(counter) + reg::kCounterDuration, 0xFFFFFFFF, 1, 0xFFFFFFFF);
        make.Command(Counter(counter) + reg::kCounterReset,
                     [this, counter] { m_Registers.Set<std::uint32_t>(Counter(counter) + reg::kCounterValue, 0); });
    }
}

// --- lines

bool DigitalIo::SetInput(std::uint32_t line, bool high) {
    if (line >= kInputs || m_Outside[line] == high) return false;
    m_Outside[line] = high;
    return true;
}

bool DigitalIo::Level(std::uint32_t line) const {
    bool level = m_Outside[line];
    if (line >= kInputs) {
        const LineSource source = static_cast<LineSource>(Value(Line(line) + reg::kLineSource));
        if (source == LineSource::UserOutput1)
            level = Value(reg::kUserOutputValue) != 0;
        else if (source == LineSource::Timer1Active)
            level = IsTimerActive(0);
        else
            level = source != LineSource::Off && m_Source(source);
    }
    return level != (Value(Line(line) + reg::kLineInverter) != 0);
}

std::uint32_t DigitalIo::AllLevels() const {
    std::uint32_t levels = 0;
    for (std::uint32_t line = 0; line < reg::kLines; ++line)
        levels |= Level(line) ? 1U << line : 0;
    return levels;
}

// --- timers and counters

bool DigitalIo::IsTimerActive(std::uint32_t timer) const {
    if (m_TimerStart[timer] == TimePoint{}) return false;
    using std::chrono::microseconds;
    const TimePoint begin = m_TimerStart[timer] + microseconds(Value(Timer(timer) + reg::kTimerDelay));
    const TimePoint end = begin + microseconds(Value(Timer(timer) + reg::kTimerDuration));
    const TimePoint now = Clock::Now();
    return now >= begin && now < end;
}

void DigitalIo::Count(std::uint32_t counter) {
    const std::uint32_t next = Value(Counter(counter) + reg::kCounterValue) + 1;
    const bool full = next >= Value(Counter(counter) + reg::kCounterDuration);
    m_Registers.Set<std::uint32_t>(Counter(counter) + reg::kCounterValue, full ? 0 : next);
}

void DigitalIo::Happened(Signal signal) {
    const std::uint32_t number = static_cast<std::uint32_t>(signal);
    for (std::uint32_t timer = 0; timer < reg::kTimers; ++timer)
        if (Value(Timer(timer) + reg::kTimerTriggerSource) == number) m_TimerStart[timer] = Clock::Now();
    for (std::uint32_t counter = 0; counter < reg::kCounters; ++counter)
        if (Value(Counter(counter) + reg::kCounterEventSource) == number) Count(counter);
}

std::uint32_t DigitalIo::CounterValue(std::uint32_t counter) const {
    return Value(Counter(counter) + reg::kCounterValue);
}

} // namespace virtualcam
