// Files that are there whole or not at all.

#include "core/NewFile.h"

#include "tools/support/TestFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace tooltest;

constexpr const char* kText = "whole";

void WriteWhole(const std::string& path) {
    Tavix::NewFile file(path, "choose another");
    file.Write(kText, 5);
    file.Close();
}

TEST(NewFile, IsNotThereBeforeAllOfItIs) {
    const TestFolder folder;
    folder.Write("x", "old");
    Tavix::NewFile file(folder.Path("x"), "choose another");
    file.Write(kText, 5);
    std::fflush(file.Get());
    EXPECT_EQ(folder.Read("x"), "old");
    file.Close();
    EXPECT_EQ(folder.Read("x"), kText);
    EXPECT_FALSE(std::filesystem::exists(folder.Path("x.part")));
}

TEST(NewFile, LeavesWhatWasThereWhenItIsGivenUp) {
    const TestFolder folder;
    folder.Write("x", "old");
    { Tavix::NewFile(folder.Path("x"), "choose another").Write(kText, 5); }
    EXPECT_EQ(folder.Read("x"), "old");
    EXPECT_FALSE(std::filesystem::exists(folder.Path("x.part")));
}

// As a service manager starts it: the first file that is opened then is number 0.
TEST(NewFile, IsWrittenByAProgramWithoutStandardInput) {
    const TestFolder folder;
    const int kept = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3);
    close(STDIN_FILENO);
    EXPECT_NO_THROW(WriteWhole(folder.Path("x")));
    if (kept >= 0) {
        dup2(kept, STDIN_FILENO);
        close(kept);
    }
    EXPECT_EQ(folder.Read("x"), kText);
}

TEST(NewFile, LeavesALinkAndWritesWhatItLeadsTo) {
    const TestFolder folder;
    folder.Write("x", "old");
    std::filesystem::create_symlink("x", folder.Path("link"));
    WriteWhole(folder.Path("link"));
    EXPECT_TRUE(std::filesystem::is_symlink(folder.Path("link")));
    EXPECT_EQ(folder.Read("x"), kText);
}

TEST(NewFile, WritesToAPipeInsteadOfReplacingIt) {
    const TestFolder folder;
    const std::string path = folder.Path("pipe");
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    WriteWhole(path);
    char got[8] = {};
    EXPECT_EQ(read(reader, got, sizeof got), 5);
    close(reader);
    EXPECT_TRUE(std::filesystem::is_fifo(path));
}

TEST(NewFile, SaysWhatCannotBeWrittenAndWhy) {
    const TestFolder folder;
    try {
        WriteWhole(folder.Path());
        FAIL() << "a folder was written to";
    } catch (const std::runtime_error& e) {
        EXPECT_EQ(std::string(e.what()), "cannot write " + folder.Path() + ": Is a directory; choose another");
    }
}

} // namespace
