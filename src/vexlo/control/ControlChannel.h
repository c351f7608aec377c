#pragma once
// The camera's control channel: one command, its acknowledge, and what it takes to get that acknowledge.

#include "u3v/CameraFunction.h"
#include "u3v/ControlPacket.h"
#include "usb/Backend.h"
#include "vexlo/Mutex.h"
#include "vexlo/Status.h"
#include "vexlo/control/Deadline.h"

#include <atomic>
#include <vector>

namespace vexlo {

/// How long the control channel waits for what.
struct ControlTiming {
    using Duration = Clock::Duration;
    Duration floor{500};            ///< least time for an answer; a setting
    Duration streamingFloor{2000};  ///< the same while a stream may keep the link busy
    Duration lastingFloor{3000};    ///< the same for a lasting change that cannot be asked for again; a setting
    Duration ceiling{5000};         ///< most of what a camera states as its response time is believed up to here
    Duration margin{100};           ///< added to what the camera states
    Duration pendingLimit{30000};   ///< whole time for one command, however often the camera asks for more
    Duration retryLimit{4000};      ///< least time after which a command is not tried again
    Duration lookLimit{1000};       ///< for a look whether a camera is there that left a command unanswered
    Duration silentLimit{900};      ///< whole time for a command to a camera that did not answer the last one
    Duration silentRest{3000};      ///< how long such a camera is not waited for again, and longer by and by
    Duration glanceLimit{30};       ///< whole time for a command meanwhile; one that is back answers at once
    Duration operationLimit{30000}; ///< least limit of an access of many commands
    Duration busyPause{20};         ///< before a command that met a busy camera is sent again
    Duration drain{3};              ///< for each look for left-over acknowledges
    Duration connectLimit{6500};    ///< for a camera whose firmware still boots; a setting
    Duration resetLimit{3000};      ///< the same after the port was reset
    Duration leastOpenLimit{5000};  ///< whole time for opening, where the limits above give less
    Duration systemLimit{500};      ///< for a system that does not pass on what is asked, as for want of memory
    bool mayReset = true;           ///< a camera that stays silent
    bool isBrief = false;           ///< the camera is known to be silent: the first silence ends the opening
    Duration briefLimit{0};         ///< for each command of a brief opening
};

/// Whether a command may be sent again after it may have been executed.
enum class Repeat { Never, Safe };

/// Sends commands and reads acknowledges, one at a time.
///
///   send --> receive --+--> acknowledge of ours: done
///             ^  ^     +--> pending: more time ----------------+
///             |  |     +--> foreign, stale, garbage: drop -----+--> receive again
///             |  +---------------------------------------------+
///             +--- nothing, stall, overflow: resynchronise, and send again what may be sent again
///
/// Thread-safe.
class ControlChannel {
public:
    struct Counters {
        std::atomic<std::uint64_t> readPipeResets{0};
        std::atomic<std::uint64_t> writePipeResets{0};
        std::atomic<std::uint64_t> cameraResets{0};
    };

    /// The handle must outlive the channel; the control interface must be claimed.
    ControlChannel(usb::Handle& handle, const u3v::Endpoint& out, const u3v::Endpoint& in, Counters& counters,
                   const ControlTiming& timing);

    /// Clears what a predecessor left and reads the first register until the camera answers or the limit is over; then
    /// resets the camera's port and tries once more. VX_E_USB_NO_DEVICE when it came back as another device.
    [[nodiscard]] VxStatus Connect(const Deadline& whole) TAVIX_EXCLUDES(m_Lock);
    /// The camera has been opened: it gets the time of a camera that answers.
    void Trust() { m_IsBrief = false; }
    /// The camera did not answer, and nobody should wait for it for long.
    bool IsGivenUp() const { return m_IsBrief || m_IsSilent; }

    /// Resets the camera's port and connects again. VX_E_USB_NO_DEVICE when it came back as another device.
    [[nodiscard]] VxStatus ResetCamera() TAVIX_EXCLUDES(m_Lock);

    /// What the camera states: its response time, and the largest command and acknowledge, head included. Implausible
    /// sizes are replaced by the packet size.
    void SetResponseTime(std::uint32_t milliseconds) { m_ResponseTime = milliseconds; }
    void SetLimits(std::uint32_t maxCommand, std::uint32_t maxAcknowledge) TAVIX_EXCLUDES(m_Lock);
    void SetFloor(std::uint32_t milliseconds) { m_Floor = milliseconds; }
    void SetLastingFloor(std::uint32_t milliseconds) { m_LastingFloor = milliseconds; }
    /// A stream of the camera runs from now on, or does no more.
    void StreamStarts() { ++m_Streams; }
    void StreamEnds() { --m_Streams; }

    /// Most data bytes that one command can read (write); multiples of 4.
    std::size_t MaxRead() const { return m_MaxRead; }
    std::size_t MaxWrite() const { return m_MaxWrite; }

    /// Time for an ordinary answer.
    ControlTiming::Duration Timeout() const;
    /// For an access of many commands.
    Deadline WholeAccess() const;

    /// One command with all its tries. `count` is at most MaxRead (MaxWrite). A failure that the camera states comes
    /// back as VX_E_DEVICE_STATUS_BASE with its code.
    [[nodiscard]] VxStatus Read(std::uint64_t address, std::uint8_t* data, std::size_t count, const Deadline& whole)
        TAVIX_EXCLUDES(m_Lock);
    [[nodiscard]] VxStatus Write(std::uint64_t address, u3v::ByteView data, Repeat repeat, const Deadline& whole)
        TAVIX_EXCLUDES(m_Lock);

private:
    using Duration = ControlTiming::Duration;

    /// For a try of a command.
    struct Limits {
        Deadline tries;         ///< it is tried no more
        Deadline whole;         ///< it is not even waited for any more
        Duration ordinary;      ///< time for an ordinary answer
        Duration timeout;       ///< time for the answer to this command
        Clock::TimePoint start; ///< of the try
    };
    /// A command on its way.
    struct Exchange {
        u3v::ByteView command;
        std::uint16_t requestId = 0;
        std::uint16_t expectedAck = 0;
        std::size_t largestAck = 0;
        std::uint8_t* data = nullptr; ///< where a read's bytes go
        std::size_t count = 0;
    };
    /// How an exchange ended.
    struct Outcome {
        VxStatus status = VX_OK;
        bool confused = false;  ///< the channel must be resynchronised before it is used again
        bool delivered = false; ///< the camera may have executed the command
    };

    Duration TimeoutOf(Repeat repeat, Duration ordinary) const;
    Limits LimitsOf(Repeat repeat, const Deadline& whole) const TAVIX_REQUIRES(m_Lock);
    Outcome ReadOnce(std::uint64_t address, std::uint8_t* data, std::size_t count, const Limits& limits)
        TAVIX_REQUIRES(m_Lock);
    Outcome WriteOnce(std::uint64_t address, u3v::ByteView data, const Limits& limits) TAVIX_REQUIRES(m_Lock);
    VxStatus ConnectWithin(Duration limit, const Deadline& whole) TAVIX_REQUIRES(m_Lock);
    VxStatus Reset() TAVIX_REQUIRES(m_Lock);
    template<class Once>
    VxStatus Retry(Once once, Repeat repeat, const Deadline& whole) TAVIX_REQUIRES(m_Lock);
    Duration LimitOfTries(Duration twoAnswers, Clock::TimePoint now) const TAVIX_REQUIRES(m_Lock);
    void NoteSilence(bool isSilent) TAVIX_REQUIRES(m_Lock);
    Duration LookLimit() const;
    Outcome Run(const Exchange& exchange, const Limits& limits) TAVIX_REQUIRES(m_Lock);
    Outcome Send(const Exchange& exchange, Duration timeout) TAVIX_REQUIRES(m_Lock);
    Outcome Receive(const Exchange& exchange, Duration timeout, const Limits& limits) TAVIX_REQUIRES(m_Lock);
    static Outcome Judge(const u3v::Acknowledge& acknowledge, const Exchange& exchange);
    VxStatus Resynchronise(bool forceHalt, const Deadline& end) TAVIX_REQUIRES(m_Lock);
    bool ClearHalts(bool forceHalt) TAVIX_REQUIRES(m_Lock);
    void Drain() TAVIX_REQUIRES(m_Lock);
    std::uint16_t TakeRequestId() TAVIX_REQUIRES(m_Lock);
    VxStatus ReadVersion(const Deadline& end) TAVIX_REQUIRES(m_Lock);

    // constant after construction
    usb::Handle& m_Handle;
    const u3v::Endpoint m_Out;
    const u3v::Endpoint m_In;
    Counters& m_Counters;
    const ControlTiming m_Timing;

    std::atomic<std::uint32_t> m_ResponseTime{0};
    std::atomic<std::uint32_t> m_Floor;
    std::atomic<std::uint32_t> m_LastingFloor;
    std::atomic<int> m_Streams{0};
    std::atomic<bool> m_IsBrief;
    std::atomic<bool> m_IsSilent{false}; ///< it did not even answer when the channel was set right
    std::atomic<std::size_t> m_MaxRead;
    std::atomic<std::size_t> m_MaxWrite;

    Mutex m_Lock;
    std::vector<std::uint8_t> m_Command TAVIX_GUARDED_BY(m_Lock);
    std::vector<std::uint8_t> m_Acknowledge TAVIX_GUARDED_BY(m_Lock);
    std::uint16_t m_NextId TAVIX_GUARDED_BY(m_Lock) = 0;
    Clock::TimePoint m_SilentSince TAVIX_GUARDED_BY(m_Lock){};
    Clock::TimePoint m_RestsUntil TAVIX_GUARDED_BY(m_Lock){}; ///< until then a silent camera is only glanced at
};

} // namespace vexlo
