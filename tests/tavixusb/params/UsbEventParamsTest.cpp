#include "params/UsbEventParams.h"

#include "GenericUsbPort.h"
#include "ParamsPtr.h"
#include "params/UsbStreamParams.h"
#include "params/UsbTLParams.h"
#include "tavixusb/support/Camera.h"
#include "tavixusb/support/Expect.h"
#include "tavixusb/support/ParamsRows.h"

#include <gmock/gmock.h>

#include <set>

using testing::ElementsAre;
using Vandrel_UsbEventParams::CUsbEventParamsImpl;

namespace {
namespace event_params {

constexpr char kEventPort[] = "EventStreamGrabberPort";

NodeProperties EventStatistic(const char* address, const char* length, const char* sign, const char* displayName,
                              const char* toolTip) {
    return StatisticProperties(address, length, sign, kEventPort, displayName, toolTip);
}

NodeProperties PlainRegister(const char* address, const char* length, const char* access, const char* sign) {
    return RegisterProperties(address, length, access, sign, kEventPort, {{"IsFeature", "No"}});
}

const NodeRow kEventRows[] = {
    {"Root", GenApi::intfICategory, {{"ToolTip", "USB event grabber parameters."}, {"IsFeature", "Yes"}}},
    {"Statistic", GenApi::intfICategory, {{"ToolTip", "Statistical data."}, {"IsFeature", "Yes"}}},
    {"NumBuffer",
     GenApi::intfIInteger,
     {{"ToolTip", "Number of buffers to be used."},
      {"Description", "Number of Buffers that are going to be used receiving events."},
      {"Visibility", "Expert"},
      {"pIsLocked", "StatusIsOpen"},
      {"pValue", "NumBuffer_Value"},
      {"Min", "1"},
      {"IsFeature", "Yes"}}},
    {"NumMaxQueuedUrbs",
     GenApi::intfIInteger,
     {{"ToolTip", "The maximum number of requests to be enqueued to the driver."},
      {"DisplayName", "Num Max Queued Urbs"},
      {"Visibility", "Guru"},
      {"pIsLocked", "StatusIsOpen"},
      {"pValue", "NumMaxQueuedUrbs_Value"},
      {"Min", "1"},
      {"IsFeature", "Yes"}}},
    {"TransferLoopThreadPriority",
     GenApi::intfIInteger,
     {{"ToolTip", "The priority of the thread that handles USB requests of the event stream interface."},
      {"DisplayName", "Transfer Loop Thread Priority"},
      {"Visibility", "Guru"},
      {"pIsLocked", "StatusIsOpen"},
      {"pValue", "TransferLoopThreadPriority_Value"},
      {"pMin", "TransferLoopThreadPriority_Min"},
      {"pMax", "TransferLoopThreadPriority_Max"},
      {"IsFeature", "Yes"}}},
    {"EnumEntry_Status_Closed", GenApi::intfIEnumEntry, EntryProperties("0", "Closed")},
    {"EnumEntry_Status_Open", GenApi::intfIEnumEntry, EntryProperties("1", "Open")},
    {"Status",
     GenApi::intfIEnumeration,
     {{"ToolTip", "For internal use only."},
      {"Visibility", "Guru"},
      {"ImposedAccessMode", "RO"},
      {"pEnumEntry", "EnumEntry_Status_Closed\tEnumEntry_Status_Open"},
      {"pValue", "StatusReg"},
      {"IsFeature", "No"}}},
    {"StatusReg", GenApi::intfIInteger, {{"Visibility", "Invisible"}, {"Value", "0"}, {"IsFeature", "No"}}},
    {"StatusIsOpen",
     GenApi::intfIInteger,
     {{"Visibility", "Invisible"},
      {"pVariable", "StatusReg"},
      {"Formula", "STREAM_GRABBER_STATUS <> 0"},
      {"IsFeature", "No"}}},
    {"EventStreamGrabberPort",
     GenApi::intfIPort,
     {{"ToolTip", "Port node giving access to event stream grabber parameters."}, {"IsFeature", "No"}}},
    {"NumBuffer_Value", GenApi::intfIInteger, PlainRegister("0x200", "4", "RW", "Unsigned")},
    {"NumMaxQueuedUrbs_Value", GenApi::intfIInteger, PlainRegister("0x300", "4", "RW", "Unsigned")},
    {"MaximumTransferLength_Value", GenApi::intfIInteger, PlainRegister("0x400", "4", "RO", "Unsigned")},
    {"Statistic_Total_Event_Count", GenApi::intfIInteger,
     EventStatistic("0x500", "8", "Signed", "Total Event Count", "The total count of processed events.")},
    {"Statistic_Failed_Event_Count", GenApi::intfIInteger,
     EventStatistic("0x600", "8", "Signed", "Failed Event Count",
                    "The count of processed events with an error status.")},
    {"Statistic_Last_Failed_Event_Buffer_Status", GenApi::intfIInteger,
     EventStatistic("0x700", "4", "Unsigned", "Last Failed Event Buffer Status",
                    "The status code of the last failed event buffer.")},
    {"TransferLoopThreadPriority_Value", GenApi::intfIInteger, PlainRegister("0x800", "4", "RW", "Signed")},
    {"TransferLoopThreadPriority_Max", GenApi::intfIInteger, PlainRegister("0x808", "4", "RW", "Signed")},
    {"TransferLoopThreadPriority_Min", GenApi::intfIInteger, PlainRegister("0x810", "4", "RW", "Signed")},
    {"GenerateNumTestEvents_Value", GenApi::intfIInteger, PlainRegister("0x900", "1", "WO", "Unsigned")},
};

class UsbEventParams : public testing::Test {
protected:
    UsbEventParams() {
        bus.Reset();
        m_pDevice = vexlo::CVxDevice::CreateDevice(vexlo::DeviceType_Libusb);
        vexlo::CVxEventStream* stream = nullptr;
        EXPECT_EQ(0u, m_pDevice->GetEventStream(&stream));
        bus.eventProperties[0x808] = FakeVexlo::Number(99, 4);
        port.SetObject(stream);
        map->Connect(&port, kEventPort);
    }
    ~UsbEventParams() override {
        map->Connect(nullptr, kEventPort);
        vexlo::CVxDevice::DestroyDevice(m_pDevice);
    }
    GenApi::IInteger& Integer(const char* name) { return *GenApi::CIntegerPtr(map->GetNode(name)); }

    FakeVexlo& bus = FakeVexlo::Get();
    vexlo::CVxDevice* m_pDevice;
    Tavix::ParamsPtr<CUsbEventParamsImpl> map{CUsbEventParamsImpl::Create("")};
    Tavix::CGenericUsbPort<vexlo::CVxEventStream> port;
};

class UsbEventParamsTable : public UsbEventParams, public testing::WithParamInterface<NodeRow> {};
TEST_P(UsbEventParamsTable, HasTheNode) {
    ExpectRow(*map, GetParam());
}
INSTANTIATE_TEST_SUITE_P(Rows, UsbEventParamsTable, testing::ValuesIn(kEventRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(UsbEventParams, HasTheNodesOfTheTableInOrderAndNoOthers) {
    EXPECT_EQ(RowNames(kEventRows), NodeNames(*map));
    EXPECT_EQ(nullptr, map->GetNode("StatusIsLocked"));
    EXPECT_EQ(nullptr, map->GetNode("MaxNumBuffer"));
}

TEST_F(UsbEventParams, DescribesItself) {
    ExpectDescription(*map, "UsbEventParams", "Interface to the TavixUsb Event Grabber parameters");
}

TEST_F(UsbEventParams, ListsItsFeaturesInOrder) {
    EXPECT_THAT(FeatureNames(*map, "Root"),
                ElementsAre("NumBuffer", "NumMaxQueuedUrbs", "TransferLoopThreadPriority", "Statistic"));
    EXPECT_THAT(FeatureNames(*map, "Statistic"),
                ElementsAre("Statistic_Total_Event_Count", "Statistic_Failed_Event_Count",
                            "Statistic_Last_Failed_Event_Buffer_Status"));
}

TEST_F(UsbEventParams, HasGuidsOfItsOwn) {
    const Tavix::ParamsPtr<Vandrel_UsbStreamParams::CUsbStreamParamsImpl> streams(
        Vandrel_UsbStreamParams::CUsbStreamParamsImpl::Create(""));
    const Tavix::ParamsPtr<Vandrel_UsbTLParams::CUsbTLParamsImpl> devices(
        Vandrel_UsbTLParams::CUsbTLParamsImpl::Create(""));
    std::set<std::string> guids;
    for (GenApi::IDeviceInfo* info :
         {static_cast<GenApi::IDeviceInfo*>(map.get()), static_cast<GenApi::IDeviceInfo*>(streams.get()),
          static_cast<GenApi::IDeviceInfo*>(devices.get())}) {
        guids.insert(info->GetProductGuid().c_str());
        guids.insert(info->GetVersionGuid().c_str());
    }
    EXPECT_EQ(6u, guids.size());
    EXPECT_EQ(0u, guids.count(""));
}

class SettingsOfEvents : public UsbEventParams, public testing::WithParamInterface<const char*> {};
TEST_P(SettingsOfEvents, AreLockedWhileTheGrabberIsOpen) {
    EXPECT_NO_THROW(Integer(GetParam()).SetValue(7));
    map->StatusReg().SetValue(1);
    EXPECT_THROW(Integer(GetParam()).SetValue(8), GenICam::AccessException);
    EXPECT_EQ(7, Integer(GetParam()).GetValue());
    map->StatusReg().SetValue(0);
    EXPECT_NO_THROW(Integer(GetParam()).SetValue(8));
}
INSTANTIATE_TEST_SUITE_P(Names, SettingsOfEvents,
                         testing::Values("NumBuffer", "NumMaxQueuedUrbs", "TransferLoopThreadPriority"));

TEST_F(UsbEventParams, ReadsStatisticsFromTheEventStreamEveryTime) {
    bus.eventProperties[0x500] = FakeVexlo::Number(3, 8);
    EXPECT_EQ(3, Integer("Statistic_Total_Event_Count").GetValue());
    bus.eventProperties[0x500] = FakeVexlo::Number(4, 8);
    EXPECT_EQ(4, Integer("Statistic_Total_Event_Count").GetValue());
    EXPECT_EQ(GenApi::HexNumber, Integer("Statistic_Last_Failed_Event_Buffer_Status").GetRepresentation());
}

TEST_F(UsbEventParams, AsksForTestEventsByAWriteOfOneByte) {
    Integer("GenerateNumTestEvents_Value").SetValue(3);
    EXPECT_EQ((FakeVexlo::Bytes{3}), bus.eventProperties[0x900]);
    EXPECT_EQ(GenApi::WO, Integer("GenerateNumTestEvents_Value").GetAccessMode());
}

class EventStatistics : public UsbEventParams, public testing::WithParamInterface<std::string> {};
TEST_P(EventStatistics, AreInvalidatedWithTheStatusAndPolledEachSecond) {
    ExpectStatusAndPolling(*map, GetParam());
}
INSTANTIATE_TEST_SUITE_P(Names, EventStatistics,
                         testing::Values("Statistic_Total_Event_Count", "Statistic_Failed_Event_Count",
                                         "Statistic_Last_Failed_Event_Buffer_Status"));

TEST_F(UsbEventParams, SetsThePropertiesOfItsNodesInOrder) {
    EXPECT_THAT(PropertyNames(*map, "NumBuffer"),
                ElementsAre("ToolTip", "Description", "Visibility", "pIsLocked", "pValue", "Min", "IsFeature"));
    EXPECT_THAT(PropertyNames(*map, "Statistic_Last_Failed_Event_Buffer_Status"),
                ElementsAre("Address", "Length", "AccessMode", "pPort", "Cachable", "Sign", "Endianess", "ToolTip",
                            "DisplayName", "Visibility", "PollingTime", "pInvalidator", "Representation", "IsFeature"));
}

TEST_F(UsbEventParams, ShowsItsStatusByName) {
    GenApi::CEnumerationPtr status(map->GetNode("Status"));
    EXPECT_EQ(GenApi::RO, status->GetAccessMode());
    const char* const names[] = {"Closed", "Open"};
    for (int state = 0; state < 2; ++state) {
        map->StatusReg().SetValue(state);
        EXPECT_EQ(names[state], status->ToString());
        EXPECT_EQ(state != 0, Integer("StatusIsOpen").GetValue() != 0);
    }
    GenICam::gcstring value, attribute;
    EXPECT_TRUE(map->GetNode("StatusIsOpen")->GetProperty("pVariable", value, attribute));
    EXPECT_EQ("STREAM_GRABBER_STATUS", attribute);
}

TEST_F(UsbEventParams, WantsAtLeastOneOfEach) {
    for (const char* node : {"NumBuffer", "NumMaxQueuedUrbs"})
        EXPECT_THROW(Integer(node).SetValue(0), GenICam::OutOfRangeException) << node;
}

constexpr int kFirstEventRegister = 11;

class EventRegister : public UsbEventParams, public testing::WithParamInterface<NodeRow> {};
TEST_P(EventRegister, ReadsItsOwnPropertyInItsOwnWidth) {
    ExpectOwnProperty(*map, GetParam(), bus.eventProperties);
}
INSTANTIATE_TEST_SUITE_P(Rows, EventRegister,
                         testing::ValuesIn(std::begin(kEventRows) + kFirstEventRegister,
                                           std::end(kEventRows) - 1), // the last: no read
                         [](const auto& row) { return std::string(row.param.name); });

} // namespace event_params
} // namespace
