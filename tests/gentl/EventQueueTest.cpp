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
        queue->Close();
    }

    /// SUCCESS, or why nothing came; 20 s are for ever.
    GC_ERROR Take() {
        std::uint64_t id = 0;
        std::size_t size = sizeof id;
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        const GC_ERROR code = gentl::Guarded([&] { queue->GetData(&id, &size, 20000); });
        return std::chrono::steady_clock::now() < end ? code : GC_ERR_TIMEOUT;
    }
    std::future<GC_ERROR> Waiter() {
        return std::async(std::launch::async, [this] { return Take(); });
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

} // namespace
