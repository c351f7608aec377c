#pragma once
// Words for tests of the libusb backend: the real libusb, with a device of ours beneath it.

#include "support/usbfs/Bus.h"
#include "usb/LibusbBackend.h"
#include "usb/TestDevice.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// Turns `handle`'s events until `done` holds; false when that takes too long.
inline bool PumpUntil(usb::Handle& handle, const std::function<bool()>& done) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!done() && std::chrono::steady_clock::now() < deadline)
        if (handle.HandleEvents(1000) != usb::Result::Ok) return false;
    return done();
}

/// Transfers with buffers of their own; notes in which order they complete. Bound to the thread that pumps.
class Transfers {
public:
    Transfers(usb::Handle& handle, std::uint8_t endpoint, std::size_t count, std::size_t size)
        : m_Handle(handle), m_Buffers(count, std::vector<std::uint8_t>(size)), m_All(count) {
        for (std::size_t i = 0; i < count; ++i) {
            m_All[i].endpoint = endpoint;
            m_All[i].buffer = m_Buffers[i].data();
            m_All[i].length = size;
            m_All[i].completed = &Transfers::Completed;
            m_All[i].context = this;
        }
    }
    ~Transfers() {
        for (usb::Transfer& transfer : m_All)
            m_Handle.Forget(transfer);
    }
    Transfers(const Transfers&) = delete;
    Transfers& operator=(const Transfers&) = delete;

    usb::Transfer& operator[](std::size_t index) { return m_All[index]; }
    const std::vector<std::uint8_t>& Buffer(std::size_t index) const { return m_Buffers[index]; }
    std::size_t Count() const { return m_All.size(); }
    /// Called after each completion was noted.
    std::function<void(usb::Transfer&)> onCompleted;

    usb::Result Submit(std::size_t index) { return m_Handle.Submit(m_All[index]); }
    void SubmitAll() {
        for (std::size_t i = 0; i < m_All.size(); ++i)
            ASSERT_EQ(Submit(i), usb::Result::Ok) << i;
    }
    bool PumpUntilCompleted(std::size_t count) {
        return PumpUntil(m_Handle, [&] { return m_Order.size() >= count; });
    }
    /// Indices in the order of completion.
    const std::vector<std::size_t>& Order() const { return m_Order; }

private:
    static void Completed(usb::Transfer& transfer) {
        auto& self = *static_cast<Transfers*>(transfer.context);
        self.m_Order.push_back(static_cast<std::size_t>(&transfer - self.m_All.data()));
        if (self.onCompleted) self.onCompleted(transfer);
    }

    usb::Handle& m_Handle;
    std::vector<std::vector<std::uint8_t>> m_Buffers;
    std::vector<usb::Transfer> m_All;
    std::vector<std::size_t> m_Order;
};

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
