#pragma once
// Bayer pictures to red, green and blue, line by line.

#include "imaging/conversion/SampleReader.h"
#include "imaging/kernels/Kernels.h"

#include <array>

#include <tavix/imaging/Convert.h>

namespace Tavix::imaging {

/// Keeps the few lines around the one that it makes. The picture is mirrored at its outermost pixels, so that colours
/// alternate beyond them as they do within. Bound to a thread. Defined for bytes and words.
template<class T>
class Demosaicer {
public:
    /// `reader` and `kernels` must outlive it.
    Demosaicer(SampleReader<T>& reader, const Kernels<T>& kernels, BayerPhase phase, Demosaicing quality);

    /// Lines are asked for one after the other, from 0. Good until the next one. Padded.
    Planes<T> Make(std::uint32_t y);

private:
    static constexpr std::uint32_t kReach = 3; ///< lines that count on each side
    static constexpr std::size_t kLines = 8, kGreens = 4;

    SampleReader<T>& m_Reader;
    const Kernels<T>& m_Kernels;
    const Demosaicing m_Quality;
    const unsigned m_RedX, m_RedY;                ///< of a red pixel, modulo 2
    const std::size_t m_Count;                    ///< of pixels, rounded up to what loops like
    std::array<Row<T>, kLines> m_Lines;           ///< [y % kLines]
    std::array<Row<T>, kGreens> m_Greens;         ///< [y % kGreens]
    std::array<Row<Wide<T>>, kGreens> m_Excesses; ///< the same, a sample for each red or blue pixel
    Row<T> m_Sites;                               ///< all bits, none, all, ...
    Row<T> m_Red, m_Green, m_Blue;
    std::uint32_t m_LinesRead = 0, m_GreensMade = 0;

    const T* LineAt(std::int64_t y) const;
    /// The line's first pixel that is not green: 0 or 1.
    unsigned FirstSite(std::uint32_t y) const { return y % 2 == m_RedY ? m_RedX : 1 - m_RedX; }
    const Wide<T>* ExcessAt(std::int64_t y) const;
    void ReadUpTo(std::uint32_t y);
    void MakeGreen(std::uint32_t y);
    void Mirror(T* row, std::uint32_t reach) const;
    void MirrorSites(Wide<T>* row, unsigned first) const;
    const T* MakeEdgeAware(std::uint32_t y, const BayerRows<T>& to);
};

} // namespace Tavix::imaging
