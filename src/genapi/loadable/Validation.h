#pragma once
// The checks that a description may be put to before it is used.

#include <cstdint>
#include <string_view>

namespace genapi {

/// `checks` is a set of GenApi::EXMLValidation. Throws GenICam::RuntimeException with the first findings, line and node
/// each; `source` is named in it.
void Validate(std::string_view xml, std::string_view source, uint32_t checks);

} // namespace genapi
