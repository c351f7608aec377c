#include "usb/support/LibusbTest.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <thread>

#include <pthread.h>

namespace {

using usb::Result;
using usb::TransferStatus;

constexpr std::size_t kSize = 16384;

std::vector<std::size_t> FirstOrder(std::size_t count) {
    std::vector<std::size_t> order;
    for (std::size_t i = 0; i < count; ++i)
        order.push_back(i);
    return order;
}

TEST_F(LibusbTest, TransfersCompleteInOrder) {
    const auto handle = OpenAndClaim();
    Transfers transfers(*handle, TestDevice::kSource, 8, kSize);
    transfers.SubmitAll();
    m_Device->Flow();
    ASSERT_TRUE(transfers.PumpUntilCompleted(8));
    EXPECT_EQ(transfers.Order(), FirstOrder(8));
    std::size_t at = 0;
    for (std::size_t i = 0; i < 8; ++i) {
        EXPECT_EQ(transfers[i].status, TransferStatus::Completed);
        ASSERT_EQ(transfers[i].actualLength, kSize);
        for (const std::uint8_t byte : transfers.Buffer(i))
            ASSERT_EQ(byte, TestDevice::ExpectedByte(at++));
    }
}

TEST_F(LibusbTest, TransfersAreSubmittedAgainFromTheirCompletions) {
    const auto handle = OpenAndClaim();
    Transfers transfers(*handle, TestDevice::kSource, 4, kSize);
    std::size_t left = 400, at = 0, wrong = 0;
    transfers.onCompleted = [&](usb::Transfer& transfer) {
        for (std::size_t i = 0; i < transfer.actualLength; ++i)
            wrong += transfer.buffer[i] != TestDevice::ExpectedByte(at++);
        if (left > 0 && handle->Submit(transfer) == Result::Ok) --left;
    };
    m_Device->Flow();
    transfers.SubmitAll();
    ASSERT_TRUE(transfers.PumpUntilCompleted(404));
    EXPECT_EQ(at, 404 * kSize);
    EXPECT_EQ(wrong, 0u);
}

TEST_F(LibusbTest, AShortTransferSaysHowShort) {
    const auto handle = OpenAndClaim();
    Transfers transfers(*handle, TestDevice::kSource, 3, kSize);
    transfers.SubmitAll();
    m_Device->Send(kSize);
    m_Device->Send(100);
    m_Device->Send(0);
    ASSERT_TRUE(transfers.PumpUntilCompleted(3));
    EXPECT_EQ(transfers[0].actualLength, kSize);
    EXPECT_EQ(transfers[1].actualLength, 100u);
    EXPECT_EQ(transfers[2].actualLength, 0u);
    EXPECT_EQ(transfers[2].status, TransferStatus::Completed);
}

TEST_F(LibusbTest, ACancelledTransferKeepsWhatHasCome) {
    const auto handle = OpenAndClaim();
    Transfers transfers(*handle, TestDevice::kSource, 2, kSize);
    m_Device->SendPart(3072);
    transfers.SubmitAll();
    // The echo answers after the part was taken: both are served by one thread, the source first.
    std::uint8_t byte = 1;
    std::size_t actual = 0;
    ASSERT_EQ(handle->Bulk(TestDevice::kEchoOut, &byte, 1, actual, 10000), Result::Ok);
    EXPECT_EQ(handle->Cancel(transfers[1]), Result::Ok);
    EXPECT_EQ(handle->Cancel(transfers[0]), Result::Ok);
    EXPECT_EQ(handle->Cancel(transfers[0]), Result::NotFound);
    ASSERT_TRUE(transfers.PumpUntilCompleted(2));
    EXPECT_EQ(transfers[0].status, TransferStatus::Cancelled);
    EXPECT_EQ(transfers[0].actualLength, 3072u);
    EXPECT_EQ(transfers[1].status, TransferStatus::Cancelled);
    EXPECT_EQ(transfers[1].actualLength, 0u);
}

TEST_F(LibusbTest, CancelDoesNotFindWhatIsIdle) {
    const auto handle = OpenAndClaim();
    Transfers transfers(*handle, TestDevice::kSource, 1, kSize);
    EXPECT_EQ(handle->Cancel(transfers[0]), Result::NotFound);
    m_Device->Send(1);
    transfers.SubmitAll();
    ASSERT_TRUE(transfers.PumpUntilCompleted(1));
    EXPECT_EQ(handle->Cancel(transfers[0]), Result::NotFound);
}

TEST_F(LibusbTest, TellsWhyATransferFailed) {
    const auto handle = OpenAndClaim();
    Transfers transfers(*handle, TestDevice::kSource, 3, kSize);
    m_Device->SendOverflow();
    m_Device->SendLineError();
    m_Device->Halt();
    transfers.SubmitAll();
    ASSERT_TRUE(transfers.PumpUntilCompleted(3));
    EXPECT_EQ(transfers[0].status, TransferStatus::Overflow);
    EXPECT_EQ(transfers[1].status, TransferStatus::Error);
    EXPECT_EQ(transfers[2].status, TransferStatus::Stall);
}

TEST_F(LibusbTest, ARemovalEndsEveryTransfer) {
    const auto handle = OpenAndClaim();
    Transfers transfers(*handle, TestDevice::kSource, 8, kSize);
    transfers.SubmitAll();
    usbfs::Bus::Instance().Unplug(m_Plugged.Name());
    ASSERT_TRUE(transfers.PumpUntilCompleted(8));
    for (std::size_t i = 0; i < transfers.Count(); ++i)
        EXPECT_EQ(transfers[i].status, TransferStatus::NoDevice) << i;
    EXPECT_EQ(transfers.Submit(0), Result::NoDevice);
    EXPECT_EQ(transfers.Order().size(), 8u);
}

TEST_F(LibusbTest, EveryTransferEndsOnceWhenCancelMeetsRemoval) {
    for (int round = 0; round < 20; ++round) {
        const auto handle = OpenAndClaim();
        Transfers transfers(*handle, TestDevice::kSource, 8, kSize);
        transfers.SubmitAll();
        std::thread leaver([&] { usbfs::Bus::Instance().Unplug(m_Plugged.Name()); });
        for (std::size_t i = 8; i-- > 0;)
            handle->Cancel(transfers[i]);
        EXPECT_TRUE(transfers.PumpUntilCompleted(8));
        leaver.join();
        EXPECT_EQ(handle->HandleEvents(0), Result::Ok);
        EXPECT_EQ(transfers.Order().size(), 8u);
        usbfs::Bus::Instance().Replug(m_Plugged.Name());
    }
}

TEST_F(LibusbTest, GoesOnWithFewerTransfersWhenMemoryIsShort) {
    usbfs::Bus::Instance().Memory().SetLimit(2);
    const auto handle = OpenAndClaim();
    Transfers transfers(*handle, TestDevice::kSource, 4, 1u << 20);
    ASSERT_EQ(transfers.Submit(0), Result::Ok);
    EXPECT_EQ(transfers.Submit(1), Result::NoMemory);
    m_Device->Flow();
    ASSERT_TRUE(transfers.PumpUntilCompleted(1));
    ASSERT_EQ(transfers.Submit(1), Result::Ok);
    ASSERT_TRUE(transfers.PumpUntilCompleted(2));
    EXPECT_EQ(transfers[1].status, TransferStatus::Completed);
}

TEST_F(LibusbTest, RefusesTransfersWithoutCompletionOrBeyondCounting) {
    const auto handle = OpenAndClaim();
    Transfers transfers(*handle, TestDevice::kSource, 1, kSize);
    usb::Transfer bad = transfers[0];
    bad.completed = nullptr;
    EXPECT_EQ(handle->Submit(bad), Result::InvalidParam);
    bad = transfers[0];
    bad.length = std::size_t{1} << 32;
    EXPECT_EQ(handle->Submit(bad), Result::InvalidParam);
    EXPECT_EQ(bad.backendData, nullptr);
}

TEST_F(LibusbTest, ATransferMayBeForgottenInItsCompletion) {
    const auto handle = OpenAndClaim();
    Transfers transfers(*handle, TestDevice::kSource, 2, kSize);
    transfers.onCompleted = [&](usb::Transfer& transfer) { handle->Forget(transfer); };
    transfers.SubmitAll();
    m_Device->Flow();
    ASSERT_TRUE(transfers.PumpUntilCompleted(2));
    EXPECT_EQ(transfers[0].backendData, nullptr);
}

TEST_F(LibusbTest, WakeEventsEndsTheNextHandleEvents) {
    const auto handle = Open();
    handle->WakeEvents();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(handle->HandleEvents(60000), Result::Ok);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
}

TEST_F(LibusbTest, WakeEventsEndsARunningHandleEvents) {
    const auto handle = Open();
    std::atomic<bool> stop{false};
    std::thread pump([&] {
        while (!stop)
            EXPECT_EQ(handle->HandleEvents(60000), Result::Ok);
    });
    stop = true;
    const auto start = std::chrono::steady_clock::now();
    handle->WakeEvents();
    pump.join();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
}

TEST_F(LibusbTest, HandleEventsReturnsAtItsTimeLimitAndNotBefore) {
    const auto handle = Open();
    EXPECT_EQ(handle->HandleEvents(0), Result::Ok);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(handle->HandleEvents(5), Result::Ok);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(5));
}

TEST_F(LibusbTest, CompletionsRunOnThePumpOnlyWhileOthersCallSynchronously) {
    const auto handle = OpenAndClaim();
    Transfers transfers(*handle, TestDevice::kSource, 4, kSize);
    std::atomic<bool> stop{false};
    const auto caller = std::this_thread::get_id();
    std::size_t foreign = 0, left = 2000;
    transfers.onCompleted = [&](usb::Transfer& transfer) {
        foreign += std::this_thread::get_id() == caller;
        if (left > 0 && handle->Submit(transfer) == Result::Ok) --left;
    };
    transfers.SubmitAll();
    m_Device->Flow();
    std::thread pump([&] {
        EXPECT_TRUE(transfers.PumpUntilCompleted(2004));
        stop = true;
    });
    std::size_t failed = 0, calls = 0;
    for (std::uint8_t bytes[64]; !stop; ++calls) {
        std::size_t actual = 0;
        failed += handle->Control({0xC0, TestDevice::kScratchRequest, 0, 0, 64}, bytes, actual, 10000) != Result::Ok;
        failed += handle->Bulk(TestDevice::kEchoOut, bytes, 24, actual, 10000) != Result::Ok;
        failed += handle->Bulk(TestDevice::kEchoIn, bytes, 64, actual, 10000) != Result::Ok;
    }
    pump.join();
    EXPECT_EQ(foreign, 0u);
    EXPECT_EQ(failed, 0u);
    EXPECT_GT(calls, 0u);
}

TEST_F(LibusbTest, ASynchronousCallWithoutAPumpRunsNoCompletion) {
    const auto handle = OpenAndClaim();
    Transfers transfers(*handle, TestDevice::kSource, 1, kSize);
    m_Device->Send(7);
    transfers.SubmitAll();
    std::uint8_t bytes[64];
    std::size_t actual = 0;
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(handle->Control({0xC0, TestDevice::kScratchRequest, 0, 0, 64}, bytes, actual, 10000), Result::Ok);
    EXPECT_TRUE(transfers.Order().empty());
    EXPECT_EQ(handle->HandleEvents(10000), Result::Ok);
    EXPECT_EQ(transfers.Order().size(), 1u);
    EXPECT_EQ(transfers[0].actualLength, 7u);
}

TEST_F(LibusbTest, HandlesPumpTheirOwnTransfersOnly) {
    const auto second = std::make_shared<TestDevice>();
    const usbfs::Plugged plugged(second);
    const auto handle = OpenAndClaim();
    std::unique_ptr<usb::Handle> other;
    ASSERT_EQ(m_Backend->Open(plugged.Name(), other), Result::Ok);
    ASSERT_EQ(other->Claim(1), Result::Ok);
    Transfers transfers(*handle, TestDevice::kSource, 1, kSize);
    Transfers others(*other, TestDevice::kSource, 1, kSize);
    transfers.SubmitAll();
    others.SubmitAll();
    m_Device->Send(1);
    second->Send(1);
    ASSERT_TRUE(others.PumpUntilCompleted(1));
    EXPECT_TRUE(transfers.Order().empty());
    ASSERT_TRUE(transfers.PumpUntilCompleted(1));
}

TEST_F(LibusbTest, ClosingCancelsWhatIsLeftAndRunsItsCompletion) {
    auto handle = OpenAndClaim();
    std::vector<std::uint8_t> buffer(kSize);
    usb::Transfer transfer;
    struct Owner {
        usb::Handle* handle;
        std::size_t completions;
    } owner{handle.get(), 0};
    transfer.endpoint = TestDevice::kSource;
    transfer.buffer = buffer.data();
    transfer.length = buffer.size();
    transfer.context = &owner;
    transfer.completed = [](usb::Transfer& ended) {
        auto& self = *static_cast<Owner*>(ended.context);
        ++self.completions;
        self.handle->Forget(ended);
    };
    ASSERT_EQ(handle->Submit(transfer), Result::Ok);
    handle.reset();
    EXPECT_EQ(owner.completions, 1u);
    EXPECT_EQ(transfer.status, TransferStatus::Cancelled);
}

TEST_F(LibusbTest, HandleEventsReturnsSoonAfterItsTimeLimit) {
    const auto handle = Open();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(handle->HandleEvents(400), Result::Ok);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
}

/// Interrupts whatever the thread that made it waits for, again and again.
class InterruptingSignals {
public:
    InterruptingSignals() : m_Waiting(pthread_self()) {
        struct sigaction action {};
        action.sa_handler = [](int) {}; // and no system call is begun again
        sigaction(SIGUSR1, &action, &m_Before);
        m_Sender = std::thread([this] {
            while (!m_Stop) {
                pthread_kill(m_Waiting, SIGUSR1);
                std::this_thread::sleep_for(std::chrono::milliseconds(2));
            }
        });
    }
    ~InterruptingSignals() {
        m_Stop = true;
        m_Sender.join();
        sigaction(SIGUSR1, &m_Before, nullptr);
    }

private:
    const pthread_t m_Waiting;
    std::atomic<bool> m_Stop{false};
    struct sigaction m_Before {};
    std::thread m_Sender;
};

TEST_F(LibusbTest, SignalsNeitherFailNorShortenAWaitForEvents) {
    const auto handle = Open();
    const InterruptingSignals signals;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(handle->HandleEvents(100), Result::Ok);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(100));
}

TEST_F(LibusbTest, SignalsDoNotEndASynchronousTransfer) {
    const auto handle = OpenAndClaim();
    const InterruptingSignals signals;
    std::uint8_t room[1024];
    std::size_t actual = 0;
    EXPECT_EQ(handle->Bulk(TestDevice::kSource, room, sizeof room, actual, 100), Result::Timeout);
}

} // namespace
