#include "vexlo/VxStream.h"

#include "vexlo/stream/support/Blocks.h"
#include "vexlo/stream/support/FakeCamera.h"

#include "core/LogSink.h"
#include "vexlo/stream/StreamImpl.h"
#include "vexlo/stream/TransferBudget.h"

#include <gmock/gmock.h>

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using namespace streamtest;
using namespace vexlo;

namespace {

constexpr std::size_t kPayload = 3000;

/// A closed stream of a camera that waits for it.
class VxStreamTest : public testing::Test {
protected:
    VxStreamTest() {
        auto host = std::make_unique<FakeCamera>(bus);
        camera = host.get();
        camera->Set(0x00, 0x0A000000);
        camera->Set(0x08, kPayload);
        camera->Set(0x10, 52);
        camera->Set(0x14, 32);
        stream = std::make_unique<CVxStream>(std::make_unique<CVxStream::Impl>(std::move(host)));
        EXPECT_EQ(stream->RegisterWaitObject(wait), VX_OK);
        plan = *u3v::MakeTransferPlan({kPayload, 52, 32, 10, 1024, 1 << 20});
    }
    ~VxStreamTest() override {
        stream.reset();
        EXPECT_EQ(bus.Handles(), 0);
        EXPECT_EQ(bus.Claims(), 0);
        EXPECT_EQ(bus.Offences(), std::vector<std::string>());
    }
    void Start() {
        ASSERT_EQ(stream->Open(), VX_OK);
        Restart();
    }
    void Restart() {
        ASSERT_EQ(stream->PrepareGrab(2, kPayload), VX_OK);
        ASSERT_EQ(stream->StartStreaming(), VX_OK);
    }
    BufferHandle_s* Register() {
        BufferHandle_s* handle = nullptr;
        EXPECT_EQ(stream->RegisterBuffer(memory, sizeof memory, &handle), VX_OK);
        return handle;
    }
    CVxStream::GrabResult Next() {
        CVxStream::GrabResult result{};
        while (stream->RetrieveBuffer(&result, nullptr) != VX_OK) {
            if (wait.Wait(20000)) continue;
            ADD_FAILURE() << "no buffer came back in time";
            break;
        }
        return result;
    }
    template<class Value>
    Value Get(CVxStream::EPropertyValue id) {
        Value value{};
        EXPECT_EQ(stream->GetProperty(id, &value, sizeof value), VX_OK);
        return value;
    }
    template<class Value>
    VxStatus Set(CVxStream::EPropertyValue id, Value value) {
        return stream->SetProperty(id, &value, sizeof value);
    }

    PacketBus bus;
    FakeCamera* camera = nullptr; // of the stream
    Tavix::WaitObjectEx wait = Tavix::WaitObjectEx::Create();
    u3v::TransferPlan plan;
    std::uint8_t memory[kPayload] = {};
    std::unique_ptr<CVxStream> stream;
};

TEST_F(VxStreamTest, ClosedRefusesEverythingButOpen) {
    BufferHandle_s* handle = nullptr;
    EXPECT_FALSE(stream->IsOpen());
    EXPECT_EQ(stream->PrepareGrab(1, 1), VX_E_NOT_OPEN);
    EXPECT_EQ(stream->StartStreaming(), VX_E_INVALID_STATE);
    EXPECT_EQ(stream->FinishGrab(), VX_E_INVALID_STATE);
    EXPECT_EQ(stream->CancelGrab(), VX_E_INVALID_STATE);
    EXPECT_EQ(stream->RegisterBuffer(memory, 1, &handle), VX_E_INVALID_STATE);
    EXPECT_EQ(stream->Close(), VX_OK);
    EXPECT_EQ(stream->Open(), VX_OK);
    EXPECT_TRUE(stream->IsOpen());
}

TEST_F(VxStreamTest, OpenRefusesWhatNeedsPreparation) {
    ASSERT_EQ(stream->Open(), VX_OK);
    BufferHandle_s* handle = nullptr;
    EXPECT_EQ(stream->Open(), VX_E_ALREADY_OPEN);
    EXPECT_EQ(stream->StartStreaming(), VX_E_INVALID_STATE);
    EXPECT_EQ(stream->FinishGrab(), VX_E_INVALID_STATE);
    EXPECT_EQ(stream->CancelGrab(), VX_E_INVALID_STATE);
    EXPECT_EQ(stream->RegisterBuffer(memory, 1, &handle), VX_E_INVALID_STATE);
    EXPECT_EQ(stream->PrepareGrab(0, 1), VX_E_INVALID_PARAMETER);
    EXPECT_EQ(stream->PrepareGrab(1, 0), VX_E_INVALID_PARAMETER);
    EXPECT_FALSE(stream->IsPrepared());
    EXPECT_EQ(stream->PrepareGrab(1, 1), VX_OK);
    EXPECT_TRUE(stream->IsPrepared());
}

TEST_F(VxStreamTest, PreparedTakesBuffersButQueuesNone) {
    ASSERT_EQ(stream->Open(), VX_OK);
    ASSERT_EQ(stream->PrepareGrab(1, kPayload), VX_OK);
    BufferHandle_s* handle = Register();
    EXPECT_EQ(stream->PrepareGrab(1, 1), VX_E_INVALID_STATE);
    EXPECT_EQ(stream->CancelGrab(), VX_E_INVALID_STATE);
    EXPECT_EQ(stream->QueueBuffer(handle, nullptr), VX_E_INVALID_STATE);
    EXPECT_EQ(stream->FinishGrab(), VX_OK);
    EXPECT_FALSE(stream->IsPrepared());
}

TEST_F(VxStreamTest, LeavesNothingBehindWhenItCannotBeOpened) {
    camera->channelAnswer = VX_E_NOT_SUPPORTED;
    EXPECT_EQ(stream->Open(), VX_E_NOT_SUPPORTED);
    camera->channelAnswer = VX_OK;
    camera->openAnswer = VX_E_USB_ACCESS;
    EXPECT_EQ(stream->Open(), VX_E_USB_ACCESS);
    camera->openAnswer = VX_OK;
    bus.RefuseClaim(usb::Result::Busy);
    EXPECT_EQ(stream->Open(), VX_E_BUSY);
    EXPECT_EQ(bus.Handles(), 0);
    EXPECT_FALSE(stream->IsOpen());
    bus.RefuseClaim(usb::Result::Ok);
    EXPECT_EQ(stream->Open(), VX_OK);
}

TEST_F(VxStreamTest, RefusesToPrepareForNothing) {
    camera->Set(0x08, 0);
    ASSERT_EQ(stream->Open(), VX_OK);
    EXPECT_EQ(stream->PrepareGrab(1, 1), VX_E_PAYLOAD_SIZE);
    EXPECT_FALSE(stream->IsPrepared());
}

TEST_F(VxStreamTest, TellsSizesClearsTheHaltAndSwitchesOn) {
    Start();
    EXPECT_EQ(camera->Writes(),
              (std::vector<FakeCamera::Write>{
                  {0x18, 1024}, {0x1C, 1 << 20}, {0x20, 0}, {0x24, 2048}, {0x28, 1024}, {0x2C, 1024}, {0x04, 1}}));
    EXPECT_EQ(camera->HaltsBeforeEnable(), 1u);
    EXPECT_EQ(camera->QueuedBeforeEnable(), 1u) << "the transfer of the first leader";
    EXPECT_EQ(stream->FinishGrab(), VX_OK);
    EXPECT_EQ(camera->Writes().back(), (FakeCamera::Write{0x04, 0}));
}

TEST_F(VxStreamTest, GrabsAgainAndAgain) {
    ASSERT_EQ(stream->Open(), VX_OK);
    for (int i = 0; i < 3; ++i) {
        Restart();
        BufferHandle_s* handle = Register();
        ASSERT_EQ(stream->QueueBuffer(handle, this), VX_OK);
        bus.Send(Block(0, plan));
        const auto result = Next();
        EXPECT_EQ(result.Status, VX_OK);
        EXPECT_EQ(result.Handle, handle);
        EXPECT_EQ(result.Buffer, memory);
        EXPECT_EQ(result.Context, this);
        EXPECT_EQ(Get<std::uint64_t>(CVxStream::Property_TotalBufferCount), 1u);
        EXPECT_EQ(Get<std::uint64_t>(CVxStream::Property_CopiedByteCount), 952u);
        ASSERT_EQ(stream->QueueBuffer(handle, nullptr), VX_OK);
        EXPECT_EQ(stream->FinishGrab(), VX_OK);
        EXPECT_EQ(Next().Status, VX_E_CANCELLED);
        void* data = nullptr;
        EXPECT_EQ(stream->DeregisterBuffer(handle, &data), VX_OK);
        EXPECT_EQ(data, memory);
    }
}

TEST_F(VxStreamTest, KeepsResultsUntilItIsClosed) {
    Start();
    BufferHandle_s* handle = Register();
    ASSERT_EQ(stream->QueueBuffer(handle, nullptr), VX_OK);
    ASSERT_EQ(stream->FinishGrab(), VX_OK);
    CVxStream::GrabResult result{};
    EXPECT_TRUE(wait.Wait(0));
    EXPECT_EQ(stream->RetrieveBuffer(&result, nullptr), VX_OK);
    EXPECT_EQ(result.Status, VX_E_CANCELLED);
    Restart();
    ASSERT_EQ(stream->QueueBuffer(handle, nullptr), VX_OK);
    ASSERT_EQ(stream->Close(), VX_OK); // finishes the grab
    EXPECT_EQ(camera->Writes().back(), (FakeCamera::Write{0x04, 0}));
    EXPECT_EQ(stream->RetrieveBuffer(&result, nullptr), VX_E_NO_DATA);
    EXPECT_FALSE(wait.Wait(0));
}

TEST_F(VxStreamTest, ClosesWhenTheCameraIsGone) {
    Start();
    BufferHandle_s* handle = Register();
    ASSERT_EQ(stream->QueueBuffer(handle, nullptr), VX_OK);
    bus.Unplug();
    EXPECT_EQ(Next().Status, VX_E_USB_NO_DEVICE);
    // The stream may be about to end when the buffer comes back; then it takes the buffer once more.
    while (stream->QueueBuffer(handle, nullptr) == VX_OK)
        EXPECT_EQ(Next().Status, VX_E_USB_NO_DEVICE);
    EXPECT_EQ(stream->QueueBuffer(handle, nullptr), VX_E_USB_NO_DEVICE);
    EXPECT_EQ(stream->CancelGrab(), VX_OK);
    EXPECT_EQ(stream->FinishGrab(), VX_E_USB_NO_DEVICE);
    EXPECT_FALSE(stream->IsPrepared());
    EXPECT_EQ(stream->Close(), VX_OK);
}

TEST_F(VxStreamTest, CancelsBuffersWithoutWaitingForThem) {
    EXPECT_EQ(stream->BeginCancelGrab(), VX_E_INVALID_STATE);
    Start();
    BufferHandle_s* handle = Register();
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(stream->QueueBuffer(handle, nullptr), VX_OK);
        EXPECT_EQ(stream->BeginCancelGrab(), VX_OK);
        EXPECT_EQ(Next().Status, VX_E_CANCELLED);
    }
}

TEST_F(VxStreamTest, SwitchesAStreamOffThatWasRestartedInBetween) {
    Start();
    BufferHandle_s* handle = Register();
    ASSERT_EQ(stream->QueueBuffer(handle, nullptr), VX_OK);
    ASSERT_TRUE(bus.WaitFor([&] { return bus.Queued() > 1; }));
    bus.Fail(usb::TransferStatus::Stall);
    EXPECT_EQ(Next().Status, VX_E_USB_STALL);
    EXPECT_EQ(stream->FinishGrab(), VX_OK);
    EXPECT_EQ(camera->Writes().back(), (FakeCamera::Write{0x04, 0}));
}

TEST_F(VxStreamTest, ToleratesEveryOperationFromEveryThreadAtAnyTime) {
    ASSERT_EQ(stream->Open(), VX_OK);
    std::atomic<bool> end{false};
    std::thread consumer([&] {
        std::uint8_t bytes[kPayload];
        BufferHandle_s* handle = nullptr;
        CVxStream::GrabResult result{};
        while (!end) {
            if (!handle && stream->RegisterBuffer(bytes, sizeof bytes, &handle) != VX_OK) handle = nullptr;
            if (handle && stream->QueueBuffer(handle, nullptr) == VX_E_INVALID_HANDLE) handle = nullptr;
            (void)stream->RetrieveBuffer(&result, nullptr);
            (void)Get<std::uint64_t>(CVxStream::Property_TotalBufferCount);
        }
        (void)stream->Close(); // before the memory goes
    });
    std::thread canceller([&] {
        while (!end) {
            (void)stream->CancelGrab();
            (void)stream->IsPrepared();
            (void)Set<std::uint32_t>(CVxStream::Property_NumMaxQueuedUrbs, 10);
        }
    });
    for (std::uint64_t i = 0; i < 200; ++i) {
        (void)stream->Open();
        (void)stream->PrepareGrab(2, kPayload);
        (void)stream->StartStreaming();
        bus.Send(Block(i, plan));
        (void)stream->FinishGrab();
        if (i % 10 == 0) (void)stream->Close();
    }
    end = true;
    consumer.join();
    canceller.join();
}

TEST_F(VxStreamTest, HasPropertiesWithWidthsAndLimits) {
    using S = CVxStream;
    for (const auto id :
         {S::Property_NumMaxQueuedUrbs, S::Property_MaxTransferSize, S::Property_MaxTransferSizeMax,
          S::Property_MaxTransferSizeMin, S::Property_MaxTransferSizeInc, S::Property_LastFailedBufferStatus,
          S::Property_TransferLoopThreadPriority, S::Property_TransferLoopThreadPriorityMax,
          S::Property_TransferLoopThreadPriorityMin, S::Property_FirstDataTimeout}) {
        std::uint64_t value = 0;
        EXPECT_EQ(stream->GetProperty(id, &value, 4), VX_OK) << std::hex << id;
        EXPECT_EQ(stream->GetProperty(id, &value, 8), VX_E_INVALID_SIZE) << std::hex << id;
    }
    for (const auto id : {S::Property_TotalBufferCount, S::Property_FailedBufferCount, S::Property_MissedFrameCount,
                          S::Property_ResynchronizationCount, S::Property_LastBlockId, S::Property_CopiedByteCount}) {
        std::uint64_t value = 1;
        EXPECT_EQ(stream->GetProperty(id, &value, 8), VX_OK) << std::hex << id;
        EXPECT_EQ(value, 0u);
        EXPECT_EQ(stream->GetProperty(id, &value, 4), VX_E_INVALID_SIZE) << std::hex << id;
        EXPECT_EQ(Set<std::uint64_t>(id, 1), VX_E_INVALID_PROPERTY) << std::hex << id;
    }
    EXPECT_EQ(stream->GetProperty(S::Property_LastBlockId, nullptr, 8), VX_E_INVALID_PARAMETER);
    EXPECT_EQ(stream->SetProperty(S::Property_MaxTransferSize, nullptr, 4), VX_E_INVALID_PARAMETER);
    std::uint32_t value = 0;
    EXPECT_EQ(stream->GetProperty(static_cast<S::EPropertyValue>(0x123), &value, 4), VX_E_INVALID_PROPERTY);
    EXPECT_EQ(Set<std::uint32_t>(S::Property_MaxTransferSizeMax, 1), VX_E_INVALID_PROPERTY);
}

TEST_F(VxStreamTest, KeepsSettingsWithinTheirLimits) {
    using S = CVxStream;
    EXPECT_EQ(Set<std::uint32_t>(S::Property_NumMaxQueuedUrbs, 0), VX_E_INVALID_PARAMETER);
    EXPECT_EQ(Set<std::uint32_t>(S::Property_NumMaxQueuedUrbs, 7), VX_OK);
    EXPECT_EQ(Get<std::uint32_t>(S::Property_NumMaxQueuedUrbs), 7u);
    const auto least = Get<std::uint32_t>(S::Property_MaxTransferSizeMin);
    const auto most = Get<std::uint32_t>(S::Property_MaxTransferSizeMax);
    EXPECT_EQ(Set<std::uint32_t>(S::Property_MaxTransferSize, least - 1), VX_E_INVALID_PARAMETER);
    EXPECT_EQ(Set<std::uint32_t>(S::Property_MaxTransferSize, most + 1), VX_E_INVALID_PARAMETER);
    EXPECT_EQ(Set<std::uint32_t>(S::Property_MaxTransferSize, least), VX_OK);
    EXPECT_EQ(Get<std::uint32_t>(S::Property_FirstDataTimeout), 0u);
    EXPECT_EQ(Set<std::uint32_t>(S::Property_FirstDataTimeout, 3600001), VX_E_INVALID_PARAMETER);
    EXPECT_EQ(Set<std::uint32_t>(S::Property_FirstDataTimeout, 0), VX_OK);
    EXPECT_EQ(Set<std::int32_t>(S::Property_TransferLoopThreadPriority, -1), VX_E_INVALID_PARAMETER);
    EXPECT_EQ(Set<std::int32_t>(S::Property_TransferLoopThreadPriority, 100), VX_E_INVALID_PARAMETER);
    EXPECT_EQ(Set<std::int32_t>(S::Property_TransferLoopThreadPriority, 0), VX_OK);
    Start();
    EXPECT_EQ(Set<std::uint32_t>(S::Property_MaxTransferSize, most), VX_E_INVALID_STATE);
    EXPECT_EQ(Get<std::uint32_t>(S::Property_MaxTransferSize), least);
}

TEST_F(VxStreamTest, SharesLimitedMemoryWithOthersWhileItIsOpen) {
    const unsigned int before = StreamCount::Open();
    camera->memoryLimit = 16u << 20;
    ASSERT_EQ(stream->Open(), VX_OK);
    EXPECT_EQ(StreamCount::Open(), before + 1);
    EXPECT_EQ(stream->Close(), VX_OK);
    EXPECT_EQ(StreamCount::Open(), before);
    camera->memoryLimit = 0;
    ASSERT_EQ(stream->Open(), VX_OK);
    EXPECT_EQ(StreamCount::Open(), before) << "what has no limit is not shared";
}

TEST_F(VxStreamTest, SpeaksOfNoPriorityThatNobodyAskedFor) {
    std::vector<std::string> lines;
    std::mutex lock;
    const Tavix::LogSink sink([&](const char*, unsigned int, const char* text) {
        const std::lock_guard<std::mutex> guard(lock);
        lines.emplace_back(text);
    });
    Start();
    EXPECT_EQ(stream->FinishGrab(), VX_OK);
    const std::lock_guard<std::mutex> guard(lock);
    EXPECT_THAT(lines, testing::Not(testing::Contains(testing::HasSubstr("priority"))));
}

} // namespace
