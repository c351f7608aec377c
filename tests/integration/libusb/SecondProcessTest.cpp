// Two processes and one camera, below the real libusb of each.
#include "integration/support/VirtualBus.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace {

using namespace integration;

/// What the program says that opens the first camera, in a process of its own with the same bus.
std::string OpenElsewhere() {
    // A preloaded library with the address sanitizer comes before its runtime; that does no harm here.
    const char* const command = "ASAN_OPTIONS=verify_asan_link_order=0 LD_PRELOAD=" TAVIX_USBFS_PRELOAD
                                " TAVIX_USBFS_CAMERAS=1 " TAVIX_OPEN_CAMERA " 2>&1";
    std::FILE* const pipe = ::popen(command, "r");
    if (pipe == nullptr) return "cannot be run";
    std::string text;
    std::array<char, 256> part{};
    while (std::fgets(part.data(), static_cast<int>(part.size()), pipe) != nullptr)
        text += part.data();
    ::pclose(pipe);
    return text;
}

/// Claims are shared with other processes, as the kernel does.
class SharedClaims {
public:
    SharedClaims() {
        std::string name = testing::TempDir() + "claims-XXXXXX";
        m_Folder = ::mkdtemp(name.data());
        ::setenv("TAVIX_USBFS_CLAIMS", m_Folder.c_str(), /*overwrite=*/1);
    }
    ~SharedClaims() {
        ::unsetenv("TAVIX_USBFS_CLAIMS");
        std::filesystem::remove_all(m_Folder);
    }
    SharedClaims(const SharedClaims&) = delete;
    SharedClaims& operator=(const SharedClaims&) = delete;

private:
    std::string m_Folder;
};

TEST(SecondProcess, CannotOpenACameraThatThisOneHasOpen) {
    const SharedClaims claims;
    VirtualBus bus(R"([{"serial": "7"}])");
    const std::string opened = "0x00000000 The operation completed successfully.";
    EXPECT_EQ(OpenElsewhere(), opened);
    auto camera = bus.Open();
    EXPECT_EQ(OpenElsewhere(), "0xE201013F The camera is in use by another program.");
    EXPECT_GT(Integer(camera->GetNodeMap(), "Width"), 0) << "the first one does not notice";
    camera->Close();
    EXPECT_EQ(OpenElsewhere(), opened);
}

} // namespace
