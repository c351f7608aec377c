#pragma once
// The loops that touch every pixel, made for several kinds of processor.
//
// Rows in between are of T, a byte or a word, and use all of its range. Where a loop says "padded", it reads and writes
// up to kSlack bytes beyond the rows it was given; elsewhere it stays within.

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace Tavix::imaging {

constexpr std::size_t kSlack = 128;

/// How the components of a group of pixels become planes.
struct GatherPlan {
    unsigned pixels = 1;     ///< of a group
    unsigned components = 1; ///< of a group, all pixels together
    unsigned place[4] = {};  ///< of the wanted component, for each pixel of the group
};

/// From luma and chroma to red, green and blue, in units of 2^-13.
struct ColourMatrix {
    std::int32_t black = 0, middle = 0; ///< of luma and of chroma: what is nothing
    std::int32_t luma = 0;              ///< what luma adds to each
    std::int32_t redV = 0, greenU = 0, greenV = 0, blueU = 0;
};

/// A signed number that holds sums and differences of a few T.
template<class T>
using Wide = std::conditional_t<sizeof(T) == 1, std::int16_t, std::int32_t>;

/// Three rows of one plane, one above the other.
template<class T>
struct RowTriple {
    const T* above;
    const T* here;
    const T* below;
};

template<class T>
struct ColourRows {
    T* red;
    T* green;
    T* blue;
};

/// What a row of a Bayer picture becomes: the colour that it has beside green, green, and the one that it lacks.
template<class T>
struct BayerRows {
    T* own;
    T* green;
    T* other;
};

template<class T>
struct Kernels {
    /// Samples of 8 bits.
    void (*bytes)(const std::uint8_t* from, T* to, std::size_t count);
    /// Samples of 9 to 16 bits in little-endian words.
    void (*words)(const std::uint8_t* from, unsigned bits, T* to, std::size_t count);
    /// Samples without gaps that begin with a byte. Reads no more than `size` bytes; does as many as it does well, a
    /// multiple of eight, and says how many; none of unusual bits.
    std::size_t (*dense)(const std::uint8_t* from, std::size_t size, unsigned bits, T* to, std::size_t count);
    /// The same for two samples of 10 or 12 bits in three bytes.
    std::size_t (*pairs)(const std::uint8_t* from, std::size_t size, unsigned bits, T* to, std::size_t count);
    /// One component of every pixel. Padded.
    void (*gather)(const T* from, const GatherPlan& plan, T* to, std::size_t count);
    /// Padded, from one sample before the row on. `ownSites` is all bits set where a pixel has the row's own colour.
    void (*bilinear)(const RowTriple<T>& rows, const T* ownSites, const BayerRows<T>& to, std::size_t count);
    /// Green along edges; reads rows[-2] to rows[2] and two samples before the row. A row's sites are its pixels of
    /// another colour than green: `first` (0 or 1) and every second from there. `excess` gets what each site has more
    /// of its colour than of green. Padded.
    void (*greenAlongEdges)(const T* const* rows, unsigned first, T* green, Wide<T>* excess, std::size_t count);
    /// The row's own colour and the one that it lacks, by their excess over green; `here` and `green` are the row's.
    /// Reads one site before and behind each row of `excess`, of which those above and below are the other colour's.
    /// Padded.
    void (*byDifference)(const T* here, const T* green, const RowTriple<Wide<T>>& excess, unsigned first,
                         const BayerRows<T>& to, std::size_t count);
    /// Padded.
    void (*colours)(const T* y, const T* u, const T* v, const ColourMatrix& matrix, const ColourRows<T>& to,
                    std::size_t count);
    /// Padded on its sources.
    void (*luma)(const T* red, const T* green, const T* blue, T* to, std::size_t count);
    /// Padded on their sources.
    void (*interleave3)(const T* a, const T* b, const T* c, T* to, std::size_t count);
    void (*interleave4)(const T* a, const T* b, const T* c, const T* d, T* to, std::size_t count);
};

enum class Processor { Any, Ssse3, Avx2 };

/// The best that this machine can run.
Processor ThisProcessor() noexcept;
/// `processor` must not be beyond ThisProcessor().
template<class T>
const Kernels<T>& KernelsFor(Processor processor) noexcept;

} // namespace Tavix::imaging
