#include "gentl/module/HostControllers.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using gentl::ControllerOf;

// No machine has so many buses; of a bus that the system does not know the number is the name.
TEST(HostController, IsThatOfTheBusThatTheDevicePathNames) {
    for (const char* const path : {"libusb:987-1.4#0", "libusb:987-2#1", "libusb:usb987#0"}) {
        EXPECT_EQ(ControllerOf(path).id, "u3v-bus-987") << path;
        EXPECT_EQ(ControllerOf(path).name, "USB bus 987") << path;
    }
}

TEST(HostController, OfACameraWithoutABusIsThatOfItsBackend) {
    for (const char* const path : {"bench:camera#0", "bench:", "bench"}) {
        EXPECT_EQ(ControllerOf(path).id, "u3v-bench") << path;
        EXPECT_EQ(ControllerOf(path).name, "Cameras without a USB port: bench") << path;
    }
}

} // namespace
