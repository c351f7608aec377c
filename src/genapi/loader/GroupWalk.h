#pragma once
// The node elements of a description, in and outside of its groups.

#include "genapi/loader/xml/XmlText.h"

#include <pugixml.hpp>

namespace genapi {

/// Calls visit(element) for each element below the root, in the order of the text; what a group holds stands for the
/// group. Groups may lie in each other as deep as they will. re-entrant
template<class Visit>
void ForEachInGroups(const pugi::xml_node& root, Visit visit) {
    for (pugi::xml_node at = root.first_child(); at;) {
        if (at.type() == pugi::node_element) {
            if (LocalName(at) == "Group" && at.first_child()) {
                at = at.first_child();
                continue;
            }
            visit(at);
        }
        while (!at.next_sibling() && at.parent() != root)
            at = at.parent();
        at = at.next_sibling();
        // A large document lies outside of the processor's caches.
        __builtin_prefetch(at.next_sibling().internal_object());
    }
}

} // namespace genapi
