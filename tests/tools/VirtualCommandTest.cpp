// Virtual cameras: their faults by name, and what `serve` refuses.

#include "tools/support/ToolRun.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include <unistd.h>

namespace {

using namespace tooltest;
using nlohmann::json;

TEST(VirtualFaults, AreListedWithWhatTheyDo) {
    const Outcome outcome = RunTool({"virtual", "faults"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    for (const char* name : {"control.Late ", "stream.LostTrailer ", "events.Burst ", "registers.manifest=PlainXml "})
        EXPECT_NE(outcome.out.find(name), std::string::npos) << name;
}

TEST(VirtualFaults, AreListedAsJson) {
    const Outcome outcome = RunTool({"virtual", "faults", "--json"});
    const json all = json::parse(outcome.out, nullptr, /*allow_exceptions=*/false);
    ASSERT_TRUE(all.is_array());
    EXPECT_GT(all.size(), 50u);
    for (const json& fault : all) {
        EXPECT_FALSE(fault["name"].get<std::string>().empty());
        EXPECT_FALSE(fault["text"].get<std::string>().empty()) << fault["name"];
    }
}

TEST(VirtualSettings, HoldTheFaultsOfEachCamera) {
    const Outcome outcome = RunTool({"--virtual", "2", "virtual", "settings", "--fault", "stream.IdGap:frame=5,value=2",
                                     "--fault", "registers.manifest=PlainXml", "--fault", "faults.replugAfterMs=50"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const json expected = json::parse(R"({"faults": {"replugAfterMs": 50,
        "stream": [{"fault": "IdGap", "frame": 5, "value": 2}]}, "registers": {"manifest": "PlainXml"}})");
    const json settings = json::parse(outcome.out, nullptr, /*allow_exceptions=*/false);
    ASSERT_EQ(settings["cameras"].size(), 2u);
    EXPECT_EQ(settings["cameras"][0], expected);
    EXPECT_EQ(settings["cameras"][1], expected);
}

TEST(VirtualSettings, MayBeginWithSettingsOnTheCommandLine) {
    const Outcome outcome =
        RunTool({"--virtual", R"({"cameras": [{"model": "M"}]})", "virtual", "settings", "--fault", "serial=77"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const json settings = json::parse(outcome.out, nullptr, /*allow_exceptions=*/false);
    EXPECT_EQ(settings["cameras"], json::parse(R"([{"model": "M", "serial": "77"}])"));
}

TEST(VirtualSettings, AreWhatOtherCommandsTake) {
    const Outcome settings = RunTool({"virtual", "settings", "--fault", "serial=77", "--fault", "stream.LostTrailer"});
    ASSERT_EQ(settings.status, 0) << settings.err;
    const std::string path = testing::TempDir() + "tavix-settings-" + std::to_string(getpid()) + ".json";
    std::ofstream(path) << settings.out;
    const Outcome list = RunTool({"--virtual", path, "list"});
    std::remove(path.c_str());
    EXPECT_EQ(list.status, 0) << list.err;
    EXPECT_NE(list.out.find(" 77 "), std::string::npos) << list.out;
}

TEST(VirtualSettings, AreRefusedWithTheirFileAndKeyByEveryCommand) {
    const std::string path = testing::TempDir() + "tavix-bad-" + std::to_string(getpid()) + ".json";
    std::ofstream(path) << R"({"cameras": [{"speed": "Warp"}]})";
    const Outcome outcome = RunTool({"--virtual", path, "list"});
    std::remove(path.c_str());
    EXPECT_EQ(outcome.status, 2);
    EXPECT_NE(outcome.err.find(path + ": cameras[0].speed: \"Warp\" is none of High, Super, SuperPlus"),
              std::string::npos)
        << outcome.err;
}

/// A port that other runs of these tests do not take at the same time.
std::string SomePort() {
    return std::to_string(20000 + getpid() % 10000);
}

TEST(VirtualServe, TakesTheFirstCameraWhereNoneIsNamed) {
    const std::string path = testing::TempDir() + "tavix-serve-" + std::to_string(getpid());
    const std::string line = "printf 'unplug\\nplug\\nsing\\nplug 2\\nquit\\n' | " TAVIX_TOOL
                             " virtual serve --usbip " +
                             SomePort() + " >" + path;
    EXPECT_EQ(std::system(line.c_str()), 0);
    std::ifstream file(path);
    const std::string text(std::istreambuf_iterator<char>(file), {});
    std::remove(path.c_str());
    EXPECT_NE(text.find("'sing' is none of plug, unplug, quit\nthere is no such camera\n"), std::string::npos) << text;
    EXPECT_EQ(text.find("there is no such camera"), text.rfind("there is no such camera")) << text;
}

TEST(VirtualServe, AdvisesAddressesThatWork) {
    const std::string path = testing::TempDir() + "tavix-serve-all-" + std::to_string(getpid());
    const std::string line =
        "echo quit | " TAVIX_TOOL " virtual serve --usbip " + SomePort() + " --listen 0.0.0.0 >" + path;
    EXPECT_EQ(std::system(line.c_str()), 0);
    std::ifstream file(path);
    const std::string text(std::istreambuf_iterator<char>(file), {});
    std::remove(path.c_str());
    EXPECT_NE(text.find("attach --remote 127.0.0.1 --busid 1-1\n"), std::string::npos) << text;
    EXPECT_EQ(text.find("--remote 0.0.0.0"), std::string::npos) << text;
}

struct Refusal {
    const char* name;
    int status;
    Arguments arguments;
    const char* line;
};

void PrintTo(const Refusal& refusal, std::ostream* out) {
    *out << refusal.name;
}

class VirtualRefusal : public testing::TestWithParam<Refusal> {};

TEST_P(VirtualRefusal, IsOneLineThatSaysWhatIsWrong) {
    const Outcome outcome = RunTool(GetParam().arguments);
    EXPECT_EQ(outcome.status, GetParam().status);
    EXPECT_EQ(outcome.out, "");
    ASSERT_EQ(Lines(outcome.err).size(), 1u) << outcome.err;
    EXPECT_NE(outcome.err.find(GetParam().line), std::string::npos) << outcome.err;
}

INSTANTIATE_TEST_SUITE_P(
    Each, VirtualRefusal,
    testing::Values(
        Refusal{"UnknownFault",
                2,
                {"virtual", "settings", "--fault", "events.Bad"},
                "cameras[0].faults.events[0].fault: \"Bad\" is none of Lost, Duplicate, "},
        Refusal{
            "UnknownKey",
            2,
            {"virtual", "settings", "--fault", "stream.Stall:when=3"},
            "cameras[0].faults.stream[0].when: there is no such key; the keys are fault, value, frame, stream, count"},
        Refusal{"TwoFaultsInOne",
                2,
                {"virtual", "settings", "--fault", "serial=77", "stream.LostTrailer"},
                "see tavix virtual settings --help"},
        Refusal{"NoValue", 2, {"virtual", "settings", "--fault", "nonsense"}, "'nonsense': KIND.FAULT"},
        Refusal{"NoWay", 2, {"virtual", "serve"}, "one of --usbip, --vhci, --usbredir"},
        Refusal{"TwoWays", 2, {"virtual", "serve", "--usbip", "--vhci"}, "--usbip excludes --vhci"},
        Refusal{"BadAddress",
                1,
                {"virtual", "serve", "--usbip", "3299", "--listen", "no.such.address.invalid"},
                "choose another --listen"},
        Refusal{
            "BadSocket", 1, {"virtual", "serve", "--usbredir", "/no/such/folder/socket"}, "choose another --usbredir"}),
    [](const auto& instance) { return instance.param.name; });

} // namespace
