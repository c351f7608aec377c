#pragma once
// Which registers of a camera are commands.

#include <GenApi/GenApi.h>

namespace Tavix {

/// Whether bytes belong to a command. Unknown: the address of some command cannot be told now, so it may be anywhere.
enum class CommandHere { No, Yes, Unknown };

/// Whether a command of the map writes to one of the bytes. Takes the map's lock.
CommandHere FindCommand(const GenApi::INodeMap& map, int64_t address, int64_t length);

} // namespace Tavix
