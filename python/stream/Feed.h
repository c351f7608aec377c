#pragma once
// A running stream for an event loop, which watches a descriptor instead of waiting.

#include "core/Mutex.h"
#include "python/stream/Belt.h"
#include "python/threads/Ending.h"
#include "python/threads/Errand.h"

#include <thread>

namespace tavixpython {

/// A thread of its own waits for the next image. Every call is made with the interpreter's lock held.
template<class Source>
class Feed {
public:
    using Item = typename Belt<Source>::Item;

    explicit Feed(Started<Source> started)
        : m_Silence(started.silence),
          m_Belt(std::make_shared<Belt<Source>>(std::move(started.stream), !started.newestOnly)),
          m_Thread([belt = m_Belt] { belt->Run(); }), m_Id(m_Thread.get_id()) {}
    ~Feed() {
        Close();
        if (m_Thread.joinable()) Part(std::move(m_Thread));
    }
    Feed(const Feed&) = delete;
    Feed& operator=(const Feed&) = delete;

    std::chrono::milliseconds Silence() const { return m_Silence; }
    /// Readable when Take() has something to say.
    int Descriptor() const { return m_Belt->Descriptor(); }
    bool HasEnded() const { return m_Belt->HasEnded(); }

    /// What came, nothing when it did not come yet or at the end. Throws what ended the stream.
    std::optional<Item> Take() {
        LeaveAtEnd();
        return m_Belt->Take();
    }

    /// Returns when the cameras were stopped and the thread has ended, in a callback on that thread before it. Closing
    /// twice is harmless.
    void Close() {
        if (IsLeftToParent()) return;
        const WithoutLock unlocked;
        m_Belt->Stop();
        if (m_Id == std::this_thread::get_id()) return;
        const Tavix::MutexLock closing(m_Closing);
        if (!m_Thread.joinable()) return;
        m_Thread.join();
        m_Belt->Release();
    }

    /// 'running', 'ended' or 'closed'.
    const char* Standing() const {
        if (IsLeftToParent()) return "closed";
        const WithoutLock unlocked;
        return !m_Belt->Held() ? "closed" : m_Belt->HasEnded() ? "ended" : "running";
    }

    /// What to do when nothing comes; nothing once closed.
    std::string Why() const {
        const WithoutLock unlocked;
        const auto stream = m_Belt->Held();
        return stream ? WhySilent(*stream) : std::string();
    }

    /// Those of its end once closed.
    CountsOf<Source> Counts() const {
        const WithoutLock unlocked;
        return m_Belt->Counts();
    }

    /// That of its end once closed.
    std::string FirstDefect() const {
        const WithoutLock unlocked;
        return m_Belt->FirstDefect();
    }

private:
    // From the thread that destroys its own feed, in a callback: it ends after that, and an errand joins it.
    static void Part(std::thread own) noexcept {
        auto thread = std::make_shared<std::thread>(std::move(own));
        try {
            SendOut([thread] { thread->join(); }).detach();
        } catch (const std::exception&) {
            thread->detach(); // what it uses is its own, too
        }
    }

    const std::chrono::milliseconds m_Silence;
    const std::shared_ptr<Belt<Source>> m_Belt;
    Tavix::Mutex m_Closing; // held while the thread is joined
    std::thread m_Thread TAVIX_GUARDED_BY(m_Closing);
    const std::thread::id m_Id;
};

} // namespace tavixpython
