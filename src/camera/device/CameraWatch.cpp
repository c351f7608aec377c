#include "camera/CallbackList.h"
#include "core/Export.h"
#include "core/Threads.h"
#include "core/WaitObject.h"

#include <tavix/camera/CameraInfo.h>

#include <algorithm>
#include <memory>
#include <thread>
#include <utility>

namespace Tavix {
namespace {

constexpr unsigned int kPeriodMs = 500;

bool Holds(const std::vector<CameraInfo>& cameras, const CameraInfo& camera) {
    return std::any_of(cameras.begin(), cameras.end(), [&](const CameraInfo& other) {
        return other.path == camera.path && other.serial == camera.serial;
    });
}

/// Belongs to the thread too, whose callback may destroy the watch.
struct Lookout {
    detail::GuardedCallback<const CameraInfo&, bool> callback;
    const WaitObjectEx stop = WaitObjectEx::Create(/*manualReset=*/true);
    std::vector<CameraInfo> known; // of the thread

    Lookout(std::function<void(const CameraInfo&, bool)> function, std::vector<CameraInfo> toldBefore)
        : callback(std::move(function)), known(std::move(toldBefore)) {}

    void Run() {
        do {
            detail::Attempt("Looking for cameras", [this] { Look(); });
        } while (!stop.Wait(kPeriodMs));
    }
    /// Departures first: a camera that was plugged in again goes before it comes.
    void Look() {
        const std::vector<CameraInfo> before = std::exchange(known, Cameras());
        for (const CameraInfo& camera : before) {
            if (!Holds(known, camera)) callback.Call(camera, false);
        }
        for (const CameraInfo& camera : known) {
            if (!Holds(before, camera)) callback.Call(camera, true);
        }
    }
};

} // namespace

struct TAVIX_HIDDEN CameraWatch::Impl {
    const std::shared_ptr<Lookout> lookout;
    std::thread thread;

    Impl(std::function<void(const CameraInfo&, bool)> function, std::vector<CameraInfo> toldBefore)
        : lookout(std::make_shared<Lookout>(std::move(function), std::move(toldBefore))),
          thread(StartThread([lookout = lookout] { lookout->Run(); })) {}
    ~Impl() {
        lookout->stop.Signal();
        lookout->callback.End();
        if (thread.get_id() == std::this_thread::get_id())
            thread.detach(); // ends when the callback that runs returns
        else
            thread.join();
    }
};

CameraWatch::CameraWatch(std::function<void(const CameraInfo&, bool arrived)> callback, std::vector<CameraInfo> known) {
    detail::RequireCallback(callback);
    m_Impl = std::make_unique<Impl>(std::move(callback), std::move(known));
}
CameraWatch::CameraWatch(CameraWatch&&) noexcept = default;
CameraWatch& CameraWatch::operator=(CameraWatch&&) noexcept = default;
CameraWatch::~CameraWatch() = default;

} // namespace Tavix
