#include "python/Wake.h"

#include <tavix/camera/Error.h>

#include <sys/eventfd.h>
#include <unistd.h>

namespace tavixpython {

Wake::Wake() : m_Descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (m_Descriptor < 0) throw Tavix::Error("no descriptor is left for a stream; close files");
}

Wake::~Wake() {
    close(m_Descriptor);
}

void Wake::Set() const noexcept {
    eventfd_write(m_Descriptor, 1); // can only fail where it is readable already
}

void Wake::Reset() const noexcept {
    eventfd_t count = 0;
    eventfd_read(m_Descriptor, &count); // can only fail where it is not readable
}

} // namespace tavixpython
