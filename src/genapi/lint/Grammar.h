#pragma once
// Which elements a node may have, in which order and how often.

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

namespace genapi {

/// A place in the order of a node's elements: one of several names, so many times.
struct GrammarSlot {
    struct Name {
        std::string_view text;
        bool isNewer = false; ///< schema 1.1
    };
    std::vector<Name> names;
    bool isRequired = false;
    bool isList = false;
    std::string_view spelling; ///< "Value|pValue"
};

using Grammar = std::vector<GrammarSlot>;

/// The elements of a kind of node by the name of its own element ("StructEntry" and "StructReg" included); null for
/// unknown kinds.
[[nodiscard]] const Grammar* FindGrammar(std::string_view kind);

/// The place of an element among the slots; -1 when there is none.
[[nodiscard]] int FindSlot(const Grammar& grammar, std::string_view element, bool& isNewer);

/// True for kinds of nodes that came with schema 1.1.
[[nodiscard]] bool IsNewerKind(std::string_view kind);

} // namespace genapi
