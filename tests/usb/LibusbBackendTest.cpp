#include "usb/support/LibusbTest.h"

#include "usb/libusb/LibusbContext.h"
#include "usb/libusb/LibusbDescriptors.h"

#include <cerrno>
#include <condition_variable>
#include <future>
#include <mutex>

#include <sys/resource.h>
#include <unistd.h>

namespace {

using usb::HotplugEvent;
using usb::Result;

// Everything below the real libusb hangs on the names of the functions that it calls. If this fails, libusb has changed
// and tests/support/usbfs lacks a function.
TEST_F(LibusbTest, LibusbFindsTheEmulatedDevice) {
    libusb_context* raw = nullptr;
    ASSERT_EQ(libusb_init(&raw), LIBUSB_SUCCESS);
    const usb::LibusbContext context(raw);
    const usb::LibusbDeviceList devices(raw);
    ASSERT_EQ(devices.Error(), 0);
    ASSERT_EQ(devices.end() - devices.begin(), 1);
    EXPECT_EQ(usb::DeviceId(*devices.begin()), m_Plugged.Name());
}

TEST_F(LibusbTest, DescribesADeviceWithoutOpeningIt) {
    const auto devices = Enumerate();
    ASSERT_EQ(devices.size(), 1u);
    const usb::DeviceEntry& entry = devices[0];
    EXPECT_EQ(entry.id, "2-1");
    EXPECT_EQ(entry.bus, 2);
    EXPECT_NE(entry.address, 0);
    EXPECT_EQ(entry.ports, std::vector<std::uint8_t>{1});
    EXPECT_EQ(entry.speed, usb::Speed::Super);
    EXPECT_EQ(entry.activeConfiguration, 1);
    EXPECT_EQ(entry.device, TestDevice::DeviceDescriptor());
    ASSERT_EQ(entry.configurations.size(), 2u);
    EXPECT_EQ(entry.configurations[0], TestDevice::ConfigurationDescriptor(1));
    EXPECT_EQ(entry.configurations[1], TestDevice::ConfigurationDescriptor(2));
    EXPECT_EQ(usbfs::Bus::Instance().OpenFileCount(), 0u);
}

TEST_F(LibusbTest, ListsDevicesInTheOrderOfTheirPorts) {
    usbfs::PortSettings settings;
    settings.speed = usb::Speed::High;
    const usbfs::Plugged second(std::make_shared<TestDevice>(), settings);
    settings.speed = usb::Speed::SuperPlus;
    const usbfs::Plugged third(std::make_shared<TestDevice>(), settings);
    const auto devices = Enumerate();
    ASSERT_EQ(devices.size(), 3u);
    EXPECT_EQ(devices[0].id, "2-1");
    EXPECT_EQ(devices[1].id, "2-2");
    EXPECT_EQ(devices[2].id, "2-3");
    EXPECT_EQ(devices[1].speed, usb::Speed::High);
    EXPECT_EQ(devices[2].speed, usb::Speed::SuperPlus);
}

TEST_F(LibusbTest, DoesNotFindADeviceThatHasLeft) {
    usbfs::Bus::Instance().Unplug(m_Plugged.Name());
    EXPECT_TRUE(Enumerate().empty());
    usbfs::Bus::Instance().Replug(m_Plugged.Name());
    EXPECT_EQ(Enumerate().size(), 1u);
}

TEST_F(LibusbTest, OpensNothingUnderAnUnknownId) {
    std::unique_ptr<usb::Handle> handle;
    EXPECT_EQ(m_Backend->Open("2-14", handle), Result::NotFound);
    EXPECT_EQ(handle, nullptr);
}

TEST_F(LibusbTest, SaysThatItMayNotOpen) {
    usbfs::Bus::Instance().RefuseOpens(m_Plugged.Name(), EACCES, 1);
    std::unique_ptr<usb::Handle> handle;
    EXPECT_EQ(m_Backend->Open(m_Plugged.Name(), handle), Result::Access);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(m_Backend->Open(m_Plugged.Name(), handle), Result::Ok);
}

/// What opening says while the process may have so many files more than it has.
Result OpenWithFewFiles(usb::Backend& bus, const std::string& id, unsigned int spare) {
    rlimit before{};
    EXPECT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const int lowest = dup(STDIN_FILENO); // all below are taken
    EXPECT_GE(lowest, 0);
    close(lowest);
    rlimit limit = before;
    limit.rlim_cur = static_cast<rlim_t>(lowest) + spare;
    EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    std::unique_ptr<usb::Handle> handle;
    const Result result = bus.Open(id, handle);
    handle.reset();
    EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
    return result;
}

TEST_F(LibusbTest, SaysThatTheProcessHasTooManyFilesOpen) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizers need descriptors themselves to look at objects";
#endif
    for (unsigned int spare = 0; spare < 16; ++spare) {
        const Result result = OpenWithFewFiles(*m_Backend, m_Plugged.Name(), spare);
        const bool isPlain = result == Result::TooManyFiles || (spare > 1 && result == Result::Ok);
        EXPECT_TRUE(isPlain) << usb::ToText(result) << " with " << spare << " left";
    }
    std::unique_ptr<usb::Handle> handle;
    EXPECT_EQ(m_Backend->Open(m_Plugged.Name(), handle), Result::Ok);
}

TEST_F(LibusbTest, KnowsADeviceThatHasJustArrived) {
    const std::string id = m_Plugged.Name();
    EXPECT_TRUE(m_Backend->IsArriving(id));
    usbfs::Bus::Instance().MakeNodeOld(id);
    EXPECT_FALSE(m_Backend->IsArriving(id));
    usbfs::Bus::Instance().Unplug(id);
    EXPECT_FALSE(m_Backend->IsArriving(id)) << "it has left";
    usbfs::Bus::Instance().Replug(id);
    EXPECT_TRUE(m_Backend->IsArriving(id));
    EXPECT_FALSE(m_Backend->IsArriving("2-14"));
}

TEST_F(LibusbTest, KnowsTheLimitOfTransferMemory) {
    EXPECT_EQ(m_Backend->TransferMemoryLimit(), 0u);
    usbfs::Bus::Instance().Memory().SetLimit(16);
    EXPECT_EQ(m_Backend->TransferMemoryLimit(), 16u << 20);
}

/// Keeps what a handler was told. Thread-safe.
class Notices {
public:
    void operator()(HotplugEvent event, const std::string& id) {
        const std::lock_guard<std::mutex> lock(m_Lock);
        m_All.push_back((event == HotplugEvent::Arrived ? "+" : "-") + id);
        m_Changed.notify_all();
    }
    /// Waits until there are so many, and returns all.
    std::vector<std::string> Wait(std::size_t count) {
        std::unique_lock<std::mutex> lock(m_Lock);
        m_Changed.wait_for(lock, std::chrono::seconds(30), [&] { return m_All.size() >= count; });
        return m_All;
    }

private:
    std::mutex m_Lock;
    std::condition_variable m_Changed;
    std::vector<std::string> m_All;
};

TEST_F(LibusbTest, TellsOfArrivalAndRemoval) {
    Notices notices;
    const auto registration = m_Backend->RegisterHotplug(std::ref(notices));
    ASSERT_NE(registration, 0u);
    {
        const usbfs::Plugged second(std::make_shared<TestDevice>());
        EXPECT_EQ(notices.Wait(1), std::vector<std::string>({"+2-2"}));
    }
    EXPECT_EQ(notices.Wait(2), std::vector<std::string>({"+2-2", "-2-2"}));
    m_Backend->DeregisterHotplug(registration);
}

TEST_F(LibusbTest, AnArrivedDeviceCanBeOpenedByItsOldId) {
    Notices notices;
    const auto registration = m_Backend->RegisterHotplug(std::ref(notices));
    const unsigned int address = Enumerate().at(0).address;
    usbfs::Bus::Instance().Unplug(m_Plugged.Name());
    usbfs::Bus::Instance().Replug(m_Plugged.Name());
    EXPECT_EQ(notices.Wait(2), std::vector<std::string>({"-2-1", "+2-1"}));
    EXPECT_NE(Enumerate().at(0).address, address);
    EXPECT_NE(Open(), nullptr);
    m_Backend->DeregisterHotplug(registration);
}

TEST_F(LibusbTest, AHotplugHandlerMayUseTheBackend) {
    std::promise<std::size_t> found;
    const auto registration = m_Backend->RegisterHotplug([&](HotplugEvent event, const std::string&) {
        if (event == HotplugEvent::Arrived) found.set_value(Enumerate().size());
    });
    const usbfs::Plugged second(std::make_shared<TestDevice>());
    auto answer = found.get_future();
    ASSERT_EQ(answer.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    EXPECT_EQ(answer.get(), 2u);
    m_Backend->DeregisterHotplug(registration);
}

TEST_F(LibusbTest, WritesAParsedConfigurationBackByteForByte) {
    libusb_context* raw = nullptr;
    ASSERT_EQ(libusb_init(&raw), LIBUSB_SUCCESS);
    const usb::LibusbContext context(raw);
    const usb::LibusbDeviceList devices(raw);
    ASSERT_NE(devices.begin(), devices.end());
    for (const std::uint8_t index : {0, 1}) {
        libusb_config_descriptor* parsed = nullptr;
        ASSERT_EQ(libusb_get_config_descriptor(*devices.begin(), index, &parsed), LIBUSB_SUCCESS);
        EXPECT_EQ(usb::ConfigurationBytes(*parsed), TestDevice::ConfigurationDescriptor(index + 1));
        libusb_free_config_descriptor(parsed);
    }
}

TEST_F(LibusbTest, SaysWhyTheSystemRefusesEvenWhenFilesAreShort) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizers need descriptors themselves to look at objects";
#endif
    for (const auto& [error, wanted] : {std::pair{EACCES, Result::Access}, {EBUSY, Result::Busy}}) {
        unsigned int reasons = 0;
        for (unsigned int spare = 0; spare < 8; ++spare) { // too few to try again with
            usbfs::Bus::Instance().RefuseOpens(m_Plugged.Name(), error, 1);
            const Result result = OpenWithFewFiles(*m_Backend, m_Plugged.Name(), spare);
            EXPECT_TRUE(result == Result::TooManyFiles || result == wanted) << usb::ToText(result);
            reasons += result == wanted;
        }
        EXPECT_GT(reasons, 0u);
    }
    usbfs::Bus::Instance().RefuseOpens(m_Plugged.Name(), 0, 0);
}

} // namespace
