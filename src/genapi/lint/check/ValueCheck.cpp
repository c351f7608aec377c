#include "genapi/description/Lexical.h"
#include "genapi/lint/check/Checks.h"
#include "genapi/nodes/base/PropertyRules.h"
#include "genapi/nodes/register/BitField.h"

#include <map>
#include <utility>

namespace genapi {

namespace {

using P = PropertyId;
using T = NodeType;

bool IsFloatKind(NodeType type) {
    return type == T::Float || type == T::FloatReg || type == T::Converter || type == T::SwissKnife;
}

// A keyword that the engine takes although the schema does not name it there; empty when there is none.
std::string OddKeyword(NodeType type, const PropertyRecord& property, bool isNewSchema) {
    const std::string_view value = property.value;
    if (property.id == P::AccessMode || property.id == P::ImposedAccessMode) {
        return value == "RO" || value == "WO" || value == "RW" ? "" : "is not one of RO, WO, RW";
    }
    if (property.id != P::Representation) return {};
    const bool isPlain = value == "Linear" || value == "Logarithmic" || value == "PureNumber";
    if (IsFloatKind(type) && !isPlain) return "is no representation of a float";
    const bool isAddress = value == "IPV4Address" || value == "MACAddress";
    return isAddress && !isNewSchema ? "came with schema 1.1, the file states 1.0" : "";
}

// Looks at the values of one node after the other. bound to a thread
class ValueCheck {
public:
    ValueCheck(const LintModel& model, Findings& findings) : m_Model(model), m_Findings(findings) {}

    void Run() {
        for (m_Node = 0; m_Node < m_Model.Count(); ++m_Node) {
            CheckForms();
            CheckLimits();
            if (m_Model.IsRegister(m_Node)) CheckRegister();
            CheckWrittenValues();
            if (Type() == T::Enumeration) CheckEntries();
        }
    }

private:
    using Range = std::pair<int64_t, int64_t>;

    [[nodiscard]] NodeType Type() const { return m_Model.Node(m_Node).type; }

    void Add(Rule rule, PropertyId id, std::string text) {
        const PropertyRecord* const property = m_Model.Property(m_Node, id);
        const Place place = property == nullptr ? m_Model.PlaceOf(m_Node) : m_Model.PlaceOf(m_Node, *property);
        m_Findings.Add(rule, place, m_Model.Name(m_Node), std::move(text));
    }

    void CheckForms() {
        for (const PropertyRecord& property : m_Model.Node(m_Node).properties) {
            if (!HasProperty(Type(), property.id) || m_Findings.IsFull()) continue;
            const std::string fault = CheckForm(Type(), property);
            const bool isRefused = !fault.empty();
            const std::string odd = isRefused ? "" : OddKeyword(Type(), property, m_Model.IsNewSchema());
            if (!isRefused && odd.empty()) continue;
            const std::string text = std::string(PropertyName(property.id)) + " '" + std::string(property.value) + "' ";
            m_Findings.Add(isRefused ? Rule::BadValue : Rule::OddValue, m_Model.PlaceOf(m_Node, property),
                           m_Model.Name(m_Node), isRefused ? fault : text + odd);
        }
    }

    void CheckLimits() {
        if (Type() == T::Integer) CheckLimitsOf([](std::string_view text) { return ParseInteger(text); });
        if (Type() == T::Float) CheckLimitsOf([](std::string_view text) { return ParseFloat(text); });
    }

    template<class Parse>
    void CheckLimitsOf(Parse parse) {
        const auto min = parse(m_Model.Value(m_Node, P::Min));
        const auto max = parse(m_Model.Value(m_Node, P::Max));
        const auto inc = parse(m_Model.Value(m_Node, P::Inc));
        const auto value = parse(m_Model.Value(m_Node, P::Value));
        if (min && max && *min > *max) return Add(Rule::MinAboveMax, P::Min, "Min is above Max");
        if (value && ((min && *value < *min) || (max && *value > *max)))
            Add(Rule::ValueOutOfRange, P::Value, "Value lies outside Min and Max");
        if (inc && !(*inc > 0)) Add(Rule::BadIncrement, P::Inc, "Inc is not above zero");
    }

    void CheckRegister() {
        if (m_Model.Property(m_Node, P::pLength) != nullptr) return;
        const std::optional<int64_t> stated = m_Model.Integer(m_Node, P::Length);
        const int64_t length = stated.value_or(4);
        const std::string text = "a register of " + std::to_string(length) + " bytes ";
        const bool isInteger = Type() == T::IntReg || Type() == T::MaskedIntReg;
        if (length <= 0) return Add(Rule::BadLength, P::Length, text + "has no content");
        if (isInteger && length > 8) return Add(Rule::BadLength, P::Length, text + "is too long for an integer");
        if (Type() == T::FloatReg && length != 4 && length != 8)
            return Add(Rule::BadLength, P::Length, text + "holds no float; 4 or 8 are needed");
        if (Type() == T::MaskedIntReg) CheckBits(length);
    }

    void CheckBits(int64_t length) {
        const std::optional<int64_t> bit = m_Model.Integer(m_Node, P::Bit);
        const std::optional<int64_t> lsb = bit ? bit : m_Model.Integer(m_Node, P::LSB);
        const std::optional<int64_t> msb = bit ? bit : m_Model.Integer(m_Node, P::MSB);
        const auto isOutside = [length](int64_t number) { return number < 0 || number >= 8 * length; };
        const P named = bit ? P::Bit : P::LSB;
        if ((lsb && isOutside(*lsb)) || (msb && isOutside(*msb)))
            return Add(Rule::BitsOutside, lsb && isOutside(*lsb) ? named : P::MSB,
                       "the register has the bits 0 to " + std::to_string(8 * length - 1));
        if (!lsb || !msb || *lsb == *msb) return;
        const bool isBigEndian = m_Model.Value(m_Node, P::Endianess) == "BigEndian"; // sic
        if (isBigEndian ? *lsb < *msb : *lsb > *msb)
            Add(Rule::BitsReversed, P::LSB,
                isBigEndian ? "in BigEndian order LSB is the larger number"
                            : "in LittleEndian order MSB is the larger number");
    }

    // The range of the register that the node writes, where the description alone tells it.
    [[nodiscard]] std::optional<Range> WrittenRange() const {
        const int target = m_Model.Target(m_Node, P::pValue);
        if (target == LintModel::kNone) return std::nullopt;
        const NodeType type = m_Model.Node(target).type;
        if (type != T::IntReg && type != T::MaskedIntReg) return std::nullopt;
        const int64_t length = m_Model.Integer(target, P::Length).value_or(0);
        if (length < 1 || length > 8) return std::nullopt;
        BitField field{0, static_cast<unsigned>(8 * length)};
        if (type == T::MaskedIntReg) {
            const std::optional<int64_t> bit = m_Model.Integer(target, P::Bit);
            const auto lsb = bit ? bit : m_Model.Integer(target, P::LSB);
            const auto msb = bit ? bit : m_Model.Integer(target, P::MSB);
            bool isValid = lsb && msb;
            if (isValid) field = BitField::Make(*lsb, *msb, static_cast<std::size_t>(length), false, isValid);
            if (!isValid) return std::nullopt;
        }
        const bool isSigned = m_Model.Value(target, P::Sign) == "Signed";
        // All 64 bits of an unsigned register are numbers of their own, negative ones as patterns.
        if (field.width >= 64) return std::nullopt;
        return Range(field.Min(isSigned), field.Max(isSigned));
    }

    void CheckWrittenValues() {
        if (Type() == T::Boolean) {
            const int64_t on = m_Model.Integer(m_Node, P::OnValue).value_or(1);
            const int64_t off = m_Model.Integer(m_Node, P::OffValue).value_or(0);
            if (m_Model.Property(m_Node, P::pValue) != nullptr && on == off)
                Add(Rule::OnEqualsOff, P::OnValue, "OnValue and OffValue are both " + std::to_string(on));
            CheckFits(P::OnValue);
            CheckFits(P::OffValue);
        }
        if (Type() == T::Command) CheckFits(P::CommandValue);
    }

    void CheckFits(PropertyId id) {
        const std::optional<int64_t> value = m_Model.Integer(m_Node, id);
        const std::optional<Range> range = value ? WrittenRange() : std::nullopt;
        if (range && (*value < range->first || *value > range->second))
            Add(Rule::ValueOutOfRange, id, std::string(PropertyName(id)) + " does not fit its register");
    }

    void CheckEntries() {
        const std::optional<Range> range = WrittenRange();
        std::map<int64_t, int> first;
        for (const PropertyRecord& property : m_Model.Node(m_Node).properties) {
            const int entry = property.id == P::pEnumEntry ? m_Model.Find(property.value) : LintModel::kNone;
            const auto value = entry == LintModel::kNone ? std::nullopt : m_Model.Integer(entry, P::Value);
            if (!value) continue;
            const std::string text = "its value " + std::to_string(*value);
            if (range && (*value < range->first || *value > range->second))
                m_Findings.Add(Rule::ValueOutOfRange, m_Model.PlaceOf(entry), m_Model.Name(entry),
                               text + " does not fit the register of " + std::string(m_Model.Name(m_Node)));
            const auto [found, isNew] = first.emplace(*value, entry);
            if (!isNew && !MayBeAbsent(found->second))
                m_Findings.Add(Rule::SameEntryValue, m_Model.PlaceOf(entry), m_Model.Name(entry),
                               text + " is that of " + std::string(m_Model.Name(found->second)) + ", too");
        }
    }

    [[nodiscard]] bool MayBeAbsent(int entry) const {
        return m_Model.Property(entry, P::pIsImplemented) != nullptr ||
               m_Model.Property(entry, P::pIsAvailable) != nullptr;
    }

    const LintModel& m_Model; // borrowed
    Findings& m_Findings;     // borrowed
    int m_Node = 0;           // at hand
};

} // namespace

void CheckValues(const LintModel& model, Findings& findings) {
    ValueCheck(model, findings).Run();
}

} // namespace genapi
