#include "python/Wake.h"

#include <tavix/camera/Error.h>

#include <mutex>
#include <set>

#include <sys/eventfd.h>
#include <unistd.h>

namespace tavixpython {
namespace {

/// Never destroyed, since threads may outlive the end of the program.
struct Known {
    std::mutex mutex;
    std::set<const Wake*> wakes; // guarded by mutex
};

Known& TheKnown() {
    static Known& known = *new Known;
    return known;
}

} // namespace

Wake::Wake() : m_Descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (m_Descriptor < 0) throw Tavix::Error("no descriptor is left for a stream; close files");
    Known& known = TheKnown();
    const std::lock_guard lock(known.mutex);
    known.wakes.insert(this);
}

Wake::~Wake() {
    {
        Known& known = TheKnown();
        const std::lock_guard lock(known.mutex);
        known.wakes.erase(this);
    }
    close(m_Descriptor);
}

void Wake::Set() const noexcept {
    eventfd_write(m_Descriptor, 1); // can only fail where it is readable already
}

void Wake::Reset() const noexcept {
    eventfd_t count = 0;
    eventfd_read(m_Descriptor, &count); // can only fail where it is not readable
}

void Wake::SetAll() noexcept {
    Known& known = TheKnown();
    const std::lock_guard lock(known.mutex);
    for (const Wake* wake : known.wakes)
        wake->Set();
}

} // namespace tavixpython
