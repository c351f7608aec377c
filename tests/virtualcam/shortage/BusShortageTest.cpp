// The virtual bus and its cameras, when memory or threads run out at any moment.

#include "core/Threads.h"

#include <atomic>
#include <chrono>
#include <deque>
#include <memory>
#include <new>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

#include "support/Shortage.h"
#include "virtualcam/backend/Backend.h"
#include "virtualcam/support/DeviceClient.h"
#include "virtualcam/support/SmallCamera.h"

namespace virtualcam {
namespace {

using namespace test;
using shortage::LaterThreadShortage;
using shortage::LiveAllocations;
using shortage::MemoryShortage;
using shortage::Whose;
using usb::Result;

constexpr std::uint32_t kPayload = 128 * 64;

BackendSettings OneCamera() {
    BackendSettings settings;
    settings.cameras = {Small()};
    settings.cameras[0].faults.replugAfterMs = 1;
    return settings;
}

/// A host that takes every refusal as it comes, and leaves nothing in flight. Bound to a thread.
class Host {
public:
    explicit Host(Backend& bus) { m_Opened = bus.Open(bus.IdOf(0), m_Handle); }
    ~Host() {
        for (usb::Transfer& transfer : m_Transfers)
            if (m_Handle) m_Handle->Cancel(transfer);
        for (int round = 0; m_InFlight != 0 && round < 1000; ++round)
            m_Handle->HandleEvents(10);
        EXPECT_EQ(m_InFlight, 0u) << "a transfer never came back";
        for (usb::Transfer& transfer : m_Transfers)
            m_Handle->Forget(transfer);
    }
    /// Claims all, streams a block; false when anything of it failed.
    bool GrabOne() {
        if (m_Opened != Result::Ok) return false;
        if (m_Handle->Reset() != Result::Ok) return false;
        for (const std::uint8_t number : {0, 1, 2})
            if (m_Handle->Claim(number) != Result::Ok) return false;
        bool good = m_Handle->ReadString(1) == "Vandrel";
        const std::uint32_t sizes[] = {1024, kPayload, 1, 0, 0, 1024};
        for (std::uint32_t i = 0; i < 6; ++i)
            good = Write(0x20018 + 4 * i, sizes[i]) && good;
        for (const std::size_t length : {std::size_t{1024}, std::size_t{kPayload}, std::size_t{1024}})
            good = Queue(length) && good;
        good = Write(0x20004, 1) && Write(0x102004, 1) && good;
        for (int round = 0; good && m_InFlight != 0 && round < 1000; ++round)
            m_Handle->HandleEvents(10);
        return good && m_Completed == 3;
    }

private:
    std::unique_ptr<usb::Handle> m_Handle;
    Result m_Opened = Result::Other;
    std::deque<usb::Transfer> m_Transfers;
    std::deque<Bytes> m_Buffers;
    std::size_t m_InFlight = 0;
    std::size_t m_Completed = 0;
    std::uint16_t m_Id = 0;

    bool Write(std::uint64_t address, std::uint32_t value) {
        Bytes command = WriteCommand(++m_Id, address, value);
        std::size_t actual = 0;
        std::uint8_t answer[64] = {};
        if (m_Handle->Bulk(0x01, command.data(), command.size(), actual, 1000) != Result::Ok) return false;
        if (m_Handle->Bulk(0x81, answer, sizeof answer, actual, 1000) != Result::Ok) return false;
        return actual >= 12 && Load<std::uint16_t>(answer + 4) == 0;
    }
    bool Queue(std::size_t length) {
        usb::Transfer& transfer = m_Transfers.emplace_back();
        transfer.endpoint = 0x83;
        transfer.buffer = m_Buffers.emplace_back(length).data();
        transfer.length = length;
        transfer.context = this;
        transfer.completed = [](usb::Transfer& done) {
            Host& host = *static_cast<Host*>(done.context);
            --host.m_InFlight;
            if (done.status == usb::TransferStatus::Completed) ++host.m_Completed;
        };
        if (m_Handle->Submit(transfer) != Result::Ok) return false;
        ++m_InFlight;
        return true;
    }
};

bool Grab(Backend& bus) {
    Host host(bus);
    return host.GrabOne();
}

// What a program does with a bus in its life; every piece of it may fail for want of memory.
void Live(Backend& bus) try {
    std::atomic<unsigned> news{0};
    const std::uint64_t registration = bus.RegisterHotplug([&news](usb::HotplugEvent, const std::string&) { ++news; });
    const auto deregister = [&bus, registration](void*) { bus.DeregisterHotplug(registration); };
    const std::unique_ptr<void, decltype(deregister)> registered(&news, deregister);
    std::vector<usb::DeviceEntry> entries;
    (void)bus.Enumerate(entries);
    Grab(bus);
    bus.Camera(0).FireEvent(0x9001, Bytes(8));
    bus.Unplug(0);
    bus.Plug(0);
    Grab(bus);
} catch (const std::bad_alloc&) {
    return; // this thread is the host's as well
}

// A bus that lived through a shortage serves the next program as if nothing had been, and leaves nothing behind.
bool LivesThrough(Whose whose, long left, long count) {
    const long before = LiveAllocations();
    bool met = false;
    try {
        Backend bus(OneCamera());
        {
            const MemoryShortage shortage(whose, left, count);
            Live(bus);
            met = shortage.WasMet();
        }
        bus.Plug(0);
        EXPECT_TRUE(Grab(bus));
        EXPECT_EQ(bus.TransferMemoryUsed(), 0u);
    } catch (const std::bad_alloc&) {
        ADD_FAILURE() << "it cannot be plugged any more";
    }
    EXPECT_EQ(LiveAllocations(), before);
    return met;
}

// TAVIX_LENGTHY set: each allocation is tried; else every so many.
long Stride(long usual) {
    return std::getenv("TAVIX_LENGTHY") != nullptr ? 1 : usual;
}

class BusShortage : public testing::TestWithParam<long> {};

TEST_P(BusShortage, OfTheHostsThreadAtEveryAllocation) {
    { const Backend first(OneCamera()); } // what is made once for all cameras
    long tried = 0;
    for (long left = 0; LivesThrough(Whose::Mine, left, GetParam()) && !HasFailure(); left += Stride(37))
        ++tried;
    EXPECT_GT(tried, 10);
}

TEST_P(BusShortage, OfTheCamerasThreadsAtEveryAllocation) {
    { const Backend first(OneCamera()); }
    long tried = 0;
    for (long left = 0; LivesThrough(Whose::Others, left, GetParam()) && !HasFailure(); left += Stride(1))
        ++tried;
    EXPECT_GT(tried, 2);
}

INSTANTIATE_TEST_SUITE_P(Once, BusShortage, testing::Values(1));
INSTANTIATE_TEST_SUITE_P(ThreeTimes, BusShortage, testing::Values(3));

TEST(BusShortage, WhileItIsMadeLeavesNothingBehind) {
    { const Backend first(OneCamera()); }
    bool met = true;
    for (long left = 0; met; left += Stride(41)) {
        const long before = LiveAllocations();
        {
            const MemoryShortage shortage(Whose::Mine, left);
            try {
                const Backend bus(OneCamera());
            } catch (const std::bad_alloc&) {
                EXPECT_TRUE(shortage.WasMet());
            }
            met = shortage.WasMet();
        }
        ASSERT_EQ(LiveAllocations(), before) << left;
    }
}

TEST(BusShortage, OfMemoryForAHandlerLeavesItUnregisteredAndOthersAlone) {
    Backend bus(OneCamera());
    for (const long left : {0, 1}) {
        const MemoryShortage shortage(Whose::Mine, left);
        EXPECT_EQ(bus.RegisterHotplug([](usb::HotplugEvent, const std::string&) {}), 0u) << left;
        EXPECT_TRUE(shortage.WasMet());
    }
    std::atomic<unsigned> news{0};
    const std::uint64_t registration = bus.RegisterHotplug([&news](usb::HotplugEvent, const std::string&) { ++news; });
    EXPECT_NE(registration, 0u);
    bus.DeregisterHotplug(0);
    bus.Unplug(0);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (news == 0 && std::chrono::steady_clock::now() < deadline)
        std::this_thread::yield();
    EXPECT_NE(news, 0u);
    bus.DeregisterHotplug(registration);
}

TEST(BusWithoutThreads, IsNotMadeAndSaysWhy) {
    if (!LaterThreadShortage::CanBe()) GTEST_SKIP();
    { const Backend first(OneCamera()); }
    for (const long left : {0, 1}) {
        const long before = LiveAllocations();
        {
            const LaterThreadShortage shortage(left);
            std::string error;
            EXPECT_THROW(CreateBackend("1", error), Tavix::NoThread) << left;
        }
        EXPECT_EQ(LiveAllocations(), before);
    }
}

// A host whose start failed may go without a word.
TEST(BusHandle, TakesBackWhatItLeavesBehind) {
    Backend bus(OneCamera());
    std::unique_ptr<usb::Handle> handle;
    ASSERT_EQ(bus.Open(bus.IdOf(0), handle), Result::Ok);
    ASSERT_EQ(handle->Claim(2), Result::Ok);
    {
        Bytes buffer(4096);
        usb::Transfer left, forgotten;
        for (usb::Transfer* transfer : {&left, &forgotten}) {
            transfer->endpoint = 0x83;
            transfer->buffer = buffer.data();
            transfer->length = buffer.size();
            transfer->completed = [](usb::Transfer&) { FAIL() << "it is gone"; };
            ASSERT_EQ(handle->Submit(*transfer), Result::Ok);
        }
        handle->Forget(forgotten);
        handle.reset();
    }
    EXPECT_EQ(bus.TransferMemoryUsed(), 0u);
    ASSERT_EQ(bus.Open(bus.IdOf(0), handle), Result::Ok);
    ASSERT_EQ(handle->Claim(2), Result::Ok);
    EXPECT_EQ(handle->ClearHalt(0x83), Result::Ok); // Busy as long as something is queued
    handle.reset();
    EXPECT_TRUE(Grab(bus));
}

} // namespace
} // namespace virtualcam
