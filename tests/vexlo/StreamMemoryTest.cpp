// Buffers in memory of the library.

#include "vexlo/stream/StreamMemory.h"
#include "vexlo/stream/TransferBudget.h"
#include "vexlo/support/StreamFixture.h"

namespace {

using namespace vexlotest;

class StreamMemory : public Stream {
protected:
    void* Allocate(unsigned long size = kPayload) {
        void* where = nullptr;
        EXPECT_EQ(stream->AllocateMemory(size, &where), VX_OK);
        return where;
    }
    void QueueIn(void* where) {
        BufferHandle_s* handle = nullptr;
        ASSERT_EQ(stream->RegisterBuffer(where, kPayload, &handle), VX_OK);
        ASSERT_EQ(stream->QueueBuffer(handle, nullptr), VX_OK);
        handles.push_back(handle);
    }
};

TEST_F(StreamMemory, IsMappedByTheKernelWhereItCan) {
    camera.AllowMapping(2 * kPayload);
    Prepare();
    void* where = Allocate();
    EXPECT_EQ(camera.MappedBytes(), kPayload);
    QueueIn(where);
    Send(Block(0));
    ExpectGood(0);
    void* back = nullptr;
    EXPECT_EQ(stream->DeregisterBuffer(handles[0], &back), VX_OK);
    EXPECT_EQ(back, where);
    EXPECT_EQ(stream->FreeMemory(where), VX_OK);
    EXPECT_EQ(camera.MappedBytes(), 0u);
}

TEST_F(StreamMemory, IsOrdinaryWhereTheKernelCannot) {
    camera.AllowMapping(kPayload);
    Prepare();
    void* mapped = Allocate();
    void* ordinary = Allocate();
    EXPECT_EQ(camera.MappedBytes(), kPayload);
    QueueIn(mapped);
    QueueIn(ordinary);
    Send(Block(0));
    Send(Block(1));
    ExpectGood(0);
    ExpectGood(1);
}

TEST_F(StreamMemory, IsNotFreedUnderABuffer) {
    Prepare();
    void* where = Allocate();
    QueueIn(where);
    EXPECT_EQ(stream->FreeMemory(where), VX_E_BUFFER_QUEUED);
    Send(Block(0));
    ExpectGood(0);
    EXPECT_EQ(stream->FreeMemory(where), VX_E_BUFFER_QUEUED) << "it is still registered";
    EXPECT_EQ(stream->DeregisterBuffer(handles[0], nullptr), VX_OK);
    EXPECT_EQ(stream->FreeMemory(where), VX_OK);
    EXPECT_EQ(stream->FreeMemory(where), VX_E_NOT_FOUND);
}

TEST_F(StreamMemory, IsFreedWithTheStream) {
    camera.AllowMapping(10 * kPayload);
    Prepare();
    QueueIn(Allocate());
    Allocate();
    EXPECT_EQ(device->Close(), VX_OK);
    EXPECT_EQ(camera.MappedBytes(), 0u);
}

TEST_F(StreamMemory, OutlivesTheStreamWhenShared) {
    camera.AllowMapping(kPayload);
    Prepare();
    std::shared_ptr<void> shared = stream->ShareMemory(kPayload);
    ASSERT_NE(shared, nullptr);
    QueueIn(shared.get());
    Send(Block(0));
    ExpectGood(0);
    EXPECT_EQ(device->Close(), VX_OK);
    EXPECT_EQ(camera.MappedBytes(), kPayload);
    const auto* bytes = static_cast<const std::uint8_t*>(shared.get());
    EXPECT_EQ(Bytes(bytes, bytes + kPayload), Pattern(kPayload, 0));
    shared.reset();
    EXPECT_EQ(camera.MappedBytes(), 0u);
}

TEST_F(StreamMemory, IsNotSharedWhereTheKernelMapsNone) {
    EXPECT_EQ(stream->ShareMemory(kPayload), nullptr) << "closed";
    Prepare();
    EXPECT_EQ(stream->ShareMemory(kPayload), nullptr);
    EXPECT_EQ(stream->ShareMemory(0), nullptr);
}

TEST_F(StreamMemory, IsNotFreedByPointerWhenShared) {
    camera.AllowMapping(kPayload);
    Prepare();
    const std::shared_ptr<void> shared = stream->ShareMemory(kPayload);
    EXPECT_EQ(stream->FreeMemory(shared.get()), VX_E_NOT_FOUND);
    EXPECT_EQ(camera.MappedBytes(), kPayload);
}

TEST_F(StreamMemory, IsLaidTogetherOfWholeTransfers) {
    constexpr std::uint32_t kLarge = 9 << 20;
    SetTransferSize(192 << 10);
    camera.Set64(kSirm + 8, kLarge);
    camera.AllowMapping(kLarge);
    Prepare(2, kLarge);
    EXPECT_NE(stream->ShareMemory(kLarge), nullptr);
    EXPECT_EQ(camera.MappedPiece(), 192u << 10);
}

/// Otherwise a transfer would reach across two mappings, which the kernel refuses.
TEST_F(StreamMemory, IsSuitedByTransfersThatArePlannedLater) {
    constexpr std::uint32_t kLarge = 9 << 20;
    camera.Set64(kSirm + 8, kLarge);
    camera.AllowMapping(kLarge);
    SetTransferSize(192 << 10);
    ASSERT_EQ(Open(), VX_OK);
    ASSERT_EQ(stream->Open(), VX_OK);
    Allocate(kLarge);
    ASSERT_EQ(camera.MappedPiece(), 192u << 10);
    SetTransferSize(256 << 10);
    Prepare(2, kLarge);
    EXPECT_EQ(camera.Get32(kSirm + 0x1C), 64u << 10);
}

TEST(PieceOfMappedMemory, IsAMultipleOfTheTransferAndOfSmallOnes) {
    EXPECT_EQ(vexlo::PieceFor(9 << 20, 1 << 20), 1u << 20);
    EXPECT_EQ(vexlo::PieceFor(9 << 20, 48 << 10), 192u << 10);
    EXPECT_EQ(vexlo::PieceFor(9 << 20, 4 << 20), 4u << 20);
}

TEST(PieceOfMappedMemory, IsTheWholeWhereTransfersFitNone) {
    EXPECT_EQ(vexlo::PieceFor(100000, 99328), 128u << 10);
    EXPECT_EQ(vexlo::PieceFor(4 << 20, 0), 4u << 20);
    EXPECT_EQ(vexlo::PieceFor(9 << 20, (1 << 20) + 1024), 0u) << "no such mapping is to be had";
    EXPECT_EQ(vexlo::PieceFor(SIZE_MAX, 0), 0u);
}

/// Gives as much as it is asked for.
struct GenerousHandle : usb::Handle {
    usb::Result Claim(std::uint8_t) override { return usb::Result::Ok; }
    usb::Result Release(std::uint8_t) override { return usb::Result::Ok; }
    usb::Result Control(const usb::ControlSetup&, std::uint8_t*, std::size_t&, unsigned int) override {
        return usb::Result::NotSupported;
    }
    usb::Result Bulk(std::uint8_t, std::uint8_t*, std::size_t, std::size_t&, unsigned int) override {
        return usb::Result::NotSupported;
    }
    usb::Result Submit(usb::Transfer&) override { return usb::Result::NotSupported; }
    usb::Result Cancel(usb::Transfer&) override { return usb::Result::NotFound; }
    void Forget(usb::Transfer&) override {}
    usb::Result HandleEvents(unsigned int) override { return usb::Result::Ok; }
    void WakeEvents() override {}
    usb::Result ClearHalt(std::uint8_t) override { return usb::Result::Ok; }
    usb::Result Reset() override { return usb::Result::Ok; }
    std::string ReadString(std::uint8_t) override { return {}; }
    std::uint8_t* AllocateMemory(std::size_t size, std::size_t) override { return new std::uint8_t[size]; }
    void FreeMemory(std::uint8_t* memory, std::size_t) override { delete[] memory; }
};

TEST(MappedMemory, TakesHalfOfTheBussLimitAndIsCounted) {
    constexpr std::size_t kMegabyte = 1 << 20;
    const auto handle = std::make_shared<GenerousHandle>();
    vexlo::StreamMemory memory;
    const vexlo::StreamMemory::Request request{3 * kMegabyte, kMegabyte, 16 * kMegabyte};
    std::shared_ptr<void> first = memory.Share(handle, request), second = memory.Share(handle, request);
    EXPECT_NE(second, nullptr);
    EXPECT_EQ(memory.Share(handle, request), nullptr);
    EXPECT_EQ(vexlo::MappedCount::Bytes(), 6 * kMegabyte);
    first.reset();
    EXPECT_NE(memory.Share(handle, request), nullptr);
    EXPECT_EQ(vexlo::MappedCount::Bytes(), 3 * kMegabyte);
    EXPECT_TRUE(memory.IsMapped(static_cast<const std::uint8_t*>(second.get()), 3 * kMegabyte));
    memory.Clear();
    EXPECT_FALSE(memory.IsMapped(static_cast<const std::uint8_t*>(second.get()), 3 * kMegabyte)) << "another handle's";
}

TEST(MappedMemory, TakesAllOfItsHalf) {
    constexpr std::size_t kMegabyte = 1 << 20;
    const auto handle = std::make_shared<GenerousHandle>();
    vexlo::StreamMemory memory;
    EXPECT_NE(memory.Share(handle, {8 * kMegabyte, kMegabyte, 16 * kMegabyte}), nullptr);
    const auto first = memory.Share(handle, {4 * kMegabyte, kMegabyte, 16 * kMegabyte});
    EXPECT_NE(memory.Share(handle, {4 * kMegabyte, kMegabyte, 16 * kMegabyte}), nullptr);
    EXPECT_EQ(memory.Share(handle, {4 * kMegabyte + 1, kMegabyte, 16 * kMegabyte}), nullptr);
}

TEST(MappedMemory, DoesNotHoldABufferThatReachesBeyondIt) {
    constexpr std::size_t kMegabyte = 1 << 20;
    vexlo::StreamMemory memory;
    const auto shared = memory.Share(std::make_shared<GenerousHandle>(), {kMegabyte, kMegabyte, 0});
    const auto* bytes = static_cast<const std::uint8_t*>(shared.get());
    EXPECT_TRUE(memory.IsMapped(bytes + 1, kMegabyte - 1));
    EXPECT_FALSE(memory.IsMapped(bytes + 1, kMegabyte));
    EXPECT_FALSE(memory.IsMapped(bytes, kMegabyte + 1));
}

TEST(MappedMemory, OfOnePieceSuitsEveryTransfer) {
    constexpr std::size_t kMegabyte = 1 << 20;
    const auto handle = std::make_shared<GenerousHandle>();
    vexlo::StreamMemory memory;
    const auto whole = memory.Share(handle, {kMegabyte, kMegabyte, 0});
    EXPECT_TRUE(memory.Suits(192u << 10));
    const auto pieces = memory.Share(handle, {kMegabyte + 1, kMegabyte, 0});
    EXPECT_FALSE(memory.Suits(192u << 10));
    EXPECT_TRUE(memory.Suits(256u << 10));
}

TEST_F(StreamMemory, NeedsAnOpenStreamAndASize) {
    void* where = nullptr;
    EXPECT_EQ(stream->AllocateMemory(1000, &where), VX_E_NOT_OPEN);
    Prepare();
    EXPECT_EQ(stream->AllocateMemory(0, &where), VX_E_INVALID_PARAMETER);
    EXPECT_EQ(stream->AllocateMemory(1000, nullptr), VX_E_INVALID_PARAMETER);
    EXPECT_EQ(stream->FreeMemory(&where), VX_E_NOT_FOUND);
}

/// Its registers answer, but each payload transfer of more than 64 KiB ends in the middle.
TEST_F(Stream, RemembersThatACameraNeedsSmallTransfers) {
    constexpr std::uint32_t kLarge = 200000;
    SetTransferSize(1 << 20);
    camera.Set64(kSirm + 8, kLarge);
    Prepare(16, kLarge);
    EXPECT_EQ(camera.Get32(kSirm + 0x24), 199680u);
    Queue(4, kLarge);
    ASSERT_TRUE(camera.WaitFor([&] { return camera.Queued(kStreamIn) > 1; }));
    for (std::uint64_t id = 0; id < 3; ++id)
        Send({ImageLeader(id, 1000, 200), Pattern(1000), {}, ImageTrailer(id, kLarge, 200)});
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(Next().Status, VX_E_INCOMPLETE);
    ASSERT_TRUE(camera.WaitFor([&] { return camera.Get32(kSirm + 0x1C) == 65536; }));
    ASSERT_EQ(device->Close(), VX_OK);
    Prepare(16, kLarge);
    EXPECT_EQ(camera.WritesTo(kSirm + 0x1C).back(), 65536u) << "from the start, the next time";
}

} // namespace
