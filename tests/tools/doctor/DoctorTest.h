#pragma once
// What the tests of the examination share.

#include "FakeSystem.h"
#include "tools/tavix/doctor/Examination.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace doctortest {

using namespace tool;
using testing::HasSubstr;
using tooltest::FakeCamera;
using tooltest::FakeSystem;

inline constexpr const char* kInstallRule =
    "tavix doctor --udev-rule | sudo tee /etc/udev/rules.d/70-tavix-usb3vision.rules >/dev/null && "
    "sudo udevadm control --reload && sudo udevadm trigger --subsystem-match=usb --action=add";

inline Patient Examined(const FakeSystem& system) {
    return Patient{SystemFiles(system.Root())};
}

inline CameraDemand Demand(const std::string& port, std::uint64_t payload, std::uint64_t rate = 0) {
    CameraDemand demand;
    demand.name = "VC-1300 (1)";
    demand.path = "libusb:" + port + "#0";
    demand.port = port;
    demand.payload = payload;
    demand.transferMemory = std::max<std::uint64_t>(2 * payload, 8u << 20);
    demand.bytesPerSecond = rate;
    return demand;
}

/// What a check says; a finding without an id when it says nothing.
inline Finding Said(const Findings& findings, const std::string& id) {
    for (const Finding& finding : findings) {
        if (finding.id == id) return finding;
    }
    return {};
}

inline Finding Said(const FakeSystem& system, const std::string& id) {
    return Said(Examine(Examined(system)), id);
}

inline void ExpectProblem(const Finding& finding, const std::string& text, const std::string& command) {
    EXPECT_EQ(finding.severity, Severity::Problem) << finding.id << " " << finding.text;
    EXPECT_THAT(finding.text, HasSubstr(text));
    EXPECT_EQ(finding.command, command);
}

} // namespace doctortest
