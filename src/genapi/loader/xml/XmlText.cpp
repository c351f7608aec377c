#include "genapi/loader/xml/XmlText.h"

#include "genapi/description/Lexical.h"
#include "genapi/description/Shown.h"
#include "genapi/loader/Loader.h"
#include "genapi/loader/xml/XmlCheck.h"
#include "genapi/loader/xml/XmlEncoding.h"

#include <Base/GCException.h>

#include <algorithm>
#include <cstring>
#include <new>

namespace genapi {

namespace {

constexpr std::size_t kBlockSize = 32768;

// Comments and processing instructions vanish; blanks alone count where they are the whole content of an element.
constexpr unsigned int kParseFlags = pugi::parse_cdata | pugi::parse_escapes | pugi::parse_eol |
                                     pugi::parse_wconv_attribute | pugi::parse_embed_pcdata |
                                     pugi::parse_ws_pcdata_single;

bool IsText(const pugi::xml_node& node) {
    return node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
}

// "http://www.genicam.org/GenApi/Version_1_1": the numbers after "Version_".
std::string_view VersionPart(std::string_view uri, std::size_t index) {
    constexpr std::string_view kMark = "Version_";
    const std::size_t mark = uri.find(kMark);
    if (mark == std::string_view::npos) return {};
    const std::string_view numbers = uri.substr(mark + kMark.size());
    const std::size_t split = numbers.find('_');
    if (index == 0) return numbers.substr(0, split);
    return split == std::string_view::npos ? std::string_view() : numbers.substr(split + 1);
}

// Of an element's own text and of its children, from the first one on.
std::string_view JoinTexts(std::string_view embedded, const pugi::xml_node& first, TextArena& arena) {
    std::string_view last = embedded;
    std::size_t pieces = embedded.empty() ? 0 : 1;
    std::size_t size = embedded.size();
    for (pugi::xml_node child = first; child; child = child.next_sibling()) {
        const std::string_view piece = IsText(child) ? child.value() : std::string_view();
        if (piece.empty()) continue;
        last = piece;
        size += piece.size();
        ++pieces;
    }
    if (pieces <= 1) return last;

    char* const place = arena.Allocate(size);
    char* at = std::copy(embedded.begin(), embedded.end(), place);
    for (pugi::xml_node child = first; child; child = child.next_sibling()) {
        const std::string_view piece = IsText(child) ? child.value() : std::string_view();
        at = std::copy(piece.begin(), piece.end(), at);
    }
    return {place, size};
}

} // namespace

char* TextArena::Allocate(std::size_t size) {
    if (size > m_Left) {
        const std::size_t block = std::max(size, kBlockSize);
        m_Blocks.push_back(std::unique_ptr<char[]>(new char[block]));
        m_Free = m_Blocks.back().get();
        m_Left = block;
    }
    char* const place = m_Free;
    m_Free += size;
    m_Left -= size;
    return place;
}

std::string_view TextArena::Join(std::initializer_list<std::string_view> parts) {
    std::size_t size = 0;
    for (const std::string_view part : parts)
        size += part.size();
    char* const place = Allocate(size);
    char* at = place;
    for (const std::string_view part : parts)
        at = std::copy(part.begin(), part.end(), at);
    return {place, size};
}

void TextArena::MoveTo(std::vector<std::unique_ptr<char[]>>& blocks) {
    for (std::unique_ptr<char[]>& block : m_Blocks)
        blocks.push_back(std::move(block));
    m_Blocks.clear();
    m_Free = nullptr;
    m_Left = 0;
}

std::string_view LocalName(const pugi::xml_node& element) noexcept {
    const std::string_view name = element.name();
    if (name.find(':') == std::string_view::npos) return name; // as a rule, and found sooner than the last one
    return name.substr(name.rfind(':') + 1);
}

std::string_view AttributeText(const pugi::xml_node& element, const char* name) noexcept {
    return Trim(element.attribute(name).value());
}

std::string_view ElementText(const pugi::xml_node& element, TextArena& arena) {
    const std::string_view embedded = element.value();
    const pugi::xml_node child = element.first_child();
    return child ? JoinTexts(embedded, child, arena) : embedded;
}

XmlText::XmlText(std::string_view xml, std::string_view source, std::size_t cost) : m_Source(source) {
    if (xml.size() > kMaxDescriptionSize) RefuseSize();
    if (NeedsConversion(xml)) {
        m_Converted = ConvertToUtf8(xml);
        xml = m_Converted;
        if (xml.size() > kMaxDescriptionSize) RefuseSize();
    }
    // A camera's memory is filled up behind its description.
    xml = xml.substr(0, xml.find_last_not_of('\0') + 1);
    Check(xml, cost);
    Parse(xml);
    CheckRoot();
}

void XmlText::Check(std::string_view xml, std::size_t cost) {
    m_Lines = LineIndex(xml);
    m_Cost = 2 * xml.size(); // the caller's and the one that is parsed in place
    const std::size_t taken = cost + m_Cost;
    const XmlVerdict verdict = CheckXml(xml, taken < kMaxDescriptionCost ? kMaxDescriptionCost - taken : 0);
    if (verdict.fault) Refuse(m_Lines.LineAt(verdict.fault->offset), verdict.fault->reason);
    m_Cost += verdict.cost;
    m_Elements = verdict.elements;
}

void XmlText::Parse(std::string_view xml) {
    m_Buffer.reset(new char[xml.size() + 1]);
    std::copy(xml.begin(), xml.end(), m_Buffer.get());
    m_Buffer[xml.size()] = '\0';
    const pugi::xml_parse_result result =
        m_Document.load_buffer_inplace(m_Buffer.get(), xml.size(), kParseFlags, pugi::encoding_utf8);
    if (result.status == pugi::status_out_of_memory) throw std::bad_alloc();
    const std::size_t offset = static_cast<std::size_t>(std::max<ptrdiff_t>(result.offset, 0));
    if (!result) Refuse(m_Lines.LineAt(offset), result.description());
    m_Root = m_Document.document_element();
}

void XmlText::CheckRoot() const {
    if (LocalName(m_Root) != "RegisterDescription") {
        Refuse(Line(m_Root), "the root element is '" + std::string(m_Root.name()) + "', not RegisterDescription");
    }
    if (ParseInteger(SchemaMajor()) != 1) {
        Refuse(Line(m_Root), "schema version " + std::string(SchemaMajor()) + " is not supported");
    }
}

std::string_view XmlText::NameSpaceUri() const {
    return AttributeText(m_Root, "xmlns");
}

std::string_view XmlText::SchemaMajor() const {
    const std::string_view stated = AttributeText(m_Root, "SchemaMajorVersion");
    if (!stated.empty()) return stated;
    const std::string_view implied = VersionPart(NameSpaceUri(), 0);
    return implied.empty() ? "1" : implied;
}

std::string_view XmlText::SchemaMinor() const {
    const std::string_view stated = AttributeText(m_Root, "SchemaMinorVersion");
    if (!stated.empty()) return stated;
    const std::string_view implied = VersionPart(NameSpaceUri(), 1);
    return implied.empty() ? "0" : implied;
}

uint32_t XmlText::Line(const pugi::xml_node& element) const {
    const ptrdiff_t offset = element.offset_debug();
    return m_Lines.LineAt(static_cast<std::size_t>(std::max<ptrdiff_t>(offset, 0)));
}

void XmlText::Refuse(uint32_t line, const std::string& reason) const {
    throw RUNTIME_EXCEPTION("%hs, line %u: %hs", Shown(m_Source).c_str(), line, Shown(reason).c_str());
}

void XmlText::RefuseSize() const {
    throw RUNTIME_EXCEPTION("%hs is longer than %zu MiB", Shown(m_Source).c_str(), kMaxDescriptionSize >> 20U);
}

} // namespace genapi
