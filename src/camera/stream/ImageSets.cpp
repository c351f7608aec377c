#include "camera/stream/ImageSets.h"

#include "camera/time/Deadline.h"

#include <algorithm>

namespace Tavix {

bool ImageSet::IsComplete() const {
    return !images.empty() && std::none_of(images.begin(), images.end(), [](const Image& i) { return i.IsEmpty(); });
}

namespace detail {

ImageSets::ImageSets(std::vector<std::string> cameras, const GroupOptions& options) : m_Options(options) {
    for (std::string& camera : cameras)
        m_Members.emplace_back().name = std::move(camera);
}

std::int64_t ImageSets::KeyOf(const Image& image) const {
    if (m_Options.by == GroupBy::BlockId) return static_cast<std::int64_t>(image.BlockId());
    const auto time = image.Time().monotonic.time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(time).count();
}

void ImageSets::Add(std::size_t camera, Image image, Time now) {
    const std::int64_t key = KeyOf(image);
    const bool isEarly = m_Options.by == GroupBy::HostTime && image.Time().monotonic < m_Begin;
    if (!isEarly) m_Members.at(camera).images.push_back({std::move(image), key, now});
}

void ImageSets::End(std::size_t camera, const std::string& reason) {
    m_Members.at(camera).end = reason;
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
    const Waiting* oldest = Oldest();
    if (!oldest) return {};
    const Deadline end = DeadlineAfter(oldest->since, m_Options.setTimeout);
    const bool isOverdue = end && now >= *end;
    const bool mustWait = std::any_of(m_Members.begin(), m_Members.end(), [&](const Member& member) {
        return member.images.empty() && !member.end && !isOverdue;
    });
    if (mustWait) return {};
    ImageSet set;
    std::vector<Member*> belonging;
    for (Member& member : m_Members) {
        const bool belongs = !member.images.empty() && Belongs(member.images.front(), *oldest);
        belonging.push_back(belongs ? &member : nullptr);
        if (belongs) {
            set.gaps.emplace_back();
        } else if (member.images.empty()) {
            set.gaps.push_back(member.name + (member.end ? ": " + *member.end : " is silent"));
        } else {
            set.gaps.push_back(member.name + " has no image of this moment");
        }
    }
    for (Member* member : belonging) { // afterwards, since the oldest is one of them
        set.images.push_back(member ? std::move(member->images.front().image) : Image());
        if (member) member->images.pop_front();
    }
    return set;
}

bool ImageSets::HasEnded() const {
    return !Oldest() && std::all_of(m_Members.begin(), m_Members.end(), [](const Member& m) { return m.end; });
}

} // namespace detail
} // namespace Tavix
