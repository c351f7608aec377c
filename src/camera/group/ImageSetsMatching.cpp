// Block ids of cameras that were away.
#include "camera/group/ImageSets.h"
#include "camera/time/Deadline.h"

#include <algorithm>

namespace Tavix::detail {
namespace {

/// Of one camera, before and after the moment of a block that is looked for.
constexpr std::size_t kMostMarks = 1024;

} // namespace

std::size_t ImageSets::IndexOf(const Member& member) const {
    const auto isIt = [&](const Member& other) { return &other == &member; };
    return static_cast<std::size_t>(std::find_if(m_Members.begin(), m_Members.end(), isIt) - m_Members.begin());
}

void ImageSets::DropAll(Member& member, std::deque<Waiting>& images) {
    for (Waiting& waiting : images)
        m_Drop(IndexOf(member), std::move(waiting.image));
    images.clear();
}

void ImageSets::Put(Member& member, Waiting waiting) {
    if (m_Options.by == GroupBy::BlockId) NoteMoment(member, waiting);
    member.images.push_back(std::move(waiting));
}

void ImageSets::NoteMoment(Member& member, const Waiting& waiting) {
    m_Highest = std::max(m_Highest, waiting.key);
    member.marks.push_back({waiting.key, waiting.image.Time().monotonic});
    if (member.marks.size() > kMostMarks) member.marks.pop_front();
}

void ImageSets::Match(Time now) {
    for (Member& member : m_Members) {
        if (member.isMatched) continue;
        ForgetOverdue(member, now);
        if (member.unmatched.empty()) continue;
        if (IsOnlyOne(member)) {
            TakeOver(member, m_Highest + 1 - member.unmatched.front().key);
        } else if (const std::optional<std::int64_t> offset = FindOffset(member)) {
            TakeOver(member, *offset);
        }
    }
}

void ImageSets::ForgetOverdue(Member& member, Time now) {
    while (!member.unmatched.empty()) {
        const Deadline end = DeadlineAfter(member.unmatched.front().since, m_Options.setTimeout);
        if (!end || now < *end) return;
        m_Drop(IndexOf(member), std::move(member.unmatched.front().image));
        member.unmatched.pop_front();
    }
}

/// Whether no other camera is left whose ids could be taken over.
bool ImageSets::IsOnlyOne(const Member& member) const {
    return std::none_of(m_Members.begin(), m_Members.end(),
                        [&](const Member& other) { return &other != &member && other.isMatched && !other.end; });
}

/// By the nearest block of another camera, if it is near enough to be of the same moment.
std::optional<std::int64_t> ImageSets::FindOffset(const Member& member) const {
    std::optional<std::int64_t> offset;
    std::chrono::nanoseconds nearest = m_Options.tolerance;
    for (const Waiting& waiting : member.unmatched) {
        const Time moment = waiting.image.Time().monotonic;
        for (const Member& other : m_Members) {
            if (!other.isMatched) continue;
            for (const Mark& mark : other.marks) {
                const auto distance = std::chrono::abs(mark.moment - moment);
                if (distance > nearest) continue;
                nearest = distance;
                offset = mark.key - waiting.key;
            }
        }
    }
    return offset;
}

/// Images of moments whose set has been handed out already are too late.
void ImageSets::TakeOver(Member& member, std::int64_t offset) {
    member.offset = offset;
    member.isMatched = true;
    for (Waiting& waiting : member.unmatched) {
        waiting.key += offset;
        if (waiting.key <= m_Decided) {
            m_Drop(IndexOf(member), std::move(waiting.image));
        } else {
            Put(member, std::move(waiting));
        }
    }
    member.unmatched.clear();
}

} // namespace Tavix::detail
