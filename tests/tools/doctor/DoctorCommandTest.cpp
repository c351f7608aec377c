// The doctor as a program.

#include "FakeSystem.h"
#include "tests/tools/support/ToolRun.h"
#include "tests/tools/support/Variable.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace {

using namespace tooltest;
using nlohmann::json;

TEST(DoctorCommand, EndsWithZeroWhenNothingIsWrong) {
    const FakeSystem system;
    system.Add({});
    const Outcome outcome = RunTool({"doctor", "--root", system.Root()});
    EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.out.find("problem"), std::string::npos) << outcome.out;
}

TEST(DoctorCommand, PrintsTheCommandBelowTheProblemAndEndsWithThree) {
    const FakeSystem system;
    FakeCamera camera;
    camera.power = "auto";
    system.Add(camera);
    const Outcome outcome = RunTool({"doctor", "--root", system.Root()});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.err, "tavix: 1 problem found, see above\n");
    EXPECT_NE(outcome.out.find("\n         $ echo on | sudo tee /sys/bus/usb/devices/2-1/power/control\n"),
              std::string::npos)
        << outcome.out;
}

TEST(DoctorCommand, GivesEachFindingAsJson) {
    const FakeSystem system;
    system.Remove("/etc");
    const Outcome outcome = RunTool({"doctor", "--root", system.Root(), "--json"});
    EXPECT_EQ(outcome.status, 3);
    const json findings = json::parse(outcome.out, nullptr, false);
    ASSERT_TRUE(findings.is_array());
    int problems = 0;
    for (const json& finding : findings) {
        EXPECT_TRUE(finding["about"].is_string());
        EXPECT_TRUE(finding["text"].is_string());
        if (finding["severity"] != "problem") continue;
        ++problems;
        EXPECT_EQ(finding["id"], "udev-rule");
        EXPECT_NE(finding["command"], "");
    }
    EXPECT_EQ(problems, 1);
}

TEST(DoctorCommand, NamesTheVariableThatIsWrongOnce) {
    const Variable variable("TAVIX_VIRTUAL_CAMERAS", "abc");
    const std::string out = RunTool({"doctor"}).out;
    const auto first = out.find("TAVIX_VIRTUAL_CAMERAS: \"abc\"");
    ASSERT_NE(first, std::string::npos) << out;
    EXPECT_EQ(out.find("abc", first + 30), std::string::npos) << out;
    EXPECT_EQ(out.find("TAVIX_TL_PATH"), std::string::npos) << out;
}

TEST(DoctorCommand, AsksTheCamerasOfThisMachine) {
    const Outcome outcome = RunTool({"--virtual", "1", "doctor", "--json"});
    const json findings = json::parse(outcome.out, nullptr, false);
    bool isOpened = false, hasLibusb = false;
    for (const json& finding : findings) {
        isOpened |= finding["id"] == "opening" && finding["about"] == "VC-1300 (40000001)" &&
                    finding["text"] == "opens; an image has 1310720 bytes";
        hasLibusb |= finding["id"] == "libusb";
    }
    EXPECT_TRUE(isOpened) << outcome.out;
    EXPECT_TRUE(hasLibusb) << outcome.out;
}

TEST(DoctorCommand, PrintsTheRuleThatTheProjectInstalls) {
    std::ifstream file(TAVIX_UDEV_RULE);
    const std::string rule{std::istreambuf_iterator<char>(file), {}};
    const Outcome outcome = RunTool({"doctor", "--udev-rule"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, rule);
}

TEST(DoctorCommand, NeedsAFolderToLookInto) {
    const Outcome outcome = RunTool({"doctor", "--root", "/nowhere"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "tavix: there is no folder /nowhere\n");
}

} // namespace
