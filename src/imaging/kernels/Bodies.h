#pragma once
// All loops, for the processor that the including source is compiled for. They lie in a nameless name space, and call
// nothing of the standard library that could be shared with sources for lesser processors.

#include "imaging/kernels/Bayer.h"
#include "imaging/kernels/Colours.h"
#include "imaging/kernels/Kernels.h"
#include "imaging/kernels/Planes.h"
#include "imaging/kernels/Samples.h"

namespace Tavix::imaging {
namespace {

template<class T>
constexpr Kernels<T> kKernels = {Bytes<T>,  Words<T>,    Dense<T>,           Pairs<T>,
                                 Gather<T>, Bilinear<T>, GreenAlongEdges<T>, ByDifference<T>,
                                 Colours,   Luma<T>,     Interleave3<T>,     Interleave4<T>};

} // namespace
} // namespace Tavix::imaging
