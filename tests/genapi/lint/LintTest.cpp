#include "genapi/lint/LintTesting.h"

#include <Base/GCException.h>

#include <gmock/gmock.h>

#include <cstdlib>

using genapi::Finding;
using genapi::LintDescription;
using genapi::Severity;
using genapi::testkit::FindFinding;
using genapi::testkit::Frame;
using genapi::testkit::LintText;
using genapi::testkit::Said;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

TEST(Lint, HasNothingToSayAboutAnOrdinaryDescription) {
    const auto findings = LintDescription(LintText(
        Frame("Width Mode Gain Go") +
        "<Integer Name='Width'><pValue>WidthReg</pValue><Min>16</Min><Max>4096</Max><Inc>16</Inc></Integer>" +
        REGISTER("WidthReg", "0x100", "") +
        "<Enumeration Name='Mode'><EnumEntry Name='Off'><Value>0</Value></EnumEntry><EnumEntry "
        "Name='On'><Value>1</Value>"
        "</EnumEntry><pValue>ModeReg</pValue></Enumeration>" MASKED(
            "ModeReg", "<Bit>0</Bit>") "<Converter Name='Gain'><FormulaTo>FROM * 10</FormulaTo><FormulaFrom>TO / "
                                       "10</FormulaFrom><pValue>GainReg</pValue>"
                                       "<Unit>dB</Unit></Converter>" REGISTER(
                                           "GainReg", "0x104", "") "<Command Name='Go'><pValue>GoReg</pValue>"
                                                                   "<CommandValue>1</CommandValue></Command>" REGISTER(
                                                                       "GoReg", "0x108", "")));
    EXPECT_THAT(Said(findings), IsEmpty());
}

TEST(Lint, TellsTheLineOfTheElement) {
    const auto findings = LintDescription(
        LintText(Frame("A") + "<Integer Name='A'>\n<Value>1</Value>\n<pMax>Nowhere</pMax>\n</Integer>\n"));
    ASSERT_THAT(Said(findings), ElementsAre("dangling-link A"));
    EXPECT_EQ(findings[0].place.line, 5u);
}

TEST(Lint, TellsTheLineOfTheValueOrOfTheNodeThatLacksIt) {
    const auto findings = LintDescription(LintText(
        Frame("A B") + "<Integer Name='A'>\n<Value>1</Value>\n<Min>5</Min>\n<Max>2</Max></Integer>\n"
                       "<MaskedIntReg Name='B'>\n<Address>0</Address>\n" REGISTER_REST "<LSB>1</LSB></MaskedIntReg>"));
    ASSERT_THAT(Said(findings), ElementsAre("min-above-max A", "assumed-element B"));
    EXPECT_EQ(findings[0].place.line, 5u);
    EXPECT_EQ(findings[1].place.line, 7u);
}

TEST(Lint, TellsTheLineOfAStructureForWhatItsEntriesInherit) {
    const auto findings = LintDescription(
        LintText(Frame("A B") +
                 "<StructReg Comment='c'>\n<Address>zero</Address>\n" REGISTER_REST
                 "<StructEntry Name='A'><Bit>1</Bit></StructEntry><StructEntry Name='B'><Bit>2</Bit></StructEntry>"
                 "</StructReg>"));
    ASSERT_THAT(Said(findings), ElementsAre("bad-value A")); // once, not for each entry
    EXPECT_EQ(findings[0].place.line, 4u);
}

TEST(Lint, GivesFindingsInTheOrderOfTheText) {
    const auto findings =
        LintDescription(LintText(Frame("A B C") + "<Integer Name='A'/>\n<Float Name='B'/>\n<SwissKnife Name='C'/>\n"));
    EXPECT_THAT(Said(findings), ElementsAre("missing-element A", "missing-element B", "missing-element C"));
}

TEST(Lint, SuggestsWhatWasMeant) {
    const auto findings = LintDescription(
        LintText(Frame("Width A") + "<Integer Name='Width'><Value>1</Value></Integer><Integer Name='A'>"
                                    "<pValue>Widht</pValue><Representaton>Linear</Representaton></Integer>"));
    ASSERT_NE(FindFinding(findings, "dangling-link"), nullptr);
    EXPECT_EQ(FindFinding(findings, "dangling-link")->advice, "did you mean 'Width'?");
    ASSERT_NE(FindFinding(findings, "unknown-element"), nullptr);
    EXPECT_EQ(FindFinding(findings, "unknown-element")->advice, "did you mean Representation?");
}

TEST(Lint, TellsWhichSchemaAnElementCameWith) {
    const std::vector<Finding> findings =
        LintDescription(LintText(Frame("A") + "<String Name='A'><DocuURL>x</DocuURL><Value>x</Value></String>", '0'));
    const Finding* const finding = FindFinding(findings, "newer-element");
    ASSERT_NE(finding, nullptr);
    EXPECT_EQ(finding->text, "String came with schema 1.1, the file states 1.0");
}

TEST(Lint, NamesTheNodesOfACircle) {
    const auto findings = LintDescription(LintText(
        Frame("A") + "<Integer Name='A'><pValue>B</pValue></Integer><Integer Name='B'><pValue>C</pValue></Integer>"
                     "<Integer Name='C'><pValue>B</pValue></Integer>"));
    ASSERT_THAT(Said(findings), ElementsAre("value-cycle B"));
    EXPECT_THAT(findings[0].text, HasSubstr("B -> C -> B"));
}

TEST(Lint, LooksAtTheFirstNodeAsWell) {
    const auto findings = LintDescription(LintText(
        "<Integer Name='S'><pValue>SelectorReg</pValue><pSelected>A</pSelected></Integer>" + Frame("A S") +
        "<Integer Name='A'><pValue>R</pValue></Integer>" REGISTER("R", "4", "") REGISTER("SelectorReg", "0", "")));
    EXPECT_THAT(Said(findings), ElementsAre("missing-invalidator R"));
}

TEST(Lint, MissesRootAndDevice) {
    const auto findings = LintDescription(LintText("<Integer Name='A'><Value>1</Value></Integer>"));
    EXPECT_THAT(Said(findings), ElementsAre("no-root "));
    const auto portless = LintDescription(LintText("<Category Name='Root'/>"));
    EXPECT_THAT(Said(portless), ElementsAre("no-device-port "));
}

TEST(Lint, TakesThePortOfAProducersModuleForThatOfACamera) {
    for (const char* module : {"TLSystem", "TLInterface", "TLDevice", "TLDataStream", "TLBuffer"}) {
        const std::string root = "<Category Name='Root'/><Port Name='" + std::string(module) + "'/>";
        EXPECT_THAT(Said(LintDescription(LintText(root))), IsEmpty()) << module;
    }
    EXPECT_THAT(Said(LintDescription(LintText("<Category Name='Root'/><Port Name='TLCamera'/>"))),
                ElementsAre("no-device-port "));
}

TEST(Lint, LooksAtTheRootsAttributes) {
    const auto findings = LintDescription("<RegisterDescription ModelName='a b' StandardNameSpace='Mine' "
                                          "SchemaMajorVersion='1' SchemaMinorVersion='1' MajorVersion='x' "
                                          "xmlns='http://www.genicam.org/GenApi/Version_1_0'>" +
                                          Frame("") + "</RegisterDescription>");
    std::vector<std::string> texts;
    for (const Finding& finding : findings)
        texts.push_back(finding.text);
    EXPECT_THAT(texts,
                ::testing::UnorderedElementsAre(
                    "ModelName is no name: 'a b'", "VendorName is missing", "'Mine' is no standard name space",
                    "SchemaSubMinorVersion is missing", "MajorVersion is no version number: 'x'",
                    "MinorVersion is missing", "SubMinorVersion is missing", "ProductGuid is missing",
                    "VersionGuid is missing",
                    "the name space 'http://www.genicam.org/GenApi/Version_1_0' is not that of the schema version"));
}

TEST(Lint, RefusesWhatIsNoDescription) {
    EXPECT_THROW((void)LintDescription("<RegisterDescription>"), GenICam::RuntimeException);
    EXPECT_THROW((void)LintDescription("<html/>"), GenICam::RuntimeException);
}

TEST(Lint, HasAdviceForEveryRule) {
    for (int rule = 0; rule <= static_cast<int>(genapi::Rule::DefectiveNode); ++rule) {
        const genapi::RuleFacts& facts = genapi::FactsOf(static_cast<genapi::Rule>(rule));
        EXPECT_FALSE(facts.name.empty());
        EXPECT_FALSE(facts.advice.empty()) << facts.name;
    }
}

// Names of the nodes with errors in a file of the camera folder.
std::vector<std::string> ErrorsOf(const std::string& file) {
    std::vector<std::string> nodes;
    for (const Finding& finding : genapi::LintDescriptionFile(std::getenv("TAVIX_CAMERA_XML_DIR") + ("/" + file))) {
        if (finding.GetSeverity() == Severity::Error) nodes.push_back(finding.node);
    }
    return nodes;
}

TEST(LintCameraFiles, HaveNoErrorsButFourUndeclaredNames) {
    if (std::getenv("TAVIX_CAMERA_XML_DIR") == nullptr) GTEST_SKIP() << "TAVIX_CAMERA_XML_DIR is not set";
    for (const char* const file : {"aravis_fake_camera.xml", "baumer_hxg20.xml", "flir_bfs_u3_63s4m.xml",
                                   "jai_rm6740ge.xml", "tis_dmk_33gx174.xml"})
        EXPECT_THAT(ErrorsOf(file), IsEmpty()) << file;
    EXPECT_THAT(ErrorsOf("avt_mako_u029b.xml"),
                ElementsAre("DecimationHorizontalModeImpl", "DecimationHorizontalModeAvail",
                            "DecimationVerticalModeImpl", "DecimationVerticalModeAvail"));
}

} // namespace
