#include "imaging/kernels/Bodies.h"
#include "imaging/kernels/Tiers.h"

namespace Tavix::imaging {

const Kernels<std::uint8_t>& kBytesForAny = kKernels<std::uint8_t>;
const Kernels<std::uint16_t>& kWordsForAny = kKernels<std::uint16_t>;

} // namespace Tavix::imaging
