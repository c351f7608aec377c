#include "cameras/CameraClock.h"

#include <chrono>

#include <GenApi/GenApi.h>

namespace tool {
namespace {

constexpr int kReadings = 5;

} // namespace

std::int64_t HostNanoseconds() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

void CameraClock::Read(Camera& camera) {
    GenApi::CCommandPtr latch(camera.Features().GetNode("TimestampLatch"));
    GenApi::CIntegerPtr value(camera.Features().GetNode("TimestampLatchValue"));
    if (!latch || !value || !GenApi::IsWritable(latch->GetAccessMode())) return;
    std::optional<Reading> best;
    for (int i = 0; i < kReadings; ++i) {
        const std::int64_t before = HostNanoseconds();
        latch->Execute();
        const std::int64_t after = HostNanoseconds();
        const Reading reading{before + (after - before) / 2, value->GetValue(/*Verify=*/false, /*IgnoreCache=*/true),
                              after - before};
        if (!best || reading.roundTrip < best->roundTrip) best = reading;
    }
    (m_First ? m_Last : m_First) = best;
}

std::optional<std::int64_t> CameraClock::ToHost(std::uint64_t timestamp) const {
    if (!m_First) return {};
    const std::int64_t elapsed = static_cast<std::int64_t>(timestamp) - m_First->camera;
    if (!m_Last || m_Last->camera <= m_First->camera) return m_First->host + elapsed;
    const double rate =
        static_cast<double>(m_Last->host - m_First->host) / static_cast<double>(m_Last->camera - m_First->camera);
    return m_First->host + static_cast<std::int64_t>(static_cast<double>(elapsed) * rate);
}

} // namespace tool
