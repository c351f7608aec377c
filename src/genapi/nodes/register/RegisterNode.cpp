#include "genapi/nodes/register/RegisterNode.h"

#include "genapi/description/Lexical.h"
#include "genapi/formula/FormulaArithmetic.h"
#include "genapi/nodes/base/Throw.h"
#include "genapi/nodes/host/Descent.h"
#include "genapi/nodes/host/Operation.h"
#include "genapi/nodes/register/PortNode.h"
#include "genapi/nodes/text/TextForms.h"

#include <algorithm>
#include <cstring>

namespace genapi {

namespace {

// No register of a camera is near it; a length read from a device may be anything.
constexpr int64_t kMaxLength = int64_t{64} << 20;

} // namespace

void RegisterNode::Bind(const BoundProperty& property) {
    const std::string_view text = property.record.value;
    switch (property.record.id) {
    case PropertyId::pPort:
        m_pPort = dynamic_cast<PortNode*>(property.pTarget);
        break;
    case PropertyId::Length:
        m_Length = ParseInteger(text).value_or(4);
        break;
    case PropertyId::pLength:
        m_pLength = property.pTarget;
        break;
    case PropertyId::AccessMode:
        m_AccessMode = ParseKeywordAs<GenApi::EAccessMode>(Keyword::AccessMode, text).value_or(GenApi::RO);
        break;
    case PropertyId::Cachable:
        m_CachingMode = ParseKeywordAs<GenApi::ECachingMode>(Keyword::CachingMode, text).value_or(GenApi::WriteThrough);
        break;
    default:
        m_Address.Bind(property);
        ValueNode::Bind(property);
        break;
    }
}

GenApi::EAccessMode RegisterNode::TargetAccess() {
    return m_pPort ? GenApi::Combine(m_AccessMode, m_pPort->Access()) : GenApi::NI;
}

int64_t RegisterNode::Length() {
    const int64_t length = m_pLength ? m_pLength->ReadInteger({}) : m_Length;
    if (length <= 0 || length > kMaxLength) {
        ThrowOutOfRange(*this, "GetLength", "The length " + std::to_string(length) + " is no length of a register.");
    }
    return length;
}

std::string RegisterNode::PlaceSpelling() const {
    std::string spelling;
    for (const PropertyRecord& record : Properties()) {
        switch (record.id) {
        case PropertyId::Address:
        case PropertyId::pAddress:
        case PropertyId::pIndex:
        case PropertyId::pPort:
            spelling.append(record.value).append(1, '\n').append(record.attribute).append(1, '\n');
            break;
        default:
            break;
        }
    }
    return spelling;
}

bool RegisterNode::IsOwnCacheValid() {
    return m_CachingMode != GenApi::NoCache && Host().Caches().IsValid(Index());
}

RegisterPlace RegisterNode::LastPlace() const {
    if (HasConstantPlace()) return {m_pPort, m_Address.ConstantPart(), m_Length};
    if (m_CachedLength < 0) return {};
    return {m_pPort, m_CachedAddress, m_CachedLength};
}

uint8_t* RegisterNode::Room(int64_t address, int64_t length) {
    const bool isShort = length <= static_cast<int64_t>(sizeof m_Short);
    if (!isShort) m_Bytes.resize(static_cast<std::size_t>(length));
    const RegisterPlace place{m_pPort, address, length};
    if (!HasConstantPlace() && !(LastPlace() == place)) Host().NoteMove(*this, LastPlace(), place);
    m_CachedAddress = address;
    m_CachedLength = length;
    return isShort ? m_Short : m_Bytes.data();
}

const uint8_t* RegisterNode::Fetch(int64_t length, bool ignoreCache) {
    if (!m_pPort) ThrowAccess(*this, "GetValue", "The register has no port.");
    const int64_t address = AddressFor(length);
    const bool isHit = Host().Caches().IsValid(Index()) && m_CachedAddress == address && m_CachedLength == length;
    if (isHit && !ignoreCache) return length <= static_cast<int64_t>(sizeof m_Short) ? m_Short : m_Bytes.data();
    Host().Caches().SetInvalid(Index());
    uint8_t* const pRoom = Room(address, length);
    m_pPort->ReadBytes(pRoom, address, length);
    if (m_CachingMode != GenApi::NoCache) Host().Caches().SetValid(Index());
    return pRoom;
}

void RegisterNode::Store(const uint8_t* pBytes, int64_t length) {
    if (!m_pPort) ThrowAccess(*this, "SetValue", "The register has no port.");
    WriteOperation::NotePassed(Host(), Index());
    const RegisterPlace place{m_pPort, AddressFor(length), length};
    m_pPort->WriteBytes(pBytes, place.address, length);
    Host().Caches().SetInvalid(Index());
    DropOverlapping(place);
    if (m_AccessMode == GenApi::WO) Host().Registers().SetPattern(place, pBytes);
    if (m_CachingMode == GenApi::WriteThrough) {
        // pBytes may lie in the cache itself.
        std::memmove(Room(place.address, length), pBytes, static_cast<std::size_t>(length));
        Host().Caches().SetValid(Index());
    }
    WriteOperation::NoteTerminal(Host(), Index());
}

void RegisterNode::DropOverlapping(const RegisterPlace& written) {
    for (RegisterNode* const pOther : Host().Registers().Overlapping(*this, written)) {
        Host().Caches().SetInvalid(pOther->Index());
        WriteOperation::NotePassed(Host(), pOther->Index());
    }
}

// Whether another node may read all bytes of the register; only its own field is write-only then.
bool RegisterNode::IsReadableElsewhere(const RegisterPlace& place) {
    for (RegisterNode* const pOther : Host().Registers().Overlapping(*this, place)) {
        if (pOther->m_AccessMode == GenApi::WO) continue;
        const bool isAlike = !HasConstantPlace() && !pOther->HasConstantPlace() && pOther->m_pLength == m_pLength;
        if (isAlike && pOther->m_Length >= m_Length && pOther->PlaceSpelling() == PlaceSpelling()) return true;
        const RegisterPlace other = pOther->LastPlace();
        const int64_t ahead = arithmetic::WrapSubtract(place.address, other.address);
        if (ahead >= 0 && ahead <= other.length - place.length) return true;
    }
    return false;
}

std::vector<uint8_t> RegisterNode::FetchForChange(int64_t length) {
    std::vector<uint8_t> bytes(static_cast<std::size_t>(length), 0);
    const RegisterPlace place{m_pPort, AddressFor(length), length};
    if (m_AccessMode != GenApi::WO || IsReadableElsewhere(place)) {
        // Another node, or the device itself, may have changed the other bits since they were cached.
        m_pPort->ReadBytes(bytes.data(), place.address, length);
        return bytes;
    }
    const std::vector<uint8_t>& pattern = Host().Registers().Pattern(place);
    std::copy_n(pattern.begin(), std::min(pattern.size(), bytes.size()), bytes.begin());
    return bytes;
}

void RegisterNode::Set(const uint8_t* pBuffer, int64_t Length, bool Verify) {
    RunChange(*this, Verify, [&] {
        const Descent descent(*this);
        ThrowIfDefective("Set");
        if (Verify) RequireWritable("Set");
        if (!pBuffer) ThrowInvalidArgument(*this, "Set", "The buffer is null.");
        const int64_t length = this->Length();
        if (Length != length) {
            ThrowOutOfRange(*this, "Set",
                            "The register has " + std::to_string(length) + " bytes, not " + std::to_string(Length) +
                                ".");
        }
        Store(pBuffer, length);
    });
}

void RegisterNode::Get(uint8_t* pBuffer, int64_t Length, bool Verify, bool IgnoreCache) {
    const GenApi::AutoLock lock(Host().Lock());
    const Descent descent(*this);
    ThrowIfDefective("Get");
    if (Verify) RequireReadable("Get");
    if (!pBuffer) ThrowInvalidArgument(*this, "Get", "The buffer is null.");
    const int64_t length = this->Length();
    if (Length < 0 || Length > length) {
        ThrowOutOfRange(*this, "Get",
                        "The register has " + std::to_string(length) + " bytes, not " + std::to_string(Length) + ".");
    }
    std::memcpy(pBuffer, Fetch(length, IgnoreCache), static_cast<std::size_t>(Length));
}

int64_t RegisterNode::GetAddress() {
    const GenApi::AutoLock lock(Host().Lock());
    const Descent descent(*this);
    ThrowIfDefective("GetAddress");
    return Address();
}

int64_t RegisterNode::GetLength() {
    const GenApi::AutoLock lock(Host().Lock());
    const Descent descent(*this);
    ThrowIfDefective("GetLength");
    return Length();
}

std::string RegisterNode::DoReadText(ReadFlags flags) {
    const int64_t length = Length();
    const uint8_t* const pBytes = Fetch(length, flags.ignoreCache);
    return FormatBytes(std::vector<uint8_t>(pBytes, pBytes + length));
}

void RegisterNode::DoWriteText(std::string_view text, bool) {
    const int64_t length = Length();
    const std::optional<std::vector<uint8_t>> bytes = ParseBytes(text, static_cast<std::size_t>(length));
    if (!bytes) {
        ThrowInvalidArgument(*this, "FromString",
                             "Two hexadecimal digits for each of " + std::to_string(length) + " bytes are needed.");
    }
    Store(bytes->data(), length);
}

} // namespace genapi
