#include "imaging/conversion/Demosaicer.h"

#include <algorithm>

namespace Tavix::imaging {
namespace {

constexpr std::size_t kStep = 32; // pixels; rows have room for that many more

/// Where a place beyond 0...count - 1 is found within, mirrored at the outermost ones as often as it takes.
std::uint32_t Mirrored(std::int64_t place, std::uint32_t count) {
    if (count == 1) return 0;
    const std::int64_t period = 2 * (std::int64_t{count} - 1);
    const std::int64_t within = (place % period + period) % period;
    return static_cast<std::uint32_t>(std::min(within, period - within));
}

unsigned RedXOf(BayerPhase phase) {
    return phase == BayerPhase::GR || phase == BayerPhase::BG ? 1 : 0;
}

unsigned RedYOf(BayerPhase phase) {
    return phase == BayerPhase::GB || phase == BayerPhase::BG ? 1 : 0;
}

} // namespace

template<class T>
Demosaicer<T>::Demosaicer(SampleReader<T>& reader, const Kernels<T>& kernels, BayerPhase phase, Demosaicing quality)
    : m_Reader(reader), m_Kernels(kernels), m_Quality(quality), m_RedX(RedXOf(phase)), m_RedY(RedYOf(phase)),
      m_Count((std::size_t{reader.Width()} + kStep - 1) / kStep * kStep), m_Sites(m_Count), m_Red(m_Count),
      m_Green(m_Count), m_Blue(m_Count) {
    m_Lines.fill(Row<T>(m_Count));
    if (quality == Demosaicing::EdgeAware) {
        m_Greens.fill(Row<T>(m_Count));
        m_Excesses.fill(Row<Wide<T>>(m_Count / 2));
    }
    T* sites = m_Sites.Get();
    for (std::size_t x = 0; x <= m_Count; x += 2)
        sites[x] = static_cast<T>(~T{0});
}

template<class T>
const T* Demosaicer<T>::LineAt(std::int64_t y) const {
    return m_Lines[Mirrored(y, m_Reader.Height()) % kLines].Get();
}

template<class T>
const Wide<T>* Demosaicer<T>::ExcessAt(std::int64_t y) const {
    return m_Excesses[Mirrored(y, m_Reader.Height()) % kGreens].Get();
}

template<class T>
void Demosaicer<T>::Mirror(T* row, std::uint32_t reach) const {
    const std::uint32_t width = m_Reader.Width();
    for (std::uint32_t i = 1; i <= reach; ++i) {
        row[-std::ptrdiff_t{i}] = row[Mirrored(-std::int64_t{i}, width)];
        row[std::size_t{width} - 1 + i] = row[Mirrored(std::int64_t{width} - 1 + i, width)];
    }
}

template<class T>
void Demosaicer<T>::MirrorSites(Wide<T>* row, unsigned first) const {
    const std::uint32_t width = m_Reader.Width();
    const std::int64_t beyond[] = {-2, -1, std::int64_t{width}, std::int64_t{width} + 1};
    for (const std::int64_t x : beyond) {
        if ((x & 1) != first) continue;
        const std::uint32_t within = Mirrored(x, width);
        const bool isSite = within % 2 == first; // a single column may have none
        row[(x - first) / 2] = isSite ? row[(within - first) / 2] : Wide<T>{0};
    }
}

template<class T>
void Demosaicer<T>::ReadUpTo(std::uint32_t y) {
    for (; m_LinesRead < m_Reader.Height() && m_LinesRead <= y; ++m_LinesRead) {
        T* row = m_Lines[m_LinesRead % kLines].Get();
        m_Reader.ReadSamples(m_LinesRead, row);
        Mirror(row, 2);
    }
}

template<class T>
void Demosaicer<T>::MakeGreen(std::uint32_t y) {
    const std::int64_t at = y;
    const T* lines[5] = {LineAt(at - 2), LineAt(at - 1), LineAt(at), LineAt(at + 1), LineAt(at + 2)};
    T* green = m_Greens[y % kGreens].Get();
    Wide<T>* excess = m_Excesses[y % kGreens].Get();
    m_Kernels.greenAlongEdges(lines + 2, FirstSite(y), green, excess, m_Count);
    MirrorSites(excess, FirstSite(y));
}

template<class T>
const T* Demosaicer<T>::MakeEdgeAware(std::uint32_t y, const BayerRows<T>& to) {
    const std::int64_t at = y;
    ReadUpTo(y + kReach);
    for (; m_GreensMade < m_Reader.Height() && m_GreensMade <= y + 1; ++m_GreensMade)
        MakeGreen(m_GreensMade);
    const T* green = m_Greens[y % kGreens].Get();
    const RowTriple<Wide<T>> excess = {ExcessAt(at - 1), ExcessAt(at), ExcessAt(at + 1)};
    m_Kernels.byDifference(LineAt(at), green, excess, FirstSite(y), to, m_Count);
    return green;
}

template<class T>
Planes<T> Demosaicer<T>::Make(std::uint32_t y) {
    const std::int64_t at = y;
    const bool isRed = y % 2 == m_RedY;
    BayerRows<T> to = {m_Red.Get(), m_Green.Get(), m_Blue.Get()};
    if (!isRed) std::swap(to.own, to.other);
    Planes<T> planes;
    planes.plane[0] = m_Red.Get();
    planes.plane[2] = m_Blue.Get();
    if (m_Quality == Demosaicing::EdgeAware) {
        planes.plane[1] = MakeEdgeAware(y, to);
        return planes;
    }
    ReadUpTo(y + 1);
    m_Kernels.bilinear({LineAt(at - 1), LineAt(at), LineAt(at + 1)}, m_Sites.Get() + FirstSite(y), to, m_Count);
    planes.plane[1] = m_Green.Get();
    return planes;
}

template class Demosaicer<std::uint8_t>;
template class Demosaicer<std::uint16_t>;

} // namespace Tavix::imaging
