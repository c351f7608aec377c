#pragma once
// The camera's stream as a pipeline runs and interrupts it.

#include "gstreamer/element/Options.h"

#include <tavix/camera/Camera.h>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace tavixgst {

/// Next is for the pipeline's thread; the rest is thread-safe.
class Flow {
public:
    /// The next image; empty when none came in that time or the wait was interrupted. Starts the camera when it does
    /// not stream. Throws as ImageStream does.
    Tavix::Image Next(Tavix::Camera& camera, const Options& options, std::chrono::milliseconds timeout);
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
    bool Enter();
    void Leave() noexcept;
    void Begin(Tavix::Camera& camera, const Options& options);
    void End(std::unique_lock<std::mutex>& lock) noexcept;

    mutable std::mutex m_Mutex;
    std::condition_variable m_Changed;
    // Guarded by m_Mutex; who is inside may use the stream without it.
    std::unique_ptr<Tavix::ImageStream> m_Stream;
    Tavix::GrabCounts m_LastCounts;
    unsigned int m_Pauses = 0;
    bool m_IsInside = false, m_IsInterrupted = false;
};

} // namespace tavixgst
