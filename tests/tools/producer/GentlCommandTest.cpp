// What GenTL programs see, shown by the tool.

#include "tools/support/TestFolder.h"
#include "tools/support/ToolRun.h"
#include "tools/support/Variable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include <nlohmann/json.hpp>

namespace {

using namespace tooltest;
using nlohmann::json;
using testing::EndsWith;
using testing::HasSubstr;

constexpr const char* kPath = "GENICAM_GENTL64_PATH";
const std::string kFolder = std::filesystem::path(TAVIX_GENTL_PRODUCER).parent_path().string();

TEST(GentlCommand, ShowsTheCamerasOfAProducer) {
    const Outcome outcome = RunTool({"--virtual", "2", "gentl", TAVIX_GENTL_PRODUCER, "--json"});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const json shown = json::parse(outcome.out, nullptr, false);
    EXPECT_EQ(shown["system"]["vendor"], "Tavix");
    EXPECT_EQ(shown["system"]["type"], "U3V");
    EXPECT_EQ(shown["system"]["GenTL minor version"], "6");
    EXPECT_EQ(shown["system"]["path"], std::filesystem::canonical(TAVIX_GENTL_PRODUCER).string());
    std::vector<std::string> serials;
    for (const json& interface : shown["interfaces"])
        for (const json& device : interface["devices"])
            if (interface["id"] == "u3v-virtual") serials.push_back(device["infos"]["serial number"]);
    EXPECT_EQ(serials, (std::vector<std::string>{"40000001", "40000002"}));
}

TEST(GentlCommand, ShowsThemToPeople) {
    const Outcome outcome = RunTool({"--virtual", "1", "gentl", TAVIX_GENTL_PRODUCER});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("    device                 120940000001\n"));
    EXPECT_THAT(outcome.out, HasSubstr("      access               ready\n"));
}

TEST(GentlCommand, RefusesWhatIsNoProducer) {
    const TestFolder folder;
    const std::string text = folder.Write("text.cti", "not a library");
    EXPECT_THAT(RunTool({"gentl", text}).err, HasSubstr(text + " cannot be loaded: "));
    EXPECT_THAT(RunTool({"gentl", kFolder + "/libvexlo.so"}).err,
                EndsWith("libvexlo.so is no GenTL producer: it has no function GCInitLib\n"));
    EXPECT_THAT(RunTool({"gentl", "/dev/zero"}).err, HasSubstr("/dev/zero is no plain file"));
    const Outcome missing = RunTool({"gentl", folder.Path("none.cti")});
    EXPECT_EQ(missing.status, 1);
    EXPECT_THAT(missing.err, HasSubstr("cannot read " + folder.Path("none.cti")));
}

TEST(GentlCommand, TellsWhichProducersOfThePathWork) {
    const TestFolder folder;
    std::filesystem::copy(TAVIX_CRASHING_PRODUCER, folder.Path("crash.cti"));
    folder.Write("broken.cti", "not a library");
    folder.Write("readme.txt", "no producer");
    const Variable path(kPath, folder.Path() + "::/nowhere:" + TAVIX_GENTL_PRODUCER);
    const Outcome outcome = RunTool({"gentl", "--json"});
    EXPECT_EQ(outcome.status, 3);
    const json shown = json::parse(outcome.out, nullptr, false);
    ASSERT_EQ(shown.size(), 3U) << outcome.out;
    EXPECT_EQ(shown[0]["path"], folder.Path("broken.cti"));
    EXPECT_THAT(shown[0]["failure"], HasSubstr("cannot be loaded"));
    EXPECT_EQ(shown[1]["path"], folder.Path("crash.cti"));
    EXPECT_EQ(shown[1]["failure"], "crashes with signal 6");
    EXPECT_EQ(shown[2]["path"], TAVIX_GENTL_PRODUCER);
    EXPECT_EQ(shown[2]["works"], true) << outcome.out;
}

TEST(GentlCommand, EndsWithZeroWhenAllProducersOfThePathWork) {
    const Variable path(kPath, TAVIX_GENTL_PRODUCER);
    const Outcome outcome = RunTool({"gentl"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("works"));
}

TEST(GentlCommand, SaysWhatToExportWhenNothingIsFound) {
    const Variable path(kPath, "/nowhere");
    const Outcome outcome = RunTool({"gentl"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "tavix: no GenTL program finds a producer: GENICAM_GENTL64_PATH names none; export "
                           "GENICAM_GENTL64_PATH=" +
                               std::filesystem::canonical(kFolder).string() + "\n");
}

TEST(GentlCommand, IsWhatTheDoctorLooksThrough) {
    const auto said = [](const std::string& path) {
        const Variable variable(kPath, path);
        json about = json::array();
        for (const json& finding : json::parse(RunTool({"--virtual", "1", "doctor", "--json"}).out, nullptr, false))
            if (finding["id"] == "gentl-producer") about.push_back(finding);
        return about;
    };
    const json found = said(kFolder);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0]["severity"], "good");
    EXPECT_THAT(found[0]["text"], EndsWith("libtavixgentl.cti works"));
    const json missed = said("/nowhere");
    ASSERT_EQ(missed.size(), 1U);
    EXPECT_EQ(missed[0]["severity"], "note");
    EXPECT_THAT(missed[0]["command"],
                HasSubstr("export GENICAM_GENTL64_PATH=" + std::filesystem::canonical(kFolder).string()));
}

TEST(GentlCommand, LetsTheDoctorTellWhatIsWrongWithThePath) {
    const Variable variable(kPath, kFolder + ":/nowhere:" + kFolder + "/");
    const std::string out = RunTool({"--virtual", "1", "doctor"}).out;
    EXPECT_THAT(out, HasSubstr("note     GenTL: GENICAM_GENTL64_PATH names /nowhere, which does not exist\n"
                               "         $ export GENICAM_GENTL64_PATH='" +
                               kFolder + "'\n"));
    EXPECT_THAT(out, HasSubstr("names " + kFolder + "/, and what is there before it, too"));
}

} // namespace
