#include "genapi/description/Property.h"
#include "genapi/description/NodeTraits.h"

#include <gtest/gtest.h>

#include <string>

namespace genapi {
namespace {

TEST(Property, IsFoundByItsName) {
    for (const std::string_view name : kPropertyNames) {
        const std::optional<PropertyId> id = FindProperty(name);
        ASSERT_TRUE(id.has_value()) << name;
        EXPECT_EQ(PropertyName(*id), name);
    }
}

TEST(Property, IsNotFoundByAnotherName) {
    for (const std::string_view name : {"", "value", "pvalue", "Valu", "Values", "Extension", "EnumEntry"}) {
        EXPECT_FALSE(FindProperty(name).has_value()) << name;
    }
    EXPECT_FALSE(FindProperty(std::string(100000, 'p')).has_value());
}

TEST(Property, IsNotFoundByANameThatDiffersInOnePlace) {
    for (const std::string_view name : kPropertyNames) {
        for (std::size_t at = 0; at < name.size(); ++at) {
            std::string other(name);
            other[at] = '#';
            EXPECT_FALSE(FindProperty(other).has_value()) << other;
        }
    }
}

TEST(Property, KnowsLinksAndLists) {
    EXPECT_TRUE(IsLink(PropertyId::pValue));
    EXPECT_TRUE(IsLink(PropertyId::p1212Parser));
    EXPECT_FALSE(IsLink(PropertyId::PollingTime));
    EXPECT_FALSE(IsLink(PropertyId::Value));
    EXPECT_TRUE(IsListProperty(PropertyId::Address));
    EXPECT_TRUE(IsListProperty(PropertyId::pFeature));
    EXPECT_FALSE(IsListProperty(PropertyId::pValue));
}

TEST(NodeType, IsFoundByItsName) {
    for (const std::string_view name : kNodeTypeNames) {
        const std::optional<NodeType> type = FindNodeType(name);
        ASSERT_TRUE(type.has_value()) << name;
        EXPECT_EQ(NodeTypeName(*type), name);
    }
    EXPECT_EQ(FindNodeType("StructEntry"), NodeType::MaskedIntReg);
    EXPECT_FALSE(FindNodeType("StructReg").has_value());
    EXPECT_FALSE(FindNodeType("Group").has_value());
    EXPECT_FALSE(FindNodeType("integer").has_value());
}

} // namespace

TEST(NodeTraits, TellRegistersFromWhatNoCameraHasAnyMore) {
    EXPECT_TRUE(IsRegister(NodeType::MaskedIntReg));
    EXPECT_FALSE(IsObsolete(NodeType::MaskedIntReg));
    EXPECT_TRUE(IsRegister(NodeType::ConfRom));
    EXPECT_TRUE(IsObsolete(NodeType::ConfRom));
    EXPECT_FALSE(IsRegister(NodeType::IntKey));
    EXPECT_TRUE(IsObsolete(NodeType::IntKey));
    EXPECT_FALSE(IsRegister(NodeType::Integer));
}

TEST(NodeTraits, NameInterfaceAndPropertiesOfEachType) {
    EXPECT_EQ(TraitsOf(NodeType::IntSwissKnife).face, GenApi::intfIInteger);
    EXPECT_EQ(TraitsOf(NodeType::Node).face, GenApi::intfIValue);
    EXPECT_TRUE(HasProperty(NodeType::MaskedIntReg, PropertyId::LSB));
    EXPECT_FALSE(HasProperty(NodeType::IntReg, PropertyId::LSB));
    EXPECT_FALSE(HasProperty(NodeType::StringReg, PropertyId::Sign));
    for (std::size_t i = 0; i < kNodeTypeCount; ++i)
        EXPECT_TRUE(HasProperty(static_cast<NodeType>(i), PropertyId::pIsAvailable)) << kNodeTypeNames[i];
}

} // namespace genapi
