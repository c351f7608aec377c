// Each command of a tour in turn is answered badly, in each way that a camera may: nothing may hang, be lost or be
// left behind, and the next tour succeeds.
#include "TourTest.h"

#include "virtualcam/device/Protocol.h"

namespace {

using namespace integration;
using virtualcam::ControlFault;

struct BadAnswer {
    const char* name;
    ControlFault fault;
    std::vector<std::uint32_t> values{0};
    std::optional<std::uint16_t> command{}; ///< only commands of this kind
};

void PrintTo(const BadAnswer& answer, std::ostream* out) {
    *out << answer.name;
}

class FailingAnswer : public TourTest, public testing::WithParamInterface<BadAnswer> {
protected:
    unsigned int CountCommands() {
        auto& faults = usbfs::Bus::Instance().Faults();
        faults.Count();
        ExpectGoodTour();
        return faults.GetCounts()[{usbfs::Call::TransferEnd, virtualcam::kControlOut}];
    }
    void Fail(unsigned int index, std::uint32_t value) {
        const std::string name =
            std::string(GetParam().name) + " " + std::to_string(value) + ", command " + std::to_string(index);
        if (!IsWanted(name)) return;
        SCOPED_TRACE(name);
        virtualcam::FaultScript script;
        virtualcam::ControlFaultRule rule;
        rule.fault = GetParam().fault;
        rule.value = value;
        rule.skip = index;
        rule.command = GetParam().command;
        script.control = {rule};
        m_Bus.Camera().SetFaults(script);
        const TourReport report = RunTour(name, {5000, kBriefMs, true});
        m_Bus.Camera().SetFaults({});
        Judge(name, report);
    }
};

TEST_P(FailingAnswer, ToAnyCommandDoesNoLastingHarm) {
    const unsigned int commands = CountCommands();
    ASSERT_GT(commands, 30u);
    const std::vector<std::uint32_t>& values = GetParam().values;
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (IsOrdinaryRun()) { // one command for each value, and not always the same
            ASSERT_NO_FATAL_FAILURE(Fail(static_cast<unsigned int>(7 * i) % commands, values[i]));
            continue;
        }
        for (unsigned int index = 0; index < commands; ++index)
            ASSERT_NO_FATAL_FAILURE(Fail(index, values[i]));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Each, FailingAnswer,
    testing::Values(
        BadAnswer{"Status",
                  ControlFault::Status,
                  {0x8001, 0x8002, 0x8003, 0x8004, 0x8005, 0x8006, 0x8007, 0x800B, 0x800E, 0x800F, 0x8FFF, 0xA001,
                   0xA002, 0xA003, 0xA004, 0xA005, 0x8ABC, 0xC123}},
        BadAnswer{"NoAnswer", ControlFault::NoAnswer}, BadAnswer{"Late", ControlFault::Late, {100, 800}},
        BadAnswer{"StaleId", ControlFault::StaleId}, BadAnswer{"Duplicate", ControlFault::Duplicate},
        BadAnswer{"WrongPrefix", ControlFault::WrongPrefix},
        BadAnswer{"Truncated", ControlFault::Truncated, {1, 11, 12, 14}},
        BadAnswer{"WrongRequestId", ControlFault::WrongRequestId},
        BadAnswer{"WrongCommandId", ControlFault::WrongCommandId}, BadAnswer{"Pending", ControlFault::Pending, {1, 3}},
        BadAnswer{"PendingThenNothing", ControlFault::PendingThenNothing}, BadAnswer{"Busy", ControlFault::Busy},
        BadAnswer{"MissingScd", ControlFault::MissingScd, {0}, virtualcam::kWriteMem},
        BadAnswer{"StallIn", ControlFault::StallIn}, BadAnswer{"StallOut", ControlFault::StallOut},
        BadAnswer{"ZeroWritten", ControlFault::ZeroWritten, {0}, virtualcam::kWriteMem},
        BadAnswer{"ZeroLength", ControlFault::ZeroLength}, BadAnswer{"EmptyAnswer", ControlFault::EmptyAnswer},
        BadAnswer{"Oversize", ControlFault::Oversize, {1, 8, 2000}}, BadAnswer{"Deaf", ControlFault::Deaf}),
    [](const auto& instance) { return instance.param.name; });

} // namespace
