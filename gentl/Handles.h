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

/// Several kinds.
class Kinds {
public:
    template<class... Each>
    explicit constexpr Kinds(Each... each) : m_Bits(((1U << static_cast<unsigned int>(each)) | ...)) {}
    constexpr bool Have(Kind kind) const { return (m_Bits >> static_cast<unsigned int>(kind) & 1U) != 0; }

private:
    unsigned int m_Bits;
};

class Handles;
struct Slot;

/// Whatever a handle stands for. Thread-safe.
class Object : public std::enable_shared_from_this<Object> {
public:
    explicit Object(Kind kind) : m_Kind(kind) {}
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;
    virtual ~Object() = default;

    Kind GetKind() const { return m_Kind; }
    /// Of what kinds the objects of this class are; each class below that handles stand for tells it for itself.
    static constexpr Kinds kKinds{Kind::System,     Kind::Interface, Kind::Device, Kind::Stream,
                                  Kind::RemotePort, Kind::Buffer,    Kind::Event};
    void* Handle() const { return m_Handle; }
    /// Gives the object its handle, once, before anybody else knows it.
    void Register();

protected:
    /// From here on the handle is void; one that it never had as well.
    void Unregister() noexcept;
    /// The place that its handle names. Once registered.
    Slot& OwnSlot() const { return *m_Slot; }

private:
    friend class Handles;

    const Kind m_Kind;
    void* m_Handle = nullptr; // constant once registered
    Slot* m_Slot = nullptr;   // constant once registered
};

/// For a few instructions at a time: an answer about a buffer must cost far less than a mutex that sleeps.
/// Taking it acquires what its last holder released, and nothing moves out of the section between. Thread-safe.
class TAVIX_CAPABILITY("mutex") SpinLock {
public:
    void lock() noexcept TAVIX_ACQUIRE() {
        for (unsigned int round = 0; m_Flag.test_and_set(std::memory_order_acquire); ++round)
            Pause(round);
    }
    void unlock() noexcept TAVIX_RELEASE() { m_Flag.clear(std::memory_order_release); }

private:
    static void Pause(unsigned int round) noexcept;

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

/// A handle: generation, number of the place plus one, and a mark that tells it from small integers.
struct HandleBits {
    static constexpr unsigned int kMarkBits = 4;
    static constexpr unsigned int kPlaceBits = 24;
    static constexpr std::uintptr_t kMark = 0x9;

    explicit HandleBits(void* handle) : number(reinterpret_cast<std::uintptr_t>(handle)) {}
    HandleBits(std::size_t place, std::uint64_t generation)
        : number(static_cast<std::uintptr_t>((generation << kPlaceBits | (place + 1)) << kMarkBits | kMark)) {}

    bool IsMarked() const { return (number & ((1U << kMarkBits) - 1)) == kMark; }
    /// Beyond all places for a handle that has none.
    std::size_t Place() const { return ((number >> kMarkBits) & ((1U << kPlaceBits) - 1)) - 1; }
    std::uint64_t Generation() const { return number >> (kPlaceBits + kMarkBits); }

    std::uintptr_t number;
};

/// One table for the process. Thread-safe. Places are never freed, so whoever found one may keep its lock; to find one
/// takes no lock, as each question about a buffer does it.
class Handles {
public:
    static Handles& Get();

    /// Gives it handle and place. RESOURCE_EXHAUSTED when there are no more places.
    void Add(std::shared_ptr<Object> object);
    void Remove(void* handle) noexcept;

    /// The place that the handle names, which may have been given to another since; null when there is no such place.
    static Slot* FindSlot(void* handle) noexcept {
        const HandleBits bits(handle);
        const std::size_t place = bits.Place();
        if (!bits.IsMarked() || place >= kBlockSize * kBlocks) return nullptr;
        Block* const block = s_Blocks[place / kBlockSize].load(std::memory_order_acquire);
        return block ? &(*block)[place % kBlockSize] : nullptr;
    }
    /// Whether the slot still belongs to the handle.
    static bool IsOf(const Slot& slot, void* handle) noexcept TAVIX_REQUIRES(slot.lock) {
        return slot.object && slot.generation == HandleBits(handle).Generation();
    }

private:
    static constexpr std::size_t kBlockSize = 256;
    static constexpr std::size_t kBlocks = 4096;
    using Block = std::array<Slot, kBlockSize>;

    std::size_t TakePlace();

    // Each is set once and lives as long as the process, without a constructor to wait for. The store releases the
    // block that was made, the load acquires it.
    static inline std::array<std::atomic<Block*>, kBlocks> s_Blocks{};
    Tavix::Mutex m_Mutex;
    std::vector<std::size_t> m_Free TAVIX_GUARDED_BY(m_Mutex);
    std::size_t m_Count TAVIX_GUARDED_BY(m_Mutex) = 0; // places made so far
};

/// A share of the object behind a handle. What is done at each frame and for each question holds one, so taking and
/// giving it back stand in one place, not in each of them.
class HeldObject {
public:
    /// INVALID_HANDLE when there is none of such a kind.
    HeldObject(void* handle, Kinds kinds);
    ~HeldObject();
    HeldObject(const HeldObject&) = delete;
    HeldObject& operator=(const HeldObject&) = delete;

protected:
    const std::shared_ptr<Object> m_Object;
};

/// The same for objects of a class. Bound to a thread.
template<class T>
class Held : public HeldObject {
public:
    explicit Held(void* handle) : HeldObject(handle, T::kKinds) {}

    T& operator*() const { return static_cast<T&>(*m_Object); }
    T* operator->() const { return &**this; }
    std::shared_ptr<T> Share() const { return std::static_pointer_cast<T>(m_Object); }
};

} // namespace gentl
