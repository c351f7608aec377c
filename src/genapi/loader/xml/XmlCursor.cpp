#include "genapi/loader/xml/XmlCursor.h"

#include <algorithm>
#include <utility>

namespace genapi {

namespace {

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

bool IsPredefined(std::string_view entity) {
    return entity == "amp" || entity == "lt" || entity == "gt" || entity == "quot" || entity == "apos";
}

} // namespace

bool XmlCursor::Fail(std::size_t offset, const char* reason) {
    m_Fault = XmlFault{offset, reason};
    return false;
}

// Only here is it a declaration.
bool XmlCursor::SkipDeclaration() {
    if (!StartsWith("<?xml") || m_At + 5 >= m_Text.size() || !IsXml(m_Text[m_At + 5], kXmlBlank)) return true;
    const std::size_t end = m_Text.find("?>", m_At);
    if (end == std::string_view::npos) return Fail(m_At, "the declaration has no end");
    const std::size_t start = std::exchange(m_At, end + 2);
    return CheckCharacters(start, end);
}

bool XmlCursor::CheckOutside() {
    SkipBlanks();
    return IsAtEnd() || Here() == '<' || Fail(m_At, "there is text outside of the root element");
}

bool XmlCursor::CheckComment() {
    const std::size_t start = m_At;
    const std::size_t dashes = m_Text.find("--", start + 4);
    if (dashes == std::string_view::npos) return Fail(start, "a comment has no end");
    m_At = dashes;
    if (!StartsWith("-->")) return Fail(dashes, "'--' stands in a comment");
    m_At = dashes + 3;
    return CheckPart(start, dashes) && Charge(kPieceCost);
}

bool XmlCursor::CheckSection(bool isInside) {
    const std::size_t start = m_At;
    if (!isInside) return Fail(start, "there is text outside of the root element");
    const std::size_t end = m_Text.find("]]>", start);
    if (end == std::string_view::npos) return Fail(start, "a CDATA section has no end");
    m_At = end + 3;
    return CheckPart(start, end) && Charge(kPieceCost);
}

bool XmlCursor::CheckInstruction() {
    const std::size_t start = m_At;
    m_At += 2;
    const std::string_view target = TakeName();
    if (target.empty()) return Fail(start, "a processing instruction has no name");
    const bool isReserved = target.size() == 3 && strncasecmp(target.data(), "xml", 3) == 0;
    if (isReserved) return Fail(start, "there is a declaration behind the start of the text");
    const std::size_t end = m_Text.find("?>", m_At);
    if (end == std::string_view::npos) return Fail(start, "a processing instruction has no end");
    m_At = end + 2;
    return CheckPart(start, end) && Charge(kPieceCost);
}

// What it declares is not used, but that it declares a name counts.
bool XmlCursor::CheckDocumentType(bool isInFront) {
    const std::size_t start = m_At;
    if (!StartsWith("<!DOCTYPE")) return Fail(start, "there is unknown markup");
    if (!isInFront || m_HasDocumentType) return Fail(start, "there is a document type behind the start of the text");
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

bool XmlCursor::NoteEntity() {
    const std::size_t start = m_At;
    m_At += std::strlen("<!ENTITY");
    SkipBlanks();
    m_Entities.insert(TakeName());
    m_At = start;
    return Charge(kPieceCost);
}

// Ends at the semicolon.
bool XmlCursor::CheckReference() {
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
    const bool isName = !name.empty() && IsXml(name[0], kXmlNameStart) &&
                        std::all_of(name.begin(), name.end(), [](char c) { return IsXml(c, kXmlNamePart); });
    return Fail(start, isName ? "an entity is not defined" : "a '&' begins no reference");
}

bool XmlCursor::CheckPart(std::size_t first, std::size_t last) {
    return SpecialFrom(first) >= last || CheckCharacters(first, last);
}

bool XmlCursor::CheckCharacters(std::size_t first, std::size_t last) {
    for (std::size_t at = first; at < last; ++at) {
        if (IsXml(m_Text[at], kXmlControl)) return Fail(at, "there is a control character");
    }
    return true;
}

} // namespace genapi
