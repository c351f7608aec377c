#include "virtualcam/firmware/control/AcquisitionControl.h"

#include <algorithm>
#include <utility>

namespace virtualcam {
namespace {

enum Mode : std::uint32_t { SingleFrame = 0, MultiFrame = 1, Continuous = 2 };
enum Source : std::uint32_t { Software = 0, FirstLine = 1 };
enum Activation : std::uint32_t { RisingEdge = 0, FallingEdge = 1, AnyEdge = 2 };

constexpr std::chrono::milliseconds kLongestCatchUp{250};
constexpr std::uint64_t kSetBack = 1000000; // ns
constexpr double kNominalLinkRate = 400e6;  // bytes a second that a SuperSpeed link carries in practice
constexpr std::uint64_t kMinimumThroughput = 1000000;
constexpr std::uint64_t kMaximumThroughput = 1000000000;

TimePoint::duration Seconds(double seconds) {
    return std::chrono::duration_cast<TimePoint::duration>(std::chrono::duration<double>(seconds));
}

} // namespace

AcquisitionControl::AcquisitionControl(const FeatureMaker& make, const AcquisitionParts& parts,
                                       const AcquisitionOptions& options, std::function<void()> available)
    : m_Registers(make.Registers()), m_Parts(parts), m_BufferedFrames(options.bufferedFrames),
      m_Available(std::move(available)), m_Sources(options.sources) {
    AddModes(make, options);
    make.Choice(reg::kTriggerSelector, static_cast<std::uint32_t>(TriggerKind::FrameStart), {0, 1});
    AddTrigger(make, TriggerKind::FrameBurstStart);
    AddTrigger(make, TriggerKind::FrameStart);
}

void AcquisitionControl::AddModes(const FeatureMaker& make, const AcquisitionOptions& options) {
    make.Choice(reg::kAcquisitionMode, Continuous, {SingleFrame, MultiFrame, Continuous});
    make.Command(reg::kAcquisitionStart, [this] { Start(); });
    make.Command(reg::kAcquisitionStop, [this] { Stop(); });
    make.Range(reg::kFrameCount, 1, 1, 0xFFFF);
    make.Range(reg::kBurstFrameCount, 1, 1, 1023);
    make.Switch(reg::kFrameRateEnable, options.frameRateEnable).written = m_Available;
    make.Double(reg::kFrameRate, options.frameRate, 0.1, 10000.0);
    m_Registers.AddValue<std::uint64_t>(reg::kResultingFrameRate, Access::ReadOnly, 0).refresh =
        [this](Register& entry) { Store(entry.bytes.data(), FloatBits(ResultingRate())); };
    make.Choice(reg::kStatusSelector, 0, {0, 1, 2});
    make.Reading(reg::kStatus, [this] { return Level(LineSource::FrameTriggerWait) ? 1U : 0U; });
    make.Reading(reg::kStatus + 4, [this] { return Level(LineSource::FrameBurstTriggerWait) ? 1U : 0U; });
    make.Reading(reg::kStatus + 8, [this] { return m_Active ? 1U : 0U; });
    make.Switch(reg::kThroughputLimitMode).written = m_Available;
    Register& limit = m_Registers.AddValue<std::uint64_t>(reg::kThroughputLimit, Access::ReadWrite, 400000000);
    limit.inUserSet = true;
    limit.check = [](const std::uint8_t* bytes) {
        const std::uint64_t wanted = Load<std::uint64_t>(bytes);
        const bool fits = wanted >= kMinimumThroughput && wanted <= kMaximumThroughput && wanted % 1000 == 0;
        return fits ? Status::Success : Status::InvalidParameter;
    };
}

void AcquisitionControl::AddTrigger(const FeatureMaker& make, TriggerKind kind) {
    const std::uint64_t block = TriggerBlock(kind);
    make.Switch(block + reg::kTriggerMode).written = m_Available;
    make.Choice(block + reg::kTriggerSource, Software, {Software, FirstLine, FirstLine + 1});
    make.Choice(block + reg::kTriggerActivation, RisingEdge, {RisingEdge, FallingEdge, AnyEdge});
    make.Float(block + reg::kTriggerDelay, 0.0F, 0.0F, 1000000.0F);
    make.Command(block + reg::kTriggerSoftware, [this, kind, block] {
        if (Value(block + reg::kTriggerSource) == Software) Trigger(kind, Clock::Now());
    });
}

// --- timing

AcquisitionControl::Duration AcquisitionControl::Period() const {
    double seconds = 0;
    if (Value(reg::kFrameRateEnable) != 0)
        seconds = 1.0 / FromFloatBits(m_Registers.Get<std::uint64_t>(reg::kFrameRate));
    if (Value(reg::kThroughputLimitMode) != 0) {
        const double bytes = static_cast<double>(m_Parts.chunks.Plan().PayloadBytes(m_Parts.format.Get().ImageBytes()));
        seconds = std::max(seconds, bytes / static_cast<double>(m_Registers.Get<std::uint64_t>(reg::kThroughputLimit)));
    }
    return Seconds(seconds);
}

double AcquisitionControl::ResultingRate() const {
    const Duration period = Period();
    if (period.count() > 0) return 1.0 / std::chrono::duration<double>(period).count();
    return kNominalLinkRate /
           static_cast<double>(m_Parts.chunks.Plan().PayloadBytes(m_Parts.format.Get().ImageBytes()));
}

std::optional<TimePoint> AcquisitionControl::Deadline() const {
    std::optional<TimePoint> deadline;
    for (const DelayedTrigger& trigger : m_Delayed)
        deadline = Earlier(deadline, trigger.at);
    if (!IsFreeRunning()) return deadline;
    const Duration period = Period();
    return period.count() > 0 ? Earlier(deadline, m_LastFrame + period) : deadline;
}

void AcquisitionControl::RunTimers(TimePoint now) {
    RunDelayedTriggers(now);
    if (!IsFreeRunning()) return;
    const Duration period = Period();
    if (period.count() == 0) return;
    SkipMissed(now, period);
    while (IsFreeRunning() && m_LastFrame + period <= now)
        Expose(m_LastFrame + period);
}

// After a long pause (a debugger, a loaded machine) the frames of that time are lost, not taken in a rush.
void AcquisitionControl::SkipMissed(TimePoint now, Duration period) {
    if (now - m_LastFrame < kLongestCatchUp + period) return;
    const auto missed = (now - m_LastFrame) / period - 1;
    if (missed <= 0) return;
    m_LastFrame += missed * period;
    m_NextFrameId += static_cast<std::uint64_t>(missed);
    for (Source& source : m_Sources) {
        if (!source.on) continue;
        source.nextBlock += static_cast<std::uint64_t>(missed);
        m_Lost += static_cast<std::uint64_t>(missed);
    }
}

// --- start and stop

void AcquisitionControl::Start() {
    const std::uint32_t mode = Value(reg::kAcquisitionMode);
    const TimePoint now = Clock::Now();
    m_Active = true;
    m_FramesLeft = mode == SingleFrame ? 1 : mode == MultiFrame ? Value(reg::kFrameCount) : 0;
    m_BurstLeft = 0;
    m_NextFrameId = 0;
    m_LastFrame = now - Period(); // the first frame is due at once, and not before its burst
    m_Delayed.clear();
    if (!IsTriggered(TriggerKind::FrameBurstStart)) {
        m_Parts.io.Happened(Signal::FrameBurstStart);
        m_Parts.events.Notify(CameraEvent::FrameBurstStart, m_Parts.clock.Nanoseconds(now), 0);
    }
    m_Available();
}

void AcquisitionControl::Stop() {
    m_Active = false;
    for (Source& source : m_Sources)
        source.ready.clear();
    m_Delayed.clear();
}

void AcquisitionControl::StreamEnabled(unsigned source, bool on) {
    m_Sources[source].on = on; // without memory: a camera that leaves the bus comes by
    m_Sources[source].nextBlock = 0;
    m_Sources[source].ready.clear();
    m_Available(); // also when it is off: other streams may have waited for its room
}

// --- triggers

void AcquisitionControl::LineEdge(std::uint32_t line, bool rising) {
    for (const TriggerKind kind : {TriggerKind::FrameBurstStart, TriggerKind::FrameStart}) {
        const std::uint32_t activation = Value(TriggerBlock(kind) + reg::kTriggerActivation);
        if (Value(TriggerBlock(kind) + reg::kTriggerSource) != FirstLine + line) continue;
        if (activation == AnyEdge || (activation == RisingEdge) == rising) Trigger(kind, Clock::Now());
    }
}

void AcquisitionControl::Trigger(TriggerKind kind, TimePoint now) {
    if (!IsTriggered(kind) || !m_Active) return;
    const float delay = FromFloatBits(Value(TriggerBlock(kind) + reg::kTriggerDelay));
    if (delay > 0)
        m_Delayed.push_back({now + Seconds(static_cast<double>(delay) * 1e-6), kind});
    else
        FireTrigger(kind, now);
}

void AcquisitionControl::RunDelayedTriggers(TimePoint now) {
    const auto due = std::stable_partition(m_Delayed.begin(), m_Delayed.end(),
                                           [now](const DelayedTrigger& trigger) { return trigger.at > now; });
    const std::vector<DelayedTrigger> fired(due, m_Delayed.end());
    m_Delayed.erase(due, m_Delayed.end());
    for (const DelayedTrigger& trigger : fired)
        if (m_Active) FireTrigger(trigger.kind, trigger.at);
}

void AcquisitionControl::FireTrigger(TriggerKind kind, TimePoint now) {
    if (kind == TriggerKind::FrameBurstStart) {
        OpenBurst(now);
        return;
    }
    m_Parts.io.Happened(Signal::FrameTrigger);
    if (IsBurstOpen() && now >= m_LastFrame + Period()) {
        Expose(now);
        return;
    }
    m_Parts.events.Notify(CameraEvent::FrameStartOvertrigger, m_Parts.clock.Nanoseconds(now), m_NextFrameId);
    m_Available();
}

void AcquisitionControl::OpenBurst(TimePoint now) {
    const bool free = m_BurstLeft == 0;
    if (free) {
        m_BurstLeft = Value(reg::kBurstFrameCount);
        m_LastFrame = std::max(m_LastFrame, now - Period());
        m_Parts.io.Happened(Signal::FrameBurstStart);
    }
    m_Parts.events.Notify(free ? CameraEvent::FrameBurstStart : CameraEvent::FrameBurstStartOvertrigger,
                          m_Parts.clock.Nanoseconds(now), m_NextFrameId);
    m_Available();
}

bool AcquisitionControl::Level(LineSource source) const {
    if (source == LineSource::FrameTriggerWait)
        return m_Active && IsTriggered(TriggerKind::FrameStart) && IsBurstOpen() && HasRoom() && // or it would be lost
               Clock::Now() >= m_LastFrame + Period(); // earlier it would be an overtrigger
    if (source == LineSource::FrameBurstTriggerWait) return m_Active && !IsBurstOpen();
    return false;
}

// --- frames

// No two frames bear the same time, unless the clock was set back.
std::uint64_t AcquisitionControl::NextTimestamp(std::uint64_t time) const {
    const bool behind = time <= m_LastTimestamp && m_LastTimestamp - time < kSetBack;
    return behind ? m_LastTimestamp + 1 : time;
}

Frame AcquisitionControl::Snapshot(TimePoint at) {
    m_Parts.analog.Adjust();
    m_LastTimestamp = NextTimestamp(m_Parts.clock.Nanoseconds(at));
    Frame frame;
    frame.geometry = m_Parts.format.Get();
    frame.chunks = m_Parts.chunks.Plan();
    frame.look = m_Parts.analog.CurrentLook();
    frame.values.timestamp = m_LastTimestamp;
    frame.values.frameId = m_NextFrameId++;
    frame.values.exposureTime = m_Parts.analog.ExposureMicroseconds();
    frame.values.gain = m_Parts.analog.GainDecibels();
    frame.values.lineStatusAll = m_Parts.io.AllLevels();
    return frame;
}

void AcquisitionControl::Report(const Frame& frame) {
    m_Parts.io.Happened(Signal::FrameStart);
    m_Parts.io.Happened(Signal::ExposureEnd);
    m_Parts.events.Notify(CameraEvent::FrameStart, frame.values.timestamp, frame.values.frameId);
    m_Parts.events.Notify(CameraEvent::ExposureEnd, frame.values.timestamp, frame.values.frameId);
}

void AcquisitionControl::Expose(TimePoint at) {
    Frame frame = Snapshot(at);
    m_LastFrame = at;
    Report(frame);
    frame.values.counterValue = m_Parts.io.CounterValue(0);
    if (IsTriggered(TriggerKind::FrameBurstStart)) --m_BurstLeft;
    if (m_FramesLeft != 0 && --m_FramesLeft == 0) m_Active = false;
    for (Source& source : m_Sources)
        if (source.on) Hand(frame, source);
    m_Available();
}

void AcquisitionControl::Hand(const Frame& frame, Source& source) {
    const std::uint64_t block = source.nextBlock++;
    if (source.ready.size() >= m_BufferedFrames) {
        ++m_Lost;
        return;
    }
    source.ready.push_back(frame);
    source.ready.back().blockId = block;
}

bool AcquisitionControl::HasRoom() const {
    return std::none_of(m_Sources.begin(), m_Sources.end(),
                        [this](const Source& source) { return source.on && source.ready.size() >= m_BufferedFrames; });
}

std::optional<Frame> AcquisitionControl::Take(unsigned source, TimePoint now) {
    RunTimers(now);
    Source& from = m_Sources[source];
    if (from.on && from.ready.empty() && IsFreeRunning() && Period().count() == 0 && HasRoom()) Expose(now);
    if (from.ready.empty()) return std::nullopt;
    const bool wasFull = from.ready.size() == m_BufferedFrames;
    Frame frame = std::move(from.ready.front());
    from.ready.pop_front();
    if (wasFull && m_Sources.size() > 1) m_Available(); // others may have waited for the room
    return frame;
}

} // namespace virtualcam
