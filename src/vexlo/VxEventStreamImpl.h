#pragma once
// Inside of CVxEventStream.

#include "vexlo/VxDeviceImpl.h"
#include "vexlo/VxEventStream.h"

namespace vexlo {

struct CVxEventStream::Impl {
    explicit Impl(SessionSource& source) : sessions(source) {}
    SessionSource& sessions;
};

} // namespace vexlo
