// Each thing that can go wrong with a command, as an application sees it: what its read or write comes to, and that the
// camera is good again afterwards.
#include "integration/support/GrabRun.h"
#include "integration/support/VirtualBus.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace {

using namespace integration;

enum class Command { Read = 0x800, Write = 0x802 };

/// A camera on which commands to the register of the user-defined name go wrong; opening it is not disturbed.
class TroubledCamera {
public:
    TroubledCamera(const std::string& trouble, Command command)
        : m_Bus(
              R"([{"userName": "left", "frameRateEnable": false, "faults": {"control": [{"address": 388, "command": )" +
              std::to_string(static_cast<int>(command)) + ", " + trouble + "}]}}]"),
          m_Device(m_Bus.Open()) {
        m_PipeResets = Statistic("Statistic_Read_Pipe_Reset_Count");
    }

    /// What the application is told; empty when it is told of no trouble.
    std::string Read() {
        return ErrorOf([&] { Name(); });
    }
    std::string Write(const char* name) {
        return ErrorOf([&] { Set(m_Device->GetNodeMap(), "DeviceUserID", name); });
    }
    /// As the camera has it now.
    std::string Name() {
        return GenApi::CStringPtr(m_Device->GetNodeMap()->GetNode("DeviceUserID"))
            ->GetValue(/*Verify=*/false, /*IgnoreCache=*/true)
            .c_str();
    }
    std::int64_t Statistic(const char* name) {
        m_Device->GetTLNodeMap()->InvalidateNodes();
        return Integer(m_Device->GetTLNodeMap(), name);
    }
    /// How often the control channel was set right since the camera was opened.
    std::int64_t PipeResets() { return Statistic("Statistic_Read_Pipe_Reset_Count") - m_PipeResets; }
    /// Commands are executed and images come.
    void ExpectGood() {
        EXPECT_EQ(Write("right"), "");
        EXPECT_EQ(Name(), "right");
        GrabRun run(*m_Device);
        run.Start();
        for (const Frame& frame : run.Next(3))
            EXPECT_TRUE(frame.result.Succeeded()) << frame.result.GetErrorDescription().c_str();
        run.Stop();
    }
    void Reopen() {
        m_Device->Close();
        m_Device->Open();
    }

private:
    VirtualBus m_Bus;
    std::shared_ptr<Tavix::ITavixDevice> m_Device;
    std::int64_t m_PipeResets = 0;
};

struct SpoiledAnswer {
    const char* name;
    const char* trouble;
    const char* seen;        ///< part of what the application is told; empty when it gets what it asked for
    unsigned int pipeResets; ///< what it costs
};

void PrintTo(const SpoiledAnswer& answer, std::ostream* out) {
    *out << answer.name;
}

class SpoiledRead : public testing::TestWithParam<SpoiledAnswer> {};

TEST_P(SpoiledRead, IsOvercomeOrReportedAndDoesNoLastingHarm) {
    TroubledCamera camera(GetParam().trouble, Command::Read);
    const std::string error = camera.Read();
    if (*GetParam().seen == '\0') {
        EXPECT_EQ(error, "");
    } else {
        EXPECT_NE(error.find(GetParam().seen), std::string::npos) << error;
    }
    EXPECT_EQ(camera.PipeResets(), GetParam().pipeResets);
    EXPECT_EQ(camera.Statistic("Statistic_Read_Operations_Failed_Count"), error.empty() ? 0 : 1);
    EXPECT_EQ(camera.Name(), "left");
    camera.ExpectGood();
    camera.Reopen();
    camera.ExpectGood();
}

// A read waits for 600 ms and is tried three times. Its acknowledge is asked for with room for one packet of 1024
// bytes.
INSTANTIATE_TEST_SUITE_P(
    Each, SpoiledRead,
    testing::Values(SpoiledAnswer{"LateWithinTheTimeout", R"("fault": "Late", "value": 150)", "", 0},
                    SpoiledAnswer{"LateBeyondTheTimeout", R"("fault": "Late", "value": 800)", "", 1},
                    SpoiledAnswer{"WrongCommandId", R"("fault": "WrongCommandId")", "", 1},
                    SpoiledAnswer{"WrongCommandIdEachTime", R"("fault": "WrongCommandId", "count": 3)",
                                  "The camera's answer is malformed", 3},
                    SpoiledAnswer{"PendingThenNothing", R"("fault": "PendingThenNothing")", "", 1},
                    SpoiledAnswer{"NothingButAnEmptyPacket", R"("fault": "EmptyAnswer")", "", 1},
                    SpoiledAnswer{"OversizeWithinAPacket", R"("fault": "Oversize", "value": 8)", "", 0},
                    // The first packet holds all of the answer; the others answer nothing and are dropped.
                    SpoiledAnswer{"OversizeByPackets", R"("fault": "Oversize", "value": 2000)", "", 0},
                    SpoiledAnswer{"BusyTenTimes", R"("fault": "Busy", "count": 10)", "", 0},
                    SpoiledAnswer{"BusyForTooLong", R"("fault": "Busy", "count": 11)", "busy (0x8007)", 0}),
    [](const auto& instance) { return instance.param.name; });

class SpoiledWrite : public testing::TestWithParam<SpoiledAnswer> {};

/// The camera has done what it was told. Where its answer did not come, the register is read back, and tells so; the
/// trouble is counted all the same.
TEST_P(SpoiledWrite, IsDoneOnceWhateverTheAnswer) {
    TroubledCamera camera(GetParam().trouble, Command::Write);
    const std::string error = camera.Write("new");
    if (*GetParam().seen == '\0') {
        EXPECT_EQ(error, "");
    } else {
        EXPECT_NE(error.find(GetParam().seen), std::string::npos) << error;
    }
    EXPECT_EQ(camera.PipeResets(), GetParam().pipeResets);
    EXPECT_EQ(camera.Statistic("Statistic_Write_Operations_Failed_Count"), GetParam().pipeResets);
    EXPECT_EQ(camera.Name(), "new");
    camera.ExpectGood();
}

INSTANTIATE_TEST_SUITE_P(
    Each, SpoiledWrite,
    testing::Values(SpoiledAnswer{"LaterThanAReadMayBe", R"("fault": "Late", "value": 800)", "", 0},
                    SpoiledAnswer{"WrongCommandId", R"("fault": "WrongCommandId")", "", 1},
                    SpoiledAnswer{"StaleAnswerBefore", R"("fault": "StaleId")", "", 0},
                    SpoiledAnswer{"AnsweredTwice", R"("fault": "Duplicate")", "", 0},
                    SpoiledAnswer{"EmptyPacketBefore", R"("fault": "ZeroLength")", "", 0},
                    SpoiledAnswer{"PendingThreeTimes", R"("fault": "Pending", "value": 3)", "", 0},
                    SpoiledAnswer{"BusyTenTimes", R"("fault": "Busy", "count": 10)", "", 0},
                    SpoiledAnswer{"OversizeWithinAPacket", R"("fault": "Oversize", "value": 8)", "", 0},
                    SpoiledAnswer{"OversizeByPackets", R"("fault": "Oversize", "value": 2000)", "", 0},
                    SpoiledAnswer{"StallIn", R"("fault": "StallIn")", "", 1}),
    [](const auto& instance) { return instance.param.name; });

struct Refusal {
    unsigned int code;
    const char* text;
};

void PrintTo(const Refusal& refusal, std::ostream* out) {
    *out << refusal.text;
}

std::string Trouble(const Refusal& refusal) {
    return R"("fault": "Status", "value": )" + std::to_string(refusal.code);
}

/// The text of a code and the code itself, as the application is told.
std::string Told(const Refusal& refusal) {
    char code[16];
    std::snprintf(code, sizeof code, " (0x%04X)", refusal.code);
    return std::string(refusal.text) + code;
}

class RefusedCommand : public testing::TestWithParam<Refusal> {};

TEST_P(RefusedCommand, ToReadIsReportedWithTheCamerasReason) {
    TroubledCamera camera(Trouble(GetParam()), Command::Read);
    const std::string error = camera.Read();
    EXPECT_NE(error.find(Told(GetParam())), std::string::npos) << error;
    EXPECT_EQ(camera.PipeResets(), 0) << "a refusal is a good answer";
    camera.ExpectGood();
}

TEST_P(RefusedCommand, ToWriteIsReportedWithTheCamerasReasonAndChangesNothing) {
    TroubledCamera camera(Trouble(GetParam()), Command::Write);
    const std::string error = camera.Write("new");
    EXPECT_NE(error.find(Told(GetParam())), std::string::npos) << error;
    EXPECT_EQ(camera.PipeResets(), 0) << "a refusal is a good answer";
    EXPECT_EQ(camera.Name(), "left");
    camera.ExpectGood();
}

INSTANTIATE_TEST_SUITE_P(
    Each, RefusedCommand,
    testing::Values(Refusal{0x8001, "command not implemented"}, Refusal{0x8002, "invalid parameter"},
                    Refusal{0x8003, "invalid address"}, Refusal{0x8004, "register is write-protected"},
                    Refusal{0x8005, "bad alignment"}, Refusal{0x8006, "access denied at present"},
                    Refusal{0x800B, "timeout inside the camera"}, Refusal{0x800E, "invalid command header"},
                    Refusal{0x800F, "not allowed in the present configuration"}, Refusal{0x8FFF, "unspecified error"},
                    Refusal{0xA001, "resend not supported"}, Refusal{0xA002, "stream endpoint is halted"},
                    Refusal{0xA003, "stream size is not aligned"}, Refusal{0xA004, "stream registers are inconsistent"},
                    Refusal{0xA005, "event endpoint is halted"},
                    // Codes that nobody has heard of are told by the range that they are of.
                    Refusal{0x8ABC, "unknown error of the control protocol"},
                    Refusal{0xAABC, "unknown USB3 Vision error"}, Refusal{0xC123, "error of this camera model"}),
    [](const auto& instance) {
        char name[16];
        std::snprintf(name, sizeof name, "Code%04X", instance.param.code);
        return std::string(name);
    });

} // namespace
