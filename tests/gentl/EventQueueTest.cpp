// Events, several who wait for them, and kills among them.

#include "gentl/event/EventQueue.h"

#include <gtest/gtest.h>

#include <future>

namespace {

using gentl::EventQueue;

class Events : public testing::Test {
protected:
    Events() { queue->Register(); }
    ~Events() override {
        const Tavix::MutexLock guard(gentl::TreeMutex());
        queue->Leave();
    }

    /// SUCCESS, or why nothing came; 20 s are for ever.
    GC_ERROR Take(std::size_t size = sizeof(std::uint64_t)) {
        std::uint64_t id = 0;
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        const GC_ERROR code = gentl::Guarded([&] { queue->GetData(&id, &size, 20000); });
        return std::chrono::steady_clock::now() < end ? code : GC_ERR_TIMEOUT;
    }
    std::future<GC_ERROR> Waiter(std::size_t size = sizeof(std::uint64_t)) {
        return std::async(std::launch::async, [this, size] { return Take(size); });
    }

    const std::shared_ptr<EventQueue> queue = std::make_shared<EventQueue>(EVENT_MODULE);
};

TEST_F(Events, AreTakenInTheirOrder) {
    queue->PushModule(1);
    queue->PushModule(2);
    for (const std::uint64_t expected : {1U, 2U}) {
        std::uint64_t id = 0;
        std::size_t size = sizeof id;
        queue->GetData(&id, &size, 0);
        EXPECT_EQ(id, expected);
    }
}

TEST_F(Events, ReachWhoWaitsBesideOneWhoIsKilled) {
    for (int round = 0; round < 300 && !HasFailure(); ++round) {
        auto first = Waiter(), second = Waiter();
        queue->Kill();
        queue->PushModule(7);
        const GC_ERROR codes[] = {first.get(), second.get()};
        EXPECT_TRUE((codes[0] == GC_ERR_SUCCESS && codes[1] == GC_ERR_ABORT) ||
                    (codes[0] == GC_ERR_ABORT && codes[1] == GC_ERR_SUCCESS))
            << codes[0] << " and " << codes[1] << " in round " << round;
    }
}

TEST_F(Events, ReachWhoHasRoomBesideOneWhoHasNot) {
    for (int round = 0; round < 300 && !HasFailure(); ++round) {
        auto small = Waiter(2), large = Waiter();
        queue->PushModule(7);
        EXPECT_EQ(large.get(), GC_ERR_SUCCESS) << "in round " << round;
        queue->PushModule(8); // the other may not have looked yet
        EXPECT_EQ(small.get(), GC_ERR_BUFFER_TOO_SMALL) << "in round " << round;
        queue->Flush();
    }
}

TEST_F(Events, AreCountedWhoeverTakesThem) {
    const auto fired = [this] {
        std::uint64_t count = 0;
        std::size_t size = sizeof count;
        gentl::Answer answer(nullptr, &count, &size);
        queue->GetInfo(EVENT_NUM_FIRED, answer);
        return count;
    };
    EXPECT_EQ(fired(), 0U);
    for (std::uint64_t id = 0; id < 4; ++id)
        queue->PushModule(id);
    EXPECT_EQ(fired(), 4U);
    EXPECT_EQ(Take(), GC_ERR_SUCCESS);
    queue->Flush();
    EXPECT_EQ(fired(), 4U);
    for (std::uint64_t id = 0; id < 2000; ++id)
        queue->PushModule(id); // more than are kept
    EXPECT_EQ(fired(), 2004U);
}

} // namespace
