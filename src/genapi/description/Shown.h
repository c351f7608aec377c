#pragma once
// How what a description says is put into a sentence.

#include <string>
#include <string_view>

namespace genapi {

/// The longest name of a node. Real ones have 50 characters; sentences and generated names repeat them.
inline constexpr std::size_t kMaxName = 1024;

/// Fit to be shown to a person: no control characters, and what is very long is cut.
[[nodiscard]] std::string Shown(std::string_view text);

/// What is wrong with the name of a node; empty when nothing is. More is taken than the schema allows, but nothing that
/// a terminal would obey.
[[nodiscard]] std::string_view NameFault(std::string_view name);

} // namespace genapi
