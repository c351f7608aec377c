#include "params/UsbStreamParams.h"

#include "GenericUsbPort.h"
#include "ParamsPtr.h"
#include "tavixusb/support/Camera.h"
#include "tavixusb/support/Expect.h"
#include "tavixusb/support/ParamsRows.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using Vandrel_UsbStreamParams::CUsbStreamParamsImpl;

namespace {
namespace stream_params {

constexpr char kPort[] = "StreamGrabberPort";
const NodeProperties kPlain = {{"IsFeature", "No"}};

NodeProperties Statistic(const char* address, const char* length, const char* sign, const char* displayName,
                         const char* toolTip, const NodeProperties& others = {}) {
    NodeProperties all = StatisticProperties(address, length, sign, kPort, displayName, toolTip);
    all.insert(others.begin(), others.end());
    return all;
}

NodeProperties Setting(const char* address, const char* sign) {
    return RegisterProperties(address, "4", "RW", sign, kPort, kPlain);
}

NodeProperties Formula(const char* formula) {
    return {{"Visibility", "Invisible"}, {"pVariable", "StatusReg"}, {"Formula", formula}, {"IsFeature", "No"}};
}

const NodeRow kRows[] = {
    {"Root",
     GenApi::intfICategory,
     {{"ToolTip", "Interface to the USB-specific stream parameters."}, {"IsFeature", "Yes"}}},
    {"Statistic", GenApi::intfICategory, {{"ToolTip", "Statistical data."}, {"IsFeature", "Yes"}}},
    {"MaxNumBuffer",
     GenApi::intfIInteger,
     {{"ToolTip", "The maximum number of buffers that can be used simultaneously."},
      {"DisplayName", "Maximum Number of Buffers"},
      {"Visibility", "Expert"},
      {"pIsLocked", "StatusIsLocked"},
      {"Value", "0x10"},
      {"Min", "1"},
      {"Max", "2147483647"},
      {"IsFeature", "Yes"}}},
    {"MaxBufferSize",
     GenApi::intfIInteger,
     {{"ToolTip", "The maximum buffer size in bytes that can be registered."},
      {"DisplayName", "Maximum Buffer Size"},
      {"Visibility", "Expert"},
      {"pIsLocked", "StatusIsLocked"},
      {"Value", "0x20000"},
      {"Min", "1"},
      {"IsFeature", "Yes"}}},
    {"NumMaxQueuedUrbs",
     GenApi::intfIInteger,
     {{"ToolTip", "The maximum number of requests to be enqueued to the driver."},
      {"DisplayName", "Num Max Queued Urbs"},
      {"Visibility", "Guru"},
      {"pIsLocked", "StatusIsLocked"},
      {"pValue", "NumMaxQueuedUrbs_Value"},
      {"Min", "1"},
      {"IsFeature", "Yes"}}},
    {"MaxTransferSize",
     GenApi::intfIInteger,
     {{"ToolTip", "Controls the maximum size of USB transfers."},
      {"Description",
       "The default value is appropriate for most applications. Reducing the value may cause a higher CPU load. USB "
       "host adapter drivers may require to decrease the value in case the application fails to receive the image "
       "stream. The maximum value for the Maximum Transfer Size depends on the operating system version and may be "
       "limited by the host adapter drivers."},
      {"DisplayName", "Maximum Transfer Size"},
      {"Visibility", "Guru"},
      {"pIsLocked", "StatusIsLocked"},
      {"pValue", "MaxTransferSize_Value"},
      {"pMin", "MaxTransferSize_Min"},
      {"pMax", "MaxTransferSize_Max"},
      {"pInc", "MaxTransferSize_Inc"},
      {"Representation", "Linear"},
      {"IsFeature", "Yes"}}},
    {"TransferLoopThreadPriority",
     GenApi::intfIInteger,
     {{"ToolTip", "The priority of the thread that handles USB requests of the stream interface."},
      {"DisplayName", "Transfer Loop Thread Priority"},
      {"Visibility", "Guru"},
      {"pIsLocked", "StatusIsLocked"},
      {"pValue", "TransferLoopThreadPriority_Value"},
      {"pMin", "TransferLoopThreadPriority_Min"},
      {"pMax", "TransferLoopThreadPriority_Max"},
      {"IsFeature", "Yes"}}},
    {"EnumEntry_Status_Closed", GenApi::intfIEnumEntry, EntryProperties("0", "Closed")},
    {"EnumEntry_Status_Open", GenApi::intfIEnumEntry, EntryProperties("1", "Open")},
    {"EnumEntry_Status_Grabbing", GenApi::intfIEnumEntry, EntryProperties("2", "Grabbing")},
    {"Status",
     GenApi::intfIEnumeration,
     {{"ToolTip", "Shows the current stream grabber status."},
      {"Visibility", "Guru"},
      {"ImposedAccessMode", "RO"},
      {"pEnumEntry", "EnumEntry_Status_Closed\tEnumEntry_Status_Open\tEnumEntry_Status_Grabbing"},
      {"pValue", "StatusReg"},
      {"IsFeature", "No"}}},
    {"StatusReg", GenApi::intfIInteger, {{"Visibility", "Invisible"}, {"Value", "0"}, {"IsFeature", "No"}}},
    {"StatusIsOpen", GenApi::intfIInteger, Formula("STREAM_GRABBER_STATUS > 0")},
    {"StatusIsLocked", GenApi::intfIInteger, Formula("STREAM_GRABBER_STATUS > 1")},
    {"StreamGrabberPort",
     GenApi::intfIPort,
     {{"ToolTip", "Port node giving access to stream grabber parameters."}, {"IsFeature", "No"}}},
    {"NumMaxQueuedUrbs_Value", GenApi::intfIInteger, Setting("0x200", "Unsigned")},
    {"MaxTransferSize_Value", GenApi::intfIInteger, Setting("0x300", "Unsigned")},
    {"MaxTransferSize_Max", GenApi::intfIInteger, Setting("0x308", "Unsigned")},
    {"MaxTransferSize_Min", GenApi::intfIInteger, Setting("0x310", "Unsigned")},
    {"MaxTransferSize_Inc", GenApi::intfIInteger, Setting("0x318", "Unsigned")},
    {"Statistic_Total_Buffer_Count", GenApi::intfIInteger,
     Statistic("0x400", "8", "Signed", "Total Buffer Count", "The total count of processed buffers.")},
    {"Statistic_Failed_Buffer_Count", GenApi::intfIInteger,
     Statistic("0x500", "8", "Signed", "Failed Buffer Count",
               "The count of buffers that returned with an error status.")},
    {"Statistic_Missed_Frame_Count", GenApi::intfIInteger,
     Statistic("0x600", "8", "Signed", "Missed Frame Count",
               "The count of bad or missed frames between successfully grabbed images.")},
    {"Statistic_Resynchronization_Count", GenApi::intfIInteger,
     Statistic("0x700", "8", "Signed", "Resynchronization Count", "The count of stream resynchronizations.")},
    {"Statistic_Last_Block_Id", GenApi::intfIInteger,
     Statistic("0x800", "8", "Signed", "Last Block Id", "The last grabbed block ID.")},
    {"Statistic_Last_Failed_Buffer_Status", GenApi::intfIInteger,
     Statistic("0x900", "4", "Unsigned", "Last Failed Buffer Status", "The status code of the last failed buffer.",
               {{"Representation", "HexNumber"}})},
    {"TransferLoopThreadPriority_Value", GenApi::intfIInteger, Setting("0xA00", "Signed")},
    {"TransferLoopThreadPriority_Max", GenApi::intfIInteger, Setting("0xA08", "Signed")},
    {"TransferLoopThreadPriority_Min", GenApi::intfIInteger, Setting("0xA10", "Signed")},
};

constexpr int kFirstRegister = 15;

class UsbStreamParams : public testing::Test {
protected:
    UsbStreamParams() {
        bus.Reset();
        m_pDevice = vexlo::CVxDevice::CreateDevice(vexlo::DeviceType_Libusb);
        EXPECT_EQ(0u, m_pDevice->GetStream(&m_pStream));
        map->Connect(&port, kPort);
    }
    ~UsbStreamParams() override {
        map->Connect(nullptr, kPort);
        vexlo::CVxDevice::DestroyDevice(m_pDevice);
    }
    GenApi::IInteger& Integer(const char* name) { return *GenApi::CIntegerPtr(map->GetNode(name)); }
    void SetLimits() {
        bus.streamProperties[0x308] = bus.streamProperties[0xA08] = FakeVexlo::Number(1024, 4);
        bus.streamProperties[0x310] = FakeVexlo::Number(64, 4);
        bus.streamProperties[0x318] = FakeVexlo::Number(64, 4);
        bus.streamProperties[0x300] = FakeVexlo::Number(512, 4);
        port.SetObject(m_pStream);
    }

    FakeVexlo& bus = FakeVexlo::Get();
    vexlo::CVxDevice* m_pDevice;
    vexlo::CVxStream* m_pStream = nullptr;
    Tavix::ParamsPtr<CUsbStreamParamsImpl> map{CUsbStreamParamsImpl::Create("")};
    Tavix::CGenericUsbPort<vexlo::CVxStream> port;
};

class UsbStreamParamsTable : public UsbStreamParams, public testing::WithParamInterface<NodeRow> {};
TEST_P(UsbStreamParamsTable, HasTheNode) {
    ExpectRow(*map, GetParam());
}
INSTANTIATE_TEST_SUITE_P(Rows, UsbStreamParamsTable, testing::ValuesIn(kRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(UsbStreamParams, HasItsNodesInTheOrderOfTheTable) {
    EXPECT_EQ(RowNames(kRows), NodeNames(*map));
}

TEST_F(UsbStreamParams, DescribesItself) {
    GenApi::IDeviceInfo& info = *map;
    ExpectDescription(info, "UsbStreamParams", "Interface to the TavixUsb Stream Grabber parameters");
    EXPECT_FALSE(info.GetProductGuid().empty());
    EXPECT_NE(info.GetProductGuid(), info.GetVersionGuid());
}

TEST_F(UsbStreamParams, ListsItsFeaturesInOrder) {
    EXPECT_THAT(FeatureNames(*map, "Root"), ElementsAre("MaxNumBuffer", "MaxBufferSize", "MaxTransferSize",
                                                        "NumMaxQueuedUrbs", "TransferLoopThreadPriority", "Statistic"));
    EXPECT_THAT(FeatureNames(*map, "Statistic"),
                ElementsAre("Statistic_Total_Buffer_Count", "Statistic_Failed_Buffer_Count",
                            "Statistic_Last_Failed_Buffer_Status", "Statistic_Missed_Frame_Count",
                            "Statistic_Resynchronization_Count", "Statistic_Last_Block_Id"));
}

TEST_F(UsbStreamParams, HoldsSixteenBuffersOf128KiBAtFirst) {
    EXPECT_EQ(16, Integer("MaxNumBuffer").GetValue());
    EXPECT_EQ(131072, Integer("MaxBufferSize").GetValue());
    EXPECT_EQ(1, Integer("MaxNumBuffer").GetMin());
    EXPECT_EQ(2147483647, Integer("MaxNumBuffer").GetMax());
    EXPECT_EQ(1, Integer("MaxBufferSize").GetMin());
}

TEST_F(UsbStreamParams, CannotReadAStatisticWithoutStream) {
    EXPECT_FAILURE(RuntimeException, "GenericUsbPort.h",
                   "Failed to read property value 400. The property is not writable.",
                   Integer("Statistic_Total_Buffer_Count").GetValue());
}

TEST_F(UsbStreamParams, ReadsStatisticsFromTheStreamEveryTime) {
    port.SetObject(m_pStream);
    bus.streamProperties[0x600] = FakeVexlo::Number(3, 8);
    EXPECT_EQ(3, Integer("Statistic_Missed_Frame_Count").GetValue());
    bus.streamProperties[0x600] = FakeVexlo::Number(4, 8);
    EXPECT_EQ(4, Integer("Statistic_Missed_Frame_Count").GetValue());
}

TEST_F(UsbStreamParams, TakesLimitsOfTheTransferSizeFromTheStream) {
    SetLimits();
    EXPECT_EQ(512, Integer("MaxTransferSize").GetValue());
    EXPECT_EQ(64, Integer("MaxTransferSize").GetMin());
    EXPECT_EQ(1024, Integer("MaxTransferSize").GetMax());
    EXPECT_EQ(64, Integer("MaxTransferSize").GetInc());
    EXPECT_THROW(Integer("MaxTransferSize").SetValue(2048), GenICam::GenericException);
    Integer("MaxTransferSize").SetValue(128);
    EXPECT_EQ(FakeVexlo::Number(128, 4), bus.streamProperties[0x300]);
}

TEST_F(UsbStreamParams, ReadsAndWritesTheThreadPriorityWithSign) {
    SetLimits();
    bus.streamProperties[0xA10] = FakeVexlo::Number(0xFFFFFFF0, 4);
    EXPECT_EQ(-16, Integer("TransferLoopThreadPriority").GetMin());
    Integer("TransferLoopThreadPriority").SetValue(-2);
    EXPECT_EQ(FakeVexlo::Number(0xFFFFFFFE, 4), bus.streamProperties[0xA00]);
}

class LockedSettings : public UsbStreamParams, public testing::WithParamInterface<const char*> {};
TEST_P(LockedSettings, AreLockedOnlyWhileGrabbing) {
    SetLimits();
    for (const int state : {0, 1}) {
        map->StatusReg().SetValue(state);
        EXPECT_EQ(GenApi::RW, Integer(GetParam()).GetAccessMode());
    }
    map->StatusReg().SetValue(2);
    EXPECT_EQ(GenApi::RO, Integer(GetParam()).GetAccessMode());
    EXPECT_THROW(Integer(GetParam()).SetValue(128), GenICam::AccessException);
    map->StatusReg().SetValue(1);
    EXPECT_NO_THROW(Integer(GetParam()).SetValue(128));
}
INSTANTIATE_TEST_SUITE_P(Names, LockedSettings,
                         testing::Values("MaxNumBuffer", "MaxBufferSize", "NumMaxQueuedUrbs", "MaxTransferSize",
                                         "TransferLoopThreadPriority"));

TEST_F(UsbStreamParams, ShowsItsStatusByName) {
    GenApi::CEnumerationPtr status(map->GetNode("Status"));
    EXPECT_EQ(GenApi::RO, status->GetAccessMode());
    const char* const names[] = {"Closed", "Open", "Grabbing"};
    for (int state = 0; state < 3; ++state) {
        map->StatusReg().SetValue(state);
        EXPECT_EQ(names[state], status->ToString());
        EXPECT_EQ(state > 0, Integer("StatusIsOpen").GetValue() != 0);
        EXPECT_EQ(state > 1, Integer("StatusIsLocked").GetValue() != 0);
    }
}

class StreamStatisticsNode : public UsbStreamParams, public testing::WithParamInterface<std::string> {};
TEST_P(StreamStatisticsNode, AreInvalidatedWithTheStatusAndPolledEachSecond) {
    port.SetObject(m_pStream);
    ExpectStatusAndPolling(*map, GetParam());
    EXPECT_EQ(GenApi::RO, Integer(GetParam().c_str()).GetAccessMode());
}
INSTANTIATE_TEST_SUITE_P(Names, StreamStatisticsNode,
                         testing::Values("Statistic_Total_Buffer_Count", "Statistic_Failed_Buffer_Count",
                                         "Statistic_Missed_Frame_Count", "Statistic_Resynchronization_Count",
                                         "Statistic_Last_Block_Id", "Statistic_Last_Failed_Buffer_Status"));

TEST_F(UsbStreamParams, SetsThePropertiesOfItsNodesInOrder) {
    EXPECT_THAT(PropertyNames(*map, "MaxNumBuffer"),
                ElementsAre("ToolTip", "DisplayName", "Visibility", "pIsLocked", "Value", "Min", "Max", "IsFeature"));
    EXPECT_THAT(PropertyNames(*map, "MaxTransferSize"),
                ElementsAre("ToolTip", "Description", "DisplayName", "Visibility", "pIsLocked", "pValue", "pMin",
                            "pMax", "pInc", "Representation", "IsFeature"));
    EXPECT_THAT(PropertyNames(*map, "Status"),
                ElementsAre("ToolTip", "Visibility", "ImposedAccessMode", "pEnumEntry", "pValue", "IsFeature"));
    EXPECT_THAT(PropertyNames(*map, "Statistic_Last_Failed_Buffer_Status"),
                ElementsAre("Address", "Length", "AccessMode", "pPort", "Cachable", "Sign", "Endianess", "ToolTip",
                            "DisplayName", "Visibility", "PollingTime", "pInvalidator", "Representation", "IsFeature"));
}

TEST_F(UsbStreamParams, NamesTheVariableOfItsFormulas) {
    for (const char* node : {"StatusIsOpen", "StatusIsLocked"}) {
        GenICam::gcstring value, attribute;
        EXPECT_TRUE(map->GetNode(node)->GetProperty("pVariable", value, attribute));
        EXPECT_EQ("STREAM_GRABBER_STATUS", attribute) << node;
    }
}

TEST_F(UsbStreamParams, HasNoUpperLimitForTheBufferSize) {
    GenICam::gcstring value, attribute;
    EXPECT_FALSE(map->GetNode("MaxBufferSize")->GetProperty("Max", value, attribute));
    Integer("MaxBufferSize").SetValue(std::int64_t(1) << 40);
    EXPECT_EQ(std::int64_t(1) << 40, Integer("MaxBufferSize").GetValue());
}

TEST_F(UsbStreamParams, WantsAtLeastOneOfEach) {
    SetLimits();
    for (const char* node : {"MaxNumBuffer", "MaxBufferSize", "NumMaxQueuedUrbs"})
        EXPECT_THROW(Integer(node).SetValue(0), GenICam::OutOfRangeException) << node;
}

class StreamRegister : public UsbStreamParams, public testing::WithParamInterface<NodeRow> {};
TEST_P(StreamRegister, ReadsItsOwnPropertyInItsOwnWidth) {
    port.SetObject(m_pStream);
    ExpectOwnProperty(*map, GetParam(), bus.streamProperties);
}
INSTANTIATE_TEST_SUITE_P(Rows, StreamRegister, testing::ValuesIn(std::begin(kRows) + kFirstRegister, std::end(kRows)),
                         [](const auto& row) { return std::string(row.param.name); });

} // namespace stream_params
} // namespace
