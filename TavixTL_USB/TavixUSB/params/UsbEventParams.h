#pragma once
// The node map of an event grabber's parameters.

#include <GenApi/NodeMap.h>

namespace Vandrel_UsbEventParams {

/// Built in code; its registers go through the port node "EventStreamGrabberPort". The grabber writes its state into
/// "StatusReg", which locks the settings while it is open. Thread-safe.
class CUsbEventParamsImpl final : public GenApi::CNodeMap {
public:
    /// Released by Destroy().
    static CUsbEventParamsImpl* Create(const GenICam::gcstring& name);

    GenApi::IInteger& StatusReg() const { return *m_StatusReg; }

private:
    explicit CUsbEventParamsImpl(const GenICam::gcstring& name);
    ~CUsbEventParamsImpl() override;

    void SetMapProperties();
    void NameNodes();
    void SetNodeProperties();

    void SetPropertiesRoot();
    void SetPropertiesStatistic();
    void SetPropertiesNumBuffer();
    void SetPropertiesNumMaxQueuedUrbs();
    void SetPropertiesTransferLoopThreadPriority();
    void SetPropertiesEnumEntry_Status_Closed();
    void SetPropertiesEnumEntry_Status_Open();
    void SetPropertiesStatus();
    void SetPropertiesStatusReg();
    void SetPropertiesStatusIsOpen();
    void SetPropertiesEventStreamGrabberPort();
    void SetPropertiesNumBuffer_Value();
    void SetPropertiesNumMaxQueuedUrbs_Value();
    void SetPropertiesMaximumTransferLength_Value();
    void SetPropertiesStatistic_Total_Event_Count();
    void SetPropertiesStatistic_Failed_Event_Count();
    void SetPropertiesStatistic_Last_Failed_Event_Buffer_Status();
    void SetPropertiesTransferLoopThreadPriority_Value();
    void SetPropertiesTransferLoopThreadPriority_Max();
    void SetPropertiesTransferLoopThreadPriority_Min();
    void SetPropertiesGenerateNumTestEvents_Value();

    GenApi::CCategoryNode m_Root;
    GenApi::CCategoryNode m_Statistic;
    GenApi::CIntegerNode m_NumBuffer;
    GenApi::CIntegerNode m_NumMaxQueuedUrbs;
    GenApi::CIntegerNode m_TransferLoopThreadPriority;
    GenApi::CEnumEntryNode m_EnumEntry_Status_Closed;
    GenApi::CEnumEntryNode m_EnumEntry_Status_Open;
    GenApi::CEnumerationNode m_Status;
    GenApi::CIntegerNode m_StatusReg;
    GenApi::CIntSwissKnifeNode m_StatusIsOpen;
    GenApi::CPortNode m_EventStreamGrabberPort;
    GenApi::CIntRegNode m_NumBuffer_Value;
    GenApi::CIntRegNode m_NumMaxQueuedUrbs_Value;
    GenApi::CIntRegNode m_MaximumTransferLength_Value;
    GenApi::CIntRegNode m_Statistic_Total_Event_Count;
    GenApi::CIntRegNode m_Statistic_Failed_Event_Count;
    GenApi::CIntRegNode m_Statistic_Last_Failed_Event_Buffer_Status;
    GenApi::CIntRegNode m_TransferLoopThreadPriority_Value;
    GenApi::CIntRegNode m_TransferLoopThreadPriority_Max;
    GenApi::CIntRegNode m_TransferLoopThreadPriority_Min;
    GenApi::CIntRegNode m_GenerateNumTestEvents_Value;
};

} // namespace Vandrel_UsbEventParams
