#include "genapi/lint/RegisterBits.h"

#include "genapi/description/Lexical.h"
#include "genapi/nodes/register/BitField.h"

#include <algorithm>
#include <map>
#include <string>

namespace genapi {

namespace {

using P = PropertyId;

constexpr std::size_t kMostComparisons = 1'000'000;

// Where a register lies. The bits are those of its first eight bytes, byte by byte; longer ones are taken whole.
struct Area {
    uint64_t first = 0;
    uint64_t length = 0;
    uint8_t bits[8] = {};
    int node = LintModel::kNone;
};

// The port and the variable terms, which have to be equal before addresses can be compared.
std::string GroupOf(const LintModel& model, int node) {
    std::vector<std::string> terms;
    for (const PropertyRecord& property : model.Node(node).properties) {
        if (property.id != P::pAddress && property.id != P::pIndex) continue;
        terms.push_back(std::string(property.value) + "*" + std::string(property.attribute));
    }
    std::sort(terms.begin(), terms.end());
    std::string group(model.Value(node, P::pPort));
    for (const std::string& term : terms)
        group += "\n" + term;
    return group;
}

void SetBits(const LintModel& model, Area& area) {
    const std::size_t length = static_cast<std::size_t>(std::min<uint64_t>(area.length, 8));
    const std::optional<int64_t> bit = model.Integer(area.node, P::Bit);
    const std::optional<int64_t> lsb = bit ? bit : model.Integer(area.node, P::LSB);
    const std::optional<int64_t> msb = bit ? bit : model.Integer(area.node, P::MSB);
    const bool isBigEndian = model.Value(area.node, P::Endianess) == "BigEndian"; // sic
    BitField field{0, static_cast<unsigned>(8 * length)};
    bool isValid = true;
    const bool isMasked = model.Node(area.node).type == NodeType::MaskedIntReg && lsb && msb;
    if (isMasked) field = BitField::Make(*lsb, *msb, length, isBigEndian, isValid);
    if (!isValid) field = {0, static_cast<unsigned>(8 * length)};
    StoreBytes(area.bits, length, isBigEndian, field.Insert(0, -1));
}

std::optional<Area> AreaOf(const LintModel& model, int node) {
    const std::optional<int64_t> length = model.Integer(node, P::Length);
    if (!length || *length <= 0 || model.Property(node, P::pLength) != nullptr) return std::nullopt;
    Area area;
    area.node = node;
    area.length = static_cast<uint64_t>(*length);
    for (const PropertyRecord& property : model.Node(node).properties) {
        if (property.id == P::Address) area.first += static_cast<uint64_t>(ParseInteger(property.value).value_or(0));
    }
    SetBits(model, area);
    return area;
}

bool SharesBit(const Area& a, const Area& b) {
    const uint64_t shift = b.first - a.first; // a lies first
    if (shift >= a.length) return false;
    if (shift >= 8 || a.length > 8 || b.length > 8) return true;
    for (std::size_t i = shift; i < 8; ++i) {
        if ((a.bits[i] & b.bits[i - shift]) != 0) return true;
    }
    return false;
}

} // namespace

std::vector<std::pair<int, int>> RegistersOnSameBits(const LintModel& model) {
    std::map<std::string, std::vector<Area>> groups;
    for (int node = 0; node < model.Count(); ++node) {
        if (!model.IsRegister(node) || !model.IsOnDevice(node)) continue;
        if (const std::optional<Area> area = AreaOf(model, node)) groups[GroupOf(model, node)].push_back(*area);
    }
    std::vector<std::pair<int, int>> pairs;
    std::size_t comparisons = 0;
    for (auto& [group, areas] : groups) {
        std::stable_sort(areas.begin(), areas.end(), [](const Area& a, const Area& b) { return a.first < b.first; });
        for (std::size_t i = 0; i < areas.size(); ++i) {
            for (std::size_t j = i + 1; j < areas.size() && areas[j].first - areas[i].first < areas[i].length; ++j) {
                if (++comparisons > kMostComparisons) return pairs;
                if (SharesBit(areas[i], areas[j])) pairs.push_back(std::minmax(areas[i].node, areas[j].node));
            }
        }
    }
    return pairs;
}

} // namespace genapi
