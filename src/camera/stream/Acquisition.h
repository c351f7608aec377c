#pragma once
// A stream of images that lives through whatever its camera does.

#include "camera/device/CameraCore.h"
#include "camera/stream/GrabSession.h"
#include "camera/stream/ImageNumbers.h"
#include "camera/stream/MissedBlocks.h"
#include "tavix/StreamCallback.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <optional>

namespace Tavix::detail {

/// The moment until which somebody waits; none: for ever.
using Deadline = std::optional<std::chrono::steady_clock::time_point>;
/// A negative time is for ever.
Deadline DeadlineIn(std::chrono::milliseconds time);

/// Takes images from one camera. Take and HandOut are for one thread each; the rest is thread-safe.
///
/// With a receiver, and a grabber that calls back, images go to the receiver on the grabber's thread, and Take only
/// looks after the stream: it feeds it when it starves and follows a camera that goes.
class Acquisition final : public std::enable_shared_from_this<Acquisition>, private IStreamResultSink {
public:
    /// Whether the time that a camera is away counts against a deadline.
    enum class Absence { Counts, IsForgiven };

    Acquisition(std::shared_ptr<CameraCore> core, const GrabOptions& options);
    ~Acquisition();
    Acquisition(const Acquisition&) = delete;
    Acquisition& operator=(const Acquisition&) = delete;

    /// StateError when the camera streams already. One that goes meanwhile is waited for by Take, as one that goes
    /// later. The receiver, which may be empty, lets no exception out.
    void Start(std::function<void(Image)> receiver);
    /// The next image, not yet handed out; empty when the stream is cancelled or the time is over, which a negative one
    /// never is. Removed when the camera is gone for good, Error when it fails.
    Image Take(std::chrono::milliseconds timeout, Absence absence);
    /// How long the application is ready to wait for an image.
    std::chrono::milliseconds ImageTimeout() const;
    /// Numbers an image that the application is about to get.
    void HandOut(Image& image);
    /// Counts an image that a newer one replaces.
    void Drop(Image image);
    void Cancel() noexcept;
    bool IsCancelled() const { return m_IsCancelled; }
    /// False once it has stopped for good.
    bool IsRunning() const { return m_IsRunning; }
    /// Stops the camera, once nobody is inside Take.
    void Shutdown();
    GrabCounts Counts() const;
    std::string FirstDefect() const;
    const GrabOptions& Options() const { return m_Options; }

private:
    struct Counters {
        std::atomic<std::uint64_t> delivered{0}, dropped{0}, failed{0}, missed{0}, starved{0}, reconnects{0};
        std::atomic<std::size_t> buffers{0}, memory{0}, mapped{0};
    };

    void OnResult(const GrabResult& result) noexcept override;
    void StartOrSeek();
    /// `lastArrival`: of an image, or what stands for it.
    void StartSession(std::chrono::steady_clock::time_point lastArrival);
    void StopSession();
    /// From the thread that calls Take, which alone makes buffers: the grabber's own must not wait for the grabber.
    void Feed();
    void CountMemory(const GrabSession& session);
    void QueueReturned(GrabSession& session);
    /// Queues what came back on the grabber's thread, and wakes the other one if that is not enough.
    void FeedFromSink(GrabSession& session);
    void NoteStarvation(GrabSession& session);
    std::size_t EnoughQueued() const { return (m_Options.buffers + 1) / 2; }
    /// An image that is there; empty for none.
    Image TakeReady();
    Image AwaitImage(Deadline deadline, Absence absence);
    Image TakeResult();
    Image Accept(GrabSession& session, Frame& frame, const GrabResult& result);
    bool HasSign(std::chrono::steady_clock::time_point since) const;
    void CountFailed(const GrabSession& session, const Frame& frame);
    /// Waits until there is something to do. False when the time is over.
    bool Await(const Deadline& deadline);
    void OnFailure(const std::exception& failure);
    void Lose();
    /// Of a camera that has gone: false when nothing that it sent before is still to come.
    bool AwaitRest() const;
    /// One try to have the camera back. Removed when the time for it is over.
    void SeekCamera(const Deadline& deadline);
    bool IsUnplugged() const { return m_Session && m_Session->Device()->GetRemoval().HasHappened(); }

    const std::shared_ptr<CameraCore> m_Core;
    const GrabOptions m_Options;
    const WaitObjectEx m_Alarm = WaitObjectEx::Create(/*manualReset=*/true);
    std::atomic<bool> m_IsCancelled{false}, m_IsRunning{false};
    Counters m_Counts;

    std::function<void(Image)> m_Receiver;     // constant once started; may be empty
    std::atomic<GrabSession*> m_Live{nullptr}; // set before the stream's thread starts, cleared when it has ended
    std::atomic<std::int64_t> m_LastSign{0};   // when an image came last, or the stream began
    std::mutex m_Feeding; // held while buffers are queued and added; the grabber's thread never waits for it

    mutable std::mutex m_DefectMutex;
    std::string m_FirstDefect; // guarded by m_DefectMutex

    std::mutex m_Inside; // held by Take, and by who stops; what follows is guarded by it
    std::shared_ptr<FramePool> m_Pool;
    std::unique_ptr<GrabSession> m_Session;
    std::shared_ptr<HostClock> m_Clock;
    WaitObjects m_Events;
    std::shared_ptr<const FrameOrigin> m_Origin;
    bool m_IsGoing = false; // the camera has left, and what it sent before is still handed out
    bool m_IsAttached = false, m_IsAway = false, m_IsStarving = false;
    MissedBlocks m_Missed;
    std::chrono::steady_clock::time_point m_LastArrival, m_AwaySince;
    bool m_HasGap = false;

    ImageNumbers m_Numbers; // of the thread that hands out
};

} // namespace Tavix::detail
