#include "genapi/loader/xml/XmlCheck.h"

#include "genapi/loader/xml/XmlCursor.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace genapi {

namespace {

// What an element becomes: a node of the tree and a property, which is kept in lists that grow by doubling.
constexpr std::size_t kElementCost = 320;
constexpr std::size_t kEndTagCost = 64;
// What the attribute of an element may make of it: a node of the map, with its names, caches and links.
constexpr std::size_t kAttributeCost = 1100;
// What each character of a formula may become: an operation, its place in the text, its operand.
constexpr std::size_t kFormulaCost = 40;

bool IsFormula(std::string_view element) {
    if (element.front() != 'F' && element.front() != 'E') return false;
    return element == "Formula" || element == "FormulaTo" || element == "FormulaFrom" || element == "Expression";
}

// Tags have few attributes, as a rule.
bool AreUnique(std::vector<std::string_view>& names) {
    constexpr std::size_t kFew = 8;
    if (names.size() > kFew) {
        std::sort(names.begin(), names.end());
        return std::adjacent_find(names.begin(), names.end()) == names.end();
    }
    for (auto name = names.begin(); name != names.end(); ++name) {
        if (std::find(names.begin(), name, *name) != name) return false;
    }
    return true;
}

// Goes behind a plain element, one of a name and a text alone, and what stands in front of it. Null when another tag
// comes first. Nothing is special up to the end.
const char* PlainElementEnd(const char* at, const char* end) {
    const auto findTag = [end](const char* from) {
        if (from < end && *from == '<') return from;
        return static_cast<const char*>(std::memchr(from, '<', static_cast<std::size_t>(end - from)));
    };
    const char* const tag = findTag(at);
    if (tag == nullptr || tag + 1 == end || !IsXml(tag[1], kXmlNameStart)) return nullptr;
    const char* const name = tag + 1;
    const char* const nameEnd = XmlNameEnd(name, end);
    if (nameEnd == end || *nameEnd != '>') return nullptr;
    const auto size = static_cast<std::size_t>(nameEnd - name);
    const char* const close = findTag(nameEnd);
    if (close == nullptr || static_cast<std::size_t>(end - close) < size + 3) return nullptr; // </name>
    const bool isClosed = close[1] == '/' && close[size + 2] == '>' && std::memcmp(close + 2, name, size) == 0;
    return isClosed && !IsFormula({name, size}) ? close + size + 3 : nullptr;
}

// Unnamed, so that all of it becomes one loop. Bound to a thread.
class Checker final : XmlCursor {
public:
    Checker(std::string_view text, std::size_t budget) : XmlCursor(text, budget) {}

    XmlVerdict Run();

private:
    bool ChargeText(std::size_t start);
    bool TakeOpenName();
    void SkipPlainElements();

    bool Step();
    bool CheckText();
    bool CheckSpecial(std::size_t end);
    bool CheckMarkup();
    bool CheckEndTag();
    bool CheckStartTag();
    bool CheckAttributes(std::size_t start);
    bool CheckAttribute();
    bool CheckValue(std::size_t start, char quote);

    std::size_t m_Depth = 0;
    std::size_t m_Elements = 0;
    bool m_HasRoot = false;
    bool m_IsFormula = false;              ///< the text that follows
    std::string_view m_Open;               ///< the innermost element, when it has held none yet; else empty
    std::vector<std::string_view> m_Names; ///< of the attributes of the tag at hand
};

XmlVerdict Checker::Run() {
    if (StartsWith("\xEF\xBB\xBF")) m_At = 3;
    bool isFine = SkipDeclaration();
    while (isFine && !IsAtEnd())
        isFine = Step();
    if (isFine && m_Depth > 0) Fail(m_At, "the text ends inside of an element");
    if (isFine && !m_HasRoot) Fail(m_At, "there is no element");
    return {m_Fault, m_Cost, m_Elements};
}

bool Checker::ChargeText(std::size_t start) {
    return !m_IsFormula ||
           Charge((m_At - start) * kFormulaCost, "the description has longer formulas than may be kept in memory");
}

// Most end tags close the element that has just been opened.
bool Checker::TakeOpenName() {
    const std::size_t end = m_At + m_Open.size();
    if (m_Open.empty() || end >= m_Text.size() || IsXml(m_Text[end], kXmlNamePart) || !StartsWith(m_Open)) return false;
    m_At = end;
    return true;
}

// They are most of a description.
void Checker::SkipPlainElements() {
    constexpr std::size_t kCost = kElementCost + kEndTagCost;
    if (m_IsFormula) return;
    const char* const start = m_Text.data() + m_At;
    const char* const end = m_Text.data() + SpecialFrom(m_At);
    const char* at = start;
    std::size_t left = Left() / kCost;
    for (const char* next = at; left > 0 && (next = PlainElementEnd(at, end)) != nullptr; --left) {
        at = next;
        m_Cost += kCost;
        ++m_Elements;
    }
    if (at == start) return;
    m_At += static_cast<std::size_t>(at - start);
    m_Open = {};
}

bool Checker::Step() {
    if (m_Depth > 0) SkipPlainElements();
    if (Here() != '<' && !(m_Depth > 0 ? CheckText() : CheckOutside())) return false;
    return IsAtEnd() || CheckMarkup();
}

bool Checker::CheckText() {
    const std::size_t start = m_At;
    const std::size_t end = std::min(m_Text.find('<', start), m_Text.size());
    if (SpecialFrom(start) < end && !CheckSpecial(end)) return false;
    m_At = end;
    return IsAtEnd() || ChargeText(start);
}

// What is special in the text that ends there.
bool Checker::CheckSpecial(std::size_t end) {
    while (SpecialFrom(m_At) < end) {
        m_At = SpecialFrom(m_At);
        const char c = m_Text[m_At];
        if (c == '&' && !CheckReference()) return false;
        if (c == ']' && StartsWith("]]>")) return Fail(m_At, "']]>' stands in a text");
        if (IsXml(c, kXmlControl)) return Fail(m_At, "there is a control character");
        ++m_At;
    }
    return true;
}

bool Checker::CheckMarkup() {
    const char next = m_At + 1 < m_Text.size() ? m_Text[m_At + 1] : '\0';
    if (next == '/') return CheckEndTag();
    if (next == '?') return CheckInstruction();
    if (next != '!') return CheckStartTag();
    if (StartsWith("<!--")) return CheckComment();
    if (!StartsWith("<![CDATA[")) return CheckDocumentType(/*isInFront=*/!m_HasRoot);
    const std::size_t start = m_At;
    return CheckSection(/*isInside=*/m_Depth > 0) && ChargeText(start);
}

bool Checker::CheckEndTag() {
    const std::size_t start = m_At;
    m_At += 2;
    if (m_Depth == 0) return Fail(start, "an end tag has no start tag");
    const bool hasName = TakeOpenName() || !TakeName().empty();
    SkipBlanks();
    if (!hasName || Here() != '>') return Fail(start, "an end tag is malformed");
    ++m_At;
    --m_Depth;
    m_Open = {};
    m_IsFormula = false;
    return Charge(kEndTagCost);
}

bool Checker::CheckStartTag() {
    const std::size_t start = m_At++;
    if (m_Depth == 0 && m_HasRoot) return Fail(start, "there is a second root element");
    m_HasRoot = true;
    ++m_Elements;
    m_Open = TakeName();
    if (m_Open.empty()) return Fail(start, "a '<' begins no markup");
    m_IsFormula = IsFormula(m_Open);
    if (!Charge(kElementCost)) return false;
    if (Here() != '>' && !CheckAttributes(start)) return false;
    if (Here() == '>') {
        ++m_At;
        ++m_Depth;
    } else {
        m_At += 2;
        m_Open = {};
    }
    return true;
}

// Ends at the end of the tag.
bool Checker::CheckAttributes(std::size_t start) {
    m_Names.clear();
    for (;;) {
        const std::size_t before = m_At;
        SkipBlanks();
        if (IsAtEnd()) return Fail(start, "a start tag has no end");
        if (Here() == '>' || StartsWith("/>")) break;
        if (m_At == before) return Fail(m_At, "a start tag is malformed");
        if (!CheckAttribute()) return false;
    }
    return AreUnique(m_Names) || Fail(start, "an element has an attribute twice");
}

bool Checker::CheckAttribute() {
    const std::size_t start = m_At;
    m_Names.push_back(TakeName());
    SkipBlanks();
    if (m_Names.back().empty() || Here() != '=') return Fail(start, "an attribute is malformed");
    ++m_At;
    SkipBlanks();
    const char quote = Here();
    if (quote != '"' && quote != '\'') return Fail(start, "the value of an attribute is not quoted");
    ++m_At;
    return Charge(kAttributeCost) && CheckValue(start, quote);
}

bool Checker::CheckValue(std::size_t start, char quote) {
    const std::size_t end = m_Text.find(quote, m_At);
    if (end < SpecialFrom(m_At) && m_Text.substr(m_At, end - m_At).find('<') == std::string_view::npos) {
        m_At = end + 1;
        return true;
    }
    for (;; ++m_At) {
        while (!IsAtEnd() && !IsXml(m_Text[m_At], kXmlEndsValue))
            ++m_At;
        if (IsAtEnd()) return Fail(start, "the value of an attribute has no end");
        const char c = m_Text[m_At];
        if (c == quote) break;
        if (c == '<') return Fail(m_At, "'<' stands in the value of an attribute");
        if (c == '&' && !CheckReference()) return false;
        if (IsXml(c, kXmlControl)) return Fail(m_At, "there is a control character");
    }
    ++m_At;
    return true;
}

} // namespace

XmlVerdict CheckXml(std::string_view text, std::size_t budget) {
    return Checker(text, budget).Run();
}

} // namespace genapi
