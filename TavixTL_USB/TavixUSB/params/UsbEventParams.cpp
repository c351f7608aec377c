#include "params/UsbEventParams.h"

#include "params/Register.h"

namespace Vandrel_UsbEventParams {

namespace {

constexpr char kPort[] = "EventStreamGrabberPort";

} // namespace

CUsbEventParamsImpl* CUsbEventParamsImpl::Create(const GenICam::gcstring& name) {
    return new CUsbEventParamsImpl(name);
}

CUsbEventParamsImpl::CUsbEventParamsImpl(const GenICam::gcstring& name) : CNodeMap(name) {
    SetMapProperties();
    NameNodes();
    SetNodeProperties();
    FinalConstruct("Root");
}

CUsbEventParamsImpl::~CUsbEventParamsImpl() = default;

void CUsbEventParamsImpl::SetMapProperties() {
    SetProperty("StandardNameSpace", "None");
    SetProperty("ModelName", "UsbEventParams");
    SetProperty("VendorName", "Vandrel");
    SetProperty("ToolTip", "Interface to the TavixUsb Event Grabber parameters");
    SetProperty("SchemaMajorVersion", "1");
    SetProperty("SchemaMinorVersion", "0");
    SetProperty("SchemaSubMinorVersion", "0");
    SetProperty("ProductGuid", "D47B1E90-6C2F-4A35-93D8-0BE5F6A8127C");
    SetProperty("VersionGuid", "72C95F0A-E8B3-41D6-8F47-A36D1C0E9B54");
}

void CUsbEventParamsImpl::NameNodes() {
    RegisterNode(m_Root, "Category", "Root", "Custom");
    RegisterNode(m_Statistic, "Category", "Statistic", "Custom");
    RegisterNode(m_NumBuffer, "Integer", "NumBuffer", "Custom");
    RegisterNode(m_NumMaxQueuedUrbs, "Integer", "NumMaxQueuedUrbs", "Custom");
    RegisterNode(m_TransferLoopThreadPriority, "Integer", "TransferLoopThreadPriority", "Custom");
    RegisterNode(m_EnumEntry_Status_Closed, "EnumEntry", "EnumEntry_Status_Closed", "Custom");
    RegisterNode(m_EnumEntry_Status_Open, "EnumEntry", "EnumEntry_Status_Open", "Custom");
    RegisterNode(m_Status, "Enumeration", "Status", "Custom");
    RegisterNode(m_StatusReg, "Integer", "StatusReg", "Custom");
    RegisterNode(m_StatusIsOpen, "IntSwissKnife", "StatusIsOpen", "Custom");
    RegisterNode(m_EventStreamGrabberPort, "Port", "EventStreamGrabberPort", "Custom");
    RegisterNode(m_NumBuffer_Value, "IntReg", "NumBuffer_Value", "Custom");
    RegisterNode(m_NumMaxQueuedUrbs_Value, "IntReg", "NumMaxQueuedUrbs_Value", "Custom");
    RegisterNode(m_MaximumTransferLength_Value, "IntReg", "MaximumTransferLength_Value", "Custom");
    RegisterNode(m_Statistic_Total_Event_Count, "IntReg", "Statistic_Total_Event_Count", "Custom");
    RegisterNode(m_Statistic_Failed_Event_Count, "IntReg", "Statistic_Failed_Event_Count", "Custom");
    RegisterNode(m_Statistic_Last_Failed_Event_Buffer_Status, "IntReg", "Statistic_Last_Failed_Event_Buffer_Status",
                 "Custom");
    RegisterNode(m_TransferLoopThreadPriority_Value, "IntReg", "TransferLoopThreadPriority_Value", "Custom");
    RegisterNode(m_TransferLoopThreadPriority_Max, "IntReg", "TransferLoopThreadPriority_Max", "Custom");
    RegisterNode(m_TransferLoopThreadPriority_Min, "IntReg", "TransferLoopThreadPriority_Min", "Custom");
    RegisterNode(m_GenerateNumTestEvents_Value, "IntReg", "GenerateNumTestEvents_Value", "Custom");
}

void CUsbEventParamsImpl::SetNodeProperties() {
    SetPropertiesRoot();
    SetPropertiesStatistic();
    SetPropertiesNumBuffer();
    SetPropertiesNumMaxQueuedUrbs();
    SetPropertiesTransferLoopThreadPriority();
    SetPropertiesEnumEntry_Status_Closed();
    SetPropertiesEnumEntry_Status_Open();
    SetPropertiesStatus();
    SetPropertiesStatusReg();
    SetPropertiesStatusIsOpen();
    SetPropertiesEventStreamGrabberPort();
    SetPropertiesNumBuffer_Value();
    SetPropertiesNumMaxQueuedUrbs_Value();
    SetPropertiesMaximumTransferLength_Value();
    SetPropertiesStatistic_Total_Event_Count();
    SetPropertiesStatistic_Failed_Event_Count();
    SetPropertiesStatistic_Last_Failed_Event_Buffer_Status();
    SetPropertiesTransferLoopThreadPriority_Value();
    SetPropertiesTransferLoopThreadPriority_Max();
    SetPropertiesTransferLoopThreadPriority_Min();
    SetPropertiesGenerateNumTestEvents_Value();
}

void CUsbEventParamsImpl::SetPropertiesRoot() {
    m_Root.SetProperty("ToolTip", "USB event grabber parameters.");
    m_Root.SetProperty("pFeature", "NumBuffer");
    m_Root.SetProperty("pFeature", "NumMaxQueuedUrbs");
    m_Root.SetProperty("pFeature", "TransferLoopThreadPriority");
    m_Root.SetProperty("pFeature", "Statistic");
    m_Root.SetProperty("IsFeature", "Yes");
}

void CUsbEventParamsImpl::SetPropertiesStatistic() {
    m_Statistic.SetProperty("ToolTip", "Statistical data.");
    m_Statistic.SetProperty("pFeature", "Statistic_Total_Event_Count");
    m_Statistic.SetProperty("pFeature", "Statistic_Failed_Event_Count");
    m_Statistic.SetProperty("pFeature", "Statistic_Last_Failed_Event_Buffer_Status");
    m_Statistic.SetProperty("IsFeature", "Yes");
}

void CUsbEventParamsImpl::SetPropertiesNumBuffer() {
    m_NumBuffer.SetProperty("ToolTip", "Number of buffers to be used.");
    m_NumBuffer.SetProperty("Description", "Number of Buffers that are going to be used receiving events.");
    m_NumBuffer.SetProperty("Visibility", "Expert");
    m_NumBuffer.SetProperty("pIsLocked", "StatusIsOpen");
    m_NumBuffer.SetProperty("pValue", "NumBuffer_Value");
    m_NumBuffer.SetProperty("Min", "1");
    m_NumBuffer.SetProperty("IsFeature", "Yes");
}

void CUsbEventParamsImpl::SetPropertiesNumMaxQueuedUrbs() {
    m_NumMaxQueuedUrbs.SetProperty("ToolTip", "The maximum number of requests to be enqueued to the driver.");
    m_NumMaxQueuedUrbs.SetProperty("DisplayName", "Num Max Queued Urbs");
    m_NumMaxQueuedUrbs.SetProperty("Visibility", "Guru");
    m_NumMaxQueuedUrbs.SetProperty("pIsLocked", "StatusIsOpen");
    m_NumMaxQueuedUrbs.SetProperty("pValue", "NumMaxQueuedUrbs_Value");
    m_NumMaxQueuedUrbs.SetProperty("Min", "1");
    m_NumMaxQueuedUrbs.SetProperty("IsFeature", "Yes");
}

void CUsbEventParamsImpl::SetPropertiesTransferLoopThreadPriority() {
    m_TransferLoopThreadPriority.SetProperty("ToolTip",
                                             "The priority of the thread that handles USB requests of the event stream "
                                             "interface.");
    m_TransferLoopThreadPriority.SetProperty("DisplayName", "Transfer Loop Thread Priority");
    m_TransferLoopThreadPriority.SetProperty("Visibility", "Guru");
    m_TransferLoopThreadPriority.SetProperty("pIsLocked", "StatusIsOpen");
    m_TransferLoopThreadPriority.SetProperty("pValue", "TransferLoopThreadPriority_Value");
    m_TransferLoopThreadPriority.SetProperty("pMin", "TransferLoopThreadPriority_Min");
    m_TransferLoopThreadPriority.SetProperty("pMax", "TransferLoopThreadPriority_Max");
    m_TransferLoopThreadPriority.SetProperty("IsFeature", "Yes");
}

void CUsbEventParamsImpl::SetPropertiesEnumEntry_Status_Closed() {
    m_EnumEntry_Status_Closed.SetProperty("Value", "0");
    m_EnumEntry_Status_Closed.SetProperty("Symbolic", "Closed");
    m_EnumEntry_Status_Closed.SetProperty("IsFeature", "No");
}

void CUsbEventParamsImpl::SetPropertiesEnumEntry_Status_Open() {
    m_EnumEntry_Status_Open.SetProperty("Value", "1");
    m_EnumEntry_Status_Open.SetProperty("Symbolic", "Open");
    m_EnumEntry_Status_Open.SetProperty("IsFeature", "No");
}

void CUsbEventParamsImpl::SetPropertiesStatus() {
    m_Status.SetProperty("ToolTip", "For internal use only.");
    m_Status.SetProperty("Visibility", "Guru");
    m_Status.SetProperty("ImposedAccessMode", "RO");
    m_Status.SetProperty("pEnumEntry", "EnumEntry_Status_Closed");
    m_Status.SetProperty("pEnumEntry", "EnumEntry_Status_Open");
    m_Status.SetProperty("pValue", "StatusReg");
    m_Status.SetProperty("IsFeature", "No");
}

void CUsbEventParamsImpl::SetPropertiesStatusReg() {
    m_StatusReg.SetProperty("Visibility", "Invisible");
    m_StatusReg.SetProperty("Value", "0");
    m_StatusReg.SetProperty("IsFeature", "No");
}

void CUsbEventParamsImpl::SetPropertiesStatusIsOpen() {
    m_StatusIsOpen.SetProperty("Visibility", "Invisible");
    m_StatusIsOpen.SetProperty("pVariable", "StatusReg", "STREAM_GRABBER_STATUS");
    m_StatusIsOpen.SetProperty("Formula", "STREAM_GRABBER_STATUS <> 0");
    m_StatusIsOpen.SetProperty("IsFeature", "No");
}

void CUsbEventParamsImpl::SetPropertiesEventStreamGrabberPort() {
    m_EventStreamGrabberPort.SetProperty("ToolTip", "Port node giving access to event stream grabber parameters.");
    m_EventStreamGrabberPort.SetProperty("IsFeature", "No");
}

void CUsbEventParamsImpl::SetPropertiesNumBuffer_Value() {
    Tavix::SetRegisterProperties(m_NumBuffer_Value, {kPort, "0x200", "4", "RW", "Unsigned"});
    m_NumBuffer_Value.SetProperty("Visibility", "Expert");
    m_NumBuffer_Value.SetProperty("IsFeature", "No");
}

void CUsbEventParamsImpl::SetPropertiesNumMaxQueuedUrbs_Value() {
    Tavix::SetRegisterProperties(m_NumMaxQueuedUrbs_Value, {kPort, "0x300", "4", "RW", "Unsigned"});
    m_NumMaxQueuedUrbs_Value.SetProperty("Visibility", "Expert");
    m_NumMaxQueuedUrbs_Value.SetProperty("IsFeature", "No");
}

void CUsbEventParamsImpl::SetPropertiesMaximumTransferLength_Value() {
    Tavix::SetRegisterProperties(m_MaximumTransferLength_Value, {kPort, "0x400", "4", "RO", "Unsigned"});
    m_MaximumTransferLength_Value.SetProperty("Visibility", "Expert");
    m_MaximumTransferLength_Value.SetProperty("IsFeature", "No");
}

void CUsbEventParamsImpl::SetPropertiesStatistic_Total_Event_Count() {
    Tavix::SetRegisterProperties(m_Statistic_Total_Event_Count, {kPort, "0x500", "8", "RO", "Signed"});
    m_Statistic_Total_Event_Count.SetProperty("ToolTip", "The total count of processed events.");
    m_Statistic_Total_Event_Count.SetProperty("DisplayName", "Total Event Count");
    m_Statistic_Total_Event_Count.SetProperty("Visibility", "Expert");
    m_Statistic_Total_Event_Count.SetProperty("PollingTime", "1000");
    m_Statistic_Total_Event_Count.SetProperty("pInvalidator", "StatusReg");
    m_Statistic_Total_Event_Count.SetProperty("IsFeature", "Yes");
}

void CUsbEventParamsImpl::SetPropertiesStatistic_Failed_Event_Count() {
    Tavix::SetRegisterProperties(m_Statistic_Failed_Event_Count, {kPort, "0x600", "8", "RO", "Signed"});
    m_Statistic_Failed_Event_Count.SetProperty("ToolTip", "The count of processed events with an error status.");
    m_Statistic_Failed_Event_Count.SetProperty("DisplayName", "Failed Event Count");
    m_Statistic_Failed_Event_Count.SetProperty("Visibility", "Expert");
    m_Statistic_Failed_Event_Count.SetProperty("PollingTime", "1000");
    m_Statistic_Failed_Event_Count.SetProperty("pInvalidator", "StatusReg");
    m_Statistic_Failed_Event_Count.SetProperty("IsFeature", "Yes");
}

void CUsbEventParamsImpl::SetPropertiesStatistic_Last_Failed_Event_Buffer_Status() {
    Tavix::SetRegisterProperties(m_Statistic_Last_Failed_Event_Buffer_Status, {kPort, "0x700", "4", "RO", "Unsigned"});
    m_Statistic_Last_Failed_Event_Buffer_Status.SetProperty("ToolTip",
                                                            "The status code of the last failed event buffer.");
    m_Statistic_Last_Failed_Event_Buffer_Status.SetProperty("DisplayName", "Last Failed Event Buffer Status");
    m_Statistic_Last_Failed_Event_Buffer_Status.SetProperty("Visibility", "Expert");
    m_Statistic_Last_Failed_Event_Buffer_Status.SetProperty("PollingTime", "1000");
    m_Statistic_Last_Failed_Event_Buffer_Status.SetProperty("pInvalidator", "StatusReg");
    m_Statistic_Last_Failed_Event_Buffer_Status.SetProperty("Representation", "HexNumber");
    m_Statistic_Last_Failed_Event_Buffer_Status.SetProperty("IsFeature", "Yes");
}

void CUsbEventParamsImpl::SetPropertiesTransferLoopThreadPriority_Value() {
    Tavix::SetRegisterProperties(m_TransferLoopThreadPriority_Value, {kPort, "0x800", "4", "RW", "Signed"});
    m_TransferLoopThreadPriority_Value.SetProperty("Visibility", "Expert");
    m_TransferLoopThreadPriority_Value.SetProperty("IsFeature", "No");
}

void CUsbEventParamsImpl::SetPropertiesTransferLoopThreadPriority_Max() {
    Tavix::SetRegisterProperties(m_TransferLoopThreadPriority_Max, {kPort, "0x808", "4", "RW", "Signed"});
    m_TransferLoopThreadPriority_Max.SetProperty("Visibility", "Expert");
    m_TransferLoopThreadPriority_Max.SetProperty("IsFeature", "No");
}

void CUsbEventParamsImpl::SetPropertiesTransferLoopThreadPriority_Min() {
    Tavix::SetRegisterProperties(m_TransferLoopThreadPriority_Min, {kPort, "0x810", "4", "RW", "Signed"});
    m_TransferLoopThreadPriority_Min.SetProperty("Visibility", "Expert");
    m_TransferLoopThreadPriority_Min.SetProperty("IsFeature", "No");
}

void CUsbEventParamsImpl::SetPropertiesGenerateNumTestEvents_Value() {
    Tavix::SetRegisterProperties(m_GenerateNumTestEvents_Value, {kPort, "0x900", "1", "WO", "Unsigned"});
    m_GenerateNumTestEvents_Value.SetProperty("Visibility", "Expert");
    m_GenerateNumTestEvents_Value.SetProperty("IsFeature", "No");
}

} // namespace Vandrel_UsbEventParams
