// Buffers in memory of the library.

#include "vexlo/StreamFixture.h"

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
