#pragma once
// A running stream for an event loop, which watches a descriptor instead of waiting.

#include "python/Running.h"
#include "python/Wake.h"

#include <condition_variable>
#include <exception>
#include <thread>

namespace tavixpython {

/// A thread of its own waits for the next image, and knows nothing of the interpreter. Every call is made with the
/// interpreter's lock held.
template<class Source>
class Feed {
public:
    using Item = typename Running<Source>::Item;

    explicit Feed(Started<Source> started)
        : m_Silence(started.silence), m_Stream(std::move(started.stream)), m_Thread([this] { Run(); }) {}
    ~Feed() { Close(); }
    Feed(const Feed&) = delete;
    Feed& operator=(const Feed&) = delete;

    std::chrono::milliseconds Silence() const { return m_Silence; }
    /// Readable when Take() has something to say.
    int Descriptor() const { return m_Wake.Descriptor(); }
    bool HasEnded() const {
        const std::lock_guard lock(m_Guard);
        return !m_Item && m_HasEnded;
    }

    /// What came, nothing when it did not come yet or at the end. Throws what ended the stream.
    std::optional<Item> Take() {
        LeaveAtEnd();
        const std::lock_guard lock(m_Guard);
        if (!m_Item && m_Error) std::rethrow_exception(std::exchange(m_Error, nullptr));
        std::optional<Item> taken = std::exchange(m_Item, std::nullopt);
        if (!m_HasEnded) m_Wake.Reset();
        m_Changed.notify_all();
        return taken;
    }

    /// Returns when the cameras were stopped and the thread has ended, in a callback on that thread before it. Closing
    /// twice is harmless.
    void Close() {
        if (IsLeftToParent()) return;
        const WithoutLock unlocked;
        const std::lock_guard closing(m_Closing);
        if (!m_Stream) return;
        m_Stream->Cancel();
        {
            const std::lock_guard lock(m_Guard);
            m_IsClosed = true;
            m_Item.reset();
            m_Changed.notify_all();
        }
        if (m_Thread.get_id() == std::this_thread::get_id()) return;
        m_Thread.join();
        m_LastCounts.emplace(m_Stream->Counts());
        m_Stream.reset();
    }

    /// What to do when nothing comes; nothing once closed.
    std::string Why() const {
        const WithoutLock unlocked;
        const std::lock_guard closing(m_Closing);
        return m_Stream ? WhySilent(*m_Stream) : std::string();
    }

    /// Those of its end once closed.
    CountsOf<Source> Counts() const {
        const WithoutLock unlocked;
        const std::lock_guard closing(m_Closing);
        return m_Stream ? m_Stream->Counts() : *m_LastCounts;
    }

private:
    // False when there will be no more.
    bool Offer(Item item) {
        std::unique_lock lock(m_Guard);
        if (m_IsClosed || !HasCome(item)) return false;
        m_Item.emplace(std::move(item));
        m_Wake.Set();
        m_Changed.wait(lock, [&] { return !m_Item || m_IsClosed; });
        return !m_IsClosed;
    }

    void Run() noexcept {
        std::exception_ptr error;
        try {
            while (Offer(m_Stream->Wait(std::chrono::milliseconds(-1)))) {
            }
        } catch (...) {
            error = std::current_exception();
        }
        const std::lock_guard lock(m_Guard);
        m_Error = error;
        m_HasEnded = true;
        m_Wake.Set();
    }

    const std::chrono::milliseconds m_Silence;
    Wake m_Wake;
    mutable std::mutex m_Closing;
    std::optional<Source> m_Stream; // guarded by m_Closing, besides the thread's
    std::optional<CountsOf<Source>> m_LastCounts;
    mutable std::mutex m_Guard; // of all below, never held for long
    std::condition_variable m_Changed;
    std::optional<Item> m_Item;
    std::exception_ptr m_Error;
    bool m_HasEnded = false;
    bool m_IsClosed = false;
    std::thread m_Thread; // last: it uses all the others
};

} // namespace tavixpython
