// Grabbing: figures, files, and ends of every kind.

#include "Png.h"
#include "tests/tools/support/SmallFiles.h"
#include "tests/tools/support/TestFolder.h"
#include "tests/tools/support/ToolRun.h"

#include <gtest/gtest.h>

#include <csignal>
#include <set>

#include <nlohmann/json.hpp>

namespace {

using namespace tooltest;
using nlohmann::json;

/// The settings file of one camera as fast as it can be.
std::string OneCamera(const TestFolder& folder, const std::string& members = {}) {
    return folder.Write("cameras.json",
                        "{\"cameras\": [{\"frameRateEnable\": false, \"sensorWidth\": 320, \"sensorHeight\": 240" +
                            (members.empty() ? "" : ", " + members) + "}]}");
}

json Report(const Outcome& outcome) {
    return json::parse(outcome.out, nullptr, /*allow_exceptions=*/false);
}

TEST(GrabCommand, SavesEveryFrameOfTwoCamerasAtOnce) {
    const TestFolder folder;
    // Cameras that make a frame when the host asks for one, so that a slow machine misses none.
    const std::string cameras =
        folder.Write("cameras.json", R"({"cameras": [{"frameRateEnable": false}, {"frameRateEnable": false}]})");
    const Outcome outcome = RunTool({"--virtual", cameras, "grab", "--all", "-n", "20", "-o", folder.Path("images"),
                                     "-s", "Width=320", "-s", "Height=200", "-b", "32", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    const json report = Report(outcome);
    ASSERT_EQ(report["cameras"].size(), 2u);
    for (const json& camera : report["cameras"]) {
        EXPECT_EQ(camera["frames"], 20);
        EXPECT_EQ(camera["failed"], 0);
        EXPECT_EQ(camera["missed"], 0);
        EXPECT_EQ(camera["images"], 20);
        EXPECT_EQ(camera["bytes"], 20 * 320 * 200);
        EXPECT_GT(camera["framesPerSecond"], 0);
    }
    const auto files = folder.Files(".png");
    ASSERT_EQ(files.size(), 40u);
    std::set<std::vector<std::uint8_t>> contents;
    for (const std::string& file : files) {
        const PngImage image = ReadPng(file);
        ASSERT_TRUE(image.isRead) << file;
        EXPECT_EQ(image.width, 320u);
        EXPECT_EQ(image.height, 200u);
        contents.insert(image.samples);
    }
    EXPECT_GE(contents.size(), 20u) << "each frame of a camera shows its own number";
}

TEST(GrabCommand, WritesWhatGoesOverTheWireToATrace) {
    const TestFolder folder;
    const std::string old(1000, 'x');
    const std::string trace = folder.Write("wire.pcapng", old);
    const Outcome outcome = RunTool({"--virtual", OneCamera(folder), "grab", "-n", "3", "--quiet", "--trace", trace});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const std::string bytes = folder.Read("wire.pcapng");
    EXPECT_EQ(bytes.substr(0, 4), "\x0A\x0D\x0D\x0A") << "a section header comes first";
    EXPECT_EQ(bytes.find(old), std::string::npos) << "the file begins anew";
    EXPECT_NE(bytes.find("U3VC"), std::string::npos) << "commands";
    std::size_t leaders = 0;
    for (auto at = bytes.find("U3VL"); at != std::string::npos; at = bytes.find("U3VL", at + 1))
        ++leaders;
    EXPECT_GE(leaders, 3u);
}

TEST(GrabCommand, ChecksTheChecksumOfEveryFrame) {
    const TestFolder folder;
    const Outcome outcome = RunTool({"--virtual", OneCamera(folder), "grab", "-n", "25", "--chunks", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const json camera = Report(outcome)["cameras"][0];
    EXPECT_EQ(camera["checksumRight"], 25);
    EXPECT_EQ(camera["checksumWrong"], 0);
    EXPECT_EQ(camera["checksumMissing"], 0);
}

TEST(GrabCommand, SavesTheImageWithoutItsChunks) {
    const TestFolder folder;
    const Outcome outcome =
        RunTool({"--virtual", OneCamera(folder), "grab", "-n", "1", "--chunks", "-o", folder.Path(), "-f", "pgm"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    ASSERT_EQ(folder.Files(".pgm").size(), 1u);
    EXPECT_EQ(std::filesystem::file_size(folder.Files(".pgm")[0]),
              std::string("P5\n320 240\n255\n").size() + 320 * 240);
}

TEST(GrabCommand, SavesEveryNthFrameInTheFormatAskedFor) {
    const TestFolder folder;
    const Outcome outcome = RunTool({"--virtual", OneCamera(folder), "grab", "-n", "10", "--every", "4", "-f", "raw",
                                     "-o", folder.Path("new/images")});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    ASSERT_EQ(folder.Files(".raw").size(), 3u);
    EXPECT_EQ(std::filesystem::file_size(folder.Files(".raw")[0]), 320u * 240u);
}

class EachPixelFormat : public testing::TestWithParam<const char*> {};

/// White, yellow, cyan, green, magenta, red, blue and black, 96 pixels each, whatever form the camera sends them in.
TEST_P(EachPixelFormat, ShowsTheSameBars) {
    const TestFolder folder;
    const std::string settings =
        folder.Write("bars.json", R"({"cameras": [{"sensorWidth": 768, "sensorHeight": 256}]})");
    const Outcome outcome = RunTool({"--virtual", settings, "grab", "-n", "1", "-o", folder.Path(), "-s",
                                     "TestPattern=ColorBar", "-s", std::string("PixelFormat=") + GetParam()});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    ASSERT_EQ(folder.Files(".png").size(), 1u);
    const PngImage image = ReadPng(folder.Files(".png")[0]);
    ASSERT_TRUE(image.isRead);
    ASSERT_EQ(image.width, 768u);
    const std::size_t pixel = static_cast<std::size_t>(image.channels) * image.depth / 8;
    constexpr int kBars[8][3] = {{255, 255, 255}, {255, 255, 0}, {0, 255, 255}, {0, 255, 0},
                                 {255, 0, 255},   {255, 0, 0},   {0, 0, 255},   {0, 0, 0}};
    for (std::size_t bar = 0; bar < 8; ++bar) {
        const std::uint8_t* sample = &image.samples[(250 * 768 + 48 + 96 * bar) * pixel];
        const int* rgb = kBars[bar];
        if (image.channels == 3) {
            for (int i = 0; i < 3; ++i)
                EXPECT_NEAR(sample[i], rgb[i], 2) << "bar " << bar << ", channel " << i;
        } else {
            EXPECT_NEAR(sample[0], 0.299 * rgb[0] + 0.587 * rgb[1] + 0.114 * rgb[2], 2) << "bar " << bar;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Grab, EachPixelFormat,
                         testing::Values("Mono8", "Mono12", "Mono12p", "BayerRG8", "RGB8", "BGR8", "YCbCr422_8"),
                         [](const auto& instance) { return std::string(instance.param); });

TEST(GrabCommand, GivesUpWhenTheCameraFallsSilent) {
    const Outcome outcome =
        RunTool({"--virtual", "1", "grab", "-n", "5", "-s", "AcquisitionFrameRate=0.1", "--timeout", "200"});
    EXPECT_EQ(outcome.status, 1);
    ASSERT_EQ(Lines(outcome.err).size(), 1u) << outcome.err;
    EXPECT_NE(outcome.err.find("sent no image for 200 ms"), std::string::npos) << outcome.err;
    EXPECT_NE(outcome.err.find("wait longer with --timeout"), std::string::npos) << outcome.err;
}

TEST(GrabCommand, EndsAtOnceWhenTheCameraIsUnplugged) {
    const TestFolder folder;
    const std::string settings =
        OneCamera(folder, R"("faults": {"stream": [{"fault": "Unplug", "frame": 7, "value": 500}]})");
    const Outcome outcome = RunTool({"--virtual", settings, "grab", "-n", "100", "--timeout", "60000", "--json"});
    EXPECT_EQ(outcome.status, 1);
    ASSERT_EQ(Lines(outcome.err).size(), 1u) << outcome.err;
    EXPECT_NE(outcome.err.find("was unplugged during the grab, after "), std::string::npos) << outcome.err;
    const json report = Report(outcome);
    EXPECT_LE(report["cameras"][0]["frames"], 7);
    ASSERT_EQ(report["errors"].size(), 1u);
    EXPECT_EQ(outcome.err, "tavix: " + report["errors"][0].get<std::string>() + "\n");
}

TEST(GrabCommand, KeepsTheFiguresOfTheOtherCameraWhenOneIsUnplugged) {
    const TestFolder folder;
    const std::string settings = folder.Write("two.json", R"({"cameras": [
        {"serial": "1", "guid": "120900000001", "faults": {"stream": [{"fault": "Unplug", "frame": 3}]}},
        {"serial": "2", "guid": "120900000002"}]})");
    const Outcome outcome = RunTool({"--virtual", settings, "grab", "--all", "-n", "10"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(Lines(outcome.err).size(), 1u) << outcome.err;
    EXPECT_NE(outcome.err.find("VC-1300 (1) was unplugged"), std::string::npos) << outcome.err;
    EXPECT_NE(outcome.out.find("VC-1300 (2)      10"), std::string::npos) << outcome.out;
}

TEST(GrabCommand, CountsADamagedFrameOnceGoesOnAndEndsWithAStatusOfItsOwn) {
    const TestFolder folder;
    const std::string settings =
        OneCamera(folder, R"("faults": {"stream": [{"fault": "Truncated", "frame": 5, "value": 1000}]})");
    const Outcome outcome = RunTool({"--virtual", settings, "grab", "-n", "20", "--json"});
    EXPECT_EQ(outcome.status, 3) << outcome.err;
    ASSERT_EQ(Lines(outcome.err).size(), 1u) << outcome.err;
    EXPECT_NE(outcome.err.find(" of 20 frames failed: "), std::string::npos) << outcome.err;
    EXPECT_NE(outcome.err.find("limit; check cable and hub"), std::string::npos) << outcome.err;
    const json camera = Report(outcome)["cameras"][0];
    EXPECT_GE(camera["failed"], 1);
    EXPECT_EQ(camera["frames"].get<int>() + camera["failed"].get<int>(), 20);
    EXPECT_NE(camera["firstError"], "");
    EXPECT_EQ(outcome.err, "tavix: " + Report(outcome)["errors"][0].get<std::string>() + "\n");
}

TEST(GrabCommand, ReportsAsManyFailuresAsSuccesses) {
    const TestFolder folder;
    const std::string settings =
        OneCamera(folder, R"("faults": {"stream": [{"fault": "Truncated", "frame": 1, "value": 1000}]})");
    const Outcome outcome = RunTool({"--virtual", settings, "grab", "-n", "2"});
    EXPECT_EQ(outcome.status, 3) << outcome.err;
    EXPECT_NE(outcome.out.find("frames  failed  missed"), std::string::npos) << outcome.out;
    EXPECT_NE(outcome.out.find(": first failure: "), std::string::npos) << outcome.out;
}

TEST(GrabCommand, PutsACameraThatFailedBeforeOneWithFailedFrames) {
    const TestFolder folder;
    const std::string settings = folder.Write("two.json", R"({"cameras": [
        {"serial": "1", "guid": "120900000001", "frameRateEnable": false,
         "faults": {"stream": [{"fault": "Truncated", "frame": 2, "value": 1000}]}},
        {"serial": "2", "guid": "120900000002", "faults": {"stream": [{"fault": "Unplug", "frame": 3}]}}]})");
    const Outcome outcome = RunTool({"--virtual", settings, "grab", "--all", "-n", "10"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("VC-1300 (2) was unplugged"), std::string::npos) << outcome.err;
    EXPECT_NE(outcome.err.find("(and 1 more)"), std::string::npos) << outcome.err;
}

TEST(GrabCommand, TakesShorterTransfersForACameraThatNeedsThem) {
    const TestFolder folder;
    const std::string settings =
        folder.Write("c.json", R"({"cameras": [{"registers": {"silentAboveTransfer": 65536}}]})");
    const Outcome silent = RunTool({"--virtual", settings, "grab", "-n", "2", "--timeout", "200"});
    EXPECT_EQ(silent.status, 1);
    EXPECT_NE(silent.err.find("try --transfer-size 65536"), std::string::npos) << silent.err;
    const Outcome outcome = RunTool({"--virtual", settings, "grab", "-n", "2", "--transfer-size", "65536"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
}

TEST(GrabCommand, EndsInGoodOrderAtCtrlC) {
    const TestFolder folder;
    // It misses none, and one that is just being written is soon finished.
    const std::string settings =
        folder.Write("c.json", R"({"cameras": [{"frameRateEnable": false, "sensorWidth": 64, "sensorHeight": 64}]})");
    ToolRun run({"--virtual", settings, "grab", "-n", "1000000", "-o", folder.Path("images"), "--json"});
    ASSERT_TRUE(Eventually([&] { return !folder.Files(".png").empty(); }));
    run.Signal(SIGINT);
    const Outcome outcome = run.Finish();
    EXPECT_EQ(outcome.status, 130);
    EXPECT_EQ(outcome.err, "tavix: interrupted\n");
    const json report = Report(outcome);
    EXPECT_GE(report["cameras"][0]["frames"], 1);
    EXPECT_EQ(report["cameras"][0]["images"], folder.Files(".png").size());
    EXPECT_EQ(report["errors"].size(), 0u);
    for (const std::string& file : folder.Files(".png"))
        EXPECT_TRUE(ReadPng(file).isRead) << file;
}

class EachFileFormat : public testing::TestWithParam<const char*> {};

TEST_P(EachFileFormat, LeavesNoTornFileWhenItCannotBeWrittenWhole) {
    const TestFolder folder;
    const std::string settings = OneCamera(folder);
    Outcome outcome;
    {
        const SmallFiles limit(1024);
        outcome = RunTool(
            {"--virtual", settings, "grab", "-n", "100000", "-o", folder.Path("images"), "-f", GetParam(), "-q"});
    }
    EXPECT_EQ(outcome.status, 1);
    ASSERT_EQ(Lines(outcome.err).size(), 1u) << outcome.err;
    EXPECT_NE(outcome.err.find("cannot write " + folder.Path("images/")), std::string::npos) << outcome.err;
    EXPECT_NE(outcome.err.find("choose another --output"), std::string::npos) << outcome.err;
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path("images")));
}

INSTANTIATE_TEST_SUITE_P(Grab, EachFileFormat, testing::Values("png", "pgm", "raw"),
                         [](const auto& instance) { return std::string(instance.param); });

TEST(Grab, SaysThatTheModeEndsIt) {
    const Outcome outcome =
        RunTool({"--virtual", "1", "grab", "-n", "3", "-q", "--timeout", "300", "-s", "AcquisitionMode=SingleFrame"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("AcquisitionMode is SingleFrame, and it may have sent all"), std::string::npos)
        << outcome.err;
}

TEST(Grab, TellsCamerasApartThatAreCalledAlike) {
    const char* const twins = R"({"cameras":[{"serial":"7"},{"serial":"7"},{"serial":"8"}]})";
    const Outcome outcome = RunTool({"--virtual", twins, "grab", "--all", "-n", "1", "-q", "--chunks"});
    EXPECT_NE(outcome.out.find("\nVC-1300 (7) #0  "), std::string::npos) << outcome.out;
    EXPECT_NE(outcome.out.find("\nVC-1300 (7) #1  "), std::string::npos) << outcome.out;
    EXPECT_NE(outcome.out.find("\nVC-1300 (8)  "), std::string::npos) << outcome.out;
    EXPECT_NE(outcome.out.find("\nVC-1300 (7) #1: checksum"), std::string::npos) << outcome.out;
    const Outcome failed = RunTool({"--virtual", twins, "grab", "-c", "0", "-c", "1", "-q", "-s", "Nothing=1"});
    EXPECT_EQ(failed.err, "tavix: VC-1300 (7) #0 has no feature 'Nothing'; `tavix features` lists all (and 1 more)\n");
}

TEST(Grab, GivesNumberAndPathOfEachCameraAsJson) {
    const char* const twins = R"({"cameras":[{"serial":"7"},{"serial":"7"}]})";
    const json report = Report(RunTool({"--virtual", twins, "grab", "--all", "-n", "1", "--json"}));
    ASSERT_EQ(report["cameras"].size(), 2u);
    EXPECT_EQ(report["cameras"][1]["camera"], "VC-1300 (7) #1");
    EXPECT_EQ(report["cameras"][1]["number"], 1);
    EXPECT_NE(report["cameras"][0]["path"], report["cameras"][1]["path"]);
    EXPECT_EQ(report["cameras"][0]["path"].get<std::string>().rfind("virtual:", 0), 0u);
}

TEST(CameraChoice, AdvisesThePathWhereGuidsAreEqual) {
    const char* const twins = R"({"cameras":[{"guid":"120900000007"},{"guid":"120900000007"}]})";
    EXPECT_EQ(RunTool({"--virtual", twins, "info", "-c", "120900000007"}).err,
              "tavix: '120900000007' fits 2 cameras; use the number or the path that `tavix list` shows\n");
    EXPECT_EQ(RunTool({"--virtual", "2", "info", "-c", "VC-1300"}).err,
              "tavix: 'VC-1300' fits 2 cameras; use the number or the GUID that `tavix list` shows\n");
}

} // namespace
