// What real descriptions contain although one would not expect it, each in the smallest description that shows it.
#include "genapi/support/XmlMap.h"

#include <gmock/gmock.h>

#include <clocale>
#include <locale>

using namespace GenApi;
using genapi_test::Held;
using genapi_test::kRegisterRest;
using genapi_test::Reg;
using genapi_test::XmlMap;
using ::testing::IsEmpty;

namespace {

using Bytes = std::vector<uint8_t>;

std::string Knife(const std::string& name, const std::string& formula, const std::string& before = {}) {
    return "<IntSwissKnife Name='" + name + "'>" + before + "<Formula>" + formula + "</Formula></IntSwissKnife>";
}

std::string Variable(const std::string& name, const std::string& node) {
    return "<pVariable Name='" + name + "'>" + node + "</pVariable>";
}

// Only the text counts, so it is loaded as it is.
CNodeMapRef LoadText(const std::string& text) {
    CNodeMapRef map;
    map._LoadXMLFromString(text.c_str());
    return map;
}

int64_t IntegerOf(const CNodeMapRef& map, const char* name) {
    return CIntegerPtr(map._GetNode(name))->GetValue();
}

} // namespace

TEST(Quirk, AddressesOfComputersAreNotNegative) {
    XmlMap map(Reg("N", "0", "<Endianess>BigEndian</Endianess><Representation>IPV4Address</Representation>"));
    map.port.Put(0, {192, 168, 0, 1});
    EXPECT_EQ(map.Integer("N").GetValue(/*Verify=*/true), 0xC0A80001);
    EXPECT_EQ(map.Text("N"), "192.168.0.1");
}

TEST(Quirk, AllAddressTermsOfAStructureCountForEachEntry) {
    XmlMap map(Held("Base", "0x100") +
               "<StructReg Comment='c'><Address>0x10</Address><Address>4</Address><pAddress>Base"
               "</pAddress>" +
               kRegisterRest +
               "<StructEntry Name='A'><Bit>0</Bit></StructEntry><StructEntry Name='B'>"
               "<Bit>1</Bit></StructEntry></StructReg>");
    for (const char* const name : {"A", "B"})
        EXPECT_EQ(map.As<IRegister>(name).GetAddress(), 0x114) << name;
}

TEST(Quirk, AnIndexWithoutOffsetStepsByTheLength) {
    XmlMap map(Held("Index", "3") + "<IntReg Name='N'><Address>16</Address><pIndex>Index</pIndex><Length>2</Length>"
                                    "<AccessMode>RO</AccessMode><pPort>Device</pPort></IntReg>");
    EXPECT_EQ(map.As<IRegister>("N").GetAddress(), 22);
}

TEST(Quirk, BitNumbersFollowTheByteOrder) {
    const auto bit = [](const std::string& name, const std::string& order) {
        return "<MaskedIntReg Name='" + name + "'><Address>0</Address>" + kRegisterRest + "<Bit>0</Bit><Endianess>" +
               order + "</Endianess></MaskedIntReg>";
    };
    XmlMap map(bit("Big", "BigEndian") + bit("Little", "LittleEndian"));
    map.port.Put(0, {0x80, 0, 0, 0});
    EXPECT_EQ(map.Integer("Big").GetValue(), 1);
    EXPECT_EQ(map.Integer("Little").GetValue(), 0);
    map.port.Put(0, {0x01, 0, 0, 0});
    EXPECT_EQ(map.Integer("Big").GetValue(false, true), 0);
    EXPECT_EQ(map.Integer("Little").GetValue(false, true), 1);
}

TEST(Quirk, ReadingTakesFormulaFromWithTheRawValueAsTo) {
    XmlMap map(Held("Raw", "7") +
               "<IntConverter Name='N'><FormulaTo>FROM - 1</FormulaTo><FormulaFrom>TO + 1</FormulaFrom>"
               "<pValue>Raw</pValue></IntConverter>");
    EXPECT_EQ(map.Integer("N").GetValue(), 8);
    map.Integer("N").SetValue(20);
    EXPECT_EQ(map.Integer("Raw").GetValue(), 19);
}

TEST(Quirk, OneEqualsSignComparesAndAngleBracketsDiffer) {
    XmlMap map(Held("V", "2") + Knife("Same", "X = 2 ? 10 : 20", Variable("X", "V")) +
               Knife("Other", "(X &lt;&gt; 2) ? 10 : 20", Variable("X", "V")) +
               Knife("Double", "X == 2", Variable("X", "V")));
    EXPECT_EQ(map.Integer("Same").GetValue(), 10);
    EXPECT_EQ(map.Integer("Other").GetValue(), 20);
    EXPECT_EQ(map.Integer("Double").GetValue(), 1);
}

TEST(Quirk, IntegerFormulasLoseNoBits) {
    XmlMap map(Held("High", "0x7FFFFFFF") + Held("Low", "0xFFFFFFFF") + Knife("Half", "7/2") +
               Knife("Joined", "(HIGH &lt;&lt; 32) | LOW", Variable("HIGH", "High") + Variable("LOW", "Low")));
    EXPECT_EQ(map.Integer("Half").GetValue(), 3);
    EXPECT_EQ(map.Integer("Joined").GetValue(), 0x7FFFFFFFFFFFFFFF);
}

TEST(Quirk, FloatLiteralsInIntegerFormulasAreNotCut) {
    XmlMap map(Held("V", "50") + Knife("N", "0.1 * X", Variable("X", "V")));
    EXPECT_EQ(map.Integer("N").GetValue(), 5);
}

TEST(Quirk, TheBranchThatIsNotTakenMayDivideByZero) {
    XmlMap map(Held("Zero", "0") + Knife("N", "(P&lt;&gt;0)?(1000000/P):(5)", Variable("P", "Zero")));
    EXPECT_EQ(map.Integer("N").GetValue(), 5);
}

TEST(Quirk, OldIsAnOrdinaryVariable) {
    XmlMap map(
        Reg("Raw", "0") + "<IntConverter Name='N'>" + Variable("OLD", "Raw") +
        "<FormulaTo>(OLD &amp; 0xF0) | FROM</FormulaTo><FormulaFrom>TO &amp; 0x0F</FormulaFrom><pValue>Raw</pValue>"
        "</IntConverter>" +
        Held("Seven", "7") + Knife("Own", "OLD + 1", Variable("OLD", "Seven")));
    map.port.Put(0, {0xA3, 0, 0, 0});
    map.Integer("N").SetValue(5);
    EXPECT_EQ(map.Integer("Raw").GetValue(), 0xA5);
    EXPECT_EQ(map.Integer("Own").GetValue(), 8);
}

TEST(Quirk, DottedNamesAskForMoreThanTheValue) {
    XmlMap map(
        "<Integer Name='V'><Value>5</Value><Min>1</Min><Max>9</Max><Inc>2</Inc></Integer><Enumeration Name='E'>"
        "<EnumEntry Name='Off'><Value>0</Value></EnumEntry><EnumEntry Name='On'><Value>4</Value></EnumEntry><Value>0"
        "</Value></Enumeration>" +
        Knife("Limits", "X.Max * 100 + X.Min * 10 + X.Inc",
              Variable("X.Max", "V") + Variable("X.Min", "V") + Variable("X.Inc", "V")) +
        Knife("Entry", "E.Entry.On", Variable("E.Entry.On", "E")) +
        Knife("Access", "X.AccessMode", Variable("X.AccessMode", "V")));
    EXPECT_EQ(map.Integer("Limits").GetValue(), 912);
    EXPECT_EQ(map.Integer("Entry").GetValue(), 4);
    EXPECT_EQ(map.Integer("Access").GetValue(), RW);
}

TEST(Quirk, ExpressionsUseOneAnotherAndUndeclaredNamesFailAlone) {
    XmlMap map(Knife("N", "B + 1", "<Expression Name='B'>A * 2</Expression><Expression Name='A'>3 + 1</Expression>") +
               Knife("Bad", "NOWHERE + 1") + Held("Good", "1"));
    EXPECT_EQ(map.Integer("N").GetValue(), 9);
    EXPECT_THROW(map.Integer("Bad").GetValue(), GenICam::RuntimeException);
    EXPECT_EQ(map.Integer("Good").GetValue(), 1);
}

TEST(Quirk, NumbersHaveOddForms) {
    XmlMap map("<IntReg Name='Hex'><Address>0X1f</Address><Length>0x04</Length><AccessMode>RW</AccessMode><pPort>Device"
               "</pPort></IntReg><IntReg Name='Negative'><Address>100</Address><Address>-4</Address>" +
               kRegisterRest + "</IntReg>" + Held("Zeros", "0010") + Held("Minus", "-0012") +
               Held("Pattern", "0xFFFFFFFFFFFFFFFF") + Held("Blanks", "\n\t 42 ") +
               Knife("Exponent", "64512e0 + 7425e4") + Knife("Cases", "0xAbC = 0XaBc") +
               "<Float Name='Point'><Value>.5</Value></Float><Float Name='Exp'><Value>+1.5E+3</Value></Float>"
               "<Float Name='HexFloat'><Value>0x10</Value></Float>"
               "<Float Name='Open'><Value>1</Value><Min>-INF</Min><Max>INF</Max></Float>");
    EXPECT_THAT(map.Problems(), IsEmpty());
    EXPECT_EQ(map.As<IRegister>("Hex").GetAddress(), 0x1F);
    EXPECT_EQ(map.As<IRegister>("Hex").GetLength(), 4);
    EXPECT_EQ(map.As<IRegister>("Negative").GetAddress(), 96);
    EXPECT_EQ(map.Integer("Zeros").GetValue(), 10);
    EXPECT_EQ(map.Integer("Minus").GetValue(), -12);
    EXPECT_EQ(map.Integer("Pattern").GetValue(), -1);
    EXPECT_EQ(map.Integer("Blanks").GetValue(), 42);
    EXPECT_EQ(map.Integer("Exponent").GetValue(), 64512 + 74250000);
    EXPECT_EQ(map.Integer("Cases").GetValue(), 1);
    EXPECT_EQ(map.Float("Point").GetValue(), 0.5);
    EXPECT_EQ(map.Float("Exp").GetValue(), 1500.0);
    EXPECT_EQ(map.Float("HexFloat").GetValue(), 16.0);
    EXPECT_NO_THROW(map.Float("Open").SetValue(1e300));
}

TEST(Quirk, CommentsSectionsAndBlanksStandInsideValues) {
    XmlMap map("<Integer Name='A'><Value> 1<!-- not 2 -->3 </Value></Integer><Integer Name='B'><Value><![CDATA[ 4]]>5"
               "</Value></Integer>" +
               Knife("F", "\n 1\n + <![CDATA[(2 < 3)]]><!-- always -->\n + &#49; \n"));
    EXPECT_EQ(map.Integer("A").GetValue(), 13);
    EXPECT_EQ(map.Integer("B").GetValue(), 45);
    EXPECT_EQ(map.Integer("F").GetValue(), 3);
}

TEST(Quirk, DeclarationNameSpaceAndMarkAreNotNeeded) {
    const std::string body = "<Integer Name='N'><Value>7</Value><Unit>\xC2\xB5s</Unit></Integer></RegisterDescription>";
    for (const char* const head :
         {"<RegisterDescription>", "<RegisterDescription xmlns='urn:other'>", "\xEF\xBB\xBF<RegisterDescription>",
          "\xEF\xBB\xBF<?xml version='1.0' encoding='utf-8'?>\r\n<RegisterDescription>"}) {
        const CNodeMapRef map = LoadText(head + body);
        EXPECT_EQ(IntegerOf(map, "N"), 7) << head;
        EXPECT_EQ(CIntegerPtr(map._GetNode("N"))->GetUnit(), "\xC2\xB5s") << head;
    }
    const CNodeMapRef map = LoadText("<g:RegisterDescription xmlns:g='http://www.genicam.org/GenApi/Version_1_1'>"
                                     "<g:Integer Name='N'><g:Value>7</g:Value></g:Integer></g:RegisterDescription>");
    EXPECT_EQ(IntegerOf(map, "N"), 7);
}

TEST(Quirk, OldFilesUseNewElements) {
    XmlMap map("<Integer Name='N'><pInvalidator>R</pInvalidator><Value>7</Value><Unit>m</Unit></Integer>" +
                   Reg("R", "0") +
                   "<Float Name='F'><Value>1</Value><Inc>0.5</Inc><DisplayNotation>Fixed</DisplayNotation></Float>"
                   "<String Name='S'><Value> x </Value></String>",
               /*minor=*/'0');
    EXPECT_THAT(map.Problems(), IsEmpty());
    EXPECT_EQ(map.Integer("N").GetUnit(), "m");
    EXPECT_TRUE(map.Float("F").HasInc());
    EXPECT_EQ(map.Text("S"), " x ");
    int calls = 0;
    Register(&map.Node("N"), [&calls](INode*) { ++calls; });
    map.Integer("R").SetValue(1);
    EXPECT_EQ(calls, 1);
}

TEST(Quirk, ExtensionsHideWhatTheyHold) {
    XmlMap map(
        "<Integer Name='N'><Extension><Value>1</Value><Integer Name='Inner'><Value>2</Value></Integer></Extension>"
        "<Value>7</Value></Integer><Extension><Integer Name='Outer'><Value>3</Value></Integer></Extension>");
    EXPECT_EQ(map.Integer("N").GetValue(), 7);
    EXPECT_EQ(map.Map().GetNode("Inner"), nullptr);
    EXPECT_EQ(map.Map().GetNode("Outer"), nullptr);
}

TEST(Quirk, EntriesShareValuesBeginWithDigitsOrAreMissing) {
    XmlMap map(
        Held("No", "0") +
        "<Enumeration Name='N'><EnumEntry Name='12bit'><pIsAvailable>No</pIsAvailable><Value>1</Value></EnumEntry>"
        "<EnumEntry Name='Twelve'><Value>1</Value></EnumEntry><pValue>R</pValue></Enumeration>" +
        Reg("R", "0"));
    map.port.Put(0, {1, 0, 0, 0});
    EXPECT_EQ(map.Text("N"), "Twelve");
    EXPECT_NE(map.Enumeration("N").GetEntryByName("12bit"), nullptr);
    map.port.Put(0, {9, 0, 0, 0});
    EXPECT_EQ(map.Enumeration("N").GetIntValue(false, /*IgnoreCache=*/true), 9);
    EXPECT_EQ(map.Text("N"), "");
    EXPECT_EQ(map.Enumeration("N").GetCurrentEntry(), nullptr);
}

TEST(Quirk, ASlopeThatIsMissingOrWrongGivesOrderedLimits) {
    for (const char* const slope : {"", "<Slope>Increasing</Slope>", "<Slope>Decreasing</Slope>"}) {
        XmlMap map("<Integer Name='Raw'><Value>5</Value><Min>0</Min><Max>10</Max></Integer><IntConverter Name='N'>"
                   "<FormulaTo>-FROM</FormulaTo><FormulaFrom>-TO</FormulaFrom><pValue>Raw</pValue>" +
                   std::string(slope) + "</IntConverter>");
        EXPECT_EQ(map.Integer("N").GetMin(), -10) << slope;
        EXPECT_EQ(map.Integer("N").GetMax(), 0) << slope;
    }
}

TEST(Quirk, EntriesInheritPredicatesAndVisibilityOfTheirStructure) {
    XmlMap map(
        Held("No", "0") +
        "<StructReg Comment='c'><Visibility>Guru</Visibility><pIsAvailable>No</pIsAvailable><Address>0</Address>" +
        kRegisterRest +
        "<StructEntry Name='A'><Bit>0</Bit></StructEntry><StructEntry Name='B'><Visibility>Expert"
        "</Visibility><Bit>1</Bit></StructEntry></StructReg>");
    EXPECT_EQ(map.Mode("A"), NA);
    EXPECT_EQ(map.Mode("B"), NA);
    EXPECT_EQ(map.Node("A").GetVisibility(), Guru);
    EXPECT_EQ(map.Node("B").GetVisibility(), Expert);
}

TEST(Quirk, ADecimalCommaOfTheProcessChangesNothing) {
    class Comma : public std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    const std::string before = std::setlocale(LC_NUMERIC, nullptr);
    const std::locale old = std::locale::global(std::locale(std::locale::classic(), new Comma));
    for (const char* const name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8"})
        if (std::setlocale(LC_NUMERIC, name) != nullptr) break; // an extra trial where such a locale is installed
    {
        XmlMap map("<Float Name='F'><Value>1234.5</Value><DisplayPrecision>8</DisplayPrecision></Float>" +
                   Held("I", "1234567") +
                   "<SwissKnife Name='K'><Formula>0.5 * 3</Formula></SwissKnife>"
                   "<Float Name='Fixed'><Value>12345.5</Value><DisplayNotation>Fixed</DisplayNotation>"
                   "<DisplayPrecision>2</DisplayPrecision></Float>"
                   "<Float Name='Scientific'><Value>12345.678</Value><DisplayNotation>Scientific</DisplayNotation>"
                   "<DisplayPrecision>3</DisplayPrecision></Float>"
                   "<Converter Name='C'><FormulaTo>FROM * 0.5</FormulaTo><FormulaFrom>TO * 2.0</FormulaFrom>"
                   "<pValue>L</pValue></Converter>"
                   "<Float Name='L'><pValue>F</pValue><Min>0.5</Min><Max>1234.5</Max></Float>");
        EXPECT_EQ(map.Text("F"), "1234.5");
        EXPECT_EQ(map.Text("I"), "1234567");
        map.As<IValue>("F").FromString("2.25");
        EXPECT_EQ(map.Float("F").GetValue(), 2.25);
        EXPECT_EQ(map.Float("K").GetValue(), 1.5);
        EXPECT_EQ(map.Text("Fixed"), "12345.50");
        EXPECT_EQ(map.Text("Scientific"), "1.235e+04");
        EXPECT_THROW(map.As<IValue>("F").FromString("2,5"), GenICam::InvalidArgumentException);
        EXPECT_THROW(map.As<IValue>("I").FromString("1.234"), GenICam::InvalidArgumentException);
        EXPECT_EQ(map.Float("C").GetMax(), 2469.0);
        map.Float("C").SetValue(3.0);
        EXPECT_EQ(map.Text("F"), "1.5");
    }
    std::locale::global(old);
    std::setlocale(LC_NUMERIC, before.c_str());
}
