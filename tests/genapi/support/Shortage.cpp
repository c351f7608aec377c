#include "genapi/support/Shortage.h"

#include <cstdlib>
#include <new>

namespace {

constexpr long kNone = -1, kMet = -2;
thread_local long t_left = kNone;

void* Allocate(std::size_t size) {
    if (t_left == 0) {
        t_left = kMet;
        throw std::bad_alloc();
    }
    if (t_left > 0) --t_left;
    void* const memory = std::malloc(size == 0 ? 1 : size);
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
    return std::malloc(size == 0 ? 1 : size); // whoever asks in this way is prepared
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

namespace genapi_test {

Shortage::Shortage(long left) {
    t_left = left;
}
Shortage::~Shortage() {
    t_left = kNone;
}
bool Shortage::WasMet() const {
    return t_left == kMet;
}

} // namespace genapi_test
