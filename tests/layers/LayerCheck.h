#pragma once
// Holds the includes of a tree against the layer table.

#include "layers/LayerTable.h"

#include <filesystem>
#include <string>
#include <vector>

namespace layers {

// One text a fault, each beginning with "path:line: " (line 0 where none is at fault): forbidden arrows, headers that
// nobody has, sources in include/ and src/ that belong to no library, folders of the table that aren't there.
std::vector<std::string> CheckTree(const LayerTable& table, const std::filesystem::path& root);

} // namespace layers
