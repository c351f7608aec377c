// The control roads of the library, when memory or threads run out at any moment.
#include "support/Shortage.h"
#include "vexlo/XmlFile.h"
#include "vexlo/support/Fixture.h"

#include <atomic>

namespace {

using namespace vexlotest;
using namespace scripted;
using shortage::LiveAllocations;
using shortage::MemoryShortage;
using shortage::ThreadShortage;
using shortage::Whose;

std::atomic<int> g_calls{0};

void CountCall(const VxCallbackData*) {
    ++g_calls;
}

void OfferDescription(Camera& camera) {
    const Bytes text = Hex("3C612F3E");
    camera.Set(kFile, text);
    camera.Set64(kManifest, 1);
    camera.Set(kManifest + 8, Hex("01000001 00000101") + Little(kFile, 8) + Little(text.size(), 8) + Bytes(40));
}

/// All that an application does with the control side of a camera. True when everything went well.
bool UseOpen(CVxDevice& device) {
    const VxCallbackParams params{VxCallback_DeviceRemoved, nullptr, &device, CountCall};
    unsigned long handle = 0;
    const bool isRegistered = VxRegisterCallback(&params, &handle) == VX_OK;
    std::uint32_t value = 0;
    unsigned long count = sizeof value;
    bool isGood = isRegistered && device.ReadMem(&value, 0x90000, &count) == VX_OK;
    isGood = device.WriteMem(&value, 0x90000, sizeof value) == VX_OK && isGood;
    isGood = device.RewriteMem(&value, 0x90000, sizeof value) == VX_OK && isGood;
    try {
        CXmlFile file;
        isGood = device.ProvideXmlFile(file) == VX_OK && isGood;
    } catch (const std::bad_alloc&) {
        isGood = false; // the test's own file
    }
    EXPECT_EQ(VxDeregisterCallback(handle), isRegistered ? VX_OK : VX_E_NOT_FOUND);
    return isGood;
}

bool Use(const DeviceDiscoveryInfo& info) {
    if (Init() != VX_OK) return false;
    DeviceDiscoveryInfo found;
    bool isGood = CEnumerator::DeviceInfoFromPath(info.DevicePath, found) == VX_OK;
    CVxDevice* device = CVxDevice::CreateDevice(DeviceType_Libusb);
    const bool isOpen = device != nullptr && device->Open(info) == VX_OK;
    isGood = isOpen && UseOpen(*device) && isGood;
    EXPECT_TRUE(device == nullptr || device->Close() == (isOpen ? VX_OK : VX_E_NOT_OPEN));
    CVxDevice::DestroyDevice(device);
    Exit();
    return isGood;
}

DeviceDiscoveryInfo Find() {
    EXPECT_EQ(Init(), VX_OK);
    Collector collector;
    EXPECT_EQ(CEnumerator::Discover(&collector), VX_OK);
    Exit();
    return collector.found.at(0);
}

/// What is made once for the whole process is made here.
void UseOnce() {
    Camera camera;
    InjectBackends({std::make_shared<ScriptedBackend>(camera)});
    Use(Find());
    InjectBackends({});
}

/// Whether the shortage was met; nothing is left open, claimed or allocated after it, and all is well again.
bool LivesThrough(long left, long count) {
    const long before = LiveAllocations();
    bool wasMet = false;
    {
        Camera camera;
        OfferDescription(camera);
        camera.Set32(0x90000, 7);
        InjectBackends({std::make_shared<ScriptedBackend>(camera)});
        const DeviceDiscoveryInfo info = Find();
        {
            const MemoryShortage shortage(Whose::Mine, left, count);
            const bool isGood = Use(info);
            wasMet = shortage.WasMet();
            EXPECT_TRUE(wasMet || isGood);
        }
        EXPECT_EQ(camera.OpenHandles(), 0) << left;
        EXPECT_TRUE(camera.Claimed().empty()) << left;
        EXPECT_TRUE(Use(info)) << left;
        InjectBackends({});
    }
    EXPECT_EQ(LiveAllocations(), before) << left;
    return wasMet;
}

class ControlShortage : public testing::TestWithParam<long> {};

TEST_P(ControlShortage, OfMemoryAtEveryAllocationEndsNothingAndLeavesNothingBehind) {
    UseOnce();
    long tried = 0;
    for (long left = 0; LivesThrough(left, GetParam()) && !HasFailure(); ++left)
        ++tried;
    EXPECT_GT(tried, 50);
    RecordProperty("tried", static_cast<int>(tried));
}

INSTANTIATE_TEST_SUITE_P(Once, ControlShortage, testing::Values(1));
INSTANTIATE_TEST_SUITE_P(FromThereOn, ControlShortage, testing::Values(1000000));

/// Events come, the endpoint halts and recovers, and more events come. What is taken at the end tells how many.
class EventShortage : public OnScriptedCamera {
protected:
    EventShortage() { EXPECT_EQ(device->GetEventStream(&events), VX_OK); }
    std::uint64_t Count(CVxEventStream::EPropertyValue id) { return Property<std::uint64_t>(*events, id); }
    bool Come(std::uint64_t count) {
        return camera.WaitFor([&] { return Count(CVxEventStream::Property_TotalEventCount) >= count; });
    }
    void Send() {
        const shortage::AmpleMemory ours;
        camera.Send(kEventIn, {Hex("55335645 0000 000C 0C00 0000 0000 FF4F E803000000000000")});
    }
    void ComeAndRecover() {
        const std::uint64_t before = Count(CVxEventStream::Property_TotalEventCount);
        const unsigned int halts = camera.HaltsCleared(kEventIn);
        Send();
        ASSERT_TRUE(Come(before + 1));
        camera.Fail(kEventIn, usb::TransferStatus::Stall);
        ASSERT_TRUE(camera.WaitFor([&] { return camera.HaltsCleared(kEventIn) > halts; }));
        ASSERT_TRUE(camera.WaitFor([&] { return camera.Queued(kEventIn) == 8; }));
        Send();
        ASSERT_TRUE(Come(before + 3)) << "the failure counts as one";
    }

    CVxEventStream* events = nullptr;
};

TEST_F(EventShortage, OfMemoryOnThePumpsThreadCostsNoEventAndNoRecovery) {
    ASSERT_EQ(Open(), VX_OK);
    ASSERT_EQ(events->Open(), VX_OK);
    bool wasMet = true;
    for (long left = 0; wasMet && !HasFatalFailure(); ++left) {
        SCOPED_TRACE(left);
        const MemoryShortage shortage(Whose::Others, left);
        ComeAndRecover();
        wasMet = shortage.WasMet();
    }
    EXPECT_EQ(events->Close(), VX_OK);
}

TEST_F(EventShortage, OfAllMemoryOnThePumpsThreadLeavesAStreamThatCanBeOpenedAgain) {
    ASSERT_EQ(Open(), VX_OK);
    ASSERT_EQ(events->Open(), VX_OK);
    {
        const MemoryShortage shortage(Whose::Others, 0, 1000000);
        Send();
        EXPECT_TRUE(Come(1));
        camera.Fail(kEventIn, usb::TransferStatus::Stall);
        EXPECT_TRUE(Come(2)) << "the failure counts as one";
    }
    EXPECT_EQ(events->Close(), VX_OK);
    EXPECT_EQ(camera.Queued(kEventIn), 0u);
    ASSERT_EQ(events->Open(), VX_OK);
    ComeAndRecover();
}

TEST_F(EventShortage, OfMemoryWhileTheyAreSwitchedOnLeavesNothingQueued) {
    ASSERT_EQ(Open(), VX_OK);
    const auto claimed = camera.Claimed();
    long tried = 0;
    for (bool wasMet = true; wasMet && !HasFailure(); ++tried) {
        VxStatus status = VX_OK;
        {
            const MemoryShortage shortage(Whose::Mine, tried);
            status = events->Open();
            wasMet = shortage.WasMet();
        }
        if (status == VX_OK) {
            EXPECT_EQ(events->Close(), VX_OK);
        } else {
            EXPECT_EQ(status, VX_E_NO_MEMORY);
        }
        EXPECT_EQ(camera.Queued(kEventIn), 0u) << tried;
        EXPECT_EQ(camera.Claimed(), claimed) << tried;
    }
    EXPECT_GT(tried, 8);
}

class RemovalShortage : public OnScriptedCamera {};

TEST_F(RemovalShortage, OfMemoryOnTheNotifiersThreadLosesNoReport) {
    ASSERT_EQ(Open(), VX_OK);
    g_calls = 0;
    const VxCallbackParams params{VxCallback_DeviceRemoved, nullptr, device, CountCall};
    unsigned long handle = 0;
    ASSERT_EQ(VxRegisterCallback(&params, &handle), VX_OK);
    const MemoryShortage shortage(Whose::Others, 0, 1000000);
    camera.Unplug(/*announce=*/true);
    EXPECT_TRUE(camera.WaitFor([] { return g_calls == 1; }));
}

TEST_F(RemovalShortage, OfThreadsAtTheOpeningLosesNoReportLater) {
    {
        const ThreadShortage shortage;
        ASSERT_EQ(Open(), VX_OK) << "registers can be used all the same";
    }
    g_calls = 0;
    const VxCallbackParams params{VxCallback_DeviceRemoved, nullptr, device, CountCall};
    unsigned long handle = 0;
    ASSERT_EQ(VxRegisterCallback(&params, &handle), VX_OK);
    camera.Unplug(/*announce=*/true);
    EXPECT_TRUE(camera.WaitFor([] { return g_calls == 1; }));
}

} // namespace
