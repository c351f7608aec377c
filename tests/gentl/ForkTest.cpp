// A child that is forked while another thread opens or closes something.

#include "gentl/GenTL.h"
#include "gentl/TreeMutex.h"

#include <gtest/gtest.h>

#include <future>

#include <sys/wait.h>
#include <unistd.h>

namespace {

/// What the child returns, which is forked while another thread holds the lock of the tree; -1 when it had to be ended.
template<class Child>
int ForkWhileTheTreeIsLocked(Child&& inChild) {
    std::promise<void> isLocked, isForked;
    auto holder = std::async(std::launch::async, [&] {
        const Tavix::MutexLock guard(gentl::TreeMutex());
        isLocked.set_value();
        isForked.get_future().wait();
    });
    isLocked.get_future().wait();
    const pid_t child = fork();
    if (child == 0) {
        alarm(60); // ends a child that hangs
        _exit(inChild());
    }
    isForked.set_value();
    holder.get();
    int status = 0;
    if (child == -1 || waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
    return WEXITSTATUS(status);
}

TEST(GenTLFork, OfAProcessThatUsesTheLibraryLeavesItToTheParent) {
    ASSERT_EQ(GCInitLib(), GC_ERR_SUCCESS);
    EXPECT_EQ(ForkWhileTheTreeIsLocked([] { return GCCloseLib() == GC_ERR_NOT_INITIALIZED ? 0 : 1; }), 0);
    EXPECT_EQ(ForkWhileTheTreeIsLocked([] { return GCInitLib() == GC_ERR_RESOURCE_IN_USE ? 0 : 1; }), 0);
    EXPECT_EQ(GCCloseLib(), GC_ERR_SUCCESS);
}

TEST(GenTLFork, WhileTheLibraryBeginsOrEndsLeavesItToTheParent) {
    ASSERT_EQ(GCInitLib(), GC_ERR_SUCCESS);
    ASSERT_EQ(GCCloseLib(), GC_ERR_SUCCESS);
    EXPECT_EQ(ForkWhileTheTreeIsLocked([] { return GCInitLib() == GC_ERR_RESOURCE_IN_USE ? 0 : 1; }), 0);
}

} // namespace
