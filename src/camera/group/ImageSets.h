#pragma once
// Which images of several cameras belong together.

#include <tavix/camera/Group.h>

#include <chrono>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Tavix::detail {

/// Takes images camera by camera and gives sets. A set waits for a camera only while that may still send an image of
/// its moment: not once a later image of it is there, not once it has ended, and not longer than its timeout. Where the
/// options ask for the newest set only, older ones are dropped as soon as they are decided. Bound to a thread.
///
/// A camera that was away counts its blocks anew: its images wait, no longer than a set does, until one of them has the
/// moment of another camera's, whose id it then takes over.
class ImageSets {
public:
    using Time = std::chrono::steady_clock::time_point;
    /// Gets the images that are in no set which is handed out.
    using Dropping = std::function<void(std::size_t camera, Image image)>;

    ImageSets(std::vector<std::string> cameras, const GroupOptions& options, Dropping drop);

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
    /// When a block was made.
    struct Mark {
        std::int64_t key;
        Time moment;
    };
    struct Member {
        std::string name;
        std::deque<Waiting> images;
        std::optional<std::string> end; ///< why it sends nothing any more
        // By block id:
        std::int64_t offset = 0;       ///< from its ids to those of the group
        bool isMatched = true;         ///< the offset is known
        std::deque<Waiting> unmatched; ///< images that wait for it, with their own ids
        std::deque<Mark> marks;        ///< its latest blocks
    };

    std::size_t IndexOf(const Member& member) const;
    std::int64_t KeyOf(const Member& member, const Image& image) const;
    std::string GapOf(const Member& member) const;
    const Waiting* Oldest() const;
    bool Belongs(const Waiting& one, const Waiting& oldest) const;
    std::optional<ImageSet> Decide(Time now);
    void KeepNewest(Time now);

    void Put(Member& member, Waiting waiting);
    void NoteMoment(Member& member, const Waiting& waiting);
    void Match(Time now);
    void ForgetOverdue(Member& member, Time now);
    bool IsOnlyOne(const Member& member) const;
    std::optional<std::int64_t> FindOffset(const Member& member) const;
    void TakeOver(Member& member, std::int64_t offset);
    void DropAll(Member& member, std::deque<Waiting>& images);

    std::deque<Member> m_Members;
    const GroupOptions m_Options;
    const Dropping m_Drop;
    std::optional<ImageSet> m_Newest; // of those that are decided, where the options ask for it
    std::int64_t m_Decided = -1;      // by block id: the highest in a set
    std::int64_t m_Highest = -1;      // by block id: of all
    Time m_Begin{};
};

} // namespace Tavix::detail
