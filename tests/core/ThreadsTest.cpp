// Whose signals the threads of the libraries take, and how they are scheduled.

#include "core/Threads.h"
#include "support/Shortage.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <utility>

#include <pthread.h>
#include <sched.h>

namespace {

bool IsBlocked(int signal) {
    sigset_t blocked;
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    return sigismember(&blocked, signal) == 1;
}

/// Policy and priority of the calling thread.
std::pair<int, int> OwnScheduling() {
    int policy = -1;
    sched_param parameters{};
    pthread_getschedparam(pthread_self(), &policy, &parameters);
    return {policy, parameters.sched_priority};
}

TEST(Threads, OfTheLibrariesTakeNoSignalsButTheirOwnFaults) {
    bool takesNone = false, takesFaults = false;
    Tavix::StartThread([&] {
        takesNone = IsBlocked(SIGUSR1) && IsBlocked(SIGINT) && IsBlocked(SIGCHLD) && IsBlocked(SIGPROF);
        takesFaults = !IsBlocked(SIGSEGV) && !IsBlocked(SIGBUS);
    }).join();
    EXPECT_TRUE(takesNone);
    EXPECT_TRUE(takesFaults);
    EXPECT_FALSE(IsBlocked(SIGUSR1)) << "who starts them goes on taking signals";
}

TEST(Threads, GiveTheApplicationTheSignalsThatItHad) {
    sigset_t hangups;
    sigemptyset(&hangups);
    sigaddset(&hangups, SIGHUP);
    pthread_sigmask(SIG_BLOCK, &hangups, nullptr);
    bool isAsItWas = false, isBlockedAgain = false;
    Tavix::StartThread([&] {
        {
            const Tavix::SignalsAsStarted guard;
            isAsItWas = !IsBlocked(SIGUSR1) && IsBlocked(SIGHUP);
        }
        isBlockedAgain = IsBlocked(SIGUSR1);
    }).join();
    pthread_sigmask(SIG_UNBLOCK, &hangups, nullptr);
    EXPECT_TRUE(isAsItWas);
    EXPECT_TRUE(isBlockedAgain);
}

TEST(Threads, OfTheApplicationKeepTheirSignals) {
    bool isBlocked = true;
    std::thread([&] {
        const Tavix::SignalsAsStarted guard;
        isBlocked = IsBlocked(SIGUSR1);
    }).join();
    EXPECT_FALSE(isBlocked);
}

// Who may have a real-time priority is not ours to say here: a refusal leaves the thread as it was.
TEST(Threads, TakeTheirPriorityByThePolicyThatIsNamed) {
    for (const int policy : {SCHED_FIFO, SCHED_RR}) {
        std::thread([policy] {
            const int error = Tavix::SetThreadPriority(pthread_self(), policy, 1);
            EXPECT_TRUE(error == 0 || error == EPERM) << error;
            EXPECT_EQ(OwnScheduling(), error == 0 ? std::make_pair(policy, 1) : std::make_pair(SCHED_OTHER, 0));
            EXPECT_EQ(Tavix::SetThreadPriority(pthread_self(), policy, 0), 0);
            EXPECT_EQ(OwnScheduling(), std::make_pair(SCHED_OTHER, 0));
        }).join();
    }
}

TEST(Threads, StayAsTheyAreWhenThereIsNoSuchPriority) {
    EXPECT_EQ(Tavix::SetThreadPriority(pthread_self(), SCHED_FIFO, 1000), EINVAL);
    EXPECT_EQ(OwnScheduling(), std::make_pair(SCHED_OTHER, 0));
}

TEST(Threads, ThatCannotBeStartedSayWhatToDo) {
    const shortage::ThreadShortage none;
    for (const auto start : {+[] { Tavix::NewThread([] {}).join(); }, +[] { Tavix::StartThread([] {}).join(); }}) {
        try {
            start();
            ADD_FAILURE() << "there was one";
        } catch (const std::system_error& error) {
            EXPECT_NE(std::string(error.what()).find("raise the limit (ulimit -u)"), std::string::npos) << error.what();
            EXPECT_EQ(error.code(), std::errc::resource_unavailable_try_again);
        }
    }
}

} // namespace
