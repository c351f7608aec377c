// Attaching to a kernel, with a folder in the kernel's place.

#include <gtest/gtest.h>

#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "virtualcam/usbip/Vhci.h"

namespace virtualcam::usbip {
namespace {

constexpr const char* kStatus = "hub port sta spd dev      sockfd local_busid\n"
                                "hs  0000 004 000 00000000 000000 0-0\n"
                                "hs  0001 006 003 00010002 000003 1-1\n"
                                "ss  0008 006 005 00010003 000004 2-1\n"
                                "ss  0009 004 000 00000000 000000 0-0\n"
                                "ss  0010 004 000 00000000 000000 0-0\n";

TEST(VhciStatus, NamesTheFirstFreePortOfTheRightHub) {
    EXPECT_EQ(FindFreePort(kStatus, 5), 9);
    EXPECT_EQ(FindFreePort(kStatus, 3), 0);
}

TEST(VhciStatus, NamesNoPortWhereNoneIsFree) {
    EXPECT_EQ(FindFreePort("", 5), -1);
    EXPECT_EQ(FindFreePort("hub port sta spd dev      sockfd local_busid\n"
                           "ss  0008 006 005 00010003 000004 2-1\n",
                           5),
              -1);
    EXPECT_EQ(FindFreePort("ss  abcd 004\nss\n\n", 5), -1);
}

class VhciFolder : public testing::Test {
protected:
    VhciFolder() {
        std::string pattern = testing::TempDir() + "vhci_XXXXXX";
        folder = mkdtemp(pattern.data());
    }
    ~VhciFolder() override { std::filesystem::remove_all(folder); }
    void Write(const char* name, const char* text) { std::ofstream(folder + "/" + name) << text; }
    std::string Read(const char* name) {
        std::ifstream file(folder + "/" + name);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::string folder;
    RemoteCameras cameras = MakeRemoteCameras({{NumberedCamera(0)}, 0});
};

std::string ProblemOf(RemoteCameras& cameras, const std::string& folder) {
    try {
        const Vhci vhci(
            cameras, [](const std::string&) {}, folder);
    } catch (const std::runtime_error& problem) {
        return problem.what();
    }
    return "none";
}

TEST_F(VhciFolder, TellsHowToLoadAMissingModule) {
    EXPECT_EQ(ProblemOf(cameras, folder + "/nothing"),
              "the kernel has no virtual USB host controller; load it with: sudo modprobe vhci-hcd");
}

TEST_F(VhciFolder, TellsThatRootIsNeeded) {
    Write("status", kStatus); // and no file to write to
    EXPECT_EQ(ProblemOf(cameras, folder), "attaching cameras to this computer's kernel is root's business; run this "
                                          "with sudo");
}

TEST_F(VhciFolder, WritesPortSocketDeviceAndSpeedAndTellsOfIt) {
    Write("status", kStatus);
    Write("attach", "");
    std::mutex lock;
    std::condition_variable changed;
    std::vector<std::string> notes;
    {
        const Vhci vhci(
            cameras,
            [&](const std::string& line) {
                const std::lock_guard<std::mutex> guard(lock);
                notes.push_back(line);
                changed.notify_all();
            },
            folder);
        // A folder keeps no share of the socket, so that the session ends as soon as it has begun.
        std::unique_lock<std::mutex> guard(lock);
        ASSERT_TRUE(changed.wait_for(guard, std::chrono::seconds(5), [&notes] { return notes.size() == 2; }));
    }
    EXPECT_EQ(notes[0], "camera 1-1 (serial number 40000001) was attached to port 9");
    EXPECT_EQ(notes[1], "camera 1-1 (serial number 40000001) was detached");
    int port = 0, socket = 0, device = 0, speed = 0;
    EXPECT_EQ(std::sscanf(Read("attach").c_str(), "%d %d %d %d", &port, &socket, &device, &speed), 4);
    EXPECT_EQ(port, 9);
    EXPECT_GT(socket, 2);
    EXPECT_EQ(device, 0x00010002);
    EXPECT_EQ(speed, 5);
}

TEST_F(VhciFolder, TellsThatNoPortIsFree) {
    Write("status", "hub port sta spd dev      sockfd local_busid\n");
    Write("attach", "");
    std::mutex lock;
    std::condition_variable changed;
    std::string note;
    const Vhci vhci(
        cameras,
        [&](const std::string& line) {
            const std::lock_guard<std::mutex> guard(lock);
            note = line;
            changed.notify_all();
        },
        folder);
    std::unique_lock<std::mutex> guard(lock);
    ASSERT_TRUE(changed.wait_for(guard, std::chrono::seconds(5), [&note] { return !note.empty(); }));
    EXPECT_EQ(note, "camera 1-1 cannot be attached: no port of the virtual host controller is free");
}

} // namespace
} // namespace virtualcam::usbip
