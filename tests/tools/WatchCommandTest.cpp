// Telling which cameras come and go.

#include "tools/support/ToolRun.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>

#include <nlohmann/json.hpp>

namespace {

using namespace tooltest;
using nlohmann::json;

TEST(Watch, TellsOfTheCamerasThatAreThere) {
    const Outcome outcome = RunTool({"--virtual", "2", "watch", "--count", "2"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const auto lines = Lines(outcome.out);
    ASSERT_EQ(lines.size(), 2u) << outcome.out;
    EXPECT_NE(lines[1].find("arrived  VC-1300 (40000002)  virtual:"), std::string::npos) << lines[1];
}

TEST(Watch, GivesALineOfJsonForEachChange) {
    const Outcome outcome = RunTool({"--virtual", "2", "watch", "--count", "2", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const auto lines = Lines(outcome.out);
    ASSERT_EQ(lines.size(), 2u) << outcome.out;
    const json change = json::parse(lines[0], nullptr, false);
    EXPECT_EQ(change["change"], "arrived");
    EXPECT_EQ(change["serial"], "40000001");
}

TEST(Watch, EndsAfterTheTimeoutWithoutAChange) {
    const Outcome outcome = RunTool({"watch", "--timeout", "50", "--interval", "10"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "tavix: no camera came or went for 50 ms\n");
}

TEST(Watch, EndsWhenNobodyReadsItAnyMore) {
    for (const char* command : {"watch --interval 10", "events"}) {
        const std::string line = std::string(TAVIX_TOOL " --virtual 1 ") + command + " 2>&1 | true";
        EXPECT_EQ(std::system(("timeout 10 sh -c '" + line + "'").c_str()), 0) << command;
    }
}

TEST(Watch, WritesEachChangeAtOnceAndEndsAtCtrlC) {
    ToolRun run({"--virtual", "1", "watch"});
    ASSERT_TRUE(Eventually([&] { return !Lines(run.Output()).empty(); }));
    run.Signal(SIGINT);
    const Outcome outcome = run.Finish();
    EXPECT_EQ(outcome.status, 130);
    EXPECT_EQ(outcome.err, "tavix: interrupted\n");
}

} // namespace
