#pragma once
// A set of endpoints, by number and direction.

#include <cstdint>

namespace virtualcam {

/// OUT endpoints have the lower half of the bits. Bound to a thread; its owner locks.
class EndpointSet {
public:
    bool Has(std::uint8_t endpoint) const { return (m_Bits & BitOf(endpoint)) != 0; }
    bool IsEmpty() const { return m_Bits == 0; }
    void Add(std::uint8_t endpoint) { m_Bits |= BitOf(endpoint); }
    void Add(const EndpointSet& others) { m_Bits |= others.m_Bits; }
    void Remove(std::uint8_t endpoint) { m_Bits &= ~BitOf(endpoint); }
    void Clear() { m_Bits = 0; }
    /// Takes out the first one. There must be one.
    std::uint8_t TakeFirst() {
        unsigned bit = 0;
        while ((m_Bits >> bit & 1) == 0)
            ++bit;
        m_Bits &= ~(1u << bit);
        return static_cast<std::uint8_t>(bit < kHalf ? bit : 0x80 | (bit - kHalf));
    }

private:
    static constexpr unsigned kHalf = 16;
    static std::uint32_t BitOf(std::uint8_t endpoint) { return 1u << ((endpoint & 0x0F) | ((endpoint & 0x80) >> 3)); }

    std::uint32_t m_Bits = 0;
};

} // namespace virtualcam
