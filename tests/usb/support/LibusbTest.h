#pragma once
// Words for tests of the libusb backend: the real libusb, with a device of ours beneath it.

#include "support/usbfs/Bus.h"
#include "usb/libusb/LibusbBackend.h"
#include "usb/support/TestDevice.h"
#include "usb/support/Transfers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

/// A device in the bus and the backend that finds it.
class LibusbTest : public testing::Test {
protected:
    void SetUp() override {
        std::string reason;
        m_Backend = usb::CreateLibusbBackend(reason);
        ASSERT_NE(m_Backend, nullptr) << reason;
    }
    void TearDown() override {
        m_Backend.reset();
        usbfs::Bus::Instance().Memory().SetLimit(0);
        EXPECT_EQ(usbfs::Bus::Instance().OpenFileCount(), 0u);
        EXPECT_EQ(usbfs::Bus::Instance().Memory().Used(), 0u);
    }

    std::vector<usb::DeviceEntry> Enumerate() {
        std::vector<usb::DeviceEntry> devices;
        EXPECT_EQ(m_Backend->Enumerate(devices), usb::Result::Ok);
        return devices;
    }
    std::unique_ptr<usb::Handle> Open() {
        std::unique_ptr<usb::Handle> handle;
        EXPECT_EQ(m_Backend->Open(m_Plugged.Name(), handle), usb::Result::Ok);
        return handle;
    }
    /// Opened, with both interfaces claimed.
    std::unique_ptr<usb::Handle> OpenAndClaim() {
        auto handle = Open();
        for (const std::uint8_t interface : {0, 1})
            EXPECT_EQ(handle->Claim(interface), usb::Result::Ok);
        return handle;
    }

    const std::shared_ptr<TestDevice> m_Device = std::make_shared<TestDevice>();
    usbfs::Plugged m_Plugged{m_Device};
    std::unique_ptr<usb::Backend> m_Backend;
};
