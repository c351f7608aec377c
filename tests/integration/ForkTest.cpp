// Programs that fork while they use cameras, as those that start workers do.
#include "integration/support/GoodFrames.h"
#include "integration/support/VirtualBus.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace integration;

/// The exit status of a child that does nothing but end; -1 when it does not end well.
int StatusOfChild() {
    const pid_t child = fork();
    if (child == 0) std::exit(3);
    int status = 0;
    const bool ended = child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status);
    return ended ? WEXITSTATUS(status) : -1;
}

TEST(ForkedChild, EndsAndLeavesTheCameraToItsParent) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the locks of the sanitizers' own memory may be held in a child by threads that it does not have";
#endif
    VirtualBus bus(R"([{"frameRateEnable": false}])");
    auto camera = bus.Open();
    EXPECT_EQ(StatusOfChild(), 3);
    {
        GrabRun run(*camera);
        run.Start();
        (void)run.Next(3);
        EXPECT_EQ(StatusOfChild(), 3) << "while it streams";
        for (const Frame& frame : run.Next(5))
            EXPECT_TRUE(frame.result.Succeeded());
    }
    ExpectGoodFrames(*camera);
}

} // namespace
