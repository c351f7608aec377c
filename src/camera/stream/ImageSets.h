#pragma once
// Which images of several cameras belong together.

#include <tavix/camera/Group.h>

#include <chrono>
#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace Tavix::detail {

/// Takes images camera by camera and gives sets. A set waits for a camera only while that may still send an image of
/// its moment: not once a later image of it is there, not once it has ended, and not longer than its timeout. Bound to
/// a thread.
class ImageSets {
public:
    using Time = std::chrono::steady_clock::time_point;

    ImageSets(std::vector<std::string> cameras, const GroupOptions& options);

    /// Images of moments before this one are left out: not all cameras had begun.
    void Begin(Time begin) { m_Begin = begin; }
    void Add(std::size_t camera, Image image, Time now);
    /// The camera sends nothing any more.
    void End(std::size_t camera, const std::string& reason);
    /// The oldest set, if it is complete or waits no longer.
    std::optional<ImageSet> Take(Time now);
    /// When a set that waits stops doing so.
    std::optional<Time> NextDecision() const;
    bool HasEnded() const;

private:
    struct Waiting {
        Image image;
        std::int64_t key; ///< nanoseconds or block id
        Time since;
    };
    struct Member {
        std::string name;
        std::deque<Waiting> images;
        std::optional<std::string> end; ///< why it sends nothing any more
    };

    std::int64_t KeyOf(const Image& image) const;
    const Waiting* Oldest() const;
    bool Belongs(const Waiting& one, const Waiting& oldest) const;

    std::deque<Member> m_Members;
    const GroupOptions m_Options;
    Time m_Begin{};
};

} // namespace Tavix::detail
