#pragma once
// From description text to records: parsing, injection, preprocessing, extraction.

#include "genapi/description/Description.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace genapi {

// What all functions here throw, and when: GenICam::RuntimeException, when a text is no description at all (not
// well-formed XML, another root element, a schema of another major version), when a text or file is too large or cannot
// be read, and when injection meets a conflict. The message names source, line and reason. Whatever concerns single
// nodes ends in Description::problems instead. All functions are re-entrant; cost is linear in the size of the texts.

/// The longest text that is taken, be it a string, a file, or the member of an archive. Real ones are 1 MiB long.
inline constexpr std::size_t kMaxDescriptionSize = std::size_t{64} << 20;
/// What texts and the nodes made from them may cost in memory, estimated before it is spent. Real ones stay below 30
/// MiB.
inline constexpr std::size_t kMaxDescriptionCost = std::size_t{448} << 20;

/// An empty or blank text to inject means no injection. `source` is named in messages.
[[nodiscard]] Description ParseDescription(std::string_view xml, std::string_view inject = {},
                                           std::string_view source = "description");

/// A plain XML file, or a zip archive that holds one; a regular file. `inject` is text, not a path.
[[nodiscard]] Description ParseDescriptionFile(const std::string& path, std::string_view inject = {});

/// The file's text; archives are unpacked.
[[nodiscard]] std::string ReadDescriptionFile(const std::string& path);

/// The text of the description in an archive: its first member, stored or deflated. Bytes after the archive's end are
/// tolerated; members larger than kMaxDescriptionSize are refused.
[[nodiscard]] std::string UnzipDescription(const void* data, std::size_t size);

/// A description that holds `root` and all that its features need, loadable alone; empty when there is no such node.
[[nodiscard]] std::string ExtractSubtree(std::string_view xml, std::string_view inject, std::string_view root);

/// The union of both as one preprocessed description.
[[nodiscard]] std::string MergeDescriptions(std::string_view target, std::string_view inject);

/// The preprocessed form of a description as text, loadable again.
[[nodiscard]] std::string WriteDescription(const Description& description);

} // namespace genapi
