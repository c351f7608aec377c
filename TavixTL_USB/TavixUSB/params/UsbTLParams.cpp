#include "params/UsbTLParams.h"

#include "params/Register.h"

#include <initializer_list>

namespace Vandrel_UsbTLParams {

namespace {

constexpr char kPort[] = "VexloDevicePort";

/// A camera that is connected or goes makes all of these look different.
constexpr std::initializer_list<const char*> kRegistersAndCategories = {"Root",
                                                                        "Statistic",
                                                                        "Statistic_Read_Pipe_Reset_Count",
                                                                        "Statistic_Write_Pipe_Reset_Count",
                                                                        "Statistic_Read_Operations_Failed_Count",
                                                                        "Statistic_Write_Operations_Failed_Count",
                                                                        "Statistic_Last_Error_Status",
                                                                        "CustomRequestId_Value",
                                                                        "CustomRequestValue_Value",
                                                                        "CustomRequestIndex_Value",
                                                                        "CustomRequestDataLength_Value",
                                                                        "CustomRequestExecuteRead_Value",
                                                                        "CustomRequestExecuteWrite_Value"};

/// The nodes that look different when this one changes.
void AddDependents(GenApi::CMapNode& node, std::initializer_list<const char*> dependents) {
    for (const char* dependent : dependents)
        node.SetProperty("pDependent", dependent);
}

} // namespace

CUsbTLParamsImpl* CUsbTLParamsImpl::Create(const GenICam::gcstring& deviceName) {
    return new CUsbTLParamsImpl(deviceName);
}

CUsbTLParamsImpl::CUsbTLParamsImpl(const GenICam::gcstring& deviceName) : CNodeMap(deviceName) {
    NameNodes();
    SetMapProperties();
    SetNodeProperties();
    FinalConstruct();
}

CUsbTLParamsImpl::~CUsbTLParamsImpl() = default;

void CUsbTLParamsImpl::NameNodes() {
    RegisterNode(m_Root, "Category", "Root", "Custom");
    RegisterNode(m_Statistic, "Category", "Statistic", "Custom");
    RegisterNode(m_MigrationModeEnable, "Boolean", "MigrationModeEnable", "Custom");
    RegisterNode(m_VexloDevicePort, "Port", "VexloDevicePort", "Custom");
    RegisterNode(m_Statistic_Read_Pipe_Reset_Count, "IntReg", "Statistic_Read_Pipe_Reset_Count", "Custom");
    RegisterNode(m_Statistic_Write_Pipe_Reset_Count, "IntReg", "Statistic_Write_Pipe_Reset_Count", "Custom");
    RegisterNode(m_Statistic_Read_Operations_Failed_Count, "IntReg", "Statistic_Read_Operations_Failed_Count",
                 "Custom");
    RegisterNode(m_Statistic_Write_Operations_Failed_Count, "IntReg", "Statistic_Write_Operations_Failed_Count",
                 "Custom");
    RegisterNode(m_Statistic_Last_Error_Status, "IntReg", "Statistic_Last_Error_Status", "Custom");
    RegisterNode(m_CustomRequestId_Value, "IntReg", "CustomRequestId_Value", "Custom");
    RegisterNode(m_CustomRequestValue_Value, "IntReg", "CustomRequestValue_Value", "Custom");
    RegisterNode(m_CustomRequestIndex_Value, "IntReg", "CustomRequestIndex_Value", "Custom");
    RegisterNode(m_CustomRequestDataLength_Value, "IntReg", "CustomRequestDataLength_Value", "Custom");
    RegisterNode(m_CustomRequestExecuteRead_Value, "IntReg", "CustomRequestExecuteRead_Value", "Custom");
    RegisterNode(m_CustomRequestExecuteWrite_Value, "IntReg", "CustomRequestExecuteWrite_Value", "Custom");
}

void CUsbTLParamsImpl::SetMapProperties() {
    SetProperty("StandardNameSpace", "None");
    SetProperty("ModelName", "UsbTLParams");
    SetProperty("VendorName", "Vandrel");
    SetProperty("ToolTip", "Interface to the USB transport layer specific parameters.");
    SetProperty("SchemaMajorVersion", "1");
    SetProperty("SchemaMinorVersion", "0");
    SetProperty("SchemaSubMinorVersion", "0");
    SetProperty("MajorVersion", "0");
    SetProperty("MinorVersion", "0");
    SetProperty("SubMinorVersion", "0");
    SetProperty("ProductGuid", "5B3F7C52-0D5E-4C1B-9A54-2E6C90F1D7A3");
    SetProperty("VersionGuid", "C0E1A6D4-71B8-4F0C-8D1E-5A9B3D2F6C48");
}

void CUsbTLParamsImpl::SetNodeProperties() {
    SetPropertiesRoot();
    SetPropertiesStatistic();
    SetPropertiesMigrationModeEnable();
    SetPropertiesVexloDevicePort();
    SetPropertiesStatistic_Read_Pipe_Reset_Count();
    SetPropertiesStatistic_Write_Pipe_Reset_Count();
    SetPropertiesStatistic_Read_Operations_Failed_Count();
    SetPropertiesStatistic_Write_Operations_Failed_Count();
    SetPropertiesStatistic_Last_Error_Status();
    SetPropertiesCustomRequestId_Value();
    SetPropertiesCustomRequestValue_Value();
    SetPropertiesCustomRequestIndex_Value();
    SetPropertiesCustomRequestDataLength_Value();
    SetPropertiesCustomRequestExecuteRead_Value();
    SetPropertiesCustomRequestExecuteWrite_Value();
}

void CUsbTLParamsImpl::FinalConstruct() {
    m_Root.FinalConstruct();
    m_Statistic.FinalConstruct();
    m_MigrationModeEnable.FinalConstruct();
    m_VexloDevicePort.FinalConstruct();
    m_Statistic_Read_Pipe_Reset_Count.FinalConstruct();
    m_Statistic_Write_Pipe_Reset_Count.FinalConstruct();
    m_Statistic_Read_Operations_Failed_Count.FinalConstruct();
    m_Statistic_Write_Operations_Failed_Count.FinalConstruct();
    m_Statistic_Last_Error_Status.FinalConstruct();
    m_CustomRequestId_Value.FinalConstruct();
    m_CustomRequestValue_Value.FinalConstruct();
    m_CustomRequestIndex_Value.FinalConstruct();
    m_CustomRequestDataLength_Value.FinalConstruct();
    m_CustomRequestExecuteRead_Value.FinalConstruct();
    m_CustomRequestExecuteWrite_Value.FinalConstruct();
    CNodeMap::FinalConstruct("Root");
}

void CUsbTLParamsImpl::SetPropertiesRoot() {
    m_Root.SetProperty("ToolTip", "Transport layer-specific parameters.");
    m_Root.SetProperty("pFeature", "Statistic");
    m_Root.SetProperty("IsFeature", "Yes");
}

void CUsbTLParamsImpl::SetPropertiesStatistic() {
    m_Statistic.SetProperty("ToolTip", "Statistical data.");
    m_Statistic.SetProperty("pFeature", "Statistic_Read_Pipe_Reset_Count");
    m_Statistic.SetProperty("pFeature", "Statistic_Write_Pipe_Reset_Count");
    m_Statistic.SetProperty("pFeature", "Statistic_Read_Operations_Failed_Count");
    m_Statistic.SetProperty("pFeature", "Statistic_Write_Operations_Failed_Count");
    m_Statistic.SetProperty("pFeature", "Statistic_Last_Error_Status");
    m_Statistic.SetProperty("pDependent", "Root");
    m_Statistic.SetProperty("IsFeature", "Yes");
}

void CUsbTLParamsImpl::SetPropertiesMigrationModeEnable() {
    m_MigrationModeEnable.SetProperty("ToolTip", "Maps certain SFNC1.X node names to compatible nodes when enabled.");
    m_MigrationModeEnable.SetProperty("DisplayName", "Migration Mode Enable");
    m_MigrationModeEnable.SetProperty("Visibility", "Invisible");
    m_MigrationModeEnable.SetProperty("Value", "0");
    m_MigrationModeEnable.SetProperty("OnValue", "1");
    m_MigrationModeEnable.SetProperty("OffValue", "0");
    m_MigrationModeEnable.SetProperty("IsFeature", "No");
}

void CUsbTLParamsImpl::SetPropertiesVexloDevicePort() {
    m_VexloDevicePort.SetProperty("ToolTip", "Port node giving access to vexlo device parameters.");
    AddDependents(m_VexloDevicePort, kRegistersAndCategories);
    m_VexloDevicePort.SetProperty("IsFeature", "No");
}

void CUsbTLParamsImpl::SetPropertiesStatistic_Read_Pipe_Reset_Count() {
    m_Statistic_Read_Pipe_Reset_Count.SetProperty("ToolTip", "The total count of read pipe resets.");
    m_Statistic_Read_Pipe_Reset_Count.SetProperty("DisplayName", "Read Pipe Reset Count");
    m_Statistic_Read_Pipe_Reset_Count.SetProperty("Visibility", "Expert");
    m_Statistic_Read_Pipe_Reset_Count.SetProperty("PollingTime", "1000");
    AddDependents(m_Statistic_Read_Pipe_Reset_Count, {"Root", "Statistic"});
    m_Statistic_Read_Pipe_Reset_Count.SetProperty("IsFeature", "Yes");
    Tavix::SetRegisterProperties(m_Statistic_Read_Pipe_Reset_Count, {kPort, "0x200", "8", "RO", "Signed"});
}

void CUsbTLParamsImpl::SetPropertiesStatistic_Write_Pipe_Reset_Count() {
    m_Statistic_Write_Pipe_Reset_Count.SetProperty("ToolTip", "The total count of write pipe resets.");
    m_Statistic_Write_Pipe_Reset_Count.SetProperty("DisplayName", "Write Pipe Reset Count");
    m_Statistic_Write_Pipe_Reset_Count.SetProperty("Visibility", "Expert");
    m_Statistic_Write_Pipe_Reset_Count.SetProperty("PollingTime", "1000");
    AddDependents(m_Statistic_Write_Pipe_Reset_Count, {"Root", "Statistic"});
    m_Statistic_Write_Pipe_Reset_Count.SetProperty("IsFeature", "Yes");
    Tavix::SetRegisterProperties(m_Statistic_Write_Pipe_Reset_Count, {kPort, "0x300", "8", "RO", "Signed"});
}

void CUsbTLParamsImpl::SetPropertiesStatistic_Read_Operations_Failed_Count() {
    m_Statistic_Read_Operations_Failed_Count.SetProperty("ToolTip", "The total count of failed read operations.");
    m_Statistic_Read_Operations_Failed_Count.SetProperty("DisplayName", "Read Operations Failed Count");
    m_Statistic_Read_Operations_Failed_Count.SetProperty("Visibility", "Expert");
    m_Statistic_Read_Operations_Failed_Count.SetProperty("PollingTime", "1000");
    AddDependents(m_Statistic_Read_Operations_Failed_Count, {"Root", "Statistic"});
    m_Statistic_Read_Operations_Failed_Count.SetProperty("IsFeature", "Yes");
    Tavix::SetRegisterProperties(m_Statistic_Read_Operations_Failed_Count, {kPort, "0x400", "8", "RO", "Signed"});
}

void CUsbTLParamsImpl::SetPropertiesStatistic_Write_Operations_Failed_Count() {
    m_Statistic_Write_Operations_Failed_Count.SetProperty("ToolTip", "The total count of failed write operations.");
    m_Statistic_Write_Operations_Failed_Count.SetProperty("DisplayName", "Write Operations Failed Count");
    m_Statistic_Write_Operations_Failed_Count.SetProperty("Visibility", "Expert");
    m_Statistic_Write_Operations_Failed_Count.SetProperty("PollingTime", "1000");
    AddDependents(m_Statistic_Write_Operations_Failed_Count, {"Root", "Statistic"});
    m_Statistic_Write_Operations_Failed_Count.SetProperty("IsFeature", "Yes");
    Tavix::SetRegisterProperties(m_Statistic_Write_Operations_Failed_Count, {kPort, "0x500", "8", "RO", "Signed"});
}

void CUsbTLParamsImpl::SetPropertiesStatistic_Last_Error_Status() {
    m_Statistic_Last_Error_Status.SetProperty("ToolTip", "The last error status for a read or write operation.");
    m_Statistic_Last_Error_Status.SetProperty("DisplayName", "Last Error Status");
    m_Statistic_Last_Error_Status.SetProperty("Visibility", "Expert");
    m_Statistic_Last_Error_Status.SetProperty("PollingTime", "1000");
    m_Statistic_Last_Error_Status.SetProperty("Representation", "HexNumber");
    AddDependents(m_Statistic_Last_Error_Status, {"Root", "Statistic"});
    m_Statistic_Last_Error_Status.SetProperty("IsFeature", "Yes");
    Tavix::SetRegisterProperties(m_Statistic_Last_Error_Status, {kPort, "0x600", "4", "RO", "Unsigned"});
}

void CUsbTLParamsImpl::SetPropertiesCustomRequestId_Value() {
    m_CustomRequestId_Value.SetProperty("Visibility", "Expert");
    m_CustomRequestId_Value.SetProperty("IsFeature", "No");
    Tavix::SetRegisterProperties(m_CustomRequestId_Value, {kPort, "0xAFFE0000", "1", "RW", "Unsigned"});
}

void CUsbTLParamsImpl::SetPropertiesCustomRequestValue_Value() {
    m_CustomRequestValue_Value.SetProperty("Visibility", "Expert");
    m_CustomRequestValue_Value.SetProperty("IsFeature", "No");
    Tavix::SetRegisterProperties(m_CustomRequestValue_Value, {kPort, "0xAFFE0100", "2", "RW", "Unsigned"});
}

void CUsbTLParamsImpl::SetPropertiesCustomRequestIndex_Value() {
    m_CustomRequestIndex_Value.SetProperty("Visibility", "Expert");
    m_CustomRequestIndex_Value.SetProperty("IsFeature", "No");
    Tavix::SetRegisterProperties(m_CustomRequestIndex_Value, {kPort, "0xAFFE0200", "2", "RW", "Unsigned"});
}

void CUsbTLParamsImpl::SetPropertiesCustomRequestDataLength_Value() {
    m_CustomRequestDataLength_Value.SetProperty("Visibility", "Expert");
    m_CustomRequestDataLength_Value.SetProperty("IsFeature", "No");
    Tavix::SetRegisterProperties(m_CustomRequestDataLength_Value, {kPort, "0xAFFE0300", "2", "RW", "Unsigned"});
}

void CUsbTLParamsImpl::SetPropertiesCustomRequestExecuteRead_Value() {
    m_CustomRequestExecuteRead_Value.SetProperty("Visibility", "Expert");
    m_CustomRequestExecuteRead_Value.SetProperty("IsFeature", "No");
    Tavix::SetRegisterProperties(m_CustomRequestExecuteRead_Value, {kPort, "0xAFFE0400", "1", "RW", "Unsigned"});
}

void CUsbTLParamsImpl::SetPropertiesCustomRequestExecuteWrite_Value() {
    m_CustomRequestExecuteWrite_Value.SetProperty("Visibility", "Expert");
    m_CustomRequestExecuteWrite_Value.SetProperty("IsFeature", "No");
    Tavix::SetRegisterProperties(m_CustomRequestExecuteWrite_Value, {kPort, "0xAFFE0500", "1", "RW", "Unsigned"});
}

} // namespace Vandrel_UsbTLParams
