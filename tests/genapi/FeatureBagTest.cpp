// Settings as text.
#include "genapi/support/TestMap.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace GenApi;
using genapi_test::TestMap;

namespace {

class CameraMap : public TestMap {
public:
    CameraMap() {
        Add("Integer", "Width", {{"Value", "640", ""}, {"Max", "1000", ""}, {"Streamable", "Yes", ""}});
        Add("String", "Name", {{"Value", "two\nlines\\", ""}, {"Streamable", "Yes", ""}});
        Add("Integer", "Temporary", {{"Value", "1", ""}});
        Add("Integer", "Fixed", {{"Value", "1", ""}, {"Streamable", "Yes", ""}, {"ImposedAccessMode", "RO", ""}});
        Add("Integer", "Selector", {{"Value", "1", ""}, {"Min", "0", ""}, {"Max", "2", ""}, {"pSelected", "Gain", ""}});
        AddRegister("IntReg", "GainReg", "0", {{"pIndex", "Selector", "4"}});
        Add("Integer", "Gain", {{"pValue", "GainReg", ""}, {"Streamable", "Yes", ""}}).Ready();
    }
};

} // namespace

TEST(FeatureBag, StoresWhatMayBeStoredOnceForEachSelectorValue) {
    CameraMap map;
    map.port.Put(0, {7, 0, 0, 0, 8, 0, 0, 0, 9});
    CFeatureBag bag;
    bag.SetInfo("a camera");
    EXPECT_TRUE(bag.StoreToBag(&map));
    std::ostringstream text;
    text << bag;
    EXPECT_EQ(text.str(), "# a camera\nWidth\t640\nName\ttwo\\nlines\\\\\nSelector\t0\nGain\t7\nSelector\t1\nGain\t8\n"
                          "Selector\t2\nGain\t9\nSelector\t1\n");
    EXPECT_EQ(map.Integer("Selector").GetValue(), 1);
}

TEST(FeatureBag, DoesNotWalkASelectorWithoutLimits) {
    TestMap map;
    map.Add("Integer", "Selector", {{"Value", "1", ""}, {"pSelected", "Gain", ""}});
    map.Add("Integer", "Gain", {{"Value", "5", ""}, {"Streamable", "Yes", ""}}).Ready();
    CFeatureBag bag;
    EXPECT_TRUE(bag.StoreToBag(&map));
    std::ostringstream text;
    text << bag;
    EXPECT_EQ(text.str(), "Selector\t1\nGain\t5\nSelector\t1\n");
}

TEST(FeatureBag, BringsTheSettingsToAnotherMap) {
    CameraMap from;
    from.port.Put(0, {7, 0, 0, 0, 8, 0, 0, 0, 9});
    from.Integer("Width").SetValue(320);
    CFeatureBag bag;
    bag.StoreToBag(&from);
    std::stringstream text;
    text << bag;
    CFeatureBag copy;
    text >> copy;
    CameraMap to;
    EXPECT_TRUE(copy.LoadFromBag(&to));
    EXPECT_EQ(to.Integer("Width").GetValue(), 320);
    EXPECT_EQ(to.As<IString>("Name").GetValue(), "two\nlines\\");
    EXPECT_EQ(to.port.Get(0, 9), (std::vector<uint8_t>{7, 0, 0, 0, 8, 0, 0, 0, 9}));
}

TEST(FeatureBag, CollectsTheLinesThatFail) {
    CameraMap map;
    std::istringstream text("# comment\n\nno tab\nWidth\t5000\nNobody\t1\nWidth\t100\n");
    CFeatureBag bag;
    text >> bag;
    GenICam::gcstring_vector errors;
    EXPECT_FALSE(bag.LoadFromBag(&map, /*Verify=*/true, &errors));
    ASSERT_EQ(errors.size(), 2u);
    EXPECT_EQ(errors[1], "Nobody: There is no such feature.");
    EXPECT_EQ(map.Integer("Width").GetValue(), 100);
    EXPECT_TRUE(bag.LoadFromBag(&map, /*Verify=*/false));
}

TEST(FeatureBag, KeepsToItsMaximum) {
    CameraMap map;
    CFeatureBag bag;
    bag.StoreToBag(&map, 1);
    std::ostringstream text;
    text << bag;
    EXPECT_EQ(text.str(), "Width\t640\n");
    EXPECT_THROW(bag.StoreToBag(nullptr), GenICam::InvalidArgumentException);
}
