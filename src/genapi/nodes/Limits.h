#pragma once
// The limits that a description gives a number: constants or links.

#include "genapi/description/Lexical.h"
#include "genapi/nodes/base/Node.h"

namespace genapi {

/// One of them. Number is int64_t or double. Constant after Bind, re-entrant
template<class Number>
struct Limit {
    bool IsGiven() const { return pNode || isConstant; }
    Number Read() const;

    Node* pNode = nullptr;
    Number constant = Number();
    bool isConstant = false;
};

template<>
inline int64_t Limit<int64_t>::Read() const {
    return isConstant ? constant : pNode->ReadInteger({});
}
template<>
inline double Limit<double>::Read() const {
    return isConstant ? constant : pNode->ReadReal({});
}

/// All three. A constant wins over a link. Constant after Bind, re-entrant
template<class Number>
struct Limits {
    Limit<Number> min;
    Limit<Number> max;
    Limit<Number> inc;

    void Bind(const BoundProperty& property) {
        switch (property.record.id) {
        case PropertyId::Min:
            SetConstant(min, property.record.value);
            break;
        case PropertyId::Max:
            SetConstant(max, property.record.value);
            break;
        case PropertyId::Inc:
            SetConstant(inc, property.record.value);
            break;
        case PropertyId::pMin:
            min.pNode = property.pTarget;
            break;
        case PropertyId::pMax:
            max.pNode = property.pTarget;
            break;
        case PropertyId::pInc:
            inc.pNode = property.pTarget;
            break;
        default:
            break;
        }
    }

private:
    static void SetConstant(Limit<Number>& limit, std::string_view text);
};

template<>
inline void Limits<int64_t>::SetConstant(Limit<int64_t>& limit, std::string_view text) {
    limit.constant = ParseInteger(text).value_or(0);
    limit.isConstant = true;
}
template<>
inline void Limits<double>::SetConstant(Limit<double>& limit, std::string_view text) {
    limit.constant = ParseFloat(text).value_or(0.0);
    limit.isConstant = true;
}

} // namespace genapi
