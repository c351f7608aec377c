#pragma once
// The stream of a scripted camera, through the public classes.

#include "vexlo/support/Fixture.h"

#include "core/WaitObject.h"

#include <algorithm>
#include <deque>

namespace vexlotest {

using namespace scripted;

constexpr std::uint32_t kWidth = 92;
constexpr std::uint32_t kHeight = 366;
constexpr std::uint32_t kTransfer = 16384;
constexpr std::size_t kPayload = kWidth * kHeight; ///< 33672: two transfers and a tail of 904 bytes
constexpr std::uint32_t kPartLines = 200;
constexpr std::size_t kPart = kWidth * kPartLines; ///< 18400: ends within the second transfer
static_assert(kPayload == 2 * kTransfer + 904);

/// A stream of blocks of five transfers: leader, 16384, 16384, 1024 at most, trailer.
class Stream : public OnScriptedCamera {
protected:
    Stream() {
        EXPECT_EQ(device->GetStream(&stream), VX_OK);
        EXPECT_EQ(stream->RegisterWaitObject(wait), VX_OK);
        SetTransferSize(kTransfer);
        camera.Set64(kSirm + 8, kPayload);
    }
    ~Stream() override {
        if (stream->IsPrepared()) (void)stream->FinishGrab(); // before the buffers go away
    }

    void SetTransferSize(std::uint32_t size) {
        EXPECT_EQ(stream->SetProperty(CVxStream::Property_MaxTransferSize, &size, 4), VX_OK);
    }
    void Prepare(unsigned long buffers = 16, unsigned long size = 65536) {
        ASSERT_EQ(device->IsOpen() ? VX_OK : Open(), VX_OK);
        ASSERT_EQ(stream->IsOpen() ? VX_OK : stream->Open(), VX_OK);
        ASSERT_EQ(stream->PrepareGrab(buffers, size), VX_OK);
        ASSERT_EQ(stream->StartStreaming(), VX_OK);
    }
    BufferHandle_s* Register(std::size_t size = kPayload) {
        memory.push_back(Bytes(size + 16, 0xEE)); // guard bytes behind the buffer
        BufferHandle_s* handle = nullptr;
        EXPECT_EQ(stream->RegisterBuffer(memory.back().data(), size, &handle), VX_OK);
        sizes.push_back(size);
        return handle;
    }
    void Queue(int count, std::size_t size = kPayload) {
        for (int i = 0; i < count; ++i) {
            handles.push_back(Register(size));
            ASSERT_EQ(stream->QueueBuffer(handles.back(), &memory.back()), VX_OK);
        }
    }
    /// Streams into `count` buffers, all queued.
    void Start(int count, std::size_t size = kPayload) {
        Prepare();
        Queue(count, size);
        EXPECT_TRUE(camera.WaitFor([&] { return camera.Queued(kStreamIn) >= AtOnce(count); }));
    }
    /// Transfers that are queued for so many buffers, when nothing but the settings limits them.
    std::size_t AtOnce(int buffers) {
        const auto limit = Property<std::uint32_t>(*stream, CVxStream::Property_NumMaxQueuedUrbs);
        return std::min({static_cast<std::size_t>(buffers) * 5, std::size_t{limit}, transferLimit});
    }

    /// A block as the camera of this plan sends it.
    static std::vector<Bytes> Block(std::uint64_t id) {
        const Bytes data = Pattern(kPayload, static_cast<unsigned int>(id));
        return Block(id, data);
    }
    static std::vector<Bytes> Block(std::uint64_t id, const Bytes& data) {
        std::vector<Bytes> transfers = {ImageLeader(id, kWidth, kHeight)};
        for (std::size_t offset = 0; offset < kPayload;) {
            const std::size_t size = offset < 2 * kTransfer ? kTransfer : kPayload - offset;
            const std::size_t from = std::min(offset, data.size()), to = std::min(offset + size, data.size());
            transfers.emplace_back(data.begin() + static_cast<std::ptrdiff_t>(from),
                                   data.begin() + static_cast<std::ptrdiff_t>(to));
            offset += size;
        }
        transfers.push_back(ImageTrailer(id, data.size(), kHeight));
        return transfers;
    }
    void Send(const std::vector<Bytes>& transfers) { camera.Send(kStreamIn, transfers); }

    CVxStream::GrabResult Next() {
        CVxStream::GrabResult result{};
        EXPECT_TRUE(wait.Wait(20000));
        EXPECT_EQ(stream->RetrieveBuffer(&result, nullptr), VX_OK);
        return result;
    }
    static Bytes Contents(const CVxStream::GrabResult& result) {
        const auto* bytes = static_cast<const std::uint8_t*>(result.Buffer);
        return Bytes(bytes, bytes + result.PayloadSize);
    }
    void ExpectGood(std::uint64_t id) {
        const CVxStream::GrabResult result = Next();
        EXPECT_EQ(result.Status, VX_OK) << std::hex << result.Status;
        EXPECT_EQ(result.BlockId, id);
        EXPECT_EQ(Contents(result), Pattern(kPayload, static_cast<unsigned int>(id)));
    }
    /// Takes results until the block comes, whole.
    bool FindGood(std::uint64_t id) {
        for (std::size_t i = 0; i < handles.size(); ++i) {
            const CVxStream::GrabResult result = Next();
            if (result.Status != VX_OK || result.BlockId != id) continue;
            return Contents(result) == Pattern(kPayload, static_cast<unsigned int>(id));
        }
        return false;
    }
    bool GuardsAreWhole() const {
        for (std::size_t i = 0; i < memory.size(); ++i)
            for (std::size_t k = sizes[i]; k < memory[i].size(); ++k)
                if (memory[i][k] != 0xEE) return false;
        return true;
    }
    std::uint64_t Count(CVxStream::EPropertyValue id) { return Property<std::uint64_t>(*stream, id); }

    std::size_t transferLimit = SIZE_MAX; ///< of the system
    CVxStream* stream = nullptr;
    Tavix::WaitObjectEx wait = Tavix::WaitObjectEx::Create();
    std::deque<Bytes> memory; ///< of the registered buffers
    std::vector<std::size_t> sizes;
    std::vector<BufferHandle_s*> handles;
};

} // namespace vexlotest
