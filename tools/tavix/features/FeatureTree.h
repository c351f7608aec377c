#pragma once
// The features of a node map in the order of its categories.

#include "line/Options.h"

#include <string>
#include <vector>

#include <GenApi/GenApi.h>
#include <nlohmann/json.hpp>

namespace tool {

/// Which features are wanted, and what is told of them.
struct TreeOptions {
    std::string part;        ///< only features and groups whose name holds this, whatever the case; empty for all
    bool everything = false; ///< also invisible and not implemented ones
    bool withCamera = true;  ///< false: there are no values, and all limits that can be found are told
};

struct TreeReport {
    bool isEmpty = true;      ///< nothing was wanted
    std::size_t failures = 0; ///< features whose value the camera refused to tell
    std::string firstFailure;
};

/// Prints the tree below Root as a table.
TreeReport PrintTree(GenApi::INode& root, const TreeOptions& options);
/// The same as an array of features; each names its category, and has an "error" when its value cannot be told.
nlohmann::json TreeJson(GenApi::INode& root, const TreeOptions& options);

/// Their names, each once.
std::vector<std::string> FeatureNames(GenApi::INode& root, const TreeOptions& options);

} // namespace tool
