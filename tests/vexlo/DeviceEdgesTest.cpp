// What a camera is found, opened and asked for at the edges of what it states.
#include "vexlo/XmlFile.h"
#include "vexlo/support/FakeClock.h"
#include "vexlo/support/Fixture.h"

#include <condition_variable>
#include <mutex>

namespace {

using namespace vexlotest;
using namespace scripted;
using namespace std::chrono_literals;

constexpr std::uint64_t kCapability = kSbrm + 0x04;
constexpr std::uint64_t kStreamCount = kSbrm + 0x1C;
constexpr std::uint64_t kSirmAddress = kSbrm + 0x20;
constexpr std::uint64_t kSirmLength = kSbrm + 0x28;

class DeviceEdges : public OnScriptedCamera {
protected:
    ~DeviceEdges() override { camera.OnCommand(nullptr); }
    template<class Value>
    VxStatus Set(CVxDevice::EPropertyValue id, Value value) {
        return device->SetProperty(id, &value, sizeof value);
    }
};

TEST_F(DeviceEdges, SixteenStreamsAreSwitchedOff) {
    camera.Set32(kStreamCount, 17);
    camera.Set32(kSirmLength, 0x40);
    for (std::uint64_t i = 0; i < 17; ++i)
        camera.Set32(kSirm + i * 0x40 + 4, 1);
    ASSERT_EQ(Open(), VX_OK);
    for (std::uint64_t i = 0; i < 17; ++i)
        EXPECT_EQ(camera.Get32(kSirm + i * 0x40 + 4), i < 16 ? 0u : 1u) << i;
}

TEST_F(DeviceEdges, StreamsMayLieFarApart) {
    camera.Set32(kStreamCount, 3);
    camera.Set32(kSirmLength, 0x80000000);
    camera.Set32(kSirm + 0x100000000 + 4, 1);
    ASSERT_EQ(Open(), VX_OK);
    EXPECT_EQ(camera.Get32(kSirm + 0x100000000 + 4), 0u);
}

TEST_F(DeviceEdges, NothingIsSwitchedOffThatIsNotThereOrNotOn) {
    camera.Set64(kCapability, 1); // no events
    ASSERT_EQ(Open(), VX_OK);
    EXPECT_TRUE(camera.WritesTo(0).empty());
    EXPECT_TRUE(camera.WritesTo(kSirm + 4).empty()) << "it was off";
    EXPECT_EQ(device->Close(), VX_OK);
    camera.Set64(kSirmAddress, 0);
    camera.Set32(4, 1); // where the stream's switch would be
    ASSERT_EQ(Open(), VX_OK);
    EXPECT_TRUE(camera.WritesTo(4).empty());
}

TEST_F(DeviceEdges, ACameraWithoutStreamRegistersHasNoStream) {
    camera.Set64(kCapability, 2);
    ASSERT_EQ(Open(), VX_OK);
    CVxStream* stream = nullptr;
    ASSERT_EQ(device->GetStream(&stream), VX_OK);
    EXPECT_EQ(stream->Open(), VX_E_NOT_SUPPORTED);
    EXPECT_EQ(device->Close(), VX_OK);
    camera.Set64(kCapability, 3);
    camera.Set32(kStreamCount, 0);
    ASSERT_EQ(Open(), VX_OK);
    EXPECT_EQ(stream->Open(), VX_E_NOT_SUPPORTED);
}

TEST_F(DeviceEdges, ARegisterThatIsAnsweredBadlyCountsAsAbsent) {
    camera.OnCommand([](const Command& command) -> std::optional<std::vector<Bytes>> {
        if (command.Address() != 0x1C4) return std::nullopt;
        return std::vector<Bytes>{Ack(0, 0x0803, command.RequestId(), Hex("00000400"))};
    });
    EXPECT_EQ(Open(), VX_OK);
}

TEST_F(DeviceEdges, CountsBeginAnewWithEachOpening) {
    ASSERT_EQ(Open(), VX_OK);
    std::uint32_t value = 0;
    unsigned long count = sizeof value;
    EXPECT_NE(device->ReadMem(&value, 0x999999, &count), VX_OK);
    EXPECT_EQ(device->Close(), VX_OK);
    EXPECT_EQ(Property<std::uint64_t>(*device, CVxDevice::Property_ReadOperationsFailedCount), 1u);
    ASSERT_EQ(Open(), VX_OK);
    EXPECT_EQ(Property<std::uint64_t>(*device, CVxDevice::Property_ReadOperationsFailedCount), 0u);
    EXPECT_EQ(Property<std::uint32_t>(*device, CVxDevice::Property_LastErrorStatus), VX_OK);
}

TEST_F(DeviceEdges, NothingCanBeReadAndWrittenWithoutABuffer) {
    ASSERT_EQ(Open(), VX_OK);
    unsigned long count = 0;
    EXPECT_EQ(device->ReadMem(nullptr, 0x90000, &count), VX_OK);
    EXPECT_EQ(device->WriteMem(nullptr, 0x90000, 0), VX_OK);
    count = 1;
    EXPECT_EQ(device->ReadMem(nullptr, 0x90000, &count), VX_E_INVALID_PARAMETER);
    EXPECT_EQ(device->WriteMem(nullptr, 0x90000, 1), VX_E_INVALID_PARAMETER);
}

TEST_F(DeviceEdges, TimesThatAreSetWhileItIsOpenHoldAtOnce) {
    ASSERT_EQ(Open(), VX_OK);
    EXPECT_EQ(Set(CVxDevice::Property_ControlTimeout, std::uint32_t{5000}), VX_OK);
    EXPECT_EQ(Set(CVxDevice::Property_WriteTimeout, std::uint32_t{7000}), VX_OK);
    camera.Set32(0x90000, 0);
    std::uint32_t value = 0;
    unsigned long count = sizeof value;
    EXPECT_EQ(device->ReadMem(&value, 0x90000, &count), VX_OK);
    EXPECT_EQ(camera.ControlInTimeouts().back(), 5100u);
    EXPECT_EQ(device->WriteMem(&value, 0x90000, sizeof value), VX_OK);
    EXPECT_EQ(camera.ControlInTimeouts().back(), 7000u);
}

TEST_F(DeviceEdges, SwitchesAreOneByteAndOnUnlessTheyAreZero) {
    ASSERT_EQ(Open(), VX_OK);
    EXPECT_EQ(Set(CVxDevice::Property_CustomRequestExecuteRead, std::uint16_t{0}), VX_E_INVALID_SIZE);
    EXPECT_EQ(Set(CVxDevice::Property_OpenAsProbe, std::uint8_t{2}), VX_OK);
    EXPECT_EQ(Property<std::uint8_t>(*device, CVxDevice::Property_OpenAsProbe), 1u);
}

TEST_F(DeviceEdges, AFailedDownloadLeavesNothingOfTheFileBefore) {
    CXmlFile file;
    file.SetText("<old/>");
    EXPECT_EQ(device->ProvideXmlFile(file), VX_E_NOT_OPEN);
    EXPECT_EQ(file.GetBuffer(), nullptr);
}

TEST_F(DeviceEdges, AManifestHasSixtyFourEntriesAtMost) {
    const Bytes text = Hex("3C612F3E");
    camera.Set(kFile, text);
    camera.Set(kManifest + 8, Hex("01000001 00000101") + Little(kFile, 8) + Little(text.size(), 8) + Bytes(40));
    ASSERT_EQ(Open(), VX_OK);
    CXmlFile file;
    camera.Set64(kManifest, 64);
    EXPECT_EQ(device->ProvideXmlFile(file), VX_OK);
    camera.Set64(kManifest, 65);
    EXPECT_EQ(device->ProvideXmlFile(file), VX_E_XML_NO_MANIFEST);
}

TEST_F(DeviceEdges, WhatIsStatedAsAnArchiveAndIsNothingKnownIsABadArchive) {
    const Bytes rubbish = Hex("01020304");
    camera.Set(kFile, rubbish);
    camera.Set64(kManifest, 1);
    camera.Set(kManifest + 8, Hex("01000001 00040101") + Little(kFile, 8) + Little(rubbish.size(), 8) + Bytes(40));
    ASSERT_EQ(Open(), VX_OK);
    CXmlFile file;
    EXPECT_EQ(device->ProvideXmlFile(file), VX_E_XML_BAD_ZIP);
}

TEST_F(DeviceEdges, ItIsOpenedWhereNobodyKnowsItsGuid) {
    DeviceDiscoveryInfo info = Found();
    info.DeviceGUID[0] = '\0';
    EXPECT_EQ(device->Open(info), VX_OK) << "the caller";
    EXPECT_EQ(device->Close(), VX_OK);
    info = Found();
    camera.HideStrings();
    EXPECT_EQ(device->Open(info), VX_OK) << "the camera";
}

TEST_F(DeviceEdges, PlainStringsAreTakenWhereTheCamerasOwnAreMissingOnly) {
    EXPECT_STREQ(Found().FallbackModelName, "");
    camera.SetString(2, "Product");
    camera.SetString(6, "");
    EXPECT_STREQ(Found().FallbackModelName, "Product");
}

TEST_F(DeviceEdges, TheFirstConfigurationWithACameraIsTakenWhereTheActiveOneIsUnknown) {
    camera.Describe([](usb::DeviceEntry& entry) {
        entry.configurations.push_back(entry.configurations.front());
        entry.configurations.back()[5] = 2;
        entry.activeConfiguration = 0;
    });
    ASSERT_EQ(Open(), VX_OK);
    EXPECT_EQ(camera.SelectedConfigurations(), std::vector<int>{1});
}

/// A bus that cannot be listed.
class BrokenBus final : public usb::Backend {
public:
    const char* Name() const override { return "broken"; }
    [[nodiscard]] usb::Result Enumerate(std::vector<usb::DeviceEntry>&) override { return usb::Result::Access; }
    [[nodiscard]] usb::Result Open(const std::string&, std::unique_ptr<usb::Handle>&) override {
        return usb::Result::NotFound;
    }
    std::uint64_t RegisterHotplug(usb::HotplugHandler) override { return 0; }
    void DeregisterHotplug(std::uint64_t) override {}
};

/// Two cameras with the same name, on two buses.
class TwoBuses : public OnScriptedCamera {
protected:
    TwoBuses() { Use({std::make_shared<ScriptedBackend>(camera), std::make_shared<ScriptedBackend>(twin, "second")}); }
    ~TwoBuses() override {
        if (device->IsOpen()) (void)device->Close();
        Use({std::make_shared<ScriptedBackend>(camera)});
    }
    static void Use(const BackendList& buses) {
        InjectBackends(buses);
        Exit();
        EXPECT_EQ(Init(), VX_OK);
    }
    static std::vector<DeviceDiscoveryInfo> All() {
        Collector collector;
        EXPECT_EQ(CEnumerator::Discover(&collector), VX_OK);
        return collector.found;
    }

    Camera twin;
};

TEST_F(TwoBuses, AreListedUntilTheListenerHasEnough) {
    Collector collector;
    collector.answer = 1;
    EXPECT_EQ(CEnumerator::Discover(&collector), VX_OK);
    EXPECT_EQ(collector.found.size(), 1u);
    EXPECT_EQ(All().size(), 2u);
}

TEST_F(TwoBuses, AreListedThoughOneOfThemFails) {
    const auto broken = std::make_shared<BrokenBus>();
    const auto working = std::make_shared<ScriptedBackend>(camera);
    for (const BackendList& buses : {BackendList{broken, working}, BackendList{working, broken}}) {
        Use(buses);
        EXPECT_EQ(All().size(), 1u);
    }
    Use({broken});
    Collector collector;
    EXPECT_EQ(CEnumerator::Discover(&collector), VX_E_USB_ACCESS);
}

/// Counts calls; another thread makes them.
class Bell {
public:
    static void Ring(const VxCallbackData* data) {
        Bell& bell = *static_cast<Bell*>(data->Context);
        const std::lock_guard<std::mutex> lock(bell.m_Mutex);
        ++bell.m_Rings;
        bell.m_Rang.notify_all();
    }
    bool HasRung() {
        std::unique_lock<std::mutex> lock(m_Mutex);
        return m_Rang.wait_for(lock, 20s, [this] { return m_Rings != 0; });
    }
    unsigned int Rings() {
        const std::lock_guard<std::mutex> lock(m_Mutex);
        return m_Rings;
    }
    void HangAt(CVxDevice& device, unsigned int kind) {
        const VxCallbackParams params{kind, this, &device, &Ring};
        unsigned long handle = 0;
        EXPECT_EQ(VxRegisterCallback(&params, &handle), VX_OK);
    }

private:
    std::mutex m_Mutex;
    std::condition_variable m_Rang;
    unsigned int m_Rings = 0;
};

TEST_F(TwoBuses, TellOfTheCameraThatHasLeftAndNotOfTheOther) {
    const auto found = All();
    ASSERT_EQ(found.size(), 2u);
    CVxDevice* other = CVxDevice::CreateDevice(DeviceType_Libusb);
    ASSERT_EQ(device->Open(found[0]), VX_OK);
    ASSERT_EQ(other->Open(found[1]), VX_OK);
    Bell stays, leaves;
    stays.HangAt(*device, 11);
    leaves.HangAt(*other, 11);
    twin.Unplug(/*announce=*/true);
    EXPECT_TRUE(leaves.HasRung());
    EXPECT_EQ(stays.Rings(), 0u);
    EXPECT_EQ(camera.AskedWhetherAttached(), 0u);
    CVxDevice::DestroyDevice(other);
}

TEST_F(DeviceEdges, ARemovalThatOthersWereToldOfIsNewToWhoRegistersLater) {
    ASSERT_EQ(Open(), VX_OK);
    Bell first, later;
    first.HangAt(*device, 11);
    camera.Unplug(/*announce=*/true);
    ASSERT_TRUE(first.HasRung());
    later.HangAt(*device, 11);
    EXPECT_TRUE(later.HasRung());
    EXPECT_EQ(first.Rings(), 1u);
}

/// A camera that answers nothing, and what that costs.
class SilenceEdges : public OnScriptedCamera {
protected:
    SilenceEdges() { FallSilent(); }
    ~SilenceEdges() override { camera.OnCommand(nullptr); }
    void FallSilent() {
        camera.OnCommand([](const Command&) { return std::vector<Bytes>{}; });
    }
    Clock::Duration TimeToOpen(bool isProbe = false, VxStatus expected = VX_E_TIMEOUT) {
        CVxDevice* other = CVxDevice::CreateDevice(DeviceType_Libusb);
        const std::uint8_t probe = isProbe ? 1 : 0;
        EXPECT_EQ(other->SetProperty(CVxDevice::Property_OpenAsProbe, &probe, 1), VX_OK);
        const auto taken = clock.Of([&] { EXPECT_EQ(other->Open(info), expected); });
        CVxDevice::DestroyDevice(other);
        return taken;
    }

    FakeClock clock{camera};
    const DeviceDiscoveryInfo info = Found();
};

TEST_F(SilenceEdges, AGlanceIsEnoughForWhoComesBackAtOnce) {
    TimeToOpen();
    EXPECT_LE(TimeToOpen(), 350ms);
    clock.Pause(10s);
    const auto later = TimeToOpen();
    EXPECT_GE(later, 600ms);
    EXPECT_LE(later, 1s);
}

TEST_F(SilenceEdges, AProbeWaitsForACameraThatNobodyHasSeen) {
    EXPECT_GE(TimeToOpen(/*isProbe=*/true), 6s);
}

TEST_F(SilenceEdges, ACameraThatLeavesSoonAfterItsResetIsNoneTheBetter) {
    TimeToOpen();
    ASSERT_EQ(camera.Resets(), 1u);
    camera.Unplug(/*announce=*/true);
    camera.Replug();
    EXPECT_LE(TimeToOpen(), 1s);
}

TEST_F(SilenceEdges, AnOpenCameraHasAllItsTimeHoweverBrieflyItWasOpened) {
    TimeToOpen();
    camera.OnCommand(nullptr);
    ASSERT_EQ(device->Open(info), VX_OK);
    FallSilent();
    std::uint32_t value = 0;
    unsigned long count = sizeof value;
    EXPECT_GE(clock.Of([&] { EXPECT_EQ(device->ReadMem(&value, 0, &count), VX_E_TIMEOUT); }), 3s);
}

TEST_F(SilenceEdges, ACameraThatStaysAwayAfterItsResetIsGone) {
    camera.OnReset([this] {
        camera.Unplug(/*announce=*/true);
        return usb::Result::NoDevice;
    });
    EXPECT_LE(TimeToOpen(/*isProbe=*/false, VX_E_USB_NO_DEVICE), 11s);
    camera.Replug();
}

TEST_F(SilenceEdges, ACameraThatIsGoneIsNotWaitedFor) {
    camera.RefuseOpen(usb::Result::NoDevice);
    EXPECT_EQ(TimeToOpen(/*isProbe=*/false, VX_E_USB_NO_DEVICE), 0ms);
}

} // namespace
