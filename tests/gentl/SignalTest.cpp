// A consumer's signals are for its own threads.

#include "gentl/support/StreamSession.h"

#include <filesystem>
#include <fstream>

#include <signal.h>
#include <unistd.h>

namespace {

/// The signals that a thread of the process blocks; all where it has just ended.
unsigned long long BlockedBy(const std::filesystem::path& task) {
    std::ifstream file(task / "status");
    std::string line;
    while (std::getline(file, line))
        if (line.rfind("SigBlk:", 0) == 0) return std::stoull(line.substr(7), nullptr, 16);
    return ~0ULL;
}

using GenTLSignals = consumer::StreamSession;

TEST_F(GenTLSignals, AreTakenByNoThreadOfTheProducer) {
    consumer::Features module(gc, stream);
    GenApi::CEnumerationPtr(module.map._GetNode("StreamBufferHandlingMode"))->FromString("NewestOnly");
    EVENT_HANDLE remote = nullptr;
    ASSERT_EQ(gc.GCRegisterEvent(device, EVENT_REMOTE_DEVICE, &remote), GC_ERR_SUCCESS);
    ASSERT_NO_FATAL_FAILURE(Announce(3));
    ASSERT_NO_FATAL_FAILURE(Start());
    int others = 0;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        if (task.path().filename() == std::to_string(::getpid())) continue;
        ++others;
        EXPECT_NE(BlockedBy(task.path()) & (1ULL << (SIGUSR1 - 1)), 0ULL) << task.path();
    }
    EXPECT_GE(others, 3) << "removals, transfers, and images that nobody takes";
    ASSERT_NO_FATAL_FAILURE(Stop());
}

} // namespace
