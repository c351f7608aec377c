// Known values of small descriptions, from the text to what an application sees.
#include "genapi/support/XmlMap.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <ostream>

using namespace GenApi;
using genapi_test::Held;
using genapi_test::kRegisterRest;
using genapi_test::Reg;
using genapi_test::XmlMap;

namespace {

using Bytes = std::vector<uint8_t>;

struct Field {
    const char* name;
    Bytes bytes;
    const char* endianess;
    const char* bits;
    int64_t unsignedValue;
    int64_t signedValue;

    friend std::ostream& operator<<(std::ostream& stream, const Field& field) { return stream << field.name; }
};

class FieldVector : public ::testing::TestWithParam<Field> {};

TEST_P(FieldVector, IsCutOutOfItsBytes) {
    const Field& field = GetParam();
    const std::string element = std::string(field.bits).empty() ? "IntReg" : "MaskedIntReg";
    const auto node = [&](const std::string& name, const std::string& sign) {
        return "<" + element + " Name='" + name + "'><Address>0</Address><Length>" +
               std::to_string(field.bytes.size()) + "</Length><AccessMode>RO</AccessMode><pPort>Device</pPort>" +
               field.bits + "<Sign>" + sign + "</Sign><Endianess>" + field.endianess + "</Endianess></" + element + ">";
    };
    XmlMap map(node("U", "Unsigned") + node("S", "Signed"));
    map.port.Put(0, field.bytes);
    EXPECT_EQ(map.Integer("U").GetValue(/*Verify=*/true), field.unsignedValue);
    EXPECT_EQ(map.Integer("S").GetValue(/*Verify=*/true), field.signedValue);
}

const Field kFields[] = {
    {"BigLowNibble", {0x12, 0x34, 0x56, 0x78}, "BigEndian", "<LSB>31</LSB><MSB>28</MSB>", 8, -8},
    {"BigFirstByte", {0x12, 0x34, 0x56, 0x78}, "BigEndian", "<LSB>7</LSB><MSB>0</MSB>", 0x12, 0x12},
    {"BigSecondByte", {0x12, 0x34, 0x56, 0x78}, "BigEndian", "<LSB>15</LSB><MSB>8</MSB>", 0x34, 0x34},
    {"BigBit", {0x12, 0x34, 0x56, 0x78}, "BigEndian", "<Bit>3</Bit>", 1, -1},
    {"LittleLowNibble", {0x78, 0x56, 0x34, 0x12}, "LittleEndian", "<LSB>0</LSB><MSB>3</MSB>", 8, -8},
    {"LittleLastByte", {0x78, 0x56, 0x34, 0x12}, "LittleEndian", "<LSB>24</LSB><MSB>31</MSB>", 0x12, 0x12},
    {"LittleBit", {0x78, 0x56, 0x34, 0x12}, "LittleEndian", "<Bit>2</Bit>", 0, 0},
    {"BigNibbleOfTwoBytes", {0xAB, 0xCD}, "BigEndian", "<LSB>7</LSB><MSB>4</MSB>", 11, -5},
    {"WholeOfFourBytes", {0xFF, 0xFF, 0xFF, 0xFF}, "LittleEndian", "", 4294967295, -1},
    {"WholeOfThreeBytes", {0x01, 0x00, 0x80}, "LittleEndian", "", 8388609, -8388607},
};
INSTANTIATE_TEST_SUITE_P(All, FieldVector, ::testing::ValuesIn(kFields),
                         [](const ::testing::TestParamInfo<Field>& field) { return field.param.name; });

struct TextForm {
    const char* name;
    const char* node; // named N
    const char* text;

    friend std::ostream& operator<<(std::ostream& stream, const TextForm& form) { return stream << form.name; }
};

class TextVector : public ::testing::TestWithParam<TextForm> {};

TEST_P(TextVector, IsWrittenThatWay) {
    XmlMap map(GetParam().node);
    map.port.Put(0, {0xDE, 0xAD});
    EXPECT_EQ(map.Text("N"), GetParam().text);
}

const TextForm kTexts[] = {
    {"Hex", "<Integer Name='N'><Value>255</Value><Representation>HexNumber</Representation></Integer>", "0xff"},
    {"IpAddress", "<Integer Name='N'><Value>0xC0A80001</Value><Representation>IPV4Address</Representation></Integer>",
     "192.168.0.1"},
    {"MacAddress",
     "<Integer Name='N'><Value>0x0011223344AA</Value><Representation>MACAddress</Representation></Integer>",
     "00:11:22:33:44:aa"},
    {"Bytes",
     "<Register Name='N'><Address>0</Address><Length>2</Length><AccessMode>RO</AccessMode><pPort>Device</pPort>"
     "</Register>",
     "0xdead"},
    {"FloatAutomatic", "<Float Name='N'><Value>0.1</Value></Float>", "0.1"},
    {"FloatFixed",
     "<Float Name='N'><Value>3.14159</Value><DisplayNotation>Fixed</DisplayNotation><DisplayPrecision>2"
     "</DisplayPrecision></Float>",
     "3.14"},
    {"FloatScientific",
     "<Float Name='N'><Value>12345.678</Value><DisplayNotation>Scientific</DisplayNotation>"
     "<DisplayPrecision>3</DisplayPrecision></Float>",
     "1.235e+04"},
};
INSTANTIATE_TEST_SUITE_P(All, TextVector, ::testing::ValuesIn(kTexts),
                         [](const ::testing::TestParamInfo<TextForm>& form) { return form.param.name; });

} // namespace

TEST(Vector, WritingANibbleKeepsItsNeighbours) {
    XmlMap map("<MaskedIntReg Name='N'><Address>0</Address><Length>2</Length><AccessMode>RW</AccessMode><pPort>Device"
               "</pPort><LSB>7</LSB><MSB>4</MSB><Endianess>BigEndian</Endianess></MaskedIntReg>");
    map.port.Put(0, {0xAB, 0xCD});
    map.Integer("N").SetValue(3);
    EXPECT_EQ(map.port.Get(0, 2), (Bytes{0xA3, 0xCD}));
}

TEST(Vector, AddsAllTermsOfAnAddress) {
    XmlMap map(Held("Five", "5") + Held("Three", "3") + Held("Two", "2") +
               "<IntReg Name='N'><Address>100</Address><Address>20</Address><pIndex Offset='1000'>Five</pIndex>"
               "<pIndex Offset='10000'>Three</pIndex><pIndex>Two</pIndex>" +
               kRegisterRest + "</IntReg>");
    EXPECT_EQ(map.As<IRegister>("N").GetAddress(), 35128);
    map.Integer("N").GetValue();
    EXPECT_EQ(map.port.lastAddress, 35128);
}

TEST(Vector, ComputesWithConstantAndExpression) {
    const std::string body = "<pVariable Name='X'>V</pVariable><Constant Name='TEN'>10</Constant>"
                             "<Expression Name='XP2'>TEN + X</Expression><Formula>TEN * XP2</Formula>";
    XmlMap map(Held("V", "4") + "<IntSwissKnife Name='I'>" + body + "</IntSwissKnife><SwissKnife Name='F'>" + body +
               "</SwissKnife>");
    EXPECT_EQ(map.Integer("I").GetValue(), 140);
    EXPECT_EQ(map.Float("F").GetValue(), 140.0);
}

TEST(Vector, MixesFloatLiteralsIntoIntegerFormulas) {
    const auto knife = [](const std::string& name, const std::string& formula, const std::string& variable) {
        return "<IntSwissKnife Name='" + name + "'><pVariable Name='X'>" + variable + "</pVariable><Formula>" +
               formula + "</Formula></IntSwissKnife>";
    };
    XmlMap map(Held("Ten", "10") + Held("Fifty", "50") + knife("Quarter", "X / 4.0", "Ten") +
               knife("Tenth", "0.1 * X", "Fifty"));
    EXPECT_EQ(map.Integer("Quarter").GetValue(), 2);
    EXPECT_EQ(map.Integer("Tenth").GetValue(), 5);
}

TEST(Vector, ConvertsBothWaysByFloats) {
    XmlMap map(Held("Raw", "100") + "<Converter Name='N'><FormulaTo>0.5 * FROM</FormulaTo><FormulaFrom>2.0 * TO"
                                    "</FormulaFrom><pValue>Raw</pValue></Converter>");
    EXPECT_EQ(map.Float("N").GetValue(), 200.0);
    map.Float("N").SetValue(100.0);
    EXPECT_EQ(map.Integer("Raw").GetValue(), 50);
    EXPECT_EQ(map.Float("N").GetValue(), 100.0);
}

TEST(Vector, ConvertsBothWaysByIntegers) {
    XmlMap map(Held("Raw", "50") + "<IntConverter Name='N'><FormulaTo>10 * FROM</FormulaTo><FormulaFrom>0.1 * TO"
                                   "</FormulaFrom><pValue>Raw</pValue></IntConverter>");
    EXPECT_EQ(map.Integer("N").GetValue(), 5);
    map.Integer("N").SetValue(100);
    EXPECT_EQ(map.Integer("Raw").GetValue(), 1000);
    EXPECT_EQ(map.Integer("N").GetValue(), 100);
}

TEST(Vector, TurnsLimitsRoundWithTheSlope) {
    for (const char* const slope : {"Decreasing", "Automatic"}) {
        XmlMap map(
            "<Integer Name='Raw'><Value>5</Value><Min>0</Min><Max>10</Max></Integer><Converter Name='N'><FormulaTo>"
            "100 - FROM</FormulaTo><FormulaFrom>100 - TO</FormulaFrom><pValue>Raw</pValue><Slope>" +
            std::string(slope) + "</Slope></Converter>");
        EXPECT_EQ(map.Float("N").GetMin(), 90.0) << slope;
        EXPECT_EQ(map.Float("N").GetMax(), 100.0) << slope;
    }
}

TEST(Vector, ChoosesAndKeepsTheSlotOfAnIndex) {
    XmlMap map(Held("Index", "20") +
               "<Integer Name='N'><pIndex>Index</pIndex><ValueIndexed Index='10'>100</ValueIndexed><ValueIndexed "
               "Index='20'>200</ValueIndexed><ValueDefault>600</ValueDefault></Integer>");
    EXPECT_EQ(map.Integer("N").GetValue(), 200);
    map.Integer("Index").SetValue(-1);
    EXPECT_EQ(map.Integer("N").GetValue(), 600);
    map.Integer("Index").SetValue(20);
    map.Integer("N").SetValue(150);
    EXPECT_EQ(map.Integer("N").GetValue(), 150);
    map.Integer("Index").SetValue(10);
    EXPECT_EQ(map.Integer("N").GetValue(), 100);
}

TEST(Vector, KnowsItsOwnNumbersForOnAndOff) {
    XmlMap map(Held("Raw", "23") +
               "<Boolean Name='N'><pValue>Raw</pValue><OnValue>23</OnValue><OffValue>42</OffValue></Boolean>");
    EXPECT_TRUE(map.As<IBoolean>("N").GetValue());
    map.As<IBoolean>("N").SetValue(false);
    EXPECT_EQ(map.Integer("Raw").GetValue(), 42);
}

TEST(Vector, ListsAvailableEntriesOnly) {
    XmlMap map(
        Held("No", "0") +
        "<Enumeration Name='N'><EnumEntry Name='A'><Value>0</Value></EnumEntry><EnumEntry Name='B'><Value>1</Value>"
        "</EnumEntry><EnumEntry Name='C'><pIsAvailable>No</pIsAvailable><Value>2</Value></EnumEntry>"
        "<EnumEntry Name='D'><pIsImplemented>No</pIsImplemented><Value>3</Value></EnumEntry><Value>0</Value>"
        "</Enumeration>");
    StringList_t symbolics;
    map.Enumeration("N").GetSymbolics(symbolics);
    EXPECT_EQ(symbolics.size(), 2u);
    NodeList_t entries;
    map.Enumeration("N").GetEntries(entries);
    EXPECT_EQ(entries.size(), 4u);
    EXPECT_THROW(map.Enumeration("N").FromString("C"), GenICam::AccessException);
    EXPECT_EQ(map.Text("N"), "A");
}

TEST(Vector, HoldsValuesToTheIncrement) {
    XmlMap map("<Integer Name='N'><Value>0</Value><Min>-10</Min><Max>10</Max><Inc>2</Inc></Integer>");
    for (const int64_t good : {-10, 0, 10})
        EXPECT_NO_THROW(map.Integer("N").SetValue(good)) << good;
    for (const int64_t bad : {1, 12})
        EXPECT_THROW(map.Integer("N").SetValue(bad), GenICam::OutOfRangeException) << bad;
    EXPECT_EQ(map.Integer("N").GetValue(), 10);
}

TEST(Vector, HoldsTextsToTheLengthOfTheRegister) {
    XmlMap map("<StringReg Name='N'><Address>0</Address>" + kRegisterRest + "</StringReg>");
    IString& text = map.As<IString>("N");
    text.SetValue("Test");
    EXPECT_EQ(text.GetValue(), "Test");
    EXPECT_THROW(text.SetValue("TotoTata"), GenICam::OutOfRangeException);
    text.SetValue("ab");
    EXPECT_EQ(map.port.Get(0, 4), (Bytes{0x61, 0x62, 0, 0}));
}

TEST(Vector, CombinesAccessModes) {
    const auto reg = [](const char* name, const char* mode, const char* before) {
        return "<IntReg Name='" + std::string(name) + "'>" + before +
               "<Address>0</Address><Length>4</Length><AccessMode>" + mode +
               "</AccessMode><pPort>Device</pPort></IntReg>";
    };
    XmlMap map(
        Held("No", "0") + Held("Yes", "1") + reg("Restricted", "RW", "<ImposedAccessMode>RO</ImposedAccessMode>") +
        reg("NotWidened", "RO", "<ImposedAccessMode>RW</ImposedAccessMode>") +
        reg("Locked", "RW", "<pIsLocked>Yes</pIsLocked>") + reg("LockedWriteOnly", "WO", "<pIsLocked>Yes</pIsLocked>") +
        reg("Unavailable", "RW", "<pIsAvailable>No</pIsAvailable>") +
        reg("Neither", "RW", "<pIsImplemented>No</pIsImplemented><pIsAvailable>No</pIsAvailable>"));
    EXPECT_EQ(map.Mode("Restricted"), RO);
    EXPECT_EQ(map.Mode("NotWidened"), RO);
    EXPECT_EQ(map.Mode("Locked"), RO);
    EXPECT_EQ(map.Mode("LockedWriteOnly"), NA);
    EXPECT_EQ(map.Mode("Unavailable"), NA);
    EXPECT_EQ(map.Mode("Neither"), NI);
    map.port.mode = NA;
    EXPECT_EQ(map.Mode("Restricted"), NA);
}

TEST(Vector, CountsReadsOfThePortByCachingMode) {
    XmlMap map(Reg("Through", "0", "<Cachable>WriteThrough</Cachable>") +
               Reg("Around", "8", "<Cachable>WriteAround</Cachable>") +
               Reg("None", "16", "<Cachable>NoCache</Cachable>"));
    const auto readsOf = [&map](auto work) {
        const int before = map.port.reads;
        work();
        return map.port.reads - before;
    };
    IInteger& through = map.Integer("Through");
    EXPECT_EQ(readsOf([&] { through.GetValue(), through.GetValue(); }), 1);
    EXPECT_EQ(readsOf([&] { through.SetValue(1), through.GetValue(); }), 0);
    EXPECT_EQ(readsOf([&] { through.GetValue(false, /*IgnoreCache=*/true); }), 1);
    EXPECT_TRUE(map.As<IValue>("Through").IsValueCacheValid());
    EXPECT_EQ(readsOf([&] { map.Integer("Around").SetValue(1), map.Integer("Around").GetValue(); }), 1);
    EXPECT_EQ(readsOf([&] { map.Integer("None").GetValue(), map.Integer("None").GetValue(); }), 2);
}

TEST(Vector, InvalidatesByInvalidatorAndReadsACircleOnce) {
    XmlMap map(Reg("A", "0", "<pInvalidator>B</pInvalidator>") + Reg("B", "8") +
               Reg("C", "16", "<pInvalidator>D</pInvalidator>") + Reg("D", "24", "<pInvalidator>C</pInvalidator>"));
    map.Integer("A").GetValue();
    map.Integer("B").SetValue(1);
    map.Integer("A").GetValue();
    EXPECT_EQ(map.port.reads, 2);
    map.Integer("C").SetValue(1);
    map.Integer("C").GetValue();
    EXPECT_EQ(map.port.reads, 3);
}

TEST(Vector, PollsWhenTheTimeHasAddedUp) {
    XmlMap map(Reg("N", "0", "<PollingTime>1000</PollingTime>"));
    int calls = 0;
    Register(&map.Node("N"), [&calls](INode*) { ++calls; });
    const auto poll = [&](int64_t time) {
        map.Map().Poll(time);
        return calls;
    };
    EXPECT_EQ(poll(400), 0);
    EXPECT_EQ(poll(400), 0);
    EXPECT_EQ(poll(400), 1);
    EXPECT_EQ(poll(999), 1); // the counter began again at 0
    EXPECT_EQ(poll(1), 2);
}

TEST(Vector, MergesInjectedNodesByPriority) {
    const auto load = [](const std::string& nodes, const std::string& inject) {
        CNodeMapRef map;
        const std::string head = XmlMap::Head('1');
        const std::string end = "</RegisterDescription>";
        map._LoadXMLFromStringInject((head + nodes + end).c_str(), (head + inject + end).c_str());
        return map;
    };
    const auto valued = [](const char* priority, const char* value) {
        return "<Integer Name='N'" + std::string(priority) + "><Value>" + value + "</Value></Integer>";
    };
    const auto valueOf = [](CNodeMapRef map) { return CIntegerPtr(map._GetNode("N"))->GetValue(); };
    EXPECT_EQ(valueOf(load("", valued("", "7"))), 7);
    EXPECT_EQ(valueOf(load(valued("", "1"), valued(" MergePriority='+1'", "7"))), 7);
    EXPECT_EQ(valueOf(load(valued("", "1"), valued(" MergePriority='-1'", "7"))), 1);
    EXPECT_THROW(load(valued("", "1"), valued(" MergePriority='0'", "7")), GenICam::RuntimeException);

    const std::string control = "<Category Name='DeviceControl'><pFeature>";
    CNodeMapRef map = load(control + "A</pFeature></Category>" + Held("A", "1"),
                           control + "B</pFeature></Category>" + Held("B", "2"));
    FeatureList_t features;
    CCategoryPtr(map._GetNode("DeviceControl"))->GetFeatures(features);
    EXPECT_EQ(features.size(), 2u);
}
