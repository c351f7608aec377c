// Producers of others, which fail in every way: what works is shown, what fails is named.

#include "tools/support/ToolRun.h"
#include "tools/support/Variable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace {

using namespace tooltest;
using nlohmann::json;
using testing::EndsWith;
using testing::HasSubstr;

constexpr const char* kOddity = "STRANGE_PRODUCER";
const std::string kDown = "fails with -1010: it is down";

Outcome Show(const char* oddity, Arguments more = {}) {
    const Variable variable(kOddity, oddity);
    more.insert(more.begin(), {"gentl", TAVIX_STRANGE_PRODUCER});
    return RunTool(more);
}

json Shown(const char* oddity) {
    const Outcome outcome = Show(oddity, {"--json"});
    EXPECT_EQ(outcome.status, 3) << oddity;
    return json::parse(outcome.out, nullptr, false);
}

TEST(StrangeProducer, ShowsTheOtherInterfacesWhenOneFails) {
    const json shown = Shown("InterfaceFails");
    EXPECT_EQ(shown["system"]["vendor"], "Stranger");
    EXPECT_EQ(shown["failure"], "");
    ASSERT_EQ(shown["interfaces"].size(), 2U) << shown;
    EXPECT_EQ(shown["interfaces"][0]["id"], "first");
    EXPECT_EQ(shown["interfaces"][0]["failure"], "TLOpenInterface " + kDown);
    EXPECT_EQ(shown["interfaces"][1]["failure"], "");
    EXPECT_EQ(shown["interfaces"][1]["devices"][0]["id"], "camera");
}

TEST(StrangeProducer, TellsPeopleWhatFailsInItsPlace) {
    const Outcome outcome = Show("InterfaceFails");
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.out, HasSubstr("  interface                first\n    display name           first\n"));
    EXPECT_THAT(outcome.out, HasSubstr("    failure                TLOpenInterface " + kDown + "\n  interface "));
    EXPECT_EQ(outcome.err, std::string("tavix: ") + TAVIX_STRANGE_PRODUCER +
                               " works in part: interface first: TLOpenInterface " + kDown + "\n");
}

TEST(StrangeProducer, ShowsTheDevicesThatItKnowsWhenTheSearchFails) {
    const json shown = Shown("SearchFails");
    EXPECT_EQ(shown["interfaces"][0]["failure"], "IFUpdateDeviceList fails with -1011");
    EXPECT_EQ(shown["interfaces"][0]["devices"].size(), 1U) << shown;
    EXPECT_EQ(shown["interfaces"][1]["devices"].size(), 1U) << shown;
}

TEST(StrangeProducer, ShowsTheRestOfADeviceThatFails) {
    const json shown = Shown("DeviceFails");
    const json& device = shown["interfaces"][0]["devices"][0];
    EXPECT_EQ(device["failure"], "IFGetDeviceInfo " + kDown);
    EXPECT_EQ(device["infos"]["model"], "something");
    EXPECT_EQ(device["infos"]["access"], "99999999999999999999") << "no number that there is a word for";
    EXPECT_EQ(shown["interfaces"][1]["devices"][0]["failure"], "") << "a refused version is no failure";
}

TEST(StrangeProducer, ShowsItselfWhenItsSystemDoesNotOpen) {
    const json shown = Shown("SystemFails");
    EXPECT_EQ(shown["system"]["vendor"], "Stranger");
    EXPECT_EQ(shown["failure"], "TLOpen " + kDown);
}

TEST(StrangeProducer, IsNotBelievedWhenItCountsBeyondReason) {
    const json shown = Shown("CountsBeyondReason");
    EXPECT_EQ(shown["failure"], "TLGetNumInterfaces tells 4294967295, of which the first 1024 are shown");
    EXPECT_EQ(shown["interfaces"].size(), 1024U);
}

TEST(StrangeProducer, PrintsNothingIntoOurOutput) {
    for (const char* oddity : {"Says", "SaysAtTheEnd"}) {
        const Outcome outcome = Show(oddity, {"--json"});
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(json::parse(outcome.out, nullptr, false)["system"]["vendor"], "Stranger") << outcome.out;
        EXPECT_THAT(outcome.err, EndsWith(" from a producer\n"));
        EXPECT_THAT(Show(oddity).out, testing::StartsWith("producer "));
    }
}

TEST(StrangeProducer, IsToldAsOneThatEndsTheProcess) {
    for (const char* oddity : {"Exits", "ExitsAtOnce"}) {
        const Outcome outcome = Show(oddity, {"--json"});
        EXPECT_EQ(outcome.status, 1) << oddity;
        EXPECT_EQ(outcome.err, std::string("tavix: ") + TAVIX_STRANGE_PRODUCER + " ends the process that calls it\n");
    }
    const Variable path("GENICAM_GENTL64_PATH", TAVIX_STRANGE_PRODUCER);
    for (const char* oddity : {"Exits", "ExitsAtOnce"}) {
        const Variable variable(kOddity, oddity);
        const Outcome listed = RunTool({"gentl"});
        EXPECT_EQ(listed.status, 3) << oddity;
        EXPECT_EQ(listed.out, TAVIX_STRANGE_PRODUCER + std::string("  ends the process that calls it\n")) << oddity;
    }
}

TEST(StrangeProducer, OfThePathWorksInPart) {
    const Variable path("GENICAM_GENTL64_PATH", TAVIX_STRANGE_PRODUCER);
    const Variable variable(kOddity, "InterfaceFails");
    const std::string failure = "works in part: interface first: TLOpenInterface " + kDown;
    EXPECT_EQ(json::parse(RunTool({"gentl", "--json"}).out, nullptr, false)[0]["failure"], failure);
    EXPECT_THAT(RunTool({"--virtual", "1", "doctor"}).out, HasSubstr(TAVIX_STRANGE_PRODUCER + (" " + failure) + "\n"));
}

} // namespace
