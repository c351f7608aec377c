#include "gstreamer/source/Flow.h"

#include <tavix/camera/Error.h>

#include <utility>

namespace tavixgst {
namespace {

Tavix::ImageStream Started(Tavix::Camera& camera, const Options& options) {
    try {
        return camera.Grab(options.ForGrab());
    } catch (const Tavix::ValueError& problem) {
        throw Tavix::ValueError(options.InTheirWords(problem.what()), problem.FeatureName());
    }
}

} // namespace

/// The pipeline's thread with the stream.
class Flow::Visit {
public:
    explicit Visit(Flow& flow) : m_Flow(flow), m_IsInside(flow.Enter(m_Stream)) {}
    ~Visit() {
        if (m_IsInside) m_Flow.Leave();
    }
    Visit(const Visit&) = delete;
    Visit& operator=(const Visit&) = delete;
    explicit operator bool() const { return m_IsInside; }
    /// The one that ran when the visit began; null: none.
    Tavix::ImageStream* Stream() const { return m_Stream; }

private:
    Flow& m_Flow;
    Tavix::ImageStream* m_Stream = nullptr;
    const bool m_IsInside;
};

Tavix::Image Flow::Next(Tavix::Camera& camera, const Options& options, std::chrono::milliseconds timeout) {
    const Visit visit(*this);
    if (!visit) return {};
    Tavix::ImageStream& stream = visit.Stream() ? *visit.Stream() : Begin(camera, options);
    return stream.Wait(timeout);
}

bool Flow::Enter(Tavix::ImageStream*& stream) {
    Tavix::MutexLock lock(m_Mutex);
    while ((m_Pauses != 0 || m_IsInside) && !m_IsInterrupted)
        lock.Wait(m_Changed);
    if (m_IsInterrupted || m_IsPauseNew) return false;
    m_IsInside = true;
    stream = m_Stream.get();
    return true;
}

void Flow::Leave() noexcept {
    const Tavix::MutexLock lock(m_Mutex);
    m_IsInside = false;
    if (m_Stream && m_Stream->HasEnded()) End();
    m_Changed.notify_all();
}

Tavix::ImageStream& Flow::Begin(Tavix::Camera& camera, const Options& options) {
    auto stream = std::make_unique<Tavix::ImageStream>(Started(camera, options));
    const Tavix::MutexLock lock(m_Mutex);
    m_Stream = std::move(stream);
    if (m_IsInterrupted || m_Pauses != 0) m_Stream->Cancel(); // asked for while the camera was being started
    return *m_Stream;
}

/// Leaves the lock meanwhile.
void Flow::End() noexcept {
    if (!m_Stream) return;
    m_LastCounts = m_Stream->Counts();
    std::unique_ptr<Tavix::ImageStream> ended = std::move(m_Stream);
    m_IsInside = true; // nobody starts another one before this one has ended
    m_Mutex.unlock();
    ended.reset();
    m_Mutex.lock();
    m_IsInside = false;
    m_Changed.notify_all();
}

void Flow::NoticePauses() noexcept {
    const Tavix::MutexLock lock(m_Mutex);
    if (m_Pauses == 0) m_IsPauseNew = false;
}

void Flow::Interrupt() noexcept {
    const Tavix::MutexLock lock(m_Mutex);
    m_IsInterrupted = true;
    if (m_Stream) m_Stream->Cancel();
    m_Changed.notify_all();
}

void Flow::Resume() noexcept {
    const Tavix::MutexLock lock(m_Mutex);
    m_IsInterrupted = false;
}

bool Flow::IsInterrupted() const {
    const Tavix::MutexLock lock(m_Mutex);
    return m_IsInterrupted;
}

void Flow::Stop() noexcept {
    Tavix::MutexLock lock(m_Mutex);
    while (m_IsInside)
        lock.Wait(m_Changed);
    End();
}

Tavix::GrabCounts Flow::Counts() const {
    const Tavix::MutexLock lock(m_Mutex);
    return m_Stream ? m_Stream->Counts() : m_LastCounts;
}

bool Flow::IsRunning() const {
    const Tavix::MutexLock lock(m_Mutex);
    return m_Stream != nullptr;
}

std::string Flow::WhySilent() const {
    const Tavix::MutexLock lock(m_Mutex);
    return m_Stream ? m_Stream->WhySilent() : "the camera was stopped meanwhile";
}

void Flow::BeginPause() {
    Tavix::MutexLock lock(m_Mutex);
    ++m_Pauses;
    m_IsPauseNew = true;
    if (m_Stream) m_Stream->Cancel();
    while (m_IsInside)
        lock.Wait(m_Changed);
    End();
}

void Flow::EndPause() {
    const Tavix::MutexLock lock(m_Mutex);
    --m_Pauses;
    m_Changed.notify_all();
}

Flow::Pause::Pause(Flow& flow) : m_Flow(flow) {
    m_Flow.BeginPause();
}

Flow::Pause::~Pause() {
    m_Flow.EndPause();
}

} // namespace tavixgst
