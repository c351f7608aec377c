#include "genapi/nodes/base/NodeProperties.h"

namespace genapi {

NodeIndex NodeProperties::Target(PropertyId id) const {
    const PropertyRecord* const pRecord = Find(id);
    return pRecord ? pRecord->target : kNoNode;
}

void NodeProperties::ListNames(GenICam::gcstring_vector& names) const {
    names.clear();
    bool isListed[kPropertyCount] = {};
    for (const PropertyRecord& record : *this) {
        bool& wasListed = isListed[static_cast<std::size_t>(record.id)];
        if (!wasListed) names.push_back(GenICam::gcstring(PropertyName(record.id)));
        wasListed = true;
    }
}

std::optional<NodeProperties::Texts> NodeProperties::Join(PropertyId id) const {
    if (!IsListProperty(id)) {
        const PropertyRecord* const pRecord = Find(id);
        if (!pRecord) return std::nullopt;
        return Texts{std::string(pRecord->value), std::string(pRecord->attribute)};
    }
    std::optional<Texts> texts;
    for (const PropertyRecord& record : *this) {
        if (record.id != id) continue;
        if (texts) {
            texts->value += '\t';
            texts->attribute += '\t';
        } else {
            texts.emplace();
        }
        texts->value += record.value;
        texts->attribute += record.attribute;
    }
    return texts;
}

} // namespace genapi
