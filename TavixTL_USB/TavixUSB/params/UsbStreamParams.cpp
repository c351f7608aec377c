#include "params/UsbStreamParams.h"

#include "params/Register.h"

namespace Vandrel_UsbStreamParams {

namespace {

constexpr char kPort[] = "StreamGrabberPort";

} // namespace

CUsbStreamParamsImpl* CUsbStreamParamsImpl::Create(const GenICam::gcstring& name) {
    return new CUsbStreamParamsImpl(name);
}

CUsbStreamParamsImpl::CUsbStreamParamsImpl(const GenICam::gcstring& name) : CNodeMap(name) {
    SetMapProperties();
    NameNodes();
    SetNodeProperties();
    FinalConstruct("Root");
}

CUsbStreamParamsImpl::~CUsbStreamParamsImpl() = default;

void CUsbStreamParamsImpl::SetMapProperties() {
    SetProperty("StandardNameSpace", "None");
    SetProperty("ModelName", "UsbStreamParams");
    SetProperty("VendorName", "Vandrel");
    SetProperty("ToolTip", "Interface to the TavixUsb Stream Grabber parameters");
    SetProperty("SchemaMajorVersion", "1");
    SetProperty("SchemaMinorVersion", "0");
    SetProperty("SchemaSubMinorVersion", "0");
    SetProperty("ProductGuid", "8E2D94B1-3A67-4D0F-B6C5-17F0E84A5D29");
    SetProperty("VersionGuid", "1F6A03C7-95DE-4B82-A0E3-6C8D7B41F25E");
}

void CUsbStreamParamsImpl::NameNodes() {
    RegisterNode(m_Root, "Category", "Root", "Custom");
    RegisterNode(m_Statistic, "Category", "Statistic", "Custom");
    RegisterNode(m_MaxNumBuffer, "Integer", "MaxNumBuffer", "Custom");
    RegisterNode(m_MaxBufferSize, "Integer", "MaxBufferSize", "Custom");
    RegisterNode(m_NumMaxQueuedUrbs, "Integer", "NumMaxQueuedUrbs", "Custom");
    RegisterNode(m_MaxTransferSize, "Integer", "MaxTransferSize", "Custom");
    RegisterNode(m_TransferLoopThreadPriority, "Integer", "TransferLoopThreadPriority", "Custom");
    RegisterNode(m_EnumEntry_Status_Closed, "EnumEntry", "EnumEntry_Status_Closed", "Custom");
    RegisterNode(m_EnumEntry_Status_Open, "EnumEntry", "EnumEntry_Status_Open", "Custom");
    RegisterNode(m_EnumEntry_Status_Grabbing, "EnumEntry", "EnumEntry_Status_Grabbing", "Custom");
    RegisterNode(m_Status, "Enumeration", "Status", "Custom");
    RegisterNode(m_StatusReg, "Integer", "StatusReg", "Custom");
    RegisterNode(m_StatusIsOpen, "IntSwissKnife", "StatusIsOpen", "Custom");
    RegisterNode(m_StatusIsLocked, "IntSwissKnife", "StatusIsLocked", "Custom");
    RegisterNode(m_StreamGrabberPort, "Port", "StreamGrabberPort", "Custom");
    RegisterNode(m_NumMaxQueuedUrbs_Value, "IntReg", "NumMaxQueuedUrbs_Value", "Custom");
    RegisterNode(m_MaxTransferSize_Value, "IntReg", "MaxTransferSize_Value", "Custom");
    RegisterNode(m_MaxTransferSize_Max, "IntReg", "MaxTransferSize_Max", "Custom");
    RegisterNode(m_MaxTransferSize_Min, "IntReg", "MaxTransferSize_Min", "Custom");
    RegisterNode(m_MaxTransferSize_Inc, "IntReg", "MaxTransferSize_Inc", "Custom");
    RegisterNode(m_Statistic_Total_Buffer_Count, "IntReg", "Statistic_Total_Buffer_Count", "Custom");
    RegisterNode(m_Statistic_Failed_Buffer_Count, "IntReg", "Statistic_Failed_Buffer_Count", "Custom");
    RegisterNode(m_Statistic_Missed_Frame_Count, "IntReg", "Statistic_Missed_Frame_Count", "Custom");
    RegisterNode(m_Statistic_Resynchronization_Count, "IntReg", "Statistic_Resynchronization_Count", "Custom");
    RegisterNode(m_Statistic_Last_Block_Id, "IntReg", "Statistic_Last_Block_Id", "Custom");
    RegisterNode(m_Statistic_Last_Failed_Buffer_Status, "IntReg", "Statistic_Last_Failed_Buffer_Status", "Custom");
    RegisterNode(m_TransferLoopThreadPriority_Value, "IntReg", "TransferLoopThreadPriority_Value", "Custom");
    RegisterNode(m_TransferLoopThreadPriority_Max, "IntReg", "TransferLoopThreadPriority_Max", "Custom");
    RegisterNode(m_TransferLoopThreadPriority_Min, "IntReg", "TransferLoopThreadPriority_Min", "Custom");
}

void CUsbStreamParamsImpl::SetNodeProperties() {
    SetPropertiesRoot();
    SetPropertiesStatistic();
    SetPropertiesMaxNumBuffer();
    SetPropertiesMaxBufferSize();
    SetPropertiesNumMaxQueuedUrbs();
    SetPropertiesMaxTransferSize();
    SetPropertiesTransferLoopThreadPriority();
    SetPropertiesEnumEntry_Status_Closed();
    SetPropertiesEnumEntry_Status_Open();
    SetPropertiesEnumEntry_Status_Grabbing();
    SetPropertiesStatus();
    SetPropertiesStatusReg();
    SetPropertiesStatusIsOpen();
    SetPropertiesStatusIsLocked();
    SetPropertiesStreamGrabberPort();
    SetPropertiesNumMaxQueuedUrbs_Value();
    SetPropertiesMaxTransferSize_Value();
    SetPropertiesMaxTransferSize_Max();
    SetPropertiesMaxTransferSize_Min();
    SetPropertiesMaxTransferSize_Inc();
    SetPropertiesStatistic_Total_Buffer_Count();
    SetPropertiesStatistic_Failed_Buffer_Count();
    SetPropertiesStatistic_Missed_Frame_Count();
    SetPropertiesStatistic_Resynchronization_Count();
    SetPropertiesStatistic_Last_Block_Id();
    SetPropertiesStatistic_Last_Failed_Buffer_Status();
    SetPropertiesTransferLoopThreadPriority_Value();
    SetPropertiesTransferLoopThreadPriority_Max();
    SetPropertiesTransferLoopThreadPriority_Min();
}

void CUsbStreamParamsImpl::SetPropertiesRoot() {
    m_Root.SetProperty("ToolTip", "Interface to the USB-specific stream parameters.");
    m_Root.SetProperty("pFeature", "MaxNumBuffer");
    m_Root.SetProperty("pFeature", "MaxBufferSize");
    m_Root.SetProperty("pFeature", "MaxTransferSize");
    m_Root.SetProperty("pFeature", "NumMaxQueuedUrbs");
    m_Root.SetProperty("pFeature", "TransferLoopThreadPriority");
    m_Root.SetProperty("pFeature", "Statistic");
    m_Root.SetProperty("IsFeature", "Yes");
}

void CUsbStreamParamsImpl::SetPropertiesStatistic() {
    m_Statistic.SetProperty("ToolTip", "Statistical data.");
    m_Statistic.SetProperty("pFeature", "Statistic_Total_Buffer_Count");
    m_Statistic.SetProperty("pFeature", "Statistic_Failed_Buffer_Count");
    m_Statistic.SetProperty("pFeature", "Statistic_Last_Failed_Buffer_Status");
    m_Statistic.SetProperty("pFeature", "Statistic_Missed_Frame_Count");
    m_Statistic.SetProperty("pFeature", "Statistic_Resynchronization_Count");
    m_Statistic.SetProperty("pFeature", "Statistic_Last_Block_Id");
    m_Statistic.SetProperty("IsFeature", "Yes");
}

void CUsbStreamParamsImpl::SetPropertiesMaxNumBuffer() {
    m_MaxNumBuffer.SetProperty("ToolTip", "The maximum number of buffers that can be used simultaneously.");
    m_MaxNumBuffer.SetProperty("DisplayName", "Maximum Number of Buffers");
    m_MaxNumBuffer.SetProperty("Visibility", "Expert");
    m_MaxNumBuffer.SetProperty("pIsLocked", "StatusIsLocked");
    m_MaxNumBuffer.SetProperty("Value", "0x10");
    m_MaxNumBuffer.SetProperty("Min", "1");
    m_MaxNumBuffer.SetProperty("Max", "2147483647");
    m_MaxNumBuffer.SetProperty("IsFeature", "Yes");
}

void CUsbStreamParamsImpl::SetPropertiesMaxBufferSize() {
    m_MaxBufferSize.SetProperty("ToolTip", "The maximum buffer size in bytes that can be registered.");
    m_MaxBufferSize.SetProperty("DisplayName", "Maximum Buffer Size");
    m_MaxBufferSize.SetProperty("Visibility", "Expert");
    m_MaxBufferSize.SetProperty("pIsLocked", "StatusIsLocked");
    m_MaxBufferSize.SetProperty("Value", "0x20000");
    m_MaxBufferSize.SetProperty("Min", "1");
    m_MaxBufferSize.SetProperty("IsFeature", "Yes");
}

void CUsbStreamParamsImpl::SetPropertiesNumMaxQueuedUrbs() {
    m_NumMaxQueuedUrbs.SetProperty("ToolTip", "The maximum number of requests to be enqueued to the driver.");
    m_NumMaxQueuedUrbs.SetProperty("DisplayName", "Num Max Queued Urbs");
    m_NumMaxQueuedUrbs.SetProperty("Visibility", "Guru");
    m_NumMaxQueuedUrbs.SetProperty("pIsLocked", "StatusIsLocked");
    m_NumMaxQueuedUrbs.SetProperty("pValue", "NumMaxQueuedUrbs_Value");
    m_NumMaxQueuedUrbs.SetProperty("Min", "1");
    m_NumMaxQueuedUrbs.SetProperty("IsFeature", "Yes");
}

void CUsbStreamParamsImpl::SetPropertiesMaxTransferSize() {
    m_MaxTransferSize.SetProperty("ToolTip", "Controls the maximum size of USB transfers.");
    m_MaxTransferSize.SetProperty("Description",
                                  "The default value is appropriate for most applications. Reducing the value may "
                                  "cause a higher CPU load. USB host adapter drivers may require to decrease the "
                                  "value in case the application fails to receive the image stream. The maximum "
                                  "value for the Maximum Transfer Size depends on the operating system version and "
                                  "may be limited by the host adapter drivers.");
    m_MaxTransferSize.SetProperty("DisplayName", "Maximum Transfer Size");
    m_MaxTransferSize.SetProperty("Visibility", "Guru");
    m_MaxTransferSize.SetProperty("pIsLocked", "StatusIsLocked");
    m_MaxTransferSize.SetProperty("pValue", "MaxTransferSize_Value");
    m_MaxTransferSize.SetProperty("pMin", "MaxTransferSize_Min");
    m_MaxTransferSize.SetProperty("pMax", "MaxTransferSize_Max");
    m_MaxTransferSize.SetProperty("pInc", "MaxTransferSize_Inc");
    m_MaxTransferSize.SetProperty("Representation", "Linear");
    m_MaxTransferSize.SetProperty("IsFeature", "Yes");
}

void CUsbStreamParamsImpl::SetPropertiesTransferLoopThreadPriority() {
    m_TransferLoopThreadPriority.SetProperty(
        "ToolTip", "The priority of the thread that handles USB requests of the stream interface.");
    m_TransferLoopThreadPriority.SetProperty("DisplayName", "Transfer Loop Thread Priority");
    m_TransferLoopThreadPriority.SetProperty("Visibility", "Guru");
    m_TransferLoopThreadPriority.SetProperty("pIsLocked", "StatusIsLocked");
    m_TransferLoopThreadPriority.SetProperty("pValue", "TransferLoopThreadPriority_Value");
    m_TransferLoopThreadPriority.SetProperty("pMin", "TransferLoopThreadPriority_Min");
    m_TransferLoopThreadPriority.SetProperty("pMax", "TransferLoopThreadPriority_Max");
    m_TransferLoopThreadPriority.SetProperty("IsFeature", "Yes");
}

void CUsbStreamParamsImpl::SetPropertiesEnumEntry_Status_Closed() {
    m_EnumEntry_Status_Closed.SetProperty("Value", "0");
    m_EnumEntry_Status_Closed.SetProperty("Symbolic", "Closed");
    m_EnumEntry_Status_Closed.SetProperty("IsFeature", "No");
}

void CUsbStreamParamsImpl::SetPropertiesEnumEntry_Status_Open() {
    m_EnumEntry_Status_Open.SetProperty("Value", "1");
    m_EnumEntry_Status_Open.SetProperty("Symbolic", "Open");
    m_EnumEntry_Status_Open.SetProperty("IsFeature", "No");
}

void CUsbStreamParamsImpl::SetPropertiesEnumEntry_Status_Grabbing() {
    m_EnumEntry_Status_Grabbing.SetProperty("Value", "2");
    m_EnumEntry_Status_Grabbing.SetProperty("Symbolic", "Grabbing");
    m_EnumEntry_Status_Grabbing.SetProperty("IsFeature", "No");
}

void CUsbStreamParamsImpl::SetPropertiesStatus() {
    m_Status.SetProperty("ToolTip", "Shows the current stream grabber status.");
    m_Status.SetProperty("Visibility", "Guru");
    m_Status.SetProperty("ImposedAccessMode", "RO");
    m_Status.SetProperty("pEnumEntry", "EnumEntry_Status_Closed");
    m_Status.SetProperty("pEnumEntry", "EnumEntry_Status_Open");
    m_Status.SetProperty("pEnumEntry", "EnumEntry_Status_Grabbing");
    m_Status.SetProperty("pValue", "StatusReg");
    m_Status.SetProperty("IsFeature", "No");
}

void CUsbStreamParamsImpl::SetPropertiesStatusReg() {
    m_StatusReg.SetProperty("Visibility", "Invisible");
    m_StatusReg.SetProperty("Value", "0");
    m_StatusReg.SetProperty("IsFeature", "No");
}

void CUsbStreamParamsImpl::SetPropertiesStatusIsOpen() {
    m_StatusIsOpen.SetProperty("Visibility", "Invisible");
    m_StatusIsOpen.SetProperty("pVariable", "StatusReg", "STREAM_GRABBER_STATUS");
    m_StatusIsOpen.SetProperty("Formula", "STREAM_GRABBER_STATUS > 0");
    m_StatusIsOpen.SetProperty("IsFeature", "No");
}

void CUsbStreamParamsImpl::SetPropertiesStatusIsLocked() {
    m_StatusIsLocked.SetProperty("Visibility", "Invisible");
    m_StatusIsLocked.SetProperty("pVariable", "StatusReg", "STREAM_GRABBER_STATUS");
    m_StatusIsLocked.SetProperty("Formula", "STREAM_GRABBER_STATUS > 1");
    m_StatusIsLocked.SetProperty("IsFeature", "No");
}

void CUsbStreamParamsImpl::SetPropertiesStreamGrabberPort() {
    m_StreamGrabberPort.SetProperty("ToolTip", "Port node giving access to stream grabber parameters.");
    m_StreamGrabberPort.SetProperty("IsFeature", "No");
}

void CUsbStreamParamsImpl::SetPropertiesNumMaxQueuedUrbs_Value() {
    Tavix::SetRegisterProperties(m_NumMaxQueuedUrbs_Value, {kPort, "0x200", "4", "RW", "Unsigned"});
    m_NumMaxQueuedUrbs_Value.SetProperty("Visibility", "Expert");
    m_NumMaxQueuedUrbs_Value.SetProperty("IsFeature", "No");
}

void CUsbStreamParamsImpl::SetPropertiesMaxTransferSize_Value() {
    Tavix::SetRegisterProperties(m_MaxTransferSize_Value, {kPort, "0x300", "4", "RW", "Unsigned"});
    m_MaxTransferSize_Value.SetProperty("Visibility", "Expert");
    m_MaxTransferSize_Value.SetProperty("IsFeature", "No");
}

void CUsbStreamParamsImpl::SetPropertiesMaxTransferSize_Max() {
    Tavix::SetRegisterProperties(m_MaxTransferSize_Max, {kPort, "0x308", "4", "RW", "Unsigned"});
    m_MaxTransferSize_Max.SetProperty("Visibility", "Expert");
    m_MaxTransferSize_Max.SetProperty("IsFeature", "No");
}

void CUsbStreamParamsImpl::SetPropertiesMaxTransferSize_Min() {
    Tavix::SetRegisterProperties(m_MaxTransferSize_Min, {kPort, "0x310", "4", "RW", "Unsigned"});
    m_MaxTransferSize_Min.SetProperty("Visibility", "Expert");
    m_MaxTransferSize_Min.SetProperty("IsFeature", "No");
}

void CUsbStreamParamsImpl::SetPropertiesMaxTransferSize_Inc() {
    Tavix::SetRegisterProperties(m_MaxTransferSize_Inc, {kPort, "0x318", "4", "RW", "Unsigned"});
    m_MaxTransferSize_Inc.SetProperty("Visibility", "Expert");
    m_MaxTransferSize_Inc.SetProperty("IsFeature", "No");
}

void CUsbStreamParamsImpl::SetPropertiesStatistic_Total_Buffer_Count() {
    Tavix::SetRegisterProperties(m_Statistic_Total_Buffer_Count, {kPort, "0x400", "8", "RO", "Signed"});
    m_Statistic_Total_Buffer_Count.SetProperty("ToolTip", "The total count of processed buffers.");
    m_Statistic_Total_Buffer_Count.SetProperty("DisplayName", "Total Buffer Count");
    m_Statistic_Total_Buffer_Count.SetProperty("Visibility", "Expert");
    m_Statistic_Total_Buffer_Count.SetProperty("PollingTime", "1000");
    m_Statistic_Total_Buffer_Count.SetProperty("pInvalidator", "StatusReg");
    m_Statistic_Total_Buffer_Count.SetProperty("IsFeature", "Yes");
}

void CUsbStreamParamsImpl::SetPropertiesStatistic_Failed_Buffer_Count() {
    Tavix::SetRegisterProperties(m_Statistic_Failed_Buffer_Count, {kPort, "0x500", "8", "RO", "Signed"});
    m_Statistic_Failed_Buffer_Count.SetProperty("ToolTip", "The count of buffers that returned with an error status.");
    m_Statistic_Failed_Buffer_Count.SetProperty("DisplayName", "Failed Buffer Count");
    m_Statistic_Failed_Buffer_Count.SetProperty("Visibility", "Expert");
    m_Statistic_Failed_Buffer_Count.SetProperty("PollingTime", "1000");
    m_Statistic_Failed_Buffer_Count.SetProperty("pInvalidator", "StatusReg");
    m_Statistic_Failed_Buffer_Count.SetProperty("IsFeature", "Yes");
}

void CUsbStreamParamsImpl::SetPropertiesStatistic_Missed_Frame_Count() {
    Tavix::SetRegisterProperties(m_Statistic_Missed_Frame_Count, {kPort, "0x600", "8", "RO", "Signed"});
    m_Statistic_Missed_Frame_Count.SetProperty(
        "ToolTip", "The count of bad or missed frames between successfully grabbed images.");
    m_Statistic_Missed_Frame_Count.SetProperty("DisplayName", "Missed Frame Count");
    m_Statistic_Missed_Frame_Count.SetProperty("Visibility", "Expert");
    m_Statistic_Missed_Frame_Count.SetProperty("PollingTime", "1000");
    m_Statistic_Missed_Frame_Count.SetProperty("pInvalidator", "StatusReg");
    m_Statistic_Missed_Frame_Count.SetProperty("IsFeature", "Yes");
}

void CUsbStreamParamsImpl::SetPropertiesStatistic_Resynchronization_Count() {
    Tavix::SetRegisterProperties(m_Statistic_Resynchronization_Count, {kPort, "0x700", "8", "RO", "Signed"});
    m_Statistic_Resynchronization_Count.SetProperty("ToolTip", "The count of stream resynchronizations.");
    m_Statistic_Resynchronization_Count.SetProperty("DisplayName", "Resynchronization Count");
    m_Statistic_Resynchronization_Count.SetProperty("Visibility", "Expert");
    m_Statistic_Resynchronization_Count.SetProperty("PollingTime", "1000");
    m_Statistic_Resynchronization_Count.SetProperty("pInvalidator", "StatusReg");
    m_Statistic_Resynchronization_Count.SetProperty("IsFeature", "Yes");
}

void CUsbStreamParamsImpl::SetPropertiesStatistic_Last_Block_Id() {
    Tavix::SetRegisterProperties(m_Statistic_Last_Block_Id, {kPort, "0x800", "8", "RO", "Signed"});
    m_Statistic_Last_Block_Id.SetProperty("ToolTip", "The last grabbed block ID.");
    m_Statistic_Last_Block_Id.SetProperty("DisplayName", "Last Block Id");
    m_Statistic_Last_Block_Id.SetProperty("Visibility", "Expert");
    m_Statistic_Last_Block_Id.SetProperty("PollingTime", "1000");
    m_Statistic_Last_Block_Id.SetProperty("pInvalidator", "StatusReg");
    m_Statistic_Last_Block_Id.SetProperty("IsFeature", "Yes");
}

void CUsbStreamParamsImpl::SetPropertiesStatistic_Last_Failed_Buffer_Status() {
    Tavix::SetRegisterProperties(m_Statistic_Last_Failed_Buffer_Status, {kPort, "0x900", "4", "RO", "Unsigned"});
    m_Statistic_Last_Failed_Buffer_Status.SetProperty("ToolTip", "The status code of the last failed buffer.");
    m_Statistic_Last_Failed_Buffer_Status.SetProperty("DisplayName", "Last Failed Buffer Status");
    m_Statistic_Last_Failed_Buffer_Status.SetProperty("Visibility", "Expert");
    m_Statistic_Last_Failed_Buffer_Status.SetProperty("PollingTime", "1000");
    m_Statistic_Last_Failed_Buffer_Status.SetProperty("pInvalidator", "StatusReg");
    m_Statistic_Last_Failed_Buffer_Status.SetProperty("Representation", "HexNumber");
    m_Statistic_Last_Failed_Buffer_Status.SetProperty("IsFeature", "Yes");
}

void CUsbStreamParamsImpl::SetPropertiesTransferLoopThreadPriority_Value() {
    Tavix::SetRegisterProperties(m_TransferLoopThreadPriority_Value, {kPort, "0xA00", "4", "RW", "Signed"});
    m_TransferLoopThreadPriority_Value.SetProperty("Visibility", "Expert");
    m_TransferLoopThreadPriority_Value.SetProperty("IsFeature", "No");
}

void CUsbStreamParamsImpl::SetPropertiesTransferLoopThreadPriority_Max() {
    Tavix::SetRegisterProperties(m_TransferLoopThreadPriority_Max, {kPort, "0xA08", "4", "RW", "Signed"});
    m_TransferLoopThreadPriority_Max.SetProperty("Visibility", "Expert");
    m_TransferLoopThreadPriority_Max.SetProperty("IsFeature", "No");
}

void CUsbStreamParamsImpl::SetPropertiesTransferLoopThreadPriority_Min() {
    Tavix::SetRegisterProperties(m_TransferLoopThreadPriority_Min, {kPort, "0xA10", "4", "RW", "Signed"});
    m_TransferLoopThreadPriority_Min.SetProperty("Visibility", "Expert");
    m_TransferLoopThreadPriority_Min.SetProperty("IsFeature", "No");
}

} // namespace Vandrel_UsbStreamParams
