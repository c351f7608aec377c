#pragma once
// The properties of a node, as its description gives them.

#include "genapi/description/Description.h"

#include <Base/GCStringVector.h>

#include <optional>
#include <string>
#include <string_view>

namespace genapi {

/// Borrowed from the map, in document order. Constant, re-entrant.
class NodeProperties : public PropertySpan {
public:
    NodeProperties() = default;
    explicit NodeProperties(const PropertySpan& records) : PropertySpan(records) {}

    /// Of a single property the last one counts; null when there is none.
    const PropertyRecord* Find(PropertyId id) const {
        const PropertyRecord* pFound = nullptr;
        for (const PropertyRecord& record : *this) {
            if (record.id == id) pFound = &record;
        }
        return pFound;
    }
    /// Empty when there is none.
    std::string_view Text(PropertyId id) const {
        const PropertyRecord* const pRecord = Find(id);
        return pRecord ? pRecord->value : std::string_view();
    }
    /// kNoNode when there is none.
    NodeIndex Target(PropertyId id) const;

    /// Each name once.
    void ListNames(GenICam::gcstring_vector& names) const;
    struct Texts {
        std::string value;
        std::string attribute;
    };
    /// Those of a list are parted by tabulators; nothing when there is none.
    std::optional<Texts> Join(PropertyId id) const;
};

} // namespace genapi
