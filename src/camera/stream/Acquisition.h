#pragma once
// A stream of images that lives through whatever its camera does.

#include "camera/device/CameraCore.h"
#include "camera/stream/BufferFeed.h"
#include "camera/stream/GrabSession.h"
#include "camera/stream/ImageIntake.h"
#include "camera/stream/ImageNumbers.h"
#include "camera/stream/StreamCounters.h"
#include "camera/time/Deadline.h"
#include "core/Mutex.h"
#include "tavix/StreamCallback.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>

namespace Tavix::detail {

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
    /// Stops the camera, once nobody is inside Take. Called by a callback on an image or on the camera's return, only
    /// cancels: Take comes back by itself, and whoever called it stops the camera.
    void Shutdown();
    /// Whether the calling thread is inside such a callback.
    bool IsInCallback() const;
    GrabCounts Counts() const { return m_Counters.Read(); }
    std::string FirstDefect() const { return m_Counters.FirstDefect(); }
    std::string WhySilent() const;
    const GrabOptions& Options() const { return m_Options; }

private:
    /// One run of the camera's grabber.
    struct Run {
        Run(const std::shared_ptr<OpenDevice>& device, std::shared_ptr<HostClock> hostClock, const GrabOptions& options,
            StreamCounters& counters, std::optional<ImageIntake::Time> awaySince);

        const std::shared_ptr<FramePool> pool = std::make_shared<FramePool>();
        const std::shared_ptr<HostClock> clock;
        GrabSession session;
        ImageIntake intake;
        BufferFeed feed;
    };

    void OnResult(const GrabResult& result) noexcept override;
    void StartOrSeek() TAVIX_REQUIRES(m_Inside);
    /// `awaySince`: of a camera that came back.
    void StartRun(std::optional<ImageIntake::Time> awaySince) TAVIX_REQUIRES(m_Inside);
    void StopRun() TAVIX_REQUIRES(m_Inside);
    void Feed() TAVIX_REQUIRES(m_Inside);
    /// An image that is there; empty for none.
    Image TakeReady() TAVIX_REQUIRES(m_Inside);
    Image AwaitImage(Deadline deadline, Absence absence) TAVIX_REQUIRES(m_Inside);
    Image TakeResult() TAVIX_REQUIRES(m_Inside);
    /// Waits until there is something to do. False when the time is over.
    bool Await(const Deadline& deadline) TAVIX_REQUIRES(m_Inside);
    void OnFailure(const std::exception& failure) TAVIX_REQUIRES(m_Inside);
    void Lose() TAVIX_REQUIRES(m_Inside);
    /// Of a camera that has gone: false when nothing that it sent before is still to come.
    bool AwaitRest() const TAVIX_REQUIRES(m_Inside);
    /// What CameraCore::TryReopen returns, whose callbacks may cancel.
    bool Reopen();
    /// One try to have the camera back. Removed when the time for it is over.
    void SeekCamera(const Deadline& deadline) TAVIX_REQUIRES(m_Inside);
    const Removal& GetRemoval() const TAVIX_REQUIRES(m_Inside) { return m_Run->session.Device()->GetRemoval(); }

    const std::shared_ptr<CameraCore> m_Core;
    const GrabOptions m_Options;
    const WaitObjectEx m_Alarm = WaitObjectEx::Create(/*manualReset=*/true);
    std::atomic<bool> m_IsCancelled{false}, m_IsRunning{false};
    StreamCounters m_Counters;

    std::function<void(Image)> m_Receiver; // constant once started; may be empty
    std::atomic<Run*> m_Live{nullptr};     // set before the stream's thread starts, cleared when it has ended

    Mutex m_Inside; // held by Take, and by who stops
    std::unique_ptr<Run> m_Run TAVIX_GUARDED_BY(m_Inside);
    WaitObjects m_Events TAVIX_GUARDED_BY(m_Inside);
    bool m_IsGoing TAVIX_GUARDED_BY(m_Inside) = false; // the camera has left, and what it sent is still handed out
    bool m_IsAttached TAVIX_GUARDED_BY(m_Inside) = false;
    bool m_IsAway TAVIX_GUARDED_BY(m_Inside) = false;
    ImageIntake::Time m_AwaySince TAVIX_GUARDED_BY(m_Inside);

    ImageNumbers m_Numbers; // of the thread that hands out
};

} // namespace Tavix::detail
