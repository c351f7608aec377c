#include "gentl/Handles.h"

#include <sched.h>

namespace gentl {
namespace {

// A handle: generation, number of the place plus one, and a mark that tells it from small integers.
constexpr unsigned int kMarkBits = 4;
constexpr unsigned int kPlaceBits = 24;
constexpr std::uintptr_t kMark = 0x9;

void* ToHandle(std::size_t place, std::uint64_t generation) {
    const auto number = static_cast<std::uintptr_t>((generation << kPlaceBits | (place + 1)) << kMarkBits | kMark);
    return reinterpret_cast<void*>(number); // never followed
}

std::uint64_t GenerationOf(void* handle) noexcept {
    return reinterpret_cast<std::uintptr_t>(handle) >> (kPlaceBits + kMarkBits);
}

} // namespace

void SpinLock::Pause() noexcept {
    ::sched_yield();
}

void Object::Register() {
    m_Handle = Handles::Get().Add(shared_from_this());
}

void Object::Unregister() noexcept {
    Handles::Get().Remove(m_Handle);
}

Handles& Handles::Get() {
    static Handles& handles = *new Handles; // threads of a consumer may still call while the process ends
    return handles;
}

std::size_t Handles::TakePlace() {
    const Tavix::MutexLock guard(m_Mutex);
    if (m_Free.empty()) {
        if (m_Count == kBlockSize * kBlocks) Fail(GC_ERR_RESOURCE_EXHAUSTED, "too many handles");
        m_Free.reserve(m_Count + 1); // so that giving a place back never needs memory
        if (m_Count % kBlockSize == 0) m_Blocks[m_Count / kBlockSize].store(new Block, std::memory_order_release);
        return m_Count++;
    }
    const std::size_t place = m_Free.back();
    m_Free.pop_back();
    return place;
}

void* Handles::Add(const std::shared_ptr<Object>& object) {
    const std::size_t place = TakePlace();
    Slot& slot = (*m_Blocks[place / kBlockSize].load(std::memory_order_acquire))[place % kBlockSize];
    const SpinGuard guard(slot.lock);
    slot.object = object;
    return ToHandle(place, ++slot.generation);
}

Slot* Handles::FindSlot(void* handle) noexcept {
    const auto number = reinterpret_cast<std::uintptr_t>(handle);
    if ((number & ((1U << kMarkBits) - 1)) != kMark) return nullptr;
    const std::size_t place = (number >> kMarkBits) & ((1U << kPlaceBits) - 1);
    if (place == 0 || place > kBlockSize * kBlocks) return nullptr;
    Block* const block = m_Blocks[(place - 1) / kBlockSize].load(std::memory_order_acquire);
    return block ? &(*block)[(place - 1) % kBlockSize] : nullptr;
}

bool Handles::IsOf(const Slot& slot, void* handle) noexcept {
    return slot.object && slot.generation == GenerationOf(handle);
}

std::shared_ptr<Object> Handles::Find(void* handle) noexcept {
    Slot* const slot = FindSlot(handle);
    if (!slot) return nullptr;
    const SpinGuard guard(slot->lock);
    return IsOf(*slot, handle) ? slot->object : nullptr;
}

void Handles::Remove(void* handle) noexcept {
    Slot* const slot = FindSlot(handle);
    if (!slot) return;
    std::shared_ptr<Object> last; // dies without the lock
    {
        const SpinGuard guard(slot->lock);
        if (!IsOf(*slot, handle)) return;
        last.swap(slot->object);
    }
    const Tavix::MutexLock guard(m_Mutex);
    const auto place = ((reinterpret_cast<std::uintptr_t>(handle) >> kMarkBits) & ((1U << kPlaceBits) - 1)) - 1;
    m_Free.push_back(place); // there is room
}

} // namespace gentl
