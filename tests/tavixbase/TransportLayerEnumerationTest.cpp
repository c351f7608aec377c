#include "tavixbase/support/Expect.h"
#include "tavixbase/support/FakeTransportLayer.h"
#include "tavixbase/support/LogRecorder.h"
#include "tavixbase/support/Scoped.h"

namespace Tavix {
namespace {

DeviceInfoList ListOf(std::initializer_list<CDeviceInfo> infos) {
    DeviceInfoList list;
    for (const CDeviceInfo& info : infos)
        list.push_back(info);
    return list;
}

std::string NamesOf(const DeviceInfoList& list) {
    std::string names;
    for (const CDeviceInfo& info : list)
        names += info.GetFullName().str() + " ";
    return names;
}

class TransportLayerEnumeration : public testing::Test {
protected:
    TransportLayerEnumeration() {
        tl.attached = ListOf(
            {Discovered("FakeCam", "a", "m1"), Discovered("FakeCam", "b", "m2"), Discovered("FakeCam", "c", "m1")});
        list.push_back(Discovered("FakeCam", "old"));
    }

    FakeTransportLayer tl;
    DeviceInfoList list;
    LogRecorder log{"tavix.base.TL"};
};

} // namespace

TEST_F(TransportLayerEnumeration, ClearsTheListUnlessToldToAdd) {
    EXPECT_EQ(tl.EnumerateDevices(list), 3);
    EXPECT_EQ(NamesOf(list), "a b c ");
}

TEST_F(TransportLayerEnumeration, CountsEarlierEntriesWhenAddingWithoutFilter) {
    EXPECT_EQ(tl.EnumerateDevices(list, true), 4);
    EXPECT_EQ(NamesOf(list), "old a b c ");
    EXPECT_TRUE(log.Lines().empty());
}

TEST_F(TransportLayerEnumeration, KeepsWhatAnyFilterEntryFitsInDiscoveryOrder) {
    const DeviceInfoList filter = ListOf({CDeviceInfo().SetFullName("c"), CDeviceInfo().SetModelName("m1")});
    EXPECT_EQ(tl.EnumerateDevices(list, filter), 2);
    EXPECT_EQ(NamesOf(list), "a c ");
    EXPECT_EQ(log.Lines(), (std::vector<LogLine>{{32, "Filter applied to device list, count of devices before filter "
                                                      "step = 3, after filter step = 2."}}));
}

TEST_F(TransportLayerEnumeration, CountsOnlyMatchesWhenAddingWithFilter) {
    EXPECT_EQ(tl.EnumerateDevices(list, ListOf({CDeviceInfo().SetModelName("m2")}), true), 1);
    EXPECT_EQ(NamesOf(list), "old b ");
}

TEST_F(TransportLayerEnumeration, DoesNotTouchTheBusWhenAllEntriesNameAnotherClass) {
    const DeviceInfoList filter = ListOf({CDeviceInfo().SetDeviceClass("x"), CDeviceInfo().SetDeviceClass("FakeCam ")});
    EXPECT_EQ(tl.EnumerateDevices(list, filter), 0);
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(tl.discoveries, 0);
}

TEST_F(TransportLayerEnumeration, DiscoversWhenOneEntryNamesNoClassOrItsOwn) {
    const CDeviceInfo other = CDeviceInfo().SetDeviceClass("x");
    EXPECT_EQ(tl.EnumerateDevices(list, ListOf({other, CDeviceInfo().SetDeviceClass("FakeCam")})), 3);
    EXPECT_EQ(tl.EnumerateDevices(list, ListOf({other, CDeviceInfo().SetModelName("m2")})), 1);
    EXPECT_EQ(tl.discoveries, 2);
}

TEST_F(TransportLayerEnumeration, AppliesTheGlobalFilterAlone) {
    const DeviceInfoList global = ListOf({CDeviceInfo().SetModelName("m1")});
    const ScopedGlobalFilter scope(global);
    EXPECT_EQ(tl.EnumerateDevices(list, true), 2);
    EXPECT_EQ(NamesOf(list), "old a c ");
}

TEST_F(TransportLayerEnumeration, AppliesTheGlobalFilterBeforeTheCallers) {
    const DeviceInfoList global = ListOf({CDeviceInfo().SetModelName("m1")});
    const ScopedGlobalFilter scope(global);
    const DeviceInfoList filter = ListOf({CDeviceInfo().SetFullName("b"), CDeviceInfo().SetFullName("c")});
    EXPECT_EQ(tl.EnumerateDevices(list, filter), 1);
    EXPECT_EQ(NamesOf(list), "c ");
    EXPECT_TRUE(log.Has(32, "Filter applied to device list, count of devices before filter step = 3, after filter step "
                            "= 2."));
    EXPECT_TRUE(log.Has(32, "Filter applied to device list, count of devices before filter step = 2, after filter step "
                            "= 1."));
}

TEST_F(TransportLayerEnumeration, AnEmptyGlobalFilterLetsNothingThrough) {
    const DeviceInfoList global;
    const ScopedGlobalFilter scope(global);
    EXPECT_EQ(tl.EnumerateDevices(list), 0);
    EXPECT_TRUE(list.empty());
}

TEST_F(TransportLayerEnumeration, LogsNoFilterStepOverAnEmptyList) {
    tl.attached.clear();
    EXPECT_EQ(tl.EnumerateDevices(list, ListOf({CDeviceInfo()})), 0);
    EXPECT_TRUE(log.Lines().empty());
}

TEST_F(TransportLayerEnumeration, PassesFailuresOfDiscoveryOn) {
    tl.onDiscover = [] { throw RUNTIME_EXCEPTION("bus is down"); };
    EXPECT_THROW_TEXT(RuntimeException, tl.EnumerateDevices(list), "bus is down");
}

TEST_F(TransportLayerEnumeration, ListsNoInterfaces) {
    InterfaceInfoList interfaces;
    interfaces.push_back(CInterfaceInfo());
    EXPECT_EQ(tl.EnumerateInterfaces(interfaces, true), 0);
    EXPECT_EQ(interfaces.size(), 1U);
    EXPECT_EQ(tl.EnumerateInterfaces(interfaces), 0);
    EXPECT_TRUE(interfaces.empty());
}

TEST_F(TransportLayerEnumeration, FindsNothingWhenSwitchedOff) {
    const ScopedVariable useTl("TAVIX_USE_TL", "OtherCam");
    FakeTransportLayer off;
    off.attached = tl.attached;
    EXPECT_FALSE(off.IsTLEnabled());
    EXPECT_EQ(off.EnumerateDevices(list), 0);
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(off.CreateDevice("a"), nullptr);
    EXPECT_EQ(off.discoveries, 0);
}

TEST_F(TransportLayerEnumeration, IsSwitchedByTheExactDeviceClassAtConstruction) {
    EXPECT_TRUE(tl.IsTLEnabled());
    const auto isEnabled = [](const char* value) {
        const ScopedVariable useTl("TAVIX_USE_TL", value);
        return FakeTransportLayer().IsTLEnabled();
    };
    EXPECT_TRUE(isEnabled("FakeCam"));
    EXPECT_TRUE(isEnabled(""));
    EXPECT_FALSE(isEnabled("fakecam"));
    EXPECT_FALSE(isEnabled("FakeCam "));
    const ScopedVariable tooLate("TAVIX_USE_TL", "OtherCam");
    EXPECT_TRUE(tl.IsTLEnabled());
}

// Finding a device from a partial description.

TEST_F(TransportLayerEnumeration, FindDeviceGivesTheOnlyMatch) {
    CDeviceInfo found;
    tl.FindDevice(CDeviceInfo().SetModelName("m2"), found, false);
    EXPECT_EQ(found, tl.attached[1]);
    EXPECT_FALSE(found.IsUserProvided());
}

TEST_F(TransportLayerEnumeration, FindDeviceRefusesWhenSwitchedOff) {
    const ScopedVariable useTl("TAVIX_USE_TL", "OtherCam");
    FakeTransportLayer off;
    CDeviceInfo found;
    EXPECT_THROW_TEXT(RuntimeException, off.FindDevice(CDeviceInfo(), found, true),
                      "Device not accessible. Transport layer is restricted by the environment");
}

TEST_F(TransportLayerEnumeration, FindDeviceRefusesAnotherDeviceClassBeforeTheBusIsTouched) {
    constexpr const char* kText = "The device class OtherCam is not supported by this transport layer. This transport "
                                  "layer supports FakeCam.";
    CDeviceInfo found;
    EXPECT_THROW_TEXT(RuntimeException, tl.FindDevice(CDeviceInfo().SetDeviceClass("OtherCam"), found, true), kText);
    EXPECT_EQ(log.Lines(), (std::vector<LogLine>{{256, kText}}));
    EXPECT_EQ(tl.discoveries, 0);
}

TEST_F(TransportLayerEnumeration, FindDeviceSaysThatNothingFits) {
    constexpr const char* kText = "No device contains the provided device info properties.";
    CDeviceInfo found;
    EXPECT_THROW_TEXT(RuntimeException, tl.FindDevice(CDeviceInfo().SetModelName("m3"), found, true), kText);
    EXPECT_EQ(log.Lines(), (std::vector<LogLine>{{32, "Filter applied to device list, count of devices before filter "
                                                      "step = 3, after filter step = 0."},
                                                 {256, kText}}));
}

TEST_F(TransportLayerEnumeration, FindDeviceCountsTooManyDevicesAsOne) {
    constexpr const char* kText =
        "Too many devices (1) match the provided device info properties, don't know which device to use.";
    CDeviceInfo found;
    EXPECT_THROW_TEXT(RuntimeException, tl.FindDevice(CDeviceInfo().SetModelName("m1"), found, false), kText);
    EXPECT_TRUE(log.Has(256, kText));
    EXPECT_THROW_TEXT(RuntimeException, tl.FindDevice(CDeviceInfo(), found, false), kText);
}

TEST_F(TransportLayerEnumeration, FindDeviceTakesTheFirstInDiscoveryOrderWhenAsked) {
    CDeviceInfo found;
    tl.FindDevice(CDeviceInfo().SetModelName("m1"), found, true);
    EXPECT_EQ(found.GetFullName(), "a");
}

TEST_F(TransportLayerEnumeration, FindDeviceCarriesTheTwoHiddenPropertiesOver) {
    CDeviceInfo pattern, found;
    pattern.SetModelName("m2").SetPropertyValue("_BornFree", "1");
    pattern.SetPropertyValue("_sap", "900");
    tl.FindDevice(pattern, found, false);
    gcstring value;
    EXPECT_TRUE(found.GetPropertyValue("_BornFree", value));
    EXPECT_EQ(value, "1");
    EXPECT_TRUE(found.GetPropertyValue("_sap", value));
    EXPECT_EQ(value, "900");
    EXPECT_FALSE(found.IsUserProvided());
}

TEST_F(TransportLayerEnumeration, FindDeviceLeavesTheRecordTheTransportLayersWhateverItCarriesOver) {
    for (const char* name : {"_BornFree", "_sap"}) {
        CDeviceInfo pattern, found;
        pattern.SetModelName("m2").SetPropertyValue(name, "1");
        tl.FindDevice(pattern, found, false);
        EXPECT_TRUE(found.GetPropertyAvailable(name));
        EXPECT_FALSE(found.IsUserProvided()) << name;
    }
}

TEST_F(TransportLayerEnumeration, FindDeviceNamesItsSourceFile) {
    CDeviceInfo found;
    const auto thrown =
        Thrown<GenICam::RuntimeException>([&] { tl.FindDevice(CDeviceInfo().SetModelName("m3"), found, true); });
    ASSERT_TRUE(thrown);
    EXPECT_EQ(std::string(thrown->GetSourceFileName()).rfind("TransportLayerPrivateImpl", 0), 0U);
    EXPECT_GT(thrown->GetSourceLine(), 0U);
}

TEST_F(TransportLayerEnumeration, FindsByADiscoveryOfItsOwnWhenItNeedsOne) {
    class Searching final : public FakeTransportLayer {
        bool InternalNeedsTlSpecificDeviceDiscovery(const CDeviceInfo&) override { return true; }
        int InternalDoTlSpecificDeviceDiscovery(const CDeviceInfo&, DeviceInfoList& found) override {
            found = ListOf({Discovered("FakeCam", "far away")});
            return 1;
        }
    } searching;
    CDeviceInfo found;
    searching.FindDevice(CDeviceInfo(), found, false);
    EXPECT_EQ(found.GetFullName(), "far away");
    EXPECT_EQ(searching.discoveries, 0);
}

TEST_F(TransportLayerEnumeration, HasNoDiscoveryOfItsOwnByDefault) {
    EXPECT_FALSE(tl.InternalNeedsTlSpecificDeviceDiscovery(CDeviceInfo()));
    try {
        tl.InternalDoTlSpecificDeviceDiscovery(CDeviceInfo(), list);
        FAIL() << "nothing thrown";
    } catch (const char* text) {
        EXPECT_STREQ(text, "Internal error. No device specific device discovery available.");
    }
}

// The accessibility probe.

TEST_F(TransportLayerEnumeration, ProbesADiscoveredRecordDirectly) {
    EDeviceAccessiblityInfo access = Accessibility_Unknown;
    EXPECT_TRUE(tl.IsDeviceAccessible(tl.attached[0], AccessModeSet(2), &access));
    EXPECT_EQ(access, Accessibility_Ok);
    EXPECT_EQ(tl.probed, tl.attached[0]);
    EXPECT_EQ(tl.probedModes, AccessModeSet(2));
    EXPECT_EQ(tl.discoveries, 0);
    EXPECT_TRUE(tl.IsDeviceAccessible(tl.attached[0]));
}

TEST_F(TransportLayerEnumeration, FindsTheDeviceOfAUserProvidedRecordBeforeProbing) {
    EXPECT_TRUE(tl.IsDeviceAccessible(CDeviceInfo().SetModelName("m2")));
    EXPECT_EQ(tl.probed.GetFullName(), "b");
    EXPECT_THROW_TEXT(RuntimeException, tl.IsDeviceAccessible(CDeviceInfo().SetModelName("m1")),
                      "Too many devices (1) match the provided device info properties, don't know which device to "
                      "use.");
}

TEST_F(TransportLayerEnumeration, ProbesWhenSwitchedOffOnlyWhatItNeedNotFind) {
    const ScopedVariable useTl("TAVIX_USE_TL", "OtherCam");
    FakeTransportLayer off;
    EXPECT_TRUE(off.IsDeviceAccessible(tl.attached[0]));
    EXPECT_THROW_TEXT(RuntimeException, off.IsDeviceAccessible(CDeviceInfo()),
                      "Device not accessible. Transport layer is restricted by the environment");
    EXPECT_THROW_TEXT(RuntimeException, off.IsDeviceAccessible(CDeviceInfo().SetDeviceClass("OtherCam")),
                      "The device class OtherCam is not supported by this transport layer. This transport layer "
                      "supports FakeCam.");
    EXPECT_EQ(off.discoveries, 0);
}

TEST_F(TransportLayerEnumeration, RefusesToProbeAnotherDeviceClass) {
    constexpr const char* kText = "The device class OtherCam is not supported by this transport layer. This transport "
                                  "layer supports FakeCam.";
    EXPECT_THROW_TEXT(RuntimeException, tl.IsDeviceAccessible(CDeviceInfo().SetDeviceClass("OtherCam")), kText);
    EXPECT_EQ(log.Lines(), (std::vector<LogLine>{{256, kText}}));
    EXPECT_EQ(tl.discoveries, 0);
}

} // namespace Tavix
