// Where the findings of the checks begin and end.
#include "genapi/lint/LintTesting.h"

using genapi::LintDescription;
using genapi::testkit::ExpectSaid;
using genapi::testkit::FindFinding;
using genapi::testkit::Frame;
using genapi::testkit::LintText;
using genapi::testkit::Said;
using genapi::testkit::Slip;
using genapi::testkit::SlipName;

namespace {

class LintEdges : public ::testing::TestWithParam<Slip> {};

TEST_P(LintEdges, AreWhereTheyShouldBe) {
    ExpectSaid(GetParam());
}

#define PLACED(name, place, access)                                                                                    \
    "<IntReg Name='" name "'>" place "<Length>4</Length><AccessMode>" access "</AccessMode><pPort>Device</pPort>"      \
    "</IntReg>"
#define LONG_FIELD(name, bits)                                                                                         \
    "<MaskedIntReg Name='" name "'><Address>0</Address><Length>8</Length><AccessMode>RW</AccessMode>"                  \
    "<pPort>Device</pPort>" bits "</MaskedIntReg>"
#define NUMBER(name) "<Integer Name='" name "'><Value>1</Value></Integer>"

const Slip kSharedBits[] = {
    {"NotOfFieldsOfEightBytes", "A B", LONG_FIELD("A", "<Bit>0</Bit>") LONG_FIELD("B", "<Bit>1</Bit>"), {}},
    {"OfTheLastBitOfEightBytes",
     "A B",
     LONG_FIELD("A", "<Bit>63</Bit>") LONG_FIELD("B", "<Bit>63</Bit>"),
     {"shared-bits A", "shared-bits B"}},
    {"OfAnAddressThatIsASum",
     "A B",
     PLACED("A", "<Address>4</Address><Address>4</Address>", "RW") PLACED("B", "<Address>8</Address>", "RO"),
     {"shared-bits B"}},
    {"OfIndicesInAnotherOrder",
     "A B S T",
     PLACED("A", "<pIndex Offset='4'>S</pIndex><pIndex Offset='8'>T</pIndex>", "RW")
         PLACED("B", "<pIndex Offset='8'>T</pIndex><pIndex Offset='4'>S</pIndex>", "RO") NUMBER("S") NUMBER("T"),
     {"shared-bits B"}},
    {"OfAWriteOnlyRegister",
     "A B",
     PLACED("A", "<Address>0</Address>", "WO") PLACED("B", "<Address>0</Address>", "RO"),
     {"shared-bits B"}},
    {"OfAWriteOnlyRegisterInItsShortSpelling",
     "A B",
     PLACED("A", "<Address>0</Address>", "W") PLACED("B", "<Address>0</Address>", "RO"),
     {"odd-value A", "shared-bits B"}},
    {"OnceForEachReader",
     "A B C",
     PLACED("A", "<Address>0</Address>", "WO") PLACED("B", "<Address>0</Address>", "WO")
         PLACED("C", "<Address>0</Address>", "RO"),
     {"shared-bits C"}},
};
INSTANTIATE_TEST_SUITE_P(OfSharedBits, LintEdges, ::testing::ValuesIn(kSharedBits), SlipName);

const Slip kCaches[] = {
    {"NotOfASelectedCommand",
     "A S",
     "<Command Name='A'><pValue>R</pValue><CommandValue>1</CommandValue></Command>" REGISTER(
         "R", "0", "") "<Integer Name='S'><Value>0</Value><pSelected>A</pSelected></Integer>",
     {}},
    {"NotOfASelectorThatIsHeldForReadingInItsShortSpelling",
     "A S",
     REGISTER("A", "0", "") "<Integer Name='S'><ImposedAccessMode>R</ImposedAccessMode><Value>0</Value>"
                            "<pSelected>A</pSelected></Integer>",
     {"odd-value S"}},
    {"OfARegisterThatIsNeverPolled",
     "A S",
     REGISTER("A", "0", "<PollingTime>0</PollingTime>") "<Integer Name='S'><Value>0</Value><pSelected>A</pSelected>"
                                                        "</Integer>",
     {"missing-invalidator A"}},
    {"NotOfAWriteOnlyRegister",
     "A S",
     PLACED("A", "<Address>0</Address>", "WO") "<Integer Name='S'><Value>0</Value><pSelected>A</pSelected></Integer>",
     {}},
    {"OfACommandOnADetour",
     "A",
     "<Command Name='A'><pValue>I</pValue><CommandValue>1</CommandValue></Command><Integer Name='I'>"
     "<pValue>J</pValue></Integer><Integer Name='J'><pValue>R</pValue></Integer>" PLACED("R", "<Address>0</Address>",
                                                                                         "RO"),
     {"read-only-command A"}},
};
INSTANTIATE_TEST_SUITE_P(OfCaches, LintEdges, ::testing::ValuesIn(kCaches), SlipName);

const Slip kCircleEdges[] = {
    {"OfAnIndexedValue",
     "A S",
     "<Integer Name='A'><pIndex>S</pIndex><pValueIndexed Index='1'>A</pValueIndexed><ValueDefault>0</ValueDefault>"
     "</Integer>" NUMBER("S"),
     {"value-cycle A"}},
    {"OfTheValueOfOtherIndices",
     "A S",
     "<Integer Name='A'><pIndex>S</pIndex><ValueIndexed Index='1'>0</ValueIndexed><pValueDefault>A</pValueDefault>"
     "</Integer>" NUMBER("S"),
     {"value-cycle A"}},
    {"OfAnOffset", "A S", PLACED("A", "<pIndex pOffset='A'>S</pIndex>", "RW") NUMBER("S"), {"value-cycle A"}},
    {"OfALength",
     "A",
     "<IntReg Name='A'><Address>0</Address><pLength>A</pLength><AccessMode>RW</AccessMode><pPort>Device</pPort>"
     "</IntReg>",
     {"value-cycle A"}},
    {"OfAMinimum",
     "A",
     "<Integer Name='A'><Value>1</Value><pMin>K</pMin></Integer><IntSwissKnife Name='K'>"
     "<pVariable Name='X.Min'>A</pVariable><Formula>X.Min</Formula></IntSwissKnife>",
     {"limit-cycle A"}},
    {"OfAnIncrement",
     "A",
     "<Integer Name='A'><Value>1</Value><pInc>K</pInc></Integer><IntSwissKnife Name='K'>"
     "<pVariable Name='X.Inc'>A</pVariable><Formula>X.Inc</Formula></IntSwissKnife>",
     {"limit-cycle A"}},
    {"OfLimitsOfALinkedValue",
     "A",
     "<Integer Name='A'><pValue>B</pValue><Min>0</Min></Integer><Integer Name='B'><Value>1</Value><pMax>K</pMax>"
     "</Integer><IntSwissKnife Name='K'><pVariable Name='X.Max'>A</pVariable><Formula>X.Max</Formula></IntSwissKnife>",
     {"limit-cycle A"}},
    {"NotOfALinkedValueWithLimitsOfItsOwn",
     "A",
     "<Integer Name='A'><pValue>B</pValue><Min>0</Min><Max>9</Max></Integer><Integer Name='B'><Value>1</Value>"
     "<pMax>K</pMax></Integer><IntSwissKnife Name='K'><pVariable Name='X.Max'>A</pVariable><Formula>X.Max</Formula>"
     "</IntSwissKnife>",
     {}},
    {"OfLimitsOfAConverterThatNeedAValue",
     "C",
     "<IntConverter Name='C'><pVariable Name='V'>K</pVariable><FormulaTo>FROM</FormulaTo><FormulaFrom>TO + V"
     "</FormulaFrom><pValue>R</pValue></IntConverter><IntSwissKnife Name='K'><pVariable Name='Y.Max'>C</pVariable>"
     "<Formula>Y.Max</Formula></IntSwissKnife><Integer Name='R'><Value>1</Value><Min>0</Min><Max>9</Max></Integer>",
     {"limit-cycle C"}},
    {"NotOfTheLimitsOfAFormulaWhichNeedNoValue",
     "K",
     "<IntSwissKnife Name='K'><pVariable Name='X'>L</pVariable><Formula>X</Formula></IntSwissKnife>"
     "<IntSwissKnife Name='L'><pVariable Name='Y.Max'>K</pVariable><Formula>Y.Max</Formula></IntSwissKnife>",
     {}},
    {"OfAnImplementation",
     "A",
     "<Integer Name='A'><pIsImplemented>K</pIsImplemented><Value>1</Value></Integer><IntSwissKnife Name='K'>"
     "<pVariable Name='X.AccessMode'>A</pVariable><Formula>X.AccessMode</Formula></IntSwissKnife>",
     {"access-cycle A"}},
};
INSTANTIATE_TEST_SUITE_P(OfCircles, LintEdges, ::testing::ValuesIn(kCircleEdges), SlipName);

const Slip kValues[] = {
    {"NotOfValuesAtTheirLimits",
     "A B C",
     "<Integer Name='A'><Value>2</Value><Min>2</Min><Max>5</Max></Integer><Integer Name='B'><Value>5</Value>"
     "<Min>2</Min><Max>5</Max></Integer><Integer Name='C'><Value>3</Value><Min>3</Min><Max>3</Max></Integer>",
     {}},
    {"NotOfTheLongestInteger", "A", LONG_FIELD("A", "<LSB>0</LSB><MSB>63</MSB>"), {}},
    {"NotOfTheFirstAndTheLastBit", "A", MASKED("A", "<LSB>0</LSB><MSB>31</MSB>"), {}},
    {"NotOfWhatJustFits",
     "A B",
     "<Enumeration Name='A'><EnumEntry Name='Off'><Value>0</Value></EnumEntry><EnumEntry Name='On'><Value>3</Value>"
     "</EnumEntry><pValue>R</pValue></Enumeration><Boolean Name='B'><pValue>R</pValue><OnValue>3</OnValue>"
     "<OffValue>0</OffValue></Boolean>" MASKED("R", "<LSB>0</LSB><MSB>1</MSB>"),
     {}},
    {"OfWhatDoesNotFitOneByte",
     "A",
     "<Boolean Name='A'><pValue>R</pValue><OnValue>256</OnValue></Boolean><IntReg Name='R'><Address>0</Address>"
     "<Length>1</Length><AccessMode>RW</AccessMode><pPort>Device</pPort></IntReg>",
     {"value-out-of-range A"}},
    {"NotOfPatternsOfEightBytes",
     "A",
     "<Boolean Name='A'><pValue>R</pValue><OnValue>-1</OnValue></Boolean>" LONG_FIELD("R", "<LSB>0</LSB><MSB>63</MSB>"),
     {}},
    {"OfAnOffValueThatIsTheUsualOnValue",
     "A",
     "<Boolean Name='A'><pValue>R</pValue><OffValue>1</OffValue></Boolean>" REGISTER("R", "0", ""),
     {"on-equals-off A"}},
};
INSTANTIATE_TEST_SUITE_P(OfValues, LintEdges, ::testing::ValuesIn(kValues), SlipName);

const Slip kSchema[] = {
    {"OfASchemaToCome", "", "", {"bad-root-attribute ", "bad-root-attribute "}, '2'},
    {"NotOfNamesOfAllLetters", "AZaz09_ Z a z", NUMBER("AZaz09_") NUMBER("Z") NUMBER("a") NUMBER("z"), {}},
    {"NotOfMergePriorities",
     "A B C D",
     "<Integer Name='A' MergePriority='-1'><Value>1</Value></Integer><Integer Name='B' MergePriority='0'>"
     "<Value>1</Value></Integer><Integer Name='C' MergePriority='1'><Value>1</Value></Integer>"
     "<Integer Name='D' MergePriority='+1'><Value>1</Value></Integer>",
     {}},
    {"OfThreeEqualElementsOnce",
     "A",
     "<Integer Name='A'><Value>1</Value><Max>3</Max><Max>4</Max><Max>5</Max></Integer>",
     {"repeated-element A"}},
    {"NotOfAnOffsetThatIsANode", "A", PLACED("A", "<pIndex pOffset='O'>S</pIndex>", "RW") NUMBER("S") NUMBER("O"), {}},
    {"NotOfTheLockOfTheTransportLayer", "", NUMBER("TLParamsLocked"), {}},
    {"OfANodeThatOnlyItselfNames", "", REGISTER("A", "0", "<pInvalidator>A</pInvalidator>"), {"unused-node A"}},
};
INSTANTIATE_TEST_SUITE_P(OfTheSchema, LintEdges, ::testing::ValuesIn(kSchema), SlipName);

std::string AdviceFor(const std::string& nodes, std::string_view rule) {
    const auto findings = LintDescription(LintText(Frame("A") + nodes));
    const genapi::Finding* const finding = FindFinding(findings, rule);
    return finding == nullptr ? std::string() : finding->advice;
}

std::string AdviceForLink(const std::string& link, const std::vector<std::string>& names) {
    std::string nodes = "<Integer Name='A'><pValue>" + link + "</pValue></Integer>";
    for (const std::string& name : names)
        nodes += "<Integer Name='" + name + "'><Value>1</Value></Integer>";
    return AdviceFor(nodes, "dangling-link");
}

TEST(LintAdvice, TakesTheFirstOfNamesThatAreEquallyNear) {
    EXPECT_EQ(AdviceForLink("Gaim", {"Gain", "Gait"}), "did you mean 'Gain'?");
}

TEST(LintAdvice, GoesAsFarAsTwoLetters) {
    EXPECT_EQ(AdviceForLink("Qwidth", {"Width"}), "did you mean 'Width'?");
    EXPECT_EQ(AdviceForLink("Qwidht", {"Width"}), genapi::FactsOf(genapi::Rule::DanglingLink).advice);
    EXPECT_EQ(AdviceFor("<Intgr Name='A'/>", "unknown-node"), "did you mean Integer?");
    EXPECT_EQ(
        AdviceFor("<Integer Name='A'><Value>1</Value><Reprsentaton>Linear</Reprsentaton></Integer>", "unknown-element"),
        "did you mean Representation?");
}

TEST(LintAdvice, ComparesNamesOf64Letters) {
    const std::string name(63, 'L');
    EXPECT_EQ(AdviceForLink(name + "a", {name + "b"}), "did you mean '" + name + "b'?");
}

TEST(LintEdgesOfTexts, AllNodesOfACircleOfElevenAreNamed) {
    std::string nodes;
    for (int i = 0; i < 11; ++i)
        nodes += "<Integer Name='N" + std::to_string(i) + "'><pValue>N" + std::to_string((i + 1) % 11) +
                 "</pValue></Integer>";
    const auto findings = LintDescription(LintText(Frame("N0") + nodes));
    ASSERT_EQ(Said(findings), std::vector<std::string>{"value-cycle N0"});
    EXPECT_EQ(findings[0].text,
              "it needs itself: N0 -> N1 -> N2 -> N3 -> N4 -> N5 -> N6 -> N7 -> N8 -> N9 -> N10 -> N0");
}

TEST(LintEdgesOfTexts, AVendorNeedsAName) {
    const std::string text = LintText(Frame(""));
    const std::string odd = std::string(text).replace(text.find("\"V\""), 3, "\"V W\"");
    EXPECT_EQ(Said(LintDescription(odd)), std::vector<std::string>{"bad-root-attribute "});
}

} // namespace
