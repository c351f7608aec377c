// Names to numbers: arrival order, taken names, renumbering, links filled in.
#include "genapi/description/NameIndex.h"

#include <gtest/gtest.h>

#include <string>

namespace genapi {

namespace {

// More names than are looked up side by side, of all lengths around the word that is hashed in one step.
std::vector<std::string> ManyNames() {
    std::vector<std::string> names;
    for (int i = 0; i < 1000; ++i)
        names.push_back(std::string(static_cast<std::size_t>(i % 19), 'x') + std::to_string(i));
    return names;
}

} // namespace

TEST(NameIndex, NumbersNamesInTheOrderOfTheirArrival) {
    const std::vector<std::string> names = ManyNames();
    NameIndex index;
    for (NodeIndex i = 0; i < names.size(); ++i)
        EXPECT_EQ(index.Insert(names[i]), i);
    for (NodeIndex i = 0; i < names.size(); ++i)
        EXPECT_EQ(index.Find(names[i]), i);
    EXPECT_EQ(index.Count(), names.size());
}

TEST(NameIndex, RefusesANameThatIsTaken) {
    NameIndex index;
    index.Insert("Width");
    EXPECT_EQ(index.Insert("Width"), kNoNode);
    EXPECT_EQ(index.Count(), 1u);
}

TEST(NameIndex, FindsNothingInAnEmptyIndex) {
    EXPECT_EQ(NameIndex().Find("Width"), kNoNode);
}

TEST(NameIndex, TellsNamesApartThatAreEachOthersBeginning) {
    NameIndex index;
    index.Insert("Exposure");
    index.Insert("ExposureTime");
    EXPECT_EQ(index.Find("ExposureTime"), 1u);
    EXPECT_EQ(index.Find("ExposureTim"), kNoNode);
}

TEST(NameIndex, RenumbersByPermutation) {
    NameIndex index;
    index.Insert("A");
    index.Insert("B");
    index.Insert("C");
    index.Renumber({2, 0, 1});
    EXPECT_EQ(index.Find("A"), 2u);
    EXPECT_EQ(index.Find("B"), 0u);
    EXPECT_EQ(index.Find("C"), 1u);
}

TEST(NameIndex, FillsInTheTargetsOfLinksAlone) {
    const std::vector<std::string> names = ManyNames();
    NameIndex index;
    for (const std::string& name : names)
        index.Insert(name);
    std::vector<PropertyRecord> records;
    for (const std::string& name : names)
        records.emplace_back(PropertyId::pValue, AttributeKind::None, name, "");
    records.emplace_back(PropertyId::ToolTip, AttributeKind::None, names[0], "");
    records.emplace_back(PropertyId::pMax, AttributeKind::None, "Unknown", "");
    index.Resolve(records.data(), records.size());
    for (NodeIndex i = 0; i < names.size(); ++i)
        EXPECT_EQ(records[i].target, i);
    EXPECT_EQ(records[names.size()].target, kNoNode);
    EXPECT_EQ(records.back().target, kNoNode);
}

} // namespace genapi
