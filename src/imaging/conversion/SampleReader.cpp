#include "imaging/conversion/SampleReader.h"

#include <algorithm>

namespace Tavix::imaging {
namespace {

/// A value of so many bits in all of T's range: its bits again below, so that the greatest becomes the greatest.
template<class T>
T Scaled(unsigned value, unsigned bits) {
    unsigned word = value << (16 - bits);
    for (unsigned filled = bits; filled < 16; filled *= 2)
        word |= word >> filled;
    return static_cast<T>(sizeof(T) == 1 ? word >> 8 : word);
}

/// One sample of Dense; `bit` counts from `line` on.
unsigned DenseValue(const PlaneLine& line, std::size_t bit, unsigned bits) {
    unsigned value = 0;
    for (std::size_t i = 0, at = bit / 8; i < 3 && at + i < line.size; ++i)
        value |= unsigned{line.data[at + i]} << (8 * i);
    return value >> bit % 8 & ((1U << bits) - 1);
}

/// One sample of Pairs; `index` counts from `line` on.
unsigned PairedValue(const PlaneLine& line, std::size_t index, unsigned bits) {
    const std::uint8_t* pair = line.data + index / 2 * 3;
    const unsigned low = index % 2 == 0 ? pair[1] & 0xFU : unsigned{pair[1]} >> 4;
    const unsigned high = index % 2 == 0 ? pair[0] : pair[2];
    return high << (bits - 8) | (low & ((1U << (bits - 8)) - 1));
}

unsigned WordAt(const std::uint8_t* from) {
    return from[0] | unsigned{from[1]} << 8;
}

struct Triple {
    unsigned value[3];
};

Triple TripleOf(Packing packing, const std::uint8_t* p) {
    if (packing == Packing::LowBitsFirst)
        return {{unsigned{p[1]} << 2 | (p[0] & 3U), unsigned{p[2]} << 2 | (p[0] >> 2 & 3U),
                 unsigned{p[3]} << 2 | (p[0] >> 4 & 3U)}};
    const unsigned bits = WordAt(p) | WordAt(p + 2) << 16;
    return {{bits & 1023, bits >> 10 & 1023, bits >> 20 & 1023}};
}

/// Where each pixel of a group finds the component; those that share it find the same.
GatherPlan PlanOf(const PixelFormatInfo& info, char component) {
    GatherPlan plan;
    plan.pixels = info.PixelsPerGroup();
    plan.components = static_cast<unsigned>(info.order.size());
    std::size_t place = info.order.find(component);
    for (unsigned pixel = 0; pixel < plan.pixels; ++pixel) {
        plan.place[pixel] = static_cast<unsigned>(place);
        const std::size_t next = info.order.find(component, place + 1);
        if (next != std::string_view::npos) place = next;
    }
    return plan;
}

} // namespace

unsigned PlaneOf(char component) {
    switch (component) {
    case 'G':
    case 'U':
        return 1;
    case 'B':
    case 'V':
        return 2;
    case 'A':
        return 3;
    default:
        return 0;
    }
}

template<class T>
SampleReader<T>::SampleReader(const Layout& layout, const Kernels<T>& kernels)
    : m_Layout(layout), m_Kernels(kernels),
      m_Samples(std::size_t{layout.Width()} * layout.Info().order.size() / layout.Info().PixelsPerGroup() +
                layout.Info().order.size()),
      m_Planes(layout.Info().Components(), Row<T>(layout.Width())) {}

template<class T>
void SampleReader<T>::ReadSamples(std::uint32_t y, T* to) const {
    ReadLine(m_Layout.At(y), to);
}

template<class T>
void SampleReader<T>::ReadLine(const PlaneLine& line, T* to) const {
    switch (m_Layout.Info().packing) {
    case Packing::Dense:
        return ReadDense(line, to);
    case Packing::Pairs:
        return ReadPairs(line, to);
    case Packing::LowBitsFirst:
    case Packing::Dense32:
    case Packing::Bits565:
        return ReadTriples(line, to);
    case Packing::Signed:
        return ReadSigned(line, to);
    default:
        return ReadWhole(line.data, line.samples, to);
    }
}

template<class T>
void SampleReader<T>::ReadWhole(const std::uint8_t* from, std::size_t count, T* to) const {
    const unsigned bits = m_Layout.Info().bits;
    if (bits == 8) return m_Kernels.bytes(from, to, count);
    if (bits > 8) return m_Kernels.words(from, bits, to, count);
    for (std::size_t i = 0; i < count; ++i)
        to[i] = Scaled<T>(from[i] & ((1U << bits) - 1), bits);
}

// The least value becomes black: the sign bit turned round, and where a byte became a word, in both of its halves.
template<class T>
void SampleReader<T>::ReadSigned(const PlaneLine& line, T* to) const {
    ReadWhole(line.data, line.samples, to);
    const unsigned sign = sizeof(T) == 1 ? 0x80U : m_Layout.Info().bits == 8 ? 0x8080U : 0x8000U;
    for (std::size_t i = 0; i < line.samples; ++i)
        to[i] = static_cast<T>(to[i] ^ sign);
}

template<class T>
void SampleReader<T>::ReadDense(const PlaneLine& line, T* to) const {
    const unsigned bits = m_Layout.Info().bits;
    const auto one = [&](std::size_t i) { to[i] = Scaled<T>(DenseValue(line, line.skip + i * bits, bits), bits); };
    std::size_t done = 0;
    while (done < line.samples && (line.skip + done * bits) % 8 != 0)
        one(done++);
    const std::size_t byte = (line.skip + done * bits) / 8;
    done += m_Kernels.dense(line.data + byte, line.size - byte, bits, to + done, line.samples - done);
    while (done < line.samples)
        one(done++);
}

template<class T>
void SampleReader<T>::ReadPairs(const PlaneLine& line, T* to) const {
    const unsigned bits = m_Layout.Info().bits;
    const auto one = [&](std::size_t i) { to[i] = Scaled<T>(PairedValue(line, line.skip + i, bits), bits); };
    std::size_t done = 0;
    if (line.skip != 0) one(done++);
    const std::size_t byte = (line.skip + done) / 2 * 3;
    if (done < line.samples)
        done += m_Kernels.pairs(line.data + byte, line.size - byte, bits, to + done, line.samples - done);
    while (done < line.samples)
        one(done++);
}

template<class T>
void SampleReader<T>::ReadTriples(const PlaneLine& line, T* to) const {
    const Packing packing = m_Layout.Info().packing;
    const std::uint8_t* from = line.data;
    for (std::size_t i = 0; i + 3 <= line.samples; i += 3) {
        if (packing == Packing::Bits565) {
            const unsigned word = WordAt(from);
            to[i] = Scaled<T>(word & 31, 5);
            to[i + 1] = Scaled<T>(word >> 5 & 63, 6);
            to[i + 2] = Scaled<T>(word >> 11, 5);
            from += 2;
            continue;
        }
        const Triple triple = TripleOf(packing, from);
        for (std::size_t j = 0; j < 3; ++j)
            to[i + j] = Scaled<T>(triple.value[j], 10);
        from += 4;
    }
}

// A line may end within a group: what is missing of it is as in the group before, or nothing.
template<class T>
void SampleReader<T>::CompleteGroup(std::size_t samples) {
    const std::string_view order = m_Layout.Info().order;
    constexpr T kMiddle = static_cast<T>(static_cast<T>(~T{0}) / 2 + 1);
    T* row = m_Samples.Get();
    for (; samples % order.size() != 0; ++samples) {
        const char component = order[samples % order.size()];
        const T nothing = component == 'U' || component == 'V' ? kMiddle : T{0};
        row[samples] = samples >= order.size() ? row[samples - order.size()] : nothing;
    }
}

template<class T>
void SampleReader<T>::Gather(char component, const GatherPlan& plan) {
    m_Kernels.gather(m_Samples.Get(), plan, m_Planes[PlaneOf(component)].Get(), m_Layout.Width());
}

template<class T>
void SampleReader<T>::ReadGroups(std::uint32_t y) {
    const std::string_view order = m_Layout.Info().order;
    const PlaneLine line = m_Layout.At(y);
    ReadLine(line, m_Samples.Get());
    CompleteGroup(line.samples);
    for (const char component : {'R', 'G', 'B', 'A', 'Y', 'U', 'V'}) {
        if (order.find(component) != std::string_view::npos) Gather(component, PlanOf(m_Layout.Info(), component));
    }
}

template<class T>
void SampleReader<T>::ReadSemiPlanar(std::uint32_t y) {
    const std::string_view order = m_Layout.Info().order;
    ReadLine(m_Layout.At(y), m_Planes[0].Get());
    ReadLine(m_Layout.At(y, 1), m_Samples.Get());
    const unsigned placeOfU = order.find('U') < order.find('V') ? 0 : 1, placeOfV = 1 - placeOfU;
    Gather('U', {2, 2, {placeOfU, placeOfU}});
    Gather('V', {2, 2, {placeOfV, placeOfV}});
}

template<class T>
Planes<T> SampleReader<T>::ReadPlanes(std::uint32_t y) {
    const PixelFormatInfo& info = m_Layout.Info();
    if (info.packing == Packing::Planar) {
        for (unsigned i = 0; i < info.order.size(); ++i)
            ReadLine(m_Layout.At(y, i), m_Planes[PlaneOf(info.order[i])].Get());
    } else if (info.packing == Packing::SemiPlanar) {
        ReadSemiPlanar(y);
    } else if (info.Components() == 1) {
        ReadLine(m_Layout.At(y), m_Planes[0].Get());
    } else {
        ReadGroups(y);
    }
    Planes<T> planes;
    for (std::size_t i = 0; i < m_Planes.size(); ++i)
        planes.plane[i] = m_Planes[i].Get();
    return planes;
}

template class SampleReader<std::uint8_t>;
template class SampleReader<std::uint16_t>;

} // namespace Tavix::imaging
