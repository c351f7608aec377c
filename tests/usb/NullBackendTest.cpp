#include "usb/NullBackend.h"

#include <gtest/gtest.h>

namespace {

TEST(NullBackend, HasNoDevices) {
    usb::NullBackend backend;
    std::vector<usb::DeviceEntry> devices;
    EXPECT_EQ(backend.Enumerate(devices), usb::Result::Ok);
    EXPECT_TRUE(devices.empty());
}

TEST(NullBackend, OpensNothing) {
    usb::NullBackend backend;
    std::unique_ptr<usb::Handle> handle;
    EXPECT_EQ(backend.Open("1-1", handle), usb::Result::NotFound);
    EXPECT_EQ(handle, nullptr);
}

TEST(NullBackend, HasNoHotplugAndNoMemoryLimit) {
    usb::NullBackend backend;
    EXPECT_EQ(backend.RegisterHotplug([](usb::HotplugEvent, const std::string&) {}), 0u);
    backend.DeregisterHotplug(0);
    EXPECT_EQ(backend.TransferMemoryLimit(), 0u);
    EXPECT_STREQ(backend.Name(), "null");
}

} // namespace
