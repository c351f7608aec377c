#include "vexlo/stream/BufferPool.h"

#include <gtest/gtest.h>

#include <thread>

using namespace vexlo;

namespace {

class BufferPoolTest : public testing::Test {
protected:
    BufferPoolTest() {
        pool.Prepare(4, sizeof memory[0]);
        pool.SetWaitObject(Tavix::ShareWaitObject(wait));
    }
    void Start() {
        pool.Start([this] { ++wakes; });
    }
    BufferHandle_s* Register(unsigned int index) {
        BufferHandle_s* handle = nullptr;
        EXPECT_EQ(pool.Register(memory[index], sizeof memory[index], &handle), VX_OK);
        return handle;
    }
    BufferHandle_s* Queued(unsigned int index) {
        BufferHandle_s* handle = Register(index);
        EXPECT_EQ(pool.Queue(handle, memory[index]), VX_OK);
        return handle;
    }
    VxStatus Retrieve() { return pool.Retrieve(&result, &left); }
    bool IsSignalled() { return wait.Wait(0); }

    char memory[5][100] = {};
    BufferPool pool;
    Tavix::WaitObjectEx wait = Tavix::WaitObjectEx::Create();
    CVxStream::GrabResult result{};
    unsigned long left = 99;
    int wakes = 0;
};

TEST_F(BufferPoolTest, RefusesBuffersBeyondWhatWasAnnounced) {
    BufferHandle_s* handle = nullptr;
    EXPECT_EQ(pool.Register(nullptr, 10, &handle), VX_E_INVALID_PARAMETER);
    EXPECT_EQ(pool.Register(memory[0], 0, &handle), VX_E_INVALID_PARAMETER);
    EXPECT_EQ(pool.Register(memory[0], 10, nullptr), VX_E_INVALID_PARAMETER);
    EXPECT_EQ(pool.Register(memory[0], 101, &handle), VX_E_INVALID_SIZE);
    for (unsigned int i = 0; i < 4; ++i)
        Register(i);
    EXPECT_EQ(pool.Register(memory[4], 10, &handle), VX_E_TOO_MANY_BUFFERS);
}

TEST_F(BufferPoolTest, TakesBuffersOnlyWhileStarted) {
    BufferHandle_s* handle = Register(0);
    EXPECT_EQ(pool.Queue(handle, nullptr), VX_E_INVALID_STATE);
    Start();
    EXPECT_EQ(pool.Queue(handle, nullptr), VX_OK);
    pool.Stop(VX_E_CANCELLED);
    EXPECT_EQ(Retrieve(), VX_OK);
    EXPECT_EQ(pool.Queue(handle, nullptr), VX_E_INVALID_STATE);
}

TEST_F(BufferPoolTest, GivesBackWhatIsNotBoundYet) {
    Start();
    BufferHandle_s* const first = Queued(0);
    BufferHandle_s* const second = Queued(1);
    BufferHandle_s* const third = Queued(2);
    ASSERT_EQ(pool.Take(), first);
    EXPECT_EQ(pool.TakeBack(first), VX_E_BUFFER_QUEUED);
    EXPECT_EQ(pool.TakeBack(second), VX_OK);
    EXPECT_EQ(pool.TakeBack(second), VX_OK) << "it is idle";
    EXPECT_EQ(pool.Deregister(second, nullptr), VX_OK);
    EXPECT_EQ(pool.TakeBack(second), VX_E_INVALID_HANDLE);
    EXPECT_EQ(pool.Take(), third);
    pool.Complete(third, {});
    EXPECT_EQ(pool.TakeBack(third), VX_E_BUFFER_COMPLETED);
}

TEST_F(BufferPoolTest, TellsOnceThatTheStreamHasEnded) {
    std::vector<VxStatus> told;
    pool.SetEndListener([&](VxStatus reason) {
        EXPECT_EQ(Retrieve(), VX_OK) << "the buffers have completed";
        told.push_back(reason);
    });
    Start();
    Queued(0);
    pool.TellListener();
    EXPECT_TRUE(told.empty());
    BufferList refused = pool.Refuse(VX_E_USB_STALL);
    pool.Complete(refused.TakeFirst(), EmptyResult(VX_E_USB_STALL));
    pool.TellListener();
    pool.TellListener();
    EXPECT_EQ(told, std::vector<VxStatus>{VX_E_USB_STALL});
}

TEST_F(BufferPoolTest, TellsNothingOfAnEndBeforeItWasPreparedAnew) {
    Start();
    (void)pool.Refuse(VX_E_USB_STALL);
    pool.Stop(VX_E_CANCELLED);
    pool.SetEndListener([](VxStatus) { ADD_FAILURE(); });
    pool.Prepare(4, sizeof memory[0]);
    Start();
    pool.TellListener();
}

TEST_F(BufferPoolTest, TellsItsListenerOnlyWhileCompletedBuffersWait) {
    int told = 0;
    pool.SetListener([&] {
        ++told;
        EXPECT_EQ(Retrieve(), VX_OK); // with no lock held
    });
    Start();
    Queued(0);
    pool.TellListener();
    EXPECT_EQ(told, 0);
    pool.Complete(pool.Take(), {});
    pool.TellListener();
    pool.TellListener();
    EXPECT_EQ(told, 1);
    pool.SetListener(nullptr);
    Queued(1);
    pool.Complete(pool.Take(), {});
    pool.TellListener();
    EXPECT_EQ(told, 1);
}

TEST_F(BufferPoolTest, TellsItsListenerOnceOfWhatHasCompleted) {
    int told = 0;
    Start();
    Queued(0);
    pool.Complete(pool.Take(), {});
    pool.SetListener([&] { ++told; });
    pool.TellListener();
    EXPECT_EQ(told, 1) << "of what completed before it was there";
    pool.TellListener();
    EXPECT_EQ(told, 1) << "what it left is no news";
    Queued(1);
    pool.Complete(pool.Take(), {});
    pool.TellListener();
    EXPECT_EQ(told, 2);
}

TEST_F(BufferPoolTest, WakesNobodyForBuffersThatItsListenerQueues) {
    BufferHandle_s* handle = nullptr;
    pool.SetListener([&] {
        EXPECT_EQ(Retrieve(), VX_OK);
        EXPECT_EQ(pool.Queue(handle, nullptr), VX_OK);
    });
    Start();
    handle = Queued(0);
    pool.Complete(pool.Take(), {});
    EXPECT_EQ(pool.Take(), nullptr) << "so that the next one is wanted";
    pool.TellListener();
    EXPECT_EQ(wakes, 0);
    EXPECT_EQ(pool.Take(), handle);
    EXPECT_EQ(pool.Take(), nullptr);
    std::thread([&] { Queued(1); }).join();
    EXPECT_EQ(wakes, 1) << "for others' the stream's thread waits";
}

TEST_F(BufferPoolTest, WakesAfterARestartForTheThreadThatWasToldBefore) {
    pool.SetListener([&] { EXPECT_EQ(Retrieve(), VX_OK); });
    Start();
    Queued(0);
    pool.Complete(pool.Take(), {});
    pool.TellListener();
    pool.Stop(VX_E_CANCELLED);
    Start();
    EXPECT_EQ(pool.Take(), nullptr);
    Queued(1);
    EXPECT_EQ(wakes, 1) << "it may be any thread now";
}

TEST_F(BufferPoolTest, SignalsNoBuffersThatItsListenerTakes) {
    Start();
    Queued(0);
    pool.Complete(pool.Take(), {});
    EXPECT_TRUE(IsSignalled());
    pool.SetListener([] {});
    EXPECT_FALSE(IsSignalled());
    Queued(1);
    pool.Complete(pool.Take(), {});
    EXPECT_FALSE(IsSignalled());
    pool.SetListener(nullptr);
    EXPECT_TRUE(IsSignalled()) << "both wait for who retrieves them";
}

TEST_F(BufferPoolTest, KnowsOnlyRegisteredHandles) {
    Start();
    BufferHandle_s stranger;
    EXPECT_EQ(pool.Queue(&stranger, nullptr), VX_E_INVALID_HANDLE);
    EXPECT_EQ(pool.Queue(nullptr, nullptr), VX_E_INVALID_HANDLE);
    EXPECT_EQ(pool.Deregister(&stranger, nullptr), VX_E_INVALID_HANDLE);
    BufferHandle_s* handle = Register(0);
    void* data = nullptr;
    EXPECT_EQ(pool.Deregister(handle, &data), VX_OK);
    EXPECT_EQ(data, memory[0]);
    EXPECT_EQ(pool.Deregister(handle, &data), VX_E_INVALID_HANDLE);
    EXPECT_EQ(pool.Queue(handle, nullptr), VX_E_INVALID_HANDLE);
}

TEST_F(BufferPoolTest, LetsABufferGoRoundAndRound) {
    Start();
    BufferHandle_s* handle = Register(0);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(pool.Queue(handle, memory[1]), VX_OK);
        EXPECT_EQ(pool.Queue(handle, memory[2]), VX_E_BUFFER_QUEUED);
        EXPECT_EQ(pool.Deregister(handle, nullptr), VX_E_BUFFER_QUEUED);
        EXPECT_EQ(pool.Take(), handle);
        EXPECT_EQ(pool.Queue(handle, memory[2]), VX_E_BUFFER_QUEUED);
        EXPECT_EQ(pool.Deregister(handle, nullptr), VX_E_BUFFER_QUEUED);
        pool.Complete(handle, EmptyResult(VX_E_INCOMPLETE));
        EXPECT_EQ(pool.Queue(handle, memory[2]), VX_E_BUFFER_COMPLETED);
        EXPECT_EQ(Retrieve(), VX_OK);
        EXPECT_EQ(result.Handle, handle);
        EXPECT_EQ(result.Buffer, memory[0]);
        EXPECT_EQ(result.Context, memory[1]);
        EXPECT_EQ(result.Status, VX_E_INCOMPLETE);
        EXPECT_EQ(left, 0u);
        EXPECT_EQ(Retrieve(), VX_E_NO_DATA);
    }
}

TEST_F(BufferPoolTest, RetrievesNothingIntoNothing) {
    EXPECT_EQ(pool.Retrieve(nullptr, nullptr), VX_E_INVALID_PARAMETER);
    EXPECT_EQ(pool.Retrieve(&result, nullptr), VX_E_NO_DATA);
    EXPECT_EQ(Retrieve(), VX_E_NO_DATA);
    EXPECT_EQ(left, 0u);
}

TEST_F(BufferPoolTest, KeepsTheOrderOverPuttingBack) {
    Start();
    BufferHandle_s* a = Queued(0);
    BufferHandle_s* b = Queued(1);
    BufferHandle_s* c = Queued(2);
    EXPECT_EQ(pool.Take(), a);
    EXPECT_EQ(pool.Take(), b);
    BufferList both;
    both.Append(*a);
    both.Append(*b);
    pool.PutBack(std::move(both));
    EXPECT_EQ(pool.Take(), a);
    EXPECT_EQ(pool.Take(), b);
    EXPECT_EQ(pool.Take(), c);
    EXPECT_EQ(pool.Take(), nullptr);
}

TEST_F(BufferPoolTest, WakesOnceForABufferThatWasMissed) {
    Start();
    BufferHandle_s* a = Queued(0);
    EXPECT_EQ(wakes, 0); // nobody has asked
    EXPECT_EQ(pool.Take(), a);
    EXPECT_EQ(pool.Take(), nullptr);
    Queued(1);
    EXPECT_EQ(wakes, 1);
    Queued(2);
    EXPECT_EQ(wakes, 1);
    pool.Take();
    pool.Take();
    EXPECT_EQ(pool.Take(), nullptr);
    Queued(3);
    EXPECT_EQ(wakes, 2);
}

TEST_F(BufferPoolTest, SignalsUntilTheLastResultIsTaken) {
    Start();
    for (unsigned int i = 0; i < 3; ++i)
        Queued(i);
    EXPECT_FALSE(IsSignalled());
    for (int i = 0; i < 3; ++i)
        pool.Complete(pool.Take(), EmptyResult(VX_OK));
    for (unsigned long expected : {2ul, 1ul, 0ul}) {
        EXPECT_TRUE(IsSignalled());
        EXPECT_TRUE(IsSignalled()) << "waiting takes nothing";
        EXPECT_EQ(Retrieve(), VX_OK);
        EXPECT_EQ(left, expected);
    }
    EXPECT_FALSE(IsSignalled());
}

TEST_F(BufferPoolTest, EndsTheSignalWhenResultsAreTakenWithoutWaiting) {
    Start();
    Queued(0);
    Queued(1);
    pool.CompleteQueued(VX_E_CANCELLED);
    EXPECT_EQ(Retrieve(), VX_OK);
    EXPECT_EQ(Retrieve(), VX_OK);
    EXPECT_FALSE(IsSignalled());
}

TEST_F(BufferPoolTest, SignalsAWaitObjectThatComesLater) {
    pool.SetWaitObject(nullptr);
    Start();
    Queued(0);
    pool.CompleteQueued(VX_OK);
    EXPECT_FALSE(IsSignalled());
    pool.SetWaitObject(Tavix::ShareWaitObject(wait));
    EXPECT_TRUE(IsSignalled());
}

TEST_F(BufferPoolTest, PutsRightTheLevelOfAWaitObjectThatComesAgain) {
    Start();
    wait.Raise();
    pool.SetWaitObject(Tavix::ShareWaitObject(wait));
    EXPECT_FALSE(IsSignalled());
    Queued(0);
    pool.CompleteQueued(VX_OK);
    wait.Lower();
    pool.SetWaitObject(Tavix::ShareWaitObject(wait));
    EXPECT_TRUE(IsSignalled());
}

TEST_F(BufferPoolTest, LeavesAWaitObjectThatItGivesUpUnsignalled) {
    Start();
    Queued(0);
    pool.CompleteQueued(VX_OK);
    pool.SetWaitObject(nullptr);
    EXPECT_FALSE(IsSignalled());
}

TEST_F(BufferPoolTest, KeepsAShareOfTheWaitObject) {
    Start();
    Queued(0);
    wait = Tavix::WaitObjectEx();
    pool.CompleteQueued(VX_OK);
    EXPECT_EQ(Retrieve(), VX_OK);
}

TEST_F(BufferPoolTest, CompletesInOrderWhatIsQueuedWhenItStops) {
    Start();
    BufferHandle_s* a = Queued(0);
    BufferHandle_s* b = Queued(1);
    pool.Stop(VX_E_CANCELLED);
    EXPECT_EQ(Retrieve(), VX_OK);
    EXPECT_EQ(result.Handle, a);
    EXPECT_EQ(result.Status, VX_E_CANCELLED);
    EXPECT_EQ(result.BlockId, ~std::uint64_t(0));
    EXPECT_EQ(Retrieve(), VX_OK);
    EXPECT_EQ(result.Handle, b);
    EXPECT_EQ(Retrieve(), VX_E_NO_DATA);
}

TEST_F(BufferPoolTest, HandsOutWhatIsQueuedWhenItRefuses) {
    Start();
    BufferHandle_s* a = Queued(0);
    BufferHandle_s* b = Queued(1);
    BufferList refused = pool.Refuse(VX_E_USB_NO_DEVICE);
    EXPECT_EQ(refused.TakeFirst(), a);
    EXPECT_EQ(refused.TakeFirst(), b);
    EXPECT_TRUE(refused.IsEmpty());
    pool.Complete(a, EmptyResult(VX_E_USB_NO_DEVICE));
    EXPECT_EQ(Retrieve(), VX_OK);
    EXPECT_EQ(pool.Queue(a, nullptr), VX_E_USB_NO_DEVICE);
    pool.Stop(VX_E_CANCELLED);
    EXPECT_EQ(Retrieve(), VX_E_NO_DATA);
    pool.Prepare(4, 100);
    Start();
    EXPECT_EQ(pool.Queue(a, nullptr), VX_OK);
}

TEST_F(BufferPoolTest, ForgetsAResultWithItsBuffer) {
    Start();
    BufferHandle_s* a = Queued(0);
    BufferHandle_s* b = Queued(1);
    pool.CompleteQueued(VX_OK);
    EXPECT_EQ(pool.Deregister(a, nullptr), VX_OK);
    EXPECT_TRUE(IsSignalled());
    EXPECT_EQ(Retrieve(), VX_OK);
    EXPECT_EQ(result.Handle, b);
    EXPECT_EQ(Retrieve(), VX_E_NO_DATA);
}

TEST_F(BufferPoolTest, EndsTheSignalWithTheLastBufferThatHadAResult) {
    Start();
    BufferHandle_s* a = Queued(0);
    pool.CompleteQueued(VX_OK);
    EXPECT_EQ(pool.Deregister(a, nullptr), VX_OK);
    EXPECT_FALSE(IsSignalled());
}

TEST_F(BufferPoolTest, ForgetsEverythingWhenCleared) {
    Start();
    BufferHandle_s* a = Queued(0);
    pool.Stop(VX_E_CANCELLED);
    pool.Clear();
    EXPECT_FALSE(IsSignalled());
    EXPECT_EQ(Retrieve(), VX_E_NO_DATA);
    EXPECT_EQ(pool.Deregister(a, nullptr), VX_E_INVALID_HANDLE);
}

} // namespace
