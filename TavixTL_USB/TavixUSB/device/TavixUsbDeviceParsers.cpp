// The chunk parsers and event adapters that a device hands out.

#include "chunk/SelfReliantUsbChunkParser.h"
#include "chunk/UsbChunkParser.h"
#include "device/DeviceGuards.h"
#include "event/TavixUsbEventAdapter.h"

namespace Tavix {

using GenICam::RuntimeException;

IChunkParser* CTavixUsbDevice::CreateChunkParser() {
    const NodeMapAndDeviceGuard guard(*this);
    return m_ParserSuccession.Add([this] {
        m_Lock.AssertHeld();
        auto pParser = std::make_unique<CUsbChunkParser>(GetNodeMap());
        if (!m_ChunkParsers.insert(pParser.get()).second) {
            Throw<RuntimeException>(Here(), "Failed to create chunk parser");
        }
        return pParser.release();
    });
}

void CTavixUsbDevice::DestroyChunkParser(IChunkParser* pParser) {
    if (!pParser) return;
    const NodeMapAndDeviceGuard guard(*this);
    if (m_ChunkParsers.erase(pParser) == 0) {
        Throw<RuntimeException>(Here(), "Failed to destroy chunk parser: Invalid pointer");
    }
    m_ParserSuccession.Remove(dynamic_cast<CUsbChunkParser*>(pParser), [&] { delete pParser; });
}

ISelfReliantChunkParser* CTavixUsbDevice::CreateSelfReliantChunkParser() {
    const boost::shared_ptr<GenApi::CNodeMapRef> pNodeMap = CreateChunkNodeMap();
    if (!pNodeMap) return nullptr;
    return new CSelfReliantUsbChunkParser(pNodeMap);
}

void CTavixUsbDevice::DestroySelfReliantChunkParser(ISelfReliantChunkParser* pParser) {
    if (pParser) pParser->Destroy();
}

IEventAdapter* CTavixUsbDevice::CreateEventAdapter() {
    const NodeMapAndDeviceGuard guard(*this);
    return m_AdapterSuccession.Add([this] {
        m_Lock.AssertHeld();
        auto pAdapter = std::make_unique<CTavixUsbEventAdapter>(GetNodeMap());
        if (!m_EventAdapters.insert(pAdapter.get()).second) {
            Throw<RuntimeException>(Here(), "Failed to create event adapter.");
        }
        return pAdapter.release();
    });
}

void CTavixUsbDevice::DestroyEventAdapter(IEventAdapter* pAdapter) {
    if (!pAdapter) return;
    if (m_EventAdapters.erase(pAdapter) == 0) {
        Throw<RuntimeException>(Here(), "Failed to destroy event adapter: Invalid pointer");
    }
    auto* const pDestroyed = static_cast<CTavixUsbEventAdapter*>(pAdapter);
    m_AdapterSuccession.Remove(pDestroyed, [&] { delete pDestroyed; });
}

void CTavixUsbDevice::DestroyHandedOut() {
    m_ParserSuccession.Clear();
    for (IChunkParser* pParser : m_ChunkParsers)
        delete pParser;
    m_ChunkParsers.clear();
    m_AdapterSuccession.Clear();
    for (IEventAdapter* pAdapter : m_EventAdapters)
        delete static_cast<CTavixUsbEventAdapter*>(pAdapter);
    m_EventAdapters.clear();
}

} // namespace Tavix
