#pragma once
// The node type Register, and the base of all registers with a value of their own.

#include "genapi/nodes/base/ValueNode.h"
#include "genapi/nodes/register/AddressTerms.h"
#include "genapi/nodes/register/RegisterIndex.h"

#include <GenApi/IRegister.h>

#include <vector>

namespace genapi {

class PortNode;

/// Bytes at an address of a port, with a cache that belongs to that address and length. thread-safe
class RegisterNode : public ValueNode, virtual public GenApi::IRegister {
public:
    using ValueNode::ValueNode;

    void Bind(const BoundProperty& property) override;
    std::string_view Missing() const override { return m_pPort ? "" : "pPort"; }
    GenApi::EAccessMode TargetAccess() override;
    const GenApi::ECachingMode* OwnCachingMode() const override { return &m_CachingMode; }
    bool IsOwnCacheValid() override;
    RegisterNode* AsRegister() override { return this; }

    /// The place, lock held.
    PortNode* Port() const { return m_pPort; }
    int64_t Length();
    int64_t Address() { return AddressFor(Length()); }
    bool HasConstantPlace() const { return m_Address.IsConstant() && !m_pLength; }
    /// Where the register lies; of a computed place where it lay when it was read or written last, without a port
    /// before.
    RegisterPlace LastPlace() const;
    /// Equal for registers whose variable place is described alike.
    std::string PlaceSpelling() const;

    /// The bytes, lock held, one port access of the full length at most. The pointer holds until the next call.
    const uint8_t* Fetch(int64_t length, bool ignoreCache);
    /// `length` is that of the register.
    void Store(const uint8_t* pBytes, int64_t length);
    /// The bytes as they are in the device, for a change of some of them; zeros when they cannot be known.
    std::vector<uint8_t> FetchForChange(int64_t length);

    // GenApi::IRegister
    void Set(const uint8_t* pBuffer, int64_t Length, bool Verify = true) override;
    void Get(uint8_t* pBuffer, int64_t Length, bool Verify = false, bool IgnoreCache = false) override;
    int64_t GetAddress() override;
    int64_t GetLength() override;

protected:
    std::string DoReadText(ReadFlags flags) override;
    void DoWriteText(std::string_view text, bool verify) override;

private:
    int64_t AddressFor(int64_t length) const {
        return m_Address.IsConstant() ? m_Address.ConstantPart() : m_Address.Evaluate(length);
    }
    /// Where the cache keeps what lies there.
    uint8_t* Room(int64_t address, int64_t length);
    void DropOverlapping(const RegisterPlace& written);
    bool IsReadableElsewhere(const RegisterPlace& place);

    AddressTerms m_Address;
    PortNode* m_pPort = nullptr;
    Node* m_pLength = nullptr;
    int64_t m_Length = 4;
    GenApi::EAccessMode m_AccessMode = GenApi::RO;
    GenApi::ECachingMode m_CachingMode = GenApi::WriteThrough;

    /// The cache, guarded by the map's lock. Short registers are kept in place.
    int64_t m_CachedAddress = 0;
    int64_t m_CachedLength = -1;
    uint8_t m_Short[8] = {};
    std::vector<uint8_t> m_Bytes;
};

} // namespace genapi
