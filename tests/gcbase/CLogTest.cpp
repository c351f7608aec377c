#include "Log/CLog.h"

#include "core/LogSink.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

TEST(CLog, LogsUnderGenApi) {
    std::vector<std::string> lines;
    const Tavix::LogSink sink([&](const char* category, unsigned int level, const char* text) {
        lines.push_back(std::string(category) + "|" + std::to_string(level) + "|" + text);
    });
    const GenICam::CLog root;
    const GenICam::CLog port("Port");
    root.Error("failed: %hs", "reason");
    root.Warning("odd");
    port.Info("%Ix", std::size_t{0x400});
    port.Debug("%d", 7);
    const std::vector<std::string> expected = {"GenApi|256|failed: reason", "GenApi|128|odd", "GenApi.Port|64|400",
                                               "GenApi.Port|32|7"};
    EXPECT_EQ(lines, expected);
}

TEST(CLog, IsSilentByDefault) {
    const GenICam::CLog log;
    EXPECT_FALSE(log.IsEnabled(Tavix::kLogError));
    log.Error("nobody reads this");
    const Tavix::LogSink sink([](const char*, unsigned int, const char*) {});
    EXPECT_TRUE(log.IsEnabled(Tavix::kLogDebug));
}
