#include "core/Lock.h"

#include <boost/thread/exceptions.hpp>

#include <cassert>
#include <cerrno>

namespace Tavix {
namespace {

void ThrowResourceError(int error) {
    throw boost::thread_resource_error(error, "RecursiveLock: cannot create the mutex");
}

} // namespace

RecursiveLock::RecursiveLock() {
    pthread_mutexattr_t attributes;
    if (const int error = pthread_mutexattr_init(&attributes)) ThrowResourceError(error);
    int error = pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    if (error == 0) error = pthread_mutex_init(&m_Mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
    if (error != 0) ThrowResourceError(error);
}

RecursiveLock::~RecursiveLock() {
    [[maybe_unused]] const int error = pthread_mutex_destroy(&m_Mutex);
    assert(error == 0 && "destroyed while held");
}

void RecursiveLock::lock() {
    if (const int error = pthread_mutex_lock(&m_Mutex)) throw boost::lock_error(error, "RecursiveLock: cannot lock");
}

bool RecursiveLock::try_lock() {
    const int error = pthread_mutex_trylock(&m_Mutex);
    if (error != 0 && error != EBUSY) throw boost::lock_error(error, "RecursiveLock: cannot lock");
    return error == 0;
}

void RecursiveLock::unlock() noexcept {
    [[maybe_unused]] const int error = pthread_mutex_unlock(&m_Mutex);
    assert(error == 0 && "unlocked by a thread that doesn't hold it");
}

} // namespace Tavix
