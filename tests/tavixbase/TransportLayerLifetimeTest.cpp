#include "tavixbase/support/Expect.h"
#include "tavixbase/support/FakeTransportLayer.h"
#include "tavixbase/support/LogRecorder.h"

#include <GenApi/Pointer.h>

#include <chrono>
#include <future>
#include <optional>

namespace Tavix {
namespace {

constexpr const char* kNotMine = "Trying to destroy device which hasn't been created by me";

class TransportLayerLifetime : public testing::Test {
protected:
    ITavixDevice* Create(const char* fullName = "cam1") {
        return tl->CreateDeviceImpl(Discovered("FakeCam", fullName), gcstring_vector());
    }

    std::optional<FakeTransportLayer> tl{std::in_place};
    const std::shared_ptr<DeviceDiary> diary = tl->diary;
};

// Looks at its devices from another thread when a reference comes back.
class TransportLayerThatLooks final : public FakeTransportLayer {
public:
    std::uint64_t Release() override {
        wasAlive = diary->isAlive;
        m_Look = std::async(std::launch::async,
                            [this] { EXPECT_THROW_TEXT(LogicalErrorException, DestroyDevice(nullptr), kNotMine); });
        wasLocked = m_Look.wait_for(std::chrono::seconds(30)) != std::future_status::ready;
        return FakeTransportLayer::Release();
    }

    bool wasAlive = true, wasLocked = true;

private:
    std::future<void> m_Look; // waits for its end only when the lock is given back for certain
};

class TransportLayerThatCountsDeletes final : public FakeTransportLayer {
public:
    void Delete() override { ++deletes; }
    int deletes = 0;
};

} // namespace

TEST(TransportLayerReference, DeletesTheTransportLayerWithTheLastOne) {
    TransportLayerThatCountsDeletes tl;
    tl.CreateDeviceImpl(Discovered("FakeCam", "cam1"), gcstring_vector());
    EXPECT_EQ(tl.Release(), 1U);
    EXPECT_EQ(tl.deletes, 0);
    EXPECT_EQ(tl.Release(), 0U);
    EXPECT_EQ(tl.deletes, 1);
}

TEST_F(TransportLayerLifetime, IsBornWithOneReference) {
    EXPECT_EQ(tl->Release(), 0U);
}

TEST_F(TransportLayerLifetime, HoldsOneReferenceForEachLiveDevice) {
    Create("a");
    Create("b");
    EXPECT_EQ(tl->Release(), 2U);
}

TEST_F(TransportLayerLifetime, GivesADevicesReferenceBackWithIt) {
    ITavixDevice* const pFirst = Create("a");
    ITavixDevice* const pSecond = Create("b");
    tl->DestroyDevice(pFirst);
    tl->DestroyDevice(pSecond);
    EXPECT_EQ(tl->Release(), 0U);
}

TEST(TransportLayerReference, ComesBackWhenTheDeviceIsGoneAndTheSetUnlocked) {
    TransportLayerThatLooks tl;
    tl.DestroyDevice(tl.CreateDeviceImpl(Discovered("FakeCam", "cam1"), gcstring_vector()));
    EXPECT_FALSE(tl.wasAlive);
    EXPECT_FALSE(tl.wasLocked);
}

TEST_F(TransportLayerLifetime, ReleasingTheLastReferenceDeletesNothing) {
    EXPECT_EQ(tl->Release(), 0U);
    tl->Delete();
    EXPECT_EQ(tl->GetTlInfo().GetDeviceClass(), "FakeCam");
}

TEST_F(TransportLayerLifetime, DestroysADeviceOnce) {
    ITavixDevice* const pDevice = Create();
    EXPECT_TRUE(diary->isAlive);
    tl->DestroyDevice(pDevice);
    EXPECT_FALSE(diary->isAlive);
    EXPECT_THROW_TEXT(LogicalErrorException, tl->DestroyDevice(pDevice), kNotMine);
}

TEST_F(TransportLayerLifetime, RefusesToDestroyWhatIsNotItsOwn) {
    FakeTransportLayer other;
    ITavixDevice* const pDevice = other.CreateDeviceImpl(Discovered("FakeCam", "x"), gcstring_vector());
    EXPECT_THROW_TEXT(LogicalErrorException, tl->DestroyDevice(pDevice), kNotMine);
    EXPECT_TRUE(other.diary->isAlive);
    EXPECT_THROW_TEXT(LogicalErrorException, tl->DestroyDevice(nullptr), kNotMine);
}

TEST_F(TransportLayerLifetime, DestroyAllDevicesGivesNoReferencesBack) {
    Create("a");
    Create("b");
    int destroyed = 0;
    diary->onDelete = [&] { ++destroyed; };
    tl->DestroyAllDevices();
    EXPECT_EQ(destroyed, 2);
    EXPECT_EQ(tl->Release(), 2U);
    tl->DestroyAllDevices();
    EXPECT_EQ(destroyed, 2);
}

TEST_F(TransportLayerLifetime, TheDestructorDestroysDevicesStillAlive) {
    Create();
    int destroyed = 0;
    diary->onDelete = [&] { ++destroyed; };
    tl.reset();
    EXPECT_EQ(destroyed, 1);
    EXPECT_FALSE(diary->isAlive);
}

TEST_F(TransportLayerLifetime, TheDestructorSurvivesDevicesThatThrow) {
    Create("a");
    Create("b");
    int destroyed = 0;
    diary->onDelete = [&] {
        if (++destroyed == 1) throw RUNTIME_EXCEPTION("stuck");
        throw 42;
    };
    const LogRecorder log("tavix.base.TL");
    tl.reset();
    EXPECT_EQ(destroyed, 2);
    ASSERT_EQ(log.Lines().size(), 2U);
    EXPECT_EQ(log.Count(256, "stuck"), 1);
    EXPECT_TRUE(log.Has(256, "Unknown error destroying a device with its transport layer"));
}

TEST_F(TransportLayerLifetime, ForgetsADeviceWhoseDestructionThrows) {
    ITavixDevice* const pDevice = Create();
    diary->onDelete = [] { throw RUNTIME_EXCEPTION("stuck"); };
    EXPECT_THROW_TEXT(RuntimeException, tl->DestroyDevice(pDevice), "stuck");
    EXPECT_THROW_TEXT(LogicalErrorException, tl->DestroyDevice(pDevice), kNotMine);
    EXPECT_EQ(tl->Release(), 0U); // the device's reference is given back
}

TEST_F(TransportLayerLifetime, ADeviceMayComeBackWhileItIsDestroyed) {
    ITavixDevice* const pDevice = Create();
    bool refused = false;
    diary->onDelete = [&] {
        try {
            tl->DestroyDevice(nullptr);
        } catch (const GenICam::LogicalErrorException&) {
            refused = true;
        }
    };
    tl->DestroyDevice(pDevice);
    EXPECT_TRUE(refused);
}

TEST_F(TransportLayerLifetime, OffersTheDefaultParametersUnlessTheHookHasOthers) {
    GenApi::INodeMap* const pDefault = tl->GetNodeMap();
    ASSERT_NE(pDefault, nullptr);
    EXPECT_TRUE(GenApi::CBooleanPtr(pDefault->GetNode("ChunkNodeMapSupportEnable")).IsValid());
    GenApi::INodeMap* const pOther = CreateDefaultTransportLayerParams();
    tl->ownNodeMap = pOther;
    EXPECT_EQ(tl->GetNodeMap(), pOther);
    DestroyDefaultTransportLayerParams(pOther);
}

TEST_F(TransportLayerLifetime, IsItsOwnXmlFileProvider) {
    IXmlFileProvider* const pProvider = tl->GetXmlFileProvider();
    EXPECT_EQ(pProvider, static_cast<IXmlFileProvider*>(&*tl));
}

TEST_F(TransportLayerLifetime, CreatesAnInfoWithItsDeviceClass) {
    EXPECT_EQ(tl->CreateDeviceInfo(), CDeviceInfo().SetDeviceClass("FakeCam"));
}

} // namespace Tavix
