#include "genapi/lint/LintTesting.h"

using genapi::Finding;
using genapi::testkit::ExpectSaid;
using genapi::testkit::Slip;
using genapi::testkit::SlipName;

namespace {

class LintSlips : public ::testing::TestWithParam<Slip> {};

TEST_P(LintSlips, AreFoundAndNothingElse) {
    for (const Finding& finding : ExpectSaid(GetParam())) {
        EXPECT_FALSE(finding.text.empty());
        EXPECT_FALSE(finding.advice.empty());
        EXPECT_GE(finding.place.line, 1u);
    }
}

const Slip kSchemaSlips[] = {
    {"UnknownNode", "A", "<Integr Name='A'/>", {"unknown-node A", "loose-link Root"}},
    {"NamelessNode", "", "<Integer><Value>1</Value></Integer>", {"nameless-node "}},
    {"BadName", "1A", "<Integer Name='1A'><Value>1</Value></Integer>", {"bad-name 1A"}},
    {"DuplicateName",
     "A",
     "<Integer Name='A'><Value>1</Value></Integer><Float Name='A'><Value>1</Value></Float>",
     {"duplicate-name A"}},
    {"DuplicateEntry",
     "A",
     "<Enumeration Name='A'><EnumEntry Name='On'><Value>1</Value></EnumEntry><EnumEntry Name='On'><Value>2</Value>"
     "</EnumEntry><Value>1</Value></Enumeration>",
     {"duplicate-entry A"}},
    {"UnknownAttribute", "A", "<Integer Name='A' Colour='red'><Value>1</Value></Integer>", {"unknown-attribute A"}},
    {"AttributeOfAnotherElement",
     "A",
     "<Integer Name='A'><Value Index='2'>1</Value></Integer>",
     {"unknown-attribute A"}},
    {"BadNameSpace", "A", "<Integer Name='A' NameSpace='Mine'><Value>1</Value></Integer>", {"bad-attribute A"}},
    {"BadMergePriority", "A", "<Integer Name='A' MergePriority='2'><Value>1</Value></Integer>", {"bad-attribute A"}},
    {"UnknownElement", "A", "<Integer Name='A'><Value>1</Value><Colour>red</Colour></Integer>", {"unknown-element A"}},
    {"ElementOfAnotherKind",
     "A",
     "<Integer Name='A'><Value>1</Value><Slope>Varying</Slope></Integer>",
     {"misplaced-element A"}},
    {"WrongOrder",
     "A",
     "<Integer Name='A'><Max>5</Max><Value>1</Value><ToolTip>t</ToolTip></Integer>",
     {"wrong-order A"}},
    {"RepeatedElement",
     "A",
     "<Integer Name='A'><Value>1</Value><Max>3</Max><Max>4</Max></Integer>",
     {"repeated-element A"}},
    {"TwoSourcesOfAValue",
     "A B",
     "<Integer Name='A'><Value>1</Value><pValue>B</pValue></Integer>"
     "<Integer Name='B'><Value>1</Value></Integer>",
     {"repeated-element A"}},
    {"MissingValue", "A", "<Integer Name='A'/>", {"missing-element A"}},
    {"MissingDefaultOfAnIndex",
     "A S",
     "<Integer Name='A'><pIndex>S</pIndex><ValueIndexed Index='1'>5</ValueIndexed>"
     "</Integer><Integer Name='S'><Value>1</Value></Integer>",
     {"assumed-element A"}},
    {"MissingPort",
     "A",
     "<IntReg Name='A'><Address>0</Address><Length>4</Length><AccessMode>RO</AccessMode></IntReg>",
     {"missing-element A"}},
    {"MissingAddressLengthAndAccess",
     "A",
     "<IntReg Name='A'><pPort>Device</pPort></IntReg>",
     {"assumed-element A", "assumed-element A", "assumed-element A"}},
    {"MissingFormula", "A", "<SwissKnife Name='A'/>", {"missing-element A"}},
    {"MissingCommandValue", "A", "<Command Name='A'><Value>0</Value></Command>", {"missing-element A"}},
    {"MissingMsb", "A", MASKED("A", "<LSB>1</LSB>"), {"assumed-element A"}},
    {"BitAndMsb", "A", MASKED("A", "<Bit>1</Bit><MSB>1</MSB>"), {"repeated-element A"}},
    {"NewerElementInAnOldFile",
     "A",
     "<Integer Name='A'><Value>1</Value><Unit>m</Unit></Integer>",
     {"newer-element A"},
     '0'},
    {"NewerNodeInAnOldFile", "A", "<String Name='A'><Value>x</Value></String>", {"newer-element A"}, '0'},
    {"IndexWithoutOffsetInAnOldFile",
     "A S",
     "<IntReg Name='A'><Address>0</Address><pIndex>S</pIndex>" REGISTER_REST
     "</IntReg><Integer Name='S'><Value>1</Value></Integer>",
     {"newer-element A"},
     '0'},
    {"EntryOfAStructure",
     "A",
     "<StructReg Comment='c'><Address>0</Address>" REGISTER_REST
     "<StructEntry Name='A'><Bit>1</Bit><Slope>Varying</Slope></StructEntry></StructReg>",
     {"misplaced-element A"}},
    {"InsideGroups",
     "A",
     "<Group Comment='a'><Group Comment='b'><Integer Name='A'/></Group></Group>",
     {"missing-element A"}},
    {"InsideAnEntry",
     "A",
     "<Enumeration Name='A'><EnumEntry Name='On'/><Value>1</Value></Enumeration>",
     {"missing-element EnumEntry_A_On"}},
};
INSTANTIATE_TEST_SUITE_P(OfTheSchema, LintSlips, ::testing::ValuesIn(kSchemaSlips), SlipName);

const Slip kValueSlips[] = {
    {"BadNumber", "A", "<Integer Name='A'><Value>1.5</Value></Integer>", {"bad-value A"}},
    {"BadKeyword", "A", "<Integer Name='A'><Visibility>Novice</Visibility><Value>1</Value></Integer>", {"bad-value A"}},
    {"BadEventId", "A", "<Integer Name='A'><EventID>0x1</EventID><Value>1</Value></Integer>", {"bad-value A"}},
    {"BadIndex",
     "A S",
     "<Integer Name='A'><pIndex>S</pIndex><ValueIndexed Index='x'>5</ValueIndexed><ValueDefault>1"
     "</ValueDefault></Integer><Integer Name='S'><Value>1</Value></Integer>",
     {"bad-value A"}},
    {"OddAccessMode",
     "A",
     "<IntReg Name='A'><Address>0</Address><Length>4</Length><AccessMode>R</AccessMode>"
     "<pPort>Device</pPort></IntReg>",
     {"odd-value A"}},
    {"OddRepresentationOfAFloat",
     "A",
     "<Float Name='A'><Value>1</Value><Representation>HexNumber</Representation></Float>",
     {"odd-value A"}},
    {"NewerRepresentationInAnOldFile",
     "A",
     "<Integer Name='A'><Value>1</Value><Representation>IPV4Address</Representation></Integer>",
     {"odd-value A"},
     '0'},
    {"MinAboveMax", "A", "<Integer Name='A'><Value>1</Value><Min>5</Min><Max>2</Max></Integer>", {"min-above-max A"}},
    {"MinAboveMaxOfAFloat",
     "A",
     "<Float Name='A'><Value>1</Value><Min>.5</Min><Max>.2</Max></Float>",
     {"min-above-max A"}},
    {"ValueOutside", "A", "<Integer Name='A'><Value>9</Value><Max>2</Max></Integer>", {"value-out-of-range A"}},
    {"NoIncrement", "A", "<Integer Name='A'><Value>1</Value><Inc>0</Inc></Integer>", {"bad-increment A"}},
    {"SameEntryValue",
     "A",
     "<Enumeration Name='A'><EnumEntry Name='On'><Value>1</Value></EnumEntry>"
     "<EnumEntry Name='Off'><Value>1</Value></EnumEntry><Value>1</Value></Enumeration>",
     {"same-entry-value EnumEntry_A_Off"}},
    {"SameEntryValueByTurns",
     "A S",
     "<Enumeration Name='A'><EnumEntry Name='On'><pIsAvailable>S</pIsAvailable>"
     "<Value>1</Value></EnumEntry><EnumEntry Name='Off'><Value>1</Value></EnumEntry><Value>1</Value></Enumeration>"
     "<Integer Name='S'><Value>1</Value></Integer>",
     {}},
    {"EntryThatDoesNotFit",
     "A",
     "<Enumeration Name='A'><EnumEntry Name='On'><Value>4</Value></EnumEntry>"
     "<pValue>R</pValue></Enumeration>" MASKED("R", "<LSB>0</LSB><MSB>1</MSB>"),
     {"value-out-of-range EnumEntry_A_On"}},
    {"CommandValueThatDoesNotFit",
     "A",
     "<Command Name='A'><pValue>R</pValue><CommandValue>2</CommandValue></Command>" MASKED("R", "<Bit>0</Bit>"),
     {"value-out-of-range A"}},
    {"OnValueThatDoesNotFit",
     "A",
     "<Boolean Name='A'><pValue>R</pValue><OnValue>2</OnValue></Boolean>" MASKED("R", "<Bit>0</Bit>"),
     {"value-out-of-range A"}},
    {"OnEqualsOff",
     "A",
     "<Boolean Name='A'><pValue>R</pValue><OnValue>0</OnValue></Boolean>" REGISTER("R", "0", ""),
     {"on-equals-off A"}},
    {"IntegerTooLong",
     "A",
     "<IntReg Name='A'><Address>0</Address><Length>9</Length><AccessMode>RO</AccessMode>"
     "<pPort>Device</pPort></IntReg>",
     {"bad-length A"}},
    {"FloatOfThreeBytes",
     "A",
     "<FloatReg Name='A'><Address>0</Address><Length>3</Length><AccessMode>RO</AccessMode>"
     "<pPort>Device</pPort></FloatReg>",
     {"bad-length A"}},
    {"NoLength",
     "A",
     "<StringReg Name='A'><Address>0</Address><Length>0</Length><AccessMode>RO</AccessMode>"
     "<pPort>Device</pPort></StringReg>",
     {"bad-length A"}},
    {"BitOutside", "A", MASKED("A", "<Bit>32</Bit>"), {"bits-outside A"}},
    {"MsbOutside", "A", MASKED("A", "<LSB>1</LSB><MSB>40</MSB>"), {"bits-outside A"}},
    {"ReversedLittleEndian", "A", MASKED("A", "<LSB>9</LSB><MSB>2</MSB>"), {"bits-reversed A"}},
    {"ReversedBigEndian",
     "A",
     MASKED("A", "<LSB>2</LSB><MSB>9</MSB><Endianess>BigEndian</Endianess>"),
     {"bits-reversed A"}},
};
INSTANTIATE_TEST_SUITE_P(OfValues, LintSlips, ::testing::ValuesIn(kValueSlips), SlipName);

const Slip kLinkSlips[] = {
    {"DanglingLink", "A", "<Integer Name='A'><pValue>Nowhere</pValue></Integer>", {"dangling-link A"}},
    {"DanglingOffset",
     "A S",
     "<IntReg Name='A'><Address>0</Address><pIndex pOffset='Nowhere'>S</pIndex>" REGISTER_REST
     "</IntReg><Integer Name='S'><Value>1</Value></Integer>",
     {"dangling-link A"}},
    {"LooseLinksThatToolsWrite",
     "A",
     "<Integer Name='A'><Value>1</Value><pSelecting>Nowhere</pSelecting><pTerminal>Nowhere</pTerminal>"
     "<pDependent>Nowhere</pDependent></Integer>",
     {"misplaced-element A", "loose-link A", "misplaced-element A", "loose-link A", "misplaced-element A",
      "loose-link A"}},
    {"LooseLink", "A", REGISTER("A", "0", "<pInvalidator>Nowhere</pInvalidator>"), {"loose-link A"}},
    {"EmptyLink", "A", "<Integer Name='A'><Value>1</Value><pMax/></Integer>", {"defective-node A"}},
    {"PortThatIsNone",
     "A B",
     "<IntReg Name='A'><Address>0</Address><Length>4</Length><AccessMode>RO</AccessMode>"
     "<pPort>B</pPort></IntReg><Integer Name='B'><Value>1</Value></Integer>",
     {"wrong-target A"}},
    {"ValueOfACategory", "A", "<Integer Name='A'><pValue>Root</pValue></Integer>", {"wrong-target A"}},
    {"TextOfANumber",
     "A B",
     "<String Name='A'><pValue>B</pValue></String><Integer Name='B'><Value>1</Value></Integer>",
     {"wrong-target A"}},
    {"KindThatCameLater",
     "A B",
     "<Integer Name='A'><pValue>B</pValue></Integer><Float Name='B'><Value>1</Value></Float>",
     {"odd-target A"},
     '0'},
    {"UndeclaredName", "A", "<SwissKnife Name='A'><Formula>X + 1</Formula></SwissKnife>", {"bad-formula A"}},
    {"HalfAFormula", "A", "<IntSwissKnife Name='A'><Formula>1 +</Formula></IntSwissKnife>", {"bad-formula A"}},
    {"BadFormulaTo",
     "A B",
     "<IntConverter Name='A'><FormulaTo>TO</FormulaTo><FormulaFrom>TO</FormulaFrom>"
     "<pValue>B</pValue></IntConverter><Integer Name='B'><Value>1</Value></Integer>",
     {"bad-formula A"}},
    {"UnknownSuffix",
     "A B",
     "<SwissKnife Name='A'><pVariable Name='X.Size'>B</pVariable><Formula>X.Size</Formula>"
     "</SwissKnife><Integer Name='B'><Value>1</Value></Integer>",
     {"bad-variable A"}},
    {"UnknownEntry",
     "A B",
     "<SwissKnife Name='A'><pVariable Name='X.Entry.Up'>B</pVariable><Formula>X.Entry.Up"
     "</Formula></SwissKnife><Enumeration Name='B'><EnumEntry Name='On'><Value>1</Value></EnumEntry><Value>1</Value>"
     "</Enumeration>",
     {"bad-variable A"}},
};
INSTANTIATE_TEST_SUITE_P(OfLinks, LintSlips, ::testing::ValuesIn(kLinkSlips), SlipName);

const Slip kCircles[] = {
    {"OfValues",
     "A B",
     "<Integer Name='A'><pValue>B</pValue></Integer><Integer Name='B'><pValue>A</pValue></Integer>",
     {"value-cycle A"}},
    {"OfOneFormula",
     "A",
     "<IntSwissKnife Name='A'><pVariable Name='X'>A</pVariable><Formula>X</Formula></IntSwissKnife>",
     {"value-cycle A"}},
    {"OfAnAddress", "A", "<IntReg Name='A'><pAddress>A</pAddress>" REGISTER_REST "</IntReg>", {"value-cycle A"}},
    {"OfLimits",
     "A",
     "<Integer Name='A'><Value>1</Value><pMax>K</pMax></Integer><IntSwissKnife Name='K'>"
     "<pVariable Name='X.Max'>A</pVariable><Formula>X.Max</Formula></IntSwissKnife>",
     {"limit-cycle A"}},
    {"OfAccessModes",
     "A",
     "<Integer Name='A'><pIsLocked>K</pIsLocked><Value>1</Value></Integer><IntSwissKnife Name='K'>"
     "<pVariable Name='X.AccessMode'>A</pVariable><Formula>X.AccessMode</Formula></IntSwissKnife>",
     {"access-cycle A"}},
    {"OfAccessModesThroughAFormula",
     "A B",
     "<SwissKnife Name='A'><pVariable Name='X'>B</pVariable><Formula>X</Formula></SwissKnife>"
     "<Integer Name='B'><pIsAvailable>K</pIsAvailable><Value>1</Value></Integer><IntSwissKnife Name='K'>"
     "<pVariable Name='Y.AccessMode'>A</pVariable><Formula>Y.AccessMode</Formula></IntSwissKnife>",
     {"access-cycle A"}},
    {"OfCategories",
     "A",
     "<Category Name='A'><pFeature>B</pFeature></Category><Category Name='B'><pFeature>A</pFeature>"
     "</Category>",
     {"category-cycle A"}},
    // Each limit needs the other's value, and no value needs a limit.
    {"NotOfLimitsThatNeedValues",
     "A B",
     "<Integer Name='A'><Value>1</Value><pMax>B</pMax></Integer><Integer Name='B'>"
     "<Value>1</Value><pMax>A</pMax></Integer>",
     {}},
    // Only writing needs the raw value.
    {"NotOfTheWayBack",
     "A B",
     "<IntConverter Name='A'><pVariable Name='OLD'>A</pVariable><FormulaTo>FROM + OLD"
     "</FormulaTo><FormulaFrom>TO</FormulaFrom><pValue>B</pValue></IntConverter><Integer Name='B'><Value>1</Value>"
     "</Integer>",
     {}},
    {"NotOfInvalidators",
     "A B",
     REGISTER("A", "0", "<pInvalidator>B</pInvalidator>") REGISTER("B", "4", "<pInvalidator>A</pInvalidator>"),
     {}},
};
INSTANTIATE_TEST_SUITE_P(OfCircles, LintSlips, ::testing::ValuesIn(kCircles), SlipName);

#define SELECTOR                                                                                                       \
    "<Enumeration Name='S'><EnumEntry Name='X'><Value>0</Value></EnumEntry><EnumEntry Name='Y'><Value>1</Value>"       \
    "</EnumEntry><pValue>SelectorReg</pValue><pSelected>A</pSelected></Enumeration>" REGISTER("SelectorReg", "0", "")

const Slip kStaleCaches[] = {
    {"OfASelectedRegister",
     "A S",
     "<Integer Name='A'><pValue>R</pValue></Integer>" REGISTER("R", "4", "") SELECTOR,
     {"missing-invalidator R"}},
    {"OfASelectedConverter",
     "A S",
     "<Converter Name='A'><FormulaTo>FROM</FormulaTo><FormulaFrom>TO</FormulaFrom>"
     "<pValue>R</pValue></Converter>" REGISTER("R", "4", "") SELECTOR,
     {"missing-invalidator R"}},
    {"NotWithoutACache",
     "A S",
     "<Integer Name='A'><pValue>R</pValue></Integer>" REGISTER("R", "4", "<Cachable>NoCache</Cachable>") SELECTOR,
     {}},
    {"NotWhenPolled",
     "A S",
     "<Integer Name='A'><pValue>R</pValue></Integer>" REGISTER("R", "4", "<PollingTime>100</PollingTime>") SELECTOR,
     {}},
    {"NotWhenInvalidated",
     "A S",
     "<Integer Name='A'><pValue>R</pValue></Integer>" REGISTER("R", "4", "<pInvalidator>S</pInvalidator>") SELECTOR,
     {}},
    {"NotWhenTheSelectorsRegisterInvalidates",
     "A S",
     "<Integer Name='A'><pValue>R</pValue></Integer>" REGISTER("R", "4", "<pInvalidator>SelectorReg</pInvalidator>")
         SELECTOR,
     {}},
    {"NotOfASelectorThatIsHeldForReading",
     "A S",
     "<Integer Name='A'><pValue>R</pValue></Integer>" REGISTER(
         "R", "4",
         "") "<Integer "
             "Name='S'><ImposedAccessMode>RO</ImposedAccessMode><Value>0</Value><pSelected>A</pSelected></Integer>",
     {}},
    {"NotOfASelectorComputedFromConstants",
     "A S",
     "<Integer Name='A'><pValue>R</pValue></Integer>" REGISTER(
         "R", "4",
         "") "<Integer Name='S'><pValue>F</pValue><pSelected>A</pSelected></Integer>"
             "<IntSwissKnife Name='F'><pVariable Name='O'>One</pVariable><Formula>O + 1</Formula></IntSwissKnife>"
             "<Integer Name='One'><Value>1</Value><Min>1</Min><Max>1</Max></Integer>",
     {}},
    {"OfASelectorThatIsHeld",
     "A S",
     "<Integer Name='A'><pValue>R</pValue></Integer>" REGISTER(
         "R", "4", "") "<Integer Name='S'><Value>0</Value><Max>3</Max><pSelected>A</pSelected></Integer>",
     {"missing-invalidator R"}},
    {"OfASelectorThatTheDeviceChanges",
     "A S",
     "<Integer Name='A'><pValue>R</pValue></Integer>" REGISTER(
         "R", "4", "") "<Integer "
                       "Name='S'><ImposedAccessMode>RO</ImposedAccessMode><pValue>D</pValue><pSelected>A</pSelected></"
                       "Integer>" REGISTER("D", "8", ""),
     {"missing-invalidator R"}},
    {"NotWhenTheAddressDepends",
     "A S",
     "<IntReg Name='A'><Address>8</Address><pIndex Offset='4'>SelectorReg</pIndex>" REGISTER_REST "</IntReg>" SELECTOR,
     {}},
    {"NotWhenAFormulaChooses",
     "A S",
     "<IntSwissKnife Name='A'><pVariable Name='S'>S</pVariable><pVariable Name='R'>R"
     "</pVariable><Formula>S = 1 ? R : 0</Formula></IntSwissKnife>" REGISTER("R", "4", "") SELECTOR,
     {}},
    {"NotWithOneEntry",
     "A S",
     REGISTER("A", "4", "") "<Enumeration Name='S'><EnumEntry Name='X'><Value>0</Value>"
                            "</EnumEntry><Value>0</Value><pSelected>A</pSelected></Enumeration>",
     {}},
    {"OfTwoWriters", "A B", REGISTER("A", "0", "") REGISTER("B", "2", ""), {"shared-bits A", "shared-bits B"}},
    {"OfAFieldAndItsWhole",
     "A B",
     REGISTER("A", "0", "<pInvalidator>B</pInvalidator>") MASKED("B", "<Bit>3</Bit>"),
     {"shared-bits B"}},
    {"NotOfNeighbouringFields",
     "A B",
     MASKED("A", "<LSB>0</LSB><MSB>3</MSB>") MASKED("B", "<LSB>4</LSB><MSB>7</MSB>"),
     {}},
    {"NotOfFieldsInDifferentOrder",
     "A B",
     MASKED("A", "<Bit>0</Bit>") MASKED("B", "<Bit>0</Bit><Endianess>BigEndian</Endianess>"),
     {}},
    {"NotOfDifferentIndices",
     "A B S",
     "<IntReg Name='A'><Address>0</Address><pIndex Offset='4'>S</pIndex>" REGISTER_REST
     "</IntReg><IntReg Name='B'><Address>0</Address>" REGISTER_REST
     "</IntReg><Integer Name='S'><Value>1</Value></Integer>",
     {}},
    {"CommandThatCannotWrite",
     "A",
     "<Command Name='A'><pValue>R</pValue><CommandValue>1</CommandValue></Command>"
     "<IntReg Name='R'><Address>0</Address><Length>4</Length><AccessMode>RO</AccessMode><pPort>Device</pPort></IntReg>",
     {"read-only-command A"}},
};
INSTANTIATE_TEST_SUITE_P(OfCaches, LintSlips, ::testing::ValuesIn(kStaleCaches), SlipName);

const Slip kLost[] = {
    {"Category", "", "<Category Name='A'/>", {"unreachable-feature A"}},
    {"Feature",
     "",
     "<Integer Name='A'><DisplayName>a</DisplayName><Value>1</Value></Integer>",
     {"unreachable-feature A"}},
    {"Helper", "", REGISTER("A", "0", ""), {"unused-node A"}},
    {"OnlyTheFirstOfAChain",
     "",
     "<Integer Name='A'><DisplayName>a</DisplayName><pValue>B</pValue></Integer>" REGISTER("B", "0", ""),
     {"unreachable-feature A"}},
    {"NotWhatAnEventBrings", "", "<Integer Name='A'><EventID>01</EventID><Value>1</Value></Integer>", {}},
    {"StandardRegister",
     "",
     "<IntReg Name='A' NameSpace='Standard'><Visibility>Expert</Visibility><Address>0</Address>" REGISTER_REST
     "</IntReg>",
     {"unreachable-feature A"}},
    {"NotARegisterForItsDisplayNameAlone",
     "",
     "<IntReg Name='A' NameSpace='Standard'><DisplayName>a</DisplayName><Address>0</Address>" REGISTER_REST "</IntReg>",
     {"unused-node A"}},
    {"NotWhatIsInvisible",
     "",
     "<Integer Name='A'><Visibility>Invisible</Visibility><Value>1</Value></Integer>",
     {"unused-node A"}},
};
INSTANTIATE_TEST_SUITE_P(OfReach, LintSlips, ::testing::ValuesIn(kLost), SlipName);

} // namespace
