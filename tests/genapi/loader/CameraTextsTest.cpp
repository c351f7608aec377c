// Whole descriptions of real cameras. They lie where TAVIX_CAMERA_XML_DIR says; without it nothing is tested here.

#include "LoaderTesting.h"

#include "genapi/formula/Formula.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <unordered_set>

namespace genapi::testkit {
namespace {

using ::testing::IsEmpty;

class CameraTexts : public ::testing::Test {
protected:
    void SetUp() override {
        const char* const folder = std::getenv("TAVIX_CAMERA_XML_DIR");
        if (folder == nullptr) GTEST_SKIP() << "TAVIX_CAMERA_XML_DIR is not set";
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            if (entry.path().extension() == ".xml") m_Files.push_back(entry.path());
        }
        ASSERT_FALSE(m_Files.empty());
    }

    std::vector<std::filesystem::path> m_Files;
};

// Links whose target does not exist, as "Node.pValue=Target".
std::vector<std::string> DanglingLinks(const Description& description) {
    std::unordered_set<std::string_view> names;
    for (const NodeRecord& node : description.nodes)
        names.insert(node.name);
    std::vector<std::string> dangling;
    for (const NodeRecord& node : description.nodes) {
        for (const PropertyRecord& property : node.properties) {
            if (!IsLink(property.id) || names.count(property.value) != 0) continue;
            dangling.push_back(std::string(node.name) + "." + std::string(PropertyName(property.id)) + "=" +
                               std::string(property.value));
        }
    }
    return dangling;
}

TEST_F(CameraTexts, LoadWithoutProblemsAndDanglingLinks) {
    for (const auto& file : m_Files) {
        const Description description = ParseDescriptionFile(file);
        EXPECT_GT(description.nodes.size(), 50U) << file;
        EXPECT_THAT(Problems(description), IsEmpty()) << file;
        EXPECT_THAT(DanglingLinks(description), IsEmpty()) << file;
        EXPECT_NE(FindNode(description, "Root"), nullptr) << file;
        EXPECT_NE(FindNode(description, "Device"), nullptr) << file;
    }
}

TEST_F(CameraTexts, SurviveBeingWrittenAndReadAgain) {
    for (const auto& file : m_Files) {
        const Description first = ParseDescriptionFile(file);
        const Description second = ParseDescription(WriteDescription(first));
        ASSERT_EQ(first.nodes.size(), second.nodes.size()) << file;
        for (std::size_t i = 0; i < first.nodes.size(); ++i) {
            ASSERT_EQ(first.nodes[i].name, second.nodes[i].name) << file;
            ASSERT_EQ(first.nodes[i].type, second.nodes[i].type) << file;
            ASSERT_EQ(Properties(first, first.nodes[i].name), Properties(second, first.nodes[i].name)) << file;
        }
    }
}

TEST_F(CameraTexts, GiveSubtreesThatStandAlone) {
    std::size_t count = 0;
    for (const auto& file : m_Files) {
        const std::string xml = ReadDescriptionFile(file);
        const Description description = ParseDescription(xml);
        for (const NodeRecord& node : description.nodes) {
            const bool isWanted = node.name == "Root" || node.name.substr(0, 9) == "ChunkData";
            if (!isWanted || node.type != NodeType::Category) continue;
            const Description subtree = ParseDescription(ExtractSubtree(xml, {}, node.name));
            EXPECT_NE(FindNode(subtree, node.name), nullptr) << file << ' ' << node.name;
            EXPECT_THAT(DanglingLinks(subtree), IsEmpty()) << file << ' ' << node.name;
            ++count;
        }
    }
    EXPECT_GT(count, m_Files.size());
}

bool IsFormula(PropertyId id) {
    return id == PropertyId::Formula || id == PropertyId::FormulaTo || id == PropertyId::FormulaFrom;
}

FormulaNames NamesOf(const NodeRecord& node) {
    FormulaNames names;
    for (const PropertyRecord& property : node.properties) {
        if (property.id == PropertyId::pVariable) names.variables.push_back({property.attribute, 0});
        if (property.id == PropertyId::Constant) names.constants.push_back({property.attribute, Value::Integer(1)});
        if (property.id == PropertyId::Expression) names.expressions.push_back({property.attribute, property.value});
    }
    return names;
}

TEST_F(CameraTexts, HaveFormulasThatCompileExceptForUndeclaredNames) {
    std::size_t count = 0;
    for (const auto& file : m_Files) {
        const Description description = ParseDescriptionFile(file);
        for (const NodeRecord& node : description.nodes) {
            FormulaNames names = NamesOf(node);
            for (const PropertyRecord& property : node.properties) {
                if (!IsFormula(property.id)) continue;
                names.implicitName = property.id == PropertyId::FormulaTo ? "FROM" : "TO";
                const Formula formula = Formula::Compile(property.value, FormulaMode::Integer, names);
                const bool isKnownFault = formula.Error().find("unknown name") != std::string::npos;
                EXPECT_TRUE(formula.IsValid() || isKnownFault) << file << ' ' << node.name << ": " << formula.Error();
                count += formula.IsValid() ? 1 : 0;
            }
        }
    }
    EXPECT_GT(count, 500U);
}

} // namespace
} // namespace genapi::testkit
