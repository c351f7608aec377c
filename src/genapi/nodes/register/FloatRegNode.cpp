#include "genapi/nodes/register/FloatRegNode.h"

#include "genapi/nodes/base/Throw.h"
#include "genapi/nodes/register/BitField.h"
#include "genapi/nodes/register/PortNode.h"

#include <cstring>

namespace genapi {

namespace {

// What is beyond the range of a single becomes its largest value, not infinity.
float Narrow(double value) {
    constexpr double kMax = std::numeric_limits<float>::max();
    if (value > kMax) return std::numeric_limits<float>::max();
    if (value < -kMax) return std::numeric_limits<float>::lowest();
    return static_cast<float>(value);
}

} // namespace

void FloatRegNode::Bind(const BoundProperty& property) {
    if (property.record.id == PropertyId::Endianess) { // sic
        m_IsBigEndian = ParseKeyword(Keyword::Endianess, property.record.value) == GenApi::BigEndian;
    }
    FloatFace::Bind(property);
}

std::size_t FloatRegNode::NumberLength() {
    const int64_t length = Length();
    if (length != 4 && length != 8) ThrowOutOfRange(*this, "GetLength", "A float register has 4 or 8 bytes.");
    return static_cast<std::size_t>(length);
}

bool FloatRegNode::ReadsBigEndian() const {
    return m_IsBigEndian != (Port() && Port()->SwapsBytes());
}

double FloatRegNode::RawReal(ReadFlags flags) {
    const std::size_t length = NumberLength();
    const uint64_t number = LoadBytes(Fetch(static_cast<int64_t>(length), flags.ignoreCache), length, ReadsBigEndian());
    if (length == 8) {
        double value;
        std::memcpy(&value, &number, sizeof value);
        return value;
    }
    const uint32_t bits = static_cast<uint32_t>(number);
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

void FloatRegNode::StoreReal(double value, bool) {
    const std::size_t length = NumberLength();
    uint64_t number = 0;
    if (length == 8) {
        std::memcpy(&number, &value, sizeof value);
    } else {
        const float single = Narrow(value);
        uint32_t bits;
        std::memcpy(&bits, &single, sizeof bits);
        number = bits;
    }
    uint8_t bytes[8];
    StoreBytes(bytes, length, ReadsBigEndian(), number);
    Store(bytes, static_cast<int64_t>(length));
}

double FloatRegNode::DoRealMax() {
    return NumberLength() == 4 ? static_cast<double>(std::numeric_limits<float>::max())
                               : std::numeric_limits<double>::max();
}

} // namespace genapi
