#pragma once
// The node map of a device's transport-layer parameters.

#include <GenApi/NodeMap.h>

namespace Vandrel_UsbTLParams {

/// Built in code; its registers go through the port node "VexloDevicePort". Thread-safe.
class CUsbTLParamsImpl final : public GenApi::CNodeMap {
public:
    /// Released by Destroy().
    static CUsbTLParamsImpl* Create(const GenICam::gcstring& deviceName);

private:
    explicit CUsbTLParamsImpl(const GenICam::gcstring& deviceName);
    ~CUsbTLParamsImpl() override;

    void NameNodes();
    void SetMapProperties();
    void SetNodeProperties();
    /// Finishes the nodes one by one, then the map, then the features below "Root".
    void FinalConstruct();

    void SetPropertiesRoot();
    void SetPropertiesStatistic();
    void SetPropertiesMigrationModeEnable();
    void SetPropertiesVexloDevicePort();
    void SetPropertiesStatistic_Read_Pipe_Reset_Count();
    void SetPropertiesStatistic_Write_Pipe_Reset_Count();
    void SetPropertiesStatistic_Read_Operations_Failed_Count();
    void SetPropertiesStatistic_Write_Operations_Failed_Count();
    void SetPropertiesStatistic_Last_Error_Status();
    void SetPropertiesCustomRequestId_Value();
    void SetPropertiesCustomRequestValue_Value();
    void SetPropertiesCustomRequestIndex_Value();
    void SetPropertiesCustomRequestDataLength_Value();
    void SetPropertiesCustomRequestExecuteRead_Value();
    void SetPropertiesCustomRequestExecuteWrite_Value();

    GenApi::CCategoryNode m_Root;
    GenApi::CCategoryNode m_Statistic;
    GenApi::CBooleanNode m_MigrationModeEnable;
    GenApi::CPortNode m_VexloDevicePort;
    GenApi::CIntRegNode m_Statistic_Read_Pipe_Reset_Count;
    GenApi::CIntRegNode m_Statistic_Write_Pipe_Reset_Count;
    GenApi::CIntRegNode m_Statistic_Read_Operations_Failed_Count;
    GenApi::CIntRegNode m_Statistic_Write_Operations_Failed_Count;
    GenApi::CIntRegNode m_Statistic_Last_Error_Status;
    GenApi::CIntRegNode m_CustomRequestId_Value;
    GenApi::CIntRegNode m_CustomRequestValue_Value;
    GenApi::CIntRegNode m_CustomRequestIndex_Value;
    GenApi::CIntRegNode m_CustomRequestDataLength_Value;
    GenApi::CIntRegNode m_CustomRequestExecuteRead_Value;
    GenApi::CIntRegNode m_CustomRequestExecuteWrite_Value;
};

} // namespace Vandrel_UsbTLParams
