#pragma once
// The newest image of a camera on its way to those who look at it.

#include "core/Mutex.h"
#include "viewer/image/ImageMessage.h"
#include "viewer/server/Client.h"

#include <tavix/camera/Image.h>

#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <string>
#include <thread>

namespace viewer {

/// What viewing cost and brought, since the camera was opened.
struct LiveFigures {
    std::uint64_t shown = 0;          ///< images that browsers said they had drawn
    std::uint64_t made = 0;           ///< image messages
    std::uint64_t bytes = 0;          ///< of them
    std::chrono::nanoseconds work{};  ///< processor time for them
    std::chrono::nanoseconds delay{}; ///< from exposure to drawn, all together; of `timed` images
    std::uint64_t timed = 0;
};

/// Whoever brings images only puts them down: those that nobody fetched in time are replaced. Each browser gets the
/// next one when it has drawn one, so that a slow line delays nobody else. Thread-safe.
class LiveImage {
public:
    LiveImage(std::string camera, Outlet& outlet);
    ~LiveImage();

    void Put(Tavix::Image image);
    void SetView(std::uint64_t client, const ViewOptions& options);
    void DropView(std::uint64_t client);
    void Shown(std::uint64_t client, std::uint64_t number);
    LiveFigures Figures() const;

private:
    struct Picture {
        Tavix::Image image;
        std::uint64_t number = 0;
        std::chrono::steady_clock::time_point exposed;
    };
    using PicturePtr = std::shared_ptr<const Picture>;
    struct View {
        ViewOptions options;
        bool isNew = true;      ///< wants the same image again, since it looks differently at it
        std::uint64_t last = 0; ///< number of the image sent last
        std::map<std::uint64_t, std::chrono::steady_clock::time_point> sent; ///< not yet drawn, with their exposures
        std::chrono::steady_clock::time_point detailed{};
        bool owesDetails = false; ///< the last one went without them, since others had just been sent
    };

    void Run();
    /// Until something has changed or is due.
    void Wait(Tavix::MutexLock& lock) TAVIX_REQUIRES(m_Lock);
    bool CanTake(const View& view) const TAVIX_REQUIRES(m_Lock);
    bool IsWaiting(const View& view) const TAVIX_REQUIRES(m_Lock);
    /// What is sent to the view now: details only so often.
    static ViewOptions Due(View& view);
    /// The next browser to serve, after `last` in turn; the end when none waits.
    std::map<std::uint64_t, View>::iterator FindWaiting(std::uint64_t last) TAVIX_REQUIRES(m_Lock);
    void Serve(std::uint64_t client, const PicturePtr& picture, const ViewOptions& options);

    const std::string m_Camera;
    Outlet& m_Outlet;

    mutable Tavix::Mutex m_Lock;
    std::condition_variable m_Changed;
    PicturePtr m_Newest TAVIX_GUARDED_BY(m_Lock);
    std::uint64_t m_LastNumber TAVIX_GUARDED_BY(m_Lock) = 0;
    std::map<std::uint64_t, View> m_Views TAVIX_GUARDED_BY(m_Lock);
    LiveFigures m_Figures TAVIX_GUARDED_BY(m_Lock);
    bool m_Stop TAVIX_GUARDED_BY(m_Lock) = false;
    std::thread m_Thread;
};

} // namespace viewer
