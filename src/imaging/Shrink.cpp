// The loops over all pixels of the source add up whole lines, which compilers turn into vector instructions.
#include "imaging/Shrink.h"

#include <algorithm>
#include <array>
#include <vector>

namespace Tavix::imaging {
namespace {

using Sums = std::vector<std::uint32_t>;

void AddLine(Sums& sums, const std::uint8_t* line) {
    std::uint32_t* const to = sums.data();
    const std::size_t count = sums.size();
    for (std::size_t i = 0; i < count; ++i)
        to[i] += line[i];
}

/// From the sums of the lines that it stands for to one line of the smaller picture.
void MeanLine(const Sums& sums, unsigned components, std::uint32_t lines, std::uint8_t* to, std::uint32_t width) {
    const auto large = static_cast<std::uint32_t>(sums.size() / components);
    for (std::uint32_t x = 0; x < width; ++x) {
        const std::uint32_t begin = Edge(x, large, width), end = Edge(x + 1, large, width);
        const std::uint32_t count = (end - begin) * lines;
        for (unsigned c = 0; c < components; ++c) {
            std::uint64_t sum = count / 2;
            for (std::uint32_t i = begin; i < end; ++i)
                sum += sums[std::size_t{i} * components + c];
            *to++ = static_cast<std::uint8_t>(sum / count);
        }
    }
}

} // namespace

Picture Shrink(const PictureView& source, std::uint32_t width, std::uint32_t height) {
    const unsigned components = source.format == PixelFormat::Mono8 ? 1 : 3;
    Picture made(source.format, width, height);
    Sums sums(std::size_t{source.width} * components);
    for (std::uint32_t y = 0; y < height; ++y) {
        const std::uint32_t begin = Edge(y, source.height, height), end = Edge(y + 1, source.height, height);
        std::fill(sums.begin(), sums.end(), 0);
        for (std::uint32_t line = begin; line < end; ++line)
            AddLine(sums, source.data + line * source.stride);
        MeanLine(sums, components, end - begin, made.Data() + y * made.Stride(), width);
    }
    return made;
}

Picture ShrinkBayer(const PictureView& source, std::uint32_t width, std::uint32_t height) {
    const BayerPhase phase = FindPixelFormat(source.format)->phase;
    Picture made(PixelFormat::RGB8, width, height);
    std::array<Sums, 2> sums{Sums(source.width), Sums(source.width)}; // of lines with even and odd numbers
    for (std::uint32_t y = 0; y < height; ++y) {
        const std::uint32_t begin = Edge(y, source.height, height), end = Edge(y + 1, source.height, height);
        std::array<std::uint32_t, 2> lines{};
        for (Sums& parity : sums)
            std::fill(parity.begin(), parity.end(), 0);
        for (std::uint32_t line = begin; line < end; ++line) {
            AddLine(sums[line & 1], source.data + line * source.stride);
            ++lines[line & 1];
        }
        std::uint8_t* to = made.Data() + y * made.Stride();
        for (std::uint32_t x = 0; x < width; ++x, to += 3) {
            std::array<std::uint64_t, 3> total{}, count{};
            for (std::uint32_t i = Edge(x, source.width, width); i < Edge(x + 1, source.width, width); ++i) {
                for (unsigned parity = 0; parity < 2; ++parity) {
                    const unsigned colour = ColourAt(phase, i + source.offsetX, parity + source.offsetY);
                    total[colour] += sums[parity][i];
                    count[colour] += lines[parity];
                }
            }
            for (unsigned c = 0; c < 3; ++c)
                to[c] = static_cast<std::uint8_t>((total[c] + count[c] / 2) / count[c]);
        }
    }
    return made;
}

} // namespace Tavix::imaging
