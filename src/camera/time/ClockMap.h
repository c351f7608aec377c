#pragma once
// From the time of a camera's clock to that of the host's.

#include <cstdint>
#include <deque>
#include <optional>

namespace Tavix::detail {

/// The line that pairs of both clocks lie on. All times in nanoseconds. Bound to a thread.
class ClockMap {
public:
    /// Both clocks at one moment: the camera's somewhere within `roundTrip`, whose middle is `host`.
    struct Pair {
        std::int64_t host = 0, camera = 0, roundTrip = 0;
    };
    struct Estimate {
        std::int64_t host = 0, bound = 0;
    };

    /// Whether the pair may lie on the line; any may before the first one.
    bool Fits(const Pair& pair) const;
    /// False for a pair that cannot lie on the line of those before: the camera's clock has jumped, and the line begins
    /// anew with it.
    bool Add(const Pair& pair);
    /// Nothing before the first pair.
    std::optional<Estimate> ToHost(std::int64_t camera) const;

private:
    struct Rate {
        double value = 1, error = 0;
    };
    Rate FitRate() const;

    std::deque<Pair> m_Pairs; // oldest first
    Rate m_Rate;              // that fits them; each image asks for it, and pairs come seldom
};

/// The same from the arrivals of images, for cameras whose clock cannot be read: an image may be late and never early.
/// The line keeps below all arrivals; the shortest way that an image ever took is not known and part of the bound.
/// Bound to a thread.
class ArrivalMap {
public:
    void Add(std::int64_t camera, std::int64_t host);
    std::optional<ClockMap::Estimate> ToHost(std::int64_t camera) const;

private:
    /// The earliest arrival of a second.
    struct Lowest {
        std::int64_t camera = 0, offset = 0;
    };
    void Begin(std::int64_t camera, std::int64_t offset);

    std::deque<Lowest> m_Lowest; // a second each, oldest first
    std::int64_t m_LastCamera = 0, m_LastHost = 0;
    std::int64_t m_Period = 0; // the shortest time between two images
};

} // namespace Tavix::detail
