#include "Base/GCString.h"
#include "Base/GCStringVector.h"

#include <cstring>
#include <map>
#include <sstream>
#include <stdexcept>
#include <unordered_set>

#include <gtest/gtest.h>

using GenICam::gcstring;
using GenICam::gcstring_vector;

TEST(GCString, IsEmptyByDefault) {
    const gcstring text;
    EXPECT_TRUE(text.empty());
    EXPECT_EQ(text.size(), 0u);
    EXPECT_STREQ(text.c_str(), "");
}

TEST(GCString, IsMadeFromManyThings) {
    EXPECT_EQ(gcstring("Width"), "Width");
    EXPECT_EQ(gcstring("Width", 2), "Wi");
    EXPECT_EQ(gcstring(3, 'x'), "xxx");
    EXPECT_EQ(gcstring(0, 'x'), "");
    EXPECT_EQ(gcstring(std::string("Width")), "Width");
    EXPECT_EQ(gcstring(std::string_view("Width").substr(1, 2)), "id");
}

TEST(GCString, TakesNullAsEmpty) {
    const char* none = nullptr;
    gcstring text(none);
    EXPECT_EQ(text, "");
    EXPECT_EQ(text, none);
    text = "x";
    text = none;
    EXPECT_EQ(text, "");
    text.append(none);
    text += none;
    EXPECT_EQ(text + none, "");
    EXPECT_EQ(none + text, "");
    EXPECT_EQ(text.compare(none), 0);
}

TEST(GCString, GoesWhereACTextIsWanted) {
    const gcstring text("Width");
    EXPECT_EQ(std::strlen(text), 5u);
    EXPECT_EQ(text[1], 'i');
    const std::string standard(text);
    EXPECT_EQ(standard, "Width");
}

TEST(GCString, KeepsZeroBytes) {
    const gcstring text("a\0b", 3);
    EXPECT_EQ(text.size(), 3u);
    EXPECT_NE(text, "a");
    EXPECT_EQ(text, gcstring("a\0b", 3));
    EXPECT_NE(text, gcstring("a\0c", 3));
    EXPECT_EQ(text.view().size(), 3u);
}

TEST(GCString, ComparesByBytes) {
    const gcstring a("a"), b("b");
    EXPECT_TRUE(a == "a" && "a" == a && a == std::string("a") && std::string("a") == a);
    EXPECT_TRUE(a != b && a != "b" && "b" != a);
    EXPECT_TRUE(a < b && b > a && a <= b && b >= a && a <= a && a >= a);
    EXPECT_FALSE(a < a);
    EXPECT_LT(gcstring("Z"), gcstring("a"));
    EXPECT_LT(gcstring("a"), gcstring("\xC3\xA4")) << "bytes above 127 come last";
    EXPECT_LT(a.compare(b), 0);
    EXPECT_GT(b.compare("a"), 0);
}

TEST(GCString, IsJoined) {
    gcstring text("Wi");
    text += gcstring("d");
    text += "t";
    text += 'h';
    EXPECT_EQ(text, "Width");
    EXPECT_EQ(text + "Max", "WidthMax");
    EXPECT_EQ("Max" + text, "MaxWidth");
    EXPECT_EQ(text + text, "WidthWidth");
    EXPECT_EQ(text + '!', "Width!");
    EXPECT_EQ('!' + text, "!Width");
    EXPECT_EQ(text + std::string("Max"), "WidthMax");
    EXPECT_EQ(gcstring("a").append("bcd", 2).append(2, 'x').append(gcstring("y")), "abcxxy");
}

TEST(GCString, MayBeAppendedAndAssignedToItself) {
    gcstring text("ab");
    text += text;
    EXPECT_EQ(text, "abab");
    text.append(text.c_str());
    EXPECT_EQ(text, "abababab");
    text = text.c_str() + 6;
    EXPECT_EQ(text, "ab");
}

TEST(GCString, IsAssigned) {
    gcstring text;
    EXPECT_EQ(text.assign("a"), "a");
    EXPECT_EQ(text.assign("abc", 2), "ab");
    EXPECT_EQ(text.assign(2, 'z'), "zz");
    EXPECT_EQ(text.assign(gcstring("g")), "g");
    EXPECT_EQ(text.assign(std::string("s")), "s");
    EXPECT_EQ(text = "c", "c");
    EXPECT_EQ(text = std::string("t"), "t");
}

TEST(GCString, FindsTextsAndCharacters) {
    const gcstring text("one two one");
    EXPECT_EQ(text.find("one"), 0u);
    EXPECT_EQ(text.find("one", 1), 8u);
    EXPECT_EQ(text.find(gcstring("two")), 4u);
    EXPECT_EQ(text.find('t'), 4u);
    EXPECT_EQ(text.find("one!", 1, 3), 8u);
    EXPECT_EQ(text.find("three"), gcstring::npos);
    EXPECT_EQ(text.find("one", 100), gcstring::npos);
    EXPECT_EQ(text.rfind("one"), 8u);
    EXPECT_EQ(text.rfind('o', 7), 6u);
    EXPECT_EQ(text.find_first_of("xw"), 5u);
    EXPECT_EQ(text.find_first_not_of("one"), 3u);
    EXPECT_EQ(text.find_last_of(" "), 7u);
    EXPECT_EQ(text.find_last_not_of("one"), 7u);
}

TEST(GCString, CutsOutParts) {
    const gcstring text("Width");
    EXPECT_EQ(text.substr(1, 2), "id");
    EXPECT_EQ(text.substr(3), "th");
    EXPECT_EQ(text.substr(5), "");
    EXPECT_EQ(text.substr(), text);
    EXPECT_THROW(static_cast<void>(text.substr(6)), std::out_of_range);
}

TEST(GCString, ChecksPositions) {
    gcstring text("ab");
    text.at(1) = 'c';
    EXPECT_EQ(text, "ac");
    EXPECT_EQ(text.front(), 'a');
    EXPECT_EQ(text.back(), 'c');
    EXPECT_THROW(static_cast<void>(text.at(2)), std::out_of_range);
    EXPECT_THROW(static_cast<void>(gcstring().front()), std::out_of_range);
    EXPECT_THROW(static_cast<void>(gcstring().back()), std::out_of_range);
}

TEST(GCString, ChangesItsSize) {
    gcstring text("abc");
    text.resize(5, 'x');
    EXPECT_EQ(text, "abcxx");
    text.resize(2);
    EXPECT_EQ(text, "ab");
    text.insert(1, "--").erase(0, 1);
    EXPECT_EQ(text, "--b");
    text.push_back('c');
    EXPECT_EQ(text, "--bc");
    text.clear();
    EXPECT_TRUE(text.empty());
    EXPECT_GT(text.max_size(), 1000000u);
}

TEST(GCString, IsSwapped) {
    gcstring a("a"), b("b");
    a.swap(b);
    EXPECT_EQ(a, "b");
    swap(a, b);
    EXPECT_EQ(a, "a");
}

TEST(GCString, IsWalkedThrough) {
    std::string copy;
    for (const char character : gcstring("abc"))
        copy += character;
    EXPECT_EQ(copy, "abc");
}

TEST(GCString, GoesThroughStreams) {
    std::stringstream stream;
    stream << gcstring("a\0b", 3) << ' ' << gcstring("second line") << '\n';
    gcstring word, line;
    stream >> word;
    EXPECT_EQ(word, gcstring("a\0b", 3));
    getline(stream, line);
    EXPECT_EQ(line, " second line");
    EXPECT_FALSE(getline(stream, line));
    EXPECT_EQ(line, " second line") << "a line that isn't there changes nothing";
}

TEST(GCString, IsAKey) {
    std::map<gcstring, int> ordered{{"b", 2}, {"a", 1}};
    EXPECT_EQ(ordered.begin()->first, "a");
    EXPECT_EQ(ordered["b"], 2);
    const std::unordered_set<gcstring> hashed{"a", "b", "a"};
    EXPECT_EQ(hashed.size(), 2u);
    EXPECT_EQ(hashed.count("b"), 1u);
}

TEST(GCStringVector, HoldsTexts) {
    gcstring_vector texts;
    EXPECT_TRUE(texts.empty());
    texts.push_back("b");
    texts.insert(texts.begin(), "a");
    EXPECT_EQ(texts.size(), 2u);
    EXPECT_EQ(texts[0], "a");
    EXPECT_EQ(texts.at(1), "b");
    texts.erase(texts.begin());
    EXPECT_EQ(texts.front(), "b");
    texts.clear();
    EXPECT_EQ(texts.begin(), texts.end());
}
