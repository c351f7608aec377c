#include "tools/tavix/Error.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

TEST(Reason, OfARemovalSaysWhatToDoOnce) {
    EXPECT_EQ(tool::Reason(std::runtime_error("The camera was removed.")), "The camera was removed; plug it in again");
    EXPECT_EQ(tool::Reason(std::runtime_error("The camera was removed; plug it in again")),
              "The camera was removed; plug it in again");
}

/// Parts of sentences bear no full stop.
TEST(Reason, TellsOfARemovalInTheMiddleOfASentence) {
    EXPECT_TRUE(tool::TellsOfRemoval("Gain cannot be read: The camera was removed"));
    EXPECT_FALSE(tool::TellsOfRemoval("Gain cannot be read: The camera does not answer"));
}

TEST(Reason, IsOneLineWithoutItsFullStop) {
    EXPECT_EQ(tool::Reason(std::runtime_error("one\nand\ttwo. ")), "one and two");
}

} // namespace
