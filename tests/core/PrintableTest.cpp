#include "core/Printable.h"

#include "core/Log.h"
#include "core/LogSink.h"

#include <gtest/gtest.h>

using Tavix::Printable;

TEST(Printable, LeavesOrdinaryTextAlone) {
    EXPECT_EQ(Printable(""), "");
    EXPECT_EQ(Printable("Camera 1920 #7 ~"), "Camera 1920 #7 ~");
    EXPECT_EQ(Printable("K\xC3\xB6ln \xE2\x82\xAC \xF0\x9F\x93\xB7 \xC2\xA0|"),
              "K\xC3\xB6ln \xE2\x82\xAC \xF0\x9F\x93\xB7 \xC2\xA0|");
}

TEST(Printable, KnowsTheFirstAndTheLastCharacterOfEachLength) {
    for (const char* const text : {"\x20", "\x7E", "\xC2\xA0", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF",
                                   "\xEE\x80\x80", "\xEF\xBF\xBF", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF"})
        EXPECT_EQ(Printable(text), text);
}

TEST(Printable, LetsNoControlCharacterThrough) {
    EXPECT_EQ(Printable(std::string("a\0b", 3)), "a?b");
    EXPECT_EQ(Printable("\x1B[2J\r\n\t\b\a"), "?[2J?????");
    EXPECT_EQ(Printable("\x7F"), "?");
    for (int code = 0; code < 0x20; ++code)
        EXPECT_EQ(Printable(std::string(1, static_cast<char>(code))), "?") << code;
}

TEST(Printable, LetsNoC1ControlThroughHoweverItIsWritten) {
    for (int code = 0x80; code < 0xA0; ++code) {
        EXPECT_EQ(Printable(std::string("\xC2") + static_cast<char>(code)), "?") << code;
        EXPECT_EQ(Printable(std::string(1, static_cast<char>(code))), "?") << code;
    }
}

TEST(Printable, LetsNothingTurnTheDirectionOfWriting) {
    for (const char* const text :
         {"\u061C", "\u200E", "\u200F", "\u202A", "\u202E", "\u2066", "\u2069", "\u2028", "\u2029"})
        EXPECT_EQ(Printable(std::string("a") + text + "b"), "a?b") << text;
    for (const char* const text : {"\u061B", "\u061D", "\u200D", "\u2010", "\u2027", "\u202F", "\u2065", "\u206A"})
        EXPECT_EQ(Printable(text), text);
    EXPECT_EQ(Printable("\u05D0\u0628"), "\u05D0\u0628") << "letters that are written that way";
}

TEST(Printable, ReplacesWhatIsNoText) {
    EXPECT_EQ(Printable("\xC0\x9B[2J"), "??[2J") << "escape, written longer than needed";
    EXPECT_EQ(Printable("\xE0\x80\x9B"), "???");
    EXPECT_EQ(Printable("\xF0\x80\x80\x9B"), "????");
    EXPECT_EQ(Printable("\xED\xA0\x80"), "???") << "half of a pair";
    EXPECT_EQ(Printable("\xF4\x90\x80\x80"), "????") << "beyond the last character";
    EXPECT_EQ(Printable("\xC3"), "?") << "cut";
    EXPECT_EQ(Printable("\xC3z"), "?z");
    EXPECT_EQ(Printable("\xFF\xFE"), "??");
}

TEST(Printable, IsTheWayIntoTheLog) {
    std::string logged;
    Tavix::LogSink sink([&logged](const char*, unsigned int, const char* text) { logged = text; });
    Tavix::LogTrace(Tavix::LogGetCatID("Test.Stranger"), Tavix::kLogError, "camera '%s'",
                    "x\nERROR forged \x1B[0m \xC2\x9B");
    EXPECT_EQ(logged, "camera 'x?ERROR forged ?[0m ?'");
}
