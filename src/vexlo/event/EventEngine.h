#pragma once
// Keeps the event channel's transfers in flight and puts what arrives into the ring.

#include "vexlo/device/DeviceSession.h"
#include "vexlo/event/EventRing.h"

#include <functional>
#include <memory>
#include <vector>

namespace vexlo {

/// The event channel between Open and Close.
///
///   running --stall, error--> recovering --all transfers back, halt cleared, enabled again--> running
///      |                          `--- camera gone, or too often in a row ---> ended
///      `------ camera gone ---------------------------------------------------> ended
///
/// Thread-safe.
class EventEngine final : public PumpClient {
public:
    struct Settings {
        std::uint32_t buffers = 0;
        std::uint32_t maxQueuedTransfers = 0;
        int priority = 0;
        std::uint32_t largestMessage = EventRing::kLargestMessage;
    };

    EventEngine() = default;
    ~EventEngine() override = default;

    // Life. The caller makes sure that these don't overlap. The session's camera must have events, and the interface
    // must be claimed; the session must live until Stop.
    [[nodiscard]] VxStatus Start(DeviceSession& session, const Settings& settings) TAVIX_EXCLUDES(m_Lock);
    [[nodiscard]] VxStatus Stop() TAVIX_EXCLUDES(m_Lock);
    /// Asks the camera for test events. Between Start and Stop.
    [[nodiscard]] VxStatus Trigger(unsigned int count);

    // At any time.
    [[nodiscard]] VxStatus Take(void* buffer, unsigned long& size, std::size_t& pending) TAVIX_EXCLUDES(m_Lock);
    void SetWaitObject(std::shared_ptr<Tavix::_WaitObjectPosix_t> waitObject) TAVIX_EXCLUDES(m_Lock);
    /// Told on the pump's thread of an end that nobody asked for, under no lock; may be empty.
    void SetEndListener(std::function<void(VxStatus)> listener) TAVIX_EXCLUDES(m_Lock);
    EventRing::Counts Counts() const TAVIX_EXCLUDES(m_Lock);
    std::uint32_t TransferLength() const TAVIX_EXCLUDES(m_Lock);

    Clock::time_point Service() override TAVIX_EXCLUDES(m_Lock);
    void CameraGone() override TAVIX_EXCLUDES(m_Lock);

private:
    enum class Phase { Stopped, Running, Recovering, Ended };
    struct Slot {
        usb::Transfer transfer;
        std::vector<std::uint8_t> bytes;
        EventEngine* engine = nullptr;
        bool inFlight = false;
    };

    static void TransferCompleted(usb::Transfer& transfer);
    void Complete(Slot& slot) TAVIX_EXCLUDES(m_Lock);
    void Submit(Slot& slot, Alarm& alarm) TAVIX_REQUIRES(m_Lock);
    void SubmitAll(Alarm& alarm) TAVIX_REQUIRES(m_Lock);
    void Leave(Phase phase) TAVIX_REQUIRES(m_Lock);
    void End(VxStatus reason, Alarm& alarm) TAVIX_REQUIRES(m_Lock);
    void WaitUntilIdle(MutexLock& lock) TAVIX_REQUIRES(m_Lock);
    [[nodiscard]] VxStatus MakeSlots(const Settings& settings, std::uint32_t length) TAVIX_EXCLUDES(m_Lock);
    [[nodiscard]] VxStatus Launch() TAVIX_EXCLUDES(m_Lock);
    [[nodiscard]] VxStatus Enable(bool enabled);
    [[nodiscard]] VxStatus ClearHalt();
    Clock::time_point RecoverInTime() TAVIX_EXCLUDES(m_Lock);
    bool GivesUp() TAVIX_EXCLUDES(m_Lock);
    void Recover() TAVIX_EXCLUDES(m_Lock);
    void TellOfEnd() TAVIX_EXCLUDES(m_Lock);

    // constant from Start to Stop
    DeviceSession* m_Session = nullptr;
    u3v::Endpoint m_Endpoint;
    std::uint64_t m_Base = 0;

    mutable Mutex m_Lock;
    std::condition_variable m_Changed; ///< a transfer has come back
    Phase m_Phase TAVIX_GUARDED_BY(m_Lock) = Phase::Stopped;
    EventRing m_Ring TAVIX_GUARDED_BY(m_Lock);
    std::function<void(VxStatus)> m_EndListener TAVIX_GUARDED_BY(m_Lock); ///< may be empty
    VxStatus m_EndNews TAVIX_GUARDED_BY(m_Lock) = VX_OK;                  ///< for the listener
    std::vector<std::unique_ptr<Slot>> m_Slots TAVIX_GUARDED_BY(m_Lock);
    std::size_t m_InFlight TAVIX_GUARDED_BY(m_Lock) = 0;
    VxStatus m_Refusal TAVIX_GUARDED_BY(m_Lock) = VX_OK; ///< why the last transfer could not be queued
    std::uint32_t m_TransferLength TAVIX_GUARDED_BY(m_Lock) = 0;
    int m_RecoveriesInRow TAVIX_GUARDED_BY(m_Lock) = 0;
    bool m_RecoveryRuns TAVIX_GUARDED_BY(m_Lock) = false;
    Clock::time_point m_RecoverAt TAVIX_GUARDED_BY(m_Lock) = Clock::time_point::max();
};

} // namespace vexlo
