#include "tools/tavix/Error.h"

#include <tavix/camera/Error.h>

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

TEST(Reason, OfARemovalSaysWhatToDoOnce) {
    EXPECT_EQ(tool::Reason(Tavix::Removed("VC-1300 (7) is unplugged")), "VC-1300 (7) is unplugged; plug it in again");
    EXPECT_EQ(tool::Reason(Tavix::Removed("cannot open VC-1300 (7): gone; plug it in again")),
              "cannot open VC-1300 (7): gone; plug it in again");
}

/// Cameras and files have texts of their own, which decide nothing.
TEST(Reason, OfSomethingElseIsNotJudgedByItsWords) {
    EXPECT_EQ(tool::Reason(std::runtime_error("notes.txt: The camera was removed.")),
              "notes.txt: The camera was removed");
}

TEST(Reason, IsOneLineWithoutItsFullStop) {
    EXPECT_EQ(tool::Reason(std::runtime_error("one\nand\ttwo. ")), "one and two");
}

} // namespace
