#include "TavixTL_USB/TavixUSB/TavixUsb.h"

#include "support/Camera.h"
#include "support/Expect.h"
#include "support/LogLines.h"

using Tavix::CTlInfo;
using Tavix::ITransportLayer;

namespace {

CTlInfo InfoOfClass(const char* deviceClass) {
    CTlInfo info;
    info.SetDeviceClass(deviceClass);
    return info;
}

class TavixUsb : public testing::Test {
protected:
    TavixUsb() { bus.Reset(); }
    ~TavixUsb() override { Destroy(m_pTl); }

    ITransportLayer* CreateTl() { return m_pTl = Create(InfoOfClass("VandrelUsb")); }

    FakeVexlo& bus = FakeVexlo::Get();
    ITransportLayer* m_pTl = nullptr;
};

TEST_F(TavixUsb, DescribesItsTransportLayer) {
    const CTlInfo& info = Tavix::GetTLInfo();
    EXPECT_EQ("VandrelUsb", info.GetDeviceClass());
    EXPECT_EQ("USB/VandrelUsb 04.00.00.0062", info.GetFullName());
    EXPECT_EQ("Vandrel", info.GetVendorName());
    EXPECT_EQ("USB", info.GetFriendlyName());
    Tavix::gcstring_vector names;
    info.GetPropertyNames(names);
    EXPECT_EQ(4u, names.size());
}

TEST_F(TavixUsb, HasOneInfoRecord) {
    EXPECT_EQ(&Tavix::GetTLInfo(), &Tavix::GetTLInfo());
}

TEST_F(TavixUsb, AsksForTheAccessLibraryOnEveryCall) {
    Tavix::GetTLInfo();
    Tavix::GetTLInfo();
    EXPECT_EQ(2, bus.Count("IsLibraryLoadable"));
}

TEST_F(TavixUsb, HasNoInfoWithoutTheAccessLibrary) {
    bus.FailNext("IsLibraryLoadable", kFailure);
    EXPECT_FAILURE(RuntimeException, "TavixUsb.cpp", "Failed to initialize vexlo: text E2000777", Tavix::GetTLInfo());
    EXPECT_NO_THROW(Tavix::GetTLInfo());
}

TEST_F(TavixUsb, HasAnEmptyTextForAnUnknownStatus) {
    bus.statusText.clear();
    bus.FailNext("IsLibraryLoadable", kFailure);
    EXPECT_FAILURE(RuntimeException, "TavixUsb.cpp", "Failed to initialize vexlo: ", Tavix::GetTLInfo());
}

TEST_F(TavixUsb, AppendsOneEntryToTheInfoList) {
    Tavix::TlInfoList list;
    list.push_back(InfoOfClass("Other"));
    EXPECT_TRUE(GetTLInfoList(list));
    ASSERT_EQ(2u, list.size());
    EXPECT_EQ("Other", list[0].GetDeviceClass());
    EXPECT_EQ("VandrelUsb", list[1].GetDeviceClass());
}

TEST_F(TavixUsb, CreatesNothingForAnotherDeviceClass) {
    LogLines log;
    for (const char* deviceClass : {"VandrelUsb ", "vandrelusb", "VANDRELUSB", "VandrelUs", ""}) {
        EXPECT_EQ(nullptr, Create(InfoOfClass(deviceClass))) << deviceClass;
    }
    EXPECT_EQ(nullptr, Create(CTlInfo()));
    EXPECT_EQ(0, bus.Count("Init"));
    EXPECT_THAT(log.All(), testing::IsEmpty());
}

TEST_F(TavixUsb, CreatesOneTransportLayerAndInitialisesOnce) {
    ITransportLayer* const first = CreateTl();
    ASSERT_NE(nullptr, first);
    EXPECT_EQ(first, Create(InfoOfClass("VandrelUsb")));
    EXPECT_EQ(1, bus.Count("Init"));
}

TEST_F(TavixUsb, CreatesNothingWhenInitialisingFailsAndTriesAgainLater) {
    bus.FailNext("Init", kFailure);
    EXPECT_FAILURE(RuntimeException, "TavixUsb.cpp", "Failed to initialize vexlo: text E2000777", CreateTl());
    EXPECT_EQ(0, bus.Count("Exit"));
    EXPECT_NE(nullptr, CreateTl());
    EXPECT_EQ(2, bus.Count("Init"));
}

TEST_F(TavixUsb, DestroysAndCreatesAnew) {
    CreateTl();
    Destroy(m_pTl);
    EXPECT_EQ(1, bus.Count("Exit"));
    EXPECT_NE(nullptr, CreateTl());
    EXPECT_EQ(2, bus.Count("Init"));
}

TEST_F(TavixUsb, IgnoresNullAndForeignPointersToDestroy) {
    ITransportLayer* const tl = CreateTl();
    Destroy(nullptr);
    Destroy(reinterpret_cast<ITransportLayer*>(this));
    EXPECT_EQ(0, bus.Count("Exit"));
    EXPECT_EQ(tl, Create(InfoOfClass("VandrelUsb")));
}

TEST_F(TavixUsb, SaysThatItsTransportLayerComesAndGoes) {
    LogLines log;
    CreateTl();
    EXPECT_EQ(1, log.Count({"Tavix.USB.TL", 64, "'VandrelUsb' TL created."}));
    Destroy(m_pTl);
    EXPECT_EQ(1, log.Count({"Tavix.USB.TL", 64, "'VandrelUsb' TL destroyed."}));
}

TEST_F(TavixUsb, GivesItsTransportLayerACopyOfTheInfo) {
    EXPECT_EQ(static_cast<const Tavix::CInfoBase&>(Tavix::GetTLInfo()), CreateTl()->GetTlInfo());
}

} // namespace
