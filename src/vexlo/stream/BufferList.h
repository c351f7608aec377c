#pragma once
// Registered buffers, and lists of them that need no memory.

#include "vexlo/VxStream.h"

#include <cstddef>
#include <cstdint>

namespace vexlo {

/// Transfers into memory that the kernel has mapped cost no memory of the system.
enum class BufferMemory { Ordinary, Mapped };

/// A registered buffer. It carries its own result and its place in a list, so that it comes back whatever happens.
struct BufferHandle_s {
    enum class State { Idle, Queued, Bound, Completed };

    std::uint8_t* data = nullptr; // borrowed from the application
    std::size_t size = 0;
    BufferMemory memory = BufferMemory::Ordinary;
    const void* context = nullptr;  // guarded by the pool
    State state = State::Idle;      // guarded by the pool
    CVxStream::GrabResult result{}; // guarded by the pool; while completed
    BufferHandle_s* next = nullptr; // of the list that it is in
};

/// Linked through the buffers themselves: a buffer is in one list at most. Move only. Bound to a thread.
class BufferList {
public:
    BufferList() = default;
    BufferList(BufferList&& other) noexcept : m_First(other.m_First), m_Last(other.m_Last), m_Size(other.m_Size) {
        other.Forget();
    }
    BufferList& operator=(BufferList&& other) noexcept {
        if (this == &other) return *this;
        m_First = other.m_First;
        m_Last = other.m_Last;
        m_Size = other.m_Size;
        other.Forget();
        return *this;
    }

    bool IsEmpty() const { return m_First == nullptr; }
    std::size_t Size() const { return m_Size; }
    BufferHandle_s* First() const { return m_First; }

    void Append(BufferHandle_s& buffer) {
        buffer.next = nullptr;
        (m_Last != nullptr ? m_Last->next : m_First) = &buffer;
        m_Last = &buffer;
        ++m_Size;
    }
    /// Null when there is none.
    BufferHandle_s* TakeFirst() {
        BufferHandle_s* buffer = m_First;
        if (buffer != nullptr) Remove(*buffer);
        return buffer;
    }
    /// Puts the others before these.
    void Prepend(BufferList others) {
        while (BufferHandle_s* buffer = TakeFirst())
            others.Append(*buffer);
        *this = static_cast<BufferList&&>(others);
    }
    /// Does nothing when it is not in this list.
    void Remove(BufferHandle_s& buffer) {
        BufferHandle_s* before = nullptr;
        BufferHandle_s* at = m_First;
        for (; at != nullptr && at != &buffer; at = at->next)
            before = at;
        if (at == nullptr) return;
        (before != nullptr ? before->next : m_First) = buffer.next;
        if (m_Last == &buffer) m_Last = before;
        buffer.next = nullptr;
        --m_Size;
    }
    /// They are in no list any more.
    void Forget() {
        m_First = m_Last = nullptr;
        m_Size = 0;
    }

private:
    BufferHandle_s* m_First = nullptr; // borrowed, as all of them
    BufferHandle_s* m_Last = nullptr;
    std::size_t m_Size = 0;
};

} // namespace vexlo
