#include "core/Log.h"

#include "core/LogSink.h"

#include <atomic>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

using namespace Tavix;

namespace {

struct Line {
    std::string category;
    unsigned int level;
    std::string text;

    bool operator==(const Line& other) const {
        return category == other.category && level == other.level && text == other.text;
    }
};

// Collects what is logged while it lives.
struct Collector {
    std::vector<Line> lines;
    LogSink sink{[this](const char* category, unsigned int level, const char* text) {
        lines.push_back({category, level, text});
    }};
};

} // namespace

TEST(Log, GivesOneIdToOneName) {
    const unsigned int first = LogGetCatID("Test.Same");
    EXPECT_EQ(LogGetCatID("Test.Same"), first);
    EXPECT_NE(LogGetCatID("Test.Other"), first);
    EXPECT_EQ(LogGetCatID(std::string("Test.Same").c_str()), first) << "the name counts, not its address";
}

TEST(Log, TakesNullNameAsEmpty) {
    EXPECT_EQ(LogGetCatID(nullptr), LogGetCatID(""));
}

TEST(Log, IsSilentByDefault) {
    const unsigned int id = LogGetCatID("Test.Silent");
    for (const unsigned int level : {256u, 128u, 64u, 32u, 16u})
        EXPECT_FALSE(LogIsEnabled(id, level));
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    LogTrace(id, kLogError, "nobody reads this");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(Log, HandsCategoryLevelAndTextToListener) {
    Collector collector;
    LogTrace(LogGetCatID("Test.A"), 64, "Opening device '%hs' at %Ix", "cam", std::uintptr_t{0x400});
    LogTrace(LogGetCatID("Test.B"), 256, "%s", "failed");
    const std::vector<Line> expected = {{"Test.A", 64, "Opening device 'cam' at 400"}, {"Test.B", 256, "failed"}};
    EXPECT_EQ(collector.lines, expected);
}

TEST(Log, HandsEveryLevelToListenerAsItIs) {
    Collector collector;
    const unsigned int id = LogGetCatID("Test.Levels");
    for (const unsigned int level : {0u, 16u, 32u, 64u, 128u, 256u, 4000u}) {
        EXPECT_TRUE(LogIsEnabled(id, level));
        LogTrace(id, level, "line");
        EXPECT_EQ(collector.lines.back().level, level);
    }
    EXPECT_EQ(collector.lines.size(), 7u);
}

TEST(Log, DoesNotCutLongText) {
    Collector collector;
    const std::string text(300000, 'y');
    LogTrace(LogGetCatID("Test.Long"), kLogDebug, "%hs", text.c_str());
    ASSERT_EQ(collector.lines.size(), 1u);
    EXPECT_EQ(collector.lines[0].text, text);
}

TEST(Log, IgnoresIdsThatItNeverGaveOut) {
    Collector collector;
    LogTrace(0xFFFFFFFF, kLogError, "nobody's line");
    EXPECT_FALSE(LogIsEnabled(0xFFFFFFFF, kLogError));
    EXPECT_FALSE(LogIsEnabled(LogGetCatID("Test.Last") + 1, kLogError));
    EXPECT_TRUE(collector.lines.empty());
}

TEST(Log, DoesNotFormatWhenSilent) {
    const unsigned int id = LogGetCatID("Test.Cheap");
    int written = 0;
    LogTrace(id, kLogError, "abc%n", &written); // the item stores how far the text got
    EXPECT_EQ(written, 0);
    Collector collector;
    LogTrace(id, kLogError, "abc%n", &written);
    EXPECT_EQ(written, 3);
}

TEST(LogSink, IsNotCalledAfterRemoval) {
    Collector collector;
    const unsigned int id = LogGetCatID("Test.Removed");
    collector.sink.Remove();
    LogTrace(id, kLogError, "late");
    EXPECT_TRUE(collector.lines.empty());
    EXPECT_FALSE(LogIsEnabled(id, kLogError));
    collector.sink.Remove(); // a second removal does nothing
}

TEST(LogSink, StandsBesideOthers) {
    Collector first;
    {
        Collector second;
        LogTrace(LogGetCatID("Test.Two"), kLogInfo, "both");
        EXPECT_EQ(second.lines.size(), 1u);
    }
    LogTrace(LogGetCatID("Test.Two"), kLogInfo, "one");
    EXPECT_EQ(first.lines.size(), 2u);
}

TEST(LogSink, DoesNotHearItsOwnLines) {
    int calls = 0;
    const unsigned int id = LogGetCatID("Test.Recursive");
    const LogSink sink([&](const char*, unsigned int, const char*) {
        ++calls;
        LogTrace(id, kLogError, "from within");
    });
    LogTrace(id, kLogError, "from without");
    EXPECT_EQ(calls, 1);
}

TEST(LogSink, MayRemoveItself) {
    int calls = 0;
    std::unique_ptr<LogSink> sink;
    sink = std::make_unique<LogSink>([&](const char*, unsigned int, const char*) {
        ++calls;
        sink->Remove();
    });
    LogTrace(LogGetCatID("Test.Once"), kLogError, "first");
    LogTrace(LogGetCatID("Test.Once"), kLogError, "second");
    EXPECT_EQ(calls, 1);
}

TEST(LogSink, DoesNotThrowIntoTheThreadThatLogs) {
    int calls = 0;
    const LogSink sink([&](const char*, unsigned int, const char*) {
        ++calls;
        throw std::runtime_error("listener failed");
    });
    EXPECT_NO_THROW(LogTrace(LogGetCatID("Test.Throw"), kLogError, "first"));
    EXPECT_NO_THROW(LogTrace(LogGetCatID("Test.Throw"), kLogError, "second"));
    EXPECT_EQ(calls, 2) << "a listener that failed once is still a listener";
}

TEST(LogSink, GetsEachLineOfManyThreadsOnce) {
    constexpr int kThreads = 4, kLines = 500;
    Collector collector;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([t] {
            const unsigned int id = LogGetCatID(("Test.Thread" + std::to_string(t)).c_str());
            for (int i = 0; i < kLines; ++i)
                LogTrace(id, kLogInfo, "%d", i);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    std::vector<int> next(kThreads, 0);
    for (const Line& line : collector.lines) {
        const auto thread = static_cast<std::size_t>(line.category.back() - '0');
        EXPECT_EQ(line.text, std::to_string(next[thread]++)) << "the lines of one thread stay in order";
    }
    EXPECT_EQ(next, std::vector<int>(kThreads, kLines));
}

TEST(LogSink, ComesAndGoesWhileOthersLog) {
    std::atomic<bool> stop{false};
    std::thread logger([&] {
        while (!stop)
            LogTrace(LogGetCatID("Test.Busy"), kLogInfo, "busy");
    });
    for (int i = 0; i < 200; ++i) {
        std::atomic<bool> called{false};
        bool isAlive = true; // written without a lock: no call may follow the removal
        LogSink sink([&](const char*, unsigned int, const char*) {
            EXPECT_TRUE(isAlive);
            called = true;
        });
        while (!called)
            std::this_thread::yield();
        sink.Remove();
        isAlive = false;
    }
    stop = true;
    logger.join();
}
