#include "camera/group/ImageSets.h"
#include "camera/stream/Acquisition.h"
#include "core/Export.h"
#include "core/Mutex.h"
#include "core/Threads.h"

#include <tavix/camera/Group.h>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace Tavix {

/// A thread for each camera puts its images into the sets; the application's thread takes sets.
struct TAVIX_HIDDEN GroupStream::Impl {
    struct Member {
        std::shared_ptr<detail::Acquisition> stream;
        std::thread thread;
    };

    Impl(std::vector<std::string> names, const GroupOptions& given)
        : options(given), sets(std::move(names), given, [this](std::size_t camera, Image image) {
              members[camera].stream->Drop(std::move(image));
          }) {}
    ~Impl() { End(); }

    /// Returns when all cameras have been stopped, which the threads do.
    void End() {
        Cancel();
        std::call_once(ended, [this] {
            for (Member& member : members)
                if (member.thread.joinable()) member.thread.join();
        });
    }

    void Cancel() noexcept {
        {
            const MutexLock guard(mutex);
            isCancelled = true;
            changed.notify_all();
        }
        for (Member& member : members)
            member.stream->Cancel();
    }
    void Start(std::size_t camera) {
        members[camera].thread = StartThread([this, camera] { Run(camera); });
    }
    void Run(std::size_t camera) noexcept;
    bool IsOver() const TAVIX_REQUIRES(mutex) {
        return isCancelled || (options.grab.count > 0 && taken >= options.grab.count) || sets.HasEnded();
    }
    ImageSet Take(const detail::Deadline& deadline);
    void HandOut(ImageSet& set) TAVIX_REQUIRES(mutex);
    /// The next set; otherwise whether there will be none.
    ImageSet Await(const detail::Deadline& deadline, bool& isOver);

    const GroupOptions options;
    std::vector<Member> members; // constant once the threads run; images are handed out and dropped under the lock
    mutable Mutex mutex;
    std::condition_variable changed;
    detail::ImageSets sets TAVIX_GUARDED_BY(mutex);
    bool isCancelled TAVIX_GUARDED_BY(mutex) = false;
    std::uint64_t taken TAVIX_GUARDED_BY(mutex) = 0;
    std::once_flag ended;
};

void GroupStream::Impl::Run(std::size_t camera) noexcept {
    std::string reason = "its stream has ended";
    detail::Acquisition& stream = *members[camera].stream;
    try {
        while (Image image = stream.Take(std::chrono::milliseconds(-1), detail::Acquisition::Absence::Counts)) {
            const MutexLock guard(mutex);
            sets.Add(camera, std::move(image), std::chrono::steady_clock::now());
            changed.notify_all();
        }
    } catch (const std::exception& e) {
        reason = detail::Reason(e);
    }
    stream.Shutdown();
    const MutexLock guard(mutex);
    sets.End(camera, reason);
    changed.notify_all();
}

void GroupStream::Impl::HandOut(ImageSet& set) {
    for (std::size_t i = 0; i < members.size(); ++i)
        if (set.images[i]) members[i].stream->HandOut(set.images[i]);
}

ImageSet GroupStream::Impl::Take(const detail::Deadline& deadline) {
    bool isOver = false;
    ImageSet set = Await(deadline, isOver);
    if (isOver) End();
    return set;
}

ImageSet GroupStream::Impl::Await(const detail::Deadline& deadline, bool& isOver) {
    MutexLock guard(mutex);
    while (!IsOver()) {
        const auto now = std::chrono::steady_clock::now();
        if (auto set = sets.Take(now)) {
            ++taken;
            HandOut(*set);
            return std::move(*set);
        }
        if (deadline && now >= *deadline) break;
        detail::Deadline until = sets.NextDecision();
        if (deadline && (!until || *deadline < *until)) until = deadline;
        if (until) {
            guard.WaitUntil(changed, *until);
        } else {
            guard.Wait(changed);
        }
    }
    isOver = IsOver();
    return {};
}

GroupStream::GroupStream(std::unique_ptr<Impl> impl) : m_Impl(std::move(impl)) {}
GroupStream::GroupStream(GroupStream&&) noexcept = default;
GroupStream& GroupStream::operator=(GroupStream&&) noexcept = default;
GroupStream::~GroupStream() = default;

GroupStream::Impl& GroupStream::Checked() const {
    if (!m_Impl) throw StateError("the stream was moved away");
    return *m_Impl;
}

ImageSet GroupStream::Next() {
    const std::chrono::milliseconds timeout = Checked().options.grab.timeout;
    ImageSet set = m_Impl->Take(timeout.count() == 0 ? detail::Deadline() : detail::DeadlineIn(timeout));
    if (set.images.empty() && !HasEnded())
        throw Timeout("none of the cameras sent an image for " + std::to_string(timeout.count()) + " ms");
    return set;
}

ImageSet GroupStream::Wait(std::chrono::milliseconds timeout) {
    return Checked().Take(detail::DeadlineIn(timeout));
}

void GroupStream::Cancel() noexcept {
    if (m_Impl) m_Impl->Cancel();
}

bool GroupStream::HasEnded() const {
    Impl& impl = Checked();
    const MutexLock guard(impl.mutex);
    return impl.IsOver();
}

std::vector<GrabCounts> GroupStream::Counts() const {
    std::vector<GrabCounts> counts;
    for (const Impl::Member& member : Checked().members)
        counts.push_back(member.stream->Counts());
    return counts;
}

Group Group::Open(const std::vector<std::string>& names) {
    std::vector<Camera> cameras;
    if (names.empty()) {
        for (const CameraInfo& info : Cameras())
            cameras.push_back(Camera::Open(info));
    }
    for (const std::string& name : names)
        cameras.push_back(Camera::Open(name));
    if (cameras.empty()) detail::ThrowNoCamera();
    return Group(std::move(cameras));
}

void Group::Set(const std::string& feature, const std::string& value) {
    for (Camera& camera : m_Cameras)
        camera[feature] = value;
}

GroupStream Group::Grab(const GroupOptions& options) {
    std::vector<std::string> names;
    for (const Camera& camera : m_Cameras)
        names.push_back(camera.Info().friendlyName);
    auto impl = std::make_unique<GroupStream::Impl>(std::move(names), options);
    GrabOptions each = options.grab;
    each.count = 0; // of sets, not of images
    for (Camera& camera : m_Cameras) {
        camera.Checked();
        impl->members.push_back({std::make_shared<detail::Acquisition>(camera.m_Core, each), {}});
    }
    for (const auto& member : impl->members)
        member.stream->Start({});
    {
        const MutexLock guard(impl->mutex);
        impl->sets.Begin(std::chrono::steady_clock::now());
    }
    for (std::size_t i = 0; i < m_Cameras.size(); ++i)
        impl->Start(i);
    return GroupStream(std::move(impl));
}

bool Group::AwaitTrigger(std::chrono::milliseconds timeout) const {
    const detail::Deadline deadline = detail::DeadlineIn(timeout);
    return std::all_of(m_Cameras.begin(), m_Cameras.end(),
                       [&](const Camera& camera) { return camera.AwaitTrigger(detail::TimeLeft(deadline)); });
}

void Group::FireTrigger() {
    for (Camera& camera : m_Cameras)
        camera.FireTrigger();
}

void Group::Trigger(std::chrono::milliseconds timeout) {
    if (!AwaitTrigger(timeout)) detail::ThrowNotReady(timeout);
    FireTrigger();
    for (Camera& camera : m_Cameras)
        detail::AwaitFired(camera.Checked());
}

} // namespace Tavix
