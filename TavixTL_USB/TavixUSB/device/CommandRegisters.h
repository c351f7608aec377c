#pragma once
// Which registers of a camera are commands.

#include <GenApi/GenApi.h>

namespace Tavix {

/// Whether a command of the map writes to one of the bytes, or may do so: a register whose address cannot be told now
/// may be anywhere. Takes the map's lock.
bool IsCommandRegister(const GenApi::INodeMap& map, int64_t address, int64_t length);

} // namespace Tavix
