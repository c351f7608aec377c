// Writes that the camera carries out and never answers, as the caller of the USB access library sees it: told in time,
// not written twice, and the camera good again afterwards.
#include "integration/support/DirectCamera.h"

#include <gtest/gtest.h>

#include <chrono>

namespace {

using namespace integration;
using vexlo::CVxDevice;

constexpr unsigned long kUserName = 0x184;

struct LostAnswer {
    const char* name;
    const char* fault;
};

void PrintTo(const LostAnswer& answer, std::ostream* out) {
    *out << answer.name;
}

class UnansweredWrite : public testing::TestWithParam<LostAnswer> {};

TEST_P(UnansweredWrite, IsReportedInTimeAndNotRepeated) {
    DirectCamera camera(std::string(R"([{"faults": {"control": [{"address": 388, "command": 2050, )") +
                        GetParam().fault + "}]}}]");
    CVxDevice& device = camera.Device();
    ASSERT_EQ(SetProperty<std::uint32_t>(device, CVxDevice::Property_ControlTimeout, 100), vexlo::VX_OK);
    ASSERT_EQ(SetProperty<std::uint32_t>(device, CVxDevice::Property_WriteTimeout, 150), vexlo::VX_OK);
    const auto resets = [&] { return GetProperty<std::uint64_t>(device, CVxDevice::Property_ReadPipeResetCount); };
    const std::uint64_t before = resets();
    const auto start = std::chrono::steady_clock::now();
    // Had it been sent again, it would have been answered.
    EXPECT_EQ(camera.Write(kUserName, 0x7466656C), vexlo::VX_E_TIMEOUT);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(2000));
    EXPECT_EQ(resets(), before + 1) << "the channel is set right at once";
    EXPECT_EQ(GetProperty<std::uint64_t>(device, CVxDevice::Property_WriteOperationsFailedCount), 1u);
    EXPECT_EQ(GetProperty<std::uint32_t>(device, CVxDevice::Property_LastErrorStatus), vexlo::VX_E_TIMEOUT);
    EXPECT_EQ(camera.Read(kUserName), 0x7466656Cu) << "the camera has done it";
    EXPECT_EQ(camera.Write(kUserName, 0x74686769), vexlo::VX_OK);
    EXPECT_EQ(camera.Read(kUserName), 0x74686769u);
    EXPECT_EQ(resets(), before + 1);
}

INSTANTIATE_TEST_SUITE_P(Each, UnansweredWrite,
                         testing::Values(LostAnswer{"NoAnswer", R"("fault": "NoAnswer")"},
                                         LostAnswer{"EmptyAnswer", R"("fault": "EmptyAnswer")"},
                                         LostAnswer{"PendingThenNothing", R"("fault": "PendingThenNothing")"}),
                         [](const auto& instance) { return instance.param.name; });

TEST(WriteTimeout, IsWhatALateAnswerIsWaitedFor) {
    DirectCamera camera(R"([{"faults": {"control": [
        {"address": 388, "command": 2050, "fault": "Late", "value": 300, "count": 2}]}}])");
    CVxDevice& device = camera.Device();
    ASSERT_EQ(SetProperty<std::uint32_t>(device, CVxDevice::Property_ControlTimeout, 10), vexlo::VX_OK);
    EXPECT_EQ(camera.Write(kUserName, 1), vexlo::VX_OK) << "writes have more time than reads";
    ASSERT_EQ(SetProperty<std::uint32_t>(device, CVxDevice::Property_WriteTimeout, 10), vexlo::VX_OK);
    EXPECT_EQ(camera.Write(kUserName, 2), vexlo::VX_E_TIMEOUT);
}

} // namespace
