// The properties of a node, as its description gives them.
#include "genapi/nodes/base/NodeProperties.h"

#include <gtest/gtest.h>

#include <vector>

using genapi::NodeProperties;
using genapi::PropertyId;
using genapi::PropertyRecord;

namespace {

PropertyRecord Record(PropertyId id, std::string_view value, std::string_view attribute = {}) {
    PropertyRecord record{};
    record.id = id;
    record.value = value;
    record.attribute = attribute;
    return record;
}

struct SomeProperties : ::testing::Test {
    SomeProperties() {
        records = {Record(PropertyId::ToolTip, "old"), Record(PropertyId::pVariable, "NodeA", "A"),
                   Record(PropertyId::ToolTip, "new"), Record(PropertyId::pVariable, "NodeB", "B")};
        records[3].target = 7;
    }
    NodeProperties Properties() const {
        return NodeProperties({records.data(), static_cast<uint32_t>(records.size())});
    }

    std::vector<PropertyRecord> records;
};

} // namespace

TEST_F(SomeProperties, OfASingleOneTheLastCounts) {
    EXPECT_EQ(Properties().Text(PropertyId::ToolTip), "new");
    EXPECT_EQ(Properties().Find(PropertyId::ToolTip), &records[2]);
    EXPECT_EQ(Properties().Join(PropertyId::ToolTip)->value, "new");
}

TEST_F(SomeProperties, OfAListAreJoined) {
    const auto texts = Properties().Join(PropertyId::pVariable);
    ASSERT_TRUE(texts);
    EXPECT_EQ(texts->value, "NodeA\tNodeB");
    EXPECT_EQ(texts->attribute, "A\tB");
    EXPECT_EQ(Properties().Target(PropertyId::pVariable), 7u);
}

TEST_F(SomeProperties, ThatAreNotThereAreNothing) {
    EXPECT_EQ(Properties().Find(PropertyId::Description), nullptr);
    EXPECT_EQ(Properties().Text(PropertyId::Description), "");
    EXPECT_EQ(Properties().Target(PropertyId::pValue), genapi::kNoNode);
    EXPECT_FALSE(Properties().Join(PropertyId::Description));
    EXPECT_FALSE(Properties().Join(PropertyId::pValueCopy)) << "a list";
}

TEST_F(SomeProperties, AreListedByNameOnce) {
    GenICam::gcstring_vector names;
    names.push_back("stale");
    Properties().ListNames(names);
    ASSERT_EQ(names.size(), 2u);
    EXPECT_EQ(names[0], "ToolTip");
    EXPECT_EQ(names[1], "pVariable");
}
