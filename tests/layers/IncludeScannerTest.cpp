#include "layers/IncludeScanner.h"

#include <sstream>

#include <gtest/gtest.h>

using layers::Include;
using layers::ScanIncludes;

namespace {

std::vector<Include> Scan(const char* text) {
    std::istringstream source(text);
    return ScanIncludes(source);
}

} // namespace

TEST(IncludeScanner, FindsBothForms) {
    const std::vector<Include> expected = {{1, "core/Log.h", Include::kQuoted}, {3, "vector", Include::kBracketed}};
    EXPECT_EQ(Scan("#include \"core/Log.h\"\nint x;\n#include <vector>\n"), expected);
}

TEST(IncludeScanner, SeesThroughBlanksAndTrailingComments) {
    const std::vector<Include> expected = {{1, "a.h", Include::kQuoted}, {2, "b", Include::kBracketed}};
    EXPECT_EQ(Scan("  #  include\t\"a.h\" // why\r\n#include<b> /* why */"), expected);
}

TEST(IncludeScanner, SkipsComments) {
    const std::vector<Include> expected = {{4, "c.h", Include::kQuoted}};
    EXPECT_EQ(Scan("// #include \"a.h\"\n/* one\n#include \"b.h\"\n*/ #include \"c.h\"\n/**/ int y;\n"), expected);
}

TEST(IncludeScanner, CountsWhatAConditionMayHide) {
    EXPECT_EQ(Scan("#if 0\n#include \"a.h\"\n#endif\n").size(), 1u);
    EXPECT_TRUE(Scan("#if __has_include(\"a.h\")\n#endif\n").empty());
}

TEST(IncludeScanner, HandsOutMacrosAsTheyAre) {
    const std::vector<Include> expected = {{1, "SOME_HEADER", Include::kNeither}};
    EXPECT_EQ(Scan("#include SOME_HEADER\n"), expected);
}
