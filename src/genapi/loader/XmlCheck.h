#pragma once
// Whether a text is a document of XML at all, and what it would cost to take it in.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace genapi {

struct XmlFault {
    std::size_t offset = 0; ///< in the text
    const char* reason = nullptr;
};

/// Looks for what the parser of the tree lets pass: a second root, text outside of it, undefined entities, attributes
/// given twice, control characters, and the rest of what makes a text not well-formed. Two things are left to others:
/// whether end tags bear the names of their start tags, and whether the bytes above 127 are UTF-8. One pass over the
/// text, without recursion. Bound to a thread.
class XmlCheck {
public:
    /// UTF-8, without zeros behind the end. The text is borrowed. What costs more than the budget is a fault, too.
    XmlCheck(std::string_view text, std::size_t budget) : m_Text(text), m_Budget(budget) {}

    /// Nothing when all is well. To be called once.
    [[nodiscard]] std::optional<XmlFault> Run();

    /// Bytes of memory that the tree of the text and the nodes made from it need at most, whatever they are. After Run.
    [[nodiscard]] std::size_t Cost() const { return m_Cost; }

private:
    bool Fail(std::size_t offset, const char* reason);
    /// Fails when the budget is used up.
    bool Charge(std::size_t bytes);
    /// The same for a text that ends here, which costs more when it is compiled.
    bool ChargeText(std::size_t start);
    [[nodiscard]] bool IsAtEnd() const { return m_At == m_Text.size(); }
    [[nodiscard]] char Here() const { return m_At < m_Text.size() ? m_Text[m_At] : '\0'; }
    [[nodiscard]] bool StartsWith(std::string_view start) const;
    void SkipUntil(uint8_t set, bool isWanted);
    void SkipBlanks();
    std::string_view TakeName();

    /// Each goes behind what it has looked at. False: failed.
    bool Step();
    bool SkipDeclaration();
    bool CheckOutside();
    bool CheckText();
    bool CheckMarkup();
    bool CheckComment();
    bool CheckSection();
    bool CheckInstruction();
    bool CheckDocumentType();
    bool CheckEndTag();
    bool CheckStartTag();
    bool CheckAttribute();
    bool CheckAttributeNames(std::size_t start);
    bool CheckValue(char quote);
    bool CheckReference();
    bool CheckCharacters(std::size_t first, std::size_t last);
    bool NoteEntity();

    std::string_view m_Text;
    std::size_t m_Budget;
    std::size_t m_At = 0;
    std::size_t m_Depth = 0;
    std::size_t m_Cost = 0;
    bool m_IsFormula = false; ///< the text that follows
    bool m_HasRoot = false;
    bool m_HasDocumentType = false;
    std::vector<std::string_view> m_Names;           ///< of the attributes of the tag at hand
    std::unordered_set<std::string_view> m_Entities; ///< declared
    std::optional<XmlFault> m_Fault;
};

} // namespace genapi
