#include "virtualcam/firmware/control/AnalogControl.h"

#include <algorithm>
#include <cmath>

namespace virtualcam {
namespace {

constexpr double kExposureUnit = 0.1;              // microseconds of one raw exposure unit
constexpr double kGainUnit = 0.1;                  // decibels of one raw gain unit
constexpr std::uint32_t kNeutralExposure = 100000; // raw: with 10 ms the scene looks as it is drawn
constexpr std::uint32_t kNeutralBalance = 1024;    // raw: balance ratio 1
constexpr double kFull = reg::kLutEntries - 1;

enum Auto : std::uint32_t { AutoOff = 0, AutoOnce = 1, AutoContinuous = 2 };

} // namespace

AnalogControl::AnalogControl(const FeatureMaker& make) : m_Registers(make.Registers()) {
    const auto changed = [this] { Changed(); };
    make.Range(reg::kExposureTimeRaw, kNeutralExposure, 100, 100000000).written = changed;
    make.Choice(reg::kExposureAuto, AutoOff, {AutoOff, AutoOnce, AutoContinuous});
    make.Choice(reg::kGainSelector, 0, {0});
    make.Range(reg::kGainRaw, 0, 0, 240).written = changed;
    make.Choice(reg::kGainAuto, AutoOff, {AutoOff, AutoOnce, AutoContinuous});
    make.Range(reg::kBlackLevelRaw, 0, 0, 255).written = changed;
    make.Choice(reg::kBalanceSelector, 0, {0, 1, 2});
    for (std::uint64_t colour = 0; colour < 3; ++colour)
        make.Range(reg::kBalanceRaw + 4 * colour, kNeutralBalance, 0, 8191).written = changed;
    make.Float(reg::kGamma, 1.0F, 0.25F, 4.0F).written = changed;
    AddLut(make);
}

void AnalogControl::AddLut(const FeatureMaker& make) {
    const auto changed = [this] { Changed(); };
    make.Choice(reg::kLutSelector, 0, {0});
    make.Switch(reg::kLutEnable).written = changed;
    make.Range(reg::kLutIndex, 0, 0, reg::kLutEntries - 1);
    Register& lut = m_Registers.Add(reg::kLut, std::size_t{reg::kLutEntries} * 2, Access::ReadWrite);
    for (std::uint32_t i = 0; i < reg::kLutEntries; ++i)
        Store<std::uint16_t>(lut.bytes.data() + 2 * i, static_cast<std::uint16_t>(i));
    lut.inUserSet = true;
    lut.written = changed;
}

double AnalogControl::ExposureMicroseconds() const {
    return Value(reg::kExposureTimeRaw) * kExposureUnit;
}

double AnalogControl::GainDecibels() const {
    return Value(reg::kGainRaw) * kGainUnit;
}

// Moves a setting a tenth of the way to its target; true once it has arrived.
bool AnalogControl::Approach(std::uint64_t address, std::uint64_t mode, std::uint32_t target) {
    if (Value(mode) == AutoOff) return false;
    const std::int64_t now = Value(address);
    const std::int64_t distance = std::int64_t{target} - now;
    if (distance != 0) {
        const std::int64_t step = std::abs(distance) < 10 ? distance : distance / 10;
        m_Registers.Set(address, static_cast<std::uint32_t>(now + step));
        Changed();
    }
    if (Value(address) != target) return false;
    if (Value(mode) == AutoOnce) m_Registers.Set<std::uint32_t>(mode, AutoOff);
    return true;
}

void AnalogControl::Adjust() {
    Approach(reg::kExposureTimeRaw, reg::kExposureAuto, kNeutralExposure);
    Approach(reg::kGainRaw, reg::kGainAuto, 0);
}

std::uint16_t AnalogControl::Expose(double light) const {
    const double gamma = FromFloatBits(m_Registers.Get<std::uint32_t>(reg::kGamma));
    const double curved = gamma == 1.0 ? light : std::pow(std::min(light, 1.0), gamma);
    const double value = curved * kFull + Value(reg::kBlackLevelRaw) * 16.0 / 4.0;
    return static_cast<std::uint16_t>(std::clamp(std::lround(value), 0L, static_cast<long>(kFull)));
}

std::shared_ptr<const Look> AnalogControl::CurrentLook() {
    if (m_Look) return m_Look;
    const auto look = std::make_shared<Look>();
    const Bytes& lut = m_Registers.At(reg::kLut).bytes;
    const bool useLut = Value(reg::kLutEnable) != 0;
    const double common = Value(reg::kExposureTimeRaw) / static_cast<double>(kNeutralExposure) *
                          std::pow(10.0, GainDecibels() / 20.0) / kFull;
    for (std::size_t colour = 0; colour < 3; ++colour) {
        const double factor = common * Value(reg::kBalanceRaw + 4 * colour) / kNeutralBalance;
        for (std::uint32_t i = 0; i < reg::kLutEntries; ++i) {
            const std::uint16_t value = Expose(i * factor);
            look->map[colour][i] =
                !useLut ? value : static_cast<std::uint16_t>(Load<std::uint16_t>(lut.data() + 2 * value) & 0xFFF);
        }
    }
    m_Look = look;
    return m_Look;
}

} // namespace virtualcam
