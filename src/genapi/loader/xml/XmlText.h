#pragma once
// A description's text, parsed in place.

#include "genapi/loader/xml/LineIndex.h"

#include <pugixml.hpp>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace genapi {

/// Keeps generated texts. Views stay valid while the arena's blocks live. Bound to a thread.
class TextArena {
public:
    /// A copy of all parts, joined.
    std::string_view Join(std::initializer_list<std::string_view> parts);
    /// Room for `size` characters, not initialised.
    char* Allocate(std::size_t size);
    /// Hands the blocks over; the arena starts anew.
    void MoveTo(std::vector<std::unique_ptr<char[]>>& blocks);

private:
    std::vector<std::unique_ptr<char[]>> m_Blocks; ///< owned
    char* m_Free = nullptr;
    std::size_t m_Left = 0;
};

/// What follows a name-space prefix.
[[nodiscard]] std::string_view LocalName(const pugi::xml_node& element) noexcept;

/// The trimmed value of an attribute; empty when absent.
[[nodiscard]] std::string_view AttributeText(const pugi::xml_node& element, const char* name) noexcept;

/// Character data and CDATA sections of an element, joined where comments or child elements part them.
[[nodiscard]] std::string_view ElementText(const pugi::xml_node& element, TextArena& arena);

/// A parsed text with RegisterDescription as its root. All views into it live as long as its buffer. Bound to a thread.
class XmlText {
public:
    /// Throws GenICam::RuntimeException when the text is too large, not well-formed or no description of schema 1.
    /// `cost` is that of texts that are kept beside this one. Source and text are borrowed.
    XmlText(std::string_view xml, std::string_view source, std::size_t cost = 0);
    XmlText(const XmlText&) = delete;
    XmlText& operator=(const XmlText&) = delete;

    [[nodiscard]] pugi::xml_node Root() const { return m_Root; }
    [[nodiscard]] std::string_view NameSpaceUri() const;
    [[nodiscard]] std::string_view SchemaMajor() const;
    [[nodiscard]] std::string_view SchemaMinor() const;
    /// Line of an element's start tag, counted from 1.
    [[nodiscard]] uint32_t Line(const pugi::xml_node& element) const;
    /// Bytes of memory that the text, its tree and the nodes made from it need at most.
    [[nodiscard]] std::size_t Cost() const { return m_Cost; }
    [[nodiscard]] std::size_t Elements() const { return m_Elements; }
    /// Afterwards only Root's texts remain usable, while the returned buffer lives.
    [[nodiscard]] std::unique_ptr<char[]> TakeBuffer() { return std::move(m_Buffer); }

private:
    void Check(std::string_view xml, std::size_t cost);
    void Parse(std::string_view xml);
    void CheckRoot() const;
    [[noreturn]] void RefuseSize() const;
    [[noreturn]] void Refuse(uint32_t line, const std::string& reason) const;

    std::string_view m_Source; ///< borrowed
    std::string m_Converted;   ///< the text when it came in another encoding
    std::unique_ptr<char[]> m_Buffer;
    LineIndex m_Lines;
    std::size_t m_Cost = 0;
    std::size_t m_Elements = 0;
    pugi::xml_document m_Document;
    pugi::xml_node m_Root;
};

} // namespace genapi
