#pragma once
// The access that a description grants when no camera restricts it.

#include <GenApi/GenApi.h>

namespace tool {

/// "RW", "RO" or "WO" as far as the description's own words tell, "NA" when they rule each other out; what only a
/// camera could answer restricts nothing.
const char* DeclaredAccess(GenApi::INode& node);

} // namespace tool
