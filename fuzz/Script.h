#pragma once
// Small numbers from the start of a fuzz input; what is left are bytes to parse.

#include <cstddef>
#include <cstdint>

namespace fuzz {

// Gives zeros at the end. Bound to a thread.
class Script {
public:
    Script(const uint8_t* data, size_t size) : m_Data(data), m_Size(size) {}

    bool IsEmpty() const { return m_Size == 0; }
    uint8_t Byte() {
        if (m_Size == 0) return 0;
        --m_Size;
        return *m_Data++;
    }
    // Least significant byte first.
    uint64_t Number(size_t bytes) {
        uint64_t number = 0;
        for (size_t i = 0; i < bytes; ++i)
            number |= uint64_t{Byte()} << (8 * i);
        return number;
    }
    // Up to `count` of the bytes that follow; `count` becomes their number.
    const uint8_t* Take(size_t& count) {
        count = count < m_Size ? count : m_Size;
        const uint8_t* const taken = m_Data;
        m_Data += count;
        m_Size -= count;
        return taken;
    }
    const uint8_t* Rest() const { return m_Data; }
    size_t RestSize() const { return m_Size; }

private:
    const uint8_t* m_Data;
    size_t m_Size;
};

} // namespace fuzz
