#include "core/WaitObject.h"

#include <atomic>
#include <thread>

#include <gtest/gtest.h>

using namespace Tavix;

namespace {

constexpr unsigned int kLongWait = 20000; // a wait that is expected to succeed
constexpr unsigned int kShortWait = 30;   // a wait that is expected to fail

struct Three {
    WaitObjectEx a = WaitObjectEx::Create();
    WaitObjectEx b = WaitObjectEx::Create();
    WaitObjectEx manual = WaitObjectEx::Create(/*manualReset=*/true);
    WaitObjects all;

    Three() {
        all.Add(a);
        all.Add(b);
        all.Add(manual);
    }
};

} // namespace

TEST(WaitObjects, CountsWhatIsAdded) {
    Three three;
    EXPECT_EQ(three.all.GetCount(), 3u);
    EXPECT_EQ(three.all.Add(three.a), 3u) << "the index of the new one";
    three.all.RemoveAll();
    EXPECT_EQ(three.all.GetCount(), 0u);
}

TEST(WaitObjects, HasAllAndNotAnyWhenEmpty) {
    const WaitObjects none;
    EXPECT_TRUE(none.WaitForAll(WaitObject::waitForever));
    EXPECT_FALSE(none.WaitForAny(WaitObject::waitForever));
}

TEST(WaitObjects, NamesTheLowestSignalledObject) {
    Three three;
    three.manual.Signal();
    three.b.Signal();
    unsigned int index = 99;
    EXPECT_TRUE(three.all.WaitForAny(0, &index));
    EXPECT_EQ(index, 1u);
    EXPECT_TRUE(three.all.WaitForAny(0, &index));
    EXPECT_EQ(index, 2u);
}

TEST(WaitObjects, ConsumesOnlyTheOneThatAnyNames) {
    Three three;
    three.a.Signal();
    three.b.Signal();
    EXPECT_TRUE(three.all.WaitForAny(0));
    EXPECT_FALSE(three.a.Wait(0));
    EXPECT_TRUE(three.b.Wait(0));
}

TEST(WaitObjects, LeavesTheIndexAloneWhenTimeIsOver) {
    const Three three;
    unsigned int index = 99;
    EXPECT_FALSE(three.all.WaitForAny(kShortWait, &index));
    EXPECT_EQ(index, 99u);
}

TEST(WaitObjects, WakesForAny) {
    const Three three;
    std::thread signaller([&] { three.b.Signal(); });
    unsigned int index = 99;
    EXPECT_TRUE(three.all.WaitForAny(WaitObject::waitForever, &index));
    EXPECT_EQ(index, 1u);
    signaller.join();
}

TEST(WaitObjects, ConsumesNothingUntilAllAreSignalled) {
    const Three three;
    three.a.Signal();
    three.manual.Signal();
    EXPECT_FALSE(three.all.WaitForAll(0));
    EXPECT_FALSE(three.all.WaitForAll(kShortWait));
    EXPECT_TRUE(three.a.Wait(0)) << "the signal is still there";
}

TEST(WaitObjects, ConsumesAllOnceAllAreSignalled) {
    const Three three;
    three.a.Signal();
    three.b.Signal();
    three.manual.Signal();
    EXPECT_TRUE(three.all.WaitForAll(0));
    EXPECT_FALSE(three.a.Wait(0));
    EXPECT_FALSE(three.b.Wait(0));
    EXPECT_TRUE(three.manual.Wait(0));
}

TEST(WaitObjects, WakesForAllWhateverTheOrder) {
    const Three three;
    std::thread signaller([&] {
        three.manual.Signal();
        three.b.Signal();
        three.a.Signal();
    });
    EXPECT_TRUE(three.all.WaitForAll(WaitObject::waitForever));
    signaller.join();
}

TEST(WaitObjects, CountsAnObjectAddedTwiceOnce) {
    Three three;
    three.all.RemoveAll();
    three.all.Add(three.a);
    three.all.Add(three.a);
    three.a.Signal();
    EXPECT_TRUE(three.all.WaitForAll(kLongWait));
    EXPECT_FALSE(three.a.Wait(0));
}

TEST(WaitObjects, NeverHasAnObjectThatIsNotValid) {
    Three three;
    three.all.Add(WaitObject());
    three.a.Signal();
    three.b.Signal();
    three.manual.Signal();
    EXPECT_FALSE(three.all.WaitForAll(WaitObject::waitForever)) << "returns at once";
    EXPECT_TRUE(three.all.WaitForAny(0));
    WaitObjects invalid;
    invalid.Add(WaitObject());
    EXPECT_FALSE(invalid.WaitForAny(WaitObject::waitForever)) << "returns at once";
}

TEST(WaitObjects, KeepsItsObjectsAlive) {
    WaitObjects objects;
    {
        const WaitObjectEx object = WaitObjectEx::Create();
        object.Signal();
        objects.Add(object);
    }
    EXPECT_TRUE(objects.WaitForAll(0));
}

// Two waiters want a pair of objects, a third one wants one of them: whoever wins, no signal vanishes or doubles.
TEST(WaitObjects, LosesNoSignalWhenWaitersRace) {
    constexpr int kRounds = 1000;
    const WaitObjectEx a = WaitObjectEx::Create(), b = WaitObjectEx::Create(), done = WaitObjectEx::Create();
    WaitObjects pair;
    pair.Add(a);
    pair.Add(b);
    std::atomic<int> pairs{0};
    std::atomic<bool> stop{false};
    const auto takePairs = [&] {
        while (pair.WaitForAll(WaitObject::waitForever) && !stop) {
            ++pairs;
            done.Signal();
        }
        a.Signal();
        b.Signal(); // wake the next one to stop
    };
    std::thread first(takePairs), second(takePairs), thief([&] {
        while (!stop) {
            if (b.Wait(0)) b.Signal(); // takes it away for an instant
            std::this_thread::yield();
        }
    });
    int rounds = 0;
    for (; rounds < kRounds; ++rounds) {
        a.Signal();
        b.Signal();
        if (!done.Wait(kLongWait)) break;
    }
    EXPECT_EQ(rounds, kRounds);
    EXPECT_EQ(pairs, kRounds);
    stop = true;
    a.Signal();
    b.Signal();
    thief.join();
    first.join();
    second.join();
}

TEST(WaitObjects, SeeALevelAsASignalThatNobodyConsumes) {
    const WaitObjectEx held = WaitObjectEx::Create(), pulsed = WaitObjectEx::Create();
    WaitObjects objects;
    objects.Add(held);
    objects.Add(pulsed);
    held.Raise();
    EXPECT_FALSE(objects.WaitForAll(0));
    pulsed.Signal();
    EXPECT_TRUE(objects.WaitForAll(0));
    EXPECT_FALSE(pulsed.Wait(0)) << "its pulse is consumed";
    unsigned int index = 7;
    EXPECT_TRUE(objects.WaitForAny(0, &index));
    EXPECT_EQ(index, 0u);
    held.Lower();
    EXPECT_FALSE(objects.WaitForAny(0));
}
