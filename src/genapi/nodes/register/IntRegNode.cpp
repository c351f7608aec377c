#include "genapi/nodes/register/IntRegNode.h"

#include "genapi/nodes/base/Throw.h"
#include "genapi/nodes/register/PortNode.h"

namespace genapi {

void IntRegNode::Bind(const BoundProperty& property) {
    const std::string_view text = property.record.value;
    switch (property.record.id) {
    case PropertyId::Sign:
        m_IsSigned = ParseKeyword(Keyword::Sign, text) == GenApi::Signed;
        break;
    case PropertyId::Endianess: // sic
        m_IsBigEndian = ParseKeyword(Keyword::Endianess, text) == GenApi::BigEndian;
        break;
    case PropertyId::Bit:
        m_Lsb = m_Msb = ParseInteger(text).value_or(-1);
        m_IsMasked = true;
        break;
    case PropertyId::LSB:
        m_Lsb = ParseInteger(text).value_or(-1);
        m_IsMasked = true;
        break;
    case PropertyId::MSB:
        m_Msb = ParseInteger(text).value_or(-1);
        m_IsMasked = true;
        break;
    default:
        IntegerFace::Bind(property);
        break;
    }
}

int64_t IntRegNode::NumberLength() {
    const int64_t length = Length();
    if (length > 8) ThrowOutOfRange(*this, "GetLength", "An integer register has 8 bytes at most.");
    return length;
}

BitField IntRegNode::Field(int64_t length) {
    if (!m_IsMasked) return {0, static_cast<unsigned>(8 * length)};
    bool isValid = false;
    const BitField field = BitField::Make(m_Lsb, m_Msb, static_cast<std::size_t>(length), m_IsBigEndian, isValid);
    if (!isValid) ThrowOutOfRange(*this, "GetValue", "The bits lie outside of the register.");
    return field;
}

bool IntRegNode::ReadsBigEndian() const {
    return m_IsBigEndian != (Port() && Port()->SwapsBytes());
}

int64_t IntRegNode::RawInteger(ReadFlags flags) {
    const int64_t length = NumberLength();
    const BitField field = Field(length);
    const uint8_t* const pBytes = Fetch(length, flags.ignoreCache);
    return field.Extract(LoadBytes(pBytes, static_cast<std::size_t>(length), ReadsBigEndian()), m_IsSigned);
}

void IntRegNode::StoreInteger(int64_t value, bool) {
    const int64_t length = NumberLength();
    const std::size_t size = static_cast<std::size_t>(length);
    const BitField field = Field(length);
    uint8_t bytes[8] = {};
    uint64_t number = 0;
    if (field.width < 8 * size) {
        if (!Port()) ThrowAccess(*this, "SetValue", "The register has no port.");
        number = LoadBytes(FetchForChange(length).data(), size, ReadsBigEndian());
    }
    StoreBytes(bytes, size, ReadsBigEndian(), field.Insert(number, value));
    Store(bytes, length);
}

int64_t IntRegNode::DoIntegerMin() {
    return Field(NumberLength()).Min(m_IsSigned);
}

int64_t IntRegNode::DoIntegerMax() {
    return Field(NumberLength()).Max(m_IsSigned);
}

} // namespace genapi
