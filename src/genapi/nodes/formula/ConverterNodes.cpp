#include "genapi/nodes/formula/ConverterNodes.h"

#include "genapi/formula/FormulaArithmetic.h"

#include <Base/GCException.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>

namespace genapi {

namespace {

constexpr int64_t kMinInteger = std::numeric_limits<int64_t>::min();
constexpr int64_t kMaxInteger = std::numeric_limits<int64_t>::max();
constexpr double kMaxReal = std::numeric_limits<double>::max();

// The raw node's limits mean that it has none.
bool IsUnlimited(Node& raw, bool isMax) {
    if (!raw.IsReal()) return isMax ? raw.IntegerMax() == kMaxInteger : raw.IntegerMin() == kMinInteger;
    const double limit = isMax ? raw.RealMax() : raw.RealMin();
    return std::fabs(limit) >= kMaxReal;
}

Value RawLimit(Node& raw, bool isMax) {
    if (raw.IsReal()) return Value::Real(isMax ? raw.RealMax() : raw.RealMin());
    return Value::Integer(isMax ? raw.IntegerMax() : raw.IntegerMin());
}

// Whether a formula falls, seen from the one raw end that is known; nothing when it does not tell.
template<class Convert>
std::optional<bool> IsFalling(Value end, bool isMin, Convert convert) {
    constexpr int64_t kFarthest = 1 << 20;
    const auto atEnd = convert(end);
    try {
        for (int64_t step = 1; step <= kFarthest; step *= 32) {
            const int64_t way = isMin ? step : -step;
            const Value raw = end.isReal ? Value::Real(end.real + static_cast<double>(way))
                                         : Value::Integer(arithmetic::WrapAdd(end.integer, way));
            const auto inside = convert(raw);
            if (inside != atEnd) return (inside < atEnd) == isMin;
        }
    } catch (const GenICam::GenericException&) {
        return std::nullopt; // the raw node may never have that value
    }
    return std::nullopt;
}

// One limit of a converter. A raw end without limit stays without one; a wrong slope is put right by ordering the ends.
template<class Number, class Convert>
Number ConvertedLimit(Node& raw, GenApi::ESlope slope, bool isMax, Number unlimited, Convert convert) {
    if (slope == GenApi::Varying) return unlimited;
    const bool isMinOpen = IsUnlimited(raw, false);
    const bool isMaxOpen = IsUnlimited(raw, true);
    if (isMinOpen && isMaxOpen) return unlimited;
    if (!isMinOpen && !isMaxOpen) {
        const Number atMin = convert(RawLimit(raw, false));
        const Number atMax = convert(RawLimit(raw, true));
        return isMax ? std::max(atMin, atMax) : std::min(atMin, atMax);
    }
    // Only one end is known. The slope tells which of ours it is, or else the formula does.
    std::optional<bool> isFalling = slope == GenApi::Decreasing;
    if (slope == GenApi::Automatic) isFalling = IsFalling(RawLimit(raw, isMinOpen), isMaxOpen, convert);
    if (!isFalling) return unlimited;
    const bool wantsRawMax = isMax != *isFalling;
    const bool isOpen = wantsRawMax ? isMaxOpen : isMinOpen;
    return isOpen ? unlimited : convert(RawLimit(raw, wantsRawMax));
}

// The decimal number with the fewest digits that is a difference of two neighbours, each of which is rounded: 0.1, not
// 0.10000000000000142.
double ShortestStep(double first, double second) {
    const double step = std::fabs(second - first);
    const double roundings = 4 * std::numeric_limits<double>::epsilon() * std::max(std::fabs(first), std::fabs(second));
    for (int digits = 1; digits <= std::numeric_limits<double>::digits10; ++digits) {
        char text[32];
        const char* const end =
            std::to_chars(text, text + sizeof text, step, std::chars_format::scientific, digits - 1).ptr;
        double shorter = 0;
        std::from_chars(text, end, shorter);
        if (shorter > 0 && std::fabs(shorter - step) <= roundings) return shorter;
    }
    return step;
}

// Rounding at the edge may push a raw value out of its range by less than a unit.
double ClampRaw(Node& raw, double value) {
    const double min = raw.RealMin();
    const double max = raw.RealMax();
    if (value < min && min - value < 1.0) return min;
    if (value > max && value - max < 1.0) return max;
    return value;
}

} // namespace

void ConverterCore::Bind(const BoundProperty& property) {
    const std::string_view text = property.record.value;
    switch (property.record.id) {
    case PropertyId::pValue:
        m_pValue = property.pTarget;
        if (m_Mode == FormulaMode::Integer && !m_pValue->IsReal()) m_From.SetImplicitInteger();
        break;
    case PropertyId::FormulaFrom:
        m_From.SetText(text);
        break;
    case PropertyId::FormulaTo:
        m_To.SetText(text);
        break;
    case PropertyId::Slope:
        m_Slope = ParseKeywordAs<GenApi::ESlope>(Keyword::Slope, text).value_or(GenApi::Automatic);
        break;
    case PropertyId::IsLinear:
        m_IsLinear = ParseYesNo(text).value_or(false);
        break;
    default:
        m_Scope.Bind(property);
        break;
    }
}

GenApi::EAccessMode ConverterCore::Access() {
    const GenApi::EAccessMode raw = m_pValue ? m_pValue->Access() : GenApi::NI;
    if (!GenApi::IsAvailable(raw)) return raw;
    if (!m_From.CompileError(m_Scope).empty()) return GenApi::NI;
    if (!m_To.CompileError(m_Scope).empty()) return GenApi::Combine(raw, GenApi::RO);
    return m_From.AreVariablesReadable(m_Scope) && m_To.AreVariablesReadable(m_Scope) ? raw : GenApi::NA;
}

std::string ConverterCore::CompileError() {
    const std::string& from = m_From.CompileError(m_Scope);
    return from.empty() ? m_To.CompileError(m_Scope) : from;
}

void IntConverterNode::Bind(const BoundProperty& property) {
    m_Core.Bind(property);
    IntegerFace::Bind(property);
}

int64_t IntConverterNode::RawInteger(ReadFlags flags) {
    const auto compute = [&] {
        return m_Core.From(*this, m_Core.Raw()->ReadNumber(flags, /*wantsReal=*/false), flags).integer;
    };
    return flags.verify ? compute() : m_Value.Get(Host(), flags.ignoreCache, compute);
}

void IntConverterNode::StoreInteger(int64_t value, bool verify) {
    WriteOperation::NotePassed(Host(), Index());
    m_Core.Raw()->WriteInteger(m_Core.To(*this, Value::Integer(value)).integer, verify);
}

int64_t IntConverterNode::Limit(bool isMax) {
    return (isMax ? m_Max : m_Min).Get(Host(), /*isFresh=*/false, [&] {
        return ConvertedLimit(*m_Core.Raw(), m_Core.Slope(), isMax, isMax ? kMaxInteger : kMinInteger,
                              [this](Value raw) { return m_Core.From(*this, raw, {}).integer; });
    });
}

void ConverterNode::Bind(const BoundProperty& property) {
    m_Core.Bind(property);
    FloatFace::Bind(property);
}

double ConverterNode::RawReal(ReadFlags flags) {
    const auto compute = [&] {
        return m_Core.From(*this, m_Core.Raw()->ReadNumber(flags, /*wantsReal=*/true), flags).real;
    };
    return flags.verify ? compute() : m_Value.Get(Host(), flags.ignoreCache, compute);
}

void ConverterNode::StoreReal(double value, bool verify) {
    WriteOperation::NotePassed(Host(), Index());
    const double raw = m_Core.To(*this, Value::Real(value)).real;
    m_Core.Raw()->WriteReal(verify ? ClampRaw(*m_Core.Raw(), raw) : raw, verify);
}

double ConverterNode::Limit(bool isMax) {
    return (isMax ? m_Max : m_Min).Get(Host(), /*isFresh=*/false, [&] {
        return ConvertedLimit(*m_Core.Raw(), m_Core.Slope(), isMax, isMax ? kMaxReal : -kMaxReal,
                              [this](Value raw) { return m_Core.From(*this, raw, {}).real; });
    });
}

bool ConverterNode::DoHasRealInc() {
    return m_Core.IsLinear() && m_Core.Raw()->HasRealInc() && !IsUnlimited(*m_Core.Raw(), false);
}

double ConverterNode::DoRealInc() {
    Node& raw = *m_Core.Raw();
    const double first = m_Core.From(*this, Value::Real(raw.RealMin()), {}).real;
    const double second = m_Core.From(*this, Value::Real(raw.RealMin() + raw.RealInc()), {}).real;
    return ShortestStep(first, second);
}

} // namespace genapi
