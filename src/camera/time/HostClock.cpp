#include "camera/time/HostClock.h"

#include "camera/CameraLog.h"
#include "camera/Failure.h"
#include "core/Threads.h"

#include <GenApi/GenApi.h>
#include <GenApi/Synch/Lock.h>

#include <algorithm>
#include <vector>

namespace Tavix::detail {
namespace {

using std::chrono::nanoseconds;
using Steady = std::chrono::steady_clock;

// A line begins with more tries than it is followed with: what follows rests on its beginning.
constexpr std::size_t kTriesToBegin = 9, kTriesToFollow = 5, kFastest = 3;
constexpr std::chrono::milliseconds kFirstPeriod{50}, kLongestPeriod{2000};
constexpr std::int64_t kRealClockStays = 10'000'000; // before somebody sets it, or the time service pulls at it
constexpr std::int64_t kOldest = 2'000'000'000;      // no image is under way for longer

bool IsFaster(const ClockMap::Pair& a, const ClockMap::Pair& b) {
    return a.roundTrip < b.roundTrip;
}

/// The fastest of these tries took about the same time: more of them would tell nothing new.
bool AreEnough(std::vector<ClockMap::Pair> pairs) {
    if (pairs.size() < kFastest) return false;
    std::nth_element(pairs.begin(), pairs.begin() + kFastest - 1, pairs.end(), IsFaster);
    const auto fastest = std::min_element(pairs.begin(), pairs.end(), IsFaster);
    return pairs[kFastest - 1].roundTrip <= fastest->roundTrip + fastest->roundTrip / 4;
}

std::int64_t Nanoseconds(Steady::time_point time) {
    return std::chrono::duration_cast<nanoseconds>(time.time_since_epoch()).count();
}

} // namespace

HostClock::HostClock(std::shared_ptr<OpenDevice> device) : m_Device(std::move(device)), m_CanLatch(CanLatch()) {}

HostClock::~HostClock() {
    Stop();
}

bool HostClock::CanLatch() const {
    const GenApi::CCommandPtr latch(m_Device->Nodes().GetNode("TimestampLatch"));
    const GenApi::CIntegerPtr value(m_Device->Nodes().GetNode("TimestampLatchValue"));
    return latch && value && GenApi::IsWritable(latch->GetAccessMode()) && GenApi::IsReadable(value->GetAccessMode());
}

void HostClock::Start() {
    Stop();
    {
        const MutexLock guard(m_Mutex);
        m_IsStopped = false;
    }
    if (!m_CanLatch) return;
    Compare(kTriesToBegin);
    m_Thread = StartThread([this] { Run(); });
}

void HostClock::Stop() {
    {
        const MutexLock guard(m_Mutex);
        m_IsStopped = true;
        m_Stopped.notify_all();
    }
    if (m_Thread.joinable()) m_Thread.join();
}

void HostClock::Run() {
    std::chrono::milliseconds period = kFirstPeriod;
    MutexLock guard(m_Mutex);
    while (!WaitForStop(guard, Steady::now() + period)) {
        guard.Unlock();
        Compare(kTriesToFollow);
        period = std::min(period * 2, kLongestPeriod);
        guard.Lock();
    }
}

/// False when the time is over.
bool HostClock::WaitForStop(MutexLock& guard, Steady::time_point end) {
    while (!m_IsStopped)
        if (!guard.WaitUntil(m_Stopped, end)) return m_IsStopped;
    return true;
}

ClockMap::Pair HostClock::LatchOnce() {
    GenApi::INodeMap& nodes = m_Device->Nodes();
    const GenApi::AutoLock lock(nodes.GetLock()); // nobody latches in between
    const GenApi::CCommandPtr latch(nodes.GetNode("TimestampLatch"));
    const GenApi::CIntegerPtr value(nodes.GetNode("TimestampLatchValue"));
    const std::int64_t before = Nanoseconds(Steady::now());
    latch->Execute(/*Verify=*/false);
    const std::int64_t after = Nanoseconds(Steady::now());
    return {before + (after - before) / 2, value->GetValue(/*Verify=*/false, /*IgnoreCache=*/true), after - before};
}

/// Of several tries the fastest are the ones to believe, and of these the middle one. A line is followed with fewer
/// when they agree: each is four transfers.
void HostClock::Compare(std::size_t tries) noexcept {
    Attempt("Comparing a camera's clock", [&] {
        const MutexLock latching(m_Latching);
        std::vector<ClockMap::Pair> pairs;
        const std::size_t fewest = tries == kTriesToFollow ? kFastest : tries;
        while (pairs.size() < tries && (pairs.size() < fewest || !AreEnough(pairs)))
            pairs.push_back(LatchOnce());
        std::sort(pairs.begin(), pairs.end(), IsFaster);
        pairs.resize(kFastest);
        std::sort(pairs.begin(), pairs.end(),
                  [](const auto& a, const auto& b) { return a.host - a.camera < b.host - b.camera; });
        const MutexLock guard(m_Mutex);
        const ClockMap former = m_Map;
        if (m_Map.Add(pairs[kFastest / 2])) return;
        m_Former = former;
        m_Watch.Forget();
        LogTrace(LogCategoryCamera(), kLogInfo, "The clock of '%s' has jumped.", m_Device->Name().c_str());
    });
}

[[gnu::hot]] std::optional<ClockMap::Estimate> HostClock::Plausible(std::int64_t camera, std::int64_t arrival) {
    const auto isPossible = [arrival](const std::optional<ClockMap::Estimate>& estimate) {
        return estimate && estimate->host - estimate->bound <= arrival && arrival - estimate->host < kOldest;
    };
    const std::optional<ClockMap::Estimate> present = m_Map.ToHost(camera);
    if (isPossible(present)) return present;
    const std::optional<ClockMap::Estimate> former = m_Former ? m_Former->ToHost(camera) : std::nullopt;
    return isPossible(former) ? former : std::nullopt;
}

bool HostClock::HasJumped() noexcept {
    bool hasJumped = false;
    Attempt("Looking at a camera's clock", [&] {
        const ClockMap::Pair pair = LatchOnce();
        const MutexLock guard(m_Mutex);
        hasJumped = !m_Map.Fits(pair);
    });
    return hasJumped;
}

HostTime HostClock::MakeTime(const std::optional<ClockMap::Estimate>& estimate, std::int64_t now) {
    using Real = std::chrono::system_clock;
    if (now - m_RealAskedAt >= kRealClockStays) {
        m_RealAskedAt = now;
        m_RealAhead = Real::now().time_since_epoch() - Steady::now().time_since_epoch();
    }
    HostTime time;
    time.monotonic = Steady::time_point(nanoseconds(estimate ? estimate->host : now));
    time.real =
        Real::time_point(std::chrono::duration_cast<Real::duration>(time.monotonic.time_since_epoch() + m_RealAhead));
    time.bound = nanoseconds(estimate ? estimate->bound : -1);
    return time;
}

[[gnu::hot]] HostTime HostClock::TimeOf(std::uint64_t cameraTime, Steady::time_point arrival) {
    const auto camera = static_cast<std::int64_t>(cameraTime);
    const std::int64_t host = Nanoseconds(arrival);
    MutexLock guard(m_Mutex);
    std::optional<ClockMap::Estimate> estimate;
    if (m_CanLatch) {
        estimate = Plausible(camera, host);
        if (m_Watch.Doubts(camera, estimate, host)) {
            guard.Unlock();
            if (HasJumped()) Compare(kTriesToBegin);
            guard.Lock();
            estimate = Plausible(camera, host);
        }
        if (estimate) m_Watch.NoteDelay(host - estimate->host);
    } else {
        m_Arrivals.Add(camera, host);
        estimate = m_Arrivals.ToHost(camera);
    }
    return MakeTime(estimate, host);
}

HostTime HostClock::TimeOf(std::uint64_t cameraTime) {
    MutexLock guard(m_Mutex);
    if (m_IsStopped && m_CanLatch) {
        guard.Unlock();
        Compare(kTriesToBegin);
        guard.Lock();
    }
    const auto camera = static_cast<std::int64_t>(cameraTime);
    return MakeTime(m_CanLatch ? m_Map.ToHost(camera) : m_Arrivals.ToHost(camera), Nanoseconds(Steady::now()));
}

} // namespace Tavix::detail
