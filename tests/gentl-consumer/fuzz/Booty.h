#pragma once
// What callers have got hold of.

#include <array>
#include <atomic>
#include <cstdint>
#include <deque>
#include <mutex>
#include <vector>

namespace consumer {

/// Handles that callers have met, right or stale by now, and the memory that they lent. Thread-safe.
class Booty {
public:
    enum Kind { System, Interface, Device, Remote, Stream, Buffer, Event, Count };

    void Keep(Kind kind, void* handle, std::uint32_t place) {
        m_Latest[kind] = handle;
        m_Handles[kind][place % kPlaces] = handle;
    }
    void* Latest(Kind kind) const { return m_Latest[kind]; }
    void* Any(Kind kind, std::uint32_t place) const { return m_Handles[kind][place % kPlaces]; }
    /// Memory that stays as long as this; null when enough was lent.
    void* Lend(std::size_t size);

private:
    static constexpr std::size_t kPlaces = 8;
    static constexpr std::size_t kMost = std::size_t{256} << 20;
    std::array<std::array<std::atomic<void*>, kPlaces>, Count> m_Handles{};
    std::array<std::atomic<void*>, Count> m_Latest{};
    std::mutex m_Lock;
    std::deque<std::vector<std::uint8_t>> m_Memory; // guarded by m_Lock, as is m_Lent
    std::size_t m_Lent = 0;
};

} // namespace consumer
