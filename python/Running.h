#pragma once
// A running stream, of one camera or of a group.

#include "core/Mutex.h"
#include "python/Ending.h"
#include "python/Fork.h"
#include "python/Lock.h"

#include <tavix/camera/Group.h>

#include <pybind11/pybind11.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>

namespace tavixpython {

inline bool HasCome(const Tavix::Image& image) {
    return !image.IsEmpty();
}
inline bool HasCome(const Tavix::ImageSet& set) {
    return !set.images.empty();
}

/// A stream with the time that it may be silent; negative: for ever.
template<class Source>
struct Started {
    Source stream;
    std::chrono::milliseconds silence;
    std::chrono::milliseconds atEnd{}; ///< what an image may take when the program ends
    bool newestOnly = false;
};

/// A loop over a given number of images ends by itself and is not broken off while they come.
inline std::chrono::milliseconds AtEnd(const Tavix::GrabOptions& options) {
    return options.count > 0 ? kPatienceAtEnd : std::chrono::milliseconds(0);
}

template<class Source>
using CountsOf = std::decay_t<decltype(std::declval<const Source&>().Counts())>;

inline std::string WhySilent(const Tavix::ImageStream& stream) {
    return stream.WhySilent();
}
inline std::string WhySilent(const Tavix::GroupStream&) {
    return "check trigger, exposure time and cables";
}

Tavix::Timeout NothingCame(std::chrono::milliseconds time, const std::string& why);

/// Takes images one after the other, for any number of threads. Every call is made with the interpreter's lock held.
template<class Source>
class Running {
public:
    using Item = decltype(std::declval<Source&>().Next());

    explicit Running(Started<Source> started)
        : m_Silence(started.silence), m_AtEnd(started.atEnd),
          m_Stream(std::make_shared<Source>(std::move(started.stream))) {}
    ~Running() { Close(); }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

    /// Nothing at the end; Timeout after the silence that is allowed.
    std::optional<Item> Next() {
        std::optional<Item> item;
        const bool isDone = WaitInSteps(
            m_Silence, [&](std::chrono::milliseconds time) { return Take(time, item); }, m_AtEnd);
        if (!item)
            m_AtEnd.count() == 0 ? LeaveAtEnd() : LeaveAtClosing(); // the program's end is not that of the images
        if (!isDone) throw NothingCame(m_Silence, WhySilent(*Checked()));
        return item;
    }

    /// Nothing when none came in that time, too.
    std::optional<Item> WaitFor(std::chrono::milliseconds longest) {
        std::optional<Item> item;
        WaitInSteps(
            longest, [&](std::chrono::milliseconds time) { return Take(time, item); }, m_AtEnd);
        return item;
    }

    /// StateError once closed.
    void RequireOpen() const { Checked(); }

    void Cancel() {
        if (IsLeftToParent()) return;
        const WithoutLock unlocked;
        if (const auto stream = Held()) stream->Cancel();
    }

    /// Returns when the cameras were stopped, in a callback that Next() makes before that. Closing twice is harmless.
    void Close() {
        if (IsLeftToParent()) return;
        const WithoutLock unlocked;
        std::shared_ptr<Source> stream;
        {
            const Tavix::MutexLock lock(m_Guard);
            stream.swap(m_Stream);
            if (stream) m_LastCounts.emplace(stream->Counts());
        }
        if (!stream) return;
        stream->Cancel();
        if (HasTurn()) return;               // Next() lets it go
        const Tavix::MutexLock turn(m_Turn); // nobody waits in it any more
        stream.reset();
    }

    /// 'running', 'ended' or 'closed'.
    const char* Standing() const {
        if (IsLeftToParent()) return "closed";
        const WithoutLock unlocked;
        const auto stream = Held();
        return !stream ? "closed" : stream->HasEnded() ? "ended" : "running";
    }

    /// Those of its end once closed.
    CountsOf<Source> Counts() const {
        const WithoutLock unlocked;
        const Tavix::MutexLock lock(m_Guard);
        return m_Stream ? m_Stream->Counts() : *m_LastCounts;
    }

private:
    /// Says which thread takes, while it does.
    struct Taking {
        explicit Taking(std::atomic<std::thread::id>& place) : taker(place) { taker = std::this_thread::get_id(); }
        ~Taking() { taker = std::thread::id(); }
        Taking(const Taking&) = delete;
        Taking& operator=(const Taking&) = delete;

        std::atomic<std::thread::id>& taker;
    };

    /// Whether there is no more to wait for: an image came, or none will.
    bool Take(std::chrono::milliseconds time, std::optional<Item>& item) {
        if (HasTurn()) throw Tavix::StateError("a callback that a wait for an image makes cannot wait for one");
        const Tavix::MutexLock turn(m_Turn);
        const auto stream = Held();
        if (!stream) return true;
        const Taking taking(m_Taker);
        auto come = stream->Wait(time);
        if (!HasCome(come)) return stream->HasEnded();
        item.emplace(std::move(come));
        return true;
    }
    /// Whether the library has called the caller out of Next().
    bool HasTurn() const { return m_Taker.load() == std::this_thread::get_id(); }
    std::shared_ptr<Source> Held() const {
        const Tavix::MutexLock lock(m_Guard);
        return m_Stream;
    }
    std::shared_ptr<Source> Checked() const {
        auto stream = Held();
        if (!stream) throw Tavix::StateError("the stream is closed; grab() starts another one");
        return stream;
    }

    const std::chrono::milliseconds m_Silence;
    const std::chrono::milliseconds m_AtEnd;
    mutable Tavix::Mutex m_Guard;                               // never held for long
    std::shared_ptr<Source> m_Stream TAVIX_GUARDED_BY(m_Guard); // null once closed
    std::optional<CountsOf<Source>> m_LastCounts TAVIX_GUARDED_BY(m_Guard);
    Tavix::Mutex m_Turn;                    // of who takes the next image
    std::atomic<std::thread::id> m_Taker{}; // who has it; a thread compares it with itself
};

} // namespace tavixpython
