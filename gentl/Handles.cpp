#include "gentl/Handles.h"

#include <ctime>

#include <sched.h>

namespace gentl {

/// To yield is enough between equals. A thread of higher priority does not give way by it to a holder that waits for
/// the same processor; it has to sleep.
void SpinLock::Pause(unsigned int round) noexcept {
    constexpr unsigned int kRoundsBetweenEquals = 16;
    constexpr std::timespec kNap{0, 50'000};
    if (round < kRoundsBetweenEquals)
        ::sched_yield();
    else
        ::nanosleep(&kNap, nullptr);
}

void Object::Register() {
    Handles::Get().Add(shared_from_this());
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
        if (m_Count % kBlockSize == 0) s_Blocks[m_Count / kBlockSize].store(new Block, std::memory_order_release);
        return m_Count++;
    }
    const std::size_t place = m_Free.back();
    m_Free.pop_back();
    return place;
}

void Handles::Add(std::shared_ptr<Object> object) {
    const std::size_t place = TakePlace();
    Slot& slot = (*s_Blocks[place / kBlockSize].load(std::memory_order_acquire))[place % kBlockSize];
    const SpinGuard guard(slot.lock);
    object->m_Handle = reinterpret_cast<void*>(HandleBits(place, ++slot.generation).number); // never followed
    object->m_Slot = &slot;
    slot.object = std::move(object); // whoever guesses the handle finds a whole object
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
    m_Free.push_back(HandleBits(handle).Place()); // there is room
}

namespace {

[[gnu::hot]] std::shared_ptr<Object> Find(void* handle, Kinds kinds) {
    if (Slot* const slot = Handles::FindSlot(handle)) {
        const SpinGuard guard(slot->lock);
        if (Handles::IsOf(*slot, handle) && kinds.Have(slot->object->GetKind())) return slot->object;
    }
    Fail(GC_ERR_INVALID_HANDLE, "the handle is invalid, closed, or of another kind");
}

} // namespace

[[gnu::hot]] HeldObject::HeldObject(void* handle, Kinds kinds) : m_Object(Find(handle, kinds)) {}

[[gnu::hot]] HeldObject::~HeldObject() = default;

} // namespace gentl
