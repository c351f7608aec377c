// Chunks at any place of a buffer, and events of any length, met by features that lie anywhere in them.

#include "fuzz/ChunkMap.h"
#include "fuzz/Script.h"

#include <cstring>
#include <vector>

namespace {

// Attaches what it is told to the port that it is told. bound to a thread
class AnyChunkAdapter final : public GenApi::CChunkAdapter {
public:
    explicit AnyChunkAdapter(GenApi::INodeMap* pNodeMap) : CChunkAdapter(pNodeMap, -1) {}
    bool CheckBufferLayout(uint8_t*, int64_t) override { return true; }
    void AttachBuffer(uint8_t*, int64_t, GenApi::AttachStatistics_t*) override {}

    GenApi::CChunkPort& Port(std::size_t index) { return *m_ChunkPorts.at(index % m_ChunkPorts.size()); }
};

constexpr std::size_t kBufferSize = 64;

// Offset and length such that the chunk lies within the buffer, as a caller has to make sure.
void Attach(GenApi::CChunkPort& port, std::vector<uint8_t>& buffer, fuzz::Script& script) {
    const std::size_t offset = script.Byte() % (kBufferSize + 1);
    const std::size_t length = script.Byte() % (kBufferSize + 1 - offset);
    const bool cache = (script.Byte() & 1) != 0;
    fuzz::Ask(
        [&] { port.AttachChunk(buffer.data(), static_cast<int64_t>(offset), static_cast<int64_t>(length), cache); });
}

void Deliver(GenApi::CEventAdapterGeneric& events, fuzz::Script& script) {
    const uint64_t id = script.Byte();
    std::size_t count = script.Byte();
    const uint8_t* const bytes = script.Take(count);
    const std::vector<uint8_t> message(bytes, bytes + count); // of its exact size
    const auto length = static_cast<uint32_t>(count);
    if ((id & 0x80) == 0) {
        fuzz::Ask([&] { events.DeliverMessage(message.data(), length, id); });
    } else {
        const GenICam::gcstring text(reinterpret_cast<const char*>(message.data()), message.size());
        fuzz::Ask([&] { events.DeliverMessage(message.data(), length, text); });
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    GenApi::CNodeMapRef map;
    map._LoadXMLFromString(fuzz::kChunkDescription);
    std::vector<uint8_t> first(kBufferSize, 1);
    std::vector<uint8_t> second(kBufferSize, 2);
    AnyChunkAdapter chunks(map._Ptr);
    GenApi::CEventAdapterGeneric events(map._Ptr);
    fuzz::Script script(data, size);
    constexpr int kMostSteps = 12; // refused reads are slow, and all that they could meet is met in a few steps
    for (int step = 0; step < kMostSteps && !script.IsEmpty(); ++step) {
        const uint8_t what = script.Byte();
        GenApi::CChunkPort& port = chunks.Port(what >> 4);
        switch (what & 0x0F) {
        case 0:
        case 1:
        case 2:
            Attach(port, (what & 1) != 0 ? first : second, script);
            break;
        case 3:
            port.UpdateBuffer(second.data());
            break;
        case 4:
            port.DetachChunk();
            break;
        case 5:
            port.ClearCache();
            break;
        case 6:
            chunks.UpdateBuffer(first.data());
            break;
        case 7:
            chunks.DetachBuffer();
            break;
        case 8:
            chunks.AttachNodeMap(map._Ptr);
            break;
        case 9:
            events.AttachNodeMap(map._Ptr);
            break;
        case 10:
        case 11:
            Deliver(events, script);
            break;
        case 12:
            fuzz::WriteAll(map, script.Byte());
            break;
        case 13:
            std::memset(first.data(), script.Byte(), first.size());
            break;
        default:
            fuzz::ReadAll(map, (what & 0x10) != 0);
            break;
        }
    }
    fuzz::ReadAll(map, /*verify=*/false);
    return 0;
}
