#include "params/UsbTLParams.h"

#include "GenericUsbPort.h"
#include "ParamsPtr.h"
#include "tavixusb/support/Camera.h"
#include "tavixusb/support/Expect.h"
#include "tavixusb/support/ParamsRows.h"

#include <gmock/gmock.h>

#include <set>

using testing::ElementsAre;
using Vandrel_UsbTLParams::CUsbTLParamsImpl;

namespace {

constexpr char kTransportPort[] = "VexloDevicePort";

class UsbTLParams : public testing::Test {
protected:
    UsbTLParams() {
        bus.Reset();
        m_pDevice = vexlo::CVxDevice::CreateDevice(vexlo::DeviceType_Libusb);
    }
    ~UsbTLParams() override {
        map->Connect(nullptr, kTransportPort);
        vexlo::CVxDevice::DestroyDevice(m_pDevice);
    }

    void Connect() {
        port.SetObject(m_pDevice);
        ASSERT_TRUE(map->Connect(&port, kTransportPort));
    }
    GenApi::IInteger& Integer(const char* name) { return *GenApi::CIntegerPtr(map->GetNode(name)); }

    FakeVexlo& bus = FakeVexlo::Get();
    vexlo::CVxDevice* m_pDevice;
    Tavix::ParamsPtr<CUsbTLParamsImpl> map{CUsbTLParamsImpl::Create("")};
    Tavix::CGenericUsbPort<vexlo::CVxDevice> port;
};

NodeProperties Statistic(const char* address, const char* displayName, const char* toolTip) {
    return RegisterProperties(
        address, "8", "RO", "Signed", kTransportPort,
        {{"DisplayName", displayName}, {"ToolTip", toolTip}, {"PollingTime", "1000"}, {"IsFeature", "Yes"}});
}

NodeProperties CustomRequest(const char* address, const char* length) {
    return RegisterProperties(address, length, "RW", "Unsigned", kTransportPort, {{"IsFeature", "No"}});
}

const NodeRow kTransportRows[] = {
    {"Root",
     GenApi::intfICategory,
     {{"ToolTip", "Transport layer-specific parameters."}, {"pFeature", "Statistic"}, {"IsFeature", "Yes"}}},
    {"Statistic", GenApi::intfICategory, {{"ToolTip", "Statistical data."}, {"IsFeature", "Yes"}}},
    {"MigrationModeEnable",
     GenApi::intfIBoolean,
     {{"ToolTip", "Maps certain SFNC1.X node names to compatible nodes when enabled."},
      {"DisplayName", "Migration Mode Enable"},
      {"Visibility", "Invisible"},
      {"Value", "0"},
      {"OnValue", "1"},
      {"OffValue", "0"},
      {"IsFeature", "No"}}},
    {"VexloDevicePort",
     GenApi::intfIPort,
     {{"ToolTip", "Port node giving access to vexlo device parameters."}, {"IsFeature", "No"}}},
    {"Statistic_Read_Pipe_Reset_Count", GenApi::intfIInteger,
     Statistic("0x200", "Read Pipe Reset Count", "The total count of read pipe resets.")},
    {"Statistic_Write_Pipe_Reset_Count", GenApi::intfIInteger,
     Statistic("0x300", "Write Pipe Reset Count", "The total count of write pipe resets.")},
    {"Statistic_Read_Operations_Failed_Count", GenApi::intfIInteger,
     Statistic("0x400", "Read Operations Failed Count", "The total count of failed read operations.")},
    {"Statistic_Write_Operations_Failed_Count", GenApi::intfIInteger,
     Statistic("0x500", "Write Operations Failed Count", "The total count of failed write operations.")},
    {"Statistic_Last_Error_Status", GenApi::intfIInteger,
     RegisterProperties("0x600", "4", "RO", "Unsigned", kTransportPort,
                        {{"DisplayName", "Last Error Status"},
                         {"ToolTip", "The last error status for a read or write operation."},
                         {"PollingTime", "1000"},
                         {"Representation", "HexNumber"},
                         {"IsFeature", "Yes"}})},
    {"CustomRequestId_Value", GenApi::intfIInteger, CustomRequest("0xAFFE0000", "1")},
    {"CustomRequestValue_Value", GenApi::intfIInteger, CustomRequest("0xAFFE0100", "2")},
    {"CustomRequestIndex_Value", GenApi::intfIInteger, CustomRequest("0xAFFE0200", "2")},
    {"CustomRequestDataLength_Value", GenApi::intfIInteger, CustomRequest("0xAFFE0300", "2")},
    {"CustomRequestExecuteRead_Value", GenApi::intfIInteger, CustomRequest("0xAFFE0400", "1")},
    {"CustomRequestExecuteWrite_Value", GenApi::intfIInteger, CustomRequest("0xAFFE0500", "1")},
};

class UsbTLParamsTable : public UsbTLParams, public testing::WithParamInterface<NodeRow> {};
TEST_P(UsbTLParamsTable, HasTheNode) {
    ExpectRow(*map, GetParam());
}
INSTANTIATE_TEST_SUITE_P(Rows, UsbTLParamsTable, testing::ValuesIn(kTransportRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(UsbTLParams, HasNoOtherNodesAndThoseInTheirOrder) {
    EXPECT_EQ(RowNames(kTransportRows), NodeNames(*map));
}

/// Lists have tests of their own.
TEST_P(UsbTLParamsTable, HasThePropertiesOfItsRowAndNoOther) {
    std::set<std::string> expected, found;
    for (const auto& property : GetParam().properties)
        expected.insert(property.first);
    for (const std::string& name : PropertyNames(*map, GetParam().name))
        found.insert(name);
    for (const char* list : {"pDependent", "pFeature"}) {
        expected.erase(list);
        found.erase(list);
    }
    EXPECT_EQ(expected, found);
}

TEST_F(UsbTLParams, NamesTheDependentsOfItsPort) {
    std::string expected;
    for (const NodeRow& row : kTransportRows) {
        if (row.type != GenApi::intfIInteger && row.type != GenApi::intfICategory) continue;
        expected += (expected.empty() ? "" : "\t") + std::string(row.name);
    }
    GenICam::gcstring value, attribute;
    ASSERT_TRUE(map->GetNode(kTransportPort)->GetProperty("pDependent", value, attribute));
    EXPECT_EQ(expected, value.c_str());
}

TEST_F(UsbTLParams, DescribesItself) {
    GenApi::IDeviceInfo& info = *map;
    GenApi::Version_t version = {9, 9, 9};
    ExpectDescription(info, "UsbTLParams", "Interface to the USB transport layer specific parameters.");
    EXPECT_EQ("", map->GetDeviceName());
    info.GetDeviceVersion(version);
    EXPECT_EQ(0, version.Major);
    EXPECT_EQ(0, version.Minor);
    EXPECT_EQ(0, version.SubMinor);
    EXPECT_FALSE(info.GetProductGuid().empty());
    EXPECT_FALSE(info.GetVersionGuid().empty());
}

TEST_F(UsbTLParams, ListsItsStatisticsInOrder) {
    EXPECT_THAT(FeatureNames(*map, "Root"), ElementsAre("Statistic"));
    EXPECT_THAT(FeatureNames(*map, "Statistic"),
                ElementsAre("Statistic_Read_Pipe_Reset_Count", "Statistic_Write_Pipe_Reset_Count",
                            "Statistic_Read_Operations_Failed_Count", "Statistic_Write_Operations_Failed_Count",
                            "Statistic_Last_Error_Status"));
}

std::set<std::string> DependentsOf(GenApi::INodeMap& map, const char* name) {
    GenApi::NodeList_t dependents;
    map.GetNode(name)->GetChildren(dependents, GenApi::ctDependingNodes);
    std::set<std::string> names;
    for (const GenApi::INode* node : dependents)
        names.insert(node->GetName().c_str());
    return names;
}

TEST_F(UsbTLParams, LetsRegistersDependOnThePortAndCategoriesOnThem) {
    std::set<std::string> ofPort;
    for (const NodeRow& row : kTransportRows) {
        if (row.type == GenApi::intfIInteger || row.type == GenApi::intfICategory) ofPort.insert(row.name);
    }
    EXPECT_EQ(13u, ofPort.size());
    EXPECT_EQ(ofPort, DependentsOf(*map, kTransportPort));
    for (const std::string& statistic : FeatureNames(*map, "Statistic")) {
        EXPECT_THAT(DependentsOf(*map, statistic.c_str()), ElementsAre("Root", "Statistic"));
    }
    EXPECT_THAT(DependentsOf(*map, "Statistic"), ElementsAre("Root"));
    EXPECT_THAT(DependentsOf(*map, "MigrationModeEnable"), testing::IsEmpty());
}

TEST_F(UsbTLParams, PollsItsStatisticsEverySecond) {
    for (const std::string& statistic : FeatureNames(*map, "Statistic")) {
        EXPECT_EQ(1000, map->GetNode(statistic.c_str())->GetPollingTime()) << statistic;
        EXPECT_EQ(GenApi::NoCache, map->GetNode(statistic.c_str())->GetCachingMode()) << statistic;
    }
    EXPECT_EQ(-1, map->GetNode("CustomRequestId_Value")->GetPollingTime());
}

TEST_F(UsbTLParams, ReadsAndWritesOnlyAsItsRegistersAllow) {
    Connect();
    for (const NodeRow& row : kTransportRows) {
        const auto mode = row.properties.find("AccessMode");
        if (mode == row.properties.end()) continue;
        const bool writable = mode->second == "RW";
        EXPECT_EQ(writable ? GenApi::RW : GenApi::RO, map->GetNode(row.name)->GetAccessMode()) << row.name;
        if (writable) continue;
        EXPECT_THROW(Integer(row.name).SetValue(1), GenICam::AccessException) << row.name;
    }
    EXPECT_THAT(bus.written, testing::IsEmpty());
}

TEST_F(UsbTLParams, TellsWhatTheAccessLibrarySays) {
    Connect();
    bus.FailNext("Device.GetProperty", kFailure);
    EXPECT_FAILURE(RuntimeException, "GenericUsbPort.h", "Failed to read property value 600. text E2000777",
                   Integer("Statistic_Last_Error_Status").GetValue());
    bus.FailNext("Device.SetProperty", kFailure);
    EXPECT_FAILURE(RuntimeException, "GenericUsbPort.h", "Failed to write property value affe0400. text E2000777",
                   Integer("CustomRequestExecuteRead_Value").SetValue(1));
}

TEST_F(UsbTLParams, BearsTheNameThatItIsGiven) {
    const Tavix::ParamsPtr<CUsbTLParamsImpl> named(CUsbTLParamsImpl::Create("Name"));
    EXPECT_EQ("Name", named->GetDeviceName());
}

TEST_F(UsbTLParams, CannotReadAStatisticWithoutDeviceObject) {
    ASSERT_TRUE(map->Connect(&port, kTransportPort));
    EXPECT_FAILURE(RuntimeException, "GenericUsbPort.h",
                   "Failed to read property value 200. The property is not writable.",
                   Integer("Statistic_Read_Pipe_Reset_Count").GetValue());
    EXPECT_FAILURE(RuntimeException, "GenericUsbPort.h",
                   "Failed to write property value affe0000. The property is not writable.",
                   Integer("CustomRequestId_Value").SetValue(1, /*Verify=*/false));
}

TEST_F(UsbTLParams, ReadsStatisticsFromTheAccessLibraryEveryTime) {
    Connect();
    bus.deviceProperties[0x400] = FakeVexlo::Number(5, 8);
    EXPECT_EQ(5, Integer("Statistic_Read_Operations_Failed_Count").GetValue());
    bus.deviceProperties[0x400] = FakeVexlo::Number(6, 8);
    EXPECT_EQ(6, Integer("Statistic_Read_Operations_Failed_Count").GetValue());
}

TEST_F(UsbTLParams, TellsEachStatisticOfItsOwn) {
    Connect();
    const char* const names[] = {"Statistic_Read_Pipe_Reset_Count", "Statistic_Write_Pipe_Reset_Count",
                                 "Statistic_Read_Operations_Failed_Count", "Statistic_Write_Operations_Failed_Count"};
    for (unsigned int i = 0; i < 4; ++i)
        bus.deviceProperties[0x200 + 0x100 * i] = FakeVexlo::Number(10 + i, 8);
    for (unsigned int i = 0; i < 4; ++i)
        EXPECT_EQ(10 + i, Integer(names[i]).GetValue());
}

TEST_F(UsbTLParams, ReadsTheLastErrorAsAnUnsignedNumber) {
    Connect();
    bus.deviceProperties[0x600] = FakeVexlo::Number(0xE2000001, 4);
    EXPECT_EQ(0xE2000001, Integer("Statistic_Last_Error_Status").GetValue());
    EXPECT_EQ(GenApi::HexNumber, Integer("Statistic_Last_Error_Status").GetRepresentation());
}

TEST_F(UsbTLParams, WritesCustomRequestsInTheirWidths) {
    Connect();
    Integer("CustomRequestId_Value").SetValue(0xBA);
    Integer("CustomRequestIndex_Value").SetValue(0x1234);
    Integer("CustomRequestExecuteRead_Value").SetValue(1);
    using Written = std::pair<unsigned int, FakeVexlo::Bytes>;
    EXPECT_THAT(bus.written,
                ElementsAre(Written(0xAFFE0000, {0xBA}), Written(0xAFFE0200, {0x34, 0x12}), Written(0xAFFE0400, {1})));
}

TEST_F(UsbTLParams, HidesMigrationModeButLetsItBeSet) {
    GenApi::CBooleanPtr enable(map->GetNode("MigrationModeEnable"));
    EXPECT_FALSE(enable->GetValue());
    EXPECT_EQ(GenApi::Invisible, map->GetNode("MigrationModeEnable")->GetVisibility());
    EXPECT_EQ(GenApi::RW, enable->GetAccessMode());
    enable->SetValue(true);
    EXPECT_TRUE(enable->GetValue());
}

} // namespace
