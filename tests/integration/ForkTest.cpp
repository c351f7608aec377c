// Programs that fork while they use cameras, as those that start workers do.
#include "GoodFrames.h"
#include "VirtualBus.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace integration;

/// Whether a child that does nothing but end does so, by no signal. Its status does not matter: a leak checker misses
/// in it what only the stacks of its parent's threads knew.
bool ChildEnds() {
    const pid_t child = fork();
    if (child == 0) std::exit(EXIT_SUCCESS);
    int status = 0;
    return child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status);
}

TEST(ForkedChild, EndsAndLeavesTheCameraToItsParent) {
    VirtualBus bus(R"([{"frameRateEnable": false}])");
    auto camera = bus.Open();
    EXPECT_TRUE(ChildEnds());
    {
        GrabRun run(*camera);
        run.Start();
        (void)run.Next(3);
        EXPECT_TRUE(ChildEnds()) << "while it streams";
        for (const Frame& frame : run.Next(5))
            EXPECT_TRUE(frame.result.Succeeded());
    }
    ExpectGoodFrames(*camera);
}

} // namespace
