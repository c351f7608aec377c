#pragma once
// Lines of any packing as rows of samples that use all of T's range.

#include "imaging/Layout.h"
#include "imaging/kernels/Kernels.h"

#include <vector>

namespace Tavix::imaging {

/// A row of samples with kSlack bytes on both sides that loops may touch.
template<class T>
class Row {
public:
    explicit Row(std::size_t samples = 0) : m_Samples(samples + 2 * kMargin) {}
    T* Get() { return m_Samples.data() + kMargin; }
    const T* Get() const { return m_Samples.data() + kMargin; }

private:
    static constexpr std::size_t kMargin = kSlack / sizeof(T);
    std::vector<T> m_Samples;
};

/// Planes of a line: red, green, blue and alpha; luma and both chroma; or grey alone. Null: the format does not have
/// it.
template<class T>
struct Planes {
    static constexpr unsigned kMost = 4;
    const T* plane[kMost] = {};
};

/// Which of the planes a component of PixelFormatInfo::order becomes.
unsigned PlaneOf(char component);

/// Bound to a thread. Defined for bytes and words.
template<class T>
class SampleReader {
public:
    /// `layout` and `kernels` must outlive it.
    SampleReader(const Layout& layout, const Kernels<T>& kernels);

    std::uint32_t Width() const { return m_Layout.Width(); }
    std::uint32_t Height() const { return m_Layout.Height(); }
    /// All components as they lie in memory, layout's `samples` of them; not for planar packings.
    void ReadSamples(std::uint32_t y, T* to) const;
    /// Good until the next line is read. Padded.
    Planes<T> ReadPlanes(std::uint32_t y);

private:
    const Layout& m_Layout;
    const Kernels<T>& m_Kernels;
    Row<T> m_Samples;
    std::vector<Row<T>> m_Planes;

    void ReadLine(const PlaneLine& line, T* to) const;
    void ReadDense(const PlaneLine& line, T* to) const;
    void ReadPairs(const PlaneLine& line, T* to) const;
    void ReadTriples(const PlaneLine& line, T* to) const;
    void ReadSigned(const PlaneLine& line, T* to) const;
    void ReadWhole(const std::uint8_t* from, std::size_t count, T* to) const;
    void CompleteGroup(std::size_t samples);
    void Gather(char component, const GatherPlan& plan);
    void ReadGroups(std::uint32_t y);
    void ReadSemiPlanar(std::uint32_t y);
};

} // namespace Tavix::imaging
