#include "usb/Backend.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

TEST(Text, EveryResultHasItsOwn) {
    std::set<std::string> texts;
    for (int code = 0; code <= static_cast<int>(usb::Result::Other); ++code)
        texts.insert(usb::ToText(static_cast<usb::Result>(code)));
    EXPECT_EQ(texts.size(), static_cast<std::size_t>(usb::Result::Other) + 1);
}

TEST(Text, EveryTransferStatusHasItsOwn) {
    std::set<std::string> texts;
    for (int code = 0; code <= static_cast<int>(usb::TransferStatus::Overflow); ++code)
        texts.insert(usb::ToText(static_cast<usb::TransferStatus>(code)));
    EXPECT_EQ(texts.size(), static_cast<std::size_t>(usb::TransferStatus::Overflow) + 1);
}

TEST(Text, ForeignValuesHaveOneToo) {
    EXPECT_STREQ(usb::ToText(static_cast<usb::Result>(4711)), "other error");
    EXPECT_STREQ(usb::ToText(static_cast<usb::TransferStatus>(4711)), "unknown transfer status");
}

} // namespace
