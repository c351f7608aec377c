#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <sys/wait.h>

namespace {

struct Output {
    std::string text;
    int exitCode = -1;
};

/// Runs the listing program with the preloaded library and the given cameras.
Output ListWith(const std::string& cameras) {
    const char* folder = std::getenv("TAVIX_TEST_FOLDER");
    if (folder == nullptr) return {"TAVIX_TEST_FOLDER is not set", -1};
    const std::string base = folder;
    // A preloaded library with the address sanitizer comes before its runtime; that does no harm here.
    const std::string command = "ASAN_OPTIONS=verify_asan_link_order=0 LD_PRELOAD=" + base +
                                "/lib/libusbfscameras.so TAVIX_USBFS_CAMERAS=" + cameras + " " + base +
                                "/bin/usb_list_devices 2>&1";
    Output output;
    std::FILE* pipe = ::popen(command.c_str(), "r");
    if (pipe == nullptr) return output;
    std::array<char, 512> part{};
    while (std::fgets(part.data(), static_cast<int>(part.size()), pipe) != nullptr)
        output.text += part.data();
    const int status = ::pclose(pipe);
    output.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return output;
}

TEST(Preload, GivesAnUnmodifiedProgramItsCameras) {
    const Output output = ListWith("2");
    EXPECT_EQ(output.text, "2-1 4 Vandrel\n2-2 4 Vandrel\n");
    EXPECT_EQ(output.exitCode, 0);
}

TEST(Preload, GivesNoCamerasUnlessAsked) {
    const Output output = ListWith("0");
    EXPECT_EQ(output.text, "");
    EXPECT_EQ(output.exitCode, 0);
}

TEST(Preload, SaysThatItsSettingsAreWrong) {
    const Output output = ListWith("/nowhere/cameras.json");
    EXPECT_NE(output.text.find("TAVIX_USBFS_CAMERAS=/nowhere/cameras.json: "), std::string::npos) << output.text;
    EXPECT_EQ(output.exitCode, 1);
}

} // namespace
