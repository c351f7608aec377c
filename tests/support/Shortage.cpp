#include "support/Shortage.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <new>

#include <dlfcn.h>
#include <pthread.h>

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
#define TAVIX_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer) || __has_feature(address_sanitizer)
#define TAVIX_SANITIZED 1
#endif
#endif

namespace {

std::atomic<bool> g_armed{false};
std::atomic<shortage::Whose> g_whose{shortage::Whose::All};
std::atomic<long> g_left{0};
std::atomic<long> g_count{0};
std::atomic<bool> g_met{false};
std::atomic<long> g_live{0};
thread_local bool t_owner = false;

std::atomic<bool> g_threadsShort{false};
std::atomic<long> g_threadsLeft{0};

bool IsConcerned() {
    const shortage::Whose whose = g_whose;
    return whose == shortage::Whose::All || (whose == shortage::Whose::Mine) == t_owner;
}

bool IsRefused() {
    if (!g_armed || shortage::t_Ample != 0 || !IsConcerned() || g_left-- > 0 || g_count-- <= 0) return false;
    g_met = true;
    return true;
}

void* TryToAllocate(std::size_t size) {
    void* const memory = IsRefused() ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (memory != nullptr) ++g_live;
    return memory;
}

void* Allocate(std::size_t size) {
    void* const memory = TryToAllocate(size);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

void Free(void* memory) {
    if (memory != nullptr) --g_live;
    std::free(memory);
}

} // namespace

void* operator new(std::size_t size) {
    return Allocate(size);
}
void* operator new[](std::size_t size) {
    return Allocate(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return TryToAllocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return TryToAllocate(size);
}
void operator delete(void* memory) noexcept {
    Free(memory);
}
void operator delete[](void* memory) noexcept {
    Free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    Free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    Free(memory);
}

#ifndef TAVIX_SANITIZED
// Stands before the system's.
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*),
                              void* argument) {
    using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static const auto create = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
    if (g_threadsShort && g_threadsLeft-- <= 0) return EAGAIN;
    return create(thread, attributes, run, argument);
}
#endif

namespace shortage {

MemoryShortage::MemoryShortage(Whose whose, long left, long count) {
    t_owner = true;
    g_whose = whose;
    g_left = left;
    g_count = count;
    g_met = false;
    g_armed = true;
}

MemoryShortage::~MemoryShortage() {
    g_armed = false;
    t_owner = false;
}

bool MemoryShortage::WasMet() const {
    return g_met;
}

LaterThreadShortage::LaterThreadShortage(long left) {
    g_threadsLeft = left;
    g_threadsShort = true;
}

LaterThreadShortage::~LaterThreadShortage() {
    g_threadsShort = false;
}

bool LaterThreadShortage::CanBe() {
#ifdef TAVIX_SANITIZED
    return false;
#else
    return true;
#endif
}

long LiveAllocations() {
    return g_live;
}

} // namespace shortage
