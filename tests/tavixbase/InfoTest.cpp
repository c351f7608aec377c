#include "tavix/Container.h"

#include <gtest/gtest.h>

namespace Tavix {

TEST(Info, AnswersNotAvailableForWhatIsNotSet) {
    const CDeviceInfo info;
    gcstring value = "before";
    EXPECT_FALSE(info.GetPropertyValue("ModelName", value));
    EXPECT_EQ(value, CInfoBase::PropertyNotAvailable);
    EXPECT_EQ(info.GetModelName(), "N/A");
    EXPECT_FALSE(info.IsModelNameAvailable());
}

TEST(Info, KeepsAnEmptyValueApartFromAnUnsetOne) {
    CDeviceInfo info;
    info.SetModelName("");
    EXPECT_TRUE(info.IsModelNameAvailable());
    EXPECT_EQ(info.GetModelName(), "");
}

TEST(Info, SetsEachPropertyByTheAccessorsName) {
    CDeviceInfo info;
    info.SetFriendlyName("f").SetFullName("u").SetVendorName("v").SetDeviceClass("c").SetModelName("m");
    info.SetSerialNumber("s").SetUserDefinedName("d").SetDeviceFactory("t").SetXMLSource("x");
    gcstring_vector names;
    EXPECT_EQ(info.GetPropertyNames(names), 9);
    EXPECT_EQ(names, (gcstring_vector{"DeviceClass", "DeviceFactory", "FriendlyName", "FullName", "ModelName",
                                      "SerialNumber", "UserDefinedName", "VendorName", "XMLSource"}));
    EXPECT_EQ(info.GetFriendlyName() + info.GetFullName() + info.GetVendorName() + info.GetDeviceClass(), "fuvc");
    EXPECT_EQ(info.GetModelName() + info.GetSerialNumber() + info.GetUserDefinedName(), "msd");
    EXPECT_EQ(info.GetDeviceFactory() + info.GetXMLSource(), "tx");
}

TEST(Info, ReplacesTheListOfNames) {
    gcstring_vector names{"old"};
    EXPECT_EQ(CTlInfo().GetPropertyNames(names), 0);
    EXPECT_TRUE(names.empty());
}

TEST(Info, CountsAsUserProvidedUntilCleared) {
    CDeviceInfo info;
    EXPECT_TRUE(info.IsUserProvided());
    info.ClearUserProvided();
    EXPECT_FALSE(info.IsUserProvided());
    EXPECT_FALSE(CDeviceInfo(info).IsUserProvided());
    info.SetModelName("m");
    EXPECT_TRUE(info.IsUserProvided());
}

TEST(Info, BecomesModifiedBySettingAndRemoving) {
    CDeviceInfo info;
    EXPECT_FALSE(info.IsModified());
    info.SetModelName("m");
    EXPECT_TRUE(info.IsModified());
    info.ClearModified();
    EXPECT_FALSE(info.RemoveProperty("SerialNumber"));
    EXPECT_FALSE(info.IsModified());
    EXPECT_TRUE(info.RemoveProperty("ModelName"));
    EXPECT_TRUE(info.IsModified());
    EXPECT_FALSE(info.IsModelNameAvailable());
}

TEST(Info, IsSubsetWantsEveryPropertyWithAnEqualValue) {
    CDeviceInfo device;
    device.SetModelName("m").SetSerialNumber("1");
    EXPECT_TRUE(device.IsSubset(CDeviceInfo()));
    EXPECT_TRUE(device.IsSubset(CDeviceInfo().SetModelName("m")));
    EXPECT_TRUE(device.IsSubset(device));
    EXPECT_FALSE(device.IsSubset(CDeviceInfo().SetModelName("M")));
    EXPECT_FALSE(device.IsSubset(CDeviceInfo().SetModelName("m").SetVendorName("v")));
    EXPECT_FALSE(device.IsSubset(CDeviceInfo().SetVendorName("N/A")));
}

TEST(Info, IsSubsetLooksAwayFromHiddenProperties) {
    CDeviceInfo device, pattern;
    device.SetModelName("m");
    pattern.SetModelName("m").SetPropertyValue("_sap", "100");
    EXPECT_TRUE(device.IsSubset(pattern));
    pattern.SetPropertyValue("_BornFree", "1");
    EXPECT_TRUE(device.IsSubset(pattern));
    pattern.SetModelName("other");
    EXPECT_FALSE(device.IsSubset(pattern));
}

TEST(Info, IsSubsetLooksAtAllOtherPropertiesWhateverTheirNames) {
    CDeviceInfo device;
    device.SetModelName("m");
    for (const char* name : {"_Note", "_", "_sap2", "_bornfree"}) {
        CDeviceInfo pattern;
        pattern.SetPropertyValue(name, "1");
        EXPECT_FALSE(device.IsSubset(pattern)) << name;
    }
}

TEST(Info, ComparesByProperties) {
    CDeviceInfo a, b;
    a.SetModelName("m");
    EXPECT_TRUE(a != b);
    b.SetModelName("m").ClearUserProvided();
    EXPECT_TRUE(a == b);
}

TEST(TList, BehavesAsASequence) {
    TlInfoList list;
    EXPECT_TRUE(list.empty());
    list.push_back(CTlInfo().SetFullName("b"));
    list.insert(list.begin(), CTlInfo().SetFullName("a"));
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list.front().GetFullName(), "a");
    EXPECT_EQ(list.back().GetFullName(), "b");
    EXPECT_EQ(list[1].GetFullName(), "b");
    EXPECT_THROW(list.at(2), std::out_of_range);
    list.erase(list.begin());
    EXPECT_EQ(list.begin()->GetFullName(), "b");
    list.pop_back();
    EXPECT_TRUE(list.begin() == list.end());
}

} // namespace Tavix
