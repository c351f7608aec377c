#pragma once
// The node map of a stream grabber's parameters.

#include <GenApi/NodeMap.h>

namespace Vandrel_UsbStreamParams {

/// Built in code; its registers go through the port node "StreamGrabberPort". The grabber writes its state into
/// "StatusReg", which locks the settings while it grabs. Thread-safe.
class CUsbStreamParamsImpl final : public GenApi::CNodeMap {
public:
    /// Released by Destroy().
    static CUsbStreamParamsImpl* Create(const GenICam::gcstring& name);

    GenApi::IInteger& MaxNumBuffer() const { return *m_MaxNumBuffer; }
    GenApi::IInteger& MaxBufferSize() const { return *m_MaxBufferSize; }
    GenApi::IInteger& StatusReg() const { return *m_StatusReg; }

private:
    explicit CUsbStreamParamsImpl(const GenICam::gcstring& name);
    ~CUsbStreamParamsImpl() override;

    void SetMapProperties();
    void NameNodes();
    void SetNodeProperties();

    void SetPropertiesRoot();
    void SetPropertiesStatistic();
    void SetPropertiesMaxNumBuffer();
    void SetPropertiesMaxBufferSize();
    void SetPropertiesNumMaxQueuedUrbs();
    void SetPropertiesMaxTransferSize();
    void SetPropertiesTransferLoopThreadPriority();
    void SetPropertiesEnumEntry_Status_Closed();
    void SetPropertiesEnumEntry_Status_Open();
    void SetPropertiesEnumEntry_Status_Grabbing();
    void SetPropertiesStatus();
    void SetPropertiesStatusReg();
    void SetPropertiesStatusIsOpen();
    void SetPropertiesStatusIsLocked();
    void SetPropertiesStreamGrabberPort();
    void SetPropertiesNumMaxQueuedUrbs_Value();
    void SetPropertiesMaxTransferSize_Value();
    void SetPropertiesMaxTransferSize_Max();
    void SetPropertiesMaxTransferSize_Min();
    void SetPropertiesMaxTransferSize_Inc();
    void SetPropertiesStatistic_Total_Buffer_Count();
    void SetPropertiesStatistic_Failed_Buffer_Count();
    void SetPropertiesStatistic_Missed_Frame_Count();
    void SetPropertiesStatistic_Resynchronization_Count();
    void SetPropertiesStatistic_Last_Block_Id();
    void SetPropertiesStatistic_Last_Failed_Buffer_Status();
    void SetPropertiesTransferLoopThreadPriority_Value();
    void SetPropertiesTransferLoopThreadPriority_Max();
    void SetPropertiesTransferLoopThreadPriority_Min();

    GenApi::CCategoryNode m_Root;
    GenApi::CCategoryNode m_Statistic;
    GenApi::CIntegerNode m_MaxNumBuffer;
    GenApi::CIntegerNode m_MaxBufferSize;
    GenApi::CIntegerNode m_NumMaxQueuedUrbs;
    GenApi::CIntegerNode m_MaxTransferSize;
    GenApi::CIntegerNode m_TransferLoopThreadPriority;
    GenApi::CEnumEntryNode m_EnumEntry_Status_Closed;
    GenApi::CEnumEntryNode m_EnumEntry_Status_Open;
    GenApi::CEnumEntryNode m_EnumEntry_Status_Grabbing;
    GenApi::CEnumerationNode m_Status;
    GenApi::CIntegerNode m_StatusReg;
    GenApi::CIntSwissKnifeNode m_StatusIsOpen;
    GenApi::CIntSwissKnifeNode m_StatusIsLocked;
    GenApi::CPortNode m_StreamGrabberPort;
    GenApi::CIntRegNode m_NumMaxQueuedUrbs_Value;
    GenApi::CIntRegNode m_MaxTransferSize_Value;
    GenApi::CIntRegNode m_MaxTransferSize_Max;
    GenApi::CIntRegNode m_MaxTransferSize_Min;
    GenApi::CIntRegNode m_MaxTransferSize_Inc;
    GenApi::CIntRegNode m_Statistic_Total_Buffer_Count;
    GenApi::CIntRegNode m_Statistic_Failed_Buffer_Count;
    GenApi::CIntRegNode m_Statistic_Missed_Frame_Count;
    GenApi::CIntRegNode m_Statistic_Resynchronization_Count;
    GenApi::CIntRegNode m_Statistic_Last_Block_Id;
    GenApi::CIntRegNode m_Statistic_Last_Failed_Buffer_Status;
    GenApi::CIntRegNode m_TransferLoopThreadPriority_Value;
    GenApi::CIntRegNode m_TransferLoopThreadPriority_Max;
    GenApi::CIntRegNode m_TransferLoopThreadPriority_Min;
};

} // namespace Vandrel_UsbStreamParams
