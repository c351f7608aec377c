#include "camera/group/ImageSets.h"

#include "camera/time/Deadline.h"

#include <algorithm>
#include <utility>

namespace Tavix {

bool ImageSet::IsComplete() const {
    return !images.empty() && std::none_of(images.begin(), images.end(), [](const Image& i) { return i.IsEmpty(); });
}

namespace detail {

ImageSets::ImageSets(std::vector<std::string> cameras, const GroupOptions& options, Dropping drop)
    : m_Options(options), m_Drop(std::move(drop)) {
    for (std::string& camera : cameras)
        m_Members.emplace_back().name = std::move(camera);
}

std::int64_t ImageSets::KeyOf(const Member& member, const Image& image) const {
    if (m_Options.by == GroupBy::BlockId)
        return static_cast<std::int64_t>(image.BlockId() + static_cast<std::uint64_t>(member.offset));
    const auto time = image.Time().monotonic.time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(time).count();
}

void ImageSets::Add(std::size_t camera, Image image, Time now) {
    Member& member = m_Members.at(camera);
    if (m_Options.by == GroupBy::HostTime && image.Time().monotonic < m_Begin) return m_Drop(camera, std::move(image));
    if (m_Options.by == GroupBy::BlockId && image.GapBefore().count() != 0) {
        DropAll(member, member.unmatched);
        member.marks.clear();
        member.isMatched = false;
    }
    if (member.isMatched) {
        const std::int64_t key = KeyOf(member, image);
        Put(member, {std::move(image), key, now});
    } else {
        const auto id = static_cast<std::int64_t>(image.BlockId());
        member.unmatched.push_back({std::move(image), id, now});
    }
    if (m_Options.by == GroupBy::BlockId) Match(now);
    if (m_Options.grab.newestOnly) KeepNewest(now);
}

void ImageSets::End(std::size_t camera, const std::string& reason) {
    Member& member = m_Members.at(camera);
    member.end = reason;
    DropAll(member, member.unmatched);
}

const ImageSets::Waiting* ImageSets::Oldest() const {
    const Waiting* oldest = nullptr;
    for (const Member& member : m_Members) {
        if (member.images.empty()) continue;
        const Waiting& front = member.images.front();
        if (!oldest || front.key < oldest->key) oldest = &front;
    }
    return oldest;
}

bool ImageSets::Belongs(const Waiting& one, const Waiting& oldest) const {
    const std::int64_t reach =
        m_Options.by == GroupBy::BlockId ? 0 : std::max<std::int64_t>(m_Options.tolerance.count(), 0);
    return one.key - oldest.key <= reach;
}

std::optional<ImageSets::Time> ImageSets::NextDecision() const {
    const Waiting* oldest = Oldest();
    if (!oldest) return {};
    return DeadlineAfter(oldest->since, m_Options.setTimeout);
}

std::optional<ImageSet> ImageSets::Take(Time now) {
    if (!m_Options.grab.newestOnly) return Decide(now);
    KeepNewest(now);
    return std::exchange(m_Newest, std::nullopt);
}

void ImageSets::KeepNewest(Time now) {
    while (std::optional<ImageSet> set = Decide(now)) {
        if (m_Newest) {
            for (std::size_t i = 0; i < m_Newest->images.size(); ++i)
                if (m_Newest->images[i]) m_Drop(i, std::move(m_Newest->images[i]));
        }
        m_Newest = std::move(set);
    }
}

std::string ImageSets::GapOf(const Member& member) const {
    if (!member.images.empty()) return member.name + " has no image of this moment";
    if (member.end) return member.name + ": " + *member.end;
    if (!member.isMatched) return member.name + " counts anew, and no image of it has the moment of another's";
    return member.name + " is silent";
}

std::optional<ImageSet> ImageSets::Decide(Time now) {
    const Waiting* oldest = Oldest();
    if (!oldest) return {};
    const Deadline end = DeadlineAfter(oldest->since, m_Options.setTimeout);
    const bool isOverdue = end && now >= *end;
    const bool mustWait = std::any_of(m_Members.begin(), m_Members.end(), [&](const Member& member) {
        return member.images.empty() && !member.end && !isOverdue;
    });
    if (mustWait) return {};
    ImageSet set;
    m_Decided = std::max(m_Decided, oldest->key);
    std::vector<Member*> belonging;
    for (Member& member : m_Members) {
        const bool belongs = !member.images.empty() && Belongs(member.images.front(), *oldest);
        belonging.push_back(belongs ? &member : nullptr);
        set.gaps.push_back(belongs ? std::string() : GapOf(member));
    }
    for (Member* member : belonging) { // afterwards, since the oldest is one of them
        set.images.push_back(member ? std::move(member->images.front().image) : Image());
        if (member) member->images.pop_front();
    }
    return set;
}

bool ImageSets::HasEnded() const {
    return !m_Newest && !Oldest() &&
           std::all_of(m_Members.begin(), m_Members.end(), [](const Member& m) { return m.end; });
}

} // namespace detail
} // namespace Tavix
