// The camera as an application meets it: features of a node map over the device's registers.

#include <GenApi/GenApi.h>
#include <GenICam.h>
#include <gtest/gtest.h>

#include "virtualcam/device/Device.h"
#include "virtualcam/device/Manifest.h"

namespace {

using GenApi::CBooleanPtr;
using GenApi::CCommandPtr;
using GenApi::CEnumerationPtr;
using GenApi::CFloatPtr;
using GenApi::CIntegerPtr;
using GenApi::CNodePtr;
using GenApi::CRegisterPtr;
using GenApi::CStringPtr;
using virtualcam::CameraSettings;
using virtualcam::Device;

// Registers of a device as a port.
class DevicePort final : public GenApi::CPortImpl {
public:
    explicit DevicePort(Device& device) : m_Device(device) {}
    GenApi::EAccessMode GetAccessMode() const override { return GenApi::RW; }
    void Read(void* buffer, int64_t address, int64_t length) override {
        Check(m_Device.ReadRegister(static_cast<std::uint64_t>(address), static_cast<std::uint8_t*>(buffer),
                                    static_cast<std::size_t>(length)));
    }
    void Write(const void* buffer, int64_t address, int64_t length) override {
        Check(m_Device.WriteRegister(static_cast<std::uint64_t>(address), static_cast<const std::uint8_t*>(buffer),
                                     static_cast<std::size_t>(length)));
    }

private:
    Device& m_Device;
    static void Check(virtualcam::Status status) {
        if (status != virtualcam::Status::Success) throw GenICam::AccessException("refused", "DevicePort", 0);
    }
};

struct FeaturesTest : testing::Test {
    Device device{CameraSettings{}};
    DevicePort port{device};
    GenApi::CNodeMapRef map;

    FeaturesTest() {
        map._LoadXMLFromString(virtualcam::BuiltInDescription().c_str());
        EXPECT_TRUE(map._Connect(&port, "Device"));
    }
    template<class P>
    P Get(const char* name) {
        P pointer = map._GetNode(name);
        EXPECT_TRUE(pointer.IsValid()) << name;
        return pointer;
    }
    CIntegerPtr Integer(const char* name) { return Get<CIntegerPtr>(name); }
    CFloatPtr Float(const char* name) { return Get<CFloatPtr>(name); }
    CEnumerationPtr Enumeration(const char* name) { return Get<CEnumerationPtr>(name); }
    bool IsWritable(const char* name) { return GenApi::IsWritable(Get<CNodePtr>(name)); }
    bool IsAvailable(const char* name) { return GenApi::IsAvailable(Get<CNodePtr>(name)); }
};

TEST_F(FeaturesTest, AreAllReadableThatSaySo) {
    GenApi::NodeList_t nodes;
    map._GetNodes(nodes);
    int read = 0;
    for (GenApi::INode* node : nodes) {
        const GenApi::CValuePtr value = node;
        if (!value.IsValid() || !GenApi::IsReadable(node)) continue;
        EXPECT_NO_THROW(value->ToString(/*Verify=*/true)) << node->GetName().c_str();
        ++read;
    }
    EXPECT_GT(read, 200);
}

TEST_F(FeaturesTest, KeepSizeAndOffsetWithinTheSensor) {
    EXPECT_EQ(Integer("Width")->GetMax(), 1280);
    EXPECT_EQ(Integer("OffsetX")->GetMax(), 0);
    Integer("Width")->SetValue(640);
    EXPECT_EQ(Integer("OffsetX")->GetMax(), 640);
    Integer("OffsetX")->SetValue(400);
    EXPECT_EQ(Integer("Width")->GetMax(), 880);
    EXPECT_EQ(Integer("Width")->GetInc(), 4);
    EXPECT_EQ(Integer("PayloadSize")->GetValue(), 640 * 1024);
    Enumeration("PixelFormat")->FromString("Mono12p");
    EXPECT_EQ(Integer("PayloadSize")->GetValue(), 640 * 1024 * 3 / 2);
    EXPECT_EQ(Enumeration("PixelSize")->ToString(), "Bpp12");
}

TEST_F(FeaturesTest, FollowBinning) {
    Integer("BinningHorizontal")->SetValue(2);
    EXPECT_EQ(Integer("WidthMax")->GetValue(), 640);
    EXPECT_EQ(Integer("Width")->GetValue(), 640);
    EXPECT_EQ(Integer("PayloadSize")->GetValue(), 640 * 1024);
}

TEST_F(FeaturesTest, LockSizesForTheTransportLayer) {
    EXPECT_TRUE(IsWritable("Width"));
    Integer("TLParamsLocked")->SetValue(1);
    for (const char* name : {"Width", "Height", "PixelFormat", "ChunkModeActive", "BinningVertical", "UserSetLoad"})
        EXPECT_FALSE(IsWritable(name)) << name;
    EXPECT_TRUE(IsWritable("Gain"));
    Integer("TLParamsLocked")->SetValue(0);
    EXPECT_TRUE(IsWritable("Width"));
}

TEST_F(FeaturesTest, OfferRawFormsByTheirCastAliases) {
    Float("Gain")->SetValue(3.5);
    EXPECT_EQ(Integer("GainRaw")->GetValue(), 35);
    EXPECT_DOUBLE_EQ(Float("Gain")->GetMax(), 24.0);
    Integer("GainRaw")->SetValue(12);
    EXPECT_DOUBLE_EQ(Float("Gain")->GetValue(), 1.2);
    const std::pair<const char*, const char*> aliases[] = {{"Gain", "GainRaw"},
                                                           {"ExposureTime", "ExposureTicks"},
                                                           {"BlackLevel", "BlackLevelRaw"},
                                                           {"BalanceRatio", "BalanceTicks"},
                                                           {"TimerDuration", "TimerDurationTicks"},
                                                           {"TimerDelay", "TimerDelayTicks"}};
    for (const auto& [name, alias] : aliases) {
        GenApi::INode* const cast = Get<CNodePtr>(name)->GetCastAlias();
        ASSERT_NE(cast, nullptr) << name;
        EXPECT_STREQ(cast->GetName().c_str(), alias);
        EXPECT_TRUE(CIntegerPtr(cast).IsValid());
    }
}

TEST_F(FeaturesTest, HoldAutomaticSettingsFast) {
    EXPECT_TRUE(IsWritable("ExposureTime"));
    Enumeration("ExposureAuto")->FromString("Continuous");
    EXPECT_FALSE(IsWritable("ExposureTime"));
    EXPECT_TRUE(IsWritable("Gain"));
}

TEST_F(FeaturesTest, TellSelectorsApart) {
    Enumeration("TriggerSelector")->FromString("FrameBurstStart");
    Enumeration("TriggerMode")->FromString("On");
    Enumeration("TriggerSelector")->FromString("FrameStart");
    EXPECT_EQ(Enumeration("TriggerMode")->ToString(), "Off");
    EXPECT_TRUE(IsAvailable("TriggerSoftware"));
    Enumeration("TriggerSource")->FromString("Line2");
    EXPECT_FALSE(IsAvailable("TriggerSoftware"));
    EXPECT_TRUE(IsAvailable("TriggerActivation"));
    Enumeration("TriggerSelector")->FromString("FrameBurstStart");
    EXPECT_EQ(Enumeration("TriggerMode")->ToString(), "On");
    EXPECT_TRUE(IsAvailable("TriggerSoftware"));
    GenApi::CSelectorPtr selector = map._GetNode("TriggerSelector");
    GenApi::FeatureList_t selected;
    selector->GetSelectedFeatures(selected);
    EXPECT_EQ(selected.size(), 5u);
}

TEST_F(FeaturesTest, EnableChunks) {
    EXPECT_FALSE(IsAvailable("ChunkSelector"));
    const std::int64_t plain = Integer("PayloadSize")->GetValue();
    Get<CBooleanPtr>("ChunkModeActive")->SetValue(true);
    Enumeration("ChunkSelector")->FromString("Image");
    EXPECT_FALSE(IsWritable("ChunkEnable"));
    Enumeration("ChunkSelector")->FromString("PayloadCRC16");
    Get<CBooleanPtr>("ChunkEnable")->SetValue(true);
    EXPECT_EQ(Integer("PayloadSize")->GetValue(), plain + 8 + 12);
    EXPECT_FALSE(IsAvailable("ChunkPayloadCRC16")) << "no buffer is attached";
}

TEST_F(FeaturesTest, RereadEverythingAfterAUserSetWasLoaded) {
    Integer("Width")->SetValue(320);
    Float("Gain")->SetValue(5);
    Enumeration("UserSetSelector")->FromString("Default");
    EXPECT_FALSE(IsAvailable("UserSetSave"));
    Get<CCommandPtr>("UserSetLoad")->Execute();
    EXPECT_EQ(Integer("Width")->GetValue(), 1280);
    EXPECT_DOUBLE_EQ(Float("Gain")->GetValue(), 0);
    EXPECT_EQ(Integer("PayloadSize")->GetValue(), 1280 * 1024);
}

TEST_F(FeaturesTest, ReachTheLookUpTableByEntryAndAsAWhole) {
    EXPECT_EQ(Get<CRegisterPtr>("LUTValueAll")->GetLength(), 8192);
    Integer("LUTIndex")->SetValue(1000);
    EXPECT_EQ(Integer("LUTValue")->GetValue(), 1000);
    Integer("LUTValue")->SetValue(77);
    std::uint8_t table[8192];
    Get<CRegisterPtr>("LUTValueAll")->Get(table, sizeof table);
    EXPECT_EQ(table[2000], 77);
}

TEST_F(FeaturesTest, IdentifyTheDevice) {
    EXPECT_EQ(Get<CStringPtr>("DeviceVendorName")->GetValue(), "Vandrel");
    EXPECT_EQ(Get<CStringPtr>("DeviceModelName")->GetValue(), "VC-1300");
    Get<CStringPtr>("DeviceUserID")->SetValue("left");
    EXPECT_EQ(device.UserName(), "left");
    Get<CCommandPtr>("TimestampLatch")->Execute();
    EXPECT_GT(Integer("TimestampLatchValue")->GetValue(), 0);
    EXPECT_NEAR(Float("DeviceTemperature")->GetValue(), 40, 3);
}

TEST_F(FeaturesTest, SetTheFrameRateOnlyWhileItCounts) {
    Float("AcquisitionFrameRate")->SetValue(50);
    EXPECT_DOUBLE_EQ(Float("ResultingFrameRate")->GetValue(), 50);
    Get<CBooleanPtr>("AcquisitionFrameRateEnable")->SetValue(false);
    EXPECT_FALSE(IsWritable("AcquisitionFrameRate"));
    EXPECT_GT(Float("ResultingFrameRate")->GetValue(), 100);
    Enumeration("DeviceLinkThroughputLimitMode")->FromString("On");
    Integer("DeviceLinkThroughputLimit")->SetValue(1280 * 1024 / 1000 * 1000);
    EXPECT_NEAR(Float("ResultingFrameRate")->GetValue(), 1.0, 0.001);
}

} // namespace
