#include "core/Format.h"

#include <cstdint>

#include <gtest/gtest.h>

using Tavix::Format;

TEST(Format, KeepsPlainText) {
    EXPECT_EQ(Format("nothing to fill in"), "nothing to fill in");
    EXPECT_EQ(Format(""), "");
}

TEST(Format, TakesNullFormatAsEmpty) {
    EXPECT_EQ(Format(nullptr), "");
}

TEST(Format, PrintsNarrowStringForHs) {
    EXPECT_EQ(Format("device '%hs' opened", "cam"), "device 'cam' opened");
}

TEST(Format, PrintsPointerSizedHexForIx) {
    EXPECT_EQ(Format("%Ix", std::uintptr_t{0x400}), "400");
    EXPECT_EQ(Format("%Ix", std::uintptr_t{0xFEDCBA9876543210}), "fedcba9876543210");
    EXPECT_EQ(Format("%IX", std::uintptr_t{0xABCDEF0123}), "ABCDEF0123");
}

TEST(Format, KeepsWhatFollowsAPointerSizedItem) {
    EXPECT_EQ(Format("value %Ix. %s", std::uintptr_t{0x10}, "Gone"), "value 10. Gone");
    EXPECT_EQ(Format("%Ix%Ix|%d", std::uintptr_t{1}, std::uintptr_t{2}, 3), "12|3");
}

TEST(Format, TakesFlagsWidthAndPrecisionBeforeIx) {
    EXPECT_EQ(Format("%#Ix", std::uintptr_t{0x400}), "0x400");
    EXPECT_EQ(Format("%08Ix", std::uintptr_t{0x400}), "00000400");
    EXPECT_EQ(Format("%-6Ix|", std::uintptr_t{0x400}), "400   |");
    EXPECT_EQ(Format("%*Ix", 5, std::uintptr_t{0x400}), "  400");
    EXPECT_EQ(Format("%.6Ix", std::uintptr_t{0x400}), "000400");
}

TEST(Format, LeavesIxOutsideAnItemAlone) {
    EXPECT_EQ(Format("%%Ix Ix %d", 7), "%Ix Ix 7");
    EXPECT_EQ(Format("%dIx", 7), "7Ix");
    EXPECT_EQ(Format("%hsIx", "a"), "aIx");
}

TEST(Format, PrintsTextAfterItemForI64d) {
    EXPECT_EQ(Format("Buffer length %i64d exceeds range", 11), "Buffer length 1164d exceeds range");
}

TEST(Format, TakesNoArgumentForPercentWithFlag) {
    EXPECT_EQ(Format("for device %'%hs'", "unused"), "for device %hs'");
}

TEST(Format, PrintsStringForHsWithFlag) {
    EXPECT_EQ(Format("for device %'hs'. Error: '%hs'", "cam", "gone"), "for device cam'. Error: 'gone'");
}

TEST(Format, PrintsPointerWithFlag) {
    EXPECT_EQ(Format("handle: %#p;", reinterpret_cast<void*>(std::uintptr_t{0x1f})), "handle: 0x1f;");
}

TEST(Format, HandlesTextLongerThanAnyBuffer) {
    for (const std::size_t length : {511u, 512u, 513u, 100000u}) {
        const std::string text(length, 'x');
        EXPECT_EQ(Format("%hs", text.c_str()), text);
        EXPECT_EQ(Format("%Ix%hs", std::uintptr_t{1}, text.c_str()), "1" + text);
    }
}

TEST(Format, DoesNotReadPastAFormatThatEndsInAnItem) {
    // What the C library prints for these is its own matter; it must be printed from within the text.
    for (const char* format : {"%", "I%", "I %0", "I %5.", "I %h", "%I"})
        EXPECT_LT(Format(format).size(), 8u) << format;
}
