#pragma once
// Inside of CVxStream.

#include "vexlo/VxDeviceImpl.h"
#include "vexlo/VxStream.h"

namespace vexlo {

struct CVxStream::Impl {
    explicit Impl(SessionSource& source) : sessions(source) {}
    SessionSource& sessions;
};

} // namespace vexlo
