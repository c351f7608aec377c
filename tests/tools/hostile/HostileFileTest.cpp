// Files of any kind where a command reads or writes one: it ends, with a line, and harms nothing.

#include "tests/tools/support/TestFolder.h"
#include "tests/tools/support/ToolRun.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <random>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

using namespace tooltest;

/// 1 in the ordinary run; TAVIX_ATTACKS asks for more.
unsigned int Rounds() {
    const char* wanted = std::getenv("TAVIX_ATTACKS");
    return wanted ? static_cast<unsigned int>(std::strtoul(wanted, nullptr, 10)) : 1;
}

/// One of each kind of file.
class HostileFile : public testing::Test {
protected:
    HostileFile() {
        mkfifo(folder.Path("pipe").c_str(), 0600);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, folder.Path("socket").c_str(), sizeof address.sun_path - 1);
        m_Socket = socket(AF_UNIX, SOCK_STREAM, 0);
        (void)!bind(m_Socket, reinterpret_cast<const sockaddr*>(&address), sizeof address);
        std::filesystem::create_directory(folder.Path("folder"));
        std::filesystem::create_symlink("loop", folder.Path("loop"));
        folder.Write("huge", "");
        (void)!truncate(folder.Path("huge").c_str(), off_t{1} << 36);
    }
    ~HostileFile() override { close(m_Socket); }

    std::vector<std::string> NotPlain() const {
        return {folder.Path("pipe"), folder.Path("socket"), folder.Path("folder"), folder.Path("loop"),
                "/dev/zero",         "/dev/null",           "/dev/full",           folder.Path("none/at/all")};
    }

    const TestFolder folder;

private:
    int m_Socket = -1;
};

void ExpectALine(const Arguments& arguments) {
    const Outcome outcome = RunTool(arguments);
    EXPECT_EQ(outcome.status, 1) << arguments.back();
    ASSERT_EQ(Lines(outcome.err).size(), 1u) << arguments.back() << ": " << outcome.err;
    EXPECT_EQ(outcome.err.rfind("tavix: ", 0), 0u) << outcome.err;
    EXPECT_LT(outcome.peakKilobytes, 400000) << arguments.back();
}

TEST_F(HostileFile, IsNotRead) {
    std::vector<std::string> files = NotPlain();
    files.push_back(folder.Path("huge"));
    for (const std::string& file : files) {
        ExpectALine({"load", file});
        ExpectALine({"xml", file});
        ExpectALine({"xml", "--lint", file});
    }
}

TEST_F(HostileFile, GetsNoTrace) {
    for (const std::string& file : NotPlain())
        ExpectALine({"--virtual", "1", "grab", "-n", "1", "--trace", file});
}

TEST_F(HostileFile, GetsNoSettingsUnlessItTakesThem) {
    for (const std::string& file :
         {folder.Path("pipe"), folder.Path("socket"), folder.Path("folder"), std::string("/dev/full")})
        ExpectALine({"--virtual", "1", "save", file});
    EXPECT_EQ(RunTool({"--virtual", "1", "save", "/dev/null"}).status, 0);
}

TEST_F(HostileFile, HoldsUpNoFakedSystem) {
    std::filesystem::create_directories(folder.Path("root/etc/udev/rules.d"));
    std::filesystem::create_directories(folder.Path("root/proc/self"));
    mkfifo(folder.Path("root/etc/udev/rules.d/1.rules").c_str(), 0600);
    mkfifo(folder.Path("root/proc/self/limits").c_str(), 0600);
    std::filesystem::create_symlink("/dev/zero", folder.Path("root/proc/self/status"));
    EXPECT_EQ(RunTool({"doctor", "--root", folder.Path("root")}).status, 3);
}

TEST_F(HostileFile, UnderTheNameOfAnImageIsLeftAlone) {
    const std::string images = folder.Path("images"), first = images + "/VC-1300_40000001_000000.png";
    std::filesystem::create_directory(images);
    folder.Write("victim", "whole");
    for (const char* kind : {"pipe", "folder", "link"}) {
        if (std::strcmp(kind, "pipe") == 0) mkfifo(first.c_str(), 0600);
        if (std::strcmp(kind, "folder") == 0) std::filesystem::create_directory(first);
        if (std::strcmp(kind, "link") == 0) std::filesystem::create_symlink(folder.Path("victim"), first);
        const Outcome outcome = RunTool({"--virtual", "1", "grab", "-n", "1", "-q", "-o", images});
        EXPECT_EQ(outcome.status, 0) << kind << outcome.err;
        EXPECT_TRUE(std::filesystem::exists(images + "/VC-1300_40000001_000000-2.png")) << kind;
        EXPECT_EQ(folder.Read("victim"), "whole");
        for (const auto& entry : std::filesystem::directory_iterator(images))
            std::filesystem::remove_all(entry.path());
    }
}

/// Settings and descriptions in which bytes are not what they were.
TEST_F(HostileFile, ThatIsDamagedEndsNoProgram) {
    ASSERT_EQ(RunTool({"--virtual", "1", "save", folder.Path("good.txt")}).status, 0);
    const std::string settings = folder.Read("good.txt");
    std::ifstream file(TAVIX_VIRTUAL_CAMERA_XML);
    const std::string xml{std::istreambuf_iterator<char>(file), {}};
    std::mt19937 random(10);
    for (unsigned int round = 0; round < 4 * Rounds(); ++round) {
        for (std::string text : {settings, xml}) {
            for (int i = 0; i < 20; ++i)
                text[random() % text.size()] = static_cast<char>(random());
            if (round % 2 == 1) text.resize(random() % text.size());
            const std::string path = folder.Write("bad", text);
            for (const Arguments& arguments :
                 std::vector<Arguments>{{"--virtual", "1", "load", path}, {"xml", path}, {"xml", "--lint", path}}) {
                const Outcome outcome = RunTool(arguments);
                EXPECT_LE(outcome.status, 3) << "round " << round;
                EXPECT_LE(Lines(outcome.err).size(), 1u) << outcome.err;
            }
        }
    }
}

} // namespace
