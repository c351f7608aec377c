#include "genapi/description/NameIndex.h"

#include <algorithm>
#include <cstring>

namespace genapi {

namespace {

constexpr std::size_t kSideBySide = 16;
constexpr std::size_t kBlockSize = 16384;

uint64_t Mix(uint64_t hash, uint64_t word) {
    hash = (hash ^ word) * 0x9E3779B97F4A7C15U;
    return hash ^ hash >> 32;
}

constexpr std::size_t kWord = sizeof(uint64_t);

uint64_t WordAt(const char* at) {
    uint64_t word;
    std::memcpy(&word, at, kWord);
    return word;
}

uint64_t ShortWord(std::string_view name) {
    uint64_t word = 0;
    for (const char c : name)
        word = word << 8 | static_cast<uint8_t>(c);
    return word;
}

// Eight characters a step; the last ones may be met twice.
uint64_t Hash(std::string_view name) {
    const std::size_t size = name.size();
    if (size < kWord) return Mix(Mix(size, ShortWord(name)), size);
    uint64_t hash = size;
    for (std::size_t at = 0; at + kWord < size; at += kWord)
        hash = Mix(hash, WordAt(name.data() + at));
    return Mix(Mix(hash, WordAt(name.data() + size - kWord)), size);
}

uint32_t Tag(uint64_t hash) {
    return static_cast<uint32_t>(hash >> 32);
}

} // namespace

std::size_t NameIndex::Probe(std::string_view name, uint64_t hash) const {
    const uint32_t tag = Tag(hash);
    std::size_t position = Home(hash);
    while (m_Slots[position].index != kNoNode) {
        const Slot& slot = m_Slots[position];
        if (slot.tag == tag && m_Names[slot.index] == name) break;
        position = (position + 1) & (m_Slots.size() - 1);
    }
    return position;
}

void NameIndex::Grow(std::size_t capacity) {
    m_Slots.assign(capacity, Slot());
    for (NodeIndex index = 0; index < m_Names.size(); ++index) {
        const uint64_t hash = Hash(m_Names[index]);
        std::size_t position = Home(hash);
        while (m_Slots[position].index != kNoNode)
            position = (position + 1) & (capacity - 1);
        m_Slots[position] = {Tag(hash), index};
    }
}

void NameIndex::Reserve(std::size_t count) {
    std::size_t capacity = 16;
    while (capacity < 2 * count)
        capacity *= 2;
    if (capacity <= m_Slots.size()) return;
    Grow(capacity);
    m_Names.reserve(capacity / 2);
}

std::string_view NameIndex::Keep(std::string_view name) {
    if (name.size() > m_Left) {
        const std::size_t size = std::max(name.size(), kBlockSize);
        m_Blocks.push_back(std::unique_ptr<char[]>(new char[size]));
        m_Free = m_Blocks.back().get();
        m_Left = size;
    }
    char* const copy = m_Free;
    std::copy(name.begin(), name.end(), copy);
    m_Free += name.size();
    m_Left -= name.size();
    return {copy, name.size()};
}

void NameIndex::Expect(std::string_view name) const {
    if (!m_Slots.empty()) __builtin_prefetch(&m_Slots[Home(Hash(name))]);
}

NodeIndex NameIndex::Insert(std::string_view name) {
    Reserve(m_Names.size() + 1);
    const uint64_t hash = Hash(name);
    Slot& slot = m_Slots[Probe(name, hash)];
    if (slot.index != kNoNode) return kNoNode;
    slot = {Tag(hash), static_cast<NodeIndex>(m_Names.size())};
    m_Names.push_back(Keep(name));
    return slot.index;
}

NodeIndex NameIndex::Find(std::string_view name) const {
    return m_Slots.empty() ? kNoNode : m_Slots[Probe(name, Hash(name))].index;
}

void NameIndex::Renumber(const std::vector<NodeIndex>& numbers) {
    for (Slot& slot : m_Slots) {
        if (slot.index != kNoNode) slot.index = numbers[slot.index];
    }
    std::vector<std::string_view> names(m_Names.size());
    for (NodeIndex old = 0; old < m_Names.size(); ++old)
        names[numbers[old]] = m_Names[old];
    m_Names.swap(names);
}

struct NameIndex::Query {
    PropertyRecord* pRecord;
    uint64_t hash;
};

// Each step asks the memory for what the next one needs, for all names at once, instead of waiting for it name by name.
void NameIndex::ResolveSome(Query* pQueries, std::size_t count) const {
    for (std::size_t i = 0; i < count; ++i) {
        pQueries[i].hash = Hash(pQueries[i].pRecord->value);
        __builtin_prefetch(&m_Slots[Home(pQueries[i].hash)]);
    }
    for (std::size_t i = 0; i < count; ++i) {
        const Slot& slot = m_Slots[Home(pQueries[i].hash)];
        if (slot.index != kNoNode) __builtin_prefetch(&m_Names[slot.index]);
    }
    for (std::size_t i = 0; i < count; ++i) {
        const Slot& slot = m_Slots[Home(pQueries[i].hash)];
        if (slot.index != kNoNode) __builtin_prefetch(m_Names[slot.index].data());
    }
    for (std::size_t i = 0; i < count; ++i) {
        PropertyRecord& record = *pQueries[i].pRecord;
        record.target = m_Slots[Probe(record.value, pQueries[i].hash)].index;
    }
}

void NameIndex::Resolve(PropertyRecord* pRecords, std::size_t count) const {
    if (m_Slots.empty()) return;
    Query queries[kSideBySide];
    std::size_t waiting = 0;
    for (PropertyRecord* pRecord = pRecords; pRecord != pRecords + count; ++pRecord) {
        if (!IsLink(pRecord->id)) continue;
        queries[waiting++].pRecord = pRecord;
        if (waiting < kSideBySide) continue;
        ResolveSome(queries, waiting);
        waiting = 0;
    }
    ResolveSome(queries, waiting);
}

} // namespace genapi
