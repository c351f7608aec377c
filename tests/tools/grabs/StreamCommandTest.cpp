// The commands that print what comes with the images: events, chunk data, figures.

#include "tests/tools/support/TestFolder.h"
#include "tests/tools/support/ToolRun.h"

#include <gtest/gtest.h>

#include <csignal>

#include <nlohmann/json.hpp>

namespace {

using namespace tooltest;
using nlohmann::json;

std::vector<json> JsonLines(const Outcome& outcome) {
    std::vector<json> values;
    for (const std::string& line : Lines(outcome.out))
        values.push_back(json::parse(line, nullptr, /*allow_exceptions=*/false));
    return values;
}

std::string CameraWith(const TestFolder& folder, const std::string& members) {
    return folder.Write("camera.json", "{\"cameras\": [{" + members + "}]}");
}

TEST(EventsCommand, TellWhatTheCameraSendsDuringAGrab) {
    const Outcome outcome =
        RunTool({"--virtual", "1", "events", "--grab", "ExposureEnd", "FrameStart", "--count", "6", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    const auto events = JsonLines(outcome);
    ASSERT_EQ(events.size(), 6u);
    std::vector<int> frames;
    for (const json& event : events) {
        if (event["event"] == "FrameStart") {
            EXPECT_EQ(event["id"], 0x9002);
            continue;
        }
        ASSERT_EQ(event["event"], "ExposureEnd");
        EXPECT_EQ(event["id"], 0x9001);
        EXPECT_TRUE(event["features"]["EventExposureEndTimestamp"].is_number_integer());
        frames.push_back(event["features"]["EventExposureEndFrameID"]);
    }
    EXPECT_EQ(frames, (std::vector<int>{0, 1, 2}));
}

TEST(EventsCommand, AreOnlyThoseThatWereNamed) {
    const Outcome outcome = RunTool({"--virtual", "1", "events", "-g", "FrameStart", "-n", "3"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    ASSERT_EQ(Lines(outcome.out).size(), 3u);
    for (const std::string& line : Lines(outcome.out))
        EXPECT_EQ(line.rfind("FrameStart 0x9002: EventFrameStart=", 0), 0u) << line;
}

TEST(EventsCommand, MayBeNamedAfterASetting) {
    const Outcome outcome =
        RunTool({"--virtual", "1", "events", "-g", "-n", "2", "--set", "AcquisitionFrameRateEnable=0", "FrameStart"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    ASSERT_EQ(Lines(outcome.out).size(), 2u);
    for (const std::string& line : Lines(outcome.out))
        EXPECT_EQ(line.rfind("FrameStart ", 0), 0u) << line;
}

TEST(EventsCommand, SayWhatToDoWhenNoneComes) {
    const Outcome outcome = RunTool({"--virtual", "1", "events", "--timeout", "100"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("it sent no event for 100 ms"), std::string::npos) << outcome.err;
    EXPECT_NE(outcome.err.find("add --grab"), std::string::npos) << outcome.err;
}

TEST(EventsCommand, DoNotAskForTheGrabThatThereIs) {
    const Outcome outcome =
        RunTool({"--virtual", "1", "events", "ExposureEnd", "-g", "--timeout", "50", "--set", "TriggerMode=On"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err.find("add --grab"), std::string::npos) << outcome.err;
    EXPECT_NE(outcome.err.find("add --set TriggerMode=Off"), std::string::npos) << outcome.err;
}

TEST(EventsCommand, SayWhenTheyComeDamaged) {
    const TestFolder folder;
    const std::string settings = CameraWith(folder, R"("faults": {"events": [{"fault": "WrongPrefix", "count": 0}]})");
    const Outcome outcome = RunTool({"--virtual", settings, "events", "FrameStart", "-g", "--timeout", "3000"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("no event came whole for 3000 ms, and "), std::string::npos) << outcome.err;
    EXPECT_EQ(outcome.err.find("TriggerMode"), std::string::npos) << outcome.err;
}

TEST(EventsCommand, NameTheEventsThatThereAre) {
    for (const Arguments& more : {Arguments{}, {"--grab"}}) {
        Arguments arguments{"--virtual", "1", "events", "Sunrise"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const Outcome outcome = RunTool(arguments);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_NE(outcome.err.find("no event 'Sunrise'; it has ExposureEnd, FrameStart"), std::string::npos)
            << outcome.err;
    }
}

TEST(EventsCommand, AreWrittenAtOnceUntilCtrlC) {
    ToolRun run({"--virtual", "1", "events", "--grab"});
    ASSERT_TRUE(Eventually([&] { return Lines(run.Output()).size() >= 3; }));
    run.Signal(SIGINT);
    const Outcome outcome = run.Finish();
    EXPECT_EQ(outcome.status, 130);
    EXPECT_EQ(outcome.err, "tavix: interrupted\n");
}

TEST(EventsCommand, EndWhenTheCameraIsUnplugged) {
    const TestFolder folder;
    const std::string settings = CameraWith(folder, R"("faults": {"stream": [{"fault": "Unplug", "frame": 3}]})");
    const Outcome outcome = RunTool({"--virtual", settings, "events", "--grab"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("was unplugged"), std::string::npos) << outcome.err;
    EXPECT_EQ(Lines(outcome.err).size(), 1u) << outcome.err;
}

TEST(Chunks, ShowTheDataOfEachFrame) {
    const TestFolder folder;
    const std::string settings = CameraWith(folder, R"("frameRateEnable": false)"); // waits for a slow machine
    const Outcome outcome = RunTool({"--virtual", settings, "chunks", "-n", "3", "-s", "ExposureTime=5000", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const auto frames = JsonLines(outcome);
    ASSERT_EQ(frames.size(), 3u);
    for (std::size_t i = 0; i < frames.size(); ++i) {
        EXPECT_EQ(frames[i]["block"], i);
        EXPECT_EQ(frames[i]["checksum"], "right");
        EXPECT_EQ(frames[i]["chunks"]["ChunkFrameID"], i);
        EXPECT_EQ(frames[i]["chunks"]["ChunkExposureTime"], 5000.0);
        EXPECT_FALSE(frames[i]["chunks"].contains("ChunkModeActive")) << "a setting is no chunk";
    }
}

TEST(Chunks, PrintALineAFrame) {
    const TestFolder folder;
    const Outcome outcome =
        RunTool({"--virtual", CameraWith(folder, R"("frameRateEnable": false)"), "chunks", "-n", "2"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    ASSERT_EQ(Lines(outcome.out).size(), 2u);
    EXPECT_EQ(Lines(outcome.out)[1].rfind("block 1: Chunk", 0), 0u) << outcome.out;
    EXPECT_NE(outcome.out.find(", checksum right\n"), std::string::npos) << outcome.out;
}

std::string WithChange(std::string text, const std::string& from, const std::string& to) {
    const auto at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

TEST(Chunks, AreTakenAsTheCameraHasThemWhereTheyCannotBeSelectedOrEnabled) {
    const TestFolder folder;
    std::ifstream file(TAVIX_VIRTUAL_CAMERA_XML);
    const std::string xml{std::istreambuf_iterator<char>(file), {}};
    const std::string selector = "<ToolTip>Which chunk ChunkEnable is about</ToolTip>";
    const std::string enable = "Name=\"ChunkEnable\"";
    const std::string locked = WithChange(xml, selector, selector + "<ImposedAccessMode>RO</ImposedAccessMode>");
    const std::string lacking = WithChange(xml, enable, "Name=\"ChunkWanted\"");
    for (const std::string& description : {locked, lacking}) {
        const std::string settings = CameraWith(folder, R"("registers": {"descriptionPath": ")" +
                                                            folder.Write("other.xml", description) + "\"}");
        const Outcome outcome = RunTool({"--virtual", settings, "chunks", "-n", "1"});
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(Lines(outcome.out).size(), 1u) << outcome.out;
    }
}

TEST(Bench, MeasuresRateCostLatencyAndLosses) {
    const TestFolder folder;
    const std::string settings =
        CameraWith(folder, R"("sensorWidth": 320, "sensorHeight": 240, "frameRateEnable": false)");
    const Outcome outcome = RunTool({"--virtual", settings, "bench", "-n", "200", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const json figures = json::parse(outcome.out, nullptr, false);
    EXPECT_EQ(figures["frames"], 200);
    EXPECT_EQ(figures["failed"], 0);
    EXPECT_GT(figures["framesPerSecond"], 0);
    EXPECT_NEAR(figures["megabytesPerSecond"].get<double>(),
                figures["framesPerSecond"].get<double>() * 320 * 240 * 1e-6, 1);
    EXPECT_GT(figures["cpuMsPerFrame"], 0);
    EXPECT_GT(figures["latencyMs"]["median"], 0);
    EXPECT_GE(figures["latencyMs"]["max"], figures["latencyMs"]["p99"]);
    EXPECT_GT(figures["intervalMs"]["max"], 0);
}

TEST(Bench, KnowsNoLatencyOfACameraWhoseClockCannotBeRead) {
    const TestFolder folder;
    std::ifstream file(TAVIX_VIRTUAL_CAMERA_XML);
    std::string xml{std::istreambuf_iterator<char>(file), {}};
    for (auto at = xml.find("TimestampLatchValue\""); at != std::string::npos; at = xml.find("TimestampLatchValue\"")) {
        xml.replace(at, std::string("TimestampLatchValue").size(), "ClockValue");
    }
    const std::string settings =
        CameraWith(folder, "\"registers\": {\"descriptionPath\": \"" + folder.Write("other.xml", xml) + "\"}");
    const Outcome outcome = RunTool({"--virtual", settings, "bench", "-n", "3", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_TRUE(json::parse(outcome.out, nullptr, false)["latencyMs"].is_null()) << outcome.out;
}

TEST(Bench, TellsOfFailedFramesByItsStatus) {
    const TestFolder folder;
    const std::string settings =
        CameraWith(folder, R"("faults": {"stream": [{"fault": "Truncated", "frame": 2, "value": 100}]})");
    for (const char* command : {"bench", "chunks"}) {
        const Outcome outcome = RunTool({"--virtual", settings, command, "-n", "8"});
        EXPECT_EQ(outcome.status, 3) << command;
        EXPECT_NE(outcome.out, "") << command;
        EXPECT_NE(outcome.err.find(" frames failed: "), std::string::npos) << outcome.err;
    }
}

} // namespace
