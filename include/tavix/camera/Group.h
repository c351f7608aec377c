#pragma once
// Several cameras as one.

#include <tavix/camera/Camera.h>
#include <tavix/camera/Export.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Tavix {

/// Images of one moment, one place for each camera of the group, in its order. Move-only.
struct TAVIX_CAMERA_API ImageSet {
    std::vector<Image> images;     ///< empty ones for cameras whose image is missing
    std::vector<std::string> gaps; ///< why, for each camera; empty texts where nothing is missing
    bool IsComplete() const;
};

/// How images find each other.
enum class GroupBy { HostTime, BlockId };

struct GroupOptions {
    GrabOptions grab; ///< for each camera; `count` counts sets, `timeout` is the group's
    GroupBy by = GroupBy::HostTime;
    /// Images whose moments are at most so far apart belong together. Less than half a frame period. By block id that
    /// finds the place of a camera which was away and counts anew.
    std::chrono::nanoseconds tolerance{5'000'000};
    /// How long a set that is not complete waits for its missing images after its first one. Negative:
    /// as long as it takes.
    std::chrono::milliseconds setTimeout{500};
};

/// Sets of images. Next and Wait are for one thread at a time, Cancel is thread-safe. A moved-from one throws
/// StateError.
class TAVIX_CAMERA_API GroupStream {
public:
    GroupStream(GroupStream&&) noexcept;
    GroupStream& operator=(GroupStream&&) noexcept;
    ~GroupStream();

    /// The next set, complete or not; empty of images when the stream has ended. Timeout when no camera sends anything.
    /// A camera that is silent or gone blocks nothing: its place stays empty.
    ImageSet Next();
    /// The same with a time of one's own; empty also when none came in that time. Negative: as long as it takes.
    ImageSet Wait(std::chrono::milliseconds timeout);
    void Cancel() noexcept;
    bool HasEnded() const;
    /// Of each camera.
    std::vector<GrabCounts> Counts() const;

private:
    friend class Group;
    struct Impl;
    explicit GroupStream(std::unique_ptr<Impl> impl);
    Impl& Checked() const;

    std::unique_ptr<Impl> m_Impl;
};

/// Owns its cameras. Move-only; thread-safe, except moving.
class TAVIX_CAMERA_API Group {
public:
    /// Each by a name as Camera::Open takes it; all cameras for no names. Either all are open in the end or none.
    static Group Open(const std::vector<std::string>& names = {});

    std::size_t Size() const { return m_Cameras.size(); }
    Camera& operator[](std::size_t index) { return m_Cameras.at(index); }
    std::vector<Camera>::iterator begin() { return m_Cameras.begin(); }
    std::vector<Camera>::iterator end() { return m_Cameras.end(); }

    /// Sets a feature of every camera. The error names the camera that refused; those before it are set.
    void Set(const std::string& feature, const std::string& value);
    /// Starts all cameras.
    GroupStream Grab(const GroupOptions& options = {});
    /// Triggers all by software, as near to each other as the bus allows, once all are ready.
    void Trigger(std::chrono::milliseconds timeout = std::chrono::milliseconds(5000));
    /// Its parts, as those of a camera.
    bool AwaitTrigger(std::chrono::milliseconds timeout) const;
    void FireTrigger();

private:
    explicit Group(std::vector<Camera> cameras) : m_Cameras(std::move(cameras)) {}

    std::vector<Camera> m_Cameras;
};

} // namespace Tavix
