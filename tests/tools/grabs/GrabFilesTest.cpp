// What a grab leaves in its folder, and what its buffers cost.

#include "tests/tools/support/TestFolder.h"
#include "tests/tools/support/ToolRun.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace {

using namespace tooltest;
using nlohmann::json;

/// A small camera that waits for the host, so that no frame is missed.
json Camera(json members = json::object()) {
    json camera{{"frameRateEnable", false}, {"sensorWidth", 320}, {"sensorHeight", 240}};
    camera.update(members);
    return camera;
}

std::string Settings(const TestFolder& folder, const json& cameras) {
    return folder.Write("cameras.json", json{{"cameras", cameras}}.dump());
}

std::size_t ImagesOf(const Outcome& outcome) {
    const json report = json::parse(outcome.out, nullptr, /*allow_exceptions=*/false);
    std::size_t images = 0;
    for (const json& camera : report["cameras"])
        images += camera["images"].get<std::size_t>();
    return images;
}

TEST(GrabFiles, OfTwoCamerasThatAreCalledAlikeAreAllThere) {
    const TestFolder folder;
    for (const char* guid : {"120900000002", "120900000001"}) {
        const std::string settings = Settings(
            folder, {Camera({{"serial", "1"}, {"guid", "120900000001"}}), Camera({{"serial", "1"}, {"guid", guid}})});
        const std::string images = folder.Path(guid);
        const Outcome outcome =
            RunTool({"--virtual", settings, "grab", "--all", "-n", "4", "-f", "pgm", "-o", images, "--json"});
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(ImagesOf(outcome), 8u);
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(images), {}), 8);
    }
}

TEST(GrabFiles, OfAnEarlierGrabStayUnlessToldOtherwise) {
    const TestFolder folder;
    const std::string settings = Settings(folder, json::array({Camera()}));
    const Arguments grab{"--virtual", settings, "grab", "-n", "2", "-q", "-f", "pgm", "-o", folder.Path("i")};
    ASSERT_EQ(RunTool(grab).status, 0);
    const std::string first = folder.Files(".pgm").front();
    std::ofstream(first) << "mine";
    EXPECT_EQ(RunTool(grab).status, 0);
    EXPECT_EQ(folder.Files(".pgm").size(), 4u);
    EXPECT_EQ(std::filesystem::file_size(first), 4u);

    Arguments again = grab;
    again.push_back("--overwrite");
    EXPECT_EQ(RunTool(again).status, 0);
    EXPECT_EQ(folder.Files(".pgm").size(), 4u);
    EXPECT_GT(std::filesystem::file_size(first), 4u);
}

TEST(GrabFiles, TellWhatTheyHold) {
    const TestFolder folder;
    const std::string settings = Settings(folder, json::array({Camera()}));
    ASSERT_EQ(RunTool({"--virtual", settings, "grab", "-n", "1", "-q", "-f", "raw", "-s", "PixelFormat=Mono12p", "-o",
                       folder.Path()})
                  .status,
              0);
    ASSERT_EQ(folder.Files(".raw").size(), 1u);
    const json side = json::parse(folder.Read("VC-1300_40000001_000000.json"), nullptr, false);
    EXPECT_EQ(side["width"], 320);
    EXPECT_EQ(side["height"], 240);
    EXPECT_EQ(side["pixelFormat"], "Mono12p");
    EXPECT_EQ(side["pixelFormatCode"], "0x010C0047");
    EXPECT_EQ(side["bytes"], 320 * 240 * 3 / 2);
    EXPECT_EQ(side["blockId"], 0);
    EXPECT_EQ(side["camera"], "VC-1300 (40000001)");

    ASSERT_EQ(RunTool({"--virtual", settings, "grab", "-n", "2", "-q", "-o", folder.Path("png")}).status, 0);
    ASSERT_EQ(folder.Files(".png").size(), 2u);
    const std::string png = folder.Read("png/VC-1300_40000001_000001.png");
    const auto text = [&](const std::string& key) {
        const auto at = png.find("iTXt" + key);
        return at == std::string::npos ? "" : std::string(png.c_str() + at + 4 + key.size() + 5);
    };
    EXPECT_EQ(text("Camera").substr(0, 18), "VC-1300 (40000001)");
    EXPECT_EQ(text("BlockId").substr(0, 1), "1");
    EXPECT_EQ(text("PixelFormat").substr(0, 5), "Mono8");
    EXPECT_NE(text("Timestamp"), "");
}

TEST(GrabBuffers, AreAsLargeAsTheStreamSaysWhateverAFeatureSays) {
    const TestFolder folder;
    std::ifstream file(TAVIX_VIRTUAL_CAMERA_XML);
    std::string xml{std::istreambuf_iterator<char>(file), {}};
    const std::string link = "<pValue>PayloadSize_Reg</pValue>";
    ASSERT_NE(xml.find(link), std::string::npos);
    xml.replace(xml.find(link), link.size(), "<Value>536870912</Value>");
    const std::string settings =
        Settings(folder, json::array({Camera({{"registers", {{"descriptionPath", folder.Write("large.xml", xml)}}}})}));
    const Outcome outcome = RunTool({"--virtual", settings, "grab", "-n", "3", "-q", "--memory", "1"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
}

TEST(GrabBuffers, CostNothingUntilTheyAreUsed) {
    const TestFolder folder;
    const std::string settings = Settings(folder, json::array({{{"frameRateEnable", false}}}));
    const Outcome outcome = RunTool({"--virtual", settings, "grab", "-n", "2", "-q", "-b", "1000"}); // 1.3 GB
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_LT(outcome.peakKilobytes, 600000);
}

TEST(GrabBuffers, AreRefusedBeyondALimitThatCanBeSet) {
    const TestFolder folder;
    const std::string settings = Settings(folder, json::array({Camera()}));
    const Outcome outcome =
        RunTool({"--virtual", settings, "grab", "-n", "1", "-q", "--buffers", "20", "--memory", "1"});
    EXPECT_EQ(outcome.status, 1);
    ASSERT_EQ(Lines(outcome.err).size(), 1u) << outcome.err;
    EXPECT_NE(outcome.err.find("20 buffers for images of 76800 bytes take more than the 1048576 bytes"),
              std::string::npos)
        << outcome.err;
    EXPECT_EQ(RunTool({"--virtual", settings, "grab", "-n", "1", "-q", "--buffers", "13", "--memory", "1"}).status, 0);
}

TEST(GrabBuffers, SayThatTheSystemHasTooLittleMemoryForTheirTransfers) {
    const TestFolder folder;
    json settings = {{"cameras", json::array({{{"sensorWidth", 1920}, {"sensorHeight", 1088}}})},
                     {"transferMemoryLimit", 8000}};
    const Outcome outcome = RunTool(
        {"--virtual", folder.Write("short.json", settings.dump()), "grab", "-n", "5", "-q", "--timeout", "1000"});
    EXPECT_EQ(outcome.status, 1);
    const auto lines = Lines(outcome.err);
    ASSERT_EQ(lines.size(), 1u) << outcome.err;
    EXPECT_NE(lines[0].find("The kernel's memory limit for USB transfers is reached."), std::string::npos) << lines[0];
    EXPECT_NE(lines[0].find("sudo tee /sys/module/usbcore/parameters/usbfs_memory_mb"), std::string::npos) << lines[0];
    EXPECT_EQ(lines[0].find("exposure"), std::string::npos) << lines[0];
}

TEST(GrabBuffers, TellHowMuchImagesThatWaitForTheDiskTakeBesides) {
    const std::string text = "images that wait for the disk take up to 512 more";
    EXPECT_NE(RunTool({"grab", "--help"}).out.find(text), std::string::npos);
    EXPECT_EQ(RunTool({"bench", "--help"}).out.find(text), std::string::npos) << "it saves none";
}

TEST(GrabStatus, TellsOfFramesThatNeverCame) {
    const TestFolder folder;
    const json gap{{"stream", {{{"fault", "IdGap"}, {"frame", 3}, {"value", 5}}}}};
    const std::string settings = Settings(folder, json::array({Camera({{"faults", gap}})}));
    for (const char* command : {"grab", "bench", "chunks"}) {
        const Outcome outcome = RunTool({"--virtual", settings, command, "-n", "8"});
        EXPECT_EQ(outcome.status, 3) << command;
        ASSERT_EQ(Lines(outcome.err).size(), 1u) << outcome.err;
        EXPECT_NE(outcome.err.find(": 5 frames never came; "), std::string::npos) << outcome.err;
    }
}

} // namespace
