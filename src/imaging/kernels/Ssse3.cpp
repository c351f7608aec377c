#include "imaging/kernels/Bodies.h"
#include "imaging/kernels/Tiers.h"

namespace Tavix::imaging {

const Kernels<std::uint8_t>& kBytesForSsse3 = kKernels<std::uint8_t>;
const Kernels<std::uint16_t>& kWordsForSsse3 = kKernels<std::uint16_t>;

} // namespace Tavix::imaging
