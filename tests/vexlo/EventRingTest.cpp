#include "vexlo/event/EventRing.h"

#include "tavixbase/support/LogRecorder.h"

#include "support/ScriptedBytes.h"

#include <gtest/gtest.h>

#include <future>
#include <thread>

namespace {

using namespace vexlo;
using namespace scripted;
using Tavix::kWarning;

Bytes Event(std::uint8_t id) {
    return Hex("55335645 0000 000C 0C00 0100 0000") + Bytes{id, 0x90} + Hex("0100000000000000");
}

class Ring : public testing::Test {
protected:
    Ring() { ring.Reset(2); }
    void Push(const Bytes& message) {
        Alarm alarm;
        ring.Push(message, alarm);
    }
    void Push(std::uint8_t id) { Push(Event(id)); }
    void SetWaitObject(std::shared_ptr<Tavix::_WaitObjectPosix_t> waitObject) {
        Alarm alarm;
        ring.SetWaitObject(std::move(waitObject), alarm);
    }
    std::uint8_t Take() {
        Bytes message(576);
        unsigned long size = message.size();
        return ring.Take(message.data(), size) == VX_OK ? message[14] : std::uint8_t(0);
    }

    Tavix::LogRecorder log{"Tavix.USB.Vexlo"};
    EventRing ring;
};

TEST_F(Ring, KeepsTheOldestWhenItIsFull) {
    for (std::uint8_t id = 1; id <= 5; ++id)
        Push(id);
    EXPECT_EQ(Take(), 1);
    EXPECT_EQ(Take(), 2);
    EXPECT_EQ(Take(), 0);
    EXPECT_EQ(ring.GetCounts().total, 5u);
    EXPECT_EQ(ring.GetCounts().failed, 3u);
    EXPECT_EQ(ring.GetCounts().lastFailure, VX_E_EVENT_LOST);
}

TEST_F(Ring, KeepsMessagesAsLongAsIsWished) {
    Bytes longest = Hex("55335645 0000 000C 0403 0100 0000 0190 0100000000000000");
    longest.resize(12 + 0x304); // 760 bytes of data behind the entry's head
    Push(longest);
    EXPECT_EQ(ring.Pending(), 0u);
    EXPECT_EQ(ring.GetCounts().lastFailure, VX_E_INVALID_SIZE);
    ring.Reset(2, 1024);
    Push(longest);
    Bytes message(1024);
    unsigned long size = message.size();
    EXPECT_EQ(ring.Take(message.data(), size), VX_OK);
    EXPECT_EQ(size, longest.size());
}

TEST_F(Ring, TellsThatEventsAreBeingLostAndHowManyWere) {
    for (std::uint8_t id = 1; id <= 5; ++id)
        Push(id);
    EXPECT_EQ(log.Count(kWarning, "Events are being lost: all 2 event buffers wait"), 1);
    EXPECT_EQ(log.Count(kWarning, "were lost before"), 0);
    Take();
    Push(6);
    EXPECT_EQ(log.Count(kWarning, "3 events were lost before there was room again"), 1);
    Push(7);
    EXPECT_EQ(log.Count(kWarning, "Events are being lost"), 2) << "once each time that it becomes full";
}

TEST_F(Ring, LosesTheRestOfAMessageThatDoesNotFit) {
    // Two entries of 12 bytes each, and one that claims more than there is.
    Push(Hex("55335645 0000 000C 2400 0100") + Hex("0C00 0190 0100000000000000") + Hex("0C00 0290 0200000000000000") +
         Hex("FF00 0390 0300000000000000"));
    EXPECT_EQ(Take(), 1);
    EXPECT_EQ(Take(), 2);
    EXPECT_EQ(ring.GetCounts().failed, 1u);
    EXPECT_EQ(ring.GetCounts().lastFailure, VX_E_PROTOCOL);
}

TEST_F(Ring, StartsWithoutLossesWhenItIsReset) {
    for (std::uint8_t id = 1; id <= 5; ++id)
        Push(id);
    ring.Reset(2);
    Push(1);
    EXPECT_EQ(log.Count(kWarning, "were lost before"), 0);
    EXPECT_EQ(ring.GetCounts().failed, 0u);
}

TEST_F(Ring, HoldsItsWaitObjectSignalledWhileMessagesWait) {
    const Tavix::WaitObjectEx wait = Tavix::WaitObjectEx::Create();
    SetWaitObject(Tavix::ShareWaitObject(wait));
    EXPECT_FALSE(wait.Wait(0));
    Push(1);
    EXPECT_TRUE(wait.Wait(0));
    EXPECT_TRUE(wait.Wait(0)) << "waiting takes nothing";
    EXPECT_EQ(Take(), 1);
    EXPECT_FALSE(wait.Wait(0));
    Push(2);
    SetWaitObject(nullptr);
    EXPECT_FALSE(wait.Wait(0)) << "it is nobody's any more";
}

TEST_F(Ring, WakesWhoSleepsOnItsWaitObjectWithTheAlarm) {
    const Tavix::WaitObjectEx wait = Tavix::WaitObjectEx::Create();
    SetWaitObject(Tavix::ShareWaitObject(wait));
    auto sleeper = std::async(std::launch::async, [&] { return wait.Wait(20000); });
    std::this_thread::sleep_for(std::chrono::milliseconds(100)); // if it does not sleep by now it sees the level
    const auto start = std::chrono::steady_clock::now();
    {
        Alarm alarm;
        ring.Push(Event(1), alarm);
        EXPECT_TRUE(wait.Wait(0)) << "who asks sees it before";
    }
    EXPECT_TRUE(sleeper.get());
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10)) << "nobody woke the sleeper";
}

TEST_F(Ring, TellsTheEndToWhoeverBindsAWaitObjectLater) {
    const Tavix::WaitObjectEx wait = Tavix::WaitObjectEx::Create();
    {
        Alarm alarm;
        ring.End(VX_E_USB_NO_DEVICE, alarm);
    }
    SetWaitObject(Tavix::ShareWaitObject(wait));
    EXPECT_TRUE(wait.Wait(0));
    EXPECT_EQ(Take(), 0);
    EXPECT_FALSE(wait.Wait(0)) << "it is told once";
}

} // namespace
