#include "tavixbase/support/Expect.h"
#include "tavixbase/support/FakeTransportLayer.h"
#include "tavixbase/support/LogRecorder.h"
#include "tavixbase/support/Scoped.h"

#include <GenApi/Pointer.h>

namespace Tavix {
namespace {

using Calls = std::vector<std::string>;

class TransportLayerCreation : public testing::Test {
protected:
    TransportLayerCreation() { tl.attached.push_back(camera); }
    ~TransportLayerCreation() override { tl.DestroyAllDevices(); }

    CDeviceInfo Create(const gcstring_vector& xmlStrings = {}) {
        return tl.CreateDevice(camera, xmlStrings)->GetDeviceInfo();
    }
    void ExpectNoDeviceLeft() {
        EXPECT_FALSE(tl.diary->isAlive);
        EXPECT_EQ(tl.Release(), 0U); // no reference was taken for a device
    }

    const ScopedBindings bindings;
    const CDeviceInfo camera = Discovered("FakeCam", "cam1");
    FakeTransportLayer tl;
    LogRecorder log{"tavix.base.TL"};
};

// Changes what it is told to.
class Observer final : public IDeviceCreationObserver {
public:
    void OnCreateDevice(CDeviceInfo& info, gcstring_vector& xmlStrings) override {
        seen = info;
        seenStrings = xmlStrings;
        if (!addString.empty()) xmlStrings.push_back(addString);
        if (changesInfo) info.SetModelName("forged");
    }
    CDeviceInfo seen;
    gcstring_vector seenStrings;
    gcstring addString;
    bool changesInfo = false;
};

} // namespace

TEST_F(TransportLayerCreation, BuildsBothNodeMapsFromTheDownloadedDescription) {
    tl.xmlFileName = "cam.zip";
    tl.xmlText = "<x/>";
    EXPECT_EQ(Create().GetXMLSource(), "Device:cam.zip");
    EXPECT_EQ(tl.diary->calls, (Calls{"CreateNodemapFromString <x/>", "ExtractChunkDataNodeMapFromString <x/>"}));
    EXPECT_EQ(log.Lines(), (std::vector<LogLine>{{32, "Downloaded XML from device 'cam1' length 4"}}));
}

TEST_F(TransportLayerCreation, CallsADescriptionWithoutFileNameDevice) {
    EXPECT_EQ(Create().GetXMLSource(), "Device");
}

TEST_F(TransportLayerCreation, LeavesTheChunkNodeMapOutWhenTheParameterIsOff) {
    GenApi::CBooleanPtr(tl.GetNodeMap()->GetNode("ChunkNodeMapSupportEnable"))->SetValue(false);
    Create();
    EXPECT_EQ(tl.diary->calls, Calls{"CreateNodemapFromString <xml/>"});
}

TEST_F(TransportLayerCreation, LeavesTheChunkNodeMapOutWhenTheParameterIsNotReadable) {
    tl.GetNodeMap()->GetNode("ChunkNodeMapSupportEnable")->ImposeAccessMode(GenApi::WO);
    Create();
    EXPECT_EQ(tl.diary->calls, Calls{"CreateNodemapFromString <xml/>"});
}

TEST_F(TransportLayerCreation, HandsTheCallersFragmentsToBothNodeMaps) {
    Create({"<more/>"});
    EXPECT_EQ(tl.diary->injected, gcstring_vector{"<more/>"});
    EXPECT_EQ(tl.diary->injectedIntoChunks, gcstring_vector{"<more/>"});
}

TEST_F(TransportLayerCreation, AsksTheProviderAboutTheDeviceAndDownloadsForTheRecord) {
    tl.makeDevice = [this](const CDeviceInfo&) { return new FakeDevice(Discovered("FakeCam", "changed"), tl.diary); };
    Create();
    EXPECT_EQ(tl.askedForXml.GetFullName(), "changed");
    EXPECT_EQ(tl.providedXmlFor.GetFullName(), "cam1");
    EXPECT_EQ(log.Lines(), (std::vector<LogLine>{{32, "Downloaded XML from device 'changed' length 6"}}));
}

TEST_F(TransportLayerCreation, KeepsTheDevicesInfoUsableForCreatingItAgain) {
    const CDeviceInfo info = Create();
    EXPECT_FALSE(info.IsUserProvided());
    tl.DestroyAllDevices();
    EXPECT_NE(tl.CreateDevice(info), nullptr);
}

TEST_F(TransportLayerCreation, CreatesADiscoveredDeviceWithoutAskingTheBus) {
    Create();
    EXPECT_EQ(tl.discoveries, 0);
    EXPECT_NE(tl.CreateFirstDevice(camera), nullptr);
    EXPECT_EQ(tl.discoveries, 0);
}

TEST_F(TransportLayerCreation, FindsTheDeviceOfAUserProvidedRecord) {
    EXPECT_EQ(tl.CreateDevice(CDeviceInfo().SetModelName("CamModel"))->GetDeviceInfo().GetFullName(), "cam1");
    EXPECT_EQ(tl.discoveries, 1);
}

TEST_F(TransportLayerCreation, ChoosesAmongSeveralOnlyWhenAskedForTheFirst) {
    tl.attached.push_back(Discovered("FakeCam", "cam2"));
    const CDeviceInfo model = CDeviceInfo().SetModelName("CamModel");
    EXPECT_THROW_TEXT(RuntimeException, tl.CreateDevice(model),
                      "Too many devices (1) match the provided device info properties, don't know which device to "
                      "use.");
    EXPECT_EQ(tl.CreateFirstDevice(model)->GetDeviceInfo().GetFullName(), "cam1");
    EXPECT_EQ(tl.CreateFirstDevice(model, {"<more/>"})->GetDeviceInfo().GetFullName(), "cam1");
    EXPECT_EQ(tl.diary->injected, gcstring_vector{"<more/>"});
}

TEST_F(TransportLayerCreation, CreatesByFullName) {
    tl.attached.push_back(CDeviceInfo()); // nameless
    EXPECT_EQ(tl.CreateDevice("cam1")->GetDeviceInfo().GetFullName(), "cam1");
    EXPECT_EQ(tl.discoveries, 1); // what was found is made without another look
    EXPECT_EQ(tl.CreateDevice("cam"), nullptr);
    EXPECT_EQ(tl.CreateDevice(CInfoBase::PropertyNotAvailable), nullptr);
    tl.attached.clear();
    EXPECT_EQ(tl.CreateDevice("cam1"), nullptr);
}

TEST_F(TransportLayerCreation, RefusesWhenSwitchedOff) {
    const ScopedVariable useTl("TAVIX_USE_TL", "OtherCam");
    FakeTransportLayer off;
    EXPECT_THROW_TEXT(RuntimeException, off.CreateDeviceImpl(camera, {}),
                      "Device creation failed. Transport layer is restricted by the environment");
    EXPECT_THROW_TEXT(RuntimeException, off.CreateDevice(CDeviceInfo()),
                      "Device not accessible. Transport layer is restricted by the environment");
}

// Configured files.

TEST_F(TransportLayerCreation, TakesTheDescriptionFromAConfiguredFile) {
    bindings.registry.BindFile(CDeviceInfo().SetFullName("cam1"), "/cam.xml");
    EXPECT_EQ(Create().GetXMLSource(), "/cam.xml");
    EXPECT_EQ(tl.diary->calls, (Calls{"CreateNodemapFromFile /cam.xml", "ExtractChunkDataNodeMapFromFile /cam.xml"}));
    EXPECT_EQ(log.Lines(), (std::vector<LogLine>{{32, "Using XML from path '/cam.xml' for device 'cam1'"}}));
}

TEST_F(TransportLayerCreation, LeavesTheChunkNodeMapOfAFileOutWhenTheParameterIsOff) {
    bindings.registry.BindFile(CDeviceInfo(), "/cam.xml");
    GenApi::CBooleanPtr(tl.GetNodeMap()->GetNode("ChunkNodeMapSupportEnable"))->SetValue(false);
    Create();
    EXPECT_EQ(tl.diary->calls, Calls{"CreateNodemapFromFile /cam.xml"});
}

TEST_F(TransportLayerCreation, AppendsTheMergeFileToTheFragments) {
    const ScopedFolder folder;
    const std::string path = folder.Write("merge.xml", "<merge/>");
    bindings.registry.BindMergeFile(CDeviceInfo(), path.c_str());
    bindings.registry.BindFile(CDeviceInfo(), "/cam.xml");
    Create({"<more/>"});
    EXPECT_EQ(tl.diary->injected, (gcstring_vector{"<more/>", "<merge/>"}));
    EXPECT_EQ(log.Lines(), (std::vector<LogLine>{{32, "About to merge file '" + path + "' into xml."},
                                                 {32, "Using XML from path '/cam.xml' for device 'cam1'"}}));
}

TEST_F(TransportLayerCreation, FailsWhenTheMergeFileIsMissing) {
    bindings.registry.BindMergeFile(CDeviceInfo(), "/no/merge.xml");
    EXPECT_THROW_TEXT(RuntimeException, Create(), "Failed to read file '/no/merge.xml': No such file or directory");
    EXPECT_TRUE(log.Lines().empty());
    ExpectNoDeviceLeft();
}

TEST_F(TransportLayerCreation, FailsWithoutAnyDescription) {
    constexpr const char* kText =
        "Device creation failed. Don't know what XML configuration file to use for the device cam1";
    tl.canProvideXml = false;
    EXPECT_THROW_TEXT(RuntimeException, Create(), kText);
    EXPECT_EQ(log.Lines(), (std::vector<LogLine>{{256, kText}}));
    ExpectNoDeviceLeft();
}

TEST_F(TransportLayerCreation, FailsWhenTheDevicesOwnDescriptionIsForbidden) {
    bindings.registry.BindNothing(CDeviceInfo());
    EXPECT_THROW_TEXT(RuntimeException, Create(),
                      "Device creation failed. Don't know what XML configuration file to use for the device cam1");
    ExpectNoDeviceLeft();
}

// The observer.

TEST_F(TransportLayerCreation, LetsTheObserverAddFragments) {
    Observer observer;
    observer.addString = "<observed/>";
    EXPECT_EQ(tl.SetDeviceCreationObserver(&observer), nullptr);
    Create({"<more/>"});
    EXPECT_EQ(observer.seen, camera);
    EXPECT_EQ(observer.seenStrings, gcstring_vector{"<more/>"});
    EXPECT_EQ(tl.diary->injected, (gcstring_vector{"<more/>", "<observed/>"}));
    EXPECT_EQ(tl.SetDeviceCreationObserver(nullptr), &observer);
}

TEST_F(TransportLayerCreation, ShowsTheObserverTheMergeFile) {
    const ScopedFolder folder;
    bindings.registry.BindMergeFile(CDeviceInfo(), folder.Write("merge.xml", "<merge/>").c_str());
    Observer observer;
    tl.SetDeviceCreationObserver(&observer);
    Create();
    EXPECT_EQ(observer.seenStrings, gcstring_vector{"<merge/>"});
}

TEST_F(TransportLayerCreation, RefusesAnObserverThatChangesTheInfo) {
    Observer observer;
    observer.changesInfo = true;
    tl.SetDeviceCreationObserver(&observer);
    EXPECT_THROW_TEXT(RuntimeException, Create(), "Device creation failed. Bad device information supplied.");
    ExpectNoDeviceLeft();
}

TEST_F(TransportLayerCreation, BlamesTheObserverForItsOwnChangesOnly) {
    Observer observer;
    tl.SetDeviceCreationObserver(&observer);
    CDeviceInfo pattern;
    pattern.SetModelName("CamModel").SetPropertyValue("_sap", "1");
    EXPECT_NE(tl.CreateDevice(pattern), nullptr);
}

// Devices that are none.

TEST_F(TransportLayerCreation, RefusesANullDevice) {
    tl.makeDevice = [](const CDeviceInfo&) { return nullptr; };
    EXPECT_THROW_TEXT(RuntimeException, Create(), "Internal error. Device creation failed. Created device is NULL.");
}

TEST_F(TransportLayerCreation, RefusesADeviceWithoutThePrivateInterface) {
    ApplicationSideOfFakeDevice device(camera);
    tl.makeDevice = [&](const CDeviceInfo&) { return &device; };
    EXPECT_THROW_TEXT(RuntimeException, Create(),
                      "Internal error. Device creation failed. Device doesn't implement ITavixDevicePrivate interface");
    EXPECT_EQ(log.Lines(),
              (std::vector<LogLine>{
                  {256, "Device creation failed. Device doesn't implement ITavixDevicePrivate interface"}}));
}

// Failures on the way.

TEST_F(TransportLayerCreation, DestroysTheDeviceWhenTheDownloadFails) {
    tl.onProvideXml = [] { throw RUNTIME_EXCEPTION("no answer"); };
    EXPECT_THROW_TEXT(RuntimeException, Create(), "no answer");
    EXPECT_EQ(log.Lines(), (std::vector<LogLine>{{32, "Error downloading XML from device 'cam1': no answer"}}));
    ExpectNoDeviceLeft();
}

TEST_F(TransportLayerCreation, LogsADownloadFailureOfTheStandardLibrary) {
    tl.onProvideXml = [] { throw std::runtime_error("no memory"); };
    EXPECT_THROW(Create(), std::runtime_error);
    EXPECT_EQ(log.Lines(), (std::vector<LogLine>{{32, "Error downloading XML from device 'cam1': no memory"}}));
    ExpectNoDeviceLeft();
}

TEST_F(TransportLayerCreation, LogsADownloadFailureWithoutText) {
    tl.onProvideXml = [] { throw 42; };
    EXPECT_THROW(Create(), int);
    EXPECT_EQ(log.Lines(), (std::vector<LogLine>{{32, "Error downloading XML from device 'cam1'"}}));
    ExpectNoDeviceLeft();
}

TEST_F(TransportLayerCreation, DestroysTheDeviceWhenItsNodeMapFails) {
    tl.diary->onLoad = [] { throw RUNTIME_EXCEPTION("bad description"); };
    EXPECT_THROW_TEXT(RuntimeException, Create(), "bad description");
    EXPECT_FALSE(log.HasLineWith(32, "Error downloading"));
    ExpectNoDeviceLeft();
}

TEST_F(TransportLayerCreation, NamesItsSourceFile) {
    tl.makeDevice = [](const CDeviceInfo&) { return nullptr; };
    const auto thrown = Thrown<GenICam::RuntimeException>([&] { Create(); });
    ASSERT_TRUE(thrown);
    EXPECT_EQ(std::string(thrown->GetSourceFileName()).rfind("TransportLayerPrivateImpl", 0), 0U);
}

} // namespace Tavix
