#include "imaging/kernels/Kernels.h"

#include "imaging/kernels/Tiers.h"

#include <type_traits>

namespace Tavix::imaging {
namespace {

template<class T>
const Kernels<T>& Choose(const Kernels<std::uint8_t>& bytes, const Kernels<std::uint16_t>& words) {
    if constexpr (std::is_same_v<T, std::uint8_t>) {
        return bytes;
    } else {
        return words;
    }
}

} // namespace

#if defined(__x86_64__)

Processor ThisProcessor() noexcept {
    if (__builtin_cpu_supports("avx2")) return Processor::Avx2;
    return __builtin_cpu_supports("ssse3") ? Processor::Ssse3 : Processor::Any;
}

template<class T>
const Kernels<T>& KernelsFor(Processor processor) noexcept {
    switch (processor) {
    case Processor::Avx2:
        return Choose<T>(kBytesForAvx2, kWordsForAvx2);
    case Processor::Ssse3:
        return Choose<T>(kBytesForSsse3, kWordsForSsse3);
    default:
        return Choose<T>(kBytesForAny, kWordsForAny);
    }
}

#else

Processor ThisProcessor() noexcept {
    return Processor::Any;
}

template<class T>
const Kernels<T>& KernelsFor(Processor) noexcept {
    return Choose<T>(kBytesForAny, kWordsForAny);
}

#endif

template const Kernels<std::uint8_t>& KernelsFor(Processor) noexcept;
template const Kernels<std::uint16_t>& KernelsFor(Processor) noexcept;

} // namespace Tavix::imaging
