#include "camera/stream/StreamThread.h"

#include "camera/CallbackScope.h"
#include "core/Threads.h"

#include <tavix/camera/Error.h>

#include <limits>
#include <utility>

namespace Tavix::detail {

StreamThread::StreamThread(std::shared_ptr<Acquisition> acquisition, std::function<void(Image)> callback)
    : m_Acquisition(std::move(acquisition)), m_Callback(std::move(callback)),
      m_KeepsNewest(!m_Callback || m_Acquisition->Options().newestOnly),
      m_Left(m_Acquisition->Options().count > 0 ? m_Acquisition->Options().count
                                                : std::numeric_limits<std::uint64_t>::max()) {}

std::shared_ptr<StreamThread> StreamThread::Start(std::shared_ptr<Acquisition> acquisition,
                                                  std::function<void(Image)> callback) {
    const std::shared_ptr<StreamThread> self(new StreamThread(std::move(acquisition), std::move(callback)));
    // The acquisition calls nobody once Run has stopped it, which is before the thread lets its share go.
    const auto receive = [raw = self.get()](Image image) { raw->Receive(std::move(image)); };
    self->m_Acquisition->Start(self->m_KeepsNewest ? std::function<void(Image)>() : receive);
    try {
        self->m_Thread = StartThread([self] { self->Run(); });
        if (self->m_KeepsNewest && self->m_Callback) {
            const MutexLock guard(self->m_Mutex);
            self->m_Caller = StartThread([self] { self->CallWithNewest(); });
            self->m_IsCalling = true;
        }
    } catch (...) {
        self->m_Acquisition->Shutdown(); // or it would call who is not there
        if (self->m_Thread.joinable()) self->m_Thread.join();
        throw;
    }
    return self;
}

void StreamThread::End() {
    m_Acquisition->Cancel();
    const bool isInCallback = m_Acquisition->IsInCallback();
    for (std::thread* thread : {&m_Thread, &m_Caller}) {
        if (!thread->joinable()) continue;
        if (isInCallback) {
            thread->detach();
        } else {
            thread->join();
        }
    }
}

void StreamThread::Run() {
    const std::chrono::milliseconds timeout = m_Acquisition->ImageTimeout();
    try {
        while (!m_Acquisition->IsCancelled()) {
            Image image = m_Acquisition->Take(timeout, Acquisition::Absence::IsForgiven);
            if (image) {
                Deliver(std::move(image));
            } else if (!m_Acquisition->IsRunning()) {
                break;
            } else if (m_Callback && !m_Acquisition->IsCancelled()) {
                throw Timeout("no image came for " + std::to_string(timeout.count()) + " ms; " +
                              m_Acquisition->WhySilent());
            }
        }
    } catch (...) {
        Fail(std::current_exception());
    }
    m_Acquisition->Shutdown();
    const MutexLock guard(m_Mutex);
    m_HasEnded = true;
    m_Changed.notify_all();
}

/// The first failure is the one to tell.
void StreamThread::Fail(std::exception_ptr failure) {
    const MutexLock guard(m_Mutex);
    if (!m_Failure) m_Failure = std::move(failure);
}

[[gnu::hot]] void StreamThread::Receive(Image image) noexcept {
    m_Acquisition->HandOut(image);
    if (!Call(std::move(image))) return;
    const MutexLock guard(m_Mutex);
    if (--m_Left == 0) m_Acquisition->Cancel();
}

[[gnu::hot]] bool StreamThread::Call(Image image) noexcept {
    try {
        const CallbackScope scope(m_Acquisition.get());
        const SignalsAsStarted guard;
        m_Callback(std::move(image));
        return true;
    } catch (...) {
        Fail(std::current_exception());
        m_Acquisition->Cancel();
        return false;
    }
}

void StreamThread::CallWithNewest() noexcept {
    MutexLock guard(m_Mutex);
    for (;;) {
        while (!m_Newest && !m_HasEnded)
            guard.Wait(m_Changed);
        if (!m_Newest || m_Acquisition->IsCancelled()) break;
        Image image = std::move(m_Newest);
        m_Acquisition->HandOut(image); // under the lock, since the other thread drops
        guard.Unlock();
        Call(std::move(image));
        guard.Lock();
        if (--m_Left == 0) m_Acquisition->Cancel();
    }
    m_IsCalling = false;
    m_Changed.notify_all();
}

void StreamThread::Deliver(Image image) {
    if (!m_KeepsNewest) return Receive(std::move(image));
    const MutexLock guard(m_Mutex);
    if (m_Newest) m_Acquisition->Drop(std::move(m_Newest));
    m_Newest = std::move(image);
    m_Changed.notify_all();
}

bool StreamThread::Wait(MutexLock& guard, const Deadline& deadline) {
    if (deadline) return guard.WaitUntil(m_Changed, *deadline);
    guard.Wait(m_Changed);
    return true;
}

void StreamThread::RethrowFailure() {
    if (m_Failure) std::rethrow_exception(std::exchange(m_Failure, nullptr));
}

Image StreamThread::Take(const Deadline& deadline) {
    if (m_Callback) throw StateError("the images of this stream go to its callback");
    MutexLock guard(m_Mutex);
    while (!m_Newest && !m_HasEnded)
        if (!Wait(guard, deadline)) break;
    if (!m_Newest && !m_HasEnded) return {};
    Image image = m_Left == 0 ? Image() : std::move(m_Newest); // one may have come after the last
    if (image) {
        m_Acquisition->HandOut(image);
        if (--m_Left == 0) {
            m_HasEnded = true;
            m_Acquisition->Cancel();
        }
        return image;
    }
    RethrowFailure();
    return image;
}

bool StreamThread::Join(const Deadline& deadline) {
    if (m_Acquisition->IsInCallback())
        throw StateError("a callback cannot wait for the end of its own stream; cancel the stream and return");
    MutexLock guard(m_Mutex);
    while (!m_HasEnded || m_IsCalling)
        if (!Wait(guard, deadline)) break;
    if (!m_HasEnded || m_IsCalling) return false;
    RethrowFailure();
    return true;
}

bool StreamThread::HasEnded() const {
    const MutexLock guard(m_Mutex);
    return m_HasEnded;
}

} // namespace Tavix::detail
