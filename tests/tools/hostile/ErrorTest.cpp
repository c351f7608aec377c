// What the program says when it cannot go on: one line, what to do next, and the right exit status.

#include "tests/tools/support/NoThreads.h"
#include "tests/tools/support/TestFolder.h"
#include "tests/tools/support/ToolRun.h"
#include "tests/tools/support/Variable.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include <sys/wait.h>

namespace {

using namespace tooltest;

struct Mistake {
    const char* name;
    int status;
    Arguments arguments;
    const char* says; ///< a part of the line
};

void PrintTo(const Mistake& mistake, std::ostream* out) {
    *out << mistake.name;
}

void ExpectOneLine(const Outcome& outcome, int status, const std::string& says) {
    EXPECT_EQ(outcome.status, status);
    EXPECT_EQ(outcome.out, "");
    ASSERT_EQ(Lines(outcome.err).size(), 1u) << outcome.err;
    EXPECT_EQ(outcome.err.rfind("tavix: ", 0), 0u) << outcome.err;
    EXPECT_NE(outcome.err.find(says), std::string::npos) << outcome.err;
    EXPECT_EQ(outcome.err.find(".cpp"), std::string::npos) << outcome.err;
}

class EachMistake : public testing::TestWithParam<Mistake> {};

TEST_P(EachMistake, GetsOneLineAndTheRightExitStatus) {
    ExpectOneLine(RunTool(GetParam().arguments), GetParam().status, GetParam().says);
}

INSTANTIATE_TEST_SUITE_P(
    CommandLine, EachMistake,
    testing::Values(
        Mistake{"Nothing", 2, {}, "name a command"},
        Mistake{"UnknownCommand", 2, {"grasp"}, "there is no command 'grasp'; the commands are list, "},
        Mistake{"UnknownOption", 2, {"list", "--fast"}, "--fast; see tavix list --help"},
        Mistake{"ExtraWord", 2, {"list", "all"}, "see tavix list --help"},
        Mistake{"TwoPartsOfNames", 2, {"features", "Width", "Height"}, "see tavix features --help"},
        Mistake{"NoFrames", 2, {"grab", "-n", "0"}, "'0' is no whole number of 1 .. "},
        Mistake{"NegativeFrames", 2, {"grab", "--frames=-5"}, "'-5' is no whole number"},
        Mistake{"WordyFrames", 2, {"grab", "-n", "many"}, "'many' is no whole number"},
        Mistake{"HugeFrames", 2, {"grab", "-n", "99999999999999999999999"}, "no whole number"},
        Mistake{"PortTooLarge", 2, {"view", "--port", "70000"}, "'70000' is no whole number of 0 .. 65535"},
        Mistake{"PortInWords", 2, {"view", "--port", "http"}, "'http' is no whole number of 0 .. 65535"},
        Mistake{"NoBuffers", 2, {"grab", "-b", "0"}, "--buffers"},
        Mistake{"NoTimeout", 2, {"grab", "--timeout", "0"}, "--timeout"},
        Mistake{"UnknownFormat", 2, {"grab", "-f", "jpg"}, "'jpg' is none of png, pgm, raw"},
        Mistake{"UnknownOptionOfAll", 2, {"-x"}, "there is no option '-x'"},
        Mistake{"UnknownCommandWithin", 2, {"virtual", "surf"}, "there is no command 'surf'; the commands are serve, "},
        Mistake{"CommandWithinMissing", 2, {"virtual"}, "name a command; the commands are serve, "},
        Mistake{"GivenTwice", 2, {"grab", "-n", "1", "-n", "2"}, "--frames may be given once only"},
        Mistake{"EmptyFileName", 2, {"save", ""}, "file: it needs a name"},
        Mistake{"EmptyFolderName", 2, {"grab", "-o", ""}, "--output: it needs a name"},
        Mistake{"ValueMissing", 2, {"get", "Width", "-c"}, "--camera needs a value"},
        Mistake{"NameMissing", 2, {"get"}, "see tavix get --help"},
        Mistake{"FileMissing", 2, {"xml"}, "see tavix xml --help"},
        Mistake{"NoVirtualCamera", 2, {"--virtual", "0", "list"}, "'0' is no whole number of 1 .. 32"},
        Mistake{"NoSettingsFile", 2, {"list", "--virtual", "/nowhere"}, "neither a number of cameras nor a file"}),
    [](const auto& instance) { return instance.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Cameras, EachMistake,
    testing::Values(
        Mistake{"NoCamera", 1, {"info"}, "no camera found; plug one in"},
        Mistake{"NoCameraToGrabFrom", 1, {"grab"}, "tavix --virtual 2 list"},
        Mistake{"UnknownCamera", 1, {"--virtual", "2", "info", "-c", "9"}, "no camera is called '9'; `tavix list`"},
        Mistake{"AmbiguousCamera", 1, {"--virtual", "2", "info", "-c", "VC-1300"}, "fits 2 cameras; use the number"},
        Mistake{"CameraNamedTwice", 1, {"--virtual", "2", "grab", "-c", "0", "-c", "40000001"}, "was named before"},
        Mistake{
            "TwoCamerasForOne", 1, {"--virtual", "2", "get", "Width", "-c", "0", "-c", "1"}, "works on one camera"}),
    [](const auto& instance) { return instance.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Features, EachMistake,
    testing::Values(
        Mistake{"Unknown", 1, {"--virtual", "1", "get", "Foo"}, "no feature 'Foo'; `tavix features` lists all"},
        Mistake{"Empty", 1, {"--virtual", "1", "get", ""}, "no feature ''; `tavix features` lists all"},
        Mistake{"WrongCase", 1, {"--virtual", "1", "get", "width"}, "did you mean Width?"},
        Mistake{"PartOfName", 1, {"--virtual", "1", "get", "Exposure"}, "ExposureTime"},
        Mistake{"UnknownPart", 1, {"--virtual", "1", "features", "Foo"}, "no feature's name holds 'Foo'"},
        Mistake{"ReadGroup", 1, {"--virtual", "1", "get", "Root"}, "`tavix features Root` lists them"},
        Mistake{"ReadCommand", 1, {"--virtual", "1", "get", "TriggerSoftware"}, "`tavix set TriggerSoftware` executes"},
        Mistake{"ReadUnavailable", 1, {"--virtual", "1", "get", "AcquisitionMultiFrameCount"}, "not available because"},
        Mistake{"WriteReadOnly",
                1,
                {"--virtual", "1", "set", "SensorWidth=5"},
                "SensorWidth of VC-1300 (40000001) cannot be set to '5' now ("},
        Mistake{"WriteGroup",
                1,
                {"--virtual", "1", "set", "Root=5"},
                "cannot set Root of VC-1300 (40000001) to '5': it takes no value"},
        Mistake{"NoValue", 1, {"--virtual", "1", "set", "Width"}, "write Width=VALUE"},
        Mistake{"ValueForACommand",
                1,
                {"--virtual", "1", "set", "TriggerSoftware=5"},
                "TriggerSoftware is a command and takes no value; the name alone executes it"},
        Mistake{"EmptyValueForACommand", 1, {"--virtual", "1", "set", "UserSetLoad="}, "takes no value"},
        Mistake{"CommandWithAValueBeforeAGrab",
                1,
                {"--virtual", "1", "grab", "-n", "1", "-s", "AcquisitionStop=1"},
                "takes no value"},
        Mistake{"NoName", 1, {"--virtual", "1", "set", "=5"}, "write NAME=VALUE"},
        Mistake{"TooSmall", 1, {"--virtual", "1", "set", "Width=7"}, "it takes 16 .. 1280 step 4"},
        Mistake{"NoNumber", 1, {"--virtual", "1", "set", "Width=wide"}, "it takes 16 .. 1280 step 4"},
        Mistake{"NoEntry", 1, {"--virtual", "1", "set", "PixelFormat=Foo"}, "it takes Mono8, "},
        Mistake{"WhyUnknown", 1, {"--virtual", "1", "why", "Foo"}, "no feature 'Foo'"},
        Mistake{"BadSettingForGrab",
                1,
                {"--virtual", "1", "grab", "-n", "1", "-s", "Width=7"},
                "cannot set Width of VC-1300 (40000001) to '7'"},
        Mistake{"TransfersTooShort",
                1,
                {"--virtual", "1", "grab", "-n", "1", "--transfer-size", "1"},
                "--transfer-size cannot be 1: Value 1 must be greater than or equal to Min 16384\n"},
        Mistake{"LoadNothing", 1, {"--virtual", "1", "load", "-"}, "standard input holds no settings; name a file"},
        Mistake{"LoadUnreadable", 1, {"load", "/proc/self/mem"}, "cannot read /proc/self/mem; name a file that"},
        Mistake{"LoadFolder", 1, {"load", "/"}, "cannot read /; name a file that"},
        Mistake{"LoadDevice", 1, {"load", "/dev/null"}, "/dev/null is no plain file; name a file that"},
        Mistake{"LoadEndless", 1, {"load", "/dev/zero"}, "/dev/zero is no plain file"},
        Mistake{"EndlessDescription", 1, {"xml", "/dev/zero"}, "/dev/zero is no plain file"},
        Mistake{"EndlessDescriptionToCheck", 1, {"xml", "--lint", "/dev/zero"}, "/dev/zero is no plain file"},
        Mistake{"NoFile", 1, {"xml", "/nowhere"}, "cannot read /nowhere"},
        Mistake{"NoDescription", 1, {"xml", "/proc/self/comm"}, "is no camera description"}),
    [](const auto& instance) { return instance.param.name; });

/// Runs the tool in a shell, which redirects what it prints; standard error goes to a file. Returns the exit status.
int RunInShell(const std::string& arguments, const std::string& err) {
    const int status = std::system((TAVIX_TOOL " --virtual 1 " + arguments + " 2>" + err).c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(Output, ThatNobodyTakesIsAFailure) {
    const TestFolder folder;
    for (const char* command : {"list", "features", "man", "--help", "chunks -n 1", "virtual faults --json"}) {
        EXPECT_EQ(RunInShell(std::string(command) + " >/dev/full", folder.Path("err")), 1) << command;
        EXPECT_EQ(Lines(folder.Read("err")).size(), 1u) << folder.Read("err");
        EXPECT_NE(folder.Read("err").find("the output could not be written"), std::string::npos) << command;
    }
}

TEST(Output, OfAnExaminationThatNobodyTakesIsAFailureToo) {
    const TestFolder folder; // no machine's copy, in which there is enough to find fault with
    EXPECT_EQ(RunInShell("doctor --root " + folder.Path() + " >/dev/full", folder.Path("err")), 1);
    EXPECT_NE(folder.Read("err").find("the output could not be written"), std::string::npos) << folder.Read("err");
}

TEST(Output, WithoutAnyGoesToNoOtherFile) {
    const TestFolder folder;
    EXPECT_EQ(RunInShell("grab -q -n 1 -f pgm -o " + folder.Path("i") + " <&- >&-", folder.Path("err")), 1);
    EXPECT_EQ(Lines(folder.Read("err")).size(), 1u) << folder.Read("err");
    ASSERT_EQ(folder.Files(".pgm").size(), 1u);
    EXPECT_EQ(std::filesystem::file_size(folder.Files(".pgm").front()),
              std::string("P5\n1280 1024\n255\n").size() + 1280 * 1024);
}

/// A camera with faults of its own.
struct Trouble {
    const char* name;
    const char* camera; ///< members of the camera's JSON object
    Arguments command;
    const char* says;
};

void PrintTo(const Trouble& trouble, std::ostream* out) {
    *out << trouble.name;
}

class EachTrouble : public testing::TestWithParam<Trouble> {};

TEST_P(EachTrouble, GetsOneLineAndExitStatusOne) {
    const TestFolder folder;
    Arguments arguments{"--virtual",
                        folder.Write("cameras.json", std::string("{\"cameras\": [{") + GetParam().camera + "}]}")};
    arguments.insert(arguments.end(), GetParam().command.begin(), GetParam().command.end());
    ExpectOneLine(RunTool(arguments), 1, GetParam().says);
}

INSTANTIATE_TEST_SUITE_P(
    Cameras, EachTrouble,
    testing::Values(
        Trouble{"InUse", R"("faults": {"refuseClaims": 1000})", {"info"}, "end the program that uses it and try again"},
        Trouble{"Forbidden", R"("faults": {"refuseOpens": 1000})", {"info"}, "udev rule"},
        Trouble{"CorruptDescription", R"("registers": {"manifest": "CorruptZip"})", {"info"}, "cannot open VC-1300"},
        Trouble{"NoRoot", R"("registers": {"manifest": "NoRoot"})", {"features"}, "get and set work by name"},
        Trouble{"NoStream", R"("faults": {"refuseStreamEnable": 1000})", {"grab"}, "0xA004"},
        Trouble{"UntriggeredGrab",
                "",
                {"grab", "--set", "TriggerMode=On", "--timeout", "200"},
                "add --set TriggerMode=Off"},
        Trouble{"TraceInAFile", "", {"grab", "--trace", "/dev/null/t.pcapng"}, "with room for --trace"},
        Trouble{"FolderInAFile", "", {"grab", "--output", "/dev/null/images"}, "choose another --output"}),
    [](const auto& instance) { return instance.param.name; });

TEST(SettingsFile, ThatIsNoJsonIsAMistakeOfTheCommandLine) {
    const TestFolder folder;
    ExpectOneLine(RunTool({"--virtual", folder.Write("bad.json", "{cameras"), "list"}), 2, "no valid JSON at byte");
}

constexpr const char* kVirtualCameras = "TAVIX_VIRTUAL_CAMERAS";

const std::vector<Arguments> kCommandsThatLookForCameras{{"list"}, {"list", "--json"}, {"grab", "-n", "1"}};

TEST(VirtualCamerasOfTheEnvironment, ThatAreMissingAreNamedWithTheReason) {
    const TestFolder folder;
    const std::string missing = folder.Path("missing.json");
    const Variable variable(kVirtualCameras, missing);
    for (const Arguments& command : kCommandsThatLookForCameras)
        ExpectOneLine(RunTool(command), 1, "TAVIX_VIRTUAL_CAMERAS: \"" + missing + "\" is neither a number of cameras");
}

TEST(VirtualCamerasOfTheEnvironment, ThatAreBadAreNamedWithTheReason) {
    const TestFolder folder;
    const std::string bad = folder.Write("bad.json", R"({"cameras": [{"serail": "1"}]})");
    const Variable variable(kVirtualCameras, bad);
    for (const Arguments& command : kCommandsThatLookForCameras)
        ExpectOneLine(RunTool(command), 1,
                      "TAVIX_VIRTUAL_CAMERAS: " + bad + ": cameras[0].serail: there is no such key");
}

TEST(VirtualCamerasOfTheEnvironment, ThatAreBadGiveWayToThoseOfTheCommandLine) {
    const Variable variable(kVirtualCameras, "/nowhere");
    const Outcome outcome = RunTool({"--virtual", "1", "list"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(Lines(outcome.out).size(), 2u);
}

TEST(VirtualCamerasOfTheEnvironment, ThatAreBadAreAFindingOfTheDoctor) {
    const Variable variable(kVirtualCameras, "/nowhere");
    EXPECT_NE(RunTool({"doctor"}).out.find("TAVIX_VIRTUAL_CAMERAS: \"/nowhere\" is neither"), std::string::npos);
}

TEST(TransportLayer, ThatIsSwitchedOffIsNamedWithTheVariable) {
    const Variable variable("TAVIX_USE_TL", "OtherClass");
    const std::string says = "no camera found: TAVIX_USE_TL is 'OtherClass', which switches USB/VandrelUsb";
    for (const Arguments& command : {Arguments{"--virtual", "1", "list"}, {"--virtual", "1", "get", "Width"}}) {
        const Outcome outcome = RunTool(command);
        EXPECT_EQ(outcome.out, "");
        EXPECT_NE(outcome.err.find(says), std::string::npos) << outcome.err;
        EXPECT_EQ(Lines(outcome.err).size(), 1u) << outcome.err;
    }
    EXPECT_NE(RunTool({"doctor"}).out.find("TAVIX_USE_TL is 'OtherClass', which switches"), std::string::npos);
}

TEST(TransportLayer, ThatIsMeantIsNotBlamedForMissingCameras) {
    const Variable variable("TAVIX_USE_TL", "VandrelUsb");
    EXPECT_EQ(RunTool({"list"}).err.find("TAVIX_USE_TL"), std::string::npos);
}

TEST(TransportLayer, ThatIsBrokenIsToldAndTheNextOneUsed) {
    const TestFolder folder;
    const std::string broken = folder.Write("libtavixusb-4.0.0.so", "no library");
    const Variable variable("TAVIX_TL_PATH", folder.Path());
    const Outcome outcome = RunTool({"--virtual", "1", "list"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(Lines(outcome.out).size(), 2u) << outcome.out;
    ASSERT_EQ(Lines(outcome.err).size(), 1u) << outcome.err;
    EXPECT_EQ(outcome.err.rfind("tavix: a transport layer cannot be loaded: ", 0), 0u) << outcome.err;
    EXPECT_NE(outcome.err.find(broken), std::string::npos) << outcome.err;
    EXPECT_NE(RunTool({"doctor"}).out.find(broken), std::string::npos);
}

TEST(Threads, ThatCannotBeStartedAreWhatIsLacking) {
    const NoThreads limit;
    if (!limit.IsInForce()) GTEST_SKIP();
    for (const Arguments& arguments : {Arguments{"list"}, Arguments{"--virtual", "1", "grab", "-n", "1"}})
        ExpectOneLine(RunTool(arguments), 1, "Failed to initialize vexlo: No thread can be started: ");
}

TEST(View, SaysWhichOptionIsOfNoUse) {
    if (RunTool({"view", "--listen", "no.such"}).err.find("without its viewer") != std::string::npos) GTEST_SKIP();
    for (const auto& [says, arguments] : std::vector<std::pair<std::string, Arguments>>{
             {"'no.such' is no address in figures", {"--listen", "no.such"}},
             {"choose another --port or --listen", {"--listen", "192.0.2.7"}},
             {"/dev/null is no folder; choose another --output", {"-o", "/dev/null"}},
             {"/dev/null is no folder; choose another --output", {"-o", "/dev/null/series"}}}) {
        Arguments all{"view", "--no-browser"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        ExpectOneLine(RunTool(all), 1, says);
    }
}

/// Properties for a log of everything in a file.
std::string LogInto(const std::string& path) {
    return "log4cpp.rootCategory=DEBUG, file\n"
           "log4cpp.appender.file=FileAppender\n"
           "log4cpp.appender.file.layout=BasicLayout\n"
           "log4cpp.appender.file.fileName=" +
           path + "\n";
}

/// What it costs to ask a camera that does not answer is spent once.
TEST(SilentCamera, IsNotAskedAgainForAdvice) {
    const TestFolder folder;
    const std::string settings =
        folder.Write("c.json", R"({"cameras": [{"faults": {"control": [{"fault": "NoAnswer", "count": 0}]}}]})");
    const Variable log("TAVIX_LOG_CONFIG", folder.Write("log.properties", LogInto(folder.Path("log"))));
    ExpectOneLine(RunTool({"--virtual", settings, "info"}), 1, "The camera did not answer in time.");
    EXPECT_NE(folder.Read("log").find("Failed to open device"), std::string::npos);
    EXPECT_EQ(folder.Read("log").find("ccessib"), std::string::npos);
}

/// The first attempt on a silent camera takes ten seconds; those on several must not follow each other.
TEST(SilentCamera, DoesNotKeepOthersWaiting) {
    const TestFolder folder;
    const std::string silent = R"({"faults": {"control": [{"fault": "NoAnswer", "count": 0}]}})";
    const std::string settings =
        folder.Write("c.json", R"({"cameras": [)" + silent + "," + silent + "," + silent + "]}");
    const Variable log("TAVIX_LOG_CONFIG", folder.Write("log.properties", LogInto(folder.Path("log"))));
    for (const Arguments& command : {Arguments{"info", "--all"}, {"doctor"}}) {
        Arguments arguments{"--virtual", settings};
        arguments.insert(arguments.end(), command.begin(), command.end());
        std::filesystem::remove(folder.Path("log"));
        RunTool(arguments);
        const std::string text = folder.Read("log");
        const auto lastBegin = text.rfind("Creating stream grabber"), firstEnd = text.find("Failed to open device");
        ASSERT_NE(lastBegin, std::string::npos) << text;
        ASSERT_NE(firstEnd, std::string::npos) << text;
        EXPECT_LT(lastBegin, firstEnd) << command.front();
    }
}

TEST(RemovalWhileGrabbing, IsFollowedByTheAdviceOnce) {
    const TestFolder folder;
    for (const int skip : {0, 1, 5, 20, 60}) {
        const std::string settings =
            folder.Write("c.json", R"({"cameras": [{"faults": {"control": [{"fault": "Unplug", "skip": )" +
                                       std::to_string(skip) + "}]}}]}");
        for (const Arguments& command : {Arguments{"info"}, {"features"}, {"grab", "-n", "1"}, {"bench", "-n", "1"}}) {
            Arguments arguments{"--virtual", settings};
            arguments.insert(arguments.end(), command.begin(), command.end());
            const std::string err = RunTool(arguments).err;
            const auto first = err.find("plug it in again");
            if (first == std::string::npos) continue;
            EXPECT_EQ(err.find("plug it in again", first + 1), std::string::npos) << command.front() << ": " << err;
        }
    }
}

TEST(TransferMemoryOfACommand, ThatIsTooShortIsNamedWithTheCommandThatMendsIt) {
    const TestFolder folder;
    const std::string settings = folder.Write("c.json", R"({"transferMemoryLimit": 500, "cameras": [{}]})");
    const Outcome outcome = RunTool({"--virtual", settings, "grab", "-n", "1", "-q", "--timeout", "300"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(Lines(outcome.err).size(), 1u) << outcome.err;
    EXPECT_NE(outcome.err.find("echo 1000 | sudo tee /sys/module/usbcore/parameters/usbfs_memory_mb"),
              std::string::npos)
        << outcome.err;
}

} // namespace
