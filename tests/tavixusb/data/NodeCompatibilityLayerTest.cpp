#include "compatibility/NodeCompatibilityLayer.h"

#include "tavixusb/support/Description.h"

#include <ostream>

#include <gtest/gtest.h>

namespace {

struct NameRow {
    const char* older;
    const char* current;
    bool castAlias;
};

void PrintTo(const NameRow& row, std::ostream* to) {
    *to << row.older;
}

std::string FloatWithAlias(const std::string& name) {
    return "<Float Name=\"" + name +
           "\"><pCastAlias>Alias</pCastAlias><Value>1.5</Value></Float>"
           "<Integer Name=\"Alias\"><Value>3</Value></Integer>";
}

class OlderName : public testing::TestWithParam<NameRow> {};

TEST_P(OlderName, IsAnsweredByTheNodeThatReplacedIt) {
    support::DescribedMap map(FloatWithAlias(GetParam().current));
    Tavix::CNodeCompatibilityLayer layer(map.Get());
    const char* expected = GetParam().castAlias ? "Alias" : GetParam().current;
    EXPECT_EQ(layer.GetNode(GetParam().older), map->GetNode(expected));
}

TEST_P(OlderName, IsNotTranslatedWhenTheCameraStillHasIt) {
    support::DescribedMap map(FloatWithAlias(GetParam().current) + "<Integer Name=\"" + GetParam().older +
                              "\"><Value>1</Value></Integer>");
    Tavix::CNodeCompatibilityLayer layer(map.Get());
    EXPECT_EQ(layer.GetNode(GetParam().older), map->GetNode(GetParam().older));
}

TEST_P(OlderName, IsUnknownWhenTheCameraLacksTheCurrentOne) {
    support::DescribedMap map("");
    EXPECT_EQ(Tavix::CNodeCompatibilityLayer(map.Get()).GetNode(GetParam().older), nullptr);
}

INSTANTIATE_TEST_SUITE_P(
    AllRows, OlderName,
    testing::Values(
        NameRow{"AcquisitionFrameCount", "AcquisitionBurstFrameCount", false},
        NameRow{"AcquisitionFrameRateAbs", "AcquisitionFrameRate", false},
        NameRow{"AcquisitionStartEventFrameID", "EventFrameBurstStartFrameID", false},
        NameRow{"AcquisitionStartEventTimestamp", "EventFrameBurstStartTimestamp", false},
        NameRow{"AcquisitionStartOvertriggerEventFrameID", "EventFrameBurstStartOvertriggerFrameID", false},
        NameRow{"AcquisitionStartOvertriggerEventTimestamp", "EventFrameBurstStartOvertriggerTimestamp", false},
        NameRow{"AutoExposureTimeAbsLowerLimit", "AutoExposureTimeLowerLimit", false},
        NameRow{"AutoExposureTimeAbsUpperLimit", "AutoExposureTimeUpperLimit", false},
        NameRow{"AutoFunctionAOIUsageIntensity", "AutoFunctionAOIUseBrightness", false},
        NameRow{"AutoFunctionAOIUsageWhiteBalance", "AutoFunctionAOIUseWhiteBalance", false},
        NameRow{"AutoGainRawLowerLimit", "AutoGainLowerLimit", true},
        NameRow{"AutoGainRawUpperLimit", "AutoGainUpperLimit", true},
        NameRow{"AutoTargetValue", "AutoTargetBrightness", true}, NameRow{"BalanceRatioAbs", "BalanceRatio", false},
        NameRow{"BalanceRatioRaw", "BalanceRatio", true}, NameRow{"BlackLevelAbs", "BlackLevel", false},
        NameRow{"BlackLevelRaw", "BlackLevel", true}, NameRow{"ColorAdjustmentHueRaw", "ColorAdjustmentHue", true},
        NameRow{"ColorAdjustmentSaturationRaw", "ColorAdjustmentSaturation", true},
        NameRow{"ColorTransformationValueRaw", "ColorTransformationValue", true},
        NameRow{"ExposureEndEventFrameID", "EventExposureEndFrameID", false},
        NameRow{"ExposureEndEventTimestamp", "EventExposureEndTimestamp", false},
        NameRow{"ExposureTimeAbs", "ExposureTime", false}, NameRow{"ExposureTimeRaw", "ExposureTime", true},
        NameRow{"FrameStartEventFrameID", "EventFrameStartFrameID", false},
        NameRow{"FrameStartEventTimestamp", "EventFrameStartTimestamp", false},
        NameRow{"FrameStartOvertriggerEventFrameID", "EventFrameStartOvertriggerFrameID", false},
        NameRow{"FrameStartOvertriggerEventTimestamp", "EventFrameStartOvertriggerTimestamp", false},
        NameRow{"GainAbs", "Gain", false}, NameRow{"GainRaw", "Gain", true},
        NameRow{"LineDebouncerTimeAbs", "LineDebouncerTime", false},
        NameRow{"MinOutPulseWidthAbs", "LineMinimumOutputPulseWidth", false},
        NameRow{"MinOutPulseWidthRaw", "LineMinimumOutputPulseWidth", true},
        NameRow{"ParameterSelector", "RemoveParameterLimitSelector", false},
        NameRow{"ReadoutTimeAbs", "SensorReadoutTime", false},
        NameRow{"ResultingFrameRateAbs", "ResultingFrameRate", false}, NameRow{"TimerDelayAbs", "TimerDelay", false},
        NameRow{"TimerDelayRaw", "TimerDelay", true}, NameRow{"TimerDurationAbs", "TimerDuration", false},
        NameRow{"TimerDurationRaw", "TimerDuration", true}, NameRow{"TriggerDelayAbs", "TriggerDelay", false},
        NameRow{"UserSetDefaultSelector", "UserSetDefault", false},
        // A float of this name is no enumeration, so it is translated as the other rows are.
        NameRow{"LightSourceSelector", "LightSourcePreset", false}));

std::string Enumeration(const std::string& name) {
    return "<Enumeration Name=\"" + name +
           "\"><EnumEntry Name=\"One\"><Value>1</Value></EnumEntry><Value>1</Value></Enumeration>";
}

class WrappedName : public testing::TestWithParam<const char*> {};

TEST_P(WrappedName, IsAnsweredByAWrapperAlways) {
    support::DescribedMap map(Enumeration(GetParam()));
    Tavix::CNodeCompatibilityLayer layer(map.Get());
    EXPECT_NE(dynamic_cast<Tavix::CWrappedEnumeration*>(layer.GetNode(GetParam())), nullptr);
    EXPECT_EQ(layer.GetNode(GetParam()), layer.GetNode(GetParam()));
}

TEST_P(WrappedName, IsUnknownWhenTheCameraLacksIt) {
    support::DescribedMap map("");
    EXPECT_EQ(Tavix::CNodeCompatibilityLayer(map.Get()).GetNode(GetParam()), nullptr);
}

INSTANTIATE_TEST_SUITE_P(AllRows, WrappedName,
                         testing::Values("AcquisitionStatusSelector", "AutoFunctionProfile", "ChunkSelector",
                                         "EventNotification", "EventSelector", "LightSourcePreset", "LineSource",
                                         "PixelFormat", "TriggerSelector"));

TEST(NodeCompatibilityLayer, AnswersBothNamesOfTheLightSourceWithOneWrapper) {
    support::DescribedMap map(Enumeration("LightSourcePreset"));
    Tavix::CNodeCompatibilityLayer layer(map.Get());
    ASSERT_NE(layer.GetNode("LightSourceSelector"), nullptr);
    EXPECT_EQ(layer.GetNode("LightSourceSelector"), layer.GetNode("LightSourcePreset"));
    EXPECT_EQ(layer.GetNode("LightSourceSelector")->GetName(), "LightSourcePreset");
}

TEST(NodeCompatibilityLayer, AnswersTheLightSourceWithItsWrapperThoughTheCameraHasTheOlderName) {
    support::DescribedMap map(Enumeration("LightSourcePreset") + Enumeration("LightSourceSelector"));
    Tavix::CNodeCompatibilityLayer layer(map.Get());
    EXPECT_EQ(layer.GetNode("LightSourceSelector"), layer.GetNode("LightSourcePreset"));
}

TEST(NodeCompatibilityLayer, LeavesTheLightSourceSelectorOfACameraWithoutPresetAlone) {
    support::DescribedMap map(Enumeration("LightSourceSelector"));
    EXPECT_EQ(Tavix::CNodeCompatibilityLayer(map.Get()).GetNode("LightSourceSelector"),
              map->GetNode("LightSourceSelector"));
}

struct WrapperRow {
    const char* name;
    const char* current;
    const char* older;
};

void PrintTo(const WrapperRow& row, std::ostream* to) {
    *to << row.name << " " << row.current;
}

class WrapperOfLayer : public testing::TestWithParam<WrapperRow> {};

TEST_P(WrapperOfLayer, HasTheEntryNamesOfItsNode) {
    support::DescribedMap map(std::string("<Enumeration Name=\"") + GetParam().name + "\"><EnumEntry Name=\"" +
                              GetParam().current + "\"><Value>1</Value></EnumEntry><Value>1</Value></Enumeration>");
    Tavix::CNodeCompatibilityLayer layer(map.Get());
    GenApi::CEnumerationPtr wrapper(layer.GetNode(GetParam().name));
    EXPECT_EQ(wrapper->ToString(), GetParam().older);
    EXPECT_NO_THROW(wrapper->FromString(GetParam().older));
    EXPECT_EQ(wrapper->GetNode(), layer.GetNode(GetParam().name));
    EXPECT_EQ(GenApi::CEnumerationPtr(map->GetNode(GetParam().name))->ToString(), GetParam().current);
}

INSTANTIATE_TEST_SUITE_P(AllWrappers, WrapperOfLayer,
                         testing::Values(WrapperRow{"AcquisitionStatusSelector", "FrameBurstTriggerWait",
                                                    "AcquisitionTriggerWait"},
                                         WrapperRow{"AutoFunctionProfile", "MinimizeGain", "GainMinimum"},
                                         WrapperRow{"ChunkSelector", "Gain", "GainAll"},
                                         WrapperRow{"EventNotification", "On", "GenICamEvent"},
                                         WrapperRow{"EventSelector", "FrameBurstStart", "AcquisitionStart"},
                                         WrapperRow{"LightSourcePreset", "Tungsten2800K", "Tungsten"},
                                         WrapperRow{"LineSource", "FrameBurstTriggerWait", "AcquisitionTriggerWait"},
                                         WrapperRow{"PixelFormat", "Mono1p", "Mono1Packed"},
                                         WrapperRow{"TriggerSelector", "FrameBurstStart", "AcquisitionStart"}));

TEST(NodeCompatibilityLayer, HasNoRowForARawTriggerDelay) {
    support::DescribedMap map(FloatWithAlias("TriggerDelay"));
    EXPECT_EQ(Tavix::CNodeCompatibilityLayer(map.Get()).GetNode("TriggerDelayRaw"), nullptr);
}

TEST(NodeCompatibilityLayer, AnswersNothingWhereTheCurrentNodeHasNoCastAlias) {
    support::DescribedMap map("<Float Name=\"Gain\"><Value>1</Value></Float>");
    EXPECT_EQ(Tavix::CNodeCompatibilityLayer(map.Get()).GetNode("GainRaw"), nullptr);
}

TEST(NodeCompatibilityLayer, KeepsTheNodesOwnName) {
    support::DescribedMap map(FloatWithAlias("Gain"));
    EXPECT_EQ(Tavix::CNodeCompatibilityLayer(map.Get()).GetNode("GainAbs")->GetName(), "Gain");
}

TEST(NodeCompatibilityLayer, CountsAndListsOnlyTheCamerasNodes) {
    support::DescribedMap map(Enumeration("PixelFormat") + FloatWithAlias("Gain"));
    Tavix::CNodeCompatibilityLayer layer(map.Get());
    GenApi::NodeList_t ofLayer, ofCamera;
    layer.GetNodes(ofLayer);
    map->GetNodes(ofCamera);
    EXPECT_EQ(layer.GetNumNodes(), map->GetNumNodes());
    ASSERT_EQ(ofLayer.size(), ofCamera.size());
    for (std::size_t i = 0; i < ofLayer.size(); ++i)
        EXPECT_EQ(ofLayer[i], ofCamera[i]);
}

TEST(NodeCompatibilityLayer, ForwardsEverythingElse) {
    support::DescribedMap map("<Port Name=\"Device\"/>");
    Tavix::CNodeCompatibilityLayer layer(map.Get());
    EXPECT_EQ(layer.GetNodeMap(), map.Get());
    EXPECT_EQ(&layer.GetLock(), &map->GetLock());
    EXPECT_EQ(layer.GetDeviceName(), map->GetDeviceName());
    EXPECT_FALSE(layer.Connect(nullptr, "NoSuchPort"));
    layer.Poll(100);
    layer.InvalidateNodes();
}

} // namespace
