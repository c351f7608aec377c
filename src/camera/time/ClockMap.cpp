#include "camera/time/ClockMap.h"

#include <algorithm>
#include <cstdlib>

namespace Tavix::detail {
namespace {

constexpr double kWorstDrift = 200e-6; // of quartz clocks that nobody adjusts, and something to spare
constexpr std::int64_t kSecond = 1'000'000'000;
constexpr std::int64_t kMemory = 60 * kSecond; // how far back pairs tell of the present drift
constexpr std::size_t kMostSeconds = 60;
constexpr std::int64_t kJump = kSecond / 2; // between two images, by one clock and not by the other

/// Rounded here, since the mathematical library's rounding is a call for each image.
std::int64_t Scaled(std::int64_t time, double factor) {
    const double exact = static_cast<double>(time) * factor;
    return static_cast<std::int64_t>(exact < 0 ? exact - 0.5 : exact + 0.5);
}

} // namespace

bool ClockMap::Fits(const Pair& pair) const {
    const std::optional<Estimate> expected = ToHost(pair.camera);
    if (!expected) return true;
    const bool isNear = std::llabs(expected->host - pair.host) <= expected->bound + pair.roundTrip / 2;
    return isNear && pair.camera > m_Pairs.back().camera;
}

bool ClockMap::Add(const Pair& pair) {
    const bool fits = Fits(pair);
    if (!fits) m_Pairs.clear();
    m_Pairs.push_back(pair);
    while (m_Pairs.size() > 2 && pair.host - m_Pairs.front().host > kMemory)
        m_Pairs.pop_front();
    m_Rate = FitRate();
    return fits;
}

ClockMap::Rate ClockMap::FitRate() const {
    const Pair &first = m_Pairs.front(), &last = m_Pairs.back();
    const auto distance = static_cast<double>(last.camera - first.camera);
    if (distance <= 0) return {1, kWorstDrift};
    const double error = static_cast<double>(first.roundTrip + last.roundTrip) / 2 / distance;
    if (error >= kWorstDrift) return {1, kWorstDrift};
    return {static_cast<double>(last.host - first.host) / distance, error};
}

[[gnu::hot]] std::optional<ClockMap::Estimate> ClockMap::ToHost(std::int64_t camera) const {
    if (m_Pairs.empty()) return {};
    const Pair& last = m_Pairs.back();
    const std::int64_t since = camera - last.camera;
    return Estimate{last.host + Scaled(since, m_Rate.value),
                    last.roundTrip / 2 + Scaled(std::llabs(since), m_Rate.error) + 1};
}

void ArrivalMap::Begin(std::int64_t camera, std::int64_t offset) {
    m_Lowest.push_back({camera, offset});
    if (m_Lowest.size() > kMostSeconds) m_Lowest.pop_front();
}

void ArrivalMap::Add(std::int64_t camera, std::int64_t host) {
    const std::int64_t byCamera = camera - m_LastCamera, byHost = host - m_LastHost;
    const bool hasJumped = byCamera <= 0 || std::llabs(byCamera - byHost) > kJump + Scaled(byHost, kWorstDrift);
    if (!m_Lowest.empty() && hasJumped) {
        m_Lowest.clear();
        m_Period = 0;
    } else if (!m_Lowest.empty()) {
        m_Period = m_Period == 0 ? byCamera : std::min(m_Period, byCamera);
    }
    m_LastCamera = camera;
    m_LastHost = host;
    const std::int64_t offset = host - camera;
    if (m_Lowest.empty() || camera - m_Lowest.back().camera >= kSecond) {
        Begin(camera, offset);
    } else if (offset < m_Lowest.back().offset) {
        m_Lowest.back().offset = offset;
    }
}

std::optional<ClockMap::Estimate> ArrivalMap::ToHost(std::int64_t camera) const {
    if (m_Lowest.empty()) return {};
    // Each second's lowest offset, carried to the moment by the worst drift, is above the true one; the least counts.
    std::int64_t offset = m_Lowest.back().offset;
    for (const Lowest& one : m_Lowest)
        offset = std::min(offset, one.offset + Scaled(std::llabs(camera - one.camera), kWorstDrift));
    return ClockMap::Estimate{camera + offset, m_Period > 0 ? m_Period : kSecond};
}

} // namespace Tavix::detail
