#pragma once
// The loops of each source that is compiled for a kind of processor of its own.

#include "imaging/kernels/Kernels.h"

namespace Tavix::imaging {

extern const Kernels<std::uint8_t>& kBytesForAny;
extern const Kernels<std::uint16_t>& kWordsForAny;
#if defined(__x86_64__)
extern const Kernels<std::uint8_t>& kBytesForSsse3;
extern const Kernels<std::uint16_t>& kWordsForSsse3;
extern const Kernels<std::uint8_t>& kBytesForAvx2;
extern const Kernels<std::uint16_t>& kWordsForAvx2;
#endif

} // namespace Tavix::imaging
