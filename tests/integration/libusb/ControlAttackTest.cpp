// Every kind of fault of the control channel at every command of a grab: what may be repeated is repeated, so only
// commands of the camera fail a grab, and then they say so.
#include "integration/support/GrabRun.h"
#include "integration/support/VirtualBus.h"

#include "virtualcam/device/Device.h"
#include "virtualcam/device/FaultScript.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

using namespace integration;
using virtualcam::ControlFault;

constexpr unsigned kPositions = 60;
constexpr unsigned kStep = 13; ///< of a short run; TAVIX_ATTACK_STEP=1 tries every position

struct Attack {
    const char* name;
    ControlFault fault;
    std::uint32_t value = 0;
};

void PrintTo(const Attack& attack, std::ostream* out) {
    *out << attack.name;
}

unsigned Step() {
    const char* wanted = std::getenv("TAVIX_ATTACK_STEP");
    return wanted != nullptr ? static_cast<unsigned>(std::atoi(wanted)) : kStep;
}

/// Settings, a stream, two frames.
void Grab(Tavix::ITavixDevice& device) {
    GenApi::INodeMap* const map = device.GetNodeMap();
    Set(map, "Width", "320");
    Set(map, "Height", "200");
    Set(map, "PixelFormat", "Mono8");
    Set(map, "ExposureTime", "500");
    Set(map, "DeviceUserID", "attacked");
    GrabRun run(device, 3);
    run.Start();
    for (const Frame& frame : run.Next(2))
        if (!frame.result.Succeeded()) throw RUNTIME_EXCEPTION("frame: %s", frame.result.GetErrorDescription().c_str());
    run.Stop();
}

class ControlAttack : public testing::TestWithParam<Attack> {};

TEST_P(ControlAttack, FailsCommandsOnly) {
    unsigned failed = 0;
    unsigned tried = 0;
    const unsigned step = Step();
    for (unsigned position = static_cast<unsigned>(GetParam().fault) % step; position < kPositions; position += step) {
        VirtualBus bus(R"([{"frameRateEnable": false}])");
        const auto device = bus.Open();
        virtualcam::FaultScript script;
        script.control = {{GetParam().fault, GetParam().value, position, 1, {}, {}, false}};
        bus.Camera().SetFaults(script);
        const std::string error = ErrorOf([&] { Grab(*device); });
        ++tried;
        failed += !error.empty();
        EXPECT_TRUE(error.empty() || error.find("A command is never sent twice") != std::string::npos)
            << GetParam().name << " at command " << position << ": " << error;
        bus.Camera().SetFaults({});
        EXPECT_EQ(ErrorOf([&] { Grab(*device); }), "") << "after " << GetParam().name << " at command " << position;
    }
    RecordProperty("grabs", static_cast<int>(tried));
    RecordProperty("failedCommands", static_cast<int>(failed));
}

INSTANTIATE_TEST_SUITE_P(
    Each, ControlAttack,
    testing::Values(Attack{"NoAnswer", ControlFault::NoAnswer}, Attack{"Late", ControlFault::Late, 800},
                    Attack{"StaleId", ControlFault::StaleId}, Attack{"Duplicate", ControlFault::Duplicate},
                    Attack{"WrongPrefix", ControlFault::WrongPrefix}, Attack{"Truncated", ControlFault::Truncated, 8},
                    Attack{"WrongRequestId", ControlFault::WrongRequestId},
                    Attack{"WrongCommandId", ControlFault::WrongCommandId}, Attack{"Pending", ControlFault::Pending, 3},
                    Attack{"PendingThenNothing", ControlFault::PendingThenNothing}, Attack{"Busy", ControlFault::Busy},
                    Attack{"MissingScd", ControlFault::MissingScd}, Attack{"StallIn", ControlFault::StallIn},
                    Attack{"StallOut", ControlFault::StallOut}, Attack{"ZeroLength", ControlFault::ZeroLength},
                    Attack{"EmptyAnswer", ControlFault::EmptyAnswer}, Attack{"Oversize", ControlFault::Oversize, 8},
                    Attack{"ZeroWritten", ControlFault::ZeroWritten}, Attack{"Deaf", ControlFault::Deaf}),
    [](const auto& instance) { return instance.param.name; });

} // namespace
