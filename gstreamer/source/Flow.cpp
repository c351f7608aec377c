#include "gstreamer/source/Flow.h"

#include <utility>

namespace tavixgst {

/// The pipeline's thread with the stream.
class Flow::Visit {
public:
    explicit Visit(Flow& flow) : m_Flow(flow), m_IsInside(flow.Enter()) {}
    ~Visit() {
        if (m_IsInside) m_Flow.Leave();
    }
    Visit(const Visit&) = delete;
    Visit& operator=(const Visit&) = delete;
    explicit operator bool() const { return m_IsInside; }

private:
    Flow& m_Flow;
    const bool m_IsInside;
};

Tavix::Image Flow::Next(Tavix::Camera& camera, const Options& options, std::chrono::milliseconds timeout) {
    const Visit visit(*this);
    if (!visit) return {};
    if (!m_Stream) Begin(camera, options);
    return m_Stream->Wait(timeout);
}

bool Flow::Enter() {
    std::unique_lock lock(m_Mutex);
    m_Changed.wait(lock, [this] { return (m_Pauses == 0 && !m_IsInside) || m_IsInterrupted; });
    if (m_IsInterrupted) return false;
    m_IsInside = true;
    return true;
}

void Flow::Leave() noexcept {
    std::unique_lock lock(m_Mutex);
    m_IsInside = false;
    if (m_Stream && m_Stream->HasEnded()) End(lock);
    m_Changed.notify_all();
}

void Flow::Begin(Tavix::Camera& camera, const Options& options) {
    auto stream = std::make_unique<Tavix::ImageStream>(camera.Grab(options.ForGrab()));
    const std::lock_guard lock(m_Mutex);
    m_Stream = std::move(stream);
    if (m_IsInterrupted || m_Pauses != 0) m_Stream->Cancel(); // asked for while the camera was being started
}

void Flow::End(std::unique_lock<std::mutex>& lock) noexcept {
    if (!m_Stream) return;
    m_LastCounts = m_Stream->Counts();
    std::unique_ptr<Tavix::ImageStream> ended = std::move(m_Stream);
    m_IsInside = true; // nobody starts another one before this one has ended
    lock.unlock();
    ended.reset();
    lock.lock();
    m_IsInside = false;
    m_Changed.notify_all();
}

void Flow::Interrupt() noexcept {
    const std::lock_guard lock(m_Mutex);
    m_IsInterrupted = true;
    if (m_Stream) m_Stream->Cancel();
    m_Changed.notify_all();
}

void Flow::Resume() noexcept {
    const std::lock_guard lock(m_Mutex);
    m_IsInterrupted = false;
}

bool Flow::IsInterrupted() const {
    const std::lock_guard lock(m_Mutex);
    return m_IsInterrupted;
}

void Flow::Stop() noexcept {
    std::unique_lock lock(m_Mutex);
    m_Changed.wait(lock, [this] { return !m_IsInside; });
    End(lock);
}

Tavix::GrabCounts Flow::Counts() const {
    const std::lock_guard lock(m_Mutex);
    return m_Stream ? m_Stream->Counts() : m_LastCounts;
}

bool Flow::IsRunning() const {
    const std::lock_guard lock(m_Mutex);
    return m_Stream != nullptr;
}

std::string Flow::WhySilent() const {
    const std::lock_guard lock(m_Mutex);
    return m_Stream ? m_Stream->WhySilent() : "the camera was stopped meanwhile";
}

Flow::Pause::Pause(Flow& flow) : m_Flow(flow) {
    std::unique_lock lock(flow.m_Mutex);
    ++flow.m_Pauses;
    if (flow.m_Stream) flow.m_Stream->Cancel();
    flow.m_Changed.wait(lock, [&] { return !flow.m_IsInside; });
    flow.End(lock);
}

Flow::Pause::~Pause() {
    const std::lock_guard lock(m_Flow.m_Mutex);
    --m_Flow.m_Pauses;
    m_Flow.m_Changed.notify_all();
}

} // namespace tavixgst
