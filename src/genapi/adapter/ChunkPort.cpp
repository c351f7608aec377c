#include "genapi/adapter/HexId.h"
#include "genapi/adapter/MapLock.h"
#include "genapi/adapter/PortLink.h"
#include "genapi/description/Lexical.h"

#include <Base/GCException.h>
#include <GenApi/ChunkPort.h>
#include <GenApi/INodeMap.h>
#include <GenApi/Pointer.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>
#include <vector>

namespace GenApi {

namespace {

using genapi::MapLock;
using GenICam::gcstring;

// Descriptions read the length field of the chunk in front, which a copy has to hold too.
constexpr int64_t kFront = 64;

gcstring PropertyOf(INode& node, const char* name) {
    gcstring value;
    gcstring attribute;
    node.GetProperty(name, value, attribute);
    return value;
}

} // namespace

struct CChunkPort::State {
    std::optional<uint64_t> Id() const;
    std::size_t IdLength() const;
    bool IsAttached() const { return pBase || hasCopy; }
    uint8_t* At(int64_t address, int64_t count);
    void TakeCopy();
    void Forget();

    IPortConstruct* pPort = nullptr; // borrowed
    INode* pNode = nullptr;          // the same node
    gcstring id;
    gcstring idNode; // name of the node whose text is the ID; empty when the ID is constant
    std::optional<uint64_t> idNumber;
    bool mayCache = false; // says the Port node

    uint8_t* pBase = nullptr; // borrowed
    int64_t offset = 0;
    int64_t length = 0;
    bool caches = false; // says the adapter
    bool hasCopy = false;
    int64_t front = 0; // bytes of the copy in front of the chunk
    std::vector<uint8_t> copy;

private:
    gcstring LinkedId() const {
        CStringPtr pText(pNode->GetNodeMap() ? pNode->GetNodeMap()->GetNode(idNode) : nullptr);
        return pText.IsValid() ? pText->GetValue() : gcstring();
    }
};

std::optional<uint64_t> CChunkPort::State::Id() const {
    if (!pNode) return std::nullopt;
    return idNode.empty() ? idNumber : genapi::ParseId(LinkedId().view());
}

std::size_t CChunkPort::State::IdLength() const {
    if (!pNode) return 0;
    return (idNode.empty() ? id : LinkedId()).length() / 2;
}

uint8_t* CChunkPort::State::At(int64_t address, int64_t count) {
    if (!IsAttached()) throw ACCESS_EXCEPTION("No chunk data are attached.");
    // Negative addresses reach back into the buffer, but not out of it. Compared without sums that may overflow.
    const int64_t room = hasCopy ? front : offset;
    const bool isInside = count >= 0 && address >= -room && address <= length && count <= length - address;
    if (!isInside) {
        throw OUT_OF_RANGE_EXCEPTION("%lld bytes at address %lld lie outside of a chunk of %lld bytes.",
                                     static_cast<long long>(count), static_cast<long long>(address),
                                     static_cast<long long>(length));
    }
    return hasCopy ? copy.data() + front + address : pBase + offset + address;
}

void CChunkPort::State::TakeCopy() {
    hasCopy = caches && mayCache;
    if (!hasCopy) return copy.clear();
    front = std::min(offset, kFront);
    copy.assign(pBase + offset - front, pBase + offset + length);
}

void CChunkPort::State::Forget() {
    pBase = nullptr;
    offset = 0;
    length = 0;
    hasCopy = false;
    copy.clear();
}

CChunkPort::CChunkPort(IPort* pPortNode) : m_pState(std::make_unique<State>()) {
    if (pPortNode) AttachPort(pPortNode);
}

CChunkPort::~CChunkPort() {
    try {
        DetachPort();
    } catch (...) {
        // A callback of the application threw while it heard of the detachment; the port is detached all the same.
        m_pState->Forget();
    }
}

bool CChunkPort::AttachPort(IPort* pPortNode) {
    DetachPort();
    IPortConstruct* const pPort = dynamic_cast<IPortConstruct*>(pPortNode);
    INode* const pNode = dynamic_cast<INode*>(pPortNode);
    if (!pPort || !pNode) return false;
    const gcstring id = PropertyOf(*pNode, "ChunkID");
    const gcstring idNode = PropertyOf(*pNode, "pChunkID");
    if (id.empty() && idNode.empty()) return false;
    m_pState->id = id;
    m_pState->idNode = idNode;
    m_pState->idNumber = genapi::ParseId(id.view());
    m_pState->mayCache = genapi::ParseYesNo(PropertyOf(*pNode, "CacheChunkData").view()).value_or(false);
    m_pState->pPort = pPort;
    m_pState->pNode = pNode;
    genapi::ConnectPort(*pPort, *this);
    return true;
}

void CChunkPort::DetachPort() {
    IPortConstruct* const pPort = m_pState->pPort;
    if (!pPort) return;
    genapi::PortData data = genapi::PortData::None;
    {
        const MapLock lock(m_pState->pNode);
        if (m_pState->IsAttached()) data = genapi::PortData::Attached;
        m_pState->Forget();
        m_pState->pPort = nullptr;
        m_pState->pNode = nullptr;
    }
    genapi::DisconnectPort(*pPort, *this, data);
}

void CChunkPort::AttachChunk(uint8_t* pBaseAddress, int64_t ChunkOffset, int64_t Length, bool Cache) {
    if (!m_pState->pNode) throw LOGICAL_ERROR_EXCEPTION("The chunk port is not attached to a node.");
    if (!pBaseAddress) throw INVALID_ARGUMENT_EXCEPTION("The chunk's buffer is null.");
    if (ChunkOffset < 0 || Length < 0 || ChunkOffset > std::numeric_limits<int64_t>::max() - Length) {
        throw INVALID_ARGUMENT_EXCEPTION("The chunk's place in its buffer is impossible.");
    }
    {
        const MapLock lock(m_pState->pNode);
        m_pState->pBase = pBaseAddress;
        m_pState->offset = ChunkOffset;
        m_pState->length = Length;
        m_pState->caches = Cache;
        m_pState->TakeCopy();
    }
    m_pState->pNode->InvalidateNode();
}

void CChunkPort::DetachChunk() {
    if (!m_pState->pNode) return;
    {
        const MapLock lock(m_pState->pNode);
        m_pState->Forget();
    }
    m_pState->pNode->InvalidateNode();
}

void CChunkPort::UpdateBuffer(uint8_t* pBaseAddress) {
    if (!m_pState->pNode || !pBaseAddress) return;
    {
        const MapLock lock(m_pState->pNode);
        if (!m_pState->IsAttached()) return;
        m_pState->pBase = pBaseAddress;
        m_pState->TakeCopy();
    }
    m_pState->pNode->InvalidateNode();
}

void CChunkPort::ClearCache() {
    if (!m_pState->pNode) return;
    {
        const MapLock lock(m_pState->pNode);
        if (!m_pState->hasCopy) return;
        m_pState->Forget();
    }
    m_pState->pNode->InvalidateNode();
}

uint8_t CChunkPort::GetChunkIDLength() {
    return static_cast<uint8_t>(m_pState->IdLength());
}

bool CChunkPort::CheckChunkID(uint8_t* pChunkIDBuffer, uint8_t ChunkIDLength) {
    const std::optional<uint64_t> id = genapi::LoadId(pChunkIDBuffer, ChunkIDLength);
    return id && CheckChunkID(*id);
}

bool CChunkPort::CheckChunkID(uint64_t ChunkID) {
    return m_pState->Id() == ChunkID;
}

INode* CChunkPort::GetNode() {
    return m_pState->pNode;
}

EAccessMode CChunkPort::GetAccessMode() const {
    const MapLock lock(m_pState->pNode);
    return m_pState->IsAttached() ? RW : NA;
}

void CChunkPort::Read(void* pBuffer, int64_t Address, int64_t Length) {
    const MapLock lock(m_pState->pNode);
    const uint8_t* const pBytes = m_pState->At(Address, Length);
    if (Length > 0) std::memcpy(pBuffer, pBytes, static_cast<std::size_t>(Length));
}

void CChunkPort::Write(const void* pBuffer, int64_t Address, int64_t Length) {
    const MapLock lock(m_pState->pNode);
    uint8_t* const pBytes = m_pState->At(Address, Length);
    if (Length > 0) std::memcpy(pBytes, pBuffer, static_cast<std::size_t>(Length));
}

} // namespace GenApi
