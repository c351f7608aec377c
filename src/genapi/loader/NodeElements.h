#pragma once
// The node elements of descriptions as one flat list, before records are made from them.

#include "genapi/description/Description.h"
#include "genapi/loader/xml/XmlText.h"

#include <optional>
#include <string_view>
#include <vector>

namespace genapi {

/// An element that becomes a node.
struct NodeElement {
    pugi::xml_node element;
    pugi::xml_node structReg; ///< of a StructEntry: the element around it; else null
    pugi::xml_node united;    ///< an injected Category whose features join this one's; else null
    const XmlText* text = nullptr;
    std::string_view name;
    std::optional<NodeType> type; ///< nothing when the element is of no known kind
};

using NodeElements = std::vector<NodeElement>;

/// In document order, Groups dissolved and entries of StructRegs in place. Elements without a name are left out and
/// reported. Walks without recursion.
[[nodiscard]] NodeElements CollectNodeElements(const XmlText& text, std::vector<LoadProblem>& problems);

/// Adds injected nodes to a list. Categories of one name are united; of other nodes of one name MergePriority decides:
/// 1 replaces, -1 keeps, anything else throws GenICam::RuntimeException.
void InjectNodeElements(NodeElements& target, const NodeElements& injected, std::vector<LoadProblem>& problems);

} // namespace genapi
