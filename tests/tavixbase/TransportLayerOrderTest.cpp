// What the transport layer's base does before what, and what it leaves alone.

#include "tavixbase/support/FakeTransportLayer.h"
#include "tavixbase/support/Scoped.h"

#include <GenApi/NodeMapRef.h>
#include <GenApi/Pointer.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace Tavix {
namespace {

class TransportLayerOrder : public testing::Test {
protected:
    ITavixDevice* Create(const char* fullName) {
        return tl.CreateDeviceImpl(Discovered("FakeCam", fullName), gcstring_vector());
    }

    const ScopedBindings bindings;
    FakeTransportLayer tl;
};

// Looks whether there is a device yet.
struct LookingObserver final : IDeviceCreationObserver {
    explicit LookingObserver(const DeviceDiary& diary) : m_Diary(diary) {}
    void OnCreateDevice(CDeviceInfo&, gcstring_vector&) override { sawDevice = m_Diary.isAlive; }
    bool sawDevice = true;

private:
    const DeviceDiary& m_Diary;
};

// Writes down which device goes and whether the set still has it.
struct DepartingDevice final : ITavixDevicePrivate, ApplicationSideOfFakeDevice {
    DepartingDevice(CreatedDevices& all, std::vector<const ITavixDevice*>& gone)
        : ApplicationSideOfFakeDevice(CDeviceInfo()), m_All(all), m_Gone(gone) {
        GenApi::AutoLock guard(m_All.lock);
        m_All.devices.insert(this);
    }
    void CreateNodemapFromFile(const gcstring&, const gcstring_vector&) override {}
    void CreateNodemapFromString(const gcstring&, const gcstring_vector&) override {}
    void ExtractChunkDataNodeMapFromFile(const gcstring&, const gcstring_vector&) override {}
    void ExtractChunkDataNodeMapFromString(const gcstring&, const gcstring_vector&) override {}
    bool GetChunkDataNodeMapSupported() const override { return false; }
    bool ChunkDataXmlDescriptionAvailable() const override { return false; }
    boost::shared_ptr<GenApi::CNodeMapRef> CreateChunkNodeMap() override { return {}; }
    void Delete() override {
        {
            GenApi::AutoLock guard(m_All.lock);
            EXPECT_EQ(m_All.devices.count(this), 1U) << "it is the set's until it is gone";
        }
        m_Gone.push_back(this);
        delete this;
    }

private:
    CreatedDevices& m_All;
    std::vector<const ITavixDevice*>& m_Gone;
};

} // namespace

TEST_F(TransportLayerOrder, CountsNothingWhenSwitchedOffHoweverLongTheListIs) {
    const ScopedVariable variable("TAVIX_USE_TL", "OtherCam");
    FakeTransportLayer off;
    DeviceInfoList list, filter;
    list.push_back(Discovered("FakeCam", "old"));
    filter.push_back(CDeviceInfo());
    EXPECT_EQ(off.EnumerateDevices(list, /*addToList=*/true), 0);
    EXPECT_EQ(off.EnumerateDevices(list, filter, /*addToList=*/true), 0);
    EXPECT_EQ(list.size(), 1U);
}

TEST_F(TransportLayerOrder, CountsNothingForAnotherClassHoweverLongTheListIs) {
    DeviceInfoList list, filter;
    list.push_back(Discovered("FakeCam", "old"));
    filter.push_back(CDeviceInfo().SetDeviceClass("OtherCam"));
    EXPECT_EQ(tl.EnumerateDevices(list, filter, /*addToList=*/true), 0);
    EXPECT_EQ(list.size(), 1U);
}

TEST_F(TransportLayerOrder, BuildsTheChunkNodeMapAlsoWhenTheParameterIsReadOnly) {
    for (const GenApi::EAccessMode mode : {GenApi::RO, GenApi::RW}) {
        FakeTransportLayer one;
        one.GetNodeMap()->GetNode("ChunkNodeMapSupportEnable")->ImposeAccessMode(mode);
        one.CreateDeviceImpl(Discovered("FakeCam", "cam"), gcstring_vector());
        EXPECT_EQ(one.diary->calls.size(), 2U) << mode;
    }
}

TEST_F(TransportLayerOrder, AsksTheObserverBeforeThereIsADevice) {
    LookingObserver observer(*tl.diary);
    tl.SetDeviceCreationObserver(&observer);
    Create("cam");
    EXPECT_FALSE(observer.sawDevice);
    EXPECT_TRUE(tl.diary->isAlive);
}

TEST_F(TransportLayerOrder, FindsADeviceByItsWholePathOnly) {
    for (const char* name : {"1:2:30", "1:2:3"})
        tl.attached.push_back(Discovered("FakeCam", name));
    EXPECT_EQ(tl.CreateDevice("1:2"), nullptr);
    EXPECT_EQ(tl.CreateDevice(""), nullptr);
    EXPECT_EQ(tl.CreateDevice("1:2:300"), nullptr);
    EXPECT_EQ(tl.CreateDevice("1:2:3")->GetDeviceInfo().GetFullName(), "1:2:3");
}

TEST(CreatedDevicesOrder, ForgetsADeviceOnlyWhenItIsGone) {
    CreatedDevices all;
    std::vector<const ITavixDevice*> gone;
    ITavixDevice* const pDevice = new DepartingDevice(all, gone);
    GenApi::AutoLock guard(all.lock);
    all.Destroy(pDevice);
    EXPECT_EQ(gone.size(), 1U);
    EXPECT_TRUE(all.devices.empty());
}

TEST(CreatedDevicesOrder, TakesTheFirstUntilNoneIsLeft) {
    CreatedDevices all;
    std::vector<const ITavixDevice*> gone;
    for (int i = 0; i < 8; ++i)
        new DepartingDevice(all, gone);
    all.DestroyAll();
    EXPECT_EQ(gone.size(), 8U);
    EXPECT_TRUE(std::is_sorted(gone.begin(), gone.end(), std::less<>()));
}

} // namespace Tavix
