#include "support/Shortage.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

constexpr long kNone = -1, kMet = -2;
std::atomic<long> g_Left{kNone};

/// True for the one allocation that is to fail.
bool IsTurn() {
    if (g_Left.load(std::memory_order_relaxed) < 0 || shortage::t_Ample != 0) return false;
    const long left = g_Left.fetch_sub(1);
    if (left == 0) g_Left = kMet;
    return left == 0;
}

void* Allocate(std::size_t size) {
    void* const memory = IsTurn() ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

} // namespace

void* operator new(std::size_t size) {
    return Allocate(size);
}
void* operator new[](std::size_t size) {
    return Allocate(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return IsTurn() ? nullptr : std::malloc(size == 0 ? 1 : size);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace shortage {

MemoryShortage::MemoryShortage(long left) {
    g_Left = left;
}
MemoryShortage::~MemoryShortage() {
    g_Left = kNone;
}
bool MemoryShortage::WasMet() const {
    return g_Left == kMet;
}

} // namespace shortage
