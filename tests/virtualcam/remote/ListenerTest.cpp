// Sockets that wait for connections.

#include "virtualcam/remote/Listener.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include <sys/stat.h>
#include <unistd.h>

namespace virtualcam {
namespace {

struct UnixListener : testing::Test {
    const std::string path = testing::TempDir() + "tavix-listener-" + std::to_string(getpid());
    ~UnixListener() override { unlink(path.c_str()); }
};

TEST_F(UnixListener, DoesNotTakeTheSocketOfALiveServer) {
    const Descriptor first = Listener::OpenUnix(path);
    try {
        Listener::OpenUnix(path);
        FAIL() << "two servers on one socket";
    } catch (const std::runtime_error& problem) {
        EXPECT_EQ(std::string(problem.what()), "cannot listen on " + path + ": another server listens there");
    }
    struct stat present {};
    EXPECT_EQ(lstat(path.c_str(), &present), 0);
}

TEST_F(UnixListener, ReplacesTheSocketThatADeadServerLeft) {
    Listener::OpenUnix(path).Close();
    EXPECT_GE(Listener::OpenUnix(path).Get(), 0);
}

TEST_F(UnixListener, ReplacesNothingElse) {
    fclose(fopen(path.c_str(), "w"));
    EXPECT_THROW(Listener::OpenUnix(path), std::runtime_error);
    struct stat present {};
    ASSERT_EQ(lstat(path.c_str(), &present), 0);
    EXPECT_TRUE(S_ISREG(present.st_mode));
}

} // namespace
} // namespace virtualcam
