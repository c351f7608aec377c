#include "genapi/nodes/register/RegisterIndex.h"

#include "genapi/nodes/register/RegisterNode.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace genapi {

namespace {

// Where all registers share their bytes, what is kept for each of them must not grow with their square.
constexpr std::size_t kMostKept = 16;

uint64_t LengthOf(const RegisterPlace& place) {
    return static_cast<uint64_t>(std::max<int64_t>(place.length, 1));
}

// Lengths up to 1, 2, 4, 8 and so on.
unsigned ClassOf(uint64_t length) {
    return length <= 1 ? 0 : std::min(64 - static_cast<unsigned>(__builtin_clzll(length - 1)), 63u);
}

bool Overlap(const RegisterPlace& a, const RegisterPlace& b) {
    const auto first = static_cast<uint64_t>(a.address);
    const auto second = static_cast<uint64_t>(b.address);
    return first <= second ? second - first < LengthOf(a) : first - second < LengthOf(b);
}

} // namespace

std::size_t RegisterIndex::PatternHash::operator()(const PatternKey& key) const {
    return std::hash<const void*>()(key.first) ^ (std::hash<int64_t>()(key.second) * 0x9E3779B97F4A7C15u);
}

RegisterIndex::RegisterIndex(const std::vector<Node*>& nodes) {
    for (Node* const pNode : nodes) {
        RegisterNode* const pRegister = pNode->AsRegister();
        if (!pRegister || !pRegister->Port()) continue;
        if (!pRegister->HasConstantPlace()) m_BySpelling[pRegister->PlaceSpelling()].push_back(pRegister);
        Move(*pRegister, {}, pRegister->LastPlace());
    }
}

RegisterIndex::Key RegisterIndex::KeyOf(const RegisterPlace& place) {
    return {place.pPort, ClassOf(LengthOf(place)), static_cast<uint64_t>(place.address)};
}

RegisterIndex::Places::iterator RegisterIndex::Find(const RegisterPlace& place, const RegisterNode& node) {
    const auto [first, last] = m_Places.equal_range(KeyOf(place));
    const auto found = std::find_if(first, last, [&node](const auto& entry) { return entry.second == &node; });
    return found == last ? m_Places.end() : found;
}

void RegisterIndex::Move(RegisterNode& node, const RegisterPlace& from, const RegisterPlace& to) {
    ++m_Moves;
    const auto old = from.pPort ? Find(from, node) : m_Places.end();
    if (to.pPort) {
        m_Places.emplace(KeyOf(to), &node); // first: nothing has changed when memory runs out
        m_Classes |= uint64_t{1} << ClassOf(LengthOf(to));
    }
    if (old != m_Places.end()) m_Places.erase(old);
}

// The same features are written again and again, and registers seldom move.
const std::vector<RegisterNode*>& RegisterIndex::Overlapping(const RegisterNode& changed,
                                                             const RegisterPlace& written) {
    const auto known = m_Answers.find(&changed);
    if (known != m_Answers.end() && known->second.moves == m_Moves && known->second.written == written)
        return known->second.found;
    std::vector<RegisterNode*> found = Search(changed, written);
    if (found.size() > kMostKept) return m_Long = std::move(found);
    Answer& answer = m_Answers[&changed];
    answer = {written, m_Moves, std::move(found)};
    return answer.found;
}

std::vector<RegisterNode*> RegisterIndex::Search(const RegisterNode& changed, const RegisterPlace& written) const {
    std::vector<RegisterNode*> found;
    const auto first = static_cast<uint64_t>(written.address);
    const uint64_t last = first + (LengthOf(written) - 1);
    for (unsigned level = 0; level < 64; ++level) {
        if ((m_Classes >> level & 1u) == 0) continue;
        const uint64_t reach = uint64_t{1} << level;
        const Key from{written.pPort, level, first > reach ? first - reach : 0};
        const Key to{written.pPort, level, last < first ? UINT64_MAX : last};
        for (auto place = m_Places.lower_bound(from); place != m_Places.end() && place->first <= to; ++place) {
            RegisterNode* const pNode = place->second;
            if (pNode != &changed && Overlap(pNode->LastPlace(), written)) found.push_back(pNode);
        }
    }
    if (changed.HasConstantPlace()) return found;
    // What is spelt alike may not have been read yet, and still depends on what depends on this one.
    const auto alike = m_BySpelling.find(changed.PlaceSpelling());
    if (alike == m_BySpelling.end()) return found;
    for (RegisterNode* const pNode : alike->second) {
        const bool isNew = pNode != &changed && !(pNode->LastPlace().pPort && Overlap(pNode->LastPlace(), written));
        if (isNew) found.push_back(pNode);
    }
    return found;
}

const std::vector<uint8_t>& RegisterIndex::Pattern(const RegisterPlace& place) const {
    static const std::vector<uint8_t> kNone;
    const auto found = m_Patterns.find({place.pPort, place.address});
    return found == m_Patterns.end() ? kNone : found->second;
}

void RegisterIndex::SetPattern(const RegisterPlace& place, const uint8_t* pBytes) {
    m_Patterns[{place.pPort, place.address}].assign(pBytes, pBytes + place.length);
}

} // namespace genapi
