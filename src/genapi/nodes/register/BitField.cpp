#include "genapi/nodes/register/BitField.h"

#include <limits>
#include <utility>

namespace genapi {

uint64_t LoadBytes(const uint8_t* pBytes, std::size_t length, bool isBigEndian) {
    uint64_t number = 0;
    for (std::size_t i = 0; i < length; ++i)
        number = number << 8 | pBytes[isBigEndian ? i : length - 1 - i];
    return number;
}

void StoreBytes(uint8_t* pBytes, std::size_t length, bool isBigEndian, uint64_t number) {
    for (std::size_t i = 0; i < length; ++i) {
        pBytes[isBigEndian ? length - 1 - i : i] = static_cast<uint8_t>(number);
        number >>= 8;
    }
}

BitField BitField::Make(int64_t lsb, int64_t msb, std::size_t length, bool isBigEndian, bool& isValid) {
    const int64_t bits = static_cast<int64_t>(8 * length);
    isValid = lsb >= 0 && lsb < bits && msb >= 0 && msb < bits;
    if (!isValid) return {};
    if (isBigEndian) {
        lsb = bits - 1 - lsb;
        msb = bits - 1 - msb;
    }
    if (lsb > msb) std::swap(lsb, msb);
    return {static_cast<unsigned>(lsb), static_cast<unsigned>(msb - lsb + 1)};
}

int64_t BitField::Extract(uint64_t number, bool isSigned) const {
    const uint64_t field = number >> shift & Mask();
    const bool isNegative = isSigned && (field >> (width - 1) & 1u);
    return static_cast<int64_t>(isNegative ? field | ~Mask() : field);
}

uint64_t BitField::Insert(uint64_t number, int64_t value) const {
    return (number & ~(Mask() << shift)) | (static_cast<uint64_t>(value) & Mask()) << shift;
}

int64_t BitField::Min(bool isSigned) const {
    if (!isSigned) return 0;
    return width >= 64 ? std::numeric_limits<int64_t>::min() : -(int64_t{1} << (width - 1));
}

int64_t BitField::Max(bool isSigned) const {
    const unsigned bits = isSigned || width >= 64 ? width - 1 : width;
    return bits >= 63 ? std::numeric_limits<int64_t>::max() : (int64_t{1} << bits) - 1;
}

} // namespace genapi
