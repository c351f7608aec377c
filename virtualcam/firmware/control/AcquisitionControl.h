#pragma once
// The sensor and its timing: when a frame is taken, and which frames wait for the host.

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "virtualcam/firmware/Clock.h"
#include "virtualcam/firmware/control/AnalogControl.h"
#include "virtualcam/firmware/control/ChunkControl.h"
#include "virtualcam/firmware/control/DigitalIo.h"
#include "virtualcam/firmware/control/EventControl.h"
#include "virtualcam/firmware/control/ImageFormat.h"

namespace virtualcam {

/// One exposure: all that is needed to draw and send it later.
struct Frame {
    std::uint64_t blockId = 0;
    ChunkValues values;
    Geometry geometry;
    ChunkPlan chunks;
    std::shared_ptr<const Look> look;
};

/// The groups that a frame is a snapshot of. Borrowed.
struct AcquisitionParts {
    ImageFormat& format;
    AnalogControl& analog;
    ChunkControl& chunks;
    DigitalIo& io;
    EventControl& events;
    const Clock& clock;
};

struct AcquisitionOptions {
    double frameRate = 30;
    bool frameRateEnable = true;
    std::size_t bufferedFrames = 4;
    unsigned sources = 1;
};

enum class TriggerKind : std::uint32_t { FrameBurstStart = 0, FrameStart = 1 };

/// Takes frames by itself at the frame rate, on demand when nothing limits it, or on triggers. Exposures take no time
/// here: a frame is ready when its exposure begins. All sources (sensors) expose together; on demand the slowest of
/// those whose stream is on sets the pace. Bound to a thread; the register space's owner locks.
class AcquisitionControl {
public:
    /// `available` runs when the stream may have something to send, or events were queued.
    AcquisitionControl(const FeatureMaker& make, const AcquisitionParts& parts, const AcquisitionOptions& options,
                       std::function<void()> available);

    void StreamEnabled(unsigned source, bool on);
    /// The next frame of a source to send, if there is one now.
    std::optional<Frame> Take(unsigned source, TimePoint now);
    std::optional<TimePoint> Deadline() const;
    void RunTimers(TimePoint now);
    /// An edge at an input line.
    void LineEdge(std::uint32_t line, bool rising);
    /// Level of the line sources that are about acquisition.
    bool Level(LineSource source) const;
    /// Frames that the host was too slow for.
    std::uint64_t LostFrames() const { return m_Lost; }

private:
    using Duration = TimePoint::duration;
    struct DelayedTrigger {
        TimePoint at;
        TriggerKind kind;
    };

    /// Where frames of one sensor wait for its stream.
    struct Source {
        bool on = false;
        std::uint64_t nextBlock = 0;
        std::deque<Frame> ready;
    };

    RegisterSpace& m_Registers;
    const AcquisitionParts m_Parts;
    const std::size_t m_BufferedFrames;
    const std::function<void()> m_Available;
    bool m_Active = false;
    std::uint64_t m_FramesLeft = 0;
    std::uint32_t m_BurstLeft = 0;
    std::uint64_t m_NextFrameId = 0;
    std::uint64_t m_LastTimestamp = 0;
    std::uint64_t m_Lost = 0;
    TimePoint m_LastFrame;
    std::vector<Source> m_Sources;
    std::vector<DelayedTrigger> m_Delayed;

    std::uint32_t Value(std::uint64_t address) const { return m_Registers.Get<std::uint32_t>(address); }
    static std::uint64_t TriggerBlock(TriggerKind kind) {
        return reg::kTrigger + static_cast<std::uint64_t>(kind) * reg::kTriggerStride;
    }
    bool IsTriggered(TriggerKind kind) const { return Value(TriggerBlock(kind) + reg::kTriggerMode) != 0; }
    bool IsBurstOpen() const { return !IsTriggered(TriggerKind::FrameBurstStart) || m_BurstLeft != 0; }
    bool IsFreeRunning() const { return m_Active && !IsTriggered(TriggerKind::FrameStart) && IsBurstOpen(); }
    Duration Period() const;
    double ResultingRate() const;

    void AddModes(const FeatureMaker& make, const AcquisitionOptions& options);
    void AddTrigger(const FeatureMaker& make, TriggerKind kind);
    void Start();
    void Stop();
    void Trigger(TriggerKind kind, TimePoint now);
    void FireTrigger(TriggerKind kind, TimePoint now);
    void OpenBurst(TimePoint now);
    void RunDelayedTriggers(TimePoint now);
    void SkipMissed(TimePoint now, Duration period);
    void Expose(TimePoint at);
    std::uint64_t NextTimestamp(std::uint64_t time) const;
    Frame Snapshot(TimePoint at);
    void Report(const Frame& frame);
    void Hand(const Frame& frame, Source& source);
    bool HasRoom() const;
};

} // namespace virtualcam
