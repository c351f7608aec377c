#pragma once
// Whether a text is a document of XML at all, and what it would cost to take it in.

#include <cstddef>
#include <optional>
#include <string_view>

namespace genapi {

struct XmlFault {
    std::size_t offset = 0; ///< in the text
    const char* reason = nullptr;
};

struct XmlVerdict {
    std::optional<XmlFault> fault; ///< the first one
    /// Bytes of memory that the tree of the text and the nodes made from it need at most, whatever they are.
    std::size_t cost = 0;
    std::size_t elements = 0; ///< how many the text has
};

/// Looks for what the parser of the tree lets pass: a second root, text outside of it, undefined entities, attributes
/// given twice, control characters, and the rest of what makes a text not well-formed. Two things are left to others:
/// whether end tags bear the names of their start tags, and whether the bytes above 127 are UTF-8. The text is UTF-8,
/// without zeros behind the end. What costs more than the budget is a fault, too. One pass over the text, without
/// recursion. Re-entrant.
[[nodiscard]] XmlVerdict CheckXml(std::string_view text, std::size_t budget);

} // namespace genapi
