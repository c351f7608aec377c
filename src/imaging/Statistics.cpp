#include <tavix/imaging/Statistics.h>

#include "imaging/CutOut.h"
#include "imaging/Shrink.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace Tavix::imaging {
namespace {

/// Adds up what the values of lines tell. Bound to a thread.
class Tally {
public:
    explicit Tally(const CutOut& first)
        : m_Info(first.Info()), m_Components(first.Components()), m_Bytes(first.BytesOfValue()),
          m_Largest(first.Largest()) {
        const std::string_view names = m_Info.model == ColourModel::Mono ? "Y" : "RGB";
        for (const char name : names) {
            m_Channels.emplace_back();
            m_Channels.back().channel = name;
            m_Channels.back().least = m_Largest;
        }
    }

    void Add(const CutOut& lines) {
        for (std::uint32_t y = 0; y < lines.View().height; ++y)
            AddLine(lines, y);
    }
    PictureStatistics Result() {
        for (ChannelStatistics& channel : m_Channels) {
            if (channel.count > 0) channel.mean /= static_cast<double>(channel.count);
            channel.least = std::min(channel.least, channel.most);
        }
        return {m_Info.bits, m_Channels, m_Squares > 0 ? 10000 * m_Differences / m_Squares : 0};
    }

private:
    std::uint32_t Value(const std::uint8_t* row, std::size_t i) const {
        const std::uint32_t value =
            m_Bytes == 1 ? row[i] : static_cast<std::uint32_t>(row[2 * i] | row[2 * i + 1] << 8);
        return std::min(value, m_Largest);
    }
    void AddLine(const CutOut& lines, std::uint32_t y) {
        const PictureView& view = lines.View();
        const std::uint8_t* const row = lines.Row(y);
        const bool isBayer = m_Info.model == ColourModel::Bayer;
        const std::size_t step = isBayer ? 2 : m_Components; // to the next value of this colour
        const std::size_t count = std::size_t{view.width} * m_Components;
        for (std::size_t i = 0; i < count; ++i) {
            const auto x = static_cast<std::uint32_t>(i) + view.offsetX;
            const std::uint32_t value = Value(row, i);
            AddValue(m_Channels[isBayer ? ColourAt(m_Info.phase, x, y + view.offsetY) : i % m_Components], value);
            if (i + step >= count) continue;
            const double difference = static_cast<double>(Value(row, i + step)) - value;
            m_Differences += difference * difference;
            m_Squares += static_cast<double>(value) * value;
        }
    }
    void AddValue(ChannelStatistics& channel, std::uint32_t value) const {
        ++channel.histogram[std::size_t{value} * 256 / (std::size_t{m_Largest} + 1)];
        ++channel.count;
        channel.least = std::min(channel.least, value);
        channel.most = std::max(channel.most, value);
        channel.mean += value;
        channel.saturated += value == m_Largest ? 1U : 0U;
    }

    const PixelFormatInfo& m_Info;
    const unsigned m_Components, m_Bytes;
    const std::uint32_t m_Largest;
    std::vector<ChannelStatistics> m_Channels;
    double m_Differences = 0, m_Squares = 0;
};

} // namespace

PictureStatistics Measure(const PictureView& picture, const Region& region, std::uint64_t samples) {
    const Region all = Clip(picture, region);
    // Two lines at a time, so that all colours of a Bayer picture come.
    const std::uint64_t pairs = std::max<std::uint64_t>(1, samples / (std::uint64_t{all.width} * 2));
    const auto step = static_cast<std::uint32_t>(std::max<std::uint64_t>(2, all.height / pairs / 2 * 2));
    const auto band = [&](std::uint32_t y) {
        return Region{all.x, all.y + y, all.width, std::min<std::uint32_t>(2, all.height - y)};
    };
    Tally tally(CutOut(picture, band(0)));
    for (std::uint32_t y = 0; y < all.height; y += step)
        tally.Add(CutOut(picture, band(y)));
    return tally.Result();
}

std::vector<std::uint32_t> Profile(const PictureView& picture, const Line& line, std::uint32_t points) {
    const Region a = Clip(picture, {line.x1, line.y1, 1, 1}), b = Clip(picture, {line.x2, line.y2, 1, 1});
    const double width = static_cast<double>(b.x) - a.x, height = static_cast<double>(b.y) - a.y;
    const auto length = static_cast<std::uint32_t>(std::max(std::abs(width), std::abs(height))) + 1;
    const std::uint32_t count = std::max(1U, std::min(length, points));
    const Region box{std::min(a.x, b.x), std::min(a.y, b.y), static_cast<std::uint32_t>(std::abs(width)) + 1,
                     static_cast<std::uint32_t>(std::abs(height)) + 1};
    const CutOut cut(picture, box);
    std::vector<std::uint32_t> values;
    for (std::uint32_t i = 0; i < count; ++i) {
        const double along = count == 1 ? 0 : static_cast<double>(i) / (count - 1);
        const auto x = static_cast<std::size_t>(std::lround(a.x + along * width)) - box.x;
        const auto y = static_cast<std::uint32_t>(std::lround(a.y + along * height)) - box.y;
        for (unsigned c = 0; c < cut.Components(); ++c) {
            const std::uint8_t* const at = cut.Row(y) + (x * cut.Components() + c) * cut.BytesOfValue();
            values.push_back(cut.BytesOfValue() == 1 ? at[0] : static_cast<std::uint32_t>(at[0] | at[1] << 8));
        }
    }
    return values;
}

} // namespace Tavix::imaging
