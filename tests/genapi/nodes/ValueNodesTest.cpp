// Values that are held, passed on and chosen.
#include "genapi/support/TestMap.h"

#include <gtest/gtest.h>

#include <cfloat>

using namespace GenApi;
using genapi_test::TestMap;

TEST(Integer, ChecksLimitsAndIncrementOfVerifiedWritesOnly) {
    TestMap map;
    map.Add("Integer", "I", {{"Value", "0", ""}, {"Min", "-10", ""}, {"Max", "10", ""}, {"Inc", "2", ""}}).Ready();
    for (const int64_t value : {-10, 0, 10})
        EXPECT_NO_THROW(map.Integer("I").SetValue(value));
    for (const int64_t value : {1, 12, -12}) {
        EXPECT_THROW(map.Integer("I").SetValue(value), GenICam::OutOfRangeException);
    }
    map.Integer("I").SetValue(12, /*Verify=*/false);
    EXPECT_EQ(map.Integer("I").GetValue(), 12);
    EXPECT_THROW(map.Integer("I").GetValue(/*Verify=*/true), GenICam::OutOfRangeException);
}

TEST(Integer, ChecksIncrementsAcrossTheWholeRange) {
    TestMap map;
    map.Add("Integer", "I", {{"Value", "0", ""}, {"Inc", "3", ""}}).Ready();
    EXPECT_NO_THROW(map.Integer("I").SetValue(INT64_MIN + 3));
    EXPECT_THROW(map.Integer("I").SetValue(INT64_MAX - 1), GenICam::OutOfRangeException);
}

TEST(Integer, InheritsWhatItDoesNotSay) {
    TestMap map;
    map.Add("Integer", "Raw",
            {{"Value", "4", ""},
             {"Min", "2", ""},
             {"Max", "8", ""},
             {"Inc", "2", ""},
             {"Unit", "us", ""},
             {"Representation", "HexNumber", ""}});
    map.Add("Integer", "I", {{"pValue", "Raw", ""}, {"Max", "100", ""}}).Ready();
    EXPECT_EQ(map.Integer("I").GetMin(), 2);
    EXPECT_EQ(map.Integer("I").GetMax(), 100);
    EXPECT_EQ(map.Integer("I").GetInc(), 2);
    EXPECT_EQ(map.Integer("I").GetUnit(), "us");
    EXPECT_EQ(map.Integer("I").GetRepresentation(), HexNumber);
    EXPECT_THROW(map.Integer("I").SetValue(10), GenICam::OutOfRangeException) << "the lower node checks again";
}

TEST(Integer, WritesItsCopiesToo) {
    TestMap map;
    map.Add("Integer", "A", {{"Value", "0", ""}}).Add("Integer", "B", {{"Value", "0", ""}});
    map.Add("Integer", "I", {{"pValueCopy", "B", ""}, {"pValue", "A", ""}}).Ready();
    map.Integer("I").SetValue(5);
    EXPECT_EQ(map.Integer("A").GetValue(), 5);
    EXPECT_EQ(map.Integer("B").GetValue(), 5);
    map.Node("B").ImposeAccessMode(RO);
    EXPECT_EQ(map.Mode("I"), RO);
}

TEST(Integer, ChoosesAmongItsSlotsByIndex) {
    TestMap map;
    map.Add("Integer", "Index", {{"Value", "20", ""}});
    map.Add("Integer", "Twenty", {{"Value", "200", ""}});
    map.Add("Integer", "I",
            {{"pIndex", "Index", ""},
             {"ValueIndexed", "100", "10"},
             {"pValueIndexed", "Twenty", "20"},
             {"ValueDefault", "600", ""}});
    map.Ready();
    EXPECT_EQ(map.Integer("I").GetValue(), 200);
    map.Integer("Index").SetValue(-1);
    EXPECT_EQ(map.Integer("I").GetValue(), 600);
    map.Integer("Index").SetValue(20);
    map.Integer("I").SetValue(150);
    EXPECT_EQ(map.Integer("I").GetValue(), 150);
    EXPECT_EQ(map.Integer("Twenty").GetValue(), 150);
    map.Integer("Index").SetValue(10);
    EXPECT_EQ(map.Integer("I").GetValue(), 100);
    map.Integer("I").SetValue(7);
    EXPECT_EQ(map.Integer("I").GetValue(), 7);
}

TEST(Integer, AcceptsListedValuesOnly) {
    TestMap map;
    map.Add("Integer", "I", {{"Value", "1", ""}, {"ValidValueSet", "1; 2;8", ""}, {"Max", "4", ""}}).Ready();
    EXPECT_EQ(map.Integer("I").GetIncMode(), listIncrement);
    EXPECT_NO_THROW(map.Integer("I").SetValue(2));
    EXPECT_THROW(map.Integer("I").SetValue(3), GenICam::OutOfRangeException);
    EXPECT_EQ(map.Integer("I").GetListOfValidValues().size(), 2u);
    EXPECT_EQ(map.Integer("I").GetListOfValidValues(/*bounded=*/false).size(), 3u);
}

TEST(Integer, TellsTextThatIsTooLargeFromTextThatIsNoNumber) {
    TestMap map;
    map.Add("Integer", "I", {{"Value", "0", ""}}).Ready();
    const auto complaint = [&](const char* text) -> std::string {
        try {
            map.Value("I").FromString(text);
        } catch (const GenICam::InvalidArgumentException& exception) {
            return exception.GetDescription();
        }
        return "none";
    };
    for (const std::string text : {"9223372036854775808", " -9223372036854775809", "0x10000000000000000"})
        EXPECT_EQ(complaint(text.c_str()), "'" + text + "' is beyond 64 bits.");
    for (const std::string text : {"", "-", "0x", "-0x10", "92233720368547758080x", "one"})
        EXPECT_EQ(complaint(text.c_str()), "'" + text + "' is no integer.");
    EXPECT_EQ(complaint("-9223372036854775808"), "none");
}

TEST(Integer, WritesAndReadsTheTextOfItsRepresentation) {
    TestMap map;
    map.Add("Integer", "Hex", {{"Value", "255", ""}, {"Representation", "HexNumber", ""}});
    map.Add("Integer", "Ip", {{"Value", "0xC0A80001", ""}, {"Representation", "IPV4Address", ""}});
    map.Add("Integer", "Mac", {{"Value", "0x0011223344AA", ""}, {"Representation", "MACAddress", ""}});
    map.Add("Integer", "Plain", {{"Value", "-5", ""}}).Ready();
    EXPECT_EQ(map.Value("Hex").ToString(), "0xff");
    EXPECT_EQ(map.Value("Ip").ToString(), "192.168.0.1");
    EXPECT_EQ(map.Value("Mac").ToString(), "00:11:22:33:44:aa");
    EXPECT_EQ(map.Value("Plain").ToString(), "-5");
    map.Value("Ip").FromString("10.0.0.255");
    EXPECT_EQ(map.Integer("Ip").GetValue(), 0x0A0000FF);
    map.Value("Mac").FromString("ff:00:00:00:00:01");
    EXPECT_EQ(map.Integer("Mac").GetValue(), 0xFF0000000001);
    map.Value("Plain").FromString(" 0x10 ");
    EXPECT_EQ(map.Integer("Plain").GetValue(), 16);
    for (const char* const text : {"", "7x", "1.2.3.4"}) {
        EXPECT_THROW(map.Value("Plain").FromString(text), GenICam::InvalidArgumentException) << text;
    }
    EXPECT_THROW(map.Value("Ip").FromString("1.2.3.256"), GenICam::InvalidArgumentException);
    EXPECT_EQ(map.Integer("Ip").GetMax(), 0xFFFFFFFF);
    EXPECT_EQ(map.Integer("Mac").GetMax(), 0xFFFFFFFFFFFF);
}

TEST(Integer, RoundsWhatAFloatGivesIt) {
    TestMap map;
    map.Add("Float", "F", {{"Value", "2.5", ""}}).Add("Integer", "I", {{"pValue", "F", ""}}).Ready();
    EXPECT_EQ(map.Integer("I").GetValue(), 3);
    map.Float("F").SetValue(-2.5);
    EXPECT_EQ(map.Integer("I").GetValue(), -3);
    map.Integer("I").SetValue(4);
    EXPECT_EQ(map.Float("F").GetValue(), 4.0);
    EXPECT_EQ(map.Integer("I").GetMax(), INT64_MAX);
}

TEST(Float, PassesLimitsOnAndComparesThemExactly) {
    TestMap map;
    map.Add("Float", "F", {{"Value", "0.5", ""}, {"Min", "0.1", ""}, {"Max", "0.7", ""}});
    map.Add("Float", "G", {{"pValue", "F", ""}});
    map.Add("Float", "H", {{"Value", "0", ""}}).Ready();
    EXPECT_NO_THROW(map.Float("G").SetValue(map.Float("G").GetMin()));
    EXPECT_NO_THROW(map.Float("G").SetValue(map.Float("G").GetMax()));
    EXPECT_THROW(map.Float("G").SetValue(0.70000001), GenICam::OutOfRangeException);
    EXPECT_EQ(map.Float("H").GetMax(), DBL_MAX);
    EXPECT_EQ(map.Float("H").GetMin(), -DBL_MAX);
}

TEST(Float, TakesItsIncrementFromAnIntegerBelow) {
    TestMap map;
    map.Add("Integer", "I", {{"Value", "0", ""}, {"Inc", "4", ""}});
    map.Add("Float", "F", {{"pValue", "I", ""}});
    map.Add("Float", "G", {{"Value", "0", ""}, {"Inc", "0.25", ""}}).Ready();
    EXPECT_TRUE(map.Float("F").HasInc());
    EXPECT_EQ(map.Float("F").GetInc(), 4.0);
    EXPECT_EQ(map.Float("F").GetIncMode(), fixedIncrement);
    EXPECT_EQ(map.Float("G").GetInc(), 0.25);
    EXPECT_NO_THROW(map.Float("G").SetValue(0.1)) << "increments of floats are not enforced";
}

TEST(Float, WritesItsTextAsTheNotationSays) {
    TestMap map;
    map.Add("Float", "A", {{"Value", "0.1", ""}});
    map.Add("Float", "B", {{"Value", "3.14159", ""}, {"DisplayNotation", "Fixed", ""}, {"DisplayPrecision", "2", ""}});
    map.Add("Float", "C",
            {{"Value", "12345.678", ""}, {"DisplayNotation", "Scientific", ""}, {"DisplayPrecision", "3", ""}});
    map.Add("Float", "D", {{"pValue", "B", ""}}).Ready();
    EXPECT_EQ(map.Value("A").ToString(), "0.1");
    EXPECT_EQ(map.Value("B").ToString(), "3.14");
    EXPECT_EQ(map.Value("C").ToString(), "1.235e+04");
    EXPECT_EQ(map.Value("D").ToString(), "3.14");
    map.Value("A").FromString("1e3");
    EXPECT_EQ(map.Float("A").GetValue(), 1000.0);
    EXPECT_THROW(map.Value("A").FromString("1,5"), GenICam::InvalidArgumentException);
}

TEST(Float, WritesNoneToAHundredDecimals) {
    TestMap map;
    map.Add("Float", "None", {{"Value", "3.14", ""}, {"DisplayNotation", "Fixed", ""}, {"DisplayPrecision", "0", ""}});
    map.Add("Float", "Many", {{"Value", "0.5", ""}, {"DisplayNotation", "Fixed", ""}, {"DisplayPrecision", "101", ""}});
    map.Ready();
    EXPECT_EQ(map.Value("None").ToString(), "3");
    EXPECT_EQ(map.Value("Many").ToString().str(), "0.5" + std::string(99, '0'));
}

TEST(Float, IsReadWithVerifyAtItsLimits) {
    TestMap map;
    map.Add("Float", "F", {{"Value", "0.1", ""}, {"Min", "0.1", ""}, {"Max", "0.7", ""}}).Ready();
    EXPECT_EQ(map.Float("F").GetValue(/*Verify=*/true), 0.1);
    map.Float("F").SetValue(0.7);
    EXPECT_EQ(map.Float("F").GetValue(/*Verify=*/true), 0.7);
}

TEST(Float, ChoosesAmongItsSlotsByAnIndexOfAnyKind) {
    TestMap map;
    map.Add("EnumEntry", "EnumEntry_Mode_A", {{"Value", "1", ""}, {"Symbolic", "A", ""}});
    map.Add("EnumEntry", "EnumEntry_Mode_B", {{"Value", "2", ""}, {"Symbolic", "B", ""}});
    map.Add("Enumeration", "Mode",
            {{"pEnumEntry", "EnumEntry_Mode_A", ""}, {"pEnumEntry", "EnumEntry_Mode_B", ""}, {"Value", "1", ""}});
    map.Add("Boolean", "Flag", {{"Value", "1", ""}}).Add("Float", "Real", {{"Value", "1.6", ""}});
    map.Add("Float", "Ten", {{"Value", "10.5", ""}, {"Max", "20", ""}});
    for (const auto& [name, index] :
         {std::pair("ByMode", "Mode"), std::pair("ByFlag", "Flag"), std::pair("ByReal", "Real")})
        map.Add("Float", name,
                {{"pIndex", index, ""},
                 {"ValueIndexed", "0.25", "1"},
                 {"ValueIndexed", "0.75", "1"},
                 {"pValueIndexed", "Ten", "2"},
                 {"ValueDefault", "-1", ""}});
    map.Ready();
    EXPECT_EQ(map.Float("ByMode").GetValue(), 0.25) << "the first match counts";
    EXPECT_EQ(map.Float("ByFlag").GetValue(), 0.25);
    EXPECT_EQ(map.Float("ByReal").GetValue(), 10.5) << "rounded";
    EXPECT_EQ(map.Float("ByReal").GetMax(), 20.0) << "that of what is selected";
    EXPECT_EQ(map.Float("ByMode").GetMax(), DBL_MAX);
    map.Float("ByMode").SetValue(3.5);
    map.As<IEnumeration>("Mode").FromString("B");
    EXPECT_EQ(map.Float("ByMode").GetValue(), 10.5);
    map.As<IEnumeration>("Mode").FromString("A");
    EXPECT_EQ(map.Float("ByMode").GetValue(), 3.5) << "a constant slot keeps what is written";
    EXPECT_EQ(map.Float("ByFlag").GetValue(), 0.25);
}

TEST(Integer, TakesConstantsBeforeLinksAsLimits) {
    TestMap map;
    map.Add("Integer", "Three", {{"Value", "3", ""}}).Add("Integer", "Nine", {{"Value", "9", ""}});
    map.Add("Integer", "I",
            {{"Value", "0", ""}, {"Min", "0", ""}, {"pMin", "Three", ""}, {"pMax", "Nine", ""}, {"pInc", "Three", ""}});
    map.Ready();
    EXPECT_EQ(map.Integer("I").GetMin(), 0);
    EXPECT_EQ(map.Integer("I").GetMax(), 9);
    EXPECT_EQ(map.Integer("I").GetInc(), 3);
    EXPECT_NO_THROW(map.Integer("I").SetValue(6));
    EXPECT_THROW(map.Integer("I").SetValue(7), GenICam::OutOfRangeException);
    map.Integer("Nine").SetValue(5);
    EXPECT_THROW(map.Integer("I").SetValue(6), GenICam::OutOfRangeException);
    EXPECT_EQ(map.Integer("I").GetValue(), 6) << "a read without verify asks for no limit";
}

TEST(Boolean, KnowsItsOwnNumbersForYesAndNo) {
    TestMap map;
    map.Add("Integer", "I", {{"Value", "23", ""}});
    map.Add("Boolean", "B", {{"pValue", "I", ""}, {"OnValue", "23", ""}, {"OffValue", "42", ""}}).Ready();
    IBoolean& flag = map.As<IBoolean>("B");
    EXPECT_TRUE(flag.GetValue());
    flag.SetValue(false);
    EXPECT_EQ(map.Integer("I").GetValue(), 42);
    EXPECT_FALSE(flag());
    map.Integer("I").SetValue(1);
    EXPECT_FALSE(flag.GetValue()) << "neither the one nor the other is no yes";
    flag = true;
    EXPECT_EQ(map.Value("B").ToString(), "1");
    map.Value("B").FromString("False");
    EXPECT_EQ(map.Integer("I").GetValue(), 42);
    EXPECT_THROW(map.Value("B").FromString("perhaps"), GenICam::InvalidArgumentException);
}

TEST(Boolean, HoldsItsState) {
    TestMap map;
    map.Add("Boolean", "B", {{"Value", "true", ""}, {"OnValue", "3", ""}, {"OffValue", "2", ""}}).Ready();
    EXPECT_TRUE(map.As<IBoolean>("B").GetValue());
    map.As<IBoolean>("B").SetValue(false);
    EXPECT_FALSE(map.As<IBoolean>("B").GetValue());
}

TEST(String, HoldsATextOrPassesOneOn) {
    TestMap map;
    map.Add("String", "Held", {{"Value", " a b ", ""}});
    map.AddRegister("StringReg", "Reg", "0");
    map.Add("String", "Link", {{"pValue", "Reg", ""}}).Ready();
    EXPECT_EQ(map.As<IString>("Held").GetMaxLength(), INT64_MAX);
    map.As<IString>("Held").SetValue("longer than any register");
    EXPECT_EQ(map.As<IString>("Held").GetValue(), "longer than any register");
    EXPECT_EQ(map.As<IString>("Link").GetMaxLength(), 4);
    map.As<IString>("Link").SetValue("abcd");
    EXPECT_EQ(map.As<IString>("Reg").GetValue(), "abcd");
    EXPECT_THROW(map.As<IString>("Link").SetValue("abcde"), GenICam::OutOfRangeException);
}
