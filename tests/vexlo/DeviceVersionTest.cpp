#include "usb/NullBackend.h"
#include "vexlo/support/Fixture.h"

#include <string>

namespace {

using namespace vexlotest;
using namespace scripted;

class DeviceVersion : public OnScriptedCamera {
protected:
    void State(const std::string& version) {
        Bytes text(version.begin(), version.end());
        text.resize(64);
        camera.Set(0xC4, text);
    }
    /// What the library says, or the status as a number.
    std::string Told(unsigned long size = 65) {
        std::string text(size, '#');
        const VxStatus status = CEnumerator::DeviceVersion(m_Info, text.data(), size);
        return status == VX_OK ? text.c_str() : std::to_string(status);
    }
    const DeviceDiscoveryInfo m_Info = Found();
};

TEST_F(DeviceVersion, IsAskedForOnceWhileTheCameraIsPluggedIn) {
    State("1.2");
    EXPECT_EQ(Told(), "1.2");
    State("3.4");
    EXPECT_EQ(Told(), "1.2");
    camera.Unplug(/*announce=*/true);
    camera.Replug();
    EXPECT_EQ(Told(), "3.4");
}

TEST_F(DeviceVersion, OfACameraThatIsInUseIsToldOnceItIsKnown) {
    State("1.2");
    ASSERT_EQ(Open(), VX_OK);
    EXPECT_EQ(Told(), std::to_string(VX_E_BUSY));
    ASSERT_EQ(device->Close(), VX_OK);
    EXPECT_EQ(Told(), "1.2") << "a refusal is not remembered";
    ASSERT_EQ(Open(), VX_OK);
    EXPECT_EQ(Told(), "1.2");
}

TEST_F(DeviceVersion, IsNotThatOfAnotherCameraInTheSamePort) {
    State("1.2");
    EXPECT_EQ(Told(), "1.2");
    camera.SetString(4, "120900000099");
    DeviceDiscoveryInfo other = Found();
    ASSERT_STRNE(other.DeviceGUID, m_Info.DeviceGUID);
    State("3.4");
    char text[65];
    EXPECT_EQ(CEnumerator::DeviceVersion(other, text, sizeof text), VX_OK);
    EXPECT_STREQ(text, "3.4");
}

TEST_F(DeviceVersion, IsKeptWhenTheBusTellsOfAnArrivalAlone) {
    State("1.2");
    EXPECT_EQ(Told(), "1.2");
    State("3.4");
    camera.Unplug(/*announce=*/false);
    camera.Replug();
    EXPECT_EQ(Told(), "1.2");
}

TEST_F(DeviceVersion, IsAskedForWithoutWritingToTheCamera) {
    State("1.2");
    EXPECT_EQ(Told(), "1.2");
    EXPECT_TRUE(camera.WritesTo(kEirm).empty());
}

/// Whether a camera could be opened.
class Accessibility : public OnScriptedCamera {
protected:
    const DeviceDiscoveryInfo m_Info = Found();
};

TEST_F(Accessibility, IsCheckedWithoutAWordToTheCamera) {
    EXPECT_EQ(CEnumerator::CheckAccess(m_Info), VX_OK);
    EXPECT_TRUE(camera.Commands().empty());
    EXPECT_EQ(camera.HaltsCleared(kControlIn), 0u);
    EXPECT_EQ(camera.OpenHandles(), 0);
    ASSERT_EQ(Open(), VX_OK);
    EXPECT_EQ(CEnumerator::CheckAccess(m_Info), VX_E_BUSY);
    ASSERT_EQ(device->Close(), VX_OK);
    camera.RefuseOpen(usb::Result::Access);
    EXPECT_EQ(CEnumerator::CheckAccess(m_Info), VX_E_USB_ACCESS);
    camera.RefuseOpen(usb::Result::Ok);
    camera.Unplug(/*announce=*/true);
    EXPECT_EQ(CEnumerator::CheckAccess(m_Info), VX_E_NOT_FOUND);
}

TEST_F(Accessibility, ToReadAndThatOfAProbeWriteNoRegister) {
    for (const auto how : {CVxDevice::Property_OpenAsProbe, CVxDevice::Property_OpenToRead}) {
        CVxDevice* const other = CVxDevice::CreateDevice(DeviceType_Libusb);
        const std::uint8_t isSo = 1;
        EXPECT_EQ(other->SetProperty(how, &isSo, sizeof isSo), VX_OK);
        EXPECT_EQ(other->Open(m_Info), VX_OK);
        CVxDevice::DestroyDevice(other);
    }
    EXPECT_TRUE(camera.WritesTo(kEirm).empty());
    EXPECT_EQ(Open(), VX_OK);
    EXPECT_EQ(camera.WritesTo(kEirm).size(), 1u) << "what was left switched on is switched off";
}

TEST_F(DeviceVersion, IsCutToTheRoomThatIsThere) {
    State("version");
    EXPECT_EQ(Told(4), "ver");
    EXPECT_EQ(CEnumerator::DeviceVersion(m_Info, nullptr, 4), VX_E_INVALID_PARAMETER);
    char text = '#';
    EXPECT_EQ(CEnumerator::DeviceVersion(m_Info, &text, 0), VX_E_INVALID_PARAMETER);
    EXPECT_EQ(text, '#');
}

TEST(DeviceVersions, AreAskedForEachTimeWhereABusTellsOfNoDepartures) {
    Camera camera;
    const auto speaking = std::make_shared<ScriptedBackend>(camera);
    const auto mute = std::make_shared<usb::NullBackend>();
    for (const BackendList& buses : {BackendList{speaking, mute}, BackendList{mute, speaking}}) {
        InjectBackends(buses);
        ASSERT_EQ(Init(), VX_OK);
        Collector collector;
        ASSERT_EQ(CEnumerator::Discover(&collector), VX_OK);
        ASSERT_EQ(collector.found.size(), 1u);
        for (const char version : {'1', '2'}) {
            camera.Set(0xC4, Bytes{static_cast<std::uint8_t>(version)} + Bytes(63));
            char text[65] = "";
            EXPECT_EQ(CEnumerator::DeviceVersion(collector.found[0], text, sizeof text), VX_OK);
            EXPECT_EQ(text[0], version);
        }
        Exit();
    }
    InjectBackends({});
}

} // namespace
