// The commands that do not grab, as text and as JSON.

#include "tools/support/TestFolder.h"
#include "tools/support/ToolRun.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace {

using namespace tooltest;
using nlohmann::json;

/// Runs with --json and one virtual camera; a discarded value when the output is not one JSON value.
json JsonOf(Arguments arguments) {
    arguments.insert(arguments.begin(), {"--virtual", "1"});
    arguments.push_back("--json");
    const Outcome outcome = RunTool(arguments);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    return json::parse(outcome.out, nullptr, /*allow_exceptions=*/false);
}

std::string TextOf(Arguments arguments) {
    arguments.insert(arguments.begin(), {"--virtual", "1"});
    const Outcome outcome = RunTool(arguments);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    return outcome.out;
}

/// The line of a table that begins with a name; empty when there is none.
std::string LineOf(const std::string& text, const std::string& name) {
    for (const std::string& line : Lines(text)) {
        const auto begin = line.find_first_not_of(' ');
        if (begin != std::string::npos && line.compare(begin, name.size() + 1, name + " ") == 0)
            return line.substr(begin);
    }
    return {};
}

TEST(Help, EndsWithStatusZero) {
    for (const Arguments& arguments : {Arguments{"--help"}, {"grab", "--help"}, {"--version"}}) {
        const Outcome outcome = RunTool(arguments);
        EXPECT_EQ(outcome.status, 0);
        EXPECT_NE(outcome.out, "");
        EXPECT_EQ(outcome.err, "");
    }
}

TEST(List, ShowsEachCameraInALine) {
    const Outcome outcome = RunTool({"--virtual", "3", "list"});
    EXPECT_EQ(outcome.status, 0);
    const auto lines = Lines(outcome.out);
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[1].rfind("0  Vandrel  VC-1300  40000001  120940000001", 0), 0u) << lines[1];
    EXPECT_EQ(lines[3][0], '2');
}

TEST(List, IsEmptyWithoutCamerasAndSaysSoElsewhere) {
    const Outcome text = RunTool({"list"});
    EXPECT_EQ(text.status, 0);
    EXPECT_EQ(text.out, "");
    EXPECT_NE(text.err.find("no camera found"), std::string::npos);
    EXPECT_EQ(json::parse(RunTool({"list", "--json"}).out), json::array());
}

TEST(List, GivesThePropertiesOfEachCameraAsJson) {
    const json cameras = JsonOf({"list"});
    ASSERT_EQ(cameras.size(), 1u);
    EXPECT_EQ(cameras[0]["SerialNumber"], "40000001");
    EXPECT_TRUE(cameras[0]["FullName"].is_string());
}

TEST(List, ShowsWhatCannotBePrintedWithoutPrintingIt) {
    const TestFolder folder;
    const std::string settings = folder.Write("c.json", R"({"cameras": [{"model": "A\u001b[31mB", "serial": "1"}]})");
    const Outcome outcome = RunTool({"--virtual", settings, "list"});
    EXPECT_EQ(outcome.out.find('\033'), std::string::npos);
    EXPECT_TRUE(json::accept(RunTool({"--virtual", settings, "list", "--json"}).out));
}

TEST(InfoCommand, CountsFeaturesAndTellsStatistics) {
    const json info = JsonOf({"info"});
    ASSERT_EQ(info.size(), 1u);
    EXPECT_GT(info[0]["features"], 100);
    EXPECT_EQ(info[0]["device"]["ModelName"], "VC-1300");
    EXPECT_TRUE(info[0]["transport"]["Statistic_Read_Operations_Failed_Count"].is_number_integer());
    EXPECT_NE(LineOf(TextOf({"info"}), "ModelName"), "");
}

TEST(FeaturesCommand, ShowTheTextOfStrings) {
    EXPECT_EQ(LineOf(TextOf({"features"}), "DeviceModelName").find("(64 bytes)"), std::string::npos);
    EXPECT_NE(LineOf(TextOf({"features"}), "DeviceModelName").find("VC-1300"), std::string::npos);
}

TEST(FeaturesCommand, ShowLimitsOnlyOfWhatCanBeSetAndOnlyRealOnes) {
    const std::string text = TextOf({"features"});
    EXPECT_NE(LineOf(text, "Width").find("16 .. 1280 step 4"), std::string::npos);
    EXPECT_EQ(LineOf(text, "SensorWidth").find(".."), std::string::npos);
    EXPECT_EQ(text.find("9223372036854775807"), std::string::npos);
    EXPECT_EQ(text.find("e+308"), std::string::npos);
}

TEST(FeaturesCommand, AreChosenByAPartOfTheirNameOrOfTheirGroup) {
    const std::string byName = TextOf({"features", "exposuretime"});
    EXPECT_NE(LineOf(byName, "ExposureTime"), "");
    EXPECT_EQ(LineOf(byName, "Width"), "");
    const std::string byGroup = TextOf({"features", "AnalogControl"});
    EXPECT_NE(LineOf(byGroup, "Gain"), "");
    EXPECT_EQ(LineOf(byGroup, "Width"), "");
}

TEST(FeaturesCommand, GiveNameTypeAccessValueAndLimitsAsJson) {
    const json features = JsonOf({"features"});
    ASSERT_TRUE(features.is_array());
    ASSERT_GT(features.size(), 80u);
    for (const json& feature : features) {
        EXPECT_TRUE(feature["name"].is_string());
        EXPECT_TRUE(feature["type"].is_string());
        EXPECT_TRUE(feature["category"].is_string());
    }
    const auto width =
        std::find_if(features.begin(), features.end(), [](const json& f) { return f["name"] == "Width"; });
    ASSERT_NE(width, features.end());
    EXPECT_EQ((*width)["access"], "RW");
    EXPECT_EQ((*width)["value"], 1280);
    EXPECT_EQ((*width)["min"], 16);
    EXPECT_EQ((*width)["increment"], 4);
}

TEST(FeaturesCommand, SayThatTheCameraLeftWhileTheyWereRead) {
    const TestFolder folder;
    const std::string settings =
        folder.Write("c.json", R"({"cameras": [{"faults": {"control": [{"fault": "Unplug", "skip": 60}]}}]})");
    for (const Arguments& more : {Arguments{}, {"--json"}}) {
        Arguments arguments{"--virtual", settings, "features"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const Outcome outcome = RunTool(arguments);
        EXPECT_EQ(outcome.status, 1);
        ASSERT_EQ(Lines(outcome.err).size(), 1u) << outcome.err;
        EXPECT_NE(outcome.err.find("The camera was removed."), std::string::npos) << outcome.err;
        EXPECT_NE(outcome.err.find("plug it in again"), std::string::npos) << outcome.err;
    }
}

TEST(Get, PrintsNameAndValueForEachName) {
    EXPECT_EQ(TextOf({"get", "Width", "PixelFormat", "DeviceModelName"}),
              "Width=1280\nPixelFormat=Mono8\nDeviceModelName=VC-1300\n");
}

TEST(Get, TakesNamesBehindTheCamera) {
    EXPECT_EQ(TextOf({"get", "--camera", "0", "Width", "Height"}), "Width=1280\nHeight=1024\n");
    EXPECT_NE(LineOf(TextOf({"features", "-c", "0", "ExposureTime"}), "ExposureTime"), "");
    EXPECT_EQ(TextOf({"set", "-c", "0", "Width=640", "Height=480"}), "Width=640\nHeight=480\n");
}

TEST(Get, KeepsTypesInJson) {
    const json values = JsonOf({"get", "Width", "ReverseX", "Gain", "DeviceModelName", "PixelFormat"});
    ASSERT_EQ(values.size(), 5u);
    EXPECT_TRUE(values[0]["value"].is_number_integer());
    EXPECT_TRUE(values[1]["value"].is_boolean());
    EXPECT_TRUE(values[2]["value"].is_number_float());
    EXPECT_EQ(values[3]["value"], "VC-1300");
    EXPECT_EQ(values[4]["value"], "Mono8");
}

TEST(Set, PrintsWhatTheCameraMadeOfTheValues) {
    EXPECT_EQ(TextOf({"set", "Width=640", "PixelFormat=RGB8", "ReverseX=1"}),
              "Width=640\nPixelFormat=RGB8\nReverseX=1\n");
    EXPECT_EQ(JsonOf({"set", "Width=640"})[0]["value"], 640);
}

TEST(Set, ExecutesCommands) {
    EXPECT_EQ(TextOf({"set", "TimestampLatch"}), "TimestampLatch done\n");
    EXPECT_EQ(JsonOf({"set", "TimestampLatch"})[0]["type"], "Command");
}

/// The set that is loaded brings the whole width back, which leaves no room for an offset.
TEST(Set, ExecutesACommandBeforeItGoesOn) {
    const Outcome outcome = RunTool({"--virtual", "1", "set", "Width=640", "UserSetLoad", "OffsetX=640"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "Width=640\nUserSetLoad done\n");
    EXPECT_EQ(TextOf({"set", "Width=640", "OffsetX=640"}), "Width=640\nOffsetX=640\n");
}

TEST(Set, DoesWhatCameBeforeTheFirstFailure) {
    const Outcome outcome = RunTool({"--virtual", "1", "set", "Width=640", "Height=1"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "Width=640\n");
    EXPECT_EQ(Lines(outcome.err).size(), 1u);
}

TEST(Set, PrintsWhatWasDoneBeforeTheFirstFailureAsJson) {
    for (const Arguments& names : {Arguments{"set", "Width=640", "Height=1"}, {"get", "Width", "Heigt"}}) {
        Arguments arguments{"--virtual", "1", "--json"};
        arguments.insert(arguments.begin() + 2, names.begin(), names.end());
        const Outcome outcome = RunTool(arguments);
        EXPECT_EQ(outcome.status, 1);
        const json done = json::parse(outcome.out, nullptr, false);
        ASSERT_EQ(done.size(), 1u) << outcome.out;
        EXPECT_EQ(done[0]["name"], "Width");
    }
}

TEST(FeaturesCommand, RoundTheIncrementsOfComputedNumbers) {
    for (const json& feature : JsonOf({"get", "ExposureTime", "Gain"}))
        EXPECT_EQ(feature["increment"].dump(), "0.1");
}

TEST(WhyCommand, NamesWhatAPersonCanChange) {
    const Outcome outcome = RunTool({"--virtual", "1", "set", "ExposureAuto=Continuous", "ExposureTime=500"});
    EXPECT_NE(outcome.err.find("'ExposureAuto' is Continuous"), std::string::npos) << outcome.err;
}

TEST(WhyCommand, NamesWhatTakesTheAccessAway) {
    EXPECT_NE(TextOf({"why", "AcquisitionMultiFrameCount"}).find("(NA): "), std::string::npos);
    EXPECT_NE(TextOf({"why", "Width"}).find("nothing stands in the way"), std::string::npos);
    EXPECT_EQ(JsonOf({"why", "SensorWidth"})[0]["access"], "RO");
}

TEST(Xml, ListsTheFeaturesOfADescriptionFileWithTheirLimits) {
    const Outcome outcome = RunTool({"xml", TAVIX_VIRTUAL_CAMERA_XML});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(Lines(outcome.out).front(), "Vandrel VirtualCamera");
    EXPECT_NE(LineOf(outcome.out, "TriggerMode").find("Off, On"), std::string::npos);
    EXPECT_NE(LineOf(outcome.out, "ExposureTime").find("us"), std::string::npos);
    EXPECT_NE(LineOf(outcome.out, "ExposureTime").find("  RW  "), std::string::npos);
    EXPECT_NE(LineOf(outcome.out, "SensorWidth").find("  RO"), std::string::npos);
    EXPECT_EQ(outcome.out.find("problem:"), std::string::npos);
}

TEST(Xml, TellsTheLimitsThatFollowFromRegistersAndConverters) {
    const TestFolder folder;
    const std::string path = folder.Write("x.xml", R"(<?xml version="1.0"?>
<RegisterDescription ModelName="M" VendorName="V" StandardNameSpace="None" SchemaMajorVersion="1" SchemaMinorVersion="1"
  SchemaSubMinorVersion="0" MajorVersion="1" MinorVersion="0" SubMinorVersion="0" ToolTip=""
  ProductGuid="0" VersionGuid="0" xmlns="http://www.genicam.org/GenApi/Version_1_1">
  <Port Name="Device"/>
  <Category Name="Root"><pFeature>Byte</pFeature><pFeature>Signed</pFeature><pFeature>Bits</pFeature>
    <pFeature>Wide</pFeature><pFeature>Upon</pFeature><pFeature>Scaled</pFeature><pFeature>Asking</pFeature></Category>
  <IntReg Name="Byte"><Address>0</Address><Length>1</Length><AccessMode>RW</AccessMode><pPort>Device</pPort></IntReg>
  <IntReg Name="Signed"><Address>0</Address><Length>2</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Sign>Signed</Sign></IntReg>
  <MaskedIntReg Name="Bits"><Address>0</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <LSB>4</LSB><MSB>6</MSB></MaskedIntReg>
  <IntReg Name="Wide"><Address>0</Address><Length>8</Length><AccessMode>RW</AccessMode><pPort>Device</pPort></IntReg>
  <Integer Name="Upon"><pValue>Byte</pValue><Min>16</Min><Inc>8</Inc></Integer>
  <Converter Name="Scaled"><FormulaTo>FROM * 2</FormulaTo><FormulaFrom>TO / 2</FormulaFrom><pValue>Byte</pValue>
  </Converter>
  <Integer Name="Asking"><pValue>Byte</pValue><pMax>Byte</pMax></Integer>
</RegisterDescription>)");
    const json features = json::parse(RunTool({"xml", path, "--json"}).out, nullptr, false)["features"];
    const std::vector<std::string> limits = {"0 .. 255",         "-32768 .. 32767", "0 .. 7",   "0 or more",
                                             "16 .. 255 step 8", "0 .. 127.5",      "0 .. Byte"};
    ASSERT_EQ(features.size(), limits.size());
    for (std::size_t i = 0; i < limits.size(); ++i)
        EXPECT_EQ(features[i]["limits"], limits[i]) << features[i]["name"];
}

TEST(Xml, GivesFeaturesAndProblemsAsJson) {
    const TestFolder folder;
    const std::string path = folder.Write("x.xml", R"(<?xml version="1.0"?>
<RegisterDescription ModelName="M" VendorName="V" StandardNameSpace="None" SchemaMajorVersion="1" SchemaMinorVersion="1"
  SchemaSubMinorVersion="0" MajorVersion="1" MinorVersion="0" SubMinorVersion="0" ToolTip=""
  ProductGuid="0" VersionGuid="0" xmlns="http://www.genicam.org/GenApi/Version_1_1">
  <Category Name="Root"><pFeature>Good</pFeature><pFeature>Bad</pFeature></Category>
  <Integer Name="Good"><Value>5</Value><Min>1</Min><Max>9</Max></Integer>
  <IntSwissKnife Name="Bad"><Formula>1 +</Formula></IntSwissKnife>
</RegisterDescription>)");
    const Outcome outcome = RunTool({"xml", path, "--json"});
    EXPECT_EQ(outcome.status, 0);
    const json description = json::parse(outcome.out, nullptr, false);
    EXPECT_EQ(description["model"], "M");
    ASSERT_EQ(description["features"].size(), 2u);
    EXPECT_EQ(description["features"][0]["limits"], "1 .. 9");
    EXPECT_EQ(description["features"][0]["access"], "RW");
    EXPECT_EQ(description["features"][1]["access"], "RO");
    EXPECT_EQ(description["problems"].size(), 1u);
}

TEST(Xml, ChecksADescriptionFile) {
    const Outcome outcome = RunTool({"xml", TAVIX_VIRTUAL_CAMERA_XML, "--lint"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.out, "0 errors, 0 warnings, 0 notes\n");
}

TEST(Xml, NamesFileLineAndCureOfWhatItFindsWrong) {
    const TestFolder folder;
    const std::string path = folder.Write("x.xml", R"(<?xml version="1.0"?>
<RegisterDescription ModelName="M" VendorName="V" StandardNameSpace="None" SchemaMajorVersion="1" SchemaMinorVersion="1"
  SchemaSubMinorVersion="0" MajorVersion="1" MinorVersion="0" SubMinorVersion="0" ToolTip=""
  ProductGuid="0" VersionGuid="0" xmlns="http://www.genicam.org/GenApi/Version_1_1">
  <Port Name="Device"/><Category Name="Root"><pFeature>Bad</pFeature></Category>
  <IntSwissKnife Name="Bad"><Formula>1 +</Formula></IntSwissKnife>
</RegisterDescription>)");
    const Outcome outcome = RunTool({"xml", path, "--lint"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "tavix: " + path + " has errors; correct what is said to be one\n");
    ASSERT_EQ(Lines(outcome.out).size(), 2u);
    EXPECT_EQ(Lines(outcome.out)[0].find(path + ":6: error: Bad: Formula: "), 0u) << outcome.out;
    EXPECT_NE(Lines(outcome.out)[0].find("correct the formula; the node has no value [bad-formula]"),
              std::string::npos);
    EXPECT_EQ(Lines(outcome.out)[1], "1 error, 0 warnings, 0 notes");

    const Outcome asJson = RunTool({"xml", path, "--lint", "--json"});
    EXPECT_EQ(asJson.status, 1);
    const json report = json::parse(asJson.out, nullptr, false);
    EXPECT_EQ(report["errors"], 1);
    ASSERT_EQ(report["findings"].size(), 1u);
    EXPECT_EQ(report["findings"][0]["severity"], "error");
    EXPECT_EQ(report["findings"][0]["rule"], "bad-formula");
    EXPECT_EQ(report["findings"][0]["node"], "Bad");
    EXPECT_EQ(report["findings"][0]["line"], 6);
}

} // namespace
