// What cmake/TavixTarget.cmake promises to tests.

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

std::string Variable(const char* name) {
    const char* const value = std::getenv(name);
    return value ? value : "(not set)";
}

TEST(TestLists, ReachEveryTestWithAllTheirValues) {
    EXPECT_EQ("1", Variable("TAVIX_TEST_FIRST"));
    EXPECT_EQ("with blanks", Variable("TAVIX_TEST_SECOND"));
    EXPECT_EQ("$HOME", Variable("TAVIX_TEST_THIRD"));
}

} // namespace
