#pragma once
// A running stream, of one camera or of a group.

#include "core/Mutex.h"
#include "python/Errors.h"
#include "python/stream/ImageCall.h"
#include "python/threads/Ending.h"
#include "python/threads/Fork.h"
#include "python/threads/Lock.h"

#include <tavix/camera/Group.h>

#include <pybind11/pybind11.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
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
    std::shared_ptr<ImageCall> call{}; ///< that gets the images, where one does
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

inline std::string FirstDefectOf(const Tavix::ImageStream& stream) {
    return stream.FirstDefect();
}
inline std::string FirstDefectOf(const Tavix::GroupStream&) {
    return {};
}

Tavix::Timeout NothingCame(std::chrono::milliseconds time, const std::string& why);

/// Waits for the end of a stream that calls, and throws what ended it.
inline bool JoinCalls(Tavix::ImageStream& stream, std::chrono::milliseconds time) {
    return stream.Join(time);
}
inline bool JoinCalls(Tavix::GroupStream&, std::chrono::milliseconds) {
    return true;
}

/// Takes images one after the other, for any number of threads, or lets a function be called with them. Every call is
/// made with the interpreter's lock held.
template<class Source>
class Running {
public:
    using Item = decltype(std::declval<Source&>().Next());

    explicit Running(Started<Source> started)
        : m_Silence(started.silence), m_AtEnd(started.atEnd), m_Call(std::move(started.call)),
          m_Stream(std::make_shared<Source>(std::move(started.stream))) {}
    ~Running() {
        if (IsInCall()) {
            Abandon();
            return;
        }
        if (m_Call && Standing() == std::string_view("running"))
            WarnOfForgotten("a stream of tavix with a callback was not kept: it ends with its last reference, or by "
                            "close()");
        Close();
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

    /// Nothing at the end; Timeout after the silence that is allowed.
    std::optional<Item> Next() {
        std::optional<Item> item;
        const bool isDone = WaitInSteps(
            m_Silence, [&](std::chrono::milliseconds time) { return Take(time, item); }, m_AtEnd);
        if (!item)
            m_AtEnd.count() == 0 ? LeaveAtEnd() : LeaveAtClosing(); // the program's end is not that of the images
        if (!isDone) {
            RequireOpen();
            throw NothingCame(m_Silence, Why());
        }
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
    void RequireOpen() const {
        const WithoutLock unlocked;
        if (!Held()) throw Tavix::StateError("the stream is closed; grab() starts another one");
    }

    void Cancel() {
        if (IsLeftToParent()) return;
        const WithoutLock unlocked;
        if (const auto stream = Held()) stream->Cancel();
    }

    /// Waits until a stream that calls has ended; false when the time is over before. Throws what ended it, once.
    bool Join(std::chrono::milliseconds longest) {
        const std::shared_ptr<ImageCall> call = m_Call;
        try {
            return WaitInSteps(longest, [&](std::chrono::milliseconds time) {
                const auto stream = Held();
                return !stream || JoinCalls(*stream, time);
            });
        } catch (const ImageCall::Raised&) {
            call->Raise();
        }
    }

    /// Returns when the cameras were stopped, in a callback that Next() makes before that. Closing twice is harmless. A
    /// function that is called with the images only ends the stream. What ended it otherwise is told, if Join() did
    /// not.
    void Close() {
        if (IsLeftToParent()) return;
        if (IsInCall()) return Cancel();
        if (m_Call) TellFailure();
        LetGo();
        m_Call.reset();
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
    /// That of its end once closed.
    std::string FirstDefect() const {
        const WithoutLock unlocked;
        const Tavix::MutexLock lock(m_Guard);
        return m_Stream ? FirstDefectOf(*m_Stream) : m_FirstDefect;
    }
    /// What to do when nothing comes; nothing once closed.
    std::string Why() const {
        const WithoutLock unlocked;
        const auto stream = Held();
        return stream ? WhySilent(*stream) : std::string();
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
    /// Whether it is the function, called with an image, that asks.
    bool IsInCall() const { return m_Call && m_Call->IsInside(); }
    /// Lets the stream go in its own call, after which it ends.
    void Abandon() {
        m_Call->Abandon();
        const WithoutLock unlocked;
        std::shared_ptr<Source> stream;
        const Tavix::MutexLock lock(m_Guard);
        stream.swap(m_Stream);
    }
    /// Ends a stream that calls; nobody has asked what ended it before.
    void TellFailure() noexcept {
        const pybind11::error_scope kept;
        const std::shared_ptr<ImageCall> call = m_Call;
        try {
            const WithoutLock unlocked;
            const auto stream = Held();
            if (!stream) return;
            stream->Cancel();
            JoinCalls(*stream, std::chrono::milliseconds(-1));
        } catch (const ImageCall::Raised&) {
            call->Tell();
        } catch (const Tavix::StateError&) {
            return; // another callback that the stream makes closes it, and cannot wait
        } catch (...) {
            SetError();
            PyErr_WriteUnraisable(nullptr);
        }
    }
    void LetGo() {
        const WithoutLock unlocked;
        std::shared_ptr<Source> stream;
        {
            const Tavix::MutexLock lock(m_Guard);
            stream.swap(m_Stream);
            if (stream) {
                m_LastCounts.emplace(stream->Counts());
                m_FirstDefect = FirstDefectOf(*stream);
            }
        }
        if (!stream) return;
        stream->Cancel();
        if (HasTurn()) return;               // Next() lets it go
        const Tavix::MutexLock turn(m_Turn); // nobody waits in it any more
        stream.reset();
    }
    /// Whether the library has called the caller out of Next().
    bool HasTurn() const { return m_Taker.load() == std::this_thread::get_id(); }
    std::shared_ptr<Source> Held() const {
        const Tavix::MutexLock lock(m_Guard);
        return m_Stream;
    }

    const std::chrono::milliseconds m_Silence;
    const std::chrono::milliseconds m_AtEnd;
    std::shared_ptr<ImageCall> m_Call; // of the interpreter's lock; null where images are taken, and once closed
    mutable Tavix::Mutex m_Guard;      // never held for long
    std::shared_ptr<Source> m_Stream TAVIX_GUARDED_BY(m_Guard); // null once closed
    std::optional<CountsOf<Source>> m_LastCounts TAVIX_GUARDED_BY(m_Guard);
    std::string m_FirstDefect TAVIX_GUARDED_BY(m_Guard);
    Tavix::Mutex m_Turn;                    // of who takes the next image
    std::atomic<std::thread::id> m_Taker{}; // who has it; a thread compares it with itself
};

} // namespace tavixpython
