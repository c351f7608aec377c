// Memory of the producer's own, read by one thread while another closes what it belongs to.

#include "gentl/stream/Buffer.h"

#include <gtest/gtest.h>

namespace {

using gentl::Buffer;

class OwnMemory : public testing::Test {
protected:
    /// A buffer that holds one chunk of four bytes with the ID 0x11.
    std::shared_ptr<Buffer> Filled() {
        const std::shared_ptr<std::uint8_t> memory(new std::uint8_t[12]{1, 2, 3, 4, 0x11, 0, 0, 0, 4, 0, 0, 0},
                                                   std::default_delete<std::uint8_t[]>());
        life = memory;
        auto buffer = std::make_shared<Buffer>(this, memory.get(), 12, nullptr, memory);
        buffer->Register();
        buffer->Update([](Buffer::Record& record) {
            record.hasData = true;
            record.result.PayloadType = 0x4001;
            record.result.PayloadSize = 12;
        });
        return buffer;
    }

    std::weak_ptr<void> life;
};

TEST_F(OwnMemory, GoesWithItsBuffer) {
    std::shared_ptr<Buffer> buffer = Filled();
    buffer->Unregister();
    buffer.reset();
    EXPECT_TRUE(life.expired());
}

TEST_F(OwnMemory, StaysForWhoIsJustReadingChunksWhenTheStreamIsClosed) {
    std::shared_ptr<Buffer> buffer = Filled();
    gentl::Contents contents{};
    gentl::WithBuffer(this, buffer->Handle(), [&](const Buffer& each, const Buffer::Record& record) {
        contents = gentl::ContentsOf(each, record);
    });
    buffer->Unregister();
    buffer.reset();
    ASSERT_FALSE(life.expired());
    const auto chunks = gentl::ChunksOf(contents);
    ASSERT_EQ(chunks.size(), 1u);
    EXPECT_EQ(chunks[0].ChunkID, 0x11u);
    EXPECT_EQ(chunks[0].ChunkOffset, 0);
    EXPECT_EQ(chunks[0].ChunkLength, 4u);
    contents = {};
    EXPECT_TRUE(life.expired());
}

} // namespace
