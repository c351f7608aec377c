#include "python/stream/Wake.h"

#include "core/Mutex.h"

#include <tavix/camera/Error.h>

#include <set>

#include <sys/eventfd.h>
#include <unistd.h>

namespace tavixpython {
namespace {

/// Never destroyed, since threads may outlive the end of the program.
class Known {
public:
    static Known& Get() {
        static Known& known = *new Known;
        return known;
    }
    void Add(const Wake& wake) {
        const Tavix::MutexLock lock(m_Mutex);
        m_Wakes.insert(&wake);
    }
    void Remove(const Wake& wake) {
        const Tavix::MutexLock lock(m_Mutex);
        m_Wakes.erase(&wake);
    }
    void SetAll() {
        const Tavix::MutexLock lock(m_Mutex);
        for (const Wake* wake : m_Wakes)
            wake->Set();
    }

private:
    Tavix::Mutex m_Mutex;
    std::set<const Wake*> m_Wakes TAVIX_GUARDED_BY(m_Mutex);
};

} // namespace

Wake::Wake() : m_Descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (m_Descriptor < 0) throw Tavix::Error("no descriptor is left for a stream; close files");
    Known::Get().Add(*this);
}

Wake::~Wake() {
    Known::Get().Remove(*this);
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
    Known::Get().SetAll();
}

} // namespace tavixpython
