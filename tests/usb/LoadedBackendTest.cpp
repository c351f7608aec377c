#include "usb/LoadedBackend.h"

#include <gmock/gmock.h>

#include <cstdlib>

namespace {

using testing::HasSubstr;

std::string TestBusPath() {
    const char* path = std::getenv("TAVIX_TEST_BUS");
    return path != nullptr ? path : "TAVIX_TEST_BUS is not set";
}

TEST(LoadedBackend, ForwardsToTheBackendOfTheLibrary) {
    std::string reason;
    const auto backend = usb::LoadBackend(TestBusPath(), "one", reason);
    ASSERT_NE(backend, nullptr) << reason;
    EXPECT_STREQ(backend->Name(), "test");
    std::vector<usb::DeviceEntry> devices;
    EXPECT_EQ(backend->Enumerate(devices), usb::Result::Ok);
    ASSERT_EQ(devices.size(), 1u);
    EXPECT_EQ(devices[0].id, "one");
    std::unique_ptr<usb::Handle> handle;
    EXPECT_EQ(backend->Open("one", handle), usb::Result::Access);
    EXPECT_EQ(backend->RegisterHotplug({}), 7u);
    EXPECT_EQ(backend->TransferMemoryLimit(), 4711u);
}

TEST(LoadedBackend, SaysWhichLibraryCannotBeLoaded) {
    std::string reason;
    EXPECT_EQ(usb::LoadBackend("/nowhere/bus.so", "", reason), nullptr);
    EXPECT_THAT(reason, HasSubstr("/nowhere/bus.so"));
}

TEST(LoadedBackend, SaysThatALibraryIsNoBus) {
    std::string reason;
    EXPECT_EQ(usb::LoadBackend("libc.so.6", "", reason), nullptr);
    EXPECT_THAT(reason, HasSubstr("does not export UsbCreateBackend"));
}

TEST(LoadedBackend, SaysThatTheSettingsWereRefused) {
    std::string reason;
    EXPECT_EQ(usb::LoadBackend(TestBusPath(), "refuse", reason), nullptr);
    EXPECT_THAT(reason, HasSubstr("does not understand its settings: it was told to refuse"));
}

} // namespace
