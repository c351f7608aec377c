#include "compatibility/NodeCompatibilityLayer.h"

#include <boost/make_shared.hpp>

namespace Tavix {
namespace {

enum class Answer { Node, CastAlias };

struct Translation {
    const char* older;
    const char* current;
    Answer answer;
};

constexpr Translation kTranslations[] = {
    {"AcquisitionFrameCount", "AcquisitionBurstFrameCount", Answer::Node},
    {"AcquisitionFrameRateAbs", "AcquisitionFrameRate", Answer::Node},
    {"AcquisitionStartEventFrameID", "EventFrameBurstStartFrameID", Answer::Node},
    {"AcquisitionStartEventTimestamp", "EventFrameBurstStartTimestamp", Answer::Node},
    {"AcquisitionStartOvertriggerEventFrameID", "EventFrameBurstStartOvertriggerFrameID", Answer::Node},
    {"AcquisitionStartOvertriggerEventTimestamp", "EventFrameBurstStartOvertriggerTimestamp", Answer::Node},
    {"AutoExposureTimeAbsLowerLimit", "AutoExposureTimeLowerLimit", Answer::Node},
    {"AutoExposureTimeAbsUpperLimit", "AutoExposureTimeUpperLimit", Answer::Node},
    {"AutoFunctionAOIUsageIntensity", "AutoFunctionAOIUseBrightness", Answer::Node},
    {"AutoFunctionAOIUsageWhiteBalance", "AutoFunctionAOIUseWhiteBalance", Answer::Node},
    {"AutoGainRawLowerLimit", "AutoGainLowerLimit", Answer::CastAlias},
    {"AutoGainRawUpperLimit", "AutoGainUpperLimit", Answer::CastAlias},
    {"AutoTargetValue", "AutoTargetBrightness", Answer::CastAlias},
    {"BalanceRatioAbs", "BalanceRatio", Answer::Node},
    {"BalanceRatioRaw", "BalanceRatio", Answer::CastAlias},
    {"BlackLevelAbs", "BlackLevel", Answer::Node},
    {"BlackLevelRaw", "BlackLevel", Answer::CastAlias},
    {"ColorAdjustmentHueRaw", "ColorAdjustmentHue", Answer::CastAlias},
    {"ColorAdjustmentSaturationRaw", "ColorAdjustmentSaturation", Answer::CastAlias},
    {"ColorTransformationValueRaw", "ColorTransformationValue", Answer::CastAlias},
    {"ExposureEndEventFrameID", "EventExposureEndFrameID", Answer::Node},
    {"ExposureEndEventTimestamp", "EventExposureEndTimestamp", Answer::Node},
    {"ExposureTimeAbs", "ExposureTime", Answer::Node},
    {"ExposureTimeRaw", "ExposureTime", Answer::CastAlias},
    {"FrameStartEventFrameID", "EventFrameStartFrameID", Answer::Node},
    {"FrameStartEventTimestamp", "EventFrameStartTimestamp", Answer::Node},
    {"FrameStartOvertriggerEventFrameID", "EventFrameStartOvertriggerFrameID", Answer::Node},
    {"FrameStartOvertriggerEventTimestamp", "EventFrameStartOvertriggerTimestamp", Answer::Node},
    {"GainAbs", "Gain", Answer::Node},
    {"GainRaw", "Gain", Answer::CastAlias},
    {"LightSourceSelector", "LightSourcePreset", Answer::Node},
    {"LineDebouncerTimeAbs", "LineDebouncerTime", Answer::Node},
    {"MinOutPulseWidthAbs", "LineMinimumOutputPulseWidth", Answer::Node},
    {"MinOutPulseWidthRaw", "LineMinimumOutputPulseWidth", Answer::CastAlias},
    {"ParameterSelector", "RemoveParameterLimitSelector", Answer::Node},
    {"ReadoutTimeAbs", "SensorReadoutTime", Answer::Node},
    {"ResultingFrameRateAbs", "ResultingFrameRate", Answer::Node},
    {"TimerDelayAbs", "TimerDelay", Answer::Node},
    {"TimerDelayRaw", "TimerDelay", Answer::CastAlias},
    {"TimerDurationAbs", "TimerDuration", Answer::Node},
    {"TimerDurationRaw", "TimerDuration", Answer::CastAlias},
    {"TriggerDelayAbs", "TriggerDelay", Answer::Node},
    {"UserSetDefaultSelector", "UserSetDefault", Answer::Node},
};

} // namespace

CNodeCompatibilityLayer::CNodeCompatibilityLayer(GenApi::INodeMap* pCameraNodeMap) : m_pCameraNodeMap(pCameraNodeMap) {
    for (const Translation& row : kTranslations) {
        m_Translations[row.older] = NodeData{row.current, row.answer == Answer::CastAlias};
    }
    for (const char* name :
         {"AcquisitionStatusSelector", "AutoFunctionProfile", "ChunkSelector", "EventNotification", "EventSelector"}) {
        Wrap(name, {name}, name);
    }
    // Applications know the light source under its older name too.
    Wrap("LightSourcePreset", {"LightSourceSelector", "LightSourcePreset"}, "LightSourceSelector");
    for (const char* name : {"LineSource", "PixelFormat", "TriggerSelector"})
        Wrap(name, {name}, name);
}

void CNodeCompatibilityLayer::Wrap(const char* cameraName, std::initializer_list<const char*> keys,
                                   const char* wrapperName) {
    GenApi::INode* pNode = m_pCameraNodeMap->GetNode(cameraName);
    // A description may use the name for a node of another kind; that stays the camera's.
    if (!dynamic_cast<GenApi::IEnumeration*>(pNode) || !dynamic_cast<GenApi::ISelector*>(pNode)) return;
    const auto wrapper = boost::make_shared<CWrappedEnumeration>(pNode, wrapperName);
    for (const char* key : keys)
        m_Enumerations[key] = wrapper;
}

GenApi::INode* CNodeCompatibilityLayer::GetNode(const GenICam::gcstring& name) const {
    const auto wrapped = m_Enumerations.find(name);
    if (wrapped != m_Enumerations.end()) return wrapped->second.get();
    if (GenApi::INode* pNode = m_pCameraNodeMap->GetNode(name)) return pNode;
    const auto translation = m_Translations.find(name);
    if (translation == m_Translations.end()) return nullptr;
    GenApi::INode* pNode = m_pCameraNodeMap->GetNode(translation->second.NewName);
    if (!pNode || !translation->second.UseCastAlias) return pNode;
    return pNode->GetCastAlias();
}

} // namespace Tavix
