#include "usb/libusb/HotplugNotices.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(HotplugNotices, HaveRoomForABusThatLeavesAndArrivesTwice) {
    usb::HotplugNotices notices;
    for (int i = 0; i < 512; ++i) {
        usb::HotplugNotices::Notice* const notice = notices.Append();
        ASSERT_NE(notice, nullptr) << i;
        notice->id = std::to_string(i);
    }
    EXPECT_EQ(notices.Append(), nullptr);
    EXPECT_EQ(notices.Front().id, "0") << "the oldest is not lost";
}

TEST(HotplugNotices, AreToldInTheirOrderWhenTheirPlacesAreUsedAgain) {
    usb::HotplugNotices notices;
    for (int i = 0; i < 600; ++i) {
        notices.Append()->id = std::to_string(i);
        if (i == 0) continue;
        EXPECT_EQ(notices.Front().id, std::to_string(i - 1));
        notices.RemoveFront();
    }
    notices.RemoveFront();
    EXPECT_TRUE(notices.IsEmpty());
}

} // namespace
