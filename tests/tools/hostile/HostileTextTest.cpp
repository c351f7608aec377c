// Text that a camera or a file brings along: whatever it is, no terminal obeys it.

#include "tests/tools/support/TestFolder.h"
#include "tests/tools/support/ToolRun.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>

#include <nlohmann/json.hpp>

namespace {

using namespace tooltest;

/// Escape, DEL, and the one-character forms of the same sequences, in UTF-8 and bare.
const std::vector<std::string> kControls{"\x1b[31m",
                                         "\x7f",
                                         "\xc2\x9b"
                                         "31m",
                                         "\x9b"
                                         "31m",
                                         "\xc2\x85",
                                         "\u202e",
                                         "\r"};

/// A control character other than the line ends of the output, or a byte that is no UTF-8.
bool HasControls(const std::string& text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if ((byte < 0x20 && byte != '\n') || byte == 0x7F) return true;
        const auto next = static_cast<unsigned char>(i + 1 < text.size() ? text[i + 1] : '\0');
        if (byte == 0xC2 && next >= 0x80 && next < 0xA0) return true;
        for (const char* turn : {"\u061c", "\u200e", "\u200f", "\u202a", "\u202e", "\u2066", "\u2069"})
            if (text.compare(i, std::strlen(turn), turn) == 0) return true;
        if (byte >= 0x80 && byte < 0xA0 && (i == 0 || static_cast<unsigned char>(text[i - 1]) < 0xC2)) return true;
    }
    return false;
}

void ExpectHarmless(const Outcome& outcome, const Arguments& arguments) {
    EXPECT_FALSE(HasControls(outcome.out)) << arguments.back() << ": " << outcome.out;
    EXPECT_FALSE(HasControls(outcome.err)) << arguments.back() << ": " << outcome.err;
    EXPECT_NE(outcome.out + outcome.err, "") << arguments.back();
}

/// The description of the virtual camera with `evil` behind a name, wherever that stands.
std::string DescriptionWith(const TestFolder& folder, const std::string& name, const std::string& evil) {
    std::ifstream file(TAVIX_VIRTUAL_CAMERA_XML);
    std::string xml{std::istreambuf_iterator<char>(file), {}};
    for (const char* end : {"\"", "<"}) {
        const std::string wanted = name + end, bad = name + evil + end;
        for (auto at = xml.find(wanted); at != std::string::npos; at = xml.find(wanted, at + bad.size()))
            xml.replace(at, wanted.size(), bad);
    }
    return folder.Write("evil.xml", xml);
}

std::string SettingsWith(const TestFolder& folder, const nlohmann::json& camera) {
    return folder.Write("c.json", nlohmann::json{{"cameras", {camera}}}.dump());
}

TEST(HostileText, OfACamerasStringsIsHarmless) {
    const TestFolder folder;
    for (const char* evil :
         {"A\u001b[31mB", "A\u007fB", "A\u009b31mB", "A\u0085B", "A\nB", "A\u202eB\u2066\u200f\u061c"}) {
        const std::string settings =
            SettingsWith(folder, {{"model", evil}, {"vendor", evil}, {"userName", evil}, {"serial", "1"}});
        for (const Arguments& command : std::vector<Arguments>{{"list"},
                                                               {"list", "--json"},
                                                               {"info"},
                                                               {"info", "--json"},
                                                               {"features", "Device"},
                                                               {"get", "DeviceModelName"},
                                                               {"get", "DeviceModelName", "--json"},
                                                               {"watch", "-n", "1"},
                                                               {"grab", "-n", "1", "-q"},
                                                               {"grab", "-n", "1", "-q", "-s", "Nothing=1"},
                                                               {"bench", "-n", "2"},
                                                               {"save", folder.Path("s.txt")},
                                                               {"doctor"}}) {
            Arguments arguments{"--virtual", settings};
            arguments.insert(arguments.end(), command.begin(), command.end());
            ExpectHarmless(RunTool(arguments), arguments);
        }
    }
}

TEST(HostileText, OfNamesInADescriptionIsHarmless) {
    const TestFolder folder;
    for (const char* evil : {"&#x9b;31m", "&#x85;", "\x7f",
                             "\xc2\x9b"
                             "31m"}) {
        const std::string xml = DescriptionWith(folder, "ExposureTime", evil);
        const std::string settings = SettingsWith(folder, {{"registers", {{"descriptionPath", xml}}}});
        for (const Arguments& command : std::vector<Arguments>{{"xml", xml},
                                                               {"xml", xml, "--json"},
                                                               {"xml", xml, "--lint"},
                                                               {"--virtual", settings, "features"},
                                                               {"--virtual", settings, "features", "--json"},
                                                               {"--virtual", settings, "get", "Exposure"},
                                                               {"--virtual", settings, "set", "Exposure=5"},
                                                               {"--virtual", settings, "why", "Exposure"},
                                                               {"--virtual", settings, "bench", "-s", "Exposure=5"},
                                                               {"--virtual", settings, "grab", "-s", "Exposure=5"}}) {
            ExpectHarmless(RunTool(command), command);
        }
    }
}

TEST(HostileText, OfTheCommandLineIsHarmless) {
    const TestFolder folder;
    for (const std::string& evil : kControls) {
        for (const Arguments& command : std::vector<Arguments>{{evil},
                                                               {"xml", evil},
                                                               {"load", folder.Path(evil)},
                                                               {"--virtual", "1", "get", "A" + evil},
                                                               {"--virtual", "1", "set", "Width=" + evil},
                                                               {"--virtual", "1", "info", "-c", evil},
                                                               {"--virtual", "1", "events", evil}}) {
            ExpectHarmless(RunTool(command), command);
        }
    }
}

TEST(HostileText, IsWholeInJson) {
    const TestFolder folder;
    const std::string evil = "A\u202eB\u009b\u007f\u061c\U0001F4F7";
    const Outcome outcome =
        RunTool({"--virtual", SettingsWith(folder, {{"model", evil}}), "get", "DeviceModelName", "--json"});
    EXPECT_NE(outcome.out.find("A\\u202eB\\u009b\\u007f\\u061c\U0001F4F7"), std::string::npos) << outcome.out;
    EXPECT_EQ(nlohmann::json::parse(outcome.out, nullptr, false)[0]["value"], evil);
}

TEST(HostileText, InANameLeavesThatFeatureOutOfJson) {
    const TestFolder folder;
    const Outcome outcome = RunTool({"xml", DescriptionWith(folder, "ExposureTime", "&#x9b;31m"), "--json"});
    const auto description = nlohmann::json::parse(outcome.out, nullptr, false);
    std::set<std::string> names;
    for (const auto& feature : description["features"])
        names.insert(feature["name"].get<std::string>());
    EXPECT_EQ(names.count("ExposureTime\u009b31m"), 0u);
    EXPECT_EQ(names.count("Width"), 1u);
}

} // namespace
