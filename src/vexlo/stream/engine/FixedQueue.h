#pragma once
// A queue that takes its memory before it is needed.

#include <cstddef>
#include <vector>

namespace vexlo {

/// First in, first out, never more than were reserved: nothing is allocated once a stream runs. Bound to a thread.
template<class Item>
class FixedQueue {
public:
    /// Empties the queue. Throws std::bad_alloc and is as it was then.
    void Reserve(std::size_t most) {
        std::vector<Item> items(most);
        m_Items.swap(items);
        m_First = m_Size = 0;
    }

    bool IsEmpty() const { return m_Size == 0; }
    std::size_t Size() const { return m_Size; }
    /// The n-th from the front.
    Item& operator[](std::size_t n) { return m_Items[(m_First + n) % m_Items.size()]; }
    const Item& operator[](std::size_t n) const { return m_Items[(m_First + n) % m_Items.size()]; }
    const Item& Front() const { return (*this)[0]; }

    void Append(Item item) {
        ++m_Size;
        (*this)[m_Size - 1] = item;
    }
    void RemoveFront() {
        m_First = (m_First + 1) % m_Items.size();
        --m_Size;
    }
    void Clear() { m_First = m_Size = 0; }

private:
    std::vector<Item> m_Items;
    std::size_t m_First = 0;
    std::size_t m_Size = 0;
};

} // namespace vexlo
