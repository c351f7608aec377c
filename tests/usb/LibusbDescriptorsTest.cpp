#include "usb/libusb/LibusbDescriptors.h"

#include "usb/support/TestDevice.h"

#include <gtest/gtest.h>

#include <libusb.h>

namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes WholeFile() {
    Bytes bytes = TestDevice::DeviceDescriptor();
    for (const std::uint8_t value : {1, 2}) {
        const Bytes configuration = TestDevice::ConfigurationDescriptor(value);
        bytes.insert(bytes.end(), configuration.begin(), configuration.end());
    }
    return bytes;
}

TEST(SplitDescriptors, KeepsDeviceAndConfigurationsApart) {
    usb::DeviceEntry entry;
    ASSERT_TRUE(usb::SplitDescriptors(WholeFile(), entry));
    EXPECT_EQ(entry.device, TestDevice::DeviceDescriptor());
    ASSERT_EQ(entry.configurations.size(), 2u);
    EXPECT_EQ(entry.configurations[0], TestDevice::ConfigurationDescriptor(1));
    EXPECT_EQ(entry.configurations[1], TestDevice::ConfigurationDescriptor(2));
}

TEST(SplitDescriptors, ForgetsWhatTheEntryHeldBefore) {
    usb::DeviceEntry entry;
    ASSERT_TRUE(usb::SplitDescriptors(WholeFile(), entry));
    ASSERT_TRUE(usb::SplitDescriptors(TestDevice::DeviceDescriptor(), entry));
    EXPECT_TRUE(entry.configurations.empty());
}

TEST(SplitDescriptors, SurvivesEveryTruncation) {
    const Bytes whole = WholeFile();
    const std::size_t configuration = TestDevice::ConfigurationDescriptor(1).size();
    for (std::size_t length = 0; length < whole.size(); ++length) {
        usb::DeviceEntry entry;
        const Bytes part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
        EXPECT_EQ(usb::SplitDescriptors(part, entry), length >= 18) << length;
        std::size_t expected = 0;
        if (length >= 18 + 9) expected = length < 18 + configuration + 9 ? 1 : 2;
        EXPECT_EQ(entry.configurations.size(), expected) << length;
    }
}

TEST(SplitDescriptors, StopsAtATotalLengthBelowItsOwnHeader) {
    Bytes bytes = WholeFile();
    bytes[18 + 2] = 0;
    bytes[18 + 3] = 0;
    usb::DeviceEntry entry;
    ASSERT_TRUE(usb::SplitDescriptors(bytes, entry));
    EXPECT_TRUE(entry.configurations.empty());
}

TEST(SplitDescriptors, KeepsAConfigurationThatIsNothingButItsHeader) {
    const Bytes empty = {9, 2, 9, 0, 0, 1, 0, 0x80, 112};
    Bytes bytes = TestDevice::DeviceDescriptor();
    bytes.insert(bytes.end(), empty.begin(), empty.end());
    usb::DeviceEntry entry;
    ASSERT_TRUE(usb::SplitDescriptors(bytes, entry));
    EXPECT_EQ(entry.configurations, std::vector<Bytes>{empty});
}

TEST(SplitDescriptors, KeepsAConfigurationThatPromisesMoreThanThereIs) {
    Bytes bytes = WholeFile();
    bytes[18 + 3] = 0xFF;
    usb::DeviceEntry entry;
    ASSERT_TRUE(usb::SplitDescriptors(bytes, entry));
    ASSERT_EQ(entry.configurations.size(), 1u);
    EXPECT_EQ(entry.configurations[0].size(), bytes.size() - 18);
}

TEST(ConfigurationBytes, HaveTheTwoMoreBytesOfAnAudioEndpoint) {
    libusb_endpoint_descriptor endpoint{};
    endpoint.bLength = 9;
    endpoint.bDescriptorType = 5;
    endpoint.bEndpointAddress = 0x81;
    endpoint.wMaxPacketSize = 0x0123;
    endpoint.bRefresh = 7;
    endpoint.bSynchAddress = 0x82;
    libusb_interface_descriptor setting{};
    setting.bLength = 9;
    setting.bNumEndpoints = 1;
    setting.endpoint = &endpoint;
    const libusb_interface interface = {&setting, 1};
    libusb_config_descriptor configuration{};
    configuration.bNumInterfaces = 1;
    configuration.interface = &interface;
    const Bytes bytes = usb::ConfigurationBytes(configuration);
    ASSERT_EQ(bytes.size(), 9u + 9u + 9u);
    EXPECT_EQ(Bytes(bytes.begin() + 18, bytes.end()), Bytes({9, 5, 0x81, 0, 0x23, 0x01, 0, 7, 0x82}));
}

TEST(AsciiOfStringDescriptor, ReplacesWhatIsNotAscii) {
    EXPECT_EQ(usb::AsciiOfStringDescriptor({10, 3, 'a', 0, 0xE9, 0, 'b', 1, 'c', 0}), "a??c");
    EXPECT_EQ(usb::AsciiOfStringDescriptor({6, 3, 0x7F, 0, 0x80, 0}), "\x7F?");
}

TEST(AsciiOfStringDescriptor, SurvivesBrokenOnes) {
    EXPECT_EQ(usb::AsciiOfStringDescriptor({}), "");
    EXPECT_EQ(usb::AsciiOfStringDescriptor({1}), "");
    EXPECT_EQ(usb::AsciiOfStringDescriptor({2, 3}), "");
    EXPECT_EQ(usb::AsciiOfStringDescriptor({5, 3, 'a', 0, 'b'}), "a");
}

} // namespace
