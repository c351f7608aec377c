#include "tavixbase/support/Expect.h"
#include "tavixbase/support/LogRecorder.h"
#include "tavixbase/support/PluginFolder.h"

namespace Tavix {
namespace {

class TlFactory : public testing::Test {
protected:
    TlFactory() {
        fakeCam.Reset();
        otherCam.Reset();
        folder.Add("libtavixfakecam-1.0.0.so", kFakeCamPlugin);
    }
    void AddOther() { folder.Add("libtavixothercam-1.0.0.so", kOtherCamPlugin); }

    std::string DeviceNames() {
        DeviceInfoList list;
        factory.EnumerateDevices(list);
        std::string names;
        for (const CDeviceInfo& info : list)
            names += info.GetFullName().str() + " ";
        return names;
    }

    const PluginFolder folder;
    FakePluginControl& fakeCam = ControlOf(kFakeCamPlugin);
    FakePluginControl& otherCam = ControlOf(kOtherCamPlugin);
    CTlFactory& factory = CTlFactory::GetInstance();
};

} // namespace

// Transport layers.

TEST_F(TlFactory, ListsWhatTheLibrariesOffer) {
    AddOther();
    TlInfoList list;
    list.push_back(CTlInfo());
    EXPECT_EQ(factory.EnumerateTls(list), 2);
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[0].GetFullName(), "Fake/FakeCam");
    EXPECT_EQ(list[0].GetFileName(), folder.Path("libtavixfakecam-1.0.0.so").c_str());
    EXPECT_FALSE(list[0].IsUserProvided());
    EXPECT_EQ(list[1].GetDeviceClass(), "OtherCam");
    EXPECT_EQ(fakeCam.creations, 0);
}

TEST_F(TlFactory, TakesTheFirstOfTwoLibrariesForOneDeviceClass) {
    folder.Add("libtavixzweit-1.0.0.so", kFakeCamPlugin);
    TlInfoList list;
    EXPECT_EQ(factory.EnumerateTls(list), 1);
    EXPECT_EQ(list[0].GetFileName(), folder.Path("libtavixfakecam-1.0.0.so").c_str());
}

TEST_F(TlFactory, CreatesByDeviceClassFullNameOrInfo) {
    TlInfoList list;
    factory.EnumerateTls(list);
    for (ITransportLayer* pTl : {factory.CreateTl("FakeCam"), factory.CreateTl("Fake/FakeCam"),
                                 factory.CreateTl(CTlInfo().SetFriendlyName("Fake").SetDeviceClass("FakeCam")),
                                 factory.CreateTl(list[0]), factory.GetTl("FakeCam"), factory.GetTl(list[0])}) {
        ASSERT_NE(pTl, nullptr);
        EXPECT_EQ(pTl->GetTlInfo().GetDeviceClass(), "FakeCam");
        EXPECT_EQ(fakeCam.creations, 1);
    }
    ITransportLayer* const pTl = factory.CreateTl("FakeCam");
    for (int i = 0; i < 7; ++i) {
        EXPECT_EQ(fakeCam.destructions, 0);
        factory.ReleaseTl(pTl);
    }
    EXPECT_EQ(fakeCam.destructions, 1);
}

TEST_F(TlFactory, CreatesByFileName) {
    AddOther();
    ITransportLayer* const pByName = factory.CreateTl(CTlInfo().SetFileName("libtavixothercam-1.0.0.so"));
    ITransportLayer* const pByPath = factory.CreateTl(CTlInfo().SetFileName(kOtherCamPlugin));
    ASSERT_NE(pByName, nullptr);
    EXPECT_EQ(pByName, pByPath);
    EXPECT_EQ(pByName->GetTlInfo().GetDeviceClass(), "OtherCam");
    factory.ReleaseTl(pByName);
    EXPECT_EQ(otherCam.destructions, 0);
    factory.ReleaseTl(pByPath);
    EXPECT_EQ(otherCam.destructions, 1);
}

TEST_F(TlFactory, AnswersNullForWhatNoLibraryOffers) {
    EXPECT_EQ(factory.CreateTl("NoSuchCam"), nullptr);
    EXPECT_EQ(factory.CreateTl("fakecam"), nullptr);
    EXPECT_EQ(factory.CreateTl(CTlInfo().SetDeviceClass("FakeCam").SetVendorName("x")), nullptr);
    EXPECT_EQ(fakeCam.creations, 0);
}

TEST_F(TlFactory, DestroysATransportLayerWithItsLastReference) {
    ITransportLayer* const pTl = factory.CreateTl("FakeCam");
    EXPECT_EQ(factory.CreateTl("FakeCam"), pTl);
    factory.ReleaseTl(pTl);
    EXPECT_EQ(fakeCam.destructions, 0);
    factory.ReleaseTl(pTl);
    EXPECT_EQ(fakeCam.destructions, 1);
}

TEST_F(TlFactory, MakesANewTransportLayerAfterTheLastRelease) {
    factory.ReleaseTl(factory.CreateTl("FakeCam"));
    factory.ReleaseTl(factory.CreateTl("FakeCam"));
    EXPECT_EQ(fakeCam.creations, 2);
    EXPECT_EQ(fakeCam.destructions, 2);
}

TEST_F(TlFactory, LeavesATransportLayerAloneThatHasBeenDestroyed) {
    for (int round = 1; round <= 3; ++round) { // the next one may get the memory of the last
        ITransportLayer* const pTl = factory.CreateTl("FakeCam");
        factory.ReleaseTl(pTl);
        factory.ReleaseTl(pTl);
        EXPECT_EQ(fakeCam.creations, round);
        EXPECT_EQ(fakeCam.destructions, round);
    }
}

TEST_F(TlFactory, CountsTwoTransportLayersApart) {
    AddOther();
    ITransportLayer* const pFake = factory.CreateTl("FakeCam");
    ITransportLayer* const pOther = factory.CreateTl("OtherCam");
    factory.CreateTl("OtherCam");
    factory.ReleaseTl(pFake);
    EXPECT_EQ(fakeCam.destructions, 1);
    factory.ReleaseTl(pOther);
    EXPECT_EQ(otherCam.destructions, 0);
    factory.ReleaseTl(pOther);
    EXPECT_EQ(otherCam.destructions, 1);
}

TEST_F(TlFactory, IgnoresNull) {
    factory.ReleaseTl(nullptr);
    factory.DestroyDevice(nullptr);
}

TEST_F(TlFactory, ALiveDeviceKeepsItsTransportLayer) {
    ITransportLayer* const pTl = factory.CreateTl("FakeCam");
    ITavixDevice* const pDevice = pTl->CreateDevice("FakeCam-1");
    ASSERT_NE(pDevice, nullptr);
    factory.ReleaseTl(pTl);
    EXPECT_EQ(fakeCam.destructions, 0);
    pTl->DestroyDevice(pDevice);
    EXPECT_EQ(fakeCam.destructions, 1);
}

TEST_F(TlFactory, UsesUpItsOwnReferencesAndTheDevicesAlike) {
    ITransportLayer* const pTl = factory.CreateTl("FakeCam");
    ITavixDevice* const pDevice = pTl->CreateDevice("FakeCam-1");
    factory.CreateTl("FakeCam");
    pTl->DestroyDevice(pDevice);
    factory.ReleaseTl(pTl);
    EXPECT_EQ(fakeCam.destructions, 0);
    factory.ReleaseTl(pTl);
    EXPECT_EQ(fakeCam.destructions, 1);
}

// Devices over all transport layers.

TEST_F(TlFactory, ListsTheDevicesOfAllTransportLayersAndLetsThemGo) {
    AddOther();
    fakeCam.attachedDevices = 2;
    EXPECT_EQ(DeviceNames(), "FakeCam-1 FakeCam-2 OtherCam-1 ");
    EXPECT_EQ(fakeCam.creations, fakeCam.destructions);
    EXPECT_EQ(otherCam.destructions, 1);
}

TEST_F(TlFactory, CountsWhatTheCallFound) {
    AddOther();
    DeviceInfoList list, filter;
    EXPECT_EQ(factory.EnumerateDevices(list), 2);
    EXPECT_EQ(factory.EnumerateDevices(list, true), 2);
    EXPECT_EQ(list.size(), 4U);
    filter.push_back(CDeviceInfo().SetFullName("OtherCam-1"));
    EXPECT_EQ(factory.EnumerateDevices(list, filter, true), 1);
    EXPECT_EQ(list.size(), 5U);
    EXPECT_EQ(factory.EnumerateDevices(list, filter), 1);
    EXPECT_EQ(list.front().GetFullName(), "OtherCam-1");
}

TEST_F(TlFactory, CreatesADeviceThatWasListed) {
    AddOther();
    DeviceInfoList list;
    factory.EnumerateDevices(list);
    ITavixDevice* const pDevice = factory.CreateDevice(list.back());
    EXPECT_EQ(pDevice->GetDeviceInfo().GetFullName(), "OtherCam-1");
    EXPECT_EQ(otherCam.creations, otherCam.destructions + 1);
    factory.DestroyDevice(pDevice);
    EXPECT_EQ(otherCam.creations, otherCam.destructions);
}

TEST_F(TlFactory, FindsTheTransportLayerOfAPartialDescription) {
    AddOther();
    ITavixDevice* const pDevice = factory.CreateDevice(CDeviceInfo().SetFullName("OtherCam-1"));
    EXPECT_EQ(pDevice->GetDeviceInfo().GetDeviceClass(), "OtherCam");
    factory.DestroyDevice(pDevice);
}

TEST_F(TlFactory, RefusesADescriptionThatFitsDevicesOfTwoTransportLayers) {
    AddOther();
    EXPECT_THROW_TEXT(RuntimeException, factory.CreateDevice(CDeviceInfo().SetModelName("CamModel")),
                      "Too many devices (2) match the provided device info properties, don't know which device to "
                      "use.");
    ITavixDevice* const pDevice = factory.CreateFirstDevice(CDeviceInfo().SetModelName("CamModel"));
    EXPECT_EQ(pDevice->GetDeviceInfo().GetFullName(), "FakeCam-1");
    factory.DestroyDevice(pDevice);
}

TEST_F(TlFactory, SaysThatNothingFits) {
    EXPECT_THROW_TEXT(RuntimeException, factory.CreateFirstDevice(CDeviceInfo().SetModelName("x")),
                      "No device contains the provided device info properties.");
    AddOther();
    EXPECT_THROW_TEXT(RuntimeException, factory.CreateFirstDevice(CDeviceInfo().SetModelName("x")),
                      "No device contains the provided device info properties.");
    EXPECT_EQ(fakeCam.creations, fakeCam.destructions);
}

TEST_F(TlFactory, SaysThatNoTransportLayerServesADeviceClass) {
    EXPECT_THROW_TEXT(RuntimeException, factory.CreateDevice(CDeviceInfo().SetDeviceClass("NoSuchCam")),
                      "No transport layer found for device class 'NoSuchCam', device factory 'N/A'.");
}

TEST_F(TlFactory, CreatesByFullNameAcrossTransportLayers) {
    AddOther();
    ITavixDevice* const pDevice = factory.CreateDevice("OtherCam-1");
    ASSERT_NE(pDevice, nullptr);
    factory.DestroyDevice(pDevice);
    EXPECT_EQ(factory.CreateDevice("NoSuchCam-1"), nullptr);
}

TEST_F(TlFactory, TakesTheFirstDeviceOfAllWithoutADescription) {
    ITavixDevice* const pDevice = factory.CreateFirstDevice();
    EXPECT_EQ(pDevice->GetDeviceInfo().GetFullName(), "FakeCam-1");
    factory.DestroyDevice(pDevice);
    EXPECT_EQ(fakeCam.creations, fakeCam.destructions);
}

TEST_F(TlFactory, RefusesToDestroyADeviceTwice) {
    AddOther();
    ITavixDevice* const pOther = factory.CreateDevice("OtherCam-1");
    ITavixDevice* const pDevice = factory.CreateFirstDevice();
    factory.DestroyDevice(pDevice);
    EXPECT_THROW_TEXT(LogicalErrorException, factory.DestroyDevice(pDevice),
                      "Trying to destroy device which hasn't been created by me");
    factory.DestroyDevice(pOther);
    EXPECT_THROW_TEXT(LogicalErrorException, factory.DestroyDevice(pOther),
                      "Trying to destroy a device although no transport layer is in use.");
}

TEST_F(TlFactory, ProbesADevice) {
    AddOther();
    EDeviceAccessiblityInfo access = Accessibility_Unknown;
    EXPECT_TRUE(factory.IsDeviceAccessible(CDeviceInfo().SetFullName("OtherCam-1"), DefaultAccessMode(), &access));
    EXPECT_EQ(access, Accessibility_Ok);
    EXPECT_TRUE(factory.IsDeviceAccessible(CDeviceInfo().SetDeviceClass("FakeCam")));
}

// Transport layers that fail.

TEST_F(TlFactory, KeepsListingWhenOneTransportLayerFails) {
    AddOther();
    const LogRecorder log("tavix.base.Factory");
    fakeCam.failsInDiscovery = FakeFailure::GenICam;
    EXPECT_EQ(DeviceNames(), "OtherCam-1 ");
    EXPECT_TRUE(log.Has(256, "Transport layer 'Fake/FakeCam': the bus is closed"));
    fakeCam.failsInDiscovery = FakeFailure::Standard;
    EXPECT_EQ(DeviceNames(), "OtherCam-1 ");
    EXPECT_TRUE(log.Has(256, "Transport layer 'Fake/FakeCam': the memory is full"));
    fakeCam.failsInDiscovery = FakeFailure::Text;
    EXPECT_EQ(DeviceNames(), "OtherCam-1 ");
    EXPECT_TRUE(log.Has(256, "Transport layer 'Fake/FakeCam': unknown exception"));
}

TEST_F(TlFactory, PassesTheFailureOnWhenNoTransportLayerWorks) {
    fakeCam.failsInDiscovery = FakeFailure::GenICam;
    EXPECT_THROW_TEXT(RuntimeException, DeviceNames(), "the bus is closed");
    EXPECT_EQ(fakeCam.creations, fakeCam.destructions);
}

TEST_F(TlFactory, LetsTheFirstOfEqualFileNamesCount) {
    const PluginFolder second(&folder);
    second.Add("libtavixfakecam-1.0.0.so", kOtherCamPlugin);
    TlInfoList list;
    factory.EnumerateTls(list);
    const auto isSecond = [&](const CTlInfo& info) {
        return info.GetFileName() == second.Path("libtavixfakecam-1.0.0.so").c_str();
    };
    EXPECT_TRUE(std::none_of(list.begin(), list.end(), isSecond));
}

} // namespace Tavix
