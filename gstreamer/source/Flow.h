#pragma once
// The camera's stream as a pipeline runs and interrupts it.

#include "core/Mutex.h"
#include "gstreamer/element/Options.h"

#include <tavix/camera/Camera.h>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <optional>
#include <string>

namespace tavixgst {

/// Next is for the pipeline's thread; the rest is thread-safe.
class Flow {
public:
    /// The next image; empty when none came in that time, when the wait was interrupted, or when there was a pause that
    /// the caller does not know of. Starts the camera when it does not stream. Throws as ImageStream does.
    Tavix::Image Next(Tavix::Camera& camera, const Options& options, std::chrono::milliseconds timeout);
    /// From now on the caller knows of all pauses so far, and looks at what the camera is set to before the next image.
    void NoticePauses() noexcept;
    /// Ends a wait at once, and those to come until Resume.
    void Interrupt() noexcept;
    void Resume() noexcept;
    bool IsInterrupted() const;
    /// Stops the camera, once nobody waits. The next image starts it again.
    void Stop() noexcept;
    /// Of the present stream, or of the last one.
    Tavix::GrabCounts Counts() const;
    bool IsRunning() const;
    /// What to do when no image comes, in words without a full stop.
    std::string WhySilent() const;

    /// While it lives the camera does not stream, and the pipeline's thread waits for it to end.
    class Pause {
    public:
        explicit Pause(Flow& flow);
        ~Pause();
        Pause(const Pause&) = delete;
        Pause& operator=(const Pause&) = delete;

    private:
        Flow& m_Flow;
    };

private:
    class Visit;
    /// Tells the stream that runs, if one does: who is inside may use it without the lock.
    bool Enter(Tavix::ImageStream*& stream);
    void Leave() noexcept;
    Tavix::ImageStream& Begin(Tavix::Camera& camera, const Options& options);
    void End() noexcept TAVIX_REQUIRES(m_Mutex);
    void BeginPause();
    void EndPause();

    mutable Tavix::Mutex m_Mutex;
    std::condition_variable m_Changed;
    std::unique_ptr<Tavix::ImageStream> m_Stream TAVIX_GUARDED_BY(m_Mutex);
    Tavix::GrabCounts m_LastCounts TAVIX_GUARDED_BY(m_Mutex);
    unsigned int m_Pauses TAVIX_GUARDED_BY(m_Mutex) = 0;
    bool m_IsPauseNew TAVIX_GUARDED_BY(m_Mutex) = false; // the pipeline's thread has not noticed it
    bool m_IsInside TAVIX_GUARDED_BY(m_Mutex) = false;
    bool m_IsInterrupted TAVIX_GUARDED_BY(m_Mutex) = false;
};

} // namespace tavixgst
