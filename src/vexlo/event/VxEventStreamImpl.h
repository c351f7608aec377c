#pragma once
// Inside of CVxEventStream.

#include "vexlo/VxEventStream.h"
#include "vexlo/device/VxDeviceImpl.h"
#include "vexlo/event/EventEngine.h"

namespace vexlo {

/// Thread-safe.
struct TAVIX_HIDDEN CVxEventStream::Impl {
    explicit Impl(SessionSource& source) : sessions(source) {}

    SessionSource& sessions; // constant after construction

    mutable Mutex lock;                                            ///< open, close, settings
    std::shared_ptr<DeviceSession> session TAVIX_GUARDED_BY(lock); ///< null while closed
    InterfaceClaim claim TAVIX_GUARDED_BY(lock);
    EventEngine::Settings settings TAVIX_GUARDED_BY(lock) = {64, 8, 0};
    EventEngine engine;
    std::atomic<bool> open{false};
};

} // namespace vexlo
