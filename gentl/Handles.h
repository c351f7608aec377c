#pragma once
// From handles to the objects behind them, so that closed, foreign and invented handles are told from good ones.

#include "core/Lock.h"
#include "core/Mutex.h"
#include "gentl/Failure.h"

#include <array>
#include <atomic>
#include <memory>
#include <vector>

namespace gentl {

enum class Kind { System, Interface, Device, Stream, RemotePort, Buffer, Event };

/// Whatever a handle stands for. Thread-safe.
class Object : public std::enable_shared_from_this<Object> {
public:
    explicit Object(Kind kind) : m_Kind(kind) {}
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;
    virtual ~Object() = default;

    Kind GetKind() const { return m_Kind; }
    /// Whether objects of that kind are of this class; each class below that handles stand for has one of its own.
    static bool IsOne(Kind) { return true; }
    void* Handle() const { return m_Handle; }
    /// Gives the object its handle, once, before anybody else knows it.
    void Register();
    /// From here on the handle is void; more with TreeMutex() held.
    void Unregister() noexcept;

private:
    const Kind m_Kind;
    void* m_Handle = nullptr; // constant once registered
};

/// For a few instructions at a time: an answer about a buffer must cost far less than a mutex that sleeps.
/// Taking it acquires what its last holder released, and nothing moves out of the section between. Thread-safe.
class TAVIX_CAPABILITY("mutex") SpinLock {
public:
    void lock() noexcept TAVIX_ACQUIRE() {
        while (m_Flag.test_and_set(std::memory_order_acquire))
            Pause();
    }
    void unlock() noexcept TAVIX_RELEASE() { m_Flag.clear(std::memory_order_release); }

private:
    static void Pause() noexcept;

    std::atomic_flag m_Flag = ATOMIC_FLAG_INIT;
};

using SpinGuard = Tavix::BasicScopedLock<SpinLock>;

/// One place of the table. A handle holds the place's number and its generation, which grows each time that the place
/// is given to another object, so that no handle ever comes back.
struct Slot {
    SpinLock lock;
    std::uint64_t generation TAVIX_GUARDED_BY(lock) = 0;
    std::shared_ptr<Object> object TAVIX_GUARDED_BY(lock); // null while the place is free
};

/// Thread-safe. Places are never freed, so whoever found one may keep its lock.
class Handles {
public:
    static Handles& Get();

    /// RESOURCE_EXHAUSTED when there are no more places.
    void* Add(const std::shared_ptr<Object>& object);
    void Remove(void* handle) noexcept;
    /// Null for what is no handle of ours, or not any more.
    std::shared_ptr<Object> Find(void* handle) noexcept;
    /// The place that the handle names, which may have been given to another since; null when there is no such place.
    Slot* FindSlot(void* handle) noexcept;
    /// Whether the slot still belongs to the handle.
    static bool IsOf(const Slot& slot, void* handle) noexcept TAVIX_REQUIRES(slot.lock);

private:
    static constexpr std::size_t kBlockSize = 256;
    static constexpr std::size_t kBlocks = 4096;
    using Block = std::array<Slot, kBlockSize>;

    std::size_t TakePlace();

    // Each is set once and lives as long as the process. The store releases the block that was made, the load acquires
    // it.
    std::array<std::atomic<Block*>, kBlocks> m_Blocks{};
    Tavix::Mutex m_Mutex;
    std::vector<std::size_t> m_Free TAVIX_GUARDED_BY(m_Mutex);
    std::size_t m_Count TAVIX_GUARDED_BY(m_Mutex) = 0; // places made so far
};

/// The object behind a handle. INVALID_HANDLE when there is none of that class.
template<class T>
std::shared_ptr<T> Use(void* handle) {
    const std::shared_ptr<Object> object = Handles::Get().Find(handle);
    if (!object || !T::IsOne(object->GetKind()))
        Fail(GC_ERR_INVALID_HANDLE, "the handle is invalid, closed, or of another kind");
    return std::static_pointer_cast<T>(object);
}

} // namespace gentl
