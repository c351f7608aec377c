// The grammar of descriptions against the table of node types: the one says which elements a node may have, in which
// order and how often, the other what the engine makes of them, which takes more than is allowed.

#include "genapi/lint/Grammar.h"

#include "genapi/description/NodeTraits.h"

#include <cstddef>
#include <optional>
#include <string>

#include <gtest/gtest.h>

namespace genapi {
namespace {

class GrammarOf : public testing::TestWithParam<std::size_t> {
protected:
    NodeType Type() const { return static_cast<NodeType>(GetParam()); }
};

TEST_P(GrammarOf, AllowsOnlyWhatTheTypeTakes) {
    const Grammar* const grammar = FindGrammar(NodeTypeName(Type()));
    ASSERT_NE(grammar, nullptr) << "a row is missing in src/genapi/lint/Grammar.cpp";
    for (const GrammarSlot& slot : *grammar) {
        for (const GrammarSlot::Name& name : slot.names) {
            const std::optional<PropertyId> id = FindProperty(name.text);
            if (id)
                EXPECT_TRUE(HasProperty(Type(), *id)) << name.text << " is not in the row of the node type";
            else
                EXPECT_TRUE(FindGrammar(name.text) || name.text == "Extension") << name.text << " is unknown";
        }
    }
}

INSTANTIATE_TEST_SUITE_P(NodeTypes, GrammarOf, testing::Range<std::size_t>(0, kNodeTypeCount),
                         [](const auto& row) { return std::string(kNodeTypeNames[row.param]); });

} // namespace
} // namespace genapi
