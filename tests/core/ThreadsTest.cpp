// Whose signals the threads of the libraries take.

#include "core/Threads.h"

#include <gtest/gtest.h>

namespace {

bool IsBlocked(int signal) {
    sigset_t blocked;
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    return sigismember(&blocked, signal) == 1;
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

} // namespace
