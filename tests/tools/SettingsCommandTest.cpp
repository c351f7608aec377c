// Settings that go into a file and come back.

#include "tools/support/TestFolder.h"
#include "tools/support/ToolRun.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace {

using namespace tooltest;
using nlohmann::json;

Outcome OnVirtualCamera(Arguments arguments) {
    arguments.insert(arguments.begin(), {"--virtual", "1"});
    return RunTool(arguments);
}

TEST(Save, WritesEverySettingWithItsSelectors) {
    const TestFolder folder;
    const Outcome outcome = OnVirtualCamera({"save", folder.Path("s.txt")});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_NE(outcome.out.find(" settings of VC-1300 (40000001) in " + folder.Path("s.txt")), std::string::npos);
    const std::string text = folder.Read("s.txt");
    EXPECT_EQ(text.rfind("# Settings of VC-1300 (40000001)\n", 0), 0u);
    EXPECT_NE(text.find("\nWidth\t1280\n"), std::string::npos);
    EXPECT_NE(text.find("\nTimerSelector\tTimer2\nTimerDuration\t"), std::string::npos);
    EXPECT_EQ(text.find("DeviceUserID"), std::string::npos) << "a name belongs to one camera";
    EXPECT_TRUE(folder.Files(".part").empty());
}

TEST(Save, CountsTheSettingsInJson) {
    const TestFolder folder;
    const Outcome outcome = OnVirtualCamera({"save", folder.Path("s.txt"), "--json"});
    const json report = json::parse(outcome.out, nullptr, false);
    std::size_t lines = 0;
    for (const std::string& line : Lines(folder.Read("s.txt")))
        lines += line[0] == '#' ? 0 : 1;
    EXPECT_EQ(report["settings"], lines);
    EXPECT_EQ(report["failed"], json::array());
}

/// A camera that is unplugged in the middle of the settings.
std::string LeavingCamera(const TestFolder& folder) {
    return folder.Write("c.json", R"({"cameras": [{"faults": {"control": [{"fault": "Unplug", "skip": 60}]}}]})");
}

TEST(Save, LeavesTheFileAloneWhenTheCameraLeaves) {
    const TestFolder folder;
    folder.Write("s.txt", "old");
    const Outcome outcome = RunTool({"--virtual", LeavingCamera(folder), "save", folder.Path("s.txt")});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "tavix: VC-1300 (40000001) was unplugged; nothing was saved; plug it in again\n");
    EXPECT_EQ(folder.Read("s.txt"), "old");
}

TEST(Load, FailsWhenTheCameraLeaves) {
    const TestFolder folder;
    ASSERT_EQ(OnVirtualCamera({"save", folder.Path("s.txt")}).status, 0);
    const Outcome outcome = RunTool({"--virtual", LeavingCamera(folder), "load", folder.Path("s.txt")});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "tavix: VC-1300 (40000001) was unplugged; not all settings were set; plug it in again\n");
}

TEST(Load, SetsAllThatSaveWrote) {
    const TestFolder folder;
    ASSERT_EQ(OnVirtualCamera({"save", folder.Path("s.txt")}).status, 0);
    const Outcome outcome = OnVirtualCamera({"load", folder.Path("s.txt"), "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const json report = json::parse(outcome.out, nullptr, false);
    EXPECT_GT(report["settings"], 80);
    EXPECT_EQ(report["failed"], json::array());
}

TEST(Load, ReadsStandardInputAsSaveWritesStandardOutput) {
    const TestFolder folder;
    const std::string saved = folder.Write("s.txt", OnVirtualCamera({"save", "-"}).out);
    const Outcome outcome = RunTool({"--virtual", "1", "load", "-"}, saved);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_NE(outcome.out.find(" settings from standard input set in VC-1300 (40000001)\n"), std::string::npos)
        << outcome.out;
    EXPECT_EQ(RunTool({"--virtual", "1", "load", "-", "--json"}, folder.Write("w.txt", "Width\t640\n")).status, 0);
    const Outcome endless = RunTool({"--virtual", "1", "load", "-"}, "/dev/zero");
    EXPECT_NE(endless.err.find("standard input has more than the 16777216 bytes"), std::string::npos) << endless.err;
}

TEST(Load, SetsWhatFitsOnlyAfterALaterLine) {
    const TestFolder folder;
    const Outcome outcome = OnVirtualCamera({"load", folder.Write("s.txt", "OffsetX\t640\nWidth\t640\n")});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out.rfind("2 of 2 settings from ", 0), 0u) << outcome.out;
}

TEST(Load, NamesWhatCouldNotBeSetAndSetsTheOthers) {
    const TestFolder folder;
    const std::string path = folder.Write("s.txt", "Width\t640\nGain\tloud\nColour\tRed\n");
    const Outcome text = OnVirtualCamera({"load", path});
    EXPECT_EQ(text.status, 3);
    EXPECT_EQ(text.err, "tavix: 2 settings could not be set; the others are\n");
    const auto lines = Lines(text.out);
    ASSERT_EQ(lines.size(), 3u) << text.out;
    EXPECT_EQ(lines[0].rfind("1 of 3 settings from ", 0), 0u) << lines[0];
    EXPECT_EQ(lines[1].rfind("  Gain: ", 0), 0u) << lines[1];
    EXPECT_EQ(lines[2], "  Colour: VC-1300 (40000001) has no feature 'Colour'");

    const json report = json::parse(OnVirtualCamera({"load", path, "--json"}).out, nullptr, false);
    ASSERT_EQ(report["failed"].size(), 2u);
    EXPECT_EQ(report["failed"][1]["feature"], "Colour");
}

TEST(Load, SaysWhatIsWrongWithAValueHoweverOftenItTried) {
    const TestFolder folder;
    const Outcome outcome = OnVirtualCamera({"load", folder.Write("s.txt", "Height\t512\nWidth\t99999\n")});
    EXPECT_EQ(outcome.status, 3);
    ASSERT_EQ(Lines(outcome.out).size(), 2u) << outcome.out;
    EXPECT_EQ(Lines(outcome.out)[1],
              "  Width: cannot set Width of VC-1300 (40000001) to '99999': Value 99999 must be smaller "
              "than or equal to Max 1280; it takes 16 .. 1280 step 4");
}

TEST(Load, TakesNoMoreThanAFileOfSettingsMayHave) {
    const TestFolder folder;
    constexpr std::size_t kMost = 16777216;
    const std::string exact = folder.Write("most.txt", std::string(kMost, '#'));
    EXPECT_NE(OnVirtualCamera({"load", exact}).err.find("holds no settings"), std::string::npos);
    const std::string more = folder.Write("more.txt", std::string(kMost + 1, '#'));
    EXPECT_NE(OnVirtualCamera({"load", more}).err.find("has more than the 16777216 bytes that it may have"),
              std::string::npos);
}

TEST(Load, DoesNotSayThatOthersWereSetWhenNoneWas) {
    const TestFolder folder;
    const Outcome outcome = OnVirtualCamera({"load", folder.Write("s.txt", "Colour\tRed\n")});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.out.rfind("0 of 1 settings from ", 0), 0u) << outcome.out;
    EXPECT_EQ(outcome.err, "tavix: 1 setting could not be set; none was\n");
}

TEST(Save, WritesToStandardOutputWhenAskedTo) {
    const TestFolder folder;
    ASSERT_EQ(OnVirtualCamera({"save", folder.Path("s.txt")}).status, 0);
    const Outcome outcome = OnVirtualCamera({"save", "-"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, folder.Read("s.txt"));
    EXPECT_FALSE(std::filesystem::exists("-"));
}

TEST(SettingsCommand, GetOneLineWhenTheFileIsOfNoUse) {
    const TestFolder folder;
    for (const auto& [arguments, says] : std::vector<std::pair<Arguments, std::string>>{
             {{"load", folder.Path("none.txt")}, "cannot read " + folder.Path("none.txt")},
             {{"load", folder.Path()}, "cannot read " + folder.Path()},
             {{"load", folder.Write("empty.txt", "")}, "holds no settings; name a file that `tavix save` wrote"},
             {{"save", folder.Path("no/such/folder")}, "choose another file"}}) {
        const Outcome outcome = OnVirtualCamera(arguments);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.out, "");
        ASSERT_EQ(Lines(outcome.err).size(), 1u) << outcome.err;
        EXPECT_NE(outcome.err.find(says), std::string::npos) << outcome.err;
    }
}

} // namespace
