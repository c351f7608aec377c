// Payloads with chunks, and event messages, handed to a camera's node map by the transport layer.

#include "chunk/ChunkAdapterUsb.h"
#include "chunk/UsbChunkParser.h"
#include "event/TavixUsbEventAdapter.h"

#include "fuzz/ChunkMap.h"
#include "fuzz/Script.h"

#include <vector>

namespace {

// What fits a port's ID is found by walking the buffer as its layout says; the parser must agree with that walk.
class Layout final : public GenApi::CChunkAdapterUsb {
public:
    using CChunkAdapterUsb::CChunkAdapterUsb;
};

void Require(bool condition) {
    if (!condition) __builtin_trap();
}

void Parse(GenApi::CNodeMapRef& map, std::vector<uint8_t>& payload) {
    const auto length = static_cast<int64_t>(payload.size());
    Layout layout(map._Ptr);
    const bool isGood = layout.CheckBufferLayout(payload.data(), length);
    Tavix::CUsbChunkParser parser(map._Ptr);
    GenApi::AttachStatistics_t statistics{};
    bool isAttached = false;
    fuzz::Ask([&] {
        parser.AttachBuffer(payload.data(), length, &statistics);
        isAttached = true;
    });
    Require(isAttached == isGood);
    if (!isAttached) return;
    Require(statistics.NumChunks > 0 && statistics.NumChunkPorts == 4);
    fuzz::ReadAll(map, /*verify=*/true);
    fuzz::ReadAll(map, /*verify=*/false);
    fuzz::Ask([&] { (void)(parser.HasCRC() && parser.CheckCRC()); });
    fuzz::WriteAll(map, 3);
    std::vector<uint8_t> copy = payload;
    fuzz::Ask([&] { parser.UpdateBuffer(copy.data()); });
    fuzz::ReadAll(map, /*verify=*/false);
    fuzz::Ask([&] { parser.DetachBuffer(); });
    fuzz::ReadAll(map, /*verify=*/false);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    GenApi::CNodeMapRef map;
    map._LoadXMLFromString(fuzz::kChunkDescription);
    fuzz::Script script(data, size);
    const bool isEvent = (script.Byte() & 1) != 0;
    std::vector<uint8_t> bytes(script.Rest(), script.Rest() + script.RestSize()); // of its exact size
    if (!isEvent) {
        Parse(map, bytes);
        return 0;
    }
    Tavix::CTavixUsbEventAdapter adapter(map._Ptr);
    fuzz::Ask([&] { adapter.DeliverMessage(bytes.data(), static_cast<uint32_t>(bytes.size())); });
    bytes.clear();
    bytes.shrink_to_fit(); // the message is the caller's again
    fuzz::ReadAll(map, /*verify=*/false);
    return 0;
}
