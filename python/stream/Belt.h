#pragma once
// What a feed shares with the thread that waits for images.

#include "core/Mutex.h"
#include "python/stream/Running.h"
#include "python/stream/Wake.h"

#include <condition_variable>
#include <exception>
#include <string>

namespace tavixpython {

/// One place for an image, which the thread fills and an event loop empties: ahead, or, where only the newest image is
/// wanted, once the loop has asked in vain. Knows nothing of the interpreter.
/// Thread-safe.
template<class Source>
class Belt {
public:
    using Item = typename Running<Source>::Item;

    Belt(Source stream, bool isAhead) : m_IsAhead(isAhead), m_Stream(std::make_shared<Source>(std::move(stream))) {}
    Belt(const Belt&) = delete;
    Belt& operator=(const Belt&) = delete;

    /// For the thread: returns when the stream has ended.
    void Run() noexcept {
        std::exception_ptr error;
        try {
            const auto stream = Held();
            while (AwaitDemand() && Offer(stream->Wait(std::chrono::milliseconds(-1)))) {
            }
        } catch (...) {
            error = std::current_exception();
        }
        const Tavix::MutexLock lock(m_Guard);
        m_Error = error;
        m_HasEnded = true;
        m_Wake.Set();
    }

    /// Readable when Take() has something to say.
    int Descriptor() const { return m_Wake.Descriptor(); }
    bool HasEnded() const {
        const Tavix::MutexLock lock(m_Guard);
        return !m_Item && m_HasEnded;
    }

    /// What came, nothing when it did not come yet or at the end. Throws what ended the stream.
    std::optional<Item> Take() {
        const Tavix::MutexLock lock(m_Guard);
        if (!m_Item && m_Error) std::rethrow_exception(std::exchange(m_Error, nullptr));
        std::optional<Item> taken = std::exchange(m_Item, std::nullopt);
        m_IsAwaited = !taken;
        if (!m_HasEnded) m_Wake.Reset();
        m_Changed.notify_all();
        return taken;
    }

    /// Lets Run() return soon.
    void Stop() noexcept {
        if (const auto stream = Held()) stream->Cancel();
        std::optional<Item> left; // goes without the lock, since its memory may want the interpreter's
        const Tavix::MutexLock lock(m_Guard);
        m_IsStopped = true;
        left.swap(m_Item);
        m_Changed.notify_all();
    }

    /// Stops the cameras, once Run() has returned.
    void Release() {
        std::shared_ptr<Source> stream;
        const Tavix::MutexLock lock(m_Guard);
        if (m_Stream) {
            m_LastCounts.emplace(m_Stream->Counts());
            m_FirstDefect = FirstDefectOf(*m_Stream);
        }
        stream.swap(m_Stream);
    }

    /// Null once released.
    std::shared_ptr<Source> Held() const {
        const Tavix::MutexLock lock(m_Guard);
        return m_Stream;
    }
    /// Those of its end once released.
    CountsOf<Source> Counts() const {
        const Tavix::MutexLock lock(m_Guard);
        return m_Stream ? m_Stream->Counts() : *m_LastCounts;
    }
    /// That of its end once released.
    std::string FirstDefect() const {
        const Tavix::MutexLock lock(m_Guard);
        return m_Stream ? FirstDefectOf(*m_Stream) : m_FirstDefect;
    }

private:
    // False when nobody will ask any more.
    bool AwaitDemand() {
        Tavix::MutexLock lock(m_Guard);
        while (!m_IsAhead && !m_IsAwaited && !m_IsStopped)
            lock.Wait(m_Changed);
        return !m_IsStopped;
    }
    // False when there will be no more.
    bool Offer(Item item) {
        Tavix::MutexLock lock(m_Guard);
        if (m_IsStopped || !HasCome(item)) return false;
        m_Item.emplace(std::move(item));
        m_Wake.Set();
        while (m_Item && !m_IsStopped)
            lock.Wait(m_Changed);
        return !m_IsStopped;
    }

    Wake m_Wake;
    const bool m_IsAhead;
    mutable Tavix::Mutex m_Guard; // never held for long
    std::condition_variable m_Changed;
    std::shared_ptr<Source> m_Stream TAVIX_GUARDED_BY(m_Guard);
    std::optional<CountsOf<Source>> m_LastCounts TAVIX_GUARDED_BY(m_Guard);
    std::string m_FirstDefect TAVIX_GUARDED_BY(m_Guard);
    std::optional<Item> m_Item TAVIX_GUARDED_BY(m_Guard);
    std::exception_ptr m_Error TAVIX_GUARDED_BY(m_Guard);
    bool m_HasEnded TAVIX_GUARDED_BY(m_Guard) = false;
    bool m_IsAwaited TAVIX_GUARDED_BY(m_Guard) = false;
    bool m_IsStopped TAVIX_GUARDED_BY(m_Guard) = false;
};

} // namespace tavixpython
