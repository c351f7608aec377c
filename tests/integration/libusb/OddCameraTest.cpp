// Devices and buses below the real libusb that the virtual camera alone cannot be.
#include "OddCamera.h"
#include "integration/support/DirectCamera.h"
#include "integration/support/GoodFrames.h"
#include "integration/support/VirtualBus.h"

#include "usb/libusb/LibusbBackend.h"

#include <core/LogSink.h>
#include <vexlo/Vexlo.h>

#include <gtest/gtest.h>

#include <atomic>

namespace {

using namespace integration;

/// A device whose second configuration is the camera.
class CameraInTheSecondConfiguration : public testing::Test {
protected:
    const std::shared_ptr<SecondConfiguration> m_Device = std::make_shared<SecondConfiguration>();
    const usbfs::Plugged m_Plugged{m_Device};
    VirtualBus m_Bus{"[]"};
};

TEST_F(CameraInTheSecondConfiguration, IsListedWithoutTouchingTheDevice) {
    ASSERT_EQ(m_Bus.Cameras().size(), 1u);
    EXPECT_EQ(m_Bus.Cameras()[0].GetModelName(), "VC-1300");
    EXPECT_EQ(m_Device->Active(), SecondConfiguration::kOther);
    EXPECT_EQ(m_Device->Choices(), 1u) << "only the system has chosen";
}

TEST_F(CameraInTheSecondConfiguration, IsChosenOnceByTheOpeningAndStreams) {
    auto camera = m_Bus.Open();
    EXPECT_EQ(m_Device->Active(), SecondConfiguration::kCamera);
    ExpectGoodFrames(*camera);
    const unsigned int choices = m_Device->Choices();
    EXPECT_EQ(choices, 2u);
    camera->Close();
    camera->Open();
    EXPECT_EQ(m_Device->Choices(), choices) << "to choose the active one again would be a reset";
    ExpectGoodFrames(*camera);
    EXPECT_EQ(m_Bus.Cameras().size(), 1u);
}

TEST_F(CameraInTheSecondConfiguration, IsInUseWhileAnotherProgramHoldsTheFirst) {
    std::string reason;
    const auto other = usb::CreateLibusbBackend(reason);
    ASSERT_NE(other, nullptr) << reason;
    std::unique_ptr<usb::Handle> holder;
    ASSERT_EQ(other->Open(m_Plugged.Name(), holder), usb::Result::Ok);
    ASSERT_EQ(holder->Claim(0), usb::Result::Ok);
    const std::string error = ErrorOf([&] { m_Bus.Create(); });
    EXPECT_NE(error.find("The camera is in use by another program."), std::string::npos) << error;
    EXPECT_EQ(m_Device->Active(), SecondConfiguration::kOther);
    holder.reset();
    ExpectGoodFrames(*m_Bus.Open());
}

TEST_F(CameraInTheSecondConfiguration, ComesBackAfterAnUnplug) {
    ExpectGoodFrames(*m_Bus.Open());
    usbfs::Bus::Instance().Unplug(m_Plugged.Name());
    usbfs::Bus::Instance().Replug(m_Plugged.Name());
    const Tavix::WaitObjectEx pause = Tavix::WaitObjectEx::Create();
    for (int i = 0; i < 500 && m_Bus.Cameras().empty(); ++i)
        (void)Tavix::WaitObject(pause).Wait(10);
    EXPECT_EQ(m_Device->Active(), SecondConfiguration::kOther) << "as the system chooses";
    ExpectGoodFrames(*m_Bus.Open());
    EXPECT_EQ(m_Device->Active(), SecondConfiguration::kCamera);
}

TEST(BusThatCannotDoLargeTransfers, LosesOneFrameAndIsGivenSmallOnes) {
    const usbfs::Plugged plugged(std::make_shared<NarrowBus>());
    DirectCamera camera("[]");
    DirectStream stream(camera);
    EXPECT_EQ(SetProperty<std::uint32_t>(*stream, vexlo::CVxStream::Property_FirstDataTimeout, 600), vexlo::VX_OK);
    stream.Start();
    EXPECT_EQ(stream.Next().Status, vexlo::VX_E_INCOMPLETE) << "its leader came";
    for (std::uint64_t id = 0; id < 6; ++id) {
        const vexlo::CVxStream::GrabResult result = stream.Next();
        ASSERT_EQ(result.Status, vexlo::VX_OK) << TextOf(result.Status);
        EXPECT_EQ(result.BlockId, id);
    }
    EXPECT_EQ(stream.Count(vexlo::CVxStream::Property_FailedBufferCount), 1u);
}

} // namespace
