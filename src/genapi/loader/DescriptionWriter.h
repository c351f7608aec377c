#pragma once
// Writes records as description text.

#include "genapi/description/Description.h"

#include <string>
#include <string_view>
#include <unordered_map>

namespace genapi {

/// What writing leaves in or out. All members are borrowed and optional.
class WriteFilter {
public:
    virtual ~WriteFilter() = default;
    [[nodiscard]] virtual bool KeepsNode(std::size_t index) const = 0;
    [[nodiscard]] virtual bool KeepsProperty(const PropertyRecord& property) const = 0;
};

/// Entries are written inside their enumerations. Bound to a thread.
class DescriptionWriter {
public:
    DescriptionWriter(const Description& description, const WriteFilter& filter);

    /// With a feature named, a category "Root" that lists nothing else comes first.
    [[nodiscard]] std::string Write(std::string_view onlyFeature = {});

private:
    void WriteRoot();
    void WriteNode(const NodeRecord& node);
    void WriteProperty(const PropertyRecord& property);
    bool WriteEntry(const NodeRecord& enumeration, const PropertyRecord& link);
    void StartNode(std::string_view kind, std::string_view name, std::string_view nameSpace);
    void EndNode(std::string_view kind);
    void Attribute(std::string_view name, std::string_view value);
    void Escaped(std::string_view text);

    const Description& m_Description; ///< borrowed
    const WriteFilter& m_Filter;      ///< borrowed
    std::unordered_map<std::string_view, const NodeRecord*> m_Entries;
    std::string m_Text;
};

/// "On" for entry "EnumEntry_Mode_On" of the enumeration "Mode"; empty when the name is made otherwise.
[[nodiscard]] std::string_view EntryShortName(std::string_view enumeration, std::string_view entry);

} // namespace genapi
