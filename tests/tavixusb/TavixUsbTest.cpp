#include "TavixTL_USB/TavixUSB/Failure.h"

#include "support/TransportLayerTest.h"

#include <thread>

using Tavix::CTlInfo;
using Tavix::ITransportLayer;

namespace {

/// There is no transport layer yet.
class TavixUsb : public TransportLayerTest {
protected:
    TavixUsb() {
        DestroyTl();
        bus.ForgetCalls();
        log.Forget();
    }

    ITransportLayer* CreateTl() {
        MakeTl();
        return tl;
    }
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

TEST_F(TavixUsb, HasOneInfoRecordForAllThreads) {
    const CTlInfo* seen[4] = {};
    std::vector<std::thread> threads;
    for (const CTlInfo*& info : seen)
        threads.emplace_back([&info] { info = &Tavix::GetTLInfo(); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_THAT(seen, testing::Each(&Tavix::GetTLInfo()));
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

TEST_F(TavixUsb, AsksForTheTextOfAStatusWithAnEmptyBufferOf1024Bytes) {
    EXPECT_EQ("text E2000777", Tavix::VxStatus2Msg(kFailure));
    EXPECT_EQ(1024u, bus.lastMessageRequest.size);
    EXPECT_FALSE(bus.lastMessageRequest.hasLength);
    EXPECT_TRUE(bus.lastMessageRequest.wasZeroed);
}

TEST_F(TavixUsb, AppendsNothingWithoutTheAccessLibrary) {
    bus.FailNext("IsLibraryLoadable", kFailure);
    Tavix::TlInfoList list;
    EXPECT_FAILURE(RuntimeException, "TavixUsb.cpp", "Failed to initialize vexlo: text E2000777", GetTLInfoList(list));
    EXPECT_TRUE(list.empty());
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
    for (const char* deviceClass : {"VandrelUsb ", "vandrelusb", "VANDRELUSB", "VandrelUs", ""}) {
        EXPECT_EQ(nullptr, Create(InfoOfClass(deviceClass))) << deviceClass;
    }
    EXPECT_EQ(nullptr, Create(CTlInfo()));
    EXPECT_EQ(0, bus.Count("Init"));
    EXPECT_THAT(log.All(), testing::IsEmpty());
}

TEST_F(TavixUsb, LooksAtTheDeviceClassAlsoWhenThereIsATransportLayer) {
    ITransportLayer* const living = CreateTl();
    EXPECT_EQ(nullptr, Create(InfoOfClass("Other")));
    EXPECT_EQ(living, CreateTl());
    EXPECT_EQ(1, bus.Count("Init"));
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
    DestroyTl();
    EXPECT_EQ(1, bus.Count("Exit"));
    EXPECT_NE(nullptr, CreateTl());
    EXPECT_EQ(2, bus.Count("Init"));
}

TEST_F(TavixUsb, IgnoresNullAndForeignPointersToDestroy) {
    CreateTl();
    Destroy(nullptr);
    Destroy(reinterpret_cast<ITransportLayer*>(this));
    EXPECT_EQ(0, bus.Count("Exit"));
    EXPECT_EQ(tl, Create(InfoOfClass("VandrelUsb")));
}

TEST_F(TavixUsb, SaysThatItsTransportLayerComesAndGoes) {
    CreateTl();
    DestroyTl();
    EXPECT_THAT(log.All(), testing::ElementsAre(LogLine{"Tavix.USB.TL", 64, "'VandrelUsb' TL created."},
                                                LogLine{"Tavix.USB.TL", 64, "'VandrelUsb' TL destroyed."}));
}

TEST_F(TavixUsb, InitialisesBeforeItMakesTheTransportLayer) {
    bus.onCall = [this](const std::string& call) {
        if (call == "Init") log.Forget();
    };
    CreateTl();
    EXPECT_THAT(bus.Calls(), testing::ElementsAre("Init"));
    EXPECT_THAT(log.All(), testing::ElementsAre(LogLine{"Tavix.USB.TL", 64, "'VandrelUsb' TL created."}));
}

TEST_F(TavixUsb, ForgetsItsTransportLayerBeforeThatIsGone) {
    ITransportLayer* const first = CreateTl();
    ITransportLayer* second = nullptr;
    {
        const Tavix::LogSink sink([&](const char*, unsigned int, const char* text) {
            if (std::string(text) == "'VandrelUsb' TL destroyed.") second = Create(InfoOfClass("VandrelUsb"));
        });
        Destroy(first);
    }
    EXPECT_NE(first, second);
    EXPECT_THAT(bus.Calls(), testing::ElementsAre("Init", "Init", "Exit"));
    tl = second;
}

TEST_F(TavixUsb, DestroysDevicesThatAreLeftAfterItsFarewellAndExitsLast) {
    bus.xmlText = CameraXml();
    CreateTl()->CreateDevice(MakeCameraInfo());
    bus.ForgetCalls();
    log.Forget();
    DestroyTl();
    ASSERT_GE(log.All().size(), 2u);
    EXPECT_EQ((LogLine{"Tavix.USB.TL", 64, "'VandrelUsb' TL destroyed."}), log.All().front());
    EXPECT_EQ((LogLine{"Tavix.USB.Device", 64, "Destroyed device '1:2:3' successfully."}), log.All().back());
    EXPECT_THAT(bus.Calls(), testing::ElementsAre("DestroyDevice", "Exit"));
}

TEST_F(TavixUsb, GivesItsTransportLayerACopyOfTheInfo) {
    EXPECT_EQ(static_cast<const Tavix::CInfoBase&>(Tavix::GetTLInfo()), CreateTl()->GetTlInfo());
}

} // namespace
