#include "genapi/description/Lexical.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <limits>
#include <string>

namespace genapi {
namespace {

TEST(Lexical, ParsesIntegers) {
    EXPECT_EQ(ParseInteger("0"), 0);
    EXPECT_EQ(ParseInteger("-5"), -5);
    EXPECT_EQ(ParseInteger("007"), 7);
    EXPECT_EQ(ParseInteger("010"), 10);
    EXPECT_EQ(ParseInteger("0x04"), 4);
    EXPECT_EQ(ParseInteger("0Xff"), 255);
    EXPECT_EQ(ParseInteger("0xFF"), 255);
    EXPECT_EQ(ParseInteger(" \t\r\n12 \n"), 12);
    EXPECT_EQ(ParseInteger("9223372036854775807"), std::numeric_limits<int64_t>::max());
    EXPECT_EQ(ParseInteger("-9223372036854775808"), std::numeric_limits<int64_t>::min());
    EXPECT_EQ(ParseInteger("0x7FFFFFFFFFFFFFFF"), std::numeric_limits<int64_t>::max());
    EXPECT_EQ(ParseInteger("0x8000000000000000"), std::numeric_limits<int64_t>::min());
    EXPECT_EQ(ParseInteger("0xFFFFFFFFFFFFFFFF"), -1);
}

TEST(Lexical, RefusesOtherIntegers) {
    for (const char* text : {"", " ", "-", "+", "x", "0x", "0xG", "-0x1", "1 2", "1.0", "1e3", "12a", "0x 1",
                             "9223372036854775808", "-9223372036854775809", "0x10000000000000000", "--1"}) {
        EXPECT_FALSE(ParseInteger(text).has_value()) << text;
    }
}

TEST(Lexical, ParsesFloats) {
    EXPECT_EQ(ParseFloat("1.5"), 1.5);
    EXPECT_EQ(ParseFloat(" -1.5E-3 "), -1.5e-3);
    EXPECT_EQ(ParseFloat("+2"), 2.0);
    EXPECT_EQ(ParseFloat(".5"), 0.5);
    EXPECT_EQ(ParseFloat("5."), 5.0);
    EXPECT_EQ(ParseFloat("64512e0"), 64512.0);
    EXPECT_EQ(ParseFloat("0x10"), 16.0);
    EXPECT_EQ(ParseFloat("INF"), std::numeric_limits<double>::infinity());
    EXPECT_EQ(ParseFloat("-INF"), -std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::isnan(ParseFloat("NaN").value()));
    EXPECT_EQ(ParseFloat("1.7976931348623157e308"), std::numeric_limits<double>::max());
    EXPECT_EQ(ParseFloat("1e999"), std::numeric_limits<double>::infinity());
    EXPECT_EQ(ParseFloat("-1e999"), -std::numeric_limits<double>::infinity());
    EXPECT_EQ(ParseFloat("1e-999"), 0.0);
    EXPECT_EQ(ParseFloat("0." + std::string(400, '0') + "1"), 0.0);
    EXPECT_EQ(ParseFloat(std::string(400, '9')), std::numeric_limits<double>::infinity());
}

TEST(Lexical, RefusesOtherFloats) {
    for (const char* text : {"", "-", "+", ".", "e5", "1e", "1,5", "nan", "inf", "infinity", "NaN(1)", "1.5x", "+-1",
                             "-+1", "--1", "0x", "0x1p3", "1 2"}) {
        EXPECT_FALSE(ParseFloat(text).has_value()) << text;
    }
}

TEST(Lexical, DoesNotFollowTheLocale) {
    for (const char* locale : {"de_DE.UTF-8", "de_DE", "fr_FR.UTF-8"}) {
        if (std::setlocale(LC_ALL, locale) != nullptr) break;
    }
    EXPECT_EQ(ParseFloat("1.5"), 1.5);
    EXPECT_FALSE(ParseFloat("1,5").has_value());
    std::setlocale(LC_ALL, "C");
}

TEST(Lexical, ParsesTruth) {
    EXPECT_EQ(ParseBoolean("true"), true);
    EXPECT_EQ(ParseBoolean(" TRUE "), true);
    EXPECT_EQ(ParseBoolean("1"), true);
    EXPECT_EQ(ParseBoolean("False"), false);
    EXPECT_EQ(ParseBoolean("0"), false);
    EXPECT_FALSE(ParseBoolean("2").has_value());
    EXPECT_FALSE(ParseBoolean("").has_value());
    EXPECT_EQ(ParseYesNo("Yes"), true);
    EXPECT_EQ(ParseYesNo(" No "), false);
    EXPECT_FALSE(ParseYesNo("yes").has_value());
}

TEST(Lexical, KnowsHexPairs) {
    for (const char* text : {"9C43", " 0504000d ", "00", "01FFFFFFFFFFFFFFFF"})
        EXPECT_TRUE(IsHexPairs(text)) << text;
    for (const char* text : {"", "9C4", "0x9C43", "9C 43", "ZZ"})
        EXPECT_FALSE(IsHexPairs(text)) << text;
}

TEST(Lexical, GivesKeywordsTheirPublicNumbers) {
    EXPECT_EQ(ParseKeyword(Keyword::Visibility, "Invisible"), 3);
    EXPECT_EQ(ParseKeyword(Keyword::AccessMode, "WO"), 2);
    EXPECT_EQ(ParseKeyword(Keyword::AccessMode, "RO"), 3);
    EXPECT_EQ(ParseKeyword(Keyword::AccessMode, " RW\n"), 4);
    EXPECT_EQ(ParseKeyword(Keyword::AccessMode, "R"), 3);
    EXPECT_EQ(ParseKeyword(Keyword::AccessMode, "W"), 2);
    EXPECT_EQ(ParseKeyword(Keyword::CachingMode, "WriteAround"), 2);
    EXPECT_EQ(ParseKeyword(Keyword::Representation, "MACAddress"), 6);
    EXPECT_EQ(ParseKeyword(Keyword::Sign, "Unsigned"), 1);
    EXPECT_EQ(ParseKeyword(Keyword::Endianess, "LittleEndian"), 1);
    EXPECT_EQ(ParseKeyword(Keyword::NameSpace, "Standard"), 1);
    EXPECT_EQ(ParseKeyword(Keyword::StandardName, "USB"), 4);
    EXPECT_EQ(ParseKeyword(Keyword::Slope, "Automatic"), 3);
    EXPECT_EQ(ParseKeyword(Keyword::DisplayNotation, "Automatic"), 0);
    EXPECT_FALSE(ParseKeyword(Keyword::Sign, "Automatic").has_value());
    EXPECT_FALSE(ParseKeyword(Keyword::Visibility, "guru").has_value());
    EXPECT_FALSE(ParseKeyword(Keyword::Visibility, "").has_value());
}

TEST(Lexical, TakesNoWordOfTheNextFamily) {
    const std::pair<Keyword, const char*> cases[] = {
        {Keyword::Visibility, "RO"},          {Keyword::AccessMode, "NoCache"}, {Keyword::CachingMode, "Linear"},
        {Keyword::Representation, "Signed"},  {Keyword::Sign, "BigEndian"},     {Keyword::Endianess, "No"},
        {Keyword::YesNo, "Custom"},           {Keyword::NameSpace, "None"},     {Keyword::StandardName, "Increasing"},
        {Keyword::DisplayNotation, "Varying"}};
    for (const auto& [family, word] : cases)
        EXPECT_FALSE(ParseKeyword(family, word).has_value()) << word;
}

} // namespace
} // namespace genapi
