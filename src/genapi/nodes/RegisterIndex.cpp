#include "genapi/nodes/RegisterIndex.h"

#include "genapi/nodes/RegisterNode.h"

#include <algorithm>
#include <functional>
#include <limits>

namespace genapi {

namespace {

constexpr uint64_t kLongest = 64;

} // namespace

std::size_t RegisterIndex::KeyHash::operator()(const Key& key) const {
    return std::hash<const void*>()(key.first) ^ (std::hash<int64_t>()(key.second) * 0x9E3779B97F4A7C15u);
}

RegisterIndex::RegisterIndex(const std::vector<Node*>& nodes) {
    for (Node* const pNode : nodes) {
        RegisterNode* const pRegister = pNode->AsRegister();
        if (!pRegister || !pRegister->Port()) continue;
        if (!pRegister->HasConstantPlace()) {
            m_BySpelling[pRegister->PlaceSpelling()].push_back(pRegister);
            continue;
        }
        const uint64_t length = static_cast<uint64_t>(std::max<int64_t>(pRegister->ConstantLength(), 1));
        std::vector<Place>& places = length <= kLongest ? m_Short : m_Long;
        places.push_back({pRegister->Port(), static_cast<uint64_t>(pRegister->ConstantAddress()), length, pRegister});
    }
    const auto isBefore = [](const Place& a, const Place& b) {
        return a.pPort != b.pPort ? std::less<const PortNode*>()(a.pPort, b.pPort) : a.first < b.first;
    };
    std::sort(m_Short.begin(), m_Short.end(), isBefore);
    std::sort(m_Long.begin(), m_Long.end(), isBefore);
}

std::vector<RegisterNode*> RegisterIndex::Overlapping(const RegisterNode& changed) const {
    std::vector<RegisterNode*> found;
    if (!changed.HasConstantPlace()) {
        const auto same = m_BySpelling.find(changed.PlaceSpelling());
        if (same == m_BySpelling.end()) return found;
        for (RegisterNode* const pNode : same->second) {
            if (pNode != &changed) found.push_back(pNode);
        }
        return found;
    }
    AddOverlapping(m_Short, kLongest, changed, found);
    AddOverlapping(m_Long, std::numeric_limits<uint64_t>::max(), changed, found);
    return found;
}

void RegisterIndex::AddOverlapping(const std::vector<Place>& places, uint64_t longest, const RegisterNode& changed,
                                   std::vector<RegisterNode*>& found) const {
    const uint64_t first = static_cast<uint64_t>(changed.ConstantAddress());
    const uint64_t length = static_cast<uint64_t>(std::max<int64_t>(changed.ConstantLength(), 1));
    const uint64_t from = first > longest ? first - longest : 0;
    const PortNode* const pPort = changed.Port();
    auto place = std::lower_bound(places.begin(), places.end(), from, [pPort](const Place& candidate, uint64_t value) {
        if (candidate.pPort != pPort) return std::less<const PortNode*>()(candidate.pPort, pPort);
        return candidate.first < value;
    });
    for (; place != places.end() && place->pPort == pPort; ++place) {
        const bool isBehind = place->first >= first && place->first - first >= length;
        if (isBehind) break;
        const bool isBefore = place->first < first && first - place->first >= place->length;
        if (!isBefore && place->pNode != &changed) found.push_back(place->pNode);
    }
}

const std::vector<uint8_t>& RegisterIndex::Pattern(const PortNode* pPort, int64_t address) const {
    static const std::vector<uint8_t> kNone;
    const auto found = m_Patterns.find({pPort, address});
    return found == m_Patterns.end() ? kNone : found->second;
}

void RegisterIndex::SetPattern(const PortNode* pPort, int64_t address, const uint8_t* pBytes, std::size_t length) {
    m_Patterns[{pPort, address}].assign(pBytes, pBytes + length);
}

} // namespace genapi
