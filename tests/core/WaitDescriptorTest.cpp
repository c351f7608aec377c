// What those see who poll the descriptor of a wait object.

#include "core/WaitObject.h"

#include <cstdint>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>

#include <gtest/gtest.h>

using namespace Tavix;

namespace {

bool IsReadable(int fd) {
    pollfd descriptor{fd, POLLIN, 0};
    return poll(&descriptor, 1, 0) == 1;
}

/// Reads and writes of the calling thread, as the kernel counts them; those that fail as well.
std::uint64_t CountTransfers() {
    std::ifstream io("/proc/thread-self/io");
    std::uint64_t sum = 0;
    for (std::string name; io >> name;) {
        std::uint64_t count = 0;
        io >> count;
        if (name == "syscr:" || name == "syscw:") sum += count;
    }
    return sum;
}

/// What a hundred rounds of these calls read and write, apart from counting it.
std::uint64_t TransfersIn(const std::function<void()>& calls) {
    const auto countIn = [](const std::function<void()>& each) {
        const std::uint64_t before = CountTransfers();
        for (int i = 0; i < 100; ++i)
            each();
        return CountTransfers() - before;
    };
    return countIn(calls) - countIn([] {});
}

} // namespace

TEST(WaitObjectDescriptor, KeepsItsDescriptorAliveThroughAShare) {
    auto object = std::make_unique<WaitObjectEx>(WaitObjectEx::Create());
    std::shared_ptr<_WaitObjectPosix_t> share = ShareWaitObject(object->GetHandle());
    const int fd = object->GetFd();
    object.reset();
    SignalWaitObject(*share);
    EXPECT_TRUE(IsReadable(fd));
    share.reset();
    EXPECT_EQ(fcntl(fd, F_GETFD), -1) << "the last share closes the descriptor";
}

TEST(WaitObjectDescriptor, IsReadableWhileSignalled) {
    const WaitObjectEx object = WaitObjectEx::Create();
    EXPECT_FALSE(IsReadable(object.GetFd()));
    object.Signal();
    EXPECT_TRUE(IsReadable(object.GetFd()));
    EXPECT_TRUE(object.Wait(0));
    EXPECT_FALSE(IsReadable(object.GetFd()));
}

TEST(WaitObjectDescriptor, CallsTheSystemOnlyForAChangeThatSomebodyPolls) {
    if (!std::ifstream("/proc/thread-self/io")) GTEST_SKIP() << "the kernel counts no calls";
    const WaitObjectEx object = WaitObjectEx::Create();
    const auto signalAndWait = [&] {
        object.Signal();
        EXPECT_TRUE(object.Wait(0));
    };
    EXPECT_EQ(TransfersIn(signalAndWait), 0U) << "nobody has asked for the descriptor";
    EXPECT_FALSE(IsReadable(object.GetFd()));
    EXPECT_EQ(TransfersIn(signalAndWait), 200U);
    EXPECT_EQ(TransfersIn([&] { EXPECT_FALSE(object.Wait(0)); }), 0U);
    EXPECT_EQ(TransfersIn([&] { object.Lower(); }), 0U);
    EXPECT_EQ(TransfersIn([&] { object.Signal(); }), 1U);
    EXPECT_EQ(TransfersIn([&] { object.Raise(); }), 0U);
    EXPECT_EQ(TransfersIn([&] { EXPECT_TRUE(object.Wait(0)); }), 0U);
    EXPECT_EQ(TransfersIn([&] { object.Lower(); }), 1U);
}

TEST(WaitObjectDescriptor, ShowsWhatItHoldsToWhoAsksForItsDescriptorLate) {
    const WaitObjectEx signalled = WaitObjectEx::Create();
    signalled.Signal();
    EXPECT_TRUE(IsReadable(signalled.GetFd()));
    EXPECT_TRUE(signalled.Wait(0));
    EXPECT_FALSE(IsReadable(signalled.GetFd()));
    const WaitObjectEx raised = WaitObjectEx::Create();
    raised.Raise();
    EXPECT_TRUE(IsReadable(raised.GetFd()));
    raised.Lower();
    EXPECT_FALSE(IsReadable(raised.GetFd()));
}

TEST(WaitObjectDescriptor, IsHeldAtOnceWhenItIsRaisedQuietly) {
    const WaitObjectEx object = WaitObjectEx::Create();
    EXPECT_FALSE(IsReadable(object.GetFd()));
    EXPECT_TRUE(RaiseWaitObjectQuietly(*object.GetHandle()));
    EXPECT_TRUE(IsReadable(object.GetFd()));
    EXPECT_TRUE(object.Wait(0));
    EXPECT_FALSE(RaiseWaitObjectQuietly(*object.GetHandle())) << "nobody sleeps before what is raised already";
    object.Lower();
    object.Signal();
    EXPECT_FALSE(RaiseWaitObjectQuietly(*object.GetHandle())) << "the pulse has woken them";
}

TEST(WaitObjectDescriptor, IsReadableAsLongAsTheLevelIsUp) {
    for (const bool manualReset : {false, true}) {
        const WaitObjectEx object = WaitObjectEx::Create(manualReset);
        object.Raise();
        for (int i = 0; i < 3; ++i) {
            EXPECT_TRUE(object.Wait(0));
            EXPECT_TRUE(IsReadable(object.GetFd()));
        }
        object.Lower();
        EXPECT_FALSE(IsReadable(object.GetFd()));
    }
}

TEST(WaitObjectDescriptor, ClosesItsDescriptorOnExec) {
    const WaitObjectEx object = WaitObjectEx::Create();
    EXPECT_NE(fcntl(object.GetFd(), F_GETFD) & FD_CLOEXEC, 0);
}

TEST(WaitObjectDescriptor, ThrowsWhenTheSystemHasNoDescriptorLeft) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizers need descriptors themselves when an exception is thrown";
#endif
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit none = before;
    none.rlim_cur = 0;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    EXPECT_THROW(static_cast<void>(WaitObjectEx::Create()), std::system_error);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
}
