// The real bus, when memory or threads run out at any moment: nothing throws, nothing stays open, no notice is lost.
#include "support/Shortage.h"
#include "usb/HotplugHandlers.h"
#include "usb/support/LibusbTest.h"
#include "usb/trace/TracedBackend.h"

#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <string>

#include <unistd.h>

namespace {

using shortage::LiveAllocations;
using shortage::MemoryShortage;
using shortage::ThreadShortage;
using shortage::Whose;
using usb::HotplugEvent;
using usb::Result;

constexpr usb::ControlSetup kReadScratch{0xC0, TestDevice::kScratchRequest, 0, 0, 64};

/// Runs the operation with the first allocation failing, then with the second, until there is none left to fail.
long FailEachAllocationOf(const std::function<void()>& operation, long count = 1) {
    long allocation = 0;
    for (bool wasMet = true; wasMet && !testing::Test::HasFailure(); ++allocation) {
        const MemoryShortage shortage(Whose::Mine, allocation, count);
        operation();
        wasMet = shortage.WasMet();
    }
    return allocation - 1;
}

/// All that is asked of a bus from outside, on one thread.
void Use(usb::Backend& bus, const std::string& id) {
    std::vector<usb::DeviceEntry> devices;
    (void)bus.Enumerate(devices);
    (void)bus.IsArriving(id);
    (void)bus.TransferMemoryLimit();
    std::unique_ptr<usb::Handle> handle;
    const Result opened = bus.Open(id, handle);
    EXPECT_EQ(opened == Result::Ok, handle != nullptr);
    if (opened != Result::Ok) {
        EXPECT_EQ(opened, Result::NoMemory);
        return;
    }
    std::uint8_t scratch[64];
    std::size_t actual = 0;
    const Result read = handle->Control(kReadScratch, scratch, actual, 1000);
    EXPECT_TRUE(read == Result::Ok || read == Result::NoMemory) << usb::ToText(read);
    const std::string text = handle->ReadString(1);
    EXPECT_TRUE(text.empty() || text == "Tester") << text;
    (void)handle->Claim(1);
    usb::Transfer transfer;
    transfer.endpoint = TestDevice::kSource;
    transfer.buffer = scratch;
    transfer.length = sizeof scratch;
    transfer.completed = [](usb::Transfer&) {};
    const Result submitted = handle->Submit(transfer);
    EXPECT_TRUE(submitted == Result::Ok || submitted == Result::NoMemory) << usb::ToText(submitted);
    if (submitted == Result::Ok) {
        (void)handle->Cancel(transfer);
        EXPECT_EQ(handle->HandleEvents(10000), Result::Ok);
    }
    handle->Forget(transfer);
}

class UsbShortage : public LibusbTest {
protected:
    void ExpectToLiveThrough(usb::Backend& bus) {
        const std::string id = m_Plugged.Name();
        Use(bus, id); // what is made once is made here
        const long before = LiveAllocations();
        constexpr long kSweeps = 4; // the stand-in's queues keep a piece more or less: what leaks does so each time
        for (long i = 0; i < kSweeps; ++i) {
            EXPECT_GT(FailEachAllocationOf([&] { Use(bus, id); }), 5);
            EXPECT_GT(FailEachAllocationOf([&] { Use(bus, id); }, /*count=*/1000000), 0);
        }
        EXPECT_LT(LiveAllocations() - before, kSweeps);
        EXPECT_EQ(usbfs::Bus::Instance().OpenFileCount(), 0u);
    }
};

TEST_F(UsbShortage, OfMemoryAtEveryAllocationThrowsNothingAndLeavesNothingOpen) {
    ExpectToLiveThrough(*m_Backend);
}

TEST_F(UsbShortage, LeavesNoFileOfTheSystemOpen) {
    const std::string id = m_Plugged.Name();
    const auto openFiles = [] {
        int lowest = ::dup(0);
        ::close(lowest);
        return lowest;
    };
    Use(*m_Backend, id);
    const int before = openFiles();
    FailEachAllocationOf([&] { Use(*m_Backend, id); });
    EXPECT_EQ(openFiles(), before);
}

TEST_F(UsbShortage, ThrowsNothingOutOfATracedBusAndSaysThatTheTraceIsNotWhole) {
    const std::string path = std::string(std::getenv("TAVIX_TEST_FOLDER")) + "/shortage.pcapng";
    const std::string id = m_Plugged.Name();
    testing::internal::CaptureStderr();
    bool wasMet = true;
    for (long allocation = 0; wasMet && !HasFailure(); ++allocation) {
        std::string reason;
        const auto bus = usb::Traced(usb::CreateLibusbBackend(reason), usb::TraceFile::Create(path, 64));
        const MemoryShortage shortage(Whose::Mine, allocation);
        Use(*bus, id);
        wasMet = shortage.WasMet();
    }
    EXPECT_NE(testing::internal::GetCapturedStderr().find("is not whole: Cannot allocate memory"), std::string::npos);
    std::remove(path.c_str());
}

TEST_F(UsbShortage, OfMemoryWhileAHandlerIsRegisteredLeavesNoHandlerThere) {
    std::atomic<int> calls{0};
    EXPECT_GT(FailEachAllocationOf([&] {
                  const auto registration =
                      m_Backend->RegisterHotplug([&](HotplugEvent, const std::string&) { ++calls; });
                  m_Backend->DeregisterHotplug(registration);
              }),
              0);
    const usbfs::Plugged second(std::make_shared<TestDevice>());
    EXPECT_EQ(calls, 0);
}

/// Counts the notices; waits for them.
class Count {
public:
    void Add() {
        const std::lock_guard<std::mutex> lock(m_Lock);
        ++m_Notices;
        m_Changed.notify_all();
    }
    bool Reaches(int count) {
        std::unique_lock<std::mutex> lock(m_Lock);
        return m_Changed.wait_for(lock, std::chrono::seconds(30), [&] { return m_Notices >= count; });
    }

private:
    std::mutex m_Lock;
    std::condition_variable m_Changed;
    int m_Notices = 0;
};

TEST_F(UsbShortage, OfThreadsMeansNoNoticesAndIsOverLater) {
    Count count;
    std::atomic<int> callsOfTheRefused{0};
    {
        const ThreadShortage shortage;
        EXPECT_EQ(m_Backend->RegisterHotplug([&](HotplugEvent, const std::string&) { ++callsOfTheRefused; }), 0u);
    }
    const auto registration = m_Backend->RegisterHotplug([&](HotplugEvent, const std::string&) { count.Add(); });
    ASSERT_NE(registration, 0u);
    const usbfs::Plugged second(std::make_shared<TestDevice>());
    EXPECT_TRUE(count.Reaches(1));
    EXPECT_EQ(callsOfTheRefused, 0) << "it may be gone";
    m_Backend->DeregisterHotplug(registration);
}

TEST_F(UsbShortage, OfMemoryOnTheWatchingThreadLosesNoNotice) {
    Count count;
    const auto registration = m_Backend->RegisterHotplug([&](HotplugEvent, const std::string&) { count.Add(); });
    ASSERT_NE(registration, 0u);
    const std::string id = m_Plugged.Name();
    const MemoryShortage shortage(Whose::Others, 0, 1000000);
    for (int i = 0; i < 4; ++i) {
        usbfs::Bus::Instance().Unplug(id);
        ASSERT_TRUE(count.Reaches(2 * i + 1));
        usbfs::Bus::Instance().Replug(id);
        ASSERT_TRUE(count.Reaches(2 * i + 2));
    }
    EXPECT_FALSE(shortage.WasMet()) << "to tell needs no memory";
    m_Backend->DeregisterHotplug(registration);
}

TEST(HotplugHandlersWithoutMemory, AreCalledAllTheSame) {
    usb::HotplugHandlers handlers;
    int calls = 0;
    const auto first = handlers.Add([&](HotplugEvent, const std::string&) { ++calls; });
    handlers.Add([&](HotplugEvent, const std::string&) {
        ++calls;
        handlers.Remove(first);
    });
    const std::string id = "1";
    const MemoryShortage shortage(Whose::Mine, 0, 1000000);
    handlers.Notify(HotplugEvent::Left, id);
    handlers.Notify(HotplugEvent::Left, id);
    EXPECT_EQ(calls, 3);
}

} // namespace
