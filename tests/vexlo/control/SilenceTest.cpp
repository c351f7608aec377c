// What a camera that does not answer costs: whoever asks, however often.
#include "vexlo/XmlFile.h"
#include "vexlo/support/FakeClock.h"
#include "vexlo/support/Fixture.h"

#include <atomic>

namespace {

using namespace vexlotest;
using namespace scripted;
using namespace std::chrono_literals;

class Silence : public OnScriptedCamera {
protected:
    Silence() {
        camera.OnCommand([this](const Command& command) -> std::optional<std::vector<Bytes>> {
            const bool isAnswered = isAwake && (answersBeyond == 0 || command.Address() < answersBeyond);
            return isAnswered ? std::nullopt : std::optional<std::vector<Bytes>>(std::vector<Bytes>{});
        });
    }
    ~Silence() override { camera.OnCommand(nullptr); }

    /// By an object of its own.
    VxStatus OpenElsewhere(bool isProbe = false) {
        CVxDevice* other = CVxDevice::CreateDevice(DeviceType_Libusb);
        const std::uint8_t probe = isProbe ? 1 : 0;
        EXPECT_EQ(other->SetProperty(CVxDevice::Property_OpenAsProbe, &probe, 1), VX_OK);
        const VxStatus status = other->Open(info);
        CVxDevice::DestroyDevice(other);
        return status;
    }
    void ExpectWithin(Clock::Duration limit, bool isProbe = false) {
        EXPECT_LE(clock.Of([&] { EXPECT_EQ(OpenElsewhere(isProbe), VX_E_TIMEOUT); }), limit);
    }
    void FallSilentWhileOpen() {
        isAwake = true;
        ASSERT_EQ(device->Open(info), VX_OK);
        isAwake = false;
        std::uint32_t value = 0;
        unsigned long count = sizeof value;
        EXPECT_EQ(device->ReadMem(&value, 0, &count), VX_E_TIMEOUT);
    }
    void Replug() {
        camera.Unplug(/*announce=*/true);
        camera.Replug();
    }

    FakeClock clock{camera};
    std::atomic<bool> isAwake{false};
    std::atomic<std::uint64_t> answersBeyond{0}; ///< address from which on it is silent all the same; 0 for none
    DeviceDiscoveryInfo info = Found();
};

TEST_F(Silence, IsWaitedForOnceByWhoeverAsks) {
    ExpectWithin(10s);
    EXPECT_EQ(camera.Resets(), 1u);
    for (int attempt = 0; attempt < 3; ++attempt) {
        clock.Pause(10min);
        ExpectWithin(1s);
    }
    EXPECT_EQ(camera.Resets(), 1u);
}

TEST_F(Silence, IsWaitedForAtFirst) {
    EXPECT_GE(clock.Of([&] { EXPECT_EQ(OpenElsewhere(), VX_E_TIMEOUT); }), 6s) << "its firmware may be booting";
}

TEST_F(Silence, EndsFiveAttemptsInARowWithinTwelveSeconds) {
    EXPECT_LE(clock.Of([&] {
        for (int attempt = 0; attempt < 5; ++attempt)
            EXPECT_EQ(OpenElsewhere(), VX_E_TIMEOUT);
    }),
              11500ms);
    EXPECT_EQ(camera.Resets(), 1u);
}

TEST_F(Silence, IsForgottenWhenTheCameraIsPluggedInAnew) {
    ExpectWithin(10s);
    clock.Pause(6s); // it did not leave for the reset
    Replug();
    EXPECT_GE(clock.Of([&] { EXPECT_EQ(OpenElsewhere(), VX_E_TIMEOUT); }), 6s);
    EXPECT_EQ(camera.Resets(), 2u);
}

TEST_F(Silence, IsRememberedOfACameraThatLeftForItsReset) {
    camera.OnReset([this] {
        Replug();
        return usb::Result::NotFound;
    });
    EXPECT_LE(clock.Of([&] { EXPECT_NE(OpenElsewhere(), VX_OK); }), 10s);
    EXPECT_LE(clock.Of([&] { EXPECT_NE(OpenElsewhere(), VX_OK); }), 1s);
    EXPECT_EQ(camera.Resets(), 1u);
}

TEST_F(Silence, IsForgottenWhenTheCameraAnswers) {
    ExpectWithin(10s);
    isAwake = true;
    EXPECT_EQ(OpenElsewhere(), VX_OK);
    isAwake = false;
    EXPECT_GE(clock.Of([&] { EXPECT_EQ(OpenElsewhere(), VX_E_TIMEOUT); }), 6s);
    EXPECT_EQ(camera.Resets(), 2u);
}

TEST_F(Silence, IsFoundOutSoonByAProbeOfACameraThatAnsweredBefore) {
    isAwake = true;
    EXPECT_EQ(OpenElsewhere(/*isProbe=*/true), VX_OK);
    isAwake = false;
    for (int attempt = 0; attempt < 4; ++attempt)
        ExpectWithin(2s, /*isProbe=*/true);
    EXPECT_EQ(camera.Resets(), 0u);
}

TEST_F(Silence, IsFoundOutSoonByWhoAsksForTheVersion) {
    char text[65];
    for (int attempt = 0; attempt < 3; ++attempt) {
        EXPECT_LE(clock.Of([&] { EXPECT_NE(CEnumerator::DeviceVersion(info, text, sizeof text), VX_OK); }), 2s);
        clock.Pause(10s);
    }
    EXPECT_EQ(camera.Resets(), 0u);
    EXPECT_GE(clock.Of([&] { EXPECT_EQ(OpenElsewhere(), VX_E_TIMEOUT); }), 4s) << "it may still be booting";
}

TEST_F(Silence, IsFoundOutSoonByAProbeOfACameraThatWasSilentBefore) {
    ExpectWithin(10s);
    ExpectWithin(1s, /*isProbe=*/true);
    EXPECT_EQ(camera.Resets(), 1u);
}

TEST_F(Silence, IsNotWaitedForAgainAfterAProbe) {
    EXPECT_LE(clock.Of([&] {
        EXPECT_EQ(OpenElsewhere(/*isProbe=*/true), VX_E_TIMEOUT);
        EXPECT_EQ(camera.Resets(), 0u) << "somebody may be using it";
        EXPECT_EQ(OpenElsewhere(), VX_E_TIMEOUT);
    }),
              11s);
    EXPECT_EQ(camera.Resets(), 1u);
}

TEST_F(Silence, IsBoundedWhateverResponseTimeTheCameraStates) {
    isAwake = true;
    answersBeyond = kSbrm;
    camera.Set32(0x1CC, 0xFFFFFFFF);
    ExpectWithin(10s);
    ExpectWithin(1s);
    EXPECT_LE(camera.Resets(), 1u);
}

TEST_F(Silence, OfAnOpenCameraCostsEachFurtherAccessASecond) {
    isAwake = true;
    ASSERT_EQ(device->Open(info), VX_OK);
    isAwake = false;
    std::uint32_t value = 0;
    unsigned long count = sizeof value;
    const auto read = [&] { EXPECT_EQ(device->ReadMem(&value, 0, &(count = sizeof value)), VX_E_TIMEOUT); };
    EXPECT_LE(clock.Of(read), 5s);
    EXPECT_LE(clock.Of(read), 1s);
    EXPECT_LE(clock.Of([&] { EXPECT_EQ(device->WriteMem(&value, 0x90000, 4), VX_E_TIMEOUT); }), 1s);
    isAwake = true;
    count = sizeof value;
    EXPECT_EQ(device->ReadMem(&value, 0, &count), VX_OK);
}

TEST_F(Silence, OfAnOpenCameraIsWaitedForSeldomHoweverMuchIsAsked) {
    isAwake = true;
    ASSERT_EQ(device->Open(info), VX_OK);
    isAwake = false;
    std::uint32_t value = 0;
    unsigned long count = 0;
    const auto read = [&] { return device->ReadMem(&value, 0, &(count = sizeof value)); };
    EXPECT_LE(clock.Of([&] {
        for (int i = 0; i < 100; ++i)
            EXPECT_EQ(read(), VX_E_TIMEOUT);
    }),
              12s);
    isAwake = true;
    EXPECT_EQ(read(), VX_OK) << "a glance is enough for one that is back";
    isAwake = false;
    EXPECT_GE(clock.Of([&] { EXPECT_EQ(read(), VX_E_TIMEOUT); }), 500ms) << "it had answered";
}

TEST_F(Silence, OfAnOpenCameraIsBoundedWhateverResponseTimeItStates) {
    isAwake = true;
    camera.Set32(0x1CC, 0xFFFFFFFF);
    ASSERT_EQ(device->Open(info), VX_OK);
    isAwake = false;
    std::uint32_t value = 0;
    unsigned long count = 0;
    const auto read = [&] { return device->ReadMem(&value, 0, &(count = sizeof value)); };
    const auto first = clock.Of([&] { EXPECT_EQ(read(), VX_E_TIMEOUT); });
    EXPECT_GE(first, 5s) << "it may take that long";
    EXPECT_LE(first, 6500ms);
    EXPECT_LE(clock.Of([&] {
        for (int i = 0; i < 100; ++i)
            EXPECT_EQ(read(), VX_E_TIMEOUT);
    }),
              5s);
}

TEST_F(Silence, OfAnOpenCameraIsWaitedForAgainAfterARest) {
    isAwake = true;
    ASSERT_EQ(device->Open(info), VX_OK);
    isAwake = false;
    std::uint32_t value = 0;
    unsigned long count = 0;
    const auto read = [&] { EXPECT_EQ(device->ReadMem(&value, 0, &(count = sizeof value)), VX_E_TIMEOUT); };
    read();
    EXPECT_LE(clock.Of(read), 100ms);
    clock.Pause(3s);
    const auto again = clock.Of(read);
    EXPECT_GE(again, 500ms) << "what takes its time is heard as well";
    EXPECT_LE(again, 1s);
    EXPECT_LE(clock.Of(read), 100ms);
}

TEST_F(Silence, OfAnOpenCameraIsRememberedWhenItIsOpenedAgain) {
    FallSilentWhileOpen();
    ASSERT_EQ(device->Close(), VX_OK);
    for (int attempt = 0; attempt < 3; ++attempt) {
        ExpectWithin(1s, /*isProbe=*/attempt == 0);
        clock.Pause(10min);
    }
    EXPECT_EQ(camera.Resets(), 1u) << "which may wake it for the next attempt";
    isAwake = true;
    EXPECT_EQ(OpenElsewhere(), VX_OK);
    isAwake = false;
    EXPECT_GE(clock.Of([&] { EXPECT_EQ(OpenElsewhere(), VX_E_TIMEOUT); }), 6s) << "it had answered";
}

TEST_F(Silence, OfAnOpenCameraIsForgottenWhenItIsPluggedInAnew) {
    FallSilentWhileOpen();
    Replug();
    ASSERT_EQ(device->Close(), VX_OK);
    EXPECT_GE(clock.Of([&] { EXPECT_EQ(OpenElsewhere(), VX_E_TIMEOUT); }), 6s);
}

TEST_F(Silence, OfAnOpenCameraThatAnswersAgainIsForgotten) {
    FallSilentWhileOpen();
    isAwake = true;
    std::uint32_t value = 0;
    unsigned long count = sizeof value;
    EXPECT_EQ(device->ReadMem(&value, 0, &count), VX_OK);
    ASSERT_EQ(device->Close(), VX_OK);
    isAwake = false;
    EXPECT_GE(clock.Of([&] { EXPECT_EQ(OpenElsewhere(), VX_E_TIMEOUT); }), 6s);
}

TEST_F(Silence, IsNotTakenFromACameraThatIsBusyForLong) {
    isAwake = true;
    ASSERT_EQ(device->Open(info), VX_OK);
    const std::uint8_t probe = 2;
    EXPECT_EQ(device->SetProperty(CVxDevice::Property_OpenAsProbe, &probe, 4), VX_E_INVALID_SIZE);
    EXPECT_EQ((Property<std::uint8_t>(*device, CVxDevice::Property_OpenAsProbe)), 0u);
    EXPECT_EQ(OpenElsewhere(), VX_E_BUSY);
}

/// Commands that take their time, all of them answered.
class SlowCamera : public OnScriptedCamera {
protected:
    ~SlowCamera() override { camera.OnCommand(nullptr); }

    FakeClock clock{camera};
};

TEST_F(SlowCamera, HasOneDeadlineForTheWholeDownload) {
    camera.Set64(kManifest, 1);
    camera.Set(kManifest + 8, Hex("01000001 00000101") + Bytes(56));
    camera.Set64(kManifest + 16, kFile);
    camera.Set64(kManifest + 24, std::uint64_t{64} << 20);
    ASSERT_EQ(Open(), VX_OK);
    camera.OnCommand([this](const Command& command) -> std::optional<std::vector<Bytes>> {
        clock.Pause(20ms);
        if (command.Address() < kFile) return std::nullopt;
        return std::vector<Bytes>{Ack(0, 0x0801, command.RequestId(), Bytes(command.Count()))};
    });
    CXmlFile file;
    EXPECT_LE(clock.Of([&] { EXPECT_EQ(device->ProvideXmlFile(file), VX_E_TIMEOUT); }), 31s);
    EXPECT_EQ(file.GetBuffer(), nullptr);
}

TEST_F(SlowCamera, HasOneDeadlineForAWholeAccess) {
    ASSERT_EQ(Open(), VX_OK);
    camera.OnCommand([this](const Command& command) -> std::optional<std::vector<Bytes>> {
        clock.Pause(300ms);
        return std::vector<Bytes>{Ack(0, 0x0801, command.RequestId(), Bytes(command.Count()))};
    });
    std::vector<std::uint8_t> much(std::size_t{1} << 20);
    unsigned long count = much.size();
    EXPECT_LE(clock.Of([&] { EXPECT_EQ(device->ReadMem(much.data(), 0x90000, &count), VX_E_TIMEOUT); }), 31s);
    EXPECT_GT(count, 0u);
}

TEST_F(SlowCamera, HasOneDeadlineForTheWholeOpening) {
    camera.OnCommand([this](const Command&) -> std::optional<std::vector<Bytes>> {
        clock.Pause(900ms);
        return std::nullopt;
    });
    EXPECT_LE(clock.Of([&] { EXPECT_EQ(Open(), VX_E_TIMEOUT); }), 11s);
}

} // namespace
