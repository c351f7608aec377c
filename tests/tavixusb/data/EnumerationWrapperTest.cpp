#include "compatibility/WrappedEnumeration.h"

#include "tavixusb/support/Description.h"

#include <ostream>

#include <gtest/gtest.h>

namespace {

struct EntryRow {
    const char* wrapper;
    const char* older;
    const char* current;
};

void PrintTo(const EntryRow& row, std::ostream* to) {
    *to << row.wrapper << " " << row.older;
}

/// An enumeration of that node name with the entry and one that has no older name.
std::string Enumeration(const std::string& node, const std::string& entry) {
    return "<Enumeration Name=\"" + node + "\"><EnumEntry Name=\"" + entry +
           "\"><Value>1</Value></EnumEntry><EnumEntry Name=\"Plain\"><Value>2</Value></EnumEntry><Value>2</Value>"
           "<pSelected>Other</pSelected></Enumeration><Integer Name=\"Other\"><Value>0</Value></Integer>";
}

struct EnumerationEntry : testing::TestWithParam<EntryRow> {
    support::DescribedMap map{Enumeration("Node", GetParam().current)};
    GenApi::INode* node = map->GetNode("Node");
    GenApi::IEnumeration& camera = dynamic_cast<GenApi::IEnumeration&>(*node);
    Tavix::CWrappedEnumeration wrapper{node, GetParam().wrapper};
};

TEST_P(EnumerationEntry, IsSetByItsOlderName) {
    wrapper.FromString(GetParam().older);
    EXPECT_EQ(camera.ToString(), GetParam().current);
}

TEST_P(EnumerationEntry, IsSetByItsCurrentName) {
    wrapper.FromString(GetParam().current);
    EXPECT_EQ(camera.GetIntValue(), 1);
}

TEST_P(EnumerationEntry, IsReportedByItsOlderName) {
    wrapper.FromString(GetParam().current);
    EXPECT_EQ(wrapper.ToString(), GetParam().older);
}

TEST_P(EnumerationEntry, IsFoundByBothNames) {
    GenApi::IEnumEntry* entry = camera.GetEntryByName(GetParam().current);
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(wrapper.GetEntryByName(GetParam().older), entry);
    EXPECT_EQ(wrapper.GetEntryByName(GetParam().current), entry);
}

TEST_P(EnumerationEntry, IsListedByItsCurrentNameOnly) {
    GenApi::StringList_t names;
    wrapper.GetSymbolics(names);
    ASSERT_EQ(names.size(), 2u);
    EXPECT_EQ(names[0], GetParam().current);
}

TEST_P(EnumerationEntry, IsNotTranslatedByTheOperators) {
    EXPECT_THROW(static_cast<GenApi::IEnumeration&>(wrapper) = GetParam().older, GenICam::InvalidArgumentException);
    wrapper.SetIntValue(1);
    EXPECT_EQ(*wrapper, GetParam().current);
}

INSTANTIATE_TEST_SUITE_P(
    AllRows, EnumerationEntry,
    testing::Values(EntryRow{"AcquisitionStatusSelector", "AcquisitionTriggerWait", "FrameBurstTriggerWait"},
                    EntryRow{"AutoFunctionProfile", "ExposureMinimum", "MinimizeExposureTime"},
                    EntryRow{"AutoFunctionProfile", "GainMinimum", "MinimizeGain"},
                    EntryRow{"ChunkSelector", "GainAll", "Gain"}, EntryRow{"EventNotification", "GenICamEvent", "On"},
                    EntryRow{"EventSelector", "AcquisitionStartOvertrigger", "FrameBurstStartOvertrigger"},
                    EntryRow{"EventSelector", "AcquisitionStart", "FrameBurstStart"},
                    EntryRow{"LightSourceSelector", "Daylight", "Daylight5000K"},
                    EntryRow{"LightSourceSelector", "Tungsten", "Tungsten2800K"},
                    EntryRow{"LineSource", "AcquisitionTriggerWait", "FrameBurstTriggerWait"},
                    EntryRow{"PixelFormat", "BGR10Packed", "BGR10"}, EntryRow{"PixelFormat", "BGR12Packed", "BGR12"},
                    EntryRow{"PixelFormat", "BGR8Packed", "BGR8"}, EntryRow{"PixelFormat", "BGRA8Packed", "BGRa8"},
                    EntryRow{"PixelFormat", "Mono1Packed", "Mono1p"}, EntryRow{"PixelFormat", "Mono2Packed", "Mono2p"},
                    EntryRow{"PixelFormat", "Mono4Packed", "Mono4p"}, EntryRow{"PixelFormat", "RGB10Packed", "RGB10"},
                    EntryRow{"PixelFormat", "RGB12Packed", "RGB12"}, EntryRow{"PixelFormat", "RGB16Packed", "RGB16"},
                    EntryRow{"PixelFormat", "RGB8Packed", "RGB8"}, EntryRow{"PixelFormat", "RGBA8Packed", "RGBa8"},
                    EntryRow{"PixelFormat", "YUV411Packed", "YCbCr411_8"},
                    EntryRow{"PixelFormat", "YUV422_YUYV_Packed", "YCbCr422_8"},
                    EntryRow{"PixelFormat", "YUV444Packed", "YCbCr8"},
                    EntryRow{"TriggerSelector", "AcquisitionStart", "FrameBurstStart"}));

struct WrappedEnumeration : testing::Test {
    support::DescribedMap map{Enumeration("LightSourcePreset", "Daylight5000K")};
    GenApi::INode* node = map->GetNode("LightSourcePreset");
    Tavix::CWrappedEnumeration wrapper{node, "LightSourceSelector"};
};

TEST_F(WrappedEnumeration, PassesNamesOutsideTheTableThrough) {
    wrapper.FromString("Plain");
    EXPECT_EQ(wrapper.ToString(), "Plain");
    EXPECT_THROW(wrapper.FromString("daylight"), GenICam::InvalidArgumentException);
}

TEST_F(WrappedEnumeration, KeepsTheCamerasNodeName) {
    EXPECT_EQ(wrapper.GetName(), "LightSourcePreset");
}

TEST_F(WrappedEnumeration, LeadsFromValueToNodeAndBackToItself) {
    GenApi::IEnumeration& value = wrapper;
    EXPECT_EQ(dynamic_cast<Tavix::CWrappedEnumeration*>(value.GetNode()), &wrapper);
}

TEST_F(WrappedEnumeration, AnswersAccessForAllItsFaces) {
    EXPECT_EQ(static_cast<GenApi::INode&>(wrapper).GetAccessMode(), GenApi::RW);
    node->ImposeAccessMode(GenApi::RO);
    EXPECT_EQ(static_cast<GenApi::ISelector&>(wrapper).GetAccessMode(), GenApi::RO);
    EXPECT_EQ(static_cast<GenApi::IEnumeration&>(wrapper).GetAccessMode(), GenApi::RO);
}

TEST_F(WrappedEnumeration, ForwardsSelectorQuestions) {
    GenApi::FeatureList_t features;
    EXPECT_TRUE(wrapper.IsSelector());
    wrapper.GetSelectedFeatures(features);
    ASSERT_EQ(features.size(), 1u);
    EXPECT_EQ(features[0]->GetNode()->GetName(), "Other");
}

TEST_F(WrappedEnumeration, WithAnUnknownNameTranslatesNothing) {
    Tavix::CWrappedEnumeration plain(node, "NoSuchName");
    EXPECT_THROW(plain.FromString("Daylight"), GenICam::InvalidArgumentException);
    plain.SetIntValue(1);
    EXPECT_EQ(plain.ToString(), "Daylight5000K");
}

TEST(EnumerationEntryOfBothNames, IsTakenByTheCurrentOne) {
    support::DescribedMap map(R"(<Enumeration Name="PixelFormat">
        <EnumEntry Name="BGR8Packed"><Value>1</Value></EnumEntry><EnumEntry Name="BGR8"><Value>2</Value></EnumEntry>
        <Value>1</Value></Enumeration>)");
    GenApi::INode* const node = map->GetNode("PixelFormat");
    Tavix::CWrappedEnumeration wrapper(node, "PixelFormat");
    EXPECT_EQ(2, wrapper.GetEntryByName("BGR8Packed")->GetValue());
    wrapper.FromString("BGR8Packed");
    EXPECT_EQ(2, wrapper.GetIntValue());
    EXPECT_EQ("BGR8Packed", wrapper.ToString());
}

} // namespace
