#include "camera/image/ChunkReader.h"

#include "camera/CameraLog.h"
#include "camera/Failure.h"
#include "camera/image/Frame.h"

#include <tavix/Device.h>

#include <GenApi/GenApi.h>

namespace Tavix::detail {

Value ReadNode(GenApi::INode& node) {
    switch (node.GetPrincipalInterfaceType()) {
    case GenApi::intfIInteger:
        return Value(dynamic_cast<GenApi::IInteger&>(node).GetValue());
    case GenApi::intfIFloat:
        return Value(dynamic_cast<GenApi::IFloat&>(node).GetValue());
    case GenApi::intfIBoolean:
        return Value(dynamic_cast<GenApi::IBoolean&>(node).GetValue());
    default:
        return Value(Text(dynamic_cast<GenApi::IValue&>(node).ToString()));
    }
}

std::shared_ptr<ChunkReader> ChunkReader::Create(ITavixDevice& device) {
    ISelfReliantChunkParser* parser = device.CreateSelfReliantChunkParser();
    return parser ? std::shared_ptr<ChunkReader>(new ChunkReader(parser)) : nullptr;
}

ChunkReader::~ChunkReader() {
    m_Parser->Destroy();
}

bool ChunkReader::Read(ByteView payload, ChunkValues& values) {
    const MutexLock guard(m_Mutex);
    try {
        m_Parser->AttachBuffer(payload.data, static_cast<std::int64_t>(payload.size));
    } catch (const GenICam::GenericException& e) {
        LogTrace(LogCategoryCamera(), kLogDetail, "An image without chunks: %s", e.GetDescription());
        return false;
    }
    ReadAttached(values);
    Attempt("Detaching an image", [&] { m_Parser->DetachBuffer(); });
    return true;
}

void ChunkReader::ReadAttached(ChunkValues& values) {
    GenApi::NodeList_t nodes;
    m_Parser->GetChunkDataNodeMap()->GetNodes(nodes);
    for (GenApi::INode* node : nodes) {
        const std::string name = Text(node->GetName());
        if (name.rfind("Chunk", 0) != 0 || !node->IsFeature() || !dynamic_cast<GenApi::IValue*>(node)) continue;
        if (node->GetPrincipalInterfaceType() == GenApi::intfICategory) continue;
        Attempt("Reading a chunk", [&] {
            if (GenApi::IsReadable(node->GetAccessMode())) values.values.emplace(name, ReadNode(*node));
        });
    }
    Attempt("Checking the chunks", [&] {
        if (m_Parser->HasCRC()) values.checksum = m_Parser->CheckCRC() ? Checksum::Right : Checksum::Wrong;
    });
}

const ChunkValues& ChunksOf(Frame& frame) {
    if (const ChunkValues* known = frame.chunkValues.load()) return *known;
    auto values = std::make_unique<ChunkValues>();
    const bool canHave = frame.payloadType != PayloadType_Image && frame.origin && frame.origin->chunks;
    const bool isRead = canHave && frame.origin->chunks->Read({frame.Bytes(), frame.payloadSize}, *values);
    if (!isRead && frame.payloadType == PayloadType_ChunkData) values->checksum = Checksum::Damaged;
    const ChunkValues* faster = nullptr;
    if (!frame.chunkValues.compare_exchange_strong(faster, values.get())) return *faster;
    return *values.release();
}

} // namespace Tavix::detail
