#include "virtualcam/firmware/control/ImageFormat.h"

#include <algorithm>
#include <utility>

namespace virtualcam {

const ImageFormat::Axis ImageFormat::kAxes[2] = {
    {reg::kSensorWidth, reg::kWidthMax, reg::kWidth, reg::kOffsetX, reg::kBinningX, 16, 4},
    {reg::kSensorHeight, reg::kHeightMax, reg::kHeight, reg::kOffsetY, reg::kBinningY, 2, 2}};

ImageFormat::ImageFormat(const FeatureMaker& make, std::uint32_t sensorWidth, std::uint32_t sensorHeight,
                         std::function<void()> changed)
    : m_Registers(make.Registers()), m_Changed(std::move(changed)) {
    AddAxis(make, kAxes[0], sensorWidth);
    AddAxis(make, kAxes[1], sensorHeight);
    make.Switch(reg::kReverseX);
    make.Switch(reg::kReverseY);
    std::vector<std::uint32_t> formats;
    for (const PixelFormat format :
         {PixelFormat::Mono8, PixelFormat::Mono12, PixelFormat::Mono12p, PixelFormat::BayerRG8, PixelFormat::RGB8,
          PixelFormat::BGR8, PixelFormat::YCbCr422_8})
        formats.push_back(static_cast<std::uint32_t>(format));
    make.Lockable(make.Choice(reg::kPixelFormat, formats.front(), formats)).written = m_Changed;
    make.Reading(reg::kPixelSize, [this] { return BitsPerPixel(Get().format); });
    make.Range(reg::kTestPattern, static_cast<std::uint32_t>(TestPattern::Gradient), 0, 3);
}

void ImageFormat::AddAxis(const FeatureMaker& make, const Axis& axis, std::uint32_t sensor) {
    RegisterSpace& registers = m_Registers;
    registers.AddValue(axis.sensor, Access::ReadOnly, sensor);
    registers.AddValue(axis.maximum, Access::ReadOnly, sensor);
    // A size and its offset limit each other.
    Register& size = make.Range(axis.size, sensor, axis.minimum, sensor, axis.step);
    size.check = [this, &axis, inner = size.check](const std::uint8_t* bytes) {
        const std::uint64_t end =
            std::uint64_t{Load<std::uint32_t>(bytes)} + m_Registers.Get<std::uint32_t>(axis.offset);
        return end > m_Registers.Get<std::uint32_t>(axis.maximum) ? Status::InvalidParameter : inner(bytes);
    };
    make.Lockable(size).written = m_Changed;
    Register& offset = make.Range(axis.offset, 0, 0, sensor, axis.step);
    offset.check = [this, &axis, inner = offset.check](const std::uint8_t* bytes) {
        const std::uint64_t end = std::uint64_t{Load<std::uint32_t>(bytes)} + m_Registers.Get<std::uint32_t>(axis.size);
        return end > m_Registers.Get<std::uint32_t>(axis.maximum) ? Status::InvalidParameter : inner(bytes);
    };
    make.Lockable(make.Choice(axis.binning, 1, {1, 2, 4})).written = [this, &axis] { BinningChanged(axis); };
}

void ImageFormat::BinningChanged(const Axis& axis) {
    RegisterSpace& registers = m_Registers;
    const std::uint32_t maximum =
        registers.Get<std::uint32_t>(axis.sensor) / registers.Get<std::uint32_t>(axis.binning);
    registers.Set(axis.maximum, maximum);
    const std::uint32_t size = std::min(registers.Get<std::uint32_t>(axis.size), maximum);
    registers.Set(axis.size, size);
    registers.Set(axis.offset, std::min(registers.Get<std::uint32_t>(axis.offset), maximum - size));
    m_Changed();
}

Geometry ImageFormat::Get() const {
    const auto value = [this](std::uint64_t address) { return m_Registers.Get<std::uint32_t>(address); };
    Geometry geometry;
    geometry.width = value(reg::kWidth);
    geometry.height = value(reg::kHeight);
    geometry.offsetX = value(reg::kOffsetX);
    geometry.offsetY = value(reg::kOffsetY);
    geometry.binningX = value(reg::kBinningX);
    geometry.binningY = value(reg::kBinningY);
    geometry.format = static_cast<PixelFormat>(value(reg::kPixelFormat));
    geometry.pattern = static_cast<TestPattern>(value(reg::kTestPattern));
    geometry.reverseX = value(reg::kReverseX) != 0;
    geometry.reverseY = value(reg::kReverseY) != 0;
    return geometry;
}

} // namespace virtualcam
