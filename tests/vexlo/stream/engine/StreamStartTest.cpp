// How a stream is switched on, by cameras that refuse it among others.

#include "vexlo/stream/support/Blocks.h"
#include "vexlo/stream/support/FakeCamera.h"

#include "vexlo/stream/StreamImpl.h"

#include "support/Shortage.h"

#include <gtest/gtest.h>

using namespace streamtest;
using namespace vexlo;

namespace {

using Write = FakeCamera::Write;
using Writes = std::vector<Write>;

constexpr std::uint32_t kBlockPayload = 3000;
const Writes kSizes = {{0x18, 1024}, {0x1C, 1 << 20}, {0x20, 0}, {0x24, 2048}, {0x28, 1024}, {0x2C, 1024}};

Writes InTurn(std::initializer_list<Writes> parts) {
    Writes all;
    for (const Writes& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

class StreamStart : public testing::Test {
protected:
    StreamStart() {
        auto host = std::make_unique<FakeCamera>(bus);
        camera = host.get();
        camera->Set(0x00, 0x0A000000);
        camera->Set(0x08, kBlockPayload);
        stream = std::make_unique<CVxStream>(std::make_unique<CVxStream::Impl>(std::move(host)));
        EXPECT_EQ(stream->RegisterWaitObject(wait), VX_OK);
        EXPECT_EQ(stream->Open(), VX_OK);
        EXPECT_EQ(stream->PrepareGrab(2, kBlockPayload), VX_OK);
    }
    ~StreamStart() override {
        stream.reset();
        EXPECT_EQ(bus.Handles(), 0);
        EXPECT_EQ(bus.Claims(), 0);
        EXPECT_EQ(bus.Offences(), std::vector<std::string>());
    }
    void Refuse(std::uint32_t code, std::size_t times) {
        camera->AnswerEnable(std::vector<VxStatus>(times, VX_E_DEVICE_STATUS_BASE | code));
    }
    void ExpectGoodBlock() {
        BufferHandle_s* handle = nullptr;
        ASSERT_EQ(stream->RegisterBuffer(memory, sizeof memory, &handle), VX_OK);
        ASSERT_EQ(stream->QueueBuffer(handle, nullptr), VX_OK);
        u3v::TransferNeeds needs;
        needs.payloadSize = kBlockPayload;
        needs.packetSize = 1024;
        needs.maxTransferSize = 1 << 20;
        bus.Send(Block(0, *u3v::MakeTransferPlan(needs)));
        CVxStream::GrabResult result{};
        while (stream->RetrieveBuffer(&result, nullptr) != VX_OK)
            ASSERT_TRUE(wait.Wait(20000));
        EXPECT_EQ(result.Status, VX_OK);
        EXPECT_EQ(result.BlockId, 0u);
    }

    PacketBus bus;
    FakeCamera* camera = nullptr; // of the stream
    Tavix::WaitObjectEx wait = Tavix::WaitObjectEx::Create();
    std::uint8_t memory[kBlockPayload] = {};
    std::unique_ptr<CVxStream> stream;
};

TEST_F(StreamStart, QueuesATransferBeforeTheCameraIsSwitchedOn) {
    ASSERT_EQ(stream->StartStreaming(), VX_OK);
    EXPECT_EQ(camera->Writes(), InTurn({kSizes, Writes{{0x04, 1}}}));
    EXPECT_EQ(camera->QueuedBeforeEnable(), 1u);
    EXPECT_EQ(bus.HaltsSet(), 0u) << "some cameras do not survive it";
    ExpectGoodBlock();
}

TEST_F(StreamStart, TakesNoBuffersAndLeavesNothingQueuedWhenThereIsNoThread) {
    BufferHandle_s* handle = nullptr;
    ASSERT_EQ(stream->RegisterBuffer(memory, sizeof memory, &handle), VX_OK);
    {
        const shortage::ThreadShortage none;
        EXPECT_EQ(stream->StartStreaming(), VX_E_NO_THREAD);
    }
    EXPECT_EQ(stream->QueueBuffer(handle, nullptr), VX_E_INVALID_STATE);
    EXPECT_EQ(bus.Queued(), 0u);
    EXPECT_EQ(stream->DeregisterBuffer(handle, nullptr), VX_OK);
    ASSERT_EQ(stream->StartStreaming(), VX_OK) << "there are threads again";
    ExpectGoodBlock();
}

TEST_F(StreamStart, TakesNoBuffersWhenTheCameraRefuses) {
    BufferHandle_s* handle = nullptr;
    ASSERT_EQ(stream->RegisterBuffer(memory, sizeof memory, &handle), VX_OK);
    camera->AnswerEnable({VX_E_TIMEOUT});
    EXPECT_EQ(stream->StartStreaming(), VX_E_TIMEOUT);
    EXPECT_EQ(stream->QueueBuffer(handle, nullptr), VX_E_INVALID_STATE);
    EXPECT_EQ(bus.Queued(), 0u);
}

TEST_F(StreamStart, TakesTheLeaderBeforeThereIsABuffer) {
    ASSERT_EQ(stream->StartStreaming(), VX_OK);
    bus.Send(Leader(0, kBlockPayload));
    ASSERT_TRUE(bus.WaitFor([&] { return bus.Queued() == 0; }));
    BufferHandle_s* handle = nullptr;
    ASSERT_EQ(stream->RegisterBuffer(memory, sizeof memory, &handle), VX_OK);
    ASSERT_EQ(stream->QueueBuffer(handle, nullptr), VX_OK);
    const Bytes pixels = Pixels(0, kBlockPayload);
    bus.Send({Bytes(pixels.begin(), pixels.begin() + 2048), Bytes(pixels.begin() + 2048, pixels.end()),
              Trailer(0, kBlockPayload)});
    ASSERT_TRUE(wait.Wait(20000));
    CVxStream::GrabResult result{};
    ASSERT_EQ(stream->RetrieveBuffer(&result, nullptr), VX_OK);
    EXPECT_EQ(result.Status, VX_OK);
    EXPECT_EQ(result.BlockId, 0u);
    EXPECT_EQ(result.PayloadSize, kBlockPayload);
}

TEST_F(StreamStart, LosesNoBlockToACancelBeforeTheFirst) {
    ASSERT_EQ(stream->StartStreaming(), VX_OK);
    ASSERT_EQ(stream->CancelGrab(), VX_OK);
    ExpectGoodBlock();
}

TEST_F(StreamStart, FinishesWithoutAnyBuffer) {
    ASSERT_EQ(stream->StartStreaming(), VX_OK);
    EXPECT_EQ(stream->FinishGrab(), VX_OK);
    EXPECT_EQ(bus.Queued(), 0u);
}

class Refusal : public StreamStart, public testing::WithParamInterface<std::uint32_t> {};

TEST_P(Refusal, IsAnsweredBySwitchingOffHaltingAndTellingAllSizesAgain) {
    Refuse(GetParam(), 1);
    EXPECT_EQ(stream->StartStreaming(), VX_OK);
    const Writes off{{0x04, 0}};
    EXPECT_EQ(camera->Writes(), InTurn({kSizes, Writes{{0x04, 1}}, off, off, kSizes, Writes{{0x04, 1}}}));
    EXPECT_EQ(bus.HaltsSet(), 1u);
    EXPECT_EQ(camera->HaltsBeforeEnable(), 3u);
    EXPECT_EQ(camera->QueuedBeforeEnable(), 1u);
    EXPECT_EQ(camera->Resets(), 0u);
    ExpectGoodBlock();
}

TEST_P(Refusal, IsAnsweredByAResetNext) {
    Refuse(GetParam(), 2);
    EXPECT_EQ(stream->StartStreaming(), VX_OK);
    EXPECT_EQ(camera->Resets(), 1u);
    ExpectGoodBlock();
}

TEST_P(Refusal, IsPassedOnWhenNothingHelps) {
    Refuse(GetParam(), 3);
    EXPECT_EQ(stream->StartStreaming(), VX_E_DEVICE_STATUS_BASE | GetParam());
    EXPECT_EQ(camera->Resets(), 1u);
    EXPECT_EQ(camera->TimesEnabled(), 0u);
    EXPECT_EQ(camera->Writes().back(), (Write{0x04, 0}));
    EXPECT_EQ(bus.Queued(), 0u);
    BufferHandle_s* handle = nullptr;
    EXPECT_EQ(stream->RegisterBuffer(memory, sizeof memory, &handle), VX_OK) << "it is still prepared";
    EXPECT_EQ(stream->QueueBuffer(handle, nullptr), VX_E_INVALID_STATE);
    EXPECT_EQ(stream->StartStreaming(), VX_OK) << "and may be tried again";
}

TEST_P(Refusal, OfASizeIsAnsweredInTheSameWay) {
    const VxStatus refused = VX_E_DEVICE_STATUS_BASE | GetParam();
    camera->AnswerWrites(0x2C, refused);
    camera->OnReset([this] { camera->AnswerWrites(0x2C, VX_OK); });
    EXPECT_EQ(stream->StartStreaming(), VX_OK);
    EXPECT_EQ(camera->Resets(), 1u);
    ExpectGoodBlock();
}

INSTANTIATE_TEST_SUITE_P(Each, Refusal, testing::Values(0xA002, 0xA003, 0xA004, 0x8FFF));

TEST_F(StreamStart, ResetsNoCameraWhoseHandleHasMemoryInUse) {
    void* where = nullptr;
    ASSERT_EQ(stream->AllocateMemory(1000, &where), VX_OK);
    Refuse(0xA004, 2);
    EXPECT_EQ(stream->StartStreaming(), VX_E_DEVICE_STATUS_BASE | 0xA004u);
    EXPECT_EQ(camera->Resets(), 0u);
    EXPECT_EQ(stream->FreeMemory(where), VX_OK);
    Refuse(0xA004, 2);
    EXPECT_EQ(stream->StartStreaming(), VX_OK);
    EXPECT_EQ(camera->Resets(), 1u);
}

TEST_F(StreamStart, AsksForTheSizesAgainAfterARefusal) {
    Refuse(0xA004, 1);
    camera->Set(0x08, 5000); // the camera has changed its mind since the grab was prepared
    EXPECT_EQ(stream->StartStreaming(), VX_OK);
    const Writes all = camera->Writes();
    EXPECT_EQ(std::count(all.begin(), all.end(), Write(0x24, 4096)), 1);
}

TEST_F(StreamStart, DoesNotStreamWhatAResetMadeOfTheSettings) {
    Refuse(0xA004, 2);
    camera->OnReset([this] { camera->Set(0x08, 2 * kBlockPayload); });
    EXPECT_EQ(stream->StartStreaming(), VX_E_DEVICE_STATUS_BASE | 0xA004);
    EXPECT_EQ(camera->TimesEnabled(), 0u);
}

TEST_F(StreamStart, KeepsItsHandleWhenTheCameraCannotBeReset) {
    Refuse(0xA004, 2);
    camera->resetAnswer = VX_E_USB_NOT_SUPPORTED;
    EXPECT_EQ(stream->StartStreaming(), VX_E_DEVICE_STATUS_BASE | 0xA004);
    EXPECT_EQ(bus.Claims(), 1);
    EXPECT_EQ(stream->StartStreaming(), VX_OK);
}

TEST_F(StreamStart, EndsWithoutAHandleWhenTheCameraDoesNotComeBack) {
    Refuse(0xA004, 2);
    camera->OnReset([this] { camera->openAnswer = VX_E_USB_NO_DEVICE; });
    camera->resetAnswer = VX_E_USB_NO_DEVICE;
    EXPECT_EQ(stream->StartStreaming(), VX_E_USB_NO_DEVICE);
    EXPECT_EQ(stream->StartStreaming(), VX_E_USB_NO_DEVICE);
    EXPECT_EQ(stream->FinishGrab(), VX_OK);
    EXPECT_EQ(stream->PrepareGrab(1, kBlockPayload), VX_E_USB_NO_DEVICE);
    EXPECT_EQ(stream->Close(), VX_OK);
}

TEST_F(StreamStart, DoesNotAskTwiceWhenNobodyAnswers) {
    camera->AnswerEnable({VX_E_TIMEOUT});
    EXPECT_EQ(stream->StartStreaming(), VX_E_TIMEOUT);
    EXPECT_EQ(camera->Resets(), 0u);
}

TEST_F(StreamStart, GivesUpWhenTheHaltCannotBeCleared) {
    bus.RefuseClearHalt(usb::Result::Io);
    EXPECT_EQ(stream->StartStreaming(), VX_E_USB_IO);
    EXPECT_EQ(camera->TimesEnabled(), 0u);
}

} // namespace
