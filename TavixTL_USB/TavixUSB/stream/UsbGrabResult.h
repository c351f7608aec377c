#pragma once
// From a completed buffer of the USB access library to the SDK's grab result.

#include "tavix/Result.h"
#include "vexlo/VxStream.h"

namespace Tavix {

/// `result` must have been reset before. Statistics are the stream's business, not this function's.
void FillGrabResult(const vexlo::CVxStream::GrabResult& usbResult, GrabResult& result);

} // namespace Tavix
