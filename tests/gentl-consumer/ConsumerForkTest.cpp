// The producer in children that a process has forked.
#include "gentl-consumer/support/Calls.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace consumer;

bool StreamsInFork(Session& session, int frames) {
    for (int i = 0; i < frames; ++i) {
        const BUFFER_HANDLE buffer = session.Next();
        if (!buffer || session->DSQueueBuffer(session.Stream(), buffer) != GC_ERR_SUCCESS) return false;
    }
    return true;
}

void BeginInFork(Session& session) {
    session.Announce(3);
    session.QueueAll();
    session.Start();
}

/// As programs end, apart from one that looks for leaks: to it all is lost that threads of the parent were at work
/// with, and it waits for them.
[[noreturn]] void EndChild(int status) {
#if defined(__SANITIZE_ADDRESS__)
    _exit(status);
#else
    std::exit(status);
#endif
}

/// What the child returned; -1 when it had to be ended.
template<class Child>
int Fork(Child&& inChild) {
    const pid_t child = fork();
    if (child == 0) {
        alarm(30); // ends a child that hangs
        EndChild(inChild());
    }
    int status = 0;
    if (child == -1 || waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
    return WEXITSTATUS(status);
}

std::string LastTextInFork(Session& session) {
    GC_ERROR code = 0;
    return AskText([&](char* text, std::size_t* size) { return session->GCGetLastError(&code, text, size); }).Text();
}

TEST(ForkedChild, TakesNothingAwayFromItsParent) {
    Session session;
    BeginInFork(session);
    ASSERT_TRUE(StreamsInFork(session, 3));
    const int result = Fork([&] {
        std::uint32_t value = 0;
        std::size_t size = sizeof value;
        (void)session->GCReadPort(session.Remote(), kWidth, &value, &size);
        (void)session->DSFlushQueue(session.Stream(), ACQ_QUEUE_ALL_TO_INPUT);
        (void)session->DSStopAcquisition(session.Stream(), ACQ_STOP_DEFAULT);
        (void)session->DevClose(session.Device());
        (void)session->GCCloseLib();
        return 0;
    });
    EXPECT_EQ(result, 0);
    EXPECT_TRUE(StreamsInFork(session, 20)) << "the child has taken the parent's stream away";
}

TEST(ForkedChild, OfAProcessAtWorkIsToldWhatToDo) {
    Session session;
    BeginInFork(session);
    EXPECT_EQ(Fork([&] {
                  if (session->GCInitLib() != GC_ERR_RESOURCE_IN_USE) return 1;
                  if (LastTextInFork(session).find("started anew") == std::string::npos) return 2;
                  TL_HANDLE system = nullptr;
                  if (session->TLOpen(&system) != GC_ERR_NOT_INITIALIZED) return 3;
                  return LastTextInFork(session).find("started anew") == std::string::npos ? 4 : 0;
              }),
              0);
    EXPECT_TRUE(StreamsInFork(session, 3));
}

/// Forked at any moment of what other threads are doing.
TEST(ForkedChild, OfAProcessAtWorkNeverHangs) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the locks of the sanitizers' own memory may be held in a child by threads that it does not have";
#endif
    Session session;
    BeginInFork(session);
    const TL_HANDLE system = session.System();
    const PORT_HANDLE port = session.Remote();
    std::atomic<bool> isOver{false};
    std::thread reader([&] {
        for (std::size_t size = 4; !isOver; size = 4) {
            std::uint32_t value = 0;
            (void)session->GCReadPort(port, kWidth, &value, &size);
        }
    });
    std::thread lister([&] {
        while (!isOver)
            (void)session->TLUpdateInterfaceList(system, nullptr, 0);
    });
    for (int round = 0; round < 20 && !HasFailure(); ++round) {
        EXPECT_EQ(Fork([&] {
                      const Things things;
                      for (const Call& call : AllCalls())
                          if (call.run(session.Lib(), system, things) != GC_ERR_NOT_INITIALIZED) return 1;
                      return session->GCCloseLib() == GC_ERR_NOT_INITIALIZED ? 0 : 2;
                  }),
                  0);
        EXPECT_TRUE(StreamsInFork(session, 1));
    }
    isOver = true;
    reader.join();
    lister.join();
}

TEST(ForkedChild, OfAProcessThatHasEndedItsUseHasTheLibraryToItself) {
#if defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizer lets no child have threads";
#endif
    {
        Session session;
        BeginInFork(session);
        ASSERT_TRUE(StreamsInFork(session, 3));
    }
    const std::string cameras = Session::SmallCamera();
    EXPECT_EQ(Fork([&] {
                  Session session(cameras);
                  BeginInFork(session);
                  return StreamsInFork(session, 3) ? 0 : 1;
              }),
              0);
    Session session(cameras);
    BeginInFork(session);
    EXPECT_TRUE(StreamsInFork(session, 3));
}

} // namespace
