#pragma once
// Words for tests of the checks of descriptions.

#include "genapi/lint/Lint.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace genapi::testkit {

// The nodes in a description of schema 1.<minor>, from line 2 on.
inline std::string LintText(std::string_view nodes, char minor = '1') {
    return R"(<RegisterDescription ModelName="M" VendorName="V" StandardNameSpace="None" SchemaMajorVersion="1" )"
           R"(SchemaMinorVersion=")" +
           std::string(1, minor) +
           R"(" SchemaSubMinorVersion="0" MajorVersion="1" MinorVersion="0" SubMinorVersion="0" ProductGuid="P" )"
           R"(VersionGuid="G" xmlns="http://www.genicam.org/GenApi/Version_1_)" +
           std::string(1, minor) + "\">\n" + std::string(nodes) + "</RegisterDescription>";
}

// A category with the features named, parted by blanks, and the port Device, in one line.
inline std::string Frame(std::string_view features) {
    std::string text = R"(<Port Name="Device"/><Category Name="Root">)";
    while (!features.empty()) {
        const std::size_t end = features.find(' ');
        text += "<pFeature>" + std::string(features.substr(0, end)) + "</pFeature>";
        features = end == std::string_view::npos ? std::string_view() : features.substr(end + 1);
    }
    return text + "</Category>\n";
}

// "rule node", one for each finding.
inline std::vector<std::string> Said(const std::vector<Finding>& findings) {
    std::vector<std::string> said;
    for (const Finding& finding : findings)
        said.push_back(std::string(FactsOf(finding.rule).name) + " " + finding.node);
    return said;
}

inline const Finding* FindFinding(const std::vector<Finding>& findings, std::string_view rule) {
    const auto found = std::find_if(findings.begin(), findings.end(),
                                    [rule](const Finding& each) { return FactsOf(each.rule).name == rule; });
    return found == findings.end() ? nullptr : &*found;
}

// A description in short and what is said about it.
struct Slip {
    const char* name;
    const char* features; // below Root
    const char* nodes;    // from line 3 on
    std::vector<std::string> said;
    char minor = '1';

    friend std::ostream& operator<<(std::ostream& stream, const Slip& slip) { return stream << slip.name; }
};

// Looks at the description and expects what is to be said about it, and nothing else.
inline std::vector<Finding> ExpectSaid(const Slip& slip) {
    std::vector<Finding> findings = LintDescription(LintText(Frame(slip.features) + slip.nodes, slip.minor));
    EXPECT_THAT(Said(findings), ::testing::UnorderedElementsAreArray(slip.said));
    return findings;
}

inline std::string SlipName(const ::testing::TestParamInfo<Slip>& slip) {
    return slip.param.name;
}

} // namespace genapi::testkit

// What a register needs besides its address.
#define REGISTER_REST "<Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>"
#define REGISTER(name, address, more)                                                                                  \
    "<IntReg Name=\"" name "\"><Address>" address "</Address>" REGISTER_REST more "</IntReg>\n"
#define MASKED(name, bits) "<MaskedIntReg Name=\"" name "\"><Address>0</Address>" REGISTER_REST bits "</MaskedIntReg>\n"
