#pragma once
// Where the check of a text stands, and what it says of anything but elements.

#include "genapi/loader/xml/XmlCharacters.h"
#include "genapi/loader/xml/XmlCheck.h"

#include <cstddef>
#include <cstring>
#include <optional>
#include <string_view>
#include <unordered_set>

namespace genapi {

/// Goes through a text. Each check begins where the cursor stands and goes behind what it has looked at; false: it has
/// found a fault. Bound to a thread.
class XmlCursor {
protected:
    /// What parts a text makes a node of the tree of what follows, and a section is one itself.
    static constexpr std::size_t kPieceCost = 128;
    static constexpr const char* kTooManyElements = "the description has more elements than may be kept in memory";

    /// The text is borrowed.
    XmlCursor(std::string_view text, std::size_t budget)
        : m_Text(text), m_Budget(budget), m_Special(FindXmlSpecial(text, 0)) {}
    ~XmlCursor() = default;

    bool Fail(std::size_t offset, const char* reason);
    /// Fails when the budget is used up.
    bool Charge(std::size_t bytes, const char* reason = kTooManyElements) {
        m_Cost += bytes;
        return m_Cost <= m_Budget || Fail(m_At, reason);
    }
    /// What is left of the budget.
    [[nodiscard]] std::size_t Left() const { return m_Budget - m_Cost; }

    [[nodiscard]] bool IsAtEnd() const { return m_At == m_Text.size(); }
    [[nodiscard]] char Here() const { return m_At < m_Text.size() ? m_Text[m_At] : '\0'; }
    [[nodiscard]] bool StartsWith(std::string_view start) const {
        return m_Text.size() - m_At >= start.size() &&
               std::memcmp(m_Text.data() + m_At, start.data(), start.size()) == 0;
    }
    /// The first special character from there on. Each search begins behind where the one before began.
    std::size_t SpecialFrom(std::size_t first) {
        if (m_Special < first) m_Special = FindXmlSpecial(m_Text, first);
        return m_Special;
    }
    void SkipBlanks() {
        while (!IsAtEnd() && IsXml(m_Text[m_At], kXmlBlank))
            ++m_At;
    }
    /// Empty when there is none.
    std::string_view TakeName();

    bool SkipDeclaration();
    bool CheckOutside();
    bool CheckComment();
    bool CheckSection(bool isInside);
    bool CheckInstruction();
    bool CheckDocumentType(bool isInFront);
    /// Ends at the semicolon.
    bool CheckReference();

    const std::string_view m_Text;
    std::size_t m_At = 0;
    std::size_t m_Cost = 0;
    std::optional<XmlFault> m_Fault;

private:
    bool CheckPart(std::size_t first, std::size_t last);
    bool CheckCharacters(std::size_t first, std::size_t last);
    bool NoteEntity();

    const std::size_t m_Budget;
    std::size_t m_Special; ///< the first special character behind what has been searched for one
    bool m_HasDocumentType = false;
    std::unordered_set<std::string_view> m_Entities; ///< declared
};

inline std::string_view XmlCursor::TakeName() {
    const char* const start = m_Text.data() + m_At;
    const char* const end = m_Text.data() + m_Text.size();
    if (start == end || !IsXml(*start, kXmlNameStart)) return {};
    const auto size = static_cast<std::size_t>(XmlNameEnd(start, end) - start);
    m_At += size;
    return {start, size};
}

} // namespace genapi
