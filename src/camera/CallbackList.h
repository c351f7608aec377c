#pragma once
// The callbacks of one occasion.

#include "camera/CallbackScope.h"
#include "camera/CameraLog.h"
#include "camera/Failure.h"
#include "core/Mutex.h"
#include "core/Threads.h"

#include <tavix/camera/Subscription.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

namespace Tavix::detail {

/// Knows when a callback runs, so that its end can be waited for without a lock being held while it runs. Thread-safe.
class CallGate {
public:
    /// False once Close was called; otherwise Leave must follow.
    bool Enter() {
        const MutexLock guard(m_Mutex);
        if (m_IsClosed) return false;
        m_Running.push_back(std::this_thread::get_id());
        return true;
    }
    /// True when nobody is inside or will ever be.
    bool Leave() {
        const MutexLock guard(m_Mutex);
        m_Running.erase(std::find(m_Running.begin(), m_Running.end(), std::this_thread::get_id()));
        m_Left.notify_all();
        return m_IsClosed && m_Running.empty();
    }
    /// Nobody enters any more; waits for those inside, the calling thread's own calls apart. True without such.
    bool Close() {
        MutexLock guard(m_Mutex);
        m_IsClosed = true;
        const auto self = std::this_thread::get_id();
        while (std::any_of(m_Running.begin(), m_Running.end(), [&](std::thread::id id) { return id != self; }))
            guard.Wait(m_Left);
        return m_Running.empty();
    }
    bool IsClosed() const {
        const MutexLock guard(m_Mutex);
        return m_IsClosed;
    }

private:
    mutable Mutex m_Mutex;
    std::condition_variable m_Left;
    bool m_IsClosed TAVIX_GUARDED_BY(m_Mutex) = false;
    std::vector<std::thread::id> m_Running TAVIX_GUARDED_BY(m_Mutex);
};

/// One registered callback. What it lets out is logged, and what it holds goes when it has ended, by whoever is last.
/// Thread-safe.
template<class... Args>
class GuardedCallback {
public:
    explicit GuardedCallback(std::function<void(Args...)> function) : m_Function(std::move(function)) {}

    void Call(Args... args) noexcept {
        if (!m_Gate.Enter()) return;
        Attempt("A callback of the application", [&] {
            const SignalsAsStarted guard;
            const CallbackScope scope(this);
            m_Function(args...);
        });
        if (m_Gate.Leave()) LetGo();
    }
    void End() {
        if (m_Gate.Close()) LetGo();
    }
    bool HasEnded() const { return m_Gate.IsClosed(); }

private:
    void LetGo() {
        if (!m_IsLetGo.exchange(true)) m_Function = nullptr;
    }

    CallGate m_Gate;
    std::function<void(Args...)> m_Function; // written once nobody is inside or will ever be
    std::atomic<bool> m_IsLetGo{false};
};

/// Callbacks in the order of their registration. Thread-safe.
template<class... Args>
class CallbackList {
public:
    using Callback = GuardedCallback<Args...>;

    Subscription Add(std::function<void(Args...)> function) {
        auto callback = std::make_shared<Callback>(std::move(function));
        const MutexLock guard(m_Mutex);
        m_Callbacks.erase(
            std::remove_if(m_Callbacks.begin(), m_Callbacks.end(), [](const auto& old) { return old->HasEnded(); }),
            m_Callbacks.end());
        m_Callbacks.push_back(callback);
        return Subscription([callback] { callback->End(); });
    }
    void Call(Args... args) noexcept {
        for (const auto& callback : All())
            callback->Call(args...);
    }
    /// No callback runs or will run once this returns, those of the calling thread apart.
    void EndAll() {
        for (const auto& callback : All())
            callback->End();
    }

private:
    std::vector<std::shared_ptr<Callback>> All() const {
        const MutexLock guard(m_Mutex);
        return m_Callbacks;
    }

    mutable Mutex m_Mutex;
    std::vector<std::shared_ptr<Callback>> m_Callbacks TAVIX_GUARDED_BY(m_Mutex);
};

} // namespace Tavix::detail
