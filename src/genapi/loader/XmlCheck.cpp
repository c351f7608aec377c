#include "genapi/loader/XmlCheck.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace genapi {

namespace {

// What an element becomes: a node of the tree and a property, which is kept in lists that grow by doubling.
constexpr std::size_t kElementCost = 320;
// What the attribute of an element may make of it: a node of the map, with its names, caches and links.
constexpr std::size_t kAttributeCost = 1100;
// What parts a text makes a node of the tree of what follows, and a section is one itself.
constexpr std::size_t kPieceCost = 128;
// What each character of a formula may become: an operation, its place in the text, its operand.
constexpr std::size_t kFormulaCost = 40;

enum Class : uint8_t {
    kBlank = 1,
    kNameStart = 2,
    kNamePart = 4,
    kControl = 8,
    kStopsText = 16,  // markup, references, the end of a section, controls
    kStopsValue = 32, // quotes, markup, references, controls
};

constexpr std::array<uint8_t, 256> kClasses = [] {
    std::array<uint8_t, 256> classes{};
    for (unsigned c = 0; c < 256; ++c) {
        const bool isBlank = c == ' ' || c == '\t' || c == '\n' || c == '\r';
        const bool isLetter = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
        const bool isStart = isLetter || c == '_' || c == ':' || c >= 0x80;
        const bool isPart = isStart || (c >= '0' && c <= '9') || c == '-' || c == '.';
        const bool isControl = c < 0x20 && !isBlank;
        const bool stopsBoth = isControl || c == '<' || c == '&';
        classes[c] =
            static_cast<uint8_t>((isBlank ? kBlank : 0) | (isStart ? kNameStart : 0) | (isPart ? kNamePart : 0) |
                                 (isControl ? kControl : 0) | (stopsBoth || c == ']' ? kStopsText : 0) |
                                 (stopsBoth || c == '"' || c == '\'' ? kStopsValue : 0));
    }
    return classes;
}();

bool Is(char c, uint8_t set) {
    return (kClasses[static_cast<uint8_t>(c)] & set) != 0;
}

bool IsCharacter(uint32_t point) {
    if (point < 0x20) return point == '\t' || point == '\n' || point == '\r';
    return point < 0xD800 || (point > 0xDFFF && point < 0xFFFE) || (point > 0xFFFF && point <= 0x10FFFF);
}

// The code point that "#38" or "#x26" names; 0, which is none, when malformed.
uint32_t ReferredPoint(std::string_view digits) {
    const bool isHex = digits.substr(0, 2) == "#x";
    digits.remove_prefix(isHex ? 2 : 1);
    uint32_t point = 0;
    for (const char c : digits) {
        const bool isDecimal = c >= '0' && c <= '9';
        const bool isLetter = isHex && ((c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'));
        if ((!isDecimal && !isLetter) || point > 0x10FFFF) return 0;
        const auto digit = static_cast<uint32_t>(isDecimal ? c - '0' : (c | 0x20) - 'a' + 10);
        point = point * (isHex ? 16 : 10) + digit;
    }
    return point;
}

bool IsFormula(std::string_view element) {
    return element == "Formula" || element == "FormulaTo" || element == "FormulaFrom" || element == "Expression";
}

bool IsPredefined(std::string_view entity) {
    return entity == "amp" || entity == "lt" || entity == "gt" || entity == "quot" || entity == "apos";
}

} // namespace

std::optional<XmlFault> XmlCheck::Run() {
    if (StartsWith("\xEF\xBB\xBF")) m_At = 3;
    bool isFine = SkipDeclaration();
    while (isFine && !IsAtEnd())
        isFine = Step();
    if (isFine && m_Depth > 0) Fail(m_At, "the text ends inside of an element");
    if (isFine && !m_HasRoot) Fail(m_At, "there is no element");
    return m_Fault;
}

bool XmlCheck::Fail(std::size_t offset, const char* reason) {
    m_Fault = XmlFault{offset, reason};
    return false;
}

bool XmlCheck::Charge(std::size_t bytes) {
    m_Cost += bytes;
    return m_Cost <= m_Budget || Fail(m_At, "the description has more elements than may be kept in memory");
}

bool XmlCheck::ChargeText(std::size_t start) {
    if (!m_IsFormula) return true;
    m_Cost += (m_At - start) * kFormulaCost;
    return m_Cost <= m_Budget || Fail(m_At, "the description has longer formulas than may be kept in memory");
}

bool XmlCheck::StartsWith(std::string_view start) const {
    return m_Text.compare(m_At, start.size(), start) == 0;
}

// To the first character that is, or is not, one of the set; to the end when there is none.
void XmlCheck::SkipUntil(uint8_t set, bool isWanted) {
    const char* at = m_Text.data() + m_At;
    const char* const end = m_Text.data() + m_Text.size();
    while (at != end && Is(*at, set) != isWanted)
        ++at;
    m_At = static_cast<std::size_t>(at - m_Text.data());
}

void XmlCheck::SkipBlanks() {
    SkipUntil(kBlank, /*isWanted=*/false);
}

// Empty when there is none.
std::string_view XmlCheck::TakeName() {
    const std::size_t start = m_At;
    if (!IsAtEnd() && Is(m_Text[m_At], kNameStart)) SkipUntil(kNamePart, /*isWanted=*/false);
    return m_Text.substr(start, m_At - start);
}

bool XmlCheck::Step() {
    if (Here() == '<') return CheckMarkup();
    return m_Depth > 0 ? CheckText() : CheckOutside();
}

// Only here is it a declaration.
bool XmlCheck::SkipDeclaration() {
    if (!StartsWith("<?xml") || m_At + 5 >= m_Text.size() || !Is(m_Text[m_At + 5], kBlank)) return true;
    const std::size_t end = m_Text.find("?>", m_At);
    if (end == std::string_view::npos) return Fail(m_At, "the declaration has no end");
    const std::size_t start = std::exchange(m_At, end + 2);
    return CheckCharacters(start, end);
}

bool XmlCheck::CheckOutside() {
    SkipBlanks();
    return IsAtEnd() || Here() == '<' || Fail(m_At, "there is text outside of the root element");
}

bool XmlCheck::CheckText() {
    const std::size_t start = m_At;
    for (SkipUntil(kStopsText, /*isWanted=*/true); !IsAtEnd(); SkipUntil(kStopsText, /*isWanted=*/true)) {
        const char c = m_Text[m_At];
        if (c == '<') return ChargeText(start);
        if (c == '&' && !CheckReference()) return false;
        if (c == ']' && StartsWith("]]>")) return Fail(m_At, "']]>' stands in a text");
        if (Is(c, kControl)) return Fail(m_At, "there is a control character");
        ++m_At;
    }
    return true;
}

bool XmlCheck::CheckMarkup() {
    const char next = m_At + 1 < m_Text.size() ? m_Text[m_At + 1] : '\0';
    if (next == '/') return CheckEndTag();
    if (next == '?') return CheckInstruction();
    if (next != '!') return CheckStartTag();
    if (StartsWith("<!--")) return CheckComment();
    if (StartsWith("<![CDATA[")) return CheckSection();
    return CheckDocumentType();
}

bool XmlCheck::CheckComment() {
    const std::size_t start = m_At;
    const std::size_t dashes = m_Text.find("--", start + 4);
    if (dashes == std::string_view::npos) return Fail(start, "a comment has no end");
    m_At = dashes;
    if (!StartsWith("-->")) return Fail(dashes, "'--' stands in a comment");
    m_At = dashes + 3;
    return CheckCharacters(start, dashes) && Charge(kPieceCost);
}

bool XmlCheck::CheckSection() {
    const std::size_t start = m_At;
    if (m_Depth == 0) return Fail(start, "there is text outside of the root element");
    const std::size_t end = m_Text.find("]]>", start);
    if (end == std::string_view::npos) return Fail(start, "a CDATA section has no end");
    m_At = end + 3;
    return CheckCharacters(start, end) && Charge(kPieceCost) && ChargeText(start);
}

bool XmlCheck::CheckInstruction() {
    const std::size_t start = m_At;
    m_At += 2;
    const std::string_view target = TakeName();
    if (target.empty()) return Fail(start, "a processing instruction has no name");
    const bool isReserved = target.size() == 3 && strncasecmp(target.data(), "xml", 3) == 0;
    if (isReserved) return Fail(start, "there is a declaration behind the start of the text");
    const std::size_t end = m_Text.find("?>", m_At);
    if (end == std::string_view::npos) return Fail(start, "a processing instruction has no end");
    m_At = end + 2;
    return CheckCharacters(start, end) && Charge(kPieceCost);
}

// What it declares is not used, but that it declares a name counts.
bool XmlCheck::CheckDocumentType() {
    const std::size_t start = m_At;
    if (!StartsWith("<!DOCTYPE")) return Fail(start, "there is unknown markup");
    if (m_HasRoot || m_HasDocumentType) return Fail(start, "there is a document type behind the start of the text");
    m_HasDocumentType = true;
    std::size_t open = 0; // declarations that lie in each other
    while (!IsAtEnd()) {
        const char c = m_Text[m_At];
        if (StartsWith("<!--") || StartsWith("<?")) {
            if (!(StartsWith("<?") ? CheckInstruction() : CheckComment())) return false;
            continue;
        }
        if (StartsWith("<!ENTITY") && !NoteEntity()) return false;
        ++m_At;
        if (c == '<') ++open;
        if (c == '>' && --open == 0) return CheckCharacters(start, m_At);
        if (c != '"' && c != '\'') continue;
        const std::size_t close = m_Text.find(c, m_At);
        m_At = close == std::string_view::npos ? m_Text.size() : close + 1;
    }
    return Fail(start, "the document type has no end");
}

bool XmlCheck::NoteEntity() {
    const std::size_t start = m_At;
    m_At += std::strlen("<!ENTITY");
    SkipBlanks();
    m_Entities.insert(TakeName());
    m_At = start;
    return Charge(kPieceCost);
}

bool XmlCheck::CheckEndTag() {
    const std::size_t start = m_At;
    m_At += 2;
    if (m_Depth == 0) return Fail(start, "an end tag has no start tag");
    const bool hasName = !TakeName().empty();
    SkipBlanks();
    if (!hasName || Here() != '>') return Fail(start, "an end tag is malformed");
    ++m_At;
    --m_Depth;
    m_IsFormula = false;
    return Charge(kPieceCost / 2);
}

bool XmlCheck::CheckStartTag() {
    const std::size_t start = m_At++;
    if (m_Depth == 0 && m_HasRoot) return Fail(start, "there is a second root element");
    m_HasRoot = true;
    const std::string_view name = TakeName();
    if (name.empty()) return Fail(start, "a '<' begins no markup");
    m_IsFormula = IsFormula(name);
    if (!Charge(kElementCost)) return false;
    m_Names.clear();
    for (;;) {
        const std::size_t before = m_At;
        SkipBlanks();
        if (Here() == '>' || StartsWith("/>")) break;
        if (IsAtEnd()) return Fail(start, "a start tag has no end");
        if (m_At == before) return Fail(m_At, "a start tag is malformed");
        if (!CheckAttribute()) return false;
    }
    if (Here() == '>') ++m_Depth;
    m_At += Here() == '>' ? 1 : 2;
    return CheckAttributeNames(start);
}

bool XmlCheck::CheckAttribute() {
    const std::size_t start = m_At;
    m_Names.push_back(TakeName());
    SkipBlanks();
    if (m_Names.back().empty() || Here() != '=') return Fail(start, "an attribute is malformed");
    ++m_At;
    SkipBlanks();
    const char quote = Here();
    if (quote != '"' && quote != '\'') return Fail(start, "the value of an attribute is not quoted");
    ++m_At;
    if (!Charge(kAttributeCost) || CheckValue(quote)) return !m_Fault;
    return m_Fault ? false : Fail(start, "the value of an attribute has no end");
}

// False without a fault: it has no end.
bool XmlCheck::CheckValue(char quote) {
    for (SkipUntil(kStopsValue, /*isWanted=*/true); !IsAtEnd(); SkipUntil(kStopsValue, /*isWanted=*/true)) {
        const char c = m_Text[m_At];
        if (c == quote) break;
        if (c == '<') return Fail(m_At, "'<' stands in the value of an attribute");
        if (c == '&' && !CheckReference()) return false;
        if (Is(c, kControl)) return Fail(m_At, "there is a control character");
        ++m_At;
    }
    if (IsAtEnd()) return false;
    ++m_At;
    return true;
}

bool XmlCheck::CheckAttributeNames(std::size_t start) {
    std::sort(m_Names.begin(), m_Names.end());
    const bool areUnique = std::adjacent_find(m_Names.begin(), m_Names.end()) == m_Names.end();
    return areUnique || Fail(start, "an element has an attribute twice");
}

// Ends at the semicolon.
bool XmlCheck::CheckReference() {
    constexpr std::size_t kLongest = 100;
    const std::size_t start = m_At;
    const std::size_t length = m_Text.substr(start + 1, kLongest).find(';');
    if (length == std::string_view::npos) return Fail(start, "a '&' begins no reference");
    const std::string_view name = m_Text.substr(start + 1, length);
    m_At = start + 1 + length;
    if (name.substr(0, 1) == "#") {
        return IsCharacter(ReferredPoint(name)) || Fail(start, "a reference names no character");
    }
    if (IsPredefined(name) || m_Entities.count(name) != 0) return true;
    const bool isName = !name.empty() && Is(name[0], kNameStart) &&
                        std::all_of(name.begin(), name.end(), [](char c) { return Is(c, kNamePart); });
    return Fail(start, isName ? "an entity is not defined" : "a '&' begins no reference");
}

bool XmlCheck::CheckCharacters(std::size_t first, std::size_t last) {
    for (std::size_t at = first; at < last; ++at) {
        if (Is(m_Text[at], kControl)) return Fail(at, "there is a control character");
    }
    return true;
}

} // namespace genapi
