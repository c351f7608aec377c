#pragma once
// Bytes of a register to numbers and back. Pure functions.

#include <cstddef>
#include <cstdint>

namespace genapi {

/// The number that 1 to 8 bytes form.
[[nodiscard]] uint64_t LoadBytes(const uint8_t* pBytes, std::size_t length, bool isBigEndian);
void StoreBytes(uint8_t* pBytes, std::size_t length, bool isBigEndian, uint64_t number);

/// Some bits of a register, counted from its least significant one.
struct BitField {
    unsigned shift = 0;
    unsigned width = 64; ///< 1 to 64

    /// From the bit numbers of a description. Big-endian descriptions count from the most significant bit. Numbers
    /// given the wrong way round are put right; isValid is false when a bit lies outside of the register.
    static BitField Make(int64_t lsb, int64_t msb, std::size_t length, bool isBigEndian, bool& isValid);

    uint64_t Mask() const { return width >= 64 ? ~uint64_t{0} : (uint64_t{1} << width) - 1; }
    int64_t Extract(uint64_t number, bool isSigned) const;
    uint64_t Insert(uint64_t number, int64_t value) const;
    int64_t Min(bool isSigned) const;
    /// 64 unsigned bits end where the type does.
    int64_t Max(bool isSigned) const;
};

} // namespace genapi
