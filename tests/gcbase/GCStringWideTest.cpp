#include "Base/GCString.h"

#include <gtest/gtest.h>

using GenICam::gcstring;

namespace {

struct Pair {
    const char* narrow;
    const wchar_t* wide;
};

// The first and the last code point of each length.
const Pair kPairs[] = {
    {"", L""},
    {"Gain", L"Gain"},
    {"\x7F", L"\x7F"},
    {"\xC2\x80", L"\x80"},
    {"\xDF\xBF", L"\x7FF"},
    {"\xE0\xA0\x80", L"\x800"},
    {"\xED\x9F\xBF", L"\xD7FF"},
    {"\xEE\x80\x80", L"\xE000"},
    {"\xEF\xBF\xBF", L"\xFFFF"},
    {"\xF0\x90\x80\x80", L"\x10000"},
    {"\xF4\x8F\xBF\xBF", L"\x10FFFF"},
    {"1 \xC2\xB5s", L"1 \xB5"
                    L"s"},
};

} // namespace

TEST(GCStringWide, TurnsIntoWideTextAndBack) {
    for (const Pair& pair : kPairs) {
        EXPECT_EQ(gcstring(pair.narrow).w_str(), pair.wide) << pair.narrow;
        EXPECT_EQ(gcstring(pair.wide), pair.narrow) << pair.narrow;
        EXPECT_EQ(gcstring(std::wstring(pair.wide)), pair.narrow) << pair.narrow;
    }
}

TEST(GCStringWide, IsAssignedFromWideText) {
    gcstring text;
    text = L"1 \xB5s";
    EXPECT_EQ(text, "1 \xC2\xB5s");
    const wchar_t* none = nullptr;
    text = none;
    EXPECT_EQ(text, "");
}

TEST(GCStringWide, ReplacesBytesThatAreNoUtf8) {
    const Pair bad[] = {
        {"a\x80z", L"a\xFFFDz"},             // continuation without a first byte
        {"a\xFFz", L"a\xFFFDz"},             // never a first byte
        {"a\xF8z", L"a\xFFFDz"},             // five-byte form
        {"a\xC3z", L"a\xFFFDz"},             // cut by the next character
        {"a\xE2\x82", L"a\xFFFD"},           // cut by the end
        {"a\xC0\x80z", L"a\xFFFDz"},         // overlong
        {"a\xE0\x9F\xBFz", L"a\xFFFDz"},     // overlong
        {"a\xF0\x8F\xBF\xBFz", L"a\xFFFDz"}, // overlong
        {"a\xED\xA0\x80z", L"a\xFFFDz"},     // surrogate
        {"a\xF4\x90\x80\x80z", L"a\xFFFDz"}, // above the last code point
        {"\xC3\xC3\xA4", L"\xFFFD\xE4"},     // a new first byte begins anew
    };
    for (const Pair& pair : bad)
        EXPECT_EQ(gcstring(pair.narrow).w_str(), pair.wide);
}

TEST(GCStringWide, ReplacesValuesThatAreNoCodePoints) {
    const wchar_t bad[] = {L'a',
                           static_cast<wchar_t>(0xD800),
                           static_cast<wchar_t>(0xDFFF),
                           static_cast<wchar_t>(0x110000),
                           static_cast<wchar_t>(0xFFFFFFFF),
                           L'z',
                           L'\0'};
    EXPECT_EQ(gcstring(bad), "a\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBDz");
}

TEST(GCStringWide, KeepsZeroCharacters) {
    EXPECT_EQ(gcstring(std::wstring(L"a\0b", 3)), gcstring("a\0b", 3));
    EXPECT_EQ(gcstring("a\0b", 3).w_str(), std::wstring(L"a\0b", 3));
}
